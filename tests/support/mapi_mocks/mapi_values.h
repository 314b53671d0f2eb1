// Property values, rows and row sets of a provider, made from plain test data.
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "mapi_heap.h"

// One value under test.
struct TestValue {
  ULONG tag;
  std::variant<std::monostate, std::string, std::wstring, std::vector<BYTE>, LONG, bool> content;
};
using TestRow = std::vector<TestValue>;

TestValue text(ULONG tag, std::string value);
TestValue nullText(ULONG tag);  // a string value without an address
TestValue binary(ULONG tag, const std::string& bytes);
TestValue number(ULONG tag, LONG value);
TestValue flag(ULONG tag, bool value);

// The error value for a value that the provider does not have.
TestValue missing(ULONG tag);

// An array in one allocation chain.
SPropValue* makeValues(MapiHeap& heap, const TestRow& values);

// A set whose rows have a property array each, allocated one by one.
SRowSet* makeRowSet(MapiHeap& heap, const std::vector<TestRow>& rows, std::size_t first, std::size_t count);
