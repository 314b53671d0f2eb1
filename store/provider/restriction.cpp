#include "restriction.h"

#include <algorithm>

#include "property_order.h"

namespace fendrel::provider {
namespace {

constexpr int deepestNesting = 64;

bool holds(ULONG relop, std::strong_ordering order) {
  switch (relop) {
    case RELOP_LT: return order < 0;
    case RELOP_LE: return order <= 0;
    case RELOP_GT: return order > 0;
    case RELOP_GE: return order >= 0;
    case RELOP_EQ: return order == 0;
    default: return order != 0;
  }
}

HRESULT checkOperator(ULONG relop) {
  if (relop == RELOP_RE) return MAPI_E_TOO_COMPLEX;
  return relop > RELOP_RE ? MAPI_E_INVALID_PARAMETER : S_OK;
}

// Whether `whole` contains `part`, according to the fuzzy level.
template <class Text>
bool contains(const Text& whole, const Text& part, ULONG fuzzyLevel) {
  if (fuzzyLevel & FL_SUBSTRING)
    return std::search(whole.begin(), whole.end(), part.begin(), part.end()) != whole.end() || part.empty();
  if (fuzzyLevel & FL_PREFIX) return whole.size() >= part.size() && std::equal(part.begin(), part.end(), whole.begin());
  return whole == part;
}

bool containsText(const std::u16string& whole, const std::u16string& part, ULONG fuzzyLevel) {
  if (fuzzyLevel & (FL_IGNORECASE | FL_LOOSE)) return contains(lowerCase(whole), lowerCase(part), fuzzyLevel);
  return contains(whole, part, fuzzyLevel);
}

bool containsValue(const PropertyValue& whole, const PropertyValue& part, ULONG fuzzyLevel) {
  if (const auto* text = std::get_if<std::u16string>(&part)) {
    if (const auto* in = std::get_if<std::u16string>(&whole)) return containsText(*in, *text, fuzzyLevel);
    if (const auto* in = std::get_if<std::vector<std::u16string>>(&whole)) {
      return std::ranges::any_of(*in, [&](const auto& one) { return containsText(one, *text, fuzzyLevel); });
    }
  }
  if (const auto* bytes = std::get_if<store::Bytes>(&part)) {
    if (const auto* in = std::get_if<store::Bytes>(&whole)) return contains(*in, *bytes, fuzzyLevel);
  }
  return false;
}

// The size of the SPropValue and its data, for size restrictions.
std::uint64_t sizeOf(const Property& property) {
  const PropertyValue& value = property.value;
  if (const auto* text = std::get_if<std::u16string>(&value)) return (text->size() + 1) * 2;
  if (const auto* bytes = std::get_if<store::Bytes>(&value)) return bytes->size();
  if (const auto* unloaded = std::get_if<store::UnloadedValue>(&value))
    return unloaded->size + (PROP_TYPE(property.tag) == PT_UNICODE ? sizeof(char16_t) : 0);  // with terminator
  return 8;
}

}  // namespace

struct Restriction::Node {
  ULONG kind = RES_AND;
  std::vector<Node> children;
  std::size_t column = 0, otherColumn = 0;
  ULONG operation = 0;  // relation, fuzzy level or bit-mask relation
  ULONG number = 0;     // mask or size
  ULONG type = PT_UNSPECIFIED;
  Property value{};
};

Restriction::Restriction() : root_(std::make_unique<Node>()) {}
Restriction::~Restriction() = default;

HRESULT Restriction::copy(const SRestriction& source, std::unique_ptr<Restriction>& copied) {
  std::unique_ptr<Restriction> restriction(new Restriction);
  const HRESULT result = restriction->copyNode(source, *restriction->root_, 0);
  if (SUCCEEDED(result)) copied = std::move(restriction);
  return result;
}

std::size_t Restriction::columnOf(ULONG tag) {
  const auto found = std::ranges::find(columns_, anyType(tag));
  const std::size_t index = static_cast<std::size_t>(found - columns_.begin());
  if (found == columns_.end()) columns_.push_back(anyType(tag));
  return index;
}

HRESULT Restriction::copyNodes(const SRestriction* sources, ULONG count, Node& node, int depth) {
  if (count && !sources) return MAPI_E_INVALID_PARAMETER;
  for (ULONG i = 0; i < count; ++i) {
    const HRESULT result = copyNode(sources[i], node.children.emplace_back(), depth + 1);
    if (FAILED(result)) return result;
  }
  return S_OK;
}

HRESULT Restriction::copyNode(const SRestriction& source, Node& node, int depth) {
  if (depth > deepestNesting) return MAPI_E_TOO_COMPLEX;
  node.kind = source.rt;
  switch (source.rt) {
    case RES_AND: return copyNodes(source.res.resAnd.lpRes, source.res.resAnd.cRes, node, depth);
    case RES_OR: return copyNodes(source.res.resOr.lpRes, source.res.resOr.cRes, node, depth);
    case RES_NOT: return copyNodes(source.res.resNot.lpRes, 1, node, depth);
    case RES_COMMENT:
      // The comment does not restrict rows.
      node.kind = RES_AND;
      return copyNodes(source.res.resComment.lpRes, source.res.resComment.lpRes ? 1 : 0, node, depth);
    case RES_CONTENT:
      if (!source.res.resContent.lpProp) return MAPI_E_INVALID_PARAMETER;
      node.column = columnOf(source.res.resContent.ulPropTag);
      node.operation = source.res.resContent.ulFuzzyLevel;
      return takeValue(*source.res.resContent.lpProp, node.value);
    case RES_PROPERTY:
      if (!source.res.resProperty.lpProp) return MAPI_E_INVALID_PARAMETER;
      node.column = columnOf(source.res.resProperty.ulPropTag);
      node.operation = source.res.resProperty.relop;
      if (const HRESULT result = checkOperator(node.operation); FAILED(result)) return result;
      return takeValue(*source.res.resProperty.lpProp, node.value);
    case RES_COMPAREPROPS:
      node.column = columnOf(source.res.resCompareProps.ulPropTag1);
      node.otherColumn = columnOf(source.res.resCompareProps.ulPropTag2);
      node.operation = source.res.resCompareProps.relop;
      return checkOperator(node.operation);
    case RES_BITMASK:
      node.column = columnOf(source.res.resBitMask.ulPropTag);
      node.operation = source.res.resBitMask.relBMR;
      node.number = source.res.resBitMask.ulMask;
      return node.operation > BMR_NEZ ? MAPI_E_INVALID_PARAMETER : S_OK;
    case RES_SIZE:
      node.column = columnOf(source.res.resSize.ulPropTag);
      node.operation = source.res.resSize.relop;
      node.number = source.res.resSize.cb;
      return checkOperator(node.operation);
    case RES_EXIST:
      node.column = columnOf(source.res.resExist.ulPropTag);
      node.type = PROP_TYPE(storedTag(source.res.resExist.ulPropTag));
      return S_OK;
    case RES_SUBRESTRICTION: return MAPI_E_TOO_COMPLEX;
    default: return MAPI_E_INVALID_PARAMETER;
  }
}

bool Restriction::matches(std::span<const Property> values) const { return matches(*root_, values); }

bool Restriction::matches(const Node& node, std::span<const Property> values) {
  const auto matchesChild = [&](const Node& child) { return matches(child, values); };
  switch (node.kind) {
    case RES_AND: return std::ranges::all_of(node.children, matchesChild);
    case RES_OR: return std::ranges::any_of(node.children, matchesChild);
    case RES_NOT: return !matchesChild(node.children.front());
    default: break;
  }
  const Property& found = values[node.column];
  if (found.tag == 0) return false;
  switch (node.kind) {
    case RES_CONTENT: return containsValue(found.value, node.value.value, node.operation);
    case RES_PROPERTY: {
      const auto order = compareValues(found.value, node.value.value);
      return order && holds(node.operation, *order);
    }
    case RES_COMPAREPROPS: {
      const auto order = compareValues(found.value, values[node.otherColumn].value);
      return order && holds(node.operation, *order);
    }
    case RES_BITMASK: {
      const auto* number = longOf(found);
      return number && ((static_cast<ULONG>(*number) & node.number) != 0) == (node.operation == BMR_NEZ);
    }
    case RES_SIZE: return holds(node.operation, sizeOf(found) <=> std::uint64_t{node.number});
    default: return node.type == PT_UNSPECIFIED || node.type == PROP_TYPE(found.tag);
  }
}

}  // namespace fendrel::provider
