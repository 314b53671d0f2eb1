#include "msg_names.h"

#include <algorithm>
#include <cstring>

namespace fendrel::host {
namespace {

constexpr ULONG firstNameNumber = 0x8000;
// Sets with fixed numbers in every file.
constexpr GUID mapiSet{0x00020328, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr GUID publicStrings{0x00020329, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr std::size_t mapiNumber = 1, publicStringsNumber = 2, firstOwnNumber = 3;

void put(std::vector<std::uint8_t>& bytes, std::uint32_t number, int size) {
  for (int i = 0; i < size; ++i) bytes.push_back(static_cast<std::uint8_t>(number >> 8 * i));
}

std::uint32_t checksum(const std::wstring& text) {
  std::uint32_t sum = 0;
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  for (std::size_t i = 0; i < text.size() * sizeof(wchar_t); ++i) {
    sum ^= bytes[i];
    for (int bit = 0; bit < 8; ++bit) sum = sum >> 1 ^ (sum & 1 ? 0xEDB88320u : 0);
  }
  return sum;
}

constexpr ULONG streamTag(ULONG id) { return id << 16 | PT_BINARY; }

}  // namespace

void MsgNames::add(IMAPIProp& object, std::span<const ULONG> tags) {
  std::vector<ULONG> asked{0};
  for (const ULONG tag : tags) {
    if (PROP_ID(tag) >= firstNameNumber && !numbers_.contains(PROP_ID(tag))) asked.push_back(tag);
  }
  asked[0] = static_cast<ULONG>(asked.size() - 1);
  if (asked[0] == 0) return;
  auto* list = reinterpret_cast<LPSPropTagArray>(asked.data());
  ULONG count = 0;
  LPMAPINAMEID* raw = nullptr;
  const HRESULT result = object.GetNamesFromIDs(&list, nullptr, 0, &count, &raw);
  const MapiBuffer<LPMAPINAMEID> owned(raw);
  if (result == MAPI_E_NO_SUPPORT) return;  // a store without names: its identifiers mean nothing elsewhere
  check(result, ExitCode::failed, "The names of the message's properties cannot be read");
  for (ULONG i = 0; i < std::min(count, asked[0]); ++i) {
    if (!raw[i] || !raw[i]->lpguid) continue;
    Name name{*raw[i]->lpguid, raw[i]->ulKind == MNID_STRING, 0, {}};
    if (name.isText)
      name.text = raw[i]->Kind.lpwstrName;
    else
      name.number = raw[i]->Kind.lID;
    numbers_[PROP_ID(asked[1 + i])] = names_.size();
    names_.push_back(std::move(name));
  }
}

ULONG MsgNames::tagInFile(ULONG tag) const {
  const auto found = numbers_.find(PROP_ID(tag));
  if (found == numbers_.end()) return 0;
  return PROP_TAG(PROP_TYPE(tag), firstNameNumber + static_cast<ULONG>(found->second));
}

std::vector<MsgNames::Stream> MsgNames::streams() const {
  std::vector<std::uint8_t> sets, entries, texts;
  std::vector<GUID> known;
  std::map<ULONG, std::vector<std::uint8_t>> sorted;
  for (std::size_t index = 0; index < names_.size(); ++index) {
    const Name& name = names_[index];
    std::size_t set = name.set == mapiSet ? mapiNumber : name.set == publicStrings ? publicStringsNumber : 0;
    if (set == 0) {
      const auto found = std::ranges::find(known, name.set);
      set = firstOwnNumber + static_cast<std::size_t>(found - known.begin());
      if (found == known.end()) {
        known.push_back(name.set);
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(&name.set);
        sets.insert(sets.end(), bytes, bytes + sizeof name.set);
      }
    }
    const auto setAndKind = static_cast<std::uint32_t>(set << 1 | (name.isText ? 1 : 0));
    const auto own = static_cast<std::uint32_t>(index);
    const std::uint32_t place =
        name.isText ? static_cast<std::uint32_t>(texts.size()) : static_cast<std::uint32_t>(name.number);
    put(entries, place, 4);
    put(entries, setAndKind, 2);
    put(entries, own, 2);
    if (name.isText) {
      const auto size = static_cast<std::uint32_t>(name.text.size() * sizeof(wchar_t));
      put(texts, size, 4);
      const auto* bytes = reinterpret_cast<const std::uint8_t*>(name.text.data());
      texts.insert(texts.end(), bytes, bytes + size);
      texts.resize((texts.size() + 3) / 4 * 4);
    }
    const std::uint32_t key = name.isText ? checksum(name.text) : static_cast<std::uint32_t>(name.number);
    std::vector<std::uint8_t>& bucket = sorted[0x1000 + (key ^ setAndKind) % 0x1F];
    put(bucket, key, 4);
    put(bucket, setAndKind, 2);
    put(bucket, own, 2);
  }
  std::vector<Stream> all = {
      {streamTag(2), std::move(sets)}, {streamTag(3), std::move(entries)}, {streamTag(4), std::move(texts)}};
  for (auto& [id, bytes] : sorted) all.push_back({streamTag(id), std::move(bytes)});
  return all;
}

}  // namespace fendrel::host
