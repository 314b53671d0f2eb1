#include "mapi_values.h"

#include <algorithm>
#include <cstring>
#include <utility>

TestValue text(ULONG tag, std::string value) { return {tag, std::move(value)}; }
TestValue nullText(ULONG tag) { return {tag, {}}; }
TestValue binary(ULONG tag, const std::string& bytes) { return {tag, std::vector<BYTE>(bytes.begin(), bytes.end())}; }
TestValue number(ULONG tag, LONG value) { return {tag, value}; }
TestValue flag(ULONG tag, bool value) { return {tag, value}; }
TestValue missing(ULONG tag) { return {PROP_TAG(PT_ERROR, PROP_ID(tag)), static_cast<LONG>(MAPI_E_NOT_FOUND)}; }

namespace {

struct Filler {
  MapiHeap& heap;
  void* top;
  SPropValue& value;

  void operator()(std::monostate) const {}
  void operator()(const std::string& text) const {
    value.Value.lpszA = heap.make<char>(text.size() + 1, top);
    std::memcpy(value.Value.lpszA, text.c_str(), text.size() + 1);
  }
  void operator()(const std::wstring& text) const {
    value.Value.lpszW = heap.make<wchar_t>(text.size() + 1, top);
    std::memcpy(value.Value.lpszW, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
  }
  void operator()(const std::vector<BYTE>& bytes) const {
    value.Value.bin.cb = static_cast<ULONG>(bytes.size());
    value.Value.bin.lpb = heap.make<BYTE>(bytes.size() + 1, top);
    std::ranges::copy(bytes, value.Value.bin.lpb);
  }
  void operator()(LONG number) const { value.Value.l = number; }
  void operator()(bool flag) const { value.Value.b = flag; }
};

}  // namespace

SPropValue* makeValues(MapiHeap& heap, const TestRow& values) {
  SPropValue* const array = heap.make<SPropValue>(std::max<std::size_t>(values.size(), 1));
  for (std::size_t i = 0; i < values.size(); ++i) {
    array[i].ulPropTag = values[i].tag;
    std::visit(Filler{heap, array, array[i]}, values[i].content);
  }
  return array;
}

SRowSet* makeRowSet(MapiHeap& heap, const std::vector<TestRow>& rows, std::size_t first, std::size_t count) {
  auto* const set = reinterpret_cast<SRowSet*>(heap.make<BYTE>(CbNewSRowSet(count) + sizeof(SRow)));
  set->cRows = static_cast<ULONG>(count);
  for (std::size_t i = 0; i < count; ++i) {
    set->aRow[i].cValues = static_cast<ULONG>(rows[first + i].size());
    set->aRow[i].lpProps = makeValues(heap, rows[first + i]);
  }
  return set;
}
