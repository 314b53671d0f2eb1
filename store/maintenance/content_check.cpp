#include "content_check.h"

#include <algorithm>
#include <cstring>

#include "checksum.h"
#include "content_writer.h"

namespace fendrel::store {
namespace {

[[noreturn]] void damaged(const std::string& what) { fail(Status::Corrupt, what); }

std::uint64_t blocksOf(std::uint64_t size) { return size / contentBlockSize + (size % contentBlockSize != 0); }

bool matches(std::span<const std::byte> checksums, std::uint64_t block, std::span<const std::byte> bytes) {
  std::uint64_t sum;
  std::memcpy(&sum, checksums.data() + block * sizeof sum, sizeof sum);
  return checksum(bytes) == sum;
}

// Names that we gave: anything else could point out of the folder.
bool isContentFileName(std::string_view name) {
  return !name.empty() && std::ranges::all_of(name, [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || c == '.';
  });
}

}  // namespace

void readContent(ReadingConnection& connection, std::int64_t content, std::uint64_t size, std::string& file,
                 const TakeBlock& take) {
  Statement row = connection.statement("SELECT size, checksums, data, file FROM content WHERE id = ?");
  row.bind(1, content);
  if (!row.step()) damaged("Its content is missing in the database.");
  const auto checksums = row.bytes(1);
  if (static_cast<std::uint64_t>(row.integer(0)) != size || checksums.size() / 8 != blocksOf(size)) {
    damaged("Its content is not of its size.");
  }
  if (row.isNull(3)) {
    const auto data = row.bytes(2);
    if (data.size() != size || blocksOf(size) > 1) damaged("Its content is not of its size.");
    if (size > 0 && !matches(checksums, 0, data)) damaged("Its content does not match its checksum.");
    if (size > 0) take(data);
    return;
  }
  file = row.text(3);
  try {
    const auto opened = openContentFile(connection.disk(), connection.contentFolder(), file);
    readContentFile(*opened, file, size, checksums, take);
  } catch (const EngineError& error) {
    if (error.status != Status::NotFound) throw;
    damaged("Its content file '" + file + "' is missing.");
  }
}

std::unique_ptr<DiskFile> openContentFile(Disk& disk, const std::wstring& folder, const std::string& name) {
  if (!isContentFileName(name)) damaged("Its content file has a strange name.");
  return disk.open(folder + L"\\" + std::wstring(name.begin(), name.end()));
}

void readContentFile(DiskFile& file, const std::string& name, std::uint64_t size, std::span<const std::byte> checksums,
                     const TakeBlock& take) {
  if (checksums.size() / 8 != blocksOf(size)) damaged("Its content is not of its size.");
  if (const std::uint64_t length = file.size(); length != size) {
    damaged("Its content file '" + name + "' has " + std::to_string(length) + " bytes instead of " +
            std::to_string(size) + ".");
  }
  Bytes bytes;
  for (std::uint64_t block = 0; block < blocksOf(size); ++block) {
    const std::uint64_t at = block * contentBlockSize;
    bytes.resize(static_cast<std::size_t>(std::min<std::uint64_t>(contentBlockSize, size - at)));
    if (file.read(at, bytes) != bytes.size() || !matches(checksums, block, bytes)) {
      damaged("Its content file '" + name + "' is damaged in the 128 KiB from byte " + std::to_string(at) + " on.");
    }
    take(bytes);
  }
}

}  // namespace fendrel::store
