// Finds, without the engine, which messages have data in which page of an undamaged store.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "connection.h"

namespace fendrel::store {

struct PageMap {
  std::map<std::uint32_t, std::set<std::int64_t>> messages;  // row numbers, by page
  std::map<std::uint32_t, std::string> names;                // "leaf of message", for every page of a tree; "overflow"
  std::uint32_t pages = 0;

  std::string nameOf(std::uint32_t page) const {
    const auto found = names.find(page);
    return found == names.end() ? "no tree's" : found->second;
  }
};

// `file`: the bytes of the database, checkpointed.
PageMap mapPages(Connection& connection, const std::vector<std::byte>& file);

// Each message as text: its folder on one line, its row, its attachments, its properties and the checksums of its
// contents.
std::map<std::int64_t, std::string> describeMessages(Connection& connection);

// The same as SQLite alone reads them.
std::map<std::int64_t, std::string> describeMessages(const std::wstring& store);

}  // namespace fendrel::store
