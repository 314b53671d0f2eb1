// A copy of a client's restriction that is matched against rows.
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "property_values.h"

namespace fendrel::provider {

class Restriction {
 public:
  // MAPI_E_INVALID_PARAMETER (a null pointer, an unknown kind or operator), MAPI_E_TOO_COMPLEX (nested deeper than 64,
  // patterns, sub-objects).
  static HRESULT copy(const SRestriction& source, std::unique_ptr<Restriction>& copied);

  ~Restriction();

  // The properties that matches() uses, by identifier.
  std::span<const PropertyTag> columns() const noexcept { return columns_; }

  // `values` are in the order of columns(). A comparison with an absent property is false.
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
