// Actions and matchers for the mocks.
#pragma once

#include <cstring>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "mapi_mocks.h"
#include "mapi_values.h"

// Returns a reference of `object` in the call's last argument.
template <class Object>
auto handsOut(Object& object) {
  return [&object](auto... arguments) -> HRESULT {
    *std::get<sizeof...(arguments) - 1>(std::tie(arguments...)) = object.handOut();
    return S_OK;
  };
}

// The same for OpenEntry, which also returns the object's type.
template <class Object>
auto handsOutAs(Object& object, ULONG type) {
  return [&object, type](auto, auto, auto, auto, ULONG* objectType, IUnknown** out) -> HRESULT {
    *objectType = type;
    *out = object.handOut();
    return S_OK;
  };
}

// Answers GetProps with these values.
inline auto givesValues(MapiHeap& heap, TestRow values, HRESULT result = S_OK) {
  return
      [&heap, values = std::move(values), result](SPropTagArray*, ULONG, ULONG* count, SPropValue** array) -> HRESULT {
        *count = static_cast<ULONG>(values.size());
        *array = makeValues(heap, values);
        return result;
      };
}

// Matches the two arguments of an entry identifier: EXPECT_CALL(...).With(testing::Args<0, 1>(isEntry("inbox"))).
MATCHER_P(isEntry, bytes, "") {
  const std::string expected(bytes);
  return std::get<0>(arg) == expected.size() && std::memcmp(std::get<1>(arg), expected.data(), expected.size()) == 0;
}

// Matches a tag array with exactly these tags.
MATCHER_P(hasTags, tags, "") {
  const std::vector<ULONG> given(arg->aulPropTag, arg->aulPropTag + arg->cValues);
  return testing::ExplainMatchResult(testing::ElementsAreArray(tags), given, result_listener);
}

// A table that holds `rows` and answers as a provider does; each call may still be expected by a test.
class TestTable : public testing::NiceMock<MockTable> {
 public:
  TestTable(MapiHeap& heap, std::vector<TestRow> rows) : heap_(heap), rows_(std::move(rows)) {
    ON_CALL(*this, GetRowCount).WillByDefault([this](ULONG, ULONG* count) {
      *count = static_cast<ULONG>(rows_.size());
      return S_OK;
    });
    ON_CALL(*this, SeekRow).WillByDefault([this](BOOKMARK, LONG, LONG*) {
      position_ = 0;
      return S_OK;
    });
    ON_CALL(*this, QueryRows).WillByDefault([this](LONG wanted, ULONG, SRowSet** set) {
      const std::size_t count = std::min<std::size_t>(static_cast<std::size_t>(wanted), rows_.size() - position_);
      *set = makeRowSet(heap_, rows_, position_, count);
      position_ += count;
      return S_OK;
    });
  }

 private:
  MapiHeap& heap_;
  std::vector<TestRow> rows_;
  std::size_t position_ = 0;
};
