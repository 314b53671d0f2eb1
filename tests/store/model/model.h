// The expected content of a store, in memory.
#pragma once

#include <deque>
#include <map>
#include <string>

#include "randomness.h"

namespace model {

// By identifier, whatever the type.
using Properties = std::map<ULONG, Value>;

struct Message {
  int folder = 0;
  bool associated = false;
  bool isRead = true;
  Properties properties;
  std::map<ULONG, Properties> attachments;  // by number
  Bytes entryId;
};

struct Folder {
  int store = 0;   // 0 the public one, 1 the mailbox
  int parent = 0;  // of a store's top folder: itself
  std::wstring name;
  Properties properties;
  Bytes entryId;
  bool isOurs = true;  // not a standard folder
};

struct Contents {
  std::map<int, Folder> folders;
  std::map<int, Message> messages;

  std::vector<int> childrenOf(int folder) const;
  std::vector<int> treeOf(int folder) const;  // with the folder itself
  std::vector<int> messagesIn(int folder, bool associated) const;
  std::int64_t countIn(int folder, bool associated, bool unreadOnly = false) const;
  int folderNamed(int parent, std::wstring_view name) const;  // -1: none
  void eraseTree(int folder);
};

// The memory that SPropValues point into.
class Sending {
 public:
  explicit Sending(const std::vector<Value>& values, bool narrow = false);
  explicit Sending(const Properties& properties);
  ULONG count() const { return static_cast<ULONG>(out_.size()); }
  LPSPropValue values() { return out_.data(); }

 private:
  void add(const Value& value, bool narrow);

  std::vector<SPropValue> out_;
  std::deque<Value> copies_;
  std::deque<std::vector<LPWSTR>> texts_;
  std::deque<std::vector<SBinary>> binaries_;
  std::deque<std::vector<LONG>> numbers_;
};

}  // namespace model
