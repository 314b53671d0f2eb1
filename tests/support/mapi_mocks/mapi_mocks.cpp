// The mocks' constructors and destructors.
#include "mapi_mocks.h"

template class MockPropertyObject<IMAPIProp>;
template class MockPropertyObject<IAttach>;
template class MockPropertyObject<IMessage>;
template class MockPropertyObject<IMAPIFolder>;
template class MockPropertyObject<IMsgStore>;

MockTable::MockTable() = default;
MockTable::~MockTable() = default;
MockMessage::MockMessage() = default;
MockMessage::~MockMessage() = default;
MockFolder::MockFolder() = default;
MockFolder::~MockFolder() = default;
MockStore::MockStore() = default;
MockStore::~MockStore() = default;
MockSession::MockSession() = default;
MockSession::~MockSession() = default;
MockStream::MockStream() = default;
MockStream::~MockStream() = default;

#define FENDREL_INSTANTIATE_MOCK(mock)    \
  template class testing::NiceMock<mock>; \
  template class testing::StrictMock<mock>;
FENDREL_MAPI_MOCKS(FENDREL_INSTANTIATE_MOCK)
FENDREL_METHOD_TYPES(FENDREL_INSTANTIATE_TYPE);
