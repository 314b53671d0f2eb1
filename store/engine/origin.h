// What every object needs of where it comes from, be that an engine or the book of profiles.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "engine_error.h"
#include "property_name.h"

namespace fendrel::store {

class Origin {
 public:
  virtual ~Origin() = default;
  Origin(const Origin&) = delete;
  Origin& operator=(const Origin&) = delete;

  // What the last failed call of any thread answered and said; never cleared by a success. Ok: none has failed.
  virtual EngineError lastFailure() const = 0;

  // Names of properties, one list for all that a machine's user has: a message keeps its meaning wherever it goes.

  // The identifier of each name, in that order; 0 for one that is not known and, when all identifiers are given away,
  // for one that would have to be made.
  virtual Status identifiersOf(std::span<const PropertyName> names, IfUnknown ifUnknown,
                               std::vector<std::uint16_t>& ids) = 0;

  // The name of each identifier, in that order; nothing where none was given to it.
  virtual Status namesOf(std::span<const std::uint16_t> ids, std::vector<std::optional<PropertyName>>& names) = 0;

  // All of them, or those of one set, by identifier.
  virtual Status listNamedProperties(const Guid* set, std::vector<NamedProperty>& properties) = 0;

 protected:
  Origin() = default;
};

}  // namespace fendrel::store
