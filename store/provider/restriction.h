// A client's restriction, copied and ready to be asked about rows.
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "property_values.h"

namespace fendrel::provider {

class Restriction {
 public:
  // MAPI_E_INVALID_PARAMETER (null where there must be something, an unknown kind or operator), MAPI_E_TOO_COMPLEX
  // (nested deeper than 64, patterns, sub-objects).
  static HRESULT copy(const SRestriction& source, std::unique_ptr<Restriction>& copied);

  ~Restriction();

  // The properties that matches() looks at, by identifier.
  std::span<const PropertyTag> columns() const noexcept { return columns_; }

  // `values` stand in the order of columns(). A comparison with an absent property is false.
  bool matches(std::span<const Property> values) const;

 private:
  struct Node;
  Restriction();
  HRESULT copyNode(const SRestriction& source, Node& node, int depth);
  HRESULT copyNodes(const SRestriction* sources, ULONG count, Node& node, int depth);
  std::size_t columnOf(ULONG tag);
  static bool matches(const Node& node, std::span<const Property> values);

  std::unique_ptr<Node> root_;
  std::vector<PropertyTag> columns_;
};

}  // namespace fendrel::provider
