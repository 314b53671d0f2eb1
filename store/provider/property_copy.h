// IMAPIProp::CopyTo and CopyProps, using only published interfaces: the target may be another provider's. Long values
// are copied through streams and attachments one by one, so that only a piece is in memory.
#pragma once

#include <span>

#include "mapi_interfaces.h"

namespace fendrel::provider {

// Copies all properties of the source but those that its provider computes and those in `excluded` (of any type). If
// both objects are messages, attachments are copied too; if both are folders, messages and subfolders.
// PR_MESSAGE_ATTACHMENTS, PR_CONTAINER_CONTENTS, PR_FOLDER_ASSOCIATED_CONTENTS, PR_CONTAINER_HIERARCHY in `excluded`,
// or the interface in `excludedInterfaces`, prevent that. A folder keeps its name.
HRESULT copyTo(IMAPIProp& source, std::span<const IID> excludedInterfaces, const SPropTagArray* excluded, LPCIID iid,
               void* target, ULONG flags, LPSPropProblemArray* problems);

// Copies the given properties. One that the source lacks or the target refuses is a problem.
HRESULT copyProps(IMAPIProp& source, const SPropTagArray* included, LPCIID iid, void* target, ULONG flags,
                  LPSPropProblemArray* problems);

// Saves a complete copy of `source` in `target`. MAPI_W_ERRORS_RETURNED: without some of its properties.
HRESULT copyMessageInto(IMessage& source, bool isAssociated, IMAPIFolder& target);

// Copies or moves everything in a folder except its name to `target`, a new folder. MAPI_W_PARTIAL_COMPLETION: not all
// of it.
HRESULT copyFolderInto(IMAPIFolder& source, IMAPIFolder& target, bool withFolders, bool move);

// Whether an object says that it is writable.
bool mayBeChanged(IMAPIProp& object);

}  // namespace fendrel::provider
