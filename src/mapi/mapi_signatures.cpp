// The published 64-bit interface has ULONG_PTR where the cross-compiler's headers have ULONG in some methods.
// This file asserts the signature of each method that the plug-in calls, so that it does not compile with other
// headers.
#include <windows.h>

#include <mapix.h>

#include <type_traits>

namespace {

template <class Interface, class... Arguments>
using Method = HRESULT (STDMETHODCALLTYPE Interface::*)(Arguments...);

// Some headers declare methods noexcept, which is part of their type.
template <class Declared>
struct MayThrow {
  using Type = Declared;
};
template <class Interface, class... Arguments>
struct MayThrow<HRESULT (STDMETHODCALLTYPE Interface::*)(Arguments...) noexcept> {
  using Type = Method<Interface, Arguments...>;
};

template <class Declared, class Expected>
constexpr bool same = std::is_same_v<typename MayThrow<Declared>::Type, Expected>;

static_assert(same<decltype(&IMAPISession::OpenMsgStore),
                   Method<IMAPISession, ULONG_PTR, ULONG, LPENTRYID, LPCIID, ULONG, LPMDB*>>);
static_assert(same<decltype(&IMAPISession::Logoff), Method<IMAPISession, ULONG_PTR, ULONG, ULONG>>);
static_assert(same<decltype(&IMAPISession::GetMsgStoresTable), Method<IMAPISession, ULONG, LPMAPITABLE*>>);
static_assert(same<decltype(&IMAPISession::GetStatusTable), Method<IMAPISession, ULONG, LPMAPITABLE*>>);
static_assert(same<decltype(&IMAPISession::QueryIdentity), Method<IMAPISession, ULONG*, LPENTRYID*>>);
static_assert(same<decltype(&IMAPISession::OpenEntry),
                   Method<IMAPISession, ULONG, LPENTRYID, LPCIID, ULONG, ULONG*, LPUNKNOWN*>>);

static_assert(
    same<decltype(&IMsgStore::OpenEntry), Method<IMsgStore, ULONG, LPENTRYID, LPCIID, ULONG, ULONG*, LPUNKNOWN*>>);

static_assert(same<decltype(&IMAPITable::GetLastError), Method<IMAPITable, HRESULT, ULONG, LPMAPIERROR*>>);
static_assert(same<decltype(&IMAPITable::WaitForCompletion), Method<IMAPITable, ULONG, ULONG, ULONG*>>);
static_assert(same<decltype(&IMAPITable::SetColumns), Method<IMAPITable, LPSPropTagArray, ULONG>>);
static_assert(same<decltype(&IMAPITable::QueryColumns), Method<IMAPITable, ULONG, LPSPropTagArray*>>);
static_assert(same<decltype(&IMAPITable::GetRowCount), Method<IMAPITable, ULONG, ULONG*>>);
// A bookmark is pointer-sized in the published interface; the three predefined ones fit both widths.
static_assert(same<decltype(&IMAPITable::SeekRow), Method<IMAPITable, BOOKMARK, LONG, LONG*>>);
static_assert(same<decltype(&IMAPITable::Restrict), Method<IMAPITable, LPSRestriction, ULONG>>);
static_assert(same<decltype(&IMAPITable::SortTable), Method<IMAPITable, LPSSortOrderSet, ULONG>>);
static_assert(same<decltype(&IMAPITable::QueryRows), Method<IMAPITable, LONG, ULONG, LPSRowSet*>>);

static_assert(same<decltype(&IMAPIFolder::GetHierarchyTable), Method<IMAPIFolder, ULONG, LPMAPITABLE*>>);
static_assert(same<decltype(&IMAPIFolder::GetContentsTable), Method<IMAPIFolder, ULONG, LPMAPITABLE*>>);
static_assert(same<decltype(&IMAPIFolder::CreateMessage), Method<IMAPIFolder, LPCIID, ULONG, LPMESSAGE*>>);

static_assert(same<decltype(&IMAPIProp::GetProps), Method<IMAPIProp, LPSPropTagArray, ULONG, ULONG*, LPSPropValue*>>);
static_assert(same<decltype(&IMAPIProp::SetProps), Method<IMAPIProp, ULONG, LPSPropValue, LPSPropProblemArray*>>);
static_assert(same<decltype(&IMAPIProp::OpenProperty), Method<IMAPIProp, ULONG, LPCIID, ULONG, ULONG, LPUNKNOWN*>>);
static_assert(same<decltype(&IMAPIProp::SaveChanges), Method<IMAPIProp, ULONG>>);

static_assert(same<decltype(&IMessage::CreateAttach), Method<IMessage, LPCIID, ULONG, ULONG*, LPATTACH*>>);
static_assert(same<decltype(&IMessage::SetReadFlag), Method<IMessage, ULONG>>);

}  // namespace
