// Templates that are instantiated in the mocks' library instead of in each test. GoogleMock's templates depend only on
// a method's type, so methods of one type share them.
#pragma once

#include <gmock/gmock.h>
#include <windows.h>

#include <mapix.h>

// The types of the mocked methods, each once; a type that is missing here is compiled with the tests that use it.
#define FENDREL_METHOD_TYPES(instantiate)                                     \
  instantiate(HRESULT(ULONG, ULONG*));                                        \
  instantiate(HRESULT(ULONG, ULONG, ULONG*));                                 \
  instantiate(HRESULT(ULONG, LPMAPITABLE*));                                  \
  instantiate(HRESULT(ULONG, LPSPropTagArray*));                              \
  instantiate(HRESULT(LONG, ULONG, LPSRowSet*));                              \
  instantiate(HRESULT(BOOKMARK, LONG, LONG*));                                \
  instantiate(HRESULT(LPSPropTagArray, ULONG));                               \
  instantiate(HRESULT(LPSRestriction, ULONG));                                \
  instantiate(HRESULT(LPSSortOrderSet, ULONG));                               \
  instantiate(HRESULT(ULONG));                                                \
  instantiate(HRESULT(ULONG, LPSPropValue, LPSPropProblemArray*));            \
  instantiate(HRESULT(ULONG, LPCIID, ULONG, ULONG, LPUNKNOWN*));              \
  instantiate(HRESULT(HRESULT, ULONG, LPMAPIERROR*));                         \
  instantiate(HRESULT(LPSPropTagArray, ULONG, ULONG*, LPSPropValue*));        \
  instantiate(HRESULT(LPCIID, ULONG, LPMESSAGE*));                            \
  instantiate(HRESULT(LPCIID, ULONG, ULONG*, LPATTACH*));                     \
  instantiate(HRESULT(const void*, ULONG, ULONG*));                           \
  instantiate(HRESULT(ULONG, LPENTRYID, LPCIID, ULONG, ULONG*, LPUNKNOWN*));  \
  instantiate(HRESULT(ULONG*, LPENTRYID*));                                   \
  instantiate(HRESULT(ULONG_PTR, ULONG, ULONG));                              \
  instantiate(HRESULT(ULONG_PTR, ULONG, LPENTRYID, LPCIID, ULONG, LPMDB*));   \
  instantiate(HRESULT(ULONG_PTR, wchar_t*, wchar_t*, ULONG, IMAPISession**)); \
  instantiate(HRESULT(void*));                                                \
  instantiate(HRESULT(IMAPIProp*, ULONG, SPropValue**));                      \
  instantiate(void())

#define FENDREL_DECLARE_TYPE(...)                                         \
  extern template class testing::internal::FunctionMocker<__VA_ARGS__>;   \
  extern template class testing::internal::MockSpec<__VA_ARGS__>;         \
  extern template class testing::internal::TypedExpectation<__VA_ARGS__>; \
  extern template class testing::internal::OnCallSpec<__VA_ARGS__>;       \
  extern template class testing::Action<__VA_ARGS__>
FENDREL_METHOD_TYPES(FENDREL_DECLARE_TYPE);
#undef FENDREL_DECLARE_TYPE

#define FENDREL_INSTANTIATE_TYPE(...)                              \
  template class testing::internal::FunctionMocker<__VA_ARGS__>;   \
  template class testing::internal::MockSpec<__VA_ARGS__>;         \
  template class testing::internal::TypedExpectation<__VA_ARGS__>; \
  template class testing::internal::OnCallSpec<__VA_ARGS__>;       \
  template class testing::Action<__VA_ARGS__>

// The mocks of mapi_mocks.h.
#define FENDREL_MAPI_MOCKS(instantiate)                                                                   \
  instantiate(MockTable) instantiate(MockProperties) instantiate(MockAttachment) instantiate(MockMessage) \
      instantiate(MockFolder) instantiate(MockStore) instantiate(MockSession) instantiate(MockStream)
