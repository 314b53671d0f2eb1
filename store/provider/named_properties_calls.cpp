#include "named_properties_calls.h"

#include <cstring>

#include "mapi_interfaces.h"
#include "property_values.h"
#include "status_codes.h"

namespace fendrel::provider {
namespace {

using store::NamedProperty;
using store::PropertyName;

constexpr ULONG noSuchTag = PROP_TAG(PT_ERROR, 0);

store::Guid guidOf(const GUID& guid) {
  store::Guid copy;
  std::memcpy(copy.bytes, &guid, sizeof copy.bytes);
  return copy;
}

const store::Guid& mapiSet() {
  static const store::Guid set = guidOf(PS_MAPI);
  return set;
}

// MAPI_E_INVALID_PARAMETER for an invalid name.
HRESULT takeName(const MAPINAMEID* given, PropertyName& name) {
  if (!given || !given->lpguid) return MAPI_E_INVALID_PARAMETER;
  name.set = guidOf(*given->lpguid);
  if (given->ulKind == MNID_ID) {
    name.name = static_cast<std::int32_t>(given->Kind.lID);
    return S_OK;
  }
  if (given->ulKind != MNID_STRING || !given->Kind.lpwstrName) return MAPI_E_INVALID_PARAMETER;
  name.name = fromWide(given->Kind.lpwstrName);
  return S_OK;
}

// Below 0x8000 an identifier is its own name, in the set PS_MAPI.
bool isOwnName(const PropertyName& name) {
  const auto* number = std::get_if<std::int32_t>(&name.name);
  return name.set == mapiSet() && number && *number > 0 && *number < store::firstNamedProperty;
}

constexpr std::size_t inEights(std::size_t size) { return (size + 7) & ~std::size_t{7}; }

// All names and their data in one block.
MapiBuffer<LPMAPINAMEID> makeNames(const std::vector<std::optional<PropertyName>>& names) {
  const std::size_t perName = inEights(sizeof(MAPINAMEID)) + inEights(sizeof(GUID));
  std::size_t room = inEights(names.size() * sizeof(LPMAPINAMEID));
  const std::size_t heads = room;
  for (const auto& name : names) {
    if (!name) continue;
    room += perName;
    if (const auto* text = std::get_if<std::u16string>(&name->name)) room += inEights((text->size() + 1) * 2);
  }
  auto list = allocateMapi<LPMAPINAMEID>(room);
  std::byte* next = reinterpret_cast<std::byte*>(list.get()) + heads;
  const auto take = [&](std::size_t size) {
    std::byte* place = next;
    next += inEights(size);
    return place;
  };
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (!names[i]) continue;
    auto* made = reinterpret_cast<MAPINAMEID*>(take(sizeof(MAPINAMEID)));
    made->lpguid = reinterpret_cast<LPGUID>(take(sizeof(GUID)));
    std::memcpy(made->lpguid, names[i]->set.bytes, sizeof(GUID));
    if (const auto* number = std::get_if<std::int32_t>(&names[i]->name)) {
      made->ulKind = MNID_ID;
      made->Kind.lID = *number;
    } else {
      const auto& text = std::get<std::u16string>(names[i]->name);
      made->ulKind = MNID_STRING;
      made->Kind.lpwstrName = reinterpret_cast<LPWSTR>(take((text.size() + 1) * 2));
      std::memcpy(made->Kind.lpwstrName, text.c_str(), (text.size() + 1) * 2);
    }
    list.get()[i] = made;
  }
  return list;
}

bool isWanted(const PropertyName& name, ULONG flags) {
  const bool isText = std::holds_alternative<std::u16string>(name.name);
  return !(flags & (isText ? MAPI_NO_STRINGS : MAPI_NO_IDS));
}

// The tags and names of the list of all names.
HRESULT listAll(store::Origin& origin, const GUID* set, ULONG flags, std::vector<ULONG>& tags,
                std::vector<std::optional<PropertyName>>& names) {
  std::vector<NamedProperty> all;
  const store::Guid wanted = set ? guidOf(*set) : store::Guid{};
  const auto status = origin.listNamedProperties(set ? &wanted : nullptr, all);
  if (status != store::Status::Ok) return toResult(status);
  for (NamedProperty& property : all) {
    if (!isWanted(property.name, flags)) continue;
    tags.push_back(PROP_TAG(PT_UNSPECIFIED, property.id));
    names.emplace_back(std::move(property.name));
  }
  return S_OK;
}

}  // namespace

HRESULT getIdsFromNames(store::Origin& origin, ULONG count, MAPINAMEID** names, ULONG flags, LPSPropTagArray* tags) {
  if (!tags || (count != 0) != (names != nullptr)) return MAPI_E_INVALID_PARAMETER;
  *tags = nullptr;
  std::vector<ULONG> answer;
  if (count == 0) {
    std::vector<std::optional<PropertyName>> all;
    if (const HRESULT result = listAll(origin, nullptr, 0, answer, all); FAILED(result)) return result;
    *tags = makeTagArray(answer).release();
    return S_OK;
  }
  std::vector<PropertyName> asked(count);
  std::vector<PropertyName> kept;  // those in the store
  for (ULONG i = 0; i < count; ++i) {
    if (const HRESULT result = takeName(names[i], asked[i]); FAILED(result)) return result;
    if (asked[i].set != mapiSet()) kept.push_back(asked[i]);
  }
  std::vector<std::uint16_t> ids;
  const auto ifUnknown = flags & MAPI_CREATE ? store::IfUnknown::Create : store::IfUnknown::Leave;
  const auto status = origin.identifiersOf(kept, ifUnknown, ids);
  if (status != store::Status::Ok) return toResult(status);
  bool complete = true;
  std::size_t next = 0;
  for (const PropertyName& name : asked) {
    ULONG id = 0;
    if (name.set != mapiSet())
      id = ids[next++];
    else if (isOwnName(name))
      id = static_cast<ULONG>(std::get<std::int32_t>(name.name));
    answer.push_back(id ? PROP_TAG(PT_UNSPECIFIED, id) : noSuchTag);
    complete = complete && id != 0;
  }
  *tags = makeTagArray(answer).release();
  return complete ? S_OK : MAPI_W_ERRORS_RETURNED;
}

HRESULT getNamesFromIds(store::Origin& origin, LPSPropTagArray* tags, const GUID* set, ULONG flags, ULONG* count,
                        LPMAPINAMEID** names) {
  if (!tags || !count || !names) return MAPI_E_INVALID_PARAMETER;
  *count = 0;
  *names = nullptr;
  std::vector<std::optional<PropertyName>> found;
  if (!*tags) {
    std::vector<ULONG> all;
    if (const HRESULT result = listAll(origin, set, flags, all, found); FAILED(result)) return result;
    auto list = makeNames(found);
    *tags = makeTagArray(all).release();
    *count = static_cast<ULONG>(all.size());
    *names = list.release();
    return S_OK;
  }
  const auto asked = tagsOf(**tags);
  std::vector<std::uint16_t> ids;
  for (const ULONG tag : asked) ids.push_back(static_cast<std::uint16_t>(PROP_ID(tag)));
  if (const auto status = origin.namesOf(ids, found); status != store::Status::Ok) return toResult(status);
  bool complete = true;
  for (std::size_t i = 0; i < ids.size(); ++i) {
    if (ids[i] != 0 && ids[i] < store::firstNamedProperty) found[i] = PropertyName{mapiSet(), std::int32_t{ids[i]}};
    if (found[i] && !isWanted(*found[i], flags)) found[i].reset();
    complete = complete && found[i].has_value();
  }
  *names = makeNames(found).release();
  *count = static_cast<ULONG>(found.size());
  return complete ? S_OK : MAPI_W_ERRORS_RETURNED;
}

}  // namespace fendrel::provider
