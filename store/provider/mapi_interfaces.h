// The interfaces of sessions and of the objects that they open.
#pragma once

#include "com_object.h"
#include "mapi_memory.h"

namespace fendrel::provider {

using namespace utility;

// Only the folders of this copy of the library support it: QueryInterface then returns a Folder.
const IID& ownFolderId() noexcept;

}  // namespace fendrel::provider

namespace fendrel::utility {

template <>
inline bool answersTo<IMAPIProp>(REFIID iid) {
  return iid == IID_IMAPIProp || answersTo<IUnknown>(iid);
}
template <>
inline bool answersTo<IMAPIContainer>(REFIID iid) {
  return iid == IID_IMAPIContainer || answersTo<IMAPIProp>(iid);
}
template <>
inline bool answersTo<IMAPIFolder>(REFIID iid) {
  return iid == IID_IMAPIFolder || iid == provider::ownFolderId() || answersTo<IMAPIContainer>(iid);
}
template <>
inline bool answersTo<IMsgStore>(REFIID iid) {
  return iid == IID_IMsgStore || answersTo<IMAPIProp>(iid);
}
template <>
inline bool answersTo<IMessage>(REFIID iid) {
  return iid == IID_IMessage || answersTo<IMAPIProp>(iid);
}
template <>
inline bool answersTo<IAttach>(REFIID iid) {
  return iid == IID_IAttachment || answersTo<IMAPIProp>(iid);
}
template <>
inline bool answersTo<IMailUser>(REFIID iid) {
  return iid == IID_IMailUser || answersTo<IMAPIProp>(iid);
}
template <>
inline bool answersTo<IProfSect>(REFIID iid) {
  return iid == IID_IProfSect || answersTo<IMAPIProp>(iid);
}
template <>
inline bool answersTo<IMAPITable>(REFIID iid) {
  return iid == IID_IMAPITable || answersTo<IUnknown>(iid);
}
template <>
inline bool answersTo<IMAPISession>(REFIID iid) {
  return iid == IID_IMAPISession || answersTo<IUnknown>(iid);
}
template <>
inline bool answersTo<IProfAdmin>(REFIID iid) {
  return iid == IID_IProfAdmin || answersTo<IUnknown>(iid);
}
template <>
inline bool answersTo<IMsgServiceAdmin>(REFIID iid) {
  return iid == IID_IMsgServiceAdmin || answersTo<IUnknown>(iid);
}

}  // namespace fendrel::utility
