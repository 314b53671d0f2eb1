#include "named_properties.h"

#include "connection.h"
#include "unicode.h"

namespace fendrel::store {

namespace {

constexpr int numberKind = 0, textKind = 1;

PropertyName nameAt(const Statement& row, int column) {
  PropertyName name;
  name.set = row.guid(column);
  if (row.integer(column + 1) == numberKind)
    name.name = static_cast<std::int32_t>(row.integer(column + 2));
  else
    name.name = row.wideText(column + 2);
  return name;
}

// Binds a name's set, kind and name, beginning with `parameter`.
void bindName(Statement& statement, int parameter, const PropertyName& name) {
  statement.bind(parameter, name.set);
  const auto* number = std::get_if<std::int32_t>(&name.name);
  statement.bind(parameter + 1, number ? numberKind : textKind);
  if (number)
    statement.bind(parameter + 2, *number);
  else
    statement.bindOwned(parameter + 2, toUtf8(std::get<std::u16string>(name.name)));
}

// 0 if there is none.
std::uint16_t findId(Connection& connection, const PropertyName& name) {
  Query query(connection.statement("SELECT id FROM named_property WHERE guid = ? AND kind = ? AND name = ?"));
  bindName(*query, 1, name);
  return query.step() ? static_cast<std::uint16_t>(query->integer(0)) : std::uint16_t{0};
}

// 0 if none is left.
std::uint16_t giveId(Connection& connection, const PropertyName& name) {
  std::int64_t id = firstNamedProperty;
  {
    Query query(connection.statement("SELECT max(id) FROM named_property"));
    if (query.step() && !query->isNull(0)) id = query->integer(0) + 1;
  }
  if (id > lastNamedProperty) return 0;
  Query query(connection.statement("INSERT INTO named_property (id, guid, kind, name) VALUES (?, ?, ?, ?)"), id);
  bindName(*query, 2, name);
  query.run();
  return static_cast<std::uint16_t>(id);
}

bool findAll(Connection& connection, std::span<const PropertyName> names, std::vector<std::uint16_t>& ids) {
  bool all = true;
  ids.clear();
  for (const PropertyName& name : names) {
    ids.push_back(findId(connection, name));
    all = all && ids.back() != 0;
  }
  return all;
}

}  // namespace

Status identifiersOf(Database& database, std::span<const PropertyName> names, IfUnknown ifUnknown,
                     std::vector<std::uint16_t>& ids) {
  return guarded(database, [&](Connection& connection) {
    {
      // Usually all names exist, and no write lock is needed.
      Transaction transaction(connection, Transaction::Read);
      if (findAll(connection, names, ids) || ifUnknown == IfUnknown::Leave) return;
    }
    Transaction transaction(connection, Transaction::Write);
    for (std::size_t i = 0; i < names.size(); ++i) {
      ids[i] = findId(connection, names[i]);
      if (ids[i] == 0) ids[i] = giveId(connection, names[i]);
    }
    transaction.commit();
  });
}

Status namesOf(Database& database, std::span<const std::uint16_t> ids,
               std::vector<std::optional<PropertyName>>& names) {
  return guarded(database, [&](Connection& connection) {
    Transaction transaction(connection, Transaction::Read);
    names.assign(ids.size(), std::nullopt);
    for (std::size_t i = 0; i < ids.size(); ++i) {
      Query query(connection.statement("SELECT guid, kind, name FROM named_property WHERE id = ?"), ids[i]);
      if (query.step()) names[i] = nameAt(*query, 0);
    }
  });
}

Status listNamedProperties(Database& database, const Guid* set, std::vector<NamedProperty>& properties) {
  return guarded(database, [&](Connection& connection) {
    std::vector<NamedProperty> all;
    Query query(connection.statement("SELECT id, guid, kind, name FROM named_property ORDER BY id"));
    while (query.step()) {
      NamedProperty property{static_cast<std::uint16_t>(query->integer(0)), nameAt(*query, 1)};
      if (!set || property.name.set == *set) all.push_back(std::move(property));
    }
    properties = std::move(all);
  });
}

}  // namespace fendrel::store
