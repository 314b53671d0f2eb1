// The encoding of a property's value in a table's column. For the engine only.
//
//   type (low half of the tag)                 column
//   int16, int32, int64, currency, boolean     INTEGER
//   time                                       INTEGER, 100-nanosecond intervals since 1601 UTC
//   float32, float64, appTime                  REAL; not-a-number is NULL
//   text                                       TEXT, UTF-8 (an unpaired surrogate as three bytes)
//   guid                                       BLOB of 16 bytes in memory order
//   binary                                     BLOB
//   manyInt16, manyInt32, manyInt64,           BLOB: the concatenated values, each of 2, 4, 8 or (guid) 16 bytes
//   manyFloat32, manyFloat64, manyCurrency,
//   manyAppTime, manyTime, manyGuid
//   manyText, manyBinary                       BLOB: for each value its length in bytes (4 bytes), then its bytes
//                                              (UTF-8 for text)
// Numbers inside a BLOB are little-endian.
#pragma once

#include "sqlite_statement.h"

namespace fendrel::store {

// Throws Invalid if the value does not have its tag's type, or if the type cannot be stored.
void checkFits(const Property& property);

// Binds the value; `scratch` holds encoded bytes until the statement has run.
void bindValue(Statement& statement, int parameter, const PropertyValue& value, Bytes& scratch);

// Throws Corrupt if the column does not match the type.
PropertyValue readValue(const Statement& statement, int column, std::uint16_t type);

// Converts content bytes (text as UTF-16LE) to a value and back. Throws Corrupt for text of odd size.
PropertyValue valueOfContent(std::uint16_t type, Bytes bytes);
std::span<const std::byte> contentOfValue(const PropertyValue& value);  // text or binary only

}  // namespace fendrel::store
