/* The control side of the recording MAPI double: a small MAPI32.DLL that writes down every call, holds a
 * configurable world in memory, and fails where a test wants it to.
 *
 * Everything handed out belongs to the double and stays valid until the next recordingReset. Text of calls is UTF-8.
 */
#ifndef FENDREL_TESTS_RECORDING_MAPI_H
#define FENDREL_TESTS_RECORDING_MAPI_H

#include <stdint.h>
#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- The world ---- */

typedef struct RecordingProfile {
  const wchar_t* name;
  const wchar_t* password; /* null: none is asked for */
} RecordingProfile;

/* The logged-on user. */
typedef struct RecordingIdentity {
  const uint8_t* entryId;
  uint32_t entryIdSize; /* may be 0: QueryIdentity succeeds with an empty identifier */
  const wchar_t* name;  /* null: the property is missing */
  const uint8_t* searchKey;
  uint32_t searchKeySize;
  uint32_t searchKeyPresent; /* 0: the property is missing */
} RecordingIdentity;

typedef struct RecordingStatusRow {
  uint32_t resourceType;      /* PR_RESOURCE_TYPE; 0: missing */
  const wchar_t* displayName; /* null: missing */
} RecordingStatusRow;

#define RECORDING_DEFAULT_STORE 0x01u
#define RECORDING_NO_DEFAULT_COLUMN 0x02u /* PR_DEFAULT_STORE is an error value in the stores table */
#define RECORDING_NO_SUBTREE 0x04u        /* PR_IPM_SUBTREE_ENTRYID is missing */
#define RECORDING_NO_FOLDER_MASK 0x08u    /* PR_VALID_FOLDER_MASK is missing */
#define RECORDING_NO_COMMON_VIEWS 0x10u   /* PR_COMMON_VIEWS_ENTRYID is missing */

typedef struct RecordingStore {
  const wchar_t* name; /* null: the row has no display name */
  uint32_t flags;
  uint32_t validFolderMask;
} RecordingStore;

typedef struct RecordingFolder {
  const wchar_t* name; /* null: the row has no display name */
  int32_t store;       /* index */
  int32_t parent;      /* index of a folder before this one; -1: the IPM subtree */
} RecordingFolder;

#define RECORDING_PROBLEM_ARRAYS 0x01u /* SetProps succeeds and hands out a problem array of one entry */

typedef struct RecordingWorld {
  const RecordingProfile* profiles;
  uint32_t profileCount;
  const RecordingIdentity* identity;    /* null: QueryIdentity answers MAPI_E_NOT_FOUND */
  const RecordingStatusRow* statusRows; /* null: one row for the MAPI subsystem with the profile's name */
  uint32_t statusRowCount;
  const RecordingStore* stores;
  uint32_t storeCount;
  const RecordingFolder* folders;
  uint32_t folderCount;
  uint32_t options;
} RecordingWorld;

/* Forgets everything that was recorded, counted and planned, and builds the world anew. */
void WINAPI recordingReset(const RecordingWorld* world);

/* ---- Planned failures ---- */

/* Makes the nth (from 1; 0: every) call of that name, or of any name when it is null, answer `result`.
 * A failure code keeps the call from having any effect; a success or warning code replaces that of a call that was
 * carried out. MAPI_E_BUSY carries out the calls that a table completes later (SetColumns, Restrict, SortTable,
 * SeekRow). Counting starts with the call of this function. */
void WINAPI recordingFail(const char* name, uint32_t nth, HRESULT result);
void WINAPI recordingFailNothing(void);

/* ---- Planned answers ---- */

/* What a sloppy provider answers in a call that succeeds. */
typedef enum RecordingAnswer {
  RECORDING_NOTHING = 1,          /* null in place of the object, the block, the values or the rows; counts stay */
  RECORDING_ROWS_WITHOUT_COLUMNS, /* rows that count their columns and have none */
  RECORDING_ERROR_VALUES,         /* values that could not be given */
  RECORDING_OTHER_WIDTH,          /* 8-bit text where wide text belongs, and the other way round */
  RECORDING_OTHER_TYPE,           /* numbers where text and bytes belong */
  RECORDING_NULL_VALUES,          /* text and bytes without an address */
  RECORDING_BAD_ADDRESS,          /* text and bytes at an address that cannot be read */
  RECORDING_LONG_BYTES,           /* bytes that are counted far past their end */
  RECORDING_COUNT_HIGH,           /* more rows, columns, values or bytes than there are */
  RECORDING_COUNT_ZERO,
  RECORDING_OTHER_OBJECT, /* an object type that was not asked for */
  RECORDING_WARNING,      /* MAPI_W_ERRORS_RETURNED */
  RECORDING_FEWER_BYTES,  /* half of the bytes are written */
  RECORDING_ANSWERS       /* how many there are, and one */
} RecordingAnswer;

/* Makes the nth call of that name, counted as by recordingFail, carry `answer` out with what it hands out; a call that
 * hands out nothing of the kind answers as ever. `column`: of values only the one at that place, -1 for all. */
void WINAPI recordingAnswer(const char* name, uint32_t nth, uint32_t answer, int32_t column);

/* The calls since the last reset that answered so. */
uint32_t WINAPI recordingAnswersGiven(void);

/* Calls `function` in the middle of the nth call of that name (nth as above), as a call that pumps messages lets the
 * host's code run. Calls that it makes are recorded as all others. Null: no more. */
void WINAPI recordingInterrupt(const char* name, uint32_t nth, void(WINAPI* function)(void* context), void* context);

/* ---- What happened ---- */

#define RECORDED_CALL 0u
#define RECORDED_MEMORY 1u  /* MAPIAllocateBuffer, MAPIAllocateMore, MAPIFreeBuffer, FreeProws */
#define RECORDED_RELEASE 2u /* the last Release of an interface */

typedef struct RecordedCall {
  uint32_t kind;
  uint32_t canFail;      /* recordingFail(null, ...) counts this call */
  const char* name;      /* "IMAPIFolder::CreateMessage", "MAPILogonEx" */
  const char* object;    /* what it was called on: "Public Folders@Reports"; empty for functions */
  const char* arguments; /* "interface=null flags=0x0" */
  HRESULT result;
  uint32_t waitCursor; /* the wait cursor was set during the call */
  uint32_t answers;    /* bit n: the answer n fits what the call hands out */
} RecordedCall;

uint32_t WINAPI recordingCallCount(void);
const RecordedCall* WINAPI recordingCall(uint32_t index);

typedef struct RecordedProperty {
  uint32_t tag;         /* as it was set */
  const wchar_t* text;  /* of both string types; else null */
  int64_t number;       /* of integers, booleans, times (FILETIME) and errors */
  const uint8_t* bytes; /* of binaries */
  uint32_t size;
} RecordedProperty;

typedef struct RecordedAttachment {
  const RecordedProperty* properties; /* in the order in which they were set */
  uint32_t propertyCount;
  const uint8_t* content;
  uint64_t contentSize;
  uint32_t saved;
} RecordedAttachment;

typedef struct RecordedMessage {
  const char* folder;
  uint32_t associated;
  const RecordedProperty* properties; /* in the order in which they were set */
  uint32_t propertyCount;
  const RecordedAttachment* attachments;
  uint32_t attachmentCount;
  uint32_t saved;
  const uint32_t* readFlags; /* what SetReadFlag was called with, in order */
  uint32_t readFlagCount;
} RecordedMessage;

/* Every message that was created, saved or not, in order. */
uint32_t WINAPI recordingMessageCount(void);
const RecordedMessage* WINAPI recordingMessage(uint32_t index);

typedef struct RecordingCounts {
  uint32_t interfaces;     /* not yet released */
  uint32_t buffers;        /* blocks of MAPIAllocateBuffer, or handed out by the double, not yet freed */
  uint32_t chainedBuffers; /* blocks chained to them */
  uint32_t sessions;       /* logged on, not yet logged off */
  int32_t initialised;     /* MAPIInitialize less MAPIUninitialize */
  uint32_t faults;
} RecordingCounts;

void WINAPI recordingCounts(RecordingCounts* counts);

/* What a client must not do and did: double frees, calls on released objects, calls without MAPIInitialize, ... */
const char* WINAPI recordingFault(uint32_t index);

/* The live interfaces and blocks, a line each. */
const char* WINAPI recordingLiveObjects(void);

#ifdef __cplusplus
}
#endif
#endif
