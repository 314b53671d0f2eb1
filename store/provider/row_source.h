// Where a table's rows come from.
#pragma once

#include <functional>
#include <span>
#include <vector>

#include "id.h"
#include "property_values.h"

namespace fendrel::provider {

// Names a row for as long as the table is open.
using RowKey = store::Id;

// One row's values in the order of the columns asked for: tag 0 where it has no such property. False ends the reading.
// The sink must not call the engine.
using RowSink = std::function<bool(const RowKey&, std::vector<Property>&)>;

// Columns are asked for by identifier, of any type.
class RowSource {
 public:
  virtual ~RowSource() = default;

  // What a table shows when nobody chose its columns, and all that it can show.
  virtual std::vector<PropertyTag> defaultColumns() const = 0;
  virtual std::vector<PropertyTag> allColumns() const { return defaultColumns(); }

  virtual bool hasBookmarks() const { return true; }

  // Another number when a table that is open shows other rows from now on.
  virtual std::uint64_t state() const { return 0; }

  // All rows in their natural order.
  virtual HRESULT scan(std::span<const PropertyTag> columns, const RowSink& sink) = 0;

  // These rows in this order; a row that is gone is left out.
  virtual HRESULT read(std::span<const RowKey> rows, std::span<const PropertyTag> columns, const RowSink& sink) = 0;
};

}  // namespace fendrel::provider
