// The common base of engines and the profile book.
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

  // Status and text of the last failed call of any thread; a success does not clear it. Ok: none has failed.
  virtual EngineError lastFailure() const = 0;

  // Property names: one list for all of a user's stores, so that a message keeps its meaning when it is moved.

  // The identifier of each name, in order; 0 for an unknown name, or for a new one if no identifiers are left.
  virtual Status identifiersOf(std::span<const PropertyName> names, IfUnknown ifUnknown,
                               std::vector<std::uint16_t>& ids) = 0;

  // The name of each identifier, in order; nothing for one without a name.
  virtual Status namesOf(std::span<const std::uint16_t> ids, std::vector<std::optional<PropertyName>>& names) = 0;

  // All names, or those of one set, by identifier.
  virtual Status listNamedProperties(const Guid* set, std::vector<NamedProperty>& properties) = 0;

 protected:
  Origin() = default;
};

}  // namespace fendrel::store
