#include "mapi_object.h"

#include <algorithm>

#include "problems.h"

namespace fendrel::provider {
namespace {

// A value that no object can have: refuses the whole call.
bool isImpossible(const SPropValue& value) {
  const ULONG type = PROP_TYPE(value.ulPropTag);
  // All list structures begin with their count.
  return type == PT_OBJECT || ((type & MV_FLAG) && value.Value.MVl.cValues == 0);
}

// PT_OBJECT has no value; OpenProperty opens it.
bool isObject(PropertyHost& host, ULONG asked) {
  const ULONG type = PROP_TYPE(asked);
  return (type == PT_OBJECT || type == PT_UNSPECIFIED) &&
         std::ranges::any_of(host.objectTags(), [&](ULONG tag) { return PROP_ID(tag) == PROP_ID(asked); });
}

Answer objectAnswer(ULONG tag) { return {PROP_TAG(PT_OBJECT, PROP_ID(tag)), S_OK, nullptr}; }

}  // namespace

HRESULT getProps(PropertyHost& host, const SPropTagArray* tags, ULONG flags, ULONG* count, LPSPropValue* values) {
  if (!count || !values || (tags && tags->cValues == 0)) return MAPI_E_INVALID_PARAMETER;
  *count = 0;
  *values = nullptr;
  const TextForm form = textForm(flags);
  std::vector<Property> found;
  std::vector<Answer> answers;
  if (tags) {
    std::vector<PropertyTag> asked;
    for (const ULONG tag : tagsOf(*tags)) asked.push_back(anyType(tag));
    if (const HRESULT result = host.readProperties(asked, found); FAILED(result)) return result;
    for (std::size_t i = 0; i < found.size(); ++i) {
      const ULONG tag = tags->aulPropTag[i];
      answers.push_back(isObject(host, tag) ? objectAnswer(tag) : answerFor(tag, found[i], form));
    }
  } else {
    if (const HRESULT result = host.readAllProperties(found); FAILED(result)) return result;
    for (const Property& property : found) answers.push_back(answerFor(anyType(property.tag), property, form));
    for (const ULONG tag : host.objectTags()) answers.push_back(objectAnswer(tag));
  }
  *values = makeValues(answers).release();
  *count = static_cast<ULONG>(answers.size());
  const bool complete = std::ranges::all_of(answers, [](const Answer& answer) { return SUCCEEDED(answer.error); });
  return complete ? S_OK : MAPI_W_ERRORS_RETURNED;
}

HRESULT getPropList(PropertyHost& host, ULONG flags, LPSPropTagArray* tags) {
  if (!tags) return MAPI_E_INVALID_PARAMETER;
  *tags = nullptr;
  std::vector<Property> found;
  if (const HRESULT result = host.readAllProperties(found); FAILED(result)) return result;
  std::vector<ULONG> shown;
  for (const Property& property : found) shown.push_back(shownTag(property.tag, textForm(flags)));
  shown.insert(shown.end(), host.objectTags().begin(), host.objectTags().end());
  *tags = makeTagArray(shown).release();
  return S_OK;
}

HRESULT setProps(PropertyHost& host, ULONG count, const SPropValue* values, LPSPropProblemArray* problems) {
  if (problems) *problems = nullptr;
  if (count == 0 || !values) return MAPI_E_INVALID_PARAMETER;
  if (std::any_of(values, values + count, isImpossible)) return MAPI_E_INVALID_PARAMETER;
  if (const HRESULT result = host.checkWritable(); FAILED(result)) return result;
  std::vector<Property> set;
  Problems refused;
  for (ULONG i = 0; i < count; ++i) {
    // Nothing to set: a placeholder, or an error from an earlier GetProps.
    if (values[i].ulPropTag == PR_NULL || PROP_TYPE(values[i].ulPropTag) == PT_ERROR) continue;
    Property property{};
    HRESULT problem = takeValue(values[i], property);
    if (SUCCEEDED(problem)) problem = host.checkProperty(property.tag);
    if (FAILED(problem)) {
      refused.add(i, values[i].ulPropTag, problem);
      continue;
    }
    // If a property occurs twice, the later value wins.
    std::erase_if(set, [&](const Property& other) { return PROP_ID(other.tag) == PROP_ID(property.tag); });
    set.push_back(std::move(property));
  }
  if (!set.empty()) {
    if (const HRESULT result = host.changeProperties(set, {}); FAILED(result)) return result;
  }
  refused.handOut(problems);
  return S_OK;
}

HRESULT deleteProps(PropertyHost& host, const SPropTagArray* tags, LPSPropProblemArray* problems) {
  if (problems) *problems = nullptr;
  if (!tags || tags->cValues == 0) return MAPI_E_INVALID_PARAMETER;
  if (const HRESULT result = host.checkWritable(); FAILED(result)) return result;
  std::vector<PropertyTag> asked;
  for (const ULONG tag : tagsOf(*tags)) asked.push_back(anyType(tag));
  std::vector<Property> found;
  if (const HRESULT result = host.readProperties(asked, found); FAILED(result)) return result;
  std::vector<PropertyTag> remove;
  Problems refused;
  for (std::size_t i = 0; i < asked.size(); ++i) {
    HRESULT problem = host.checkProperty(asked[i]);
    if (SUCCEEDED(problem) && found[i].tag == 0) problem = MAPI_E_NOT_FOUND;
    if (FAILED(problem))
      refused.add(static_cast<ULONG>(i), tags->aulPropTag[i], problem);
    else if (std::ranges::find(remove, asked[i]) == remove.end())
      remove.push_back(asked[i]);
  }
  if (!remove.empty()) {
    if (const HRESULT result = host.changeProperties({}, remove); FAILED(result)) return result;
  }
  refused.handOut(problems);
  return S_OK;
}

}  // namespace fendrel::provider
