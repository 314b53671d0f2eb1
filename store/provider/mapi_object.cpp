#include "mapi_object.h"

#include <algorithm>

namespace fendrel::provider {
namespace {

// Gathers what went wrong with single properties.
class Problems {
public:
  void add(ULONG index, ULONG tag, HRESULT problem) { problems_.push_back({index, tag, problem}); }

  void handOut(LPSPropProblemArray* out) const {
    if (!out) return;
    *out = nullptr;
    if (problems_.empty()) return;
    auto array = allocateMapi<SPropProblemArray>(CbNewSPropProblemArray(problems_.size()));
    array->cProblem = static_cast<ULONG>(problems_.size());
    std::ranges::copy(problems_, array->aProblem);
    *out = array.release();
  }

private:
  std::vector<SPropProblem> problems_;
};

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
    for (std::size_t i = 0; i < found.size(); ++i) answers.push_back(answerFor(tags->aulPropTag[i], found[i], form));
  } else {
    if (const HRESULT result = host.readAllProperties(found); FAILED(result)) return result;
    for (const Property& property : found) answers.push_back(answerFor(anyType(property.tag), property, form));
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
  *tags = makeTagArray(shown).release();
  return S_OK;
}

HRESULT setProps(PropertyHost& host, ULONG count, const SPropValue* values, LPSPropProblemArray* problems) {
  if (problems) *problems = nullptr;
  if (count == 0 || !values) return MAPI_E_INVALID_PARAMETER;
  if (const HRESULT result = host.checkWritable(); FAILED(result)) return result;
  std::vector<Property> set;
  Problems refused;
  for (ULONG i = 0; i < count; ++i) {
    if (values[i].ulPropTag == PR_NULL) continue;
    Property property{};
    HRESULT problem = takeValue(values[i], property);
    if (SUCCEEDED(problem)) problem = host.checkProperty(property.tag);
    if (FAILED(problem)) {
      refused.add(i, values[i].ulPropTag, problem);
      continue;
    }
    // Named twice, the later value counts.
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
    if (FAILED(problem)) refused.add(static_cast<ULONG>(i), tags->aulPropTag[i], problem);
    else if (std::ranges::find(remove, asked[i]) == remove.end()) remove.push_back(asked[i]);
  }
  if (!remove.empty()) {
    if (const HRESULT result = host.changeProperties({}, remove); FAILED(result)) return result;
  }
  refused.handOut(problems);
  return S_OK;
}

}  // namespace fendrel::provider
