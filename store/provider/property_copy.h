// IMAPIProp::CopyTo and CopyProps, over published interfaces alone: the target may be another provider's. Long values
// go through streams and attachments one by one, so that no more than a piece of them is in memory.
#pragma once

#include <span>

#include "mapi_interfaces.h"

namespace fendrel::provider {

// All properties of the source but those that its own provider computes and those in `excluded` (of any type). What
// both objects are decides what goes with them: a message's attachments, a folder's messages and folders. That is left
// out with PR_MESSAGE_ATTACHMENTS, PR_CONTAINER_CONTENTS, PR_FOLDER_ASSOCIATED_CONTENTS, PR_CONTAINER_HIERARCHY among
// `excluded`, or with the interface among `excludedInterfaces`. A folder keeps its name.
HRESULT copyTo(IMAPIProp& source, std::span<const IID> excludedInterfaces, const SPropTagArray* excluded, LPCIID iid,
               void* target, ULONG flags, LPSPropProblemArray* problems);

// The properties that are named. One that the source does not have, or the target does not take, is a problem.
HRESULT copyProps(IMAPIProp& source, const SPropTagArray* included, LPCIID iid, void* target, ULONG flags,
                  LPSPropProblemArray* problems);

// A new message in `target` with all that `source` has, saved. MAPI_W_ERRORS_RETURNED: without some of its properties.
HRESULT copyMessageInto(IMessage& source, bool isAssociated, IMAPIFolder& target);

// All that a folder has, its name apart, goes to `target`, a new folder. MAPI_W_PARTIAL_COMPLETION: some did not.
HRESULT copyFolderInto(IMAPIFolder& source, IMAPIFolder& target, bool withFolders, bool move);

// Whether an object lets itself be changed, as far as it says.
bool mayBeChanged(IMAPIProp& object);

}  // namespace fendrel::provider
