// The three property tables. For the engine only; called inside a transaction.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "connection.h"
#include "content_spool.h"
#include "content_table.h"
#include "messages.h"
#include "property_codec.h"

namespace fendrel::store {

// Folder and store properties, always complete in their rows.
enum class OwnerTable { Folder, Store };
std::vector<Property> readOwnerProperties(Connection& connection, OwnerTable table, std::int64_t owner,
                                          std::span<const PropertyTag> tags);
void changeOwnerProperties(Connection& connection, OwnerTable table, std::int64_t owner, std::span<const Property> set,
                           std::span<const PropertyTag> remove);

// Message properties: part 0 is the message, part n + 1 its attachment number n.
constexpr std::int64_t messagePart = 0;
constexpr std::int64_t partOf(std::uint32_t attachment) { return std::int64_t{attachment} + 1; }

std::vector<Property> readParts(Connection& connection, std::int64_t message, std::int64_t part,
                                std::span<const PropertyTag> tags, std::uint64_t valueLimit);

// One stored value, loaded if it has at most `valueLimit` bytes. The statement's columns from `first` on are type,
// size, value, content.
PropertyValue loadValue(Connection& connection, const Statement& statement, int first, std::uint64_t valueLimit);

// An existing property is removed before it is inserted with a new value, so that its old content is deleted.
void removeProperty(Connection& connection, std::int64_t message, std::int64_t part, std::uint16_t id);
void insertProperty(Connection& connection, std::int64_t message, std::int64_t part, const Property& property);
void insertProperty(Connection& connection, std::int64_t message, std::int64_t part, PropertyTag tag,
                    ContentSpool& content);

// Values up to this many bytes are stored in their row; longer ones become content.
constexpr std::uint64_t inlineLimit = 32 * 1024;
bool isInline(const Property& property);

// True if the stored tag matches the requested one.
constexpr bool answers(PropertyTag stored, PropertyTag asked) {
  return propertyId(stored) == propertyId(asked) &&
         (propertyType(asked) == PropertyType::unspecified || propertyType(stored) == propertyType(asked));
}

// "[12,34]": the identifiers of tags for json_each.
std::string idList(std::span<const PropertyTag> tags);

// Puts the property into its requested column.
void placeInColumns(std::span<const PropertyTag> columns, std::vector<Property>& values, const Property& property);

}  // namespace fendrel::store
