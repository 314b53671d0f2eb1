#include "model.h"

#include <cstring>

namespace model {
namespace {

SBinary binaryOf(Value& value) { return {client::sizeOf(value.bytes), reinterpret_cast<BYTE*>(value.bytes.data())}; }

}  // namespace

std::vector<int> Contents::childrenOf(int folder) const {
  std::vector<int> found;
  for (const auto& [id, one] : folders)
    if (one.parent == folder && id != folder) found.push_back(id);
  return found;
}

std::vector<int> Contents::treeOf(int folder) const {
  std::vector<int> found{folder};
  for (std::size_t next = 0; next < found.size(); ++next)
    for (const int child : childrenOf(found[next])) found.push_back(child);
  return found;
}

std::vector<int> Contents::messagesIn(int folder, bool associated) const {
  std::vector<int> found;
  for (const auto& [id, message] : messages)
    if (message.folder == folder && message.associated == associated) found.push_back(id);
  return found;
}

std::int64_t Contents::countIn(int folder, bool associated, bool unreadOnly) const {
  std::int64_t count = 0;
  for (const int id : messagesIn(folder, associated)) count += !unreadOnly || !messages.at(id).isRead;
  return count;
}

int Contents::folderNamed(int parent, std::wstring_view name) const {
  for (const int child : childrenOf(parent))
    if (folders.at(child).name == name) return child;
  return -1;
}

void Contents::eraseTree(int folder) {
  for (const int gone : treeOf(folder)) {
    std::erase_if(messages, [&](const auto& message) { return message.second.folder == gone; });
    folders.erase(gone);
  }
}

Sending::Sending(const std::vector<Value>& values, bool narrow) {
  for (const Value& value : values) add(value, narrow);
}

Sending::Sending(const Properties& properties) {
  for (const auto& [id, value] : properties) add(value, false);
}

void Sending::add(const Value& value, bool narrow) {
  Value& copy = copies_.emplace_back(value);
  SPropValue& out = out_.emplace_back();
  out = {};
  out.ulPropTag = copy.tag;
  auto& in = out.Value;
  switch (PROP_TYPE(copy.tag)) {
    case PT_UNICODE:
      if (narrow) {
        out.ulPropTag = CHANGE_PROP_TYPE(copy.tag, PT_STRING8);
        copy.bytes.assign(copy.text.begin(), copy.text.end());
        in.lpszA = copy.bytes.data();
      } else {
        in.lpszW = copy.text.data();
      }
      break;
    case PT_BINARY: in.bin = binaryOf(copy); break;
    case PT_CLSID: in.lpguid = reinterpret_cast<LPGUID>(copy.bytes.data()); break;
    case PT_BOOLEAN: in.b = static_cast<unsigned short>(copy.number); break;
    case PT_MV_LONG: {
      auto& list = numbers_.emplace_back();
      for (const Value& one : copy.many) list.push_back(static_cast<LONG>(one.number));
      in.MVl = {static_cast<ULONG>(list.size()), list.data()};
      break;
    }
    case PT_MV_UNICODE: {
      auto& list = texts_.emplace_back();
      for (Value& one : copy.many) list.push_back(one.text.data());
      in.MVszW = {static_cast<ULONG>(list.size()), list.data()};
      break;
    }
    case PT_MV_BINARY: {
      auto& list = binaries_.emplace_back();
      for (Value& one : copy.many) list.push_back(binaryOf(one));
      in.MVbin = {static_cast<ULONG>(list.size()), list.data()};
      break;
    }
    default: std::memcpy(&in, &copy.number, sizeof copy.number); break;  // integers and floating point, low byte first
  }
}

}  // namespace model
