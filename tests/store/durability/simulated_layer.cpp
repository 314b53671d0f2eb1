// The simulated disk as an SQLite file layer. Its locks do nothing: one connection uses it at a time.
#include <sqlite3.h>

#include <algorithm>
#include <cstring>
#include <new>

#include "simulated_disk.h"
#include "unicode.h"

namespace fendrel::store {

namespace {

using Call = SimulatedDisk::Call;

struct LayerFile {
  sqlite3_file head;
  SimulatedDisk* disk;
  SimulatedDisk::NodePointer* node;
  bool isMapped;
};

LayerFile& self(sqlite3_file* file) { return *reinterpret_cast<LayerFile*>(file); }
SimulatedDisk& diskOf(sqlite3_file* file) { return *self(file).disk; }
SimulatedDisk::Node& nodeOf(sqlite3_file* file) { return **self(file).node; }

std::wstring wide(const char* path) {
  std::u16string text;
  fromUtf8(path, text);
  return {text.begin(), text.end()};
}

// The mapping of errors to codes of the system's layer.
int codeOf(Status status, int otherwise) {
  switch (status) {
    case Status::NotEnoughDisk: return SQLITE_FULL;
    case Status::Busy: return SQLITE_BUSY;
    default: return otherwise;
  }
}

unsigned long lastSystemError = 0;

template <class Work>
int calling(int otherwise, Work&& work) noexcept {
  try {
    return work();
  } catch (const EngineError& error) {
    lastSystemError = error.status == Status::NoAccess ? 5 : 0;  // ERROR_ACCESS_DENIED
    return codeOf(error.status, otherwise);
  } catch (const std::bad_alloc&) {
    return SQLITE_IOERR_NOMEM;
  }
}

int closeFile(sqlite3_file* file) {
  delete self(file).node;
  return SQLITE_OK;
}

int readFile(sqlite3_file* file, void* into, int count, sqlite3_int64 at) {
  return calling(SQLITE_IOERR_READ, [&] {
    diskOf(file).reach(Call::Read, true);
    const Bytes& bytes = nodeOf(file).bytes;
    const std::size_t start = std::min(bytes.size(), static_cast<std::size_t>(at));
    const std::size_t done = std::min(bytes.size() - start, static_cast<std::size_t>(count));
    if (done > 0) std::memcpy(into, bytes.data() + start, done);
    std::memset(static_cast<char*>(into) + done, 0, static_cast<std::size_t>(count) - done);
    return done == static_cast<std::size_t>(count) ? SQLITE_OK : SQLITE_IOERR_SHORT_READ;
  });
}

int writeFile(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 at) {
  return calling(SQLITE_IOERR_WRITE, [&] {
    diskOf(file).writeNode(nodeOf(file), static_cast<std::uint64_t>(at),
                           {static_cast<const std::byte*>(bytes), static_cast<std::size_t>(count)}, true);
    return SQLITE_OK;
  });
}

int truncateFile(sqlite3_file* file, sqlite3_int64 size) {
  return calling(SQLITE_IOERR_TRUNCATE, [&] {
    diskOf(file).resizeNode(nodeOf(file), static_cast<std::uint64_t>(size), true);
    return SQLITE_OK;
  });
}

int syncFile(sqlite3_file* file, int) {
  return calling(SQLITE_IOERR_FSYNC, [&] {
    diskOf(file).flushNode(nodeOf(file), true);
    return SQLITE_OK;
  });
}

int fileSize(sqlite3_file* file, sqlite3_int64* size) {
  *size = static_cast<sqlite3_int64>(nodeOf(file).bytes.size());
  return SQLITE_OK;
}

int lockFile(sqlite3_file* file, int) {
  return calling(SQLITE_IOERR_LOCK, [&] {
    diskOf(file).reach(Call::Lock, true);
    return SQLITE_OK;
  });
}
int unlockFile(sqlite3_file*, int) { return SQLITE_OK; }

int checkReservedLock(sqlite3_file*, int* isReserved) {
  *isReserved = 0;
  return SQLITE_OK;
}

int fileControl(sqlite3_file*, int operation, void* argument) {
  if (operation != SQLITE_FCNTL_PERSIST_WAL) return SQLITE_NOTFOUND;
  static int keepsLog = 0;
  int& value = *static_cast<int*>(argument);
  if (value >= 0) keepsLog = value;
  value = keepsLog;
  return SQLITE_OK;
}

int reportSectorSize(sqlite3_file*) { return 512; }
int deviceCharacteristics(sqlite3_file*) { return SQLITE_IOCAP_POWERSAFE_OVERWRITE | SQLITE_IOCAP_SUBPAGE_READ; }

int shmMap(sqlite3_file* file, int region, int size, int mayExtend, void volatile** mapped) {
  *mapped = nullptr;
  return calling(SQLITE_IOERR_SHMMAP, [&] {
    diskOf(file).reach(Call::Open, true);
    auto& regions = nodeOf(file).sharedMemory;
    while (regions.size() <= static_cast<std::size_t>(region)) {
      if (!mayExtend) return SQLITE_OK;
      regions.push_back(std::make_unique<Bytes>(static_cast<std::size_t>(size)));
    }
    if (!self(file).isMapped) ++nodeOf(file).mappings;
    self(file).isMapped = true;
    *mapped = regions[static_cast<std::size_t>(region)]->data();
    return SQLITE_OK;
  });
}

int shmLock(sqlite3_file* file, int, int, int flags) {
  if (flags & SQLITE_SHM_UNLOCK) return SQLITE_OK;
  return calling(SQLITE_IOERR_SHMLOCK, [&] {
    diskOf(file).reach(Call::Lock, true);
    return SQLITE_OK;
  });
}

void shmBarrier(sqlite3_file*) {}

int shmUnmap(sqlite3_file* file, int) {
  if (self(file).isMapped && --nodeOf(file).mappings == 0) nodeOf(file).sharedMemory.clear();
  self(file).isMapped = false;
  return SQLITE_OK;
}

const sqlite3_io_methods methods = {
    .iVersion = 2,
    .xClose = closeFile,
    .xRead = readFile,
    .xWrite = writeFile,
    .xTruncate = truncateFile,
    .xSync = syncFile,
    .xFileSize = fileSize,
    .xLock = lockFile,
    .xUnlock = unlockFile,
    .xCheckReservedLock = checkReservedLock,
    .xFileControl = fileControl,
    .xSectorSize = reportSectorSize,
    .xDeviceCharacteristics = deviceCharacteristics,
    .xShmMap = shmMap,
    .xShmLock = shmLock,
    .xShmBarrier = shmBarrier,
    .xShmUnmap = shmUnmap,
};

int openFile(sqlite3_vfs*, sqlite3_filename path, sqlite3_file* file, int flags, int* outFlags) {
  file->pMethods = nullptr;
  return calling(SQLITE_CANTOPEN, [&] {
    SimulatedDisk& disk = *SimulatedDisk::current();
    disk.reach(Call::Open, true);
    SimulatedDisk::NodePointer node = path ? disk.find(wide(path)) : std::make_shared<SimulatedDisk::Node>();
    if (!node && !(flags & SQLITE_OPEN_CREATE)) return SQLITE_CANTOPEN;
    if (!node) node = disk.add(wide(path));
    self(file).disk = &disk;
    self(file).node = new SimulatedDisk::NodePointer(std::move(node));
    self(file).isMapped = false;
    file->pMethods = &methods;
    if (outFlags) *outFlags = flags;
    return SQLITE_OK;
  });
}

int deleteFile(sqlite3_vfs*, const char* path, int syncFolder) {
  return calling(SQLITE_IOERR_DELETE, [&] {
    SimulatedDisk& disk = *SimulatedDisk::current();
    const std::wstring name = wide(path);
    if (!disk.find(name)) return SQLITE_IOERR_DELETE_NOENT;
    disk.removeNode(name, true);
    if (syncFolder) disk.flushFolder(name.substr(0, name.find_last_of(L'\\')));
    return SQLITE_OK;
  });
}

int accessFile(sqlite3_vfs*, const char* path, int, int* result) {
  return calling(SQLITE_IOERR_ACCESS, [&] {
    SimulatedDisk::current()->reach(Call::Look, true);
    *result = SimulatedDisk::current()->find(wide(path)) != nullptr;
    return SQLITE_OK;
  });
}

int fullPathname(sqlite3_vfs*, const char* path, int size, char* into) {
  sqlite3_snprintf(size, into, "%s", path);
  return SQLITE_OK;
}

sqlite3_vfs* system() { return sqlite3_vfs_find(nullptr); }
int randomness(sqlite3_vfs*, int count, char* into) { return system()->xRandomness(system(), count, into); }
int sleep(sqlite3_vfs*, int) { return 0; }
int currentTime(sqlite3_vfs*, double* time) { return system()->xCurrentTime(system(), time); }
int currentTime64(sqlite3_vfs*, sqlite3_int64* time) { return system()->xCurrentTimeInt64(system(), time); }
int lastError(sqlite3_vfs*, int, char*) { return static_cast<int>(lastSystemError); }

}  // namespace

const char* SimulatedDisk::sqliteLayer() {
  static constexpr const char* layerName = "simulated";
  static sqlite3_vfs vfs = {
      .iVersion = 2,
      .szOsFile = sizeof(LayerFile),
      .mxPathname = 1024,
      .pNext = nullptr,
      .zName = layerName,
      .pAppData = nullptr,
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
  static const int registered = sqlite3_vfs_register(&vfs, 0);
  return registered == SQLITE_OK ? layerName : nullptr;
}

}  // namespace fendrel::store
