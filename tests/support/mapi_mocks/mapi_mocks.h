// GoogleMock classes for the MAPI interfaces that the plug-in calls. Each counts its references: one that is still held
// when the mock ends, or a Release too many, fails the test. Methods that the plug-in never calls fail it too.
//
// Most of a mock is compiled once, in this library: constructors and destructors, and the templates
// that this header declares as instantiated elsewhere.
#pragma once

#include <gmock/gmock.h>
#include <windows.h>

#include <mapix.h>

#include <tuple>

#include "mock_templates.h"

// The type of a method's nth parameter: the toolchains' headers differ in the width of some.
template <int n, class Interface, class... Arguments>
auto parameterOf(HRESULT (STDMETHODCALLTYPE Interface::*)(Arguments...))
    -> std::tuple_element_t<n, std::tuple<Arguments...>>;

#define FENDREL_UNUSED_METHOD(name, ...) \
  HRESULT STDMETHODCALLTYPE name(__VA_ARGS__) override { return unexpectedCall(#name); }

#define FENDREL_MOCK_METHOD(name, arguments) \
  MOCK_METHOD(HRESULT, name, arguments, (Calltype(STDMETHODCALLTYPE), override))

template <class Interface>
class MockObject : public Interface {
 public:
  MockObject() = default;
  virtual ~MockObject() { EXPECT_EQ(references_, 0) << "an interface was not released"; }
  MockObject(const MockObject&) = delete;
  MockObject& operator=(const MockObject&) = delete;

  // Returns a new reference.
  Interface* handOut() {
    AddRef();
    return this;
  }
  bool isHeld() const { return references_ > 0; }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** object) override {
    *object = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++references_); }
  ULONG STDMETHODCALLTYPE Release() override {
    EXPECT_GT(references_, 0) << "an interface was released once too often";
    return static_cast<ULONG>(--references_);
  }

 protected:
  HRESULT unexpectedCall(const char* name) {
    ADD_FAILURE() << "call of " << name;
    return MAPI_E_NO_SUPPORT;
  }

 private:
  int references_ = 0;
};

class MockTable : public MockObject<IMAPITable> {
 public:
  MockTable();
  ~MockTable() override;

  FENDREL_MOCK_METHOD(GetLastError, (HRESULT, ULONG, LPMAPIERROR*));
  FENDREL_MOCK_METHOD(SetColumns, (LPSPropTagArray, ULONG));
  FENDREL_MOCK_METHOD(QueryColumns, (ULONG, LPSPropTagArray*));
  FENDREL_MOCK_METHOD(GetRowCount, (ULONG, ULONG*));
  FENDREL_MOCK_METHOD(SeekRow, (BOOKMARK, LONG, LONG*));
  FENDREL_MOCK_METHOD(Restrict, (LPSRestriction, ULONG));
  FENDREL_MOCK_METHOD(SortTable, (LPSSortOrderSet, ULONG));
  FENDREL_MOCK_METHOD(QueryRows, (LONG, ULONG, LPSRowSet*));
  FENDREL_MOCK_METHOD(WaitForCompletion, (ULONG, ULONG, ULONG*));

  using Connection = decltype(parameterOf<0>(&IMAPITable::Unadvise));
  FENDREL_UNUSED_METHOD(Advise, ULONG, LPMAPIADVISESINK, decltype(parameterOf<2>(&IMAPITable::Advise)))
  FENDREL_UNUSED_METHOD(Unadvise, Connection)
  FENDREL_UNUSED_METHOD(GetStatus, ULONG*, ULONG*)
  FENDREL_UNUSED_METHOD(SeekRowApprox, ULONG, ULONG)
  FENDREL_UNUSED_METHOD(QueryPosition, ULONG*, ULONG*, ULONG*)
  FENDREL_UNUSED_METHOD(FindRow, LPSRestriction, BOOKMARK, ULONG)
  FENDREL_UNUSED_METHOD(CreateBookmark, BOOKMARK*)
  FENDREL_UNUSED_METHOD(FreeBookmark, BOOKMARK)
  FENDREL_UNUSED_METHOD(QuerySortOrder, LPSSortOrderSet*)
  FENDREL_UNUSED_METHOD(Abort)
  FENDREL_UNUSED_METHOD(ExpandRow, ULONG, LPBYTE, ULONG, ULONG, LPSRowSet*, ULONG*)
  FENDREL_UNUSED_METHOD(CollapseRow, ULONG, LPBYTE, ULONG, ULONG*)
  FENDREL_UNUSED_METHOD(GetCollapseState, ULONG, ULONG, LPBYTE, ULONG*, LPBYTE*)
  FENDREL_UNUSED_METHOD(SetCollapseState, ULONG, ULONG, LPBYTE, BOOKMARK*)
};

template <class Interface>
class MockPropertyObject : public MockObject<Interface> {
 public:
  MockPropertyObject() = default;
  ~MockPropertyObject() override = default;

  using MockObject<Interface>::unexpectedCall;
  FENDREL_MOCK_METHOD(SaveChanges, (ULONG));
  FENDREL_MOCK_METHOD(GetProps, (LPSPropTagArray, ULONG, ULONG*, LPSPropValue*));
  FENDREL_MOCK_METHOD(OpenProperty, (ULONG, LPCIID, ULONG, ULONG, LPUNKNOWN*));
  FENDREL_MOCK_METHOD(SetProps, (ULONG, LPSPropValue, LPSPropProblemArray*));

  using CopyParent = decltype(parameterOf<3>(&IMAPIProp::CopyTo));
  FENDREL_UNUSED_METHOD(GetLastError, HRESULT, ULONG, LPMAPIERROR*)
  FENDREL_UNUSED_METHOD(GetPropList, ULONG, LPSPropTagArray*)
  FENDREL_UNUSED_METHOD(DeleteProps, LPSPropTagArray, LPSPropProblemArray*)
  FENDREL_UNUSED_METHOD(CopyTo, ULONG, LPCIID, LPSPropTagArray, CopyParent, LPMAPIPROGRESS, LPCIID, LPVOID, ULONG,
                        LPSPropProblemArray*)
  FENDREL_UNUSED_METHOD(CopyProps, LPSPropTagArray, CopyParent, LPMAPIPROGRESS, LPCIID, LPVOID, ULONG,
                        LPSPropProblemArray*)
  FENDREL_UNUSED_METHOD(GetNamesFromIDs, LPSPropTagArray*, LPGUID, ULONG, ULONG*, LPMAPINAMEID**)
  FENDREL_UNUSED_METHOD(GetIDsFromNames, ULONG, LPMAPINAMEID*, ULONG, LPSPropTagArray*)
};

// An object of which only properties are read: a mail user.
using MockProperties = MockPropertyObject<IMAPIProp>;

using MockAttachment = MockPropertyObject<IAttach>;

class MockMessage : public MockPropertyObject<IMessage> {
 public:
  MockMessage();
  ~MockMessage() override;

  FENDREL_MOCK_METHOD(CreateAttach, (LPCIID, ULONG, ULONG*, LPATTACH*));
  FENDREL_MOCK_METHOD(SetReadFlag, (ULONG));

  FENDREL_UNUSED_METHOD(GetAttachmentTable, ULONG, LPMAPITABLE*)
  FENDREL_UNUSED_METHOD(OpenAttach, ULONG, LPCIID, ULONG, LPATTACH*)
  FENDREL_UNUSED_METHOD(DeleteAttach, ULONG, decltype(parameterOf<1>(&IMessage::DeleteAttach)), LPMAPIPROGRESS, ULONG)
  FENDREL_UNUSED_METHOD(GetRecipientTable, ULONG, LPMAPITABLE*)
  FENDREL_UNUSED_METHOD(ModifyRecipients, ULONG, LPADRLIST)
  FENDREL_UNUSED_METHOD(SubmitMessage, ULONG)
};

class MockFolder : public MockPropertyObject<IMAPIFolder> {
 public:
  MockFolder();
  ~MockFolder() override;

  FENDREL_MOCK_METHOD(GetContentsTable, (ULONG, LPMAPITABLE*));
  FENDREL_MOCK_METHOD(GetHierarchyTable, (ULONG, LPMAPITABLE*));
  FENDREL_MOCK_METHOD(CreateMessage, (LPCIID, ULONG, LPMESSAGE*));

  using Parent = decltype(parameterOf<1>(&IMAPIFolder::DeleteMessages));
  FENDREL_UNUSED_METHOD(OpenEntry, ULONG, LPENTRYID, LPCIID, ULONG, ULONG*, LPUNKNOWN*)
  FENDREL_UNUSED_METHOD(SetSearchCriteria, LPSRestriction, LPENTRYLIST, ULONG)
  FENDREL_UNUSED_METHOD(GetSearchCriteria, ULONG, LPSRestriction*, LPENTRYLIST*, ULONG*)
  FENDREL_UNUSED_METHOD(CopyMessages, LPENTRYLIST, LPCIID, LPVOID, Parent, LPMAPIPROGRESS, ULONG)
  FENDREL_UNUSED_METHOD(DeleteMessages, LPENTRYLIST, Parent, LPMAPIPROGRESS, ULONG)
  FENDREL_UNUSED_METHOD(CreateFolder, ULONG, LPTSTR, LPTSTR, LPCIID, ULONG, LPMAPIFOLDER*)
  FENDREL_UNUSED_METHOD(CopyFolder, ULONG, LPENTRYID, LPCIID, LPVOID, LPTSTR, Parent, LPMAPIPROGRESS, ULONG)
  FENDREL_UNUSED_METHOD(DeleteFolder, ULONG, LPENTRYID, Parent, LPMAPIPROGRESS, ULONG)
  FENDREL_UNUSED_METHOD(SetReadFlags, LPENTRYLIST, Parent, LPMAPIPROGRESS, ULONG)
  FENDREL_UNUSED_METHOD(GetMessageStatus, ULONG, LPENTRYID, ULONG, ULONG*)
  FENDREL_UNUSED_METHOD(SetMessageStatus, ULONG, LPENTRYID, ULONG, ULONG, ULONG*)
  FENDREL_UNUSED_METHOD(SaveContentsSort, LPSSortOrderSet, ULONG)
  FENDREL_UNUSED_METHOD(EmptyFolder, Parent, LPMAPIPROGRESS, ULONG)
};

class MockStore : public MockPropertyObject<IMsgStore> {
 public:
  MockStore();
  ~MockStore() override;

  FENDREL_MOCK_METHOD(OpenEntry, (ULONG, LPENTRYID, LPCIID, ULONG, ULONG*, LPUNKNOWN*));

  FENDREL_UNUSED_METHOD(Advise, ULONG, LPENTRYID, ULONG, LPMAPIADVISESINK, decltype(parameterOf<4>(&IMsgStore::Advise)))
  FENDREL_UNUSED_METHOD(Unadvise, decltype(parameterOf<0>(&IMsgStore::Unadvise)))
  FENDREL_UNUSED_METHOD(CompareEntryIDs, ULONG, LPENTRYID, ULONG, LPENTRYID, ULONG, ULONG*)
  FENDREL_UNUSED_METHOD(SetReceiveFolder, LPTSTR, ULONG, ULONG, LPENTRYID)
  FENDREL_UNUSED_METHOD(GetReceiveFolder, LPTSTR, ULONG, ULONG*, LPENTRYID*, LPTSTR*)
  FENDREL_UNUSED_METHOD(GetReceiveFolderTable, ULONG, LPMAPITABLE*)
  FENDREL_UNUSED_METHOD(StoreLogoff, ULONG*)
  FENDREL_UNUSED_METHOD(AbortSubmit, ULONG, LPENTRYID, ULONG)
  FENDREL_UNUSED_METHOD(GetOutgoingQueue, ULONG, LPMAPITABLE*)
  FENDREL_UNUSED_METHOD(SetLockState, LPMESSAGE, ULONG)
  FENDREL_UNUSED_METHOD(FinishedMsg, ULONG, ULONG, LPENTRYID)
  FENDREL_UNUSED_METHOD(NotifyNewMail, LPNOTIFICATION)
};

class MockSession : public MockObject<IMAPISession> {
 public:
  MockSession();
  ~MockSession() override;

  FENDREL_MOCK_METHOD(GetMsgStoresTable, (ULONG, LPMAPITABLE*));
  FENDREL_MOCK_METHOD(OpenMsgStore, (ULONG_PTR, ULONG, LPENTRYID, LPCIID, ULONG, LPMDB*));
  FENDREL_MOCK_METHOD(GetStatusTable, (ULONG, LPMAPITABLE*));
  FENDREL_MOCK_METHOD(OpenEntry, (ULONG, LPENTRYID, LPCIID, ULONG, ULONG*, LPUNKNOWN*));
  FENDREL_MOCK_METHOD(QueryIdentity, (ULONG*, LPENTRYID*));
  FENDREL_MOCK_METHOD(Logoff, (ULONG_PTR, ULONG, ULONG));

  FENDREL_UNUSED_METHOD(GetLastError, HRESULT, ULONG, LPMAPIERROR*)
  FENDREL_UNUSED_METHOD(OpenAddressBook, ULONG_PTR, LPCIID, ULONG, LPADRBOOK*)
  FENDREL_UNUSED_METHOD(OpenProfileSection, LPMAPIUID, LPCIID, ULONG, LPPROFSECT*)
  FENDREL_UNUSED_METHOD(CompareEntryIDs, ULONG, LPENTRYID, ULONG, LPENTRYID, ULONG, ULONG*)
  FENDREL_UNUSED_METHOD(Advise, ULONG, LPENTRYID, ULONG, LPMAPIADVISESINK,
                        decltype(parameterOf<4>(&IMAPISession::Advise)))
  FENDREL_UNUSED_METHOD(Unadvise, decltype(parameterOf<0>(&IMAPISession::Unadvise)))
  FENDREL_UNUSED_METHOD(MessageOptions, ULONG_PTR, ULONG, LPTSTR, LPMESSAGE)
  FENDREL_UNUSED_METHOD(QueryDefaultMessageOpt, LPTSTR, ULONG, ULONG*, LPSPropValue*)
  FENDREL_UNUSED_METHOD(EnumAdrTypes, ULONG, ULONG*, LPTSTR**)
  FENDREL_UNUSED_METHOD(SetDefaultStore, ULONG, ULONG, LPENTRYID)
  FENDREL_UNUSED_METHOD(AdminServices, ULONG, LPSERVICEADMIN*)
  using Token = decltype(parameterOf<4>(&IMAPISession::ShowForm));
  FENDREL_UNUSED_METHOD(ShowForm, ULONG_PTR, LPMDB, LPMAPIFOLDER, LPCIID, Token, LPMESSAGE, ULONG, ULONG, ULONG, ULONG,
                        LPSTR)
  FENDREL_UNUSED_METHOD(PrepareForm, LPCIID, LPMESSAGE, Token*)
};

class MockStream : public MockObject<IStream> {
 public:
  MockStream();
  ~MockStream() override;

  FENDREL_MOCK_METHOD(Write, (const void*, ULONG, ULONG*));

  FENDREL_UNUSED_METHOD(Read, void*, ULONG, ULONG*)
  FENDREL_UNUSED_METHOD(Seek, LARGE_INTEGER, DWORD, ULARGE_INTEGER*)
  FENDREL_UNUSED_METHOD(SetSize, ULARGE_INTEGER)
  FENDREL_UNUSED_METHOD(CopyTo, IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*)
  FENDREL_UNUSED_METHOD(Commit, DWORD)
  FENDREL_UNUSED_METHOD(Revert)
  FENDREL_UNUSED_METHOD(LockRegion, ULARGE_INTEGER, ULARGE_INTEGER, DWORD)
  FENDREL_UNUSED_METHOD(UnlockRegion, ULARGE_INTEGER, ULARGE_INTEGER, DWORD)
  FENDREL_UNUSED_METHOD(Stat, STATSTG*, DWORD)
  FENDREL_UNUSED_METHOD(Clone, IStream**)
};

extern template class MockPropertyObject<IMAPIProp>;
extern template class MockPropertyObject<IAttach>;
extern template class MockPropertyObject<IMessage>;
extern template class MockPropertyObject<IMAPIFolder>;
extern template class MockPropertyObject<IMsgStore>;

#define FENDREL_DECLARE_MOCK(mock)               \
  extern template class testing::NiceMock<mock>; \
  extern template class testing::StrictMock<mock>;
FENDREL_MAPI_MOCKS(FENDREL_DECLARE_MOCK)
#undef FENDREL_DECLARE_MOCK
