// The common calls of all classes over the database.
#pragma once

#include <memory>

#include "database.h"
#include "named_properties.h"
#include "origin.h"

namespace fendrel::store {

// `Border`: the interface, derived from Origin, that the class implements.
template <class Border>
class OnDatabase : public Border {
 public:
  explicit OnDatabase(std::shared_ptr<Database> database) : database_(std::move(database)) {}

  EngineError lastFailure() const override { return database_->lastFailure(); }
  Status identifiersOf(std::span<const PropertyName> names, IfUnknown ifUnknown,
                       std::vector<std::uint16_t>& ids) override {
    return store::identifiersOf(*database_, names, ifUnknown, ids);
  }
  Status namesOf(std::span<const std::uint16_t> ids, std::vector<std::optional<PropertyName>>& names) override {
    return store::namesOf(*database_, ids, names);
  }
  Status listNamedProperties(const Guid* set, std::vector<NamedProperty>& properties) override {
    return store::listNamedProperties(*database_, set, properties);
  }

 protected:
  Database& database() const noexcept { return *database_; }
  const std::shared_ptr<Database>& sharedDatabase() const noexcept { return database_; }

 private:
  std::shared_ptr<Database> database_;
};

}  // namespace fendrel::store
