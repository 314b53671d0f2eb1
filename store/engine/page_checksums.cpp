#include "page_checksums.h"

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <span>
#include <string>

#include "checked_log.h"
#include "checksum.h"
#include "engine_error.h"
#include "kept_locks.h"

namespace fendrel::store {

namespace {

constexpr int pageSize = databasePageSize;
constexpr int sumSize = 8;
constexpr char pageTag[] = {'F', 'n', 'd', 'l', 'P', 'a', 'g', 'e'};
constexpr int reservedByteOffset = 20;  // in the database's header: how many bytes each page reserves
constexpr int headerSize = 100;
constexpr int smallestPage = 512;       // anything shorter is a look at the header

enum class Mode { Unknown, On, Off };

struct State {
  std::optional<CheckedLog> log;            // of a write-ahead log; what follows is of a database
  std::optional<KeptLocks> locks;           // where the connection wants them
  Mode mode = Mode::Unknown;                // Unknown while it has no first page
  std::vector<sqlite3_int64> unstamped;     // pages that were written before the first one
};

// What SQLite sees; the file of the layer below lies behind it in memory.
struct CheckedFile {
  sqlite3_file head;
  State* state;
};

CheckedFile& checked(sqlite3_file* file) { return *reinterpret_cast<CheckedFile*>(file); }
sqlite3_file* inner(sqlite3_file* file) { return reinterpret_cast<sqlite3_file*>(&checked(file) + 1); }

int readBelow(sqlite3_file* file, void* into, int count, sqlite3_int64 at) {
  return inner(file)->pMethods->xRead(inner(file), into, count, at);
}

int writeBelow(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 at) {
  return inner(file)->pMethods->xWrite(inner(file), bytes, count, at);
}

std::uint64_t sumOf(const std::byte* page, sqlite3_int64 at) {
  const auto number = static_cast<std::uint64_t>(at / pageSize + 1);
  return checksum({page, static_cast<std::size_t>(pageSize - sumSize)}) ^ number * 0x9E3779B97F4A7C15u;
}

void stamp(std::byte* page, sqlite3_int64 at) {
  std::memcpy(page + pageSize - reservedPageBytes, pageTag, sizeof pageTag);
  const std::uint64_t sum = sumOf(page, at);
  std::memcpy(page + pageSize - sumSize, &sum, sizeof sum);
}

bool matches(const std::byte* page, sqlite3_int64 at) {
  std::uint64_t sum;
  std::memcpy(&sum, page + pageSize - sumSize, sizeof sum);
  return sum == sumOf(page, at);
}

// Either of two places says so: damage of one of them must not switch the checksums off.
// A file grows before its first page is written, which is then all zeros.
Mode modeOf(const std::byte* header, const std::byte* tag) {
  static constexpr char magic[] = "SQLite format 3";
  if (std::memcmp(tag, pageTag, sizeof pageTag) == 0) return Mode::On;
  if (std::memcmp(header, magic, sizeof magic) != 0) return Mode::Unknown;
  return header[reservedByteOffset] == std::byte{reservedPageBytes} ? Mode::On : Mode::Off;
}

// Reads what tells the mode from the file; it stays as it is while there is no first page.
void learnMode(sqlite3_file* file) {
  std::array<std::byte, headerSize> header{};
  std::array<std::byte, sizeof pageTag> tag{};
  if (readBelow(file, header.data(), headerSize, 0) != SQLITE_OK) return;
  readBelow(file, tag.data(), sizeof pageTag, pageSize - reservedPageBytes);
  checked(file).state->mode = modeOf(header.data(), tag.data());
}

// SQLite reads whole pages, long values a page at a time without its end, and a first page before it knows the size of
// pages.
int readPart(sqlite3_file* file, void* into, int count, sqlite3_int64 at) {
  const sqlite3_int64 start = at / pageSize * pageSize;
  if (at + count > start + pageSize) return SQLITE_IOERR_DATA;  // the header names another page size
  std::array<std::byte, pageSize> page;
  const int code = readBelow(file, page.data(), pageSize, start);
  if (code == SQLITE_IOERR_SHORT_READ || (code == SQLITE_OK && !matches(page.data(), start))) return SQLITE_IOERR_DATA;
  if (code == SQLITE_OK) std::memcpy(into, page.data() + (at - start), static_cast<std::size_t>(count));
  return code;
}

int readDatabase(sqlite3_file* file, void* into, int count, sqlite3_int64 at) {
  State& state = *checked(file).state;
  const int code = readBelow(file, into, count, at);
  if (code != SQLITE_OK && code != SQLITE_IOERR_SHORT_READ) return code;
  if (at == 0 && code == SQLITE_OK && count >= headerSize && state.mode != Mode::On) learnMode(file);
  if (state.mode != Mode::On || count < smallestPage) return code;
  if (count != pageSize || at % pageSize != 0) return readPart(file, into, count, at);
  if (code != SQLITE_OK) return SQLITE_IOERR_DATA;  // the file has lost its end
  return matches(static_cast<const std::byte*>(into), at) ? SQLITE_OK : SQLITE_IOERR_DATA;
}

int writeStamped(sqlite3_file* file, const std::byte* bytes, sqlite3_int64 at) {
  std::array<std::byte, pageSize> page;
  std::memcpy(page.data(), bytes, pageSize);
  stamp(page.data(), at);
  return writeBelow(file, page.data(), pageSize, at);
}

// A large transaction may write other pages before the first one, which tells that they have checksums.
int stampEarlierPages(sqlite3_file* file) {
  State& state = *checked(file).state;
  std::array<std::byte, pageSize> page;
  for (const sqlite3_int64 at : state.unstamped) {
    int code = readBelow(file, page.data(), pageSize, at);
    if (code == SQLITE_OK) code = writeStamped(file, page.data(), at);
    if (code != SQLITE_OK && code != SQLITE_IOERR_SHORT_READ) return code;
  }
  state.unstamped.clear();
  return SQLITE_OK;
}

int writeDatabase(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 at) {
  State& state = *checked(file).state;
  const auto* page = static_cast<const std::byte*>(bytes);
  if (count != pageSize || at % pageSize != 0) return writeBelow(file, bytes, count, at);
  if (at == 0) {
    state.mode = page[reservedByteOffset] == std::byte{reservedPageBytes} ? Mode::On : Mode::Off;
    if (state.mode == Mode::On && !state.unstamped.empty()) {
      if (const int code = stampEarlierPages(file); code != SQLITE_OK) return code;
    }
  } else if (state.mode != Mode::On) {
    learnMode(file);  // another program may have rebuilt an old store with checksums
  }
  if (state.mode == Mode::On) return writeStamped(file, page, at);
  if (state.mode == Mode::Unknown) state.unstamped.push_back(at);
  return writeBelow(file, bytes, count, at);
}

// SQLite is C: no exception may reach it.
template <class Work>
int guardedFromC(Work&& work) noexcept {
  try {
    return work();
  } catch (...) {
    return SQLITE_IOERR_NOMEM;
  }
}

int closeFile(sqlite3_file* file) {
  checked(file).state->locks.reset();
  const int code = inner(file)->pMethods->xClose(inner(file));
  delete checked(file).state;
  file->pMethods = nullptr;
  return code;
}

int readFile(sqlite3_file* file, void* into, int count, sqlite3_int64 at) {
  return guardedFromC([&] {
    auto& log = checked(file).state->log;
    return log ? log->read(into, count, at) : readDatabase(file, into, count, at);
  });
}

int writeFile(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 at) {
  return guardedFromC([&] {
    auto& log = checked(file).state->log;
    return log ? log->write(bytes, count, at) : writeDatabase(file, bytes, count, at);
  });
}

// A call that goes to the layer below as it is.
template <auto Method>
struct Passed;
template <class... Arguments, int (*sqlite3_io_methods::*Method)(sqlite3_file*, Arguments...)>
struct Passed<Method> {
  static int call(sqlite3_file* file, Arguments... arguments) {
    return (inner(file)->pMethods->*Method)(inner(file), arguments...);
  }
};

// The same for calls that need everything written.
template <auto Method>
struct PassedWritten;
template <class... Arguments, int (*sqlite3_io_methods::*Method)(sqlite3_file*, Arguments...)>
struct PassedWritten<Method> {
  static int call(sqlite3_file* file, Arguments... arguments) {
    auto& log = checked(file).state->log;
    const int code = log ? log->writeGathered() : SQLITE_OK;
    return code == SQLITE_OK ? Passed<Method>::call(file, arguments...) : code;
  }
};

int shmLock(sqlite3_file* file, int first, int count, int flags) {
  auto& locks = checked(file).state->locks;
  return locks ? locks->lock(first, count, flags)
               : Passed<&sqlite3_io_methods::xShmLock>::call(file, first, count, flags);
}

int shmUnmap(sqlite3_file* file, int deletes) {
  if (auto& locks = checked(file).state->locks) locks->giveBack();
  return Passed<&sqlite3_io_methods::xShmUnmap>::call(file, deletes);
}

int truncateFile(sqlite3_file* file, sqlite3_int64 size) {
  auto& log = checked(file).state->log;
  return log ? log->cut(size) : Passed<&sqlite3_io_methods::xTruncate>::call(file, size);
}

int controlLog(CheckedLog& log, sqlite3_file* file, int operation, void* argument) {
  if (operation == makeLogRoomControl) return log.makeRoom();
  if (operation != keepLogRoomControl) {
    return Passed<&sqlite3_io_methods::xFileControl>::call(file, operation, argument);
  }
  log.setRoom(*static_cast<const sqlite3_int64*>(argument));
  return SQLITE_OK;
}

int fileControl(sqlite3_file* file, int operation, void* argument) {
  return guardedFromC([&] {
    auto& state = *checked(file).state;
    if (state.log) return controlLog(*state.log, file, operation, argument);
    if (operation != keepLocksControl) {
      return Passed<&sqlite3_io_methods::xFileControl>::call(file, operation, argument);
    }
    if (!state.locks) {
      state.locks.emplace(inner(file), static_cast<const char*>(argument));
      state.locks->beginReading();
    }
    return SQLITE_OK;
  });
}

void shmBarrier(sqlite3_file* file) { inner(file)->pMethods->xShmBarrier(inner(file)); }

// Version 2: without the calls that map the file into memory, where nothing would be compared.
const sqlite3_io_methods methods = {
    .iVersion = 2,
    .xClose = closeFile,
    .xRead = readFile,
    .xWrite = writeFile,
    .xTruncate = truncateFile,
    .xSync = PassedWritten<&sqlite3_io_methods::xSync>::call,
    .xFileSize = PassedWritten<&sqlite3_io_methods::xFileSize>::call,
    .xLock = Passed<&sqlite3_io_methods::xLock>::call,
    .xUnlock = Passed<&sqlite3_io_methods::xUnlock>::call,
    .xCheckReservedLock = Passed<&sqlite3_io_methods::xCheckReservedLock>::call,
    .xFileControl = fileControl,
    .xSectorSize = Passed<&sqlite3_io_methods::xSectorSize>::call,
    .xDeviceCharacteristics = Passed<&sqlite3_io_methods::xDeviceCharacteristics>::call,
    .xShmMap = Passed<&sqlite3_io_methods::xShmMap>::call,
    .xShmLock = shmLock,
    .xShmBarrier = shmBarrier,
    .xShmUnmap = shmUnmap,
};

struct Layer {
  std::string name;
  sqlite3_vfs* below;
  sqlite3_vfs vfs;
};

sqlite3_vfs* below(sqlite3_vfs* vfs) { return static_cast<Layer*>(vfs->pAppData)->below; }

int openFile(sqlite3_vfs* vfs, sqlite3_filename path, sqlite3_file* file, int flags, int* outFlags) {
  file->pMethods = nullptr;
  if ((flags & (SQLITE_OPEN_MAIN_DB | SQLITE_OPEN_WAL)) == 0) {
    return below(vfs)->xOpen(below(vfs), path, file, flags, outFlags);
  }
  auto* state = new (std::nothrow) State;
  if (!state) return SQLITE_NOMEM;
  if (flags & SQLITE_OPEN_WAL) state->log.emplace(inner(file));
  inner(file)->pMethods = nullptr;
  const int code = below(vfs)->xOpen(below(vfs), path, inner(file), flags, outFlags);
  if (!inner(file)->pMethods) {
    delete state;
    return code;
  }
  checked(file).state = state;
  file->pMethods = &methods;  // also when it failed: SQLite then closes it
  return code;
}

int deleteFile(sqlite3_vfs* vfs, const char* path, int syncFolder) {
  return below(vfs)->xDelete(below(vfs), path, syncFolder);
}
int accessFile(sqlite3_vfs* vfs, const char* path, int flags, int* result) {
  return below(vfs)->xAccess(below(vfs), path, flags, result);
}
int fullPathname(sqlite3_vfs* vfs, const char* path, int size, char* into) {
  return below(vfs)->xFullPathname(below(vfs), path, size, into);
}
int randomness(sqlite3_vfs* vfs, int count, char* into) { return below(vfs)->xRandomness(below(vfs), count, into); }
int sleep(sqlite3_vfs* vfs, int microseconds) { return below(vfs)->xSleep(below(vfs), microseconds); }
int currentTime(sqlite3_vfs* vfs, double* time) { return below(vfs)->xCurrentTime(below(vfs), time); }
int lastError(sqlite3_vfs* vfs, int size, char* into) { return below(vfs)->xGetLastError(below(vfs), size, into); }
int currentTime64(sqlite3_vfs* vfs, sqlite3_int64* time) { return below(vfs)->xCurrentTimeInt64(below(vfs), time); }

std::unique_ptr<Layer> makeLayer(const char* belowName) {
  auto layer = std::make_unique<Layer>();
  layer->name = std::string("fendrel-") + belowName;
  layer->below = sqlite3_vfs_find(belowName);
  if (!layer->below) fail(Status::Failed, std::string("SQLite has no file layer '") + belowName + "'.");
  layer->vfs = {
      .iVersion = 2,
      .szOsFile = static_cast<int>(sizeof(CheckedFile)) + layer->below->szOsFile,
      .mxPathname = layer->below->mxPathname,
      .pNext = nullptr,
      .zName = layer->name.c_str(),
      .pAppData = layer.get(),
      .xOpen = openFile,
      .xDelete = deleteFile,
      .xAccess = accessFile,
      .xFullPathname = fullPathname,
      .xDlOpen = nullptr,
      .xDlError = nullptr,
      .xDlSym = nullptr,
      .xDlClose = nullptr,
      .xRandomness = randomness,
      .xSleep = sleep,
      .xCurrentTime = currentTime,
      .xGetLastError = lastError,
      .xCurrentTimeInt64 = currentTime64,
      .xSetSystemCall = nullptr,
      .xGetSystemCall = nullptr,
      .xNextSystemCall = nullptr,
  };
  return layer;
}

}  // namespace

void stampPage(std::span<std::byte> page, std::uint32_t number) {
  stamp(page.data(), static_cast<sqlite3_int64>(number - 1) * pageSize);
}

bool matchesPage(std::span<const std::byte> page, std::uint32_t number) {
  return matches(page.data(), static_cast<sqlite3_int64>(number - 1) * pageSize);
}

const char* checkedLayer(const char* belowName) {
  static std::mutex mutex;
  static std::map<std::string, std::unique_ptr<Layer>> layers;
  const std::lock_guard lock(mutex);
  auto& layer = layers[belowName];
  if (!layer) {
    auto made = makeLayer(belowName);
    if (sqlite3_vfs_register(&made->vfs, 0) != SQLITE_OK) throw std::bad_alloc();
    layer = std::move(made);
  }
  return layer->name.c_str();
}

}  // namespace fendrel::store
