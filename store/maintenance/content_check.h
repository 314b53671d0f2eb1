// Reads long values, comparing them with their checksums. For store/maintenance only.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "reading_connection.h"

namespace fendrel::store {

using TakeBlock = std::function<void(std::span<const std::byte>)>;

// Calls take(block) for the content's blocks in order. Throws EngineError: Corrupt for what is damaged, missing or of
// another size; `file` gets the name of its file, if it has one.
void readContent(ReadingConnection& connection, std::int64_t content, std::uint64_t size, std::string& file,
                 const TakeBlock& take);

// Opens a content file. Throws EngineError: NotFound, Corrupt (a strange name).
std::unique_ptr<DiskFile> openContentFile(Disk& disk, const std::wstring& folder, const std::string& name);

// Reads an open content file; `checksums` as the table has them. Throws as readContent.
void readContentFile(DiskFile& file, const std::string& name, std::uint64_t size, std::span<const std::byte> checksums,
                     const TakeBlock& take);

}  // namespace fendrel::store
