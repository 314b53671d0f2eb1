/* FENDREL.DLL: the interface of the export-destination plug-in for hosts.
 *
 * A host loads FENDREL.DLL, calls NRVInitializeW, and for each export NRVInitExportDestinationW,
 * NRVExportToDestinationW and NRVTermExportDestinationW; at the end it calls NRVTerminateW once for every
 * successful NRVInitializeW.
 *
 * Every function exists in a wide set (suffix W, UTF-16 text) and in an ANSI set (no suffix, 8-bit text in the calling
 * thread's ANSI code page, that of the options records in the system's). A job belongs to the set that made it.
 *
 * Threads: all calls come from one thread (IsThreadSafeW answers 0). Text ends with a 0.
 *
 * MAPI and the dialogs may run the host's own code in the middle of a call, because they process messages from its
 * queue. While a call on a job runs, another call on that job is refused with 5 (NRVGetErrorTextW: null). Ending the
 * job answers 0 and is deferred until the running call returns; so is the last NRVTerminateW.
 *
 * MAPI: the plug-in loads MAPI32.DLL by its name alone, in the system's ordinary order of search. A host that ships its
 * own MAPI32.DLL loads it by its full path before NRVInitializeW; other hosts do nothing.
 *
 * Limits: 65,535 files per export, because counts have 16 bits. Texts are limited by memory only, but packed records
 * have a size of 16 bits. If header and texts take more than 65,565 bytes in the wide form (a folder path of some
 * 32,700 characters), the size wraps: the wide encoder returns such a block, which is refused with 5 when it is handed
 * back; the ANSI encoder refuses it at once. The decoders have no such limit. The system limits file names. Records are
 * little-endian with the offsets shown; sizes are in bytes. The two forms of a record have the same layout and differ
 * only in their text.
 */
#ifndef FENDREL_FENDREL_H
#define FENDREL_FENDREL_H

#include <stddef.h>
#include <stdint.h>
#include <windows.h>

#ifdef __cplusplus
#define FENDREL_NOEXCEPT noexcept
#define FENDREL_ASSERT static_assert
extern "C" {
#else
#define FENDREL_NOEXCEPT
#define FENDREL_ASSERT _Static_assert
#endif

#ifndef FENDREL_API
#define FENDREL_API __declspec(dllimport)
#endif

/* Result codes. */
#define FENDREL_SUCCESS 0u
#define FENDREL_OUT_OF_MEMORY 2u
#define FENDREL_NOT_ENOUGH_DISK 3u
#define FENDREL_INVALID_ARGUMENT 5u
#define FENDREL_CANCELLED 6u         /* by the user */
#define FENDREL_STRING_NOT_LOADED 7u /* a text is missing from the resources */
#define FENDREL_FAILED 0xFFFFFFFFu   /* see the job's error text */

/* What NRVGetVersionW answers. */
#define FENDREL_VERSION 0x0100u

/* How a report is posted; DestinationOptions.destinationType. */
#define FENDREL_PERSONAL_REPORT 1009u /* into the Common Views folder of the default store */
#define FENDREL_FOLDER_REPORT 1010u
#define FENDREL_REPORT_INSTANCE 1011u

/* The lowest DestinationOptions.version that is taken; records made by the plug-in carry 1,
 * a host sets 2 before it hands one back. */
#define FENDREL_OPTIONS_VERSION 2u

/* An opaque export job, never an address; 0: no job. */
typedef uint32_t FendrelJob;

/* One destination that the plug-in offers.
 *   offset  size
 *        0     2  size        24
 *        8     8  name        display name, owned by the plug-in; null before NRVInitializeW
 *       16     8  reserved    0
 */
typedef struct FendrelDestination {
  uint16_t size;
  uint16_t padding[3];
  const wchar_t* name;
  uint64_t reserved;
} FendrelDestination;

typedef struct FendrelDestinationA {
  uint16_t size;
  uint16_t padding[3];
  const char* name;
  uint64_t reserved;
} FendrelDestinationA;

/* What NRVGetExportDestinationsW and NRVGetExportDestinations answer; lives until the library is unloaded.
 *   offset  size
 *        0     2  size           16
 *        2     2  count          number of entries of destinations: 1
 *        8     8  destinations
 */
typedef struct FendrelDestinationList {
  uint16_t size;
  uint16_t count;
  uint32_t padding;
  const FendrelDestination* const* destinations;
} FendrelDestinationList;

typedef struct FendrelDestinationListA {
  uint16_t size;
  uint16_t count;
  uint32_t padding;
  const FendrelDestinationA* const* destinations;
} FendrelDestinationListA;

/* What the host says about one file of an export.
 *   offset  size
 *        0     2  size               64
 *        4     4  nameGiven          not 0: givenName is used, else fileNameTemplate
 *        8     8  givenName          its file name and extension become the report name
 *       16    32  unread1            four texts or null; not read, but converted by the ANSI set
 *       48     8  fileNameTemplate   file name and extension, each possibly with wildcards
 *       56     8  unread2            a text or null, likewise
 */
typedef struct FendrelFileDescription {
  uint16_t size;
  uint16_t padding;
  uint32_t nameGiven;
  const wchar_t* givenName;
  const wchar_t* unread1[4];
  const wchar_t* fileNameTemplate;
  const wchar_t* unread2;
} FendrelFileDescription;

typedef struct FendrelFileDescriptionA {
  uint16_t size;
  uint16_t padding;
  uint32_t nameGiven;
  const char* givenName;
  const char* unread1[4];
  const char* fileNameTemplate;
  const char* unread2;
} FendrelFileDescriptionA;

/* The file list of an export, owned by the host, read during NRVInitExportDestinationW.
 *   offset  size
 *        0     2  size        64
 *        4    12  not read here
 *       16     2  fileCount   number of entries of files
 *       24     8  files       an entry may be null
 *       32    24  unread3     three texts or null; not read, but converted by the ANSI set
 *       56     8  not read here
 */
typedef struct FendrelFileList {
  uint16_t size;
  uint16_t padding1;
  uint32_t unread1;
  uint64_t unread2;
  uint16_t fileCount;
  uint16_t padding2[3];
  const FendrelFileDescription* const* files;
  const wchar_t* unread3[3];
  uint64_t unread4;
} FendrelFileList;

typedef struct FendrelFileListA {
  uint16_t size;
  uint16_t padding1;
  uint32_t unread1;
  uint64_t unread2;
  uint16_t fileCount;
  uint16_t padding2[3];
  const FendrelFileDescriptionA* const* files;
  const char* unread3[3];
  uint64_t unread4;
} FendrelFileListA;

/* The files of one export, owned by the host, read during NRVExportToDestinationW.
 *   offset  size
 *        0     2  size        64
 *        2     2  fileCount   number of entries of filePaths
 *        8     8  filePaths   full paths in the order of the file list
 *       16    48  not read here
 */
typedef struct FendrelExportDescription {
  uint16_t size;
  uint16_t fileCount;
  uint32_t padding;
  const wchar_t* const* filePaths;
  uint64_t unread[6];
} FendrelExportDescription;

typedef struct FendrelExportDescriptionA {
  uint16_t size;
  uint16_t fileCount;
  uint32_t padding;
  const char* const* filePaths;
  uint64_t unread[6];
} FendrelExportDescriptionA;

/* The job's result record; part of the job, valid until its end. Only its size is ever set.
 *   offset  size
 *        0     2  size       112
 *        2     2  count      number of entries of strings: 0
 *        8     8  strings    null
 *       16    96  0
 */
typedef struct FendrelResult {
  uint16_t size;
  uint16_t count;
  uint32_t padding;
  const wchar_t* const* strings;
  uint64_t reserved[12];
} FendrelResult;

typedef struct FendrelResultA {
  uint16_t size;
  uint16_t count;
  uint32_t padding;
  const char* const* strings;
  uint64_t reserved[12];
} FendrelResultA;

/* A user's choice of destination, to be kept between runs.
 *   offset  size
 *        0     2  version            2 or more from the host, 1 from the plug-in
 *        8     8  profileName        MAPI profile
 *       16     8  profilePassword    unpacked: empty if there is none; a set-up refuses null with 2
 *       24     2  destinationType    FENDREL_PERSONAL_REPORT, FENDREL_FOLDER_REPORT or FENDREL_REPORT_INSTANCE
 *       32     8  folderPath         display names joined by '@', message store first; absent for a personal report.
 *                                    Characters that the code page lacks become '?'; if this makes the names of two
 *                                    folders equal, neither is found
 *       40     2  packedSize         0: unpacked; else the size in bytes of the block that this header starts
 *
 * Unpacked, the string fields are pointers (null when absent), each string a block of its own from malloc.
 * Packed, they are byte offsets from the start of the block (0 when absent), and the strings follow
 * the header. DestinationOptionsA has the same layout with strings in the ANSI code page.
 */
typedef struct DestinationOptions {
  uint16_t version;
  uint16_t padding1[3];
  union {
    wchar_t* profileName;
    uint64_t profileNameOffset;
  };
  union {
    wchar_t* profilePassword;
    uint64_t profilePasswordOffset;
  };
  uint16_t destinationType;
  uint16_t padding2[3];
  union {
    wchar_t* folderPath;
    uint64_t folderPathOffset;
  };
  uint16_t packedSize;
  uint16_t padding3[3];
} DestinationOptions;

typedef struct DestinationOptionsA {
  uint16_t version;
  uint16_t padding1[3];
  union {
    char* profileName;
    uint64_t profileNameOffset;
  };
  union {
    char* profilePassword;
    uint64_t profilePasswordOffset;
  };
  uint16_t destinationType;
  uint16_t padding2[3];
  union {
    char* folderPath;
    uint64_t folderPathOffset;
  };
  uint16_t packedSize;
  uint16_t padding3[3];
} DestinationOptionsA;

FENDREL_ASSERT(sizeof(FendrelDestination) == 24 && offsetof(FendrelDestination, name) == 8, "destination record");
FENDREL_ASSERT(sizeof(FendrelDestinationList) == 16 && offsetof(FendrelDestinationList, destinations) == 8,
               "destination list");
FENDREL_ASSERT(sizeof(FendrelFileDescription) == 64 && offsetof(FendrelFileDescription, nameGiven) == 4 &&
                   offsetof(FendrelFileDescription, givenName) == 8 &&
                   offsetof(FendrelFileDescription, fileNameTemplate) == 48,
               "file description");
FENDREL_ASSERT(sizeof(FendrelFileList) == 64 && offsetof(FendrelFileList, fileCount) == 16 &&
                   offsetof(FendrelFileList, files) == 24 && offsetof(FendrelFileList, unread3) == 32 &&
                   offsetof(FendrelFileList, unread4) == 56,
               "file list");
FENDREL_ASSERT(sizeof(FendrelExportDescription) == 64 && offsetof(FendrelExportDescription, fileCount) == 2 &&
                   offsetof(FendrelExportDescription, filePaths) == 8,
               "export description");
FENDREL_ASSERT(sizeof(FendrelResult) == 112 && offsetof(FendrelResult, strings) == 8, "result record");
FENDREL_ASSERT(sizeof(DestinationOptions) == 48 && offsetof(DestinationOptions, profileName) == 8 &&
                   offsetof(DestinationOptions, profilePassword) == 16 &&
                   offsetof(DestinationOptions, destinationType) == 24 &&
                   offsetof(DestinationOptions, folderPath) == 32 && offsetof(DestinationOptions, packedSize) == 40,
               "destination options");
FENDREL_ASSERT(sizeof(DestinationOptionsA) == sizeof(DestinationOptions) &&
                   offsetof(DestinationOptionsA, packedSize) == 40,
               "ANSI destination options");
FENDREL_ASSERT(sizeof(FendrelDestinationA) == 24 && offsetof(FendrelDestinationA, name) == 8,
               "ANSI destination record");
FENDREL_ASSERT(sizeof(FendrelDestinationListA) == 16 && offsetof(FendrelDestinationListA, destinations) == 8,
               "ANSI destination list");
FENDREL_ASSERT(sizeof(FendrelFileDescriptionA) == 64 && offsetof(FendrelFileDescriptionA, nameGiven) == 4 &&
                   offsetof(FendrelFileDescriptionA, givenName) == 8 &&
                   offsetof(FendrelFileDescriptionA, fileNameTemplate) == 48,
               "ANSI file description");
FENDREL_ASSERT(sizeof(FendrelFileListA) == 64 && offsetof(FendrelFileListA, unread1) == 4 &&
                   offsetof(FendrelFileListA, unread2) == 8 && offsetof(FendrelFileListA, fileCount) == 16 &&
                   offsetof(FendrelFileListA, files) == 24 && offsetof(FendrelFileListA, unread3) == 32 &&
                   offsetof(FendrelFileListA, unread4) == 56,
               "ANSI file list");
FENDREL_ASSERT(sizeof(FendrelExportDescriptionA) == 64 && offsetof(FendrelExportDescriptionA, fileCount) == 2 &&
                   offsetof(FendrelExportDescriptionA, filePaths) == 8 &&
                   offsetof(FendrelExportDescriptionA, unread) == 16,
               "ANSI export description");
FENDREL_ASSERT(sizeof(FendrelResultA) == 112 && offsetof(FendrelResultA, count) == 2 &&
                   offsetof(FendrelResultA, strings) == 8,
               "ANSI result record");

/* Counted: the first call loads the texts and MAPI32.DLL. 0, 2, 7, or FENDREL_FAILED when MAPI is not usable. */
FENDREL_API uint32_t WINAPI NRVInitializeW(void) FENDREL_NOEXCEPT;

/* Undoes one successful NRVInitializeW; the last one ends the remaining jobs, newest first, and releases everything.
 * Always 0. */
FENDREL_API uint32_t WINAPI NRVTerminateW(void) FENDREL_NOEXCEPT;

FENDREL_API uint16_t WINAPI NRVGetVersionW(void) FENDREL_NOEXCEPT;
FENDREL_API const FendrelDestinationList* WINAPI NRVGetExportDestinationsW(void) FENDREL_NOEXCEPT;

/* Makes an export job and logs it on: silently with options, else the user chooses profile and folder.
 * parentWindow owns every dialog; hostValue is not read. On success *job is ended by NRVTermExportDestinationW
 * and *result lives as long as the job. options->version must be 2 or more and is not changed.
 * 0, 2, 3, 5 (options, or a null argument), 6, or FENDREL_FAILED (without error text, as there is no job; also if the
 * host ends the plug-in during the call). */
FENDREL_API uint32_t WINAPI NRVInitExportDestinationW(HWND parentWindow, uint32_t hostValue,
                                                      DestinationOptions* options, const FendrelFileList* files,
                                                      FendrelJob* job, FendrelResult** result) FENDREL_NOEXCEPT;

/* Logs off and ends the job; 0 is allowed, an unknown job is ignored. Always 0. */
FENDREL_API uint32_t WINAPI NRVTermExportDestinationW(FendrelJob job) FENDREL_NOEXCEPT;

/* Posts every file as one message. The result is that of the last file: 0, 2, 3, 5 (no such job or a
 * null argument), 6, or FENDREL_FAILED. An earlier file's failure is not reported, nor is a failure to save a message:
 * a host that must know exports one file at a time and looks in the folder. */
FENDREL_API uint32_t WINAPI NRVExportToDestinationW(FendrelJob job,
                                                    const FendrelExportDescription* files) FENDREL_NOEXCEPT;

/* The text of the job's latest failure that has one, at most 299 characters, empty before the first; owned by the job.
 * Null for an unknown job. */
FENDREL_API const wchar_t* WINAPI NRVGetErrorTextW(FendrelJob job) FENDREL_NOEXCEPT;

/* The job's choice as one packed block, owned by the job until the next call or its end. *size is the block's
 * packedSize, thirty bytes less than header and strings take: copy *size + 30 bytes to keep it whole.
 * 0, 2, or 5 (no such job, a null argument, or a job without a profile name). */
FENDREL_API uint32_t WINAPI NRVEncodeDestinationOptionsW(FendrelJob job, DestinationOptions** block,
                                                         uint16_t* size) FENDREL_NOEXCEPT;

/* The job's choice as an unpacked record, freed with NRVFreeDestinationOptionsW. 0, 2, or 5. */
FENDREL_API uint32_t WINAPI NRVDecodeDestinationOptionsW(FendrelJob job, DestinationOptions** options) FENDREL_NOEXCEPT;

/* Free a record from the decoder or a conversion, packed or not; null is allowed. The first
 * argument is not read. Always 0. */
FENDREL_API uint32_t WINAPI NRVFreeDestinationOptionsW(uint32_t unused, DestinationOptions* options) FENDREL_NOEXCEPT;
FENDREL_API uint32_t WINAPI NRVFreeDestinationOptionsA(uint32_t unused, DestinationOptionsA* options) FENDREL_NOEXCEPT;

/* Convert a record between the wide and the ANSI form, packed staying packed; the result is freed with the free
 * function of its form. *size (may be null) receives the packed size, or 0. A null input gives 0 and a null result.
 * 0, 2, or 5 (version below 2, or strings that do not end where memory can be read). */
FENDREL_API uint32_t WINAPI NRVDestinationOptionsW2A(DestinationOptions* options, DestinationOptionsA** ansi,
                                                     uint16_t* size) FENDREL_NOEXCEPT;
FENDREL_API uint32_t WINAPI NRVDestinationOptionsA2W(DestinationOptionsA* ansi, DestinationOptions** options,
                                                     uint16_t* size) FENDREL_NOEXCEPT;
FENDREL_API uint32_t WINAPI NRVA2WDestinationOptions(DestinationOptionsA* ansi, DestinationOptions** options,
                                                     uint16_t* size) FENDREL_NOEXCEPT;

FENDREL_API uint32_t WINAPI IsThreadSafeW(void) FENDREL_NOEXCEPT;    /* 0: it is not */
FENDREL_API uint32_t WINAPI InitPerThreadW(void) FENDREL_NOEXCEPT;   /* 0, does nothing */
FENDREL_API uint32_t WINAPI UninitPerThreadW(void) FENDREL_NOEXCEPT; /* 0, does nothing */

/* The ANSI set: each function does and answers what its wide counterpart does, and 2 if there is no memory to convert a
 * text or record. A job handle of one set is unknown to the other. */
FENDREL_API uint32_t WINAPI NRVInitialize(void) FENDREL_NOEXCEPT;
FENDREL_API uint32_t WINAPI NRVTerminate(void) FENDREL_NOEXCEPT;
FENDREL_API uint16_t WINAPI NRVGetVersion(void) FENDREL_NOEXCEPT;

/* Made at the first call after NRVInitialize; null when there is no memory. */
FENDREL_API const FendrelDestinationListA* WINAPI NRVGetExportDestinations(void) FENDREL_NOEXCEPT;

/* `context` comes back as the first argument of every options free function that is called for this job. */
FENDREL_API uint32_t WINAPI NRVInitExportDestination(HWND parentWindow, uint32_t context, DestinationOptionsA* options,
                                                     const FendrelFileListA* files, FendrelJob* job,
                                                     FendrelResultA** result) FENDREL_NOEXCEPT;
FENDREL_API uint32_t WINAPI NRVTermExportDestination(FendrelJob job) FENDREL_NOEXCEPT;
FENDREL_API uint32_t WINAPI NRVExportToDestination(FendrelJob job,
                                                   const FendrelExportDescriptionA* files) FENDREL_NOEXCEPT;

/* Valid until the next call for the job, or its end. */
FENDREL_API const char* WINAPI NRVGetErrorText(FendrelJob job) FENDREL_NOEXCEPT;

/* The block belongs to the job and lives until the next call or the job's end. Its packed size counts all of it; `size`
 * may be null here. *block is null on failure. */
FENDREL_API uint32_t WINAPI NRVEncodeDestinationOptions(FendrelJob job, DestinationOptionsA** block,
                                                        uint16_t* size) FENDREL_NOEXCEPT;

/* The record is freed with NRVFreeDestinationOptions. */
FENDREL_API uint32_t WINAPI NRVDecodeDestinationOptions(FendrelJob job, DestinationOptionsA** options) FENDREL_NOEXCEPT;
FENDREL_API uint32_t WINAPI NRVFreeDestinationOptions(uint32_t unused, DestinationOptionsA* options) FENDREL_NOEXCEPT;

FENDREL_API uint32_t WINAPI IsThreadSafe(void) FENDREL_NOEXCEPT;
FENDREL_API uint32_t WINAPI InitPerThread(void) FENDREL_NOEXCEPT;
FENDREL_API uint32_t WINAPI UninitPerThread(void) FENDREL_NOEXCEPT;

/* Function pointer types for hosts that look functions up by name: that of NRVInitExportDestinationW is
 * FendrelInitExportDestinationW_t. */
typedef uint32_t(WINAPI* FendrelInitializeW_t)(void);
typedef uint32_t(WINAPI* FendrelTerminateW_t)(void);
typedef uint16_t(WINAPI* FendrelGetVersionW_t)(void);
typedef const FendrelDestinationList*(WINAPI* FendrelGetExportDestinationsW_t)(void);
typedef uint32_t(WINAPI* FendrelInitExportDestinationW_t)(HWND parentWindow, uint32_t hostValue,
                                                          DestinationOptions* options, const FendrelFileList* files,
                                                          FendrelJob* job, FendrelResult** result);
typedef uint32_t(WINAPI* FendrelTermExportDestinationW_t)(FendrelJob job);
typedef uint32_t(WINAPI* FendrelExportToDestinationW_t)(FendrelJob job, const FendrelExportDescription* files);
typedef const wchar_t*(WINAPI* FendrelGetErrorTextW_t)(FendrelJob job);
typedef uint32_t(WINAPI* FendrelEncodeDestinationOptionsW_t)(FendrelJob job, DestinationOptions** block,
                                                             uint16_t* size);
typedef uint32_t(WINAPI* FendrelDecodeDestinationOptionsW_t)(FendrelJob job, DestinationOptions** options);
typedef uint32_t(WINAPI* FendrelFreeDestinationOptionsW_t)(uint32_t unused, DestinationOptions* options);
typedef uint32_t(WINAPI* FendrelFreeDestinationOptionsA_t)(uint32_t unused, DestinationOptionsA* options);
typedef uint32_t(WINAPI* FendrelDestinationOptionsW2A_t)(DestinationOptions* options, DestinationOptionsA** ansi,
                                                         uint16_t* size);
typedef uint32_t(WINAPI* FendrelDestinationOptionsA2W_t)(DestinationOptionsA* ansi, DestinationOptions** options,
                                                         uint16_t* size);
typedef uint32_t(WINAPI* FendrelA2WDestinationOptions_t)(DestinationOptionsA* ansi, DestinationOptions** options,
                                                         uint16_t* size);
typedef uint32_t(WINAPI* FendrelIsThreadSafeW_t)(void);
typedef uint32_t(WINAPI* FendrelInitPerThreadW_t)(void);
typedef uint32_t(WINAPI* FendrelUninitPerThreadW_t)(void);
typedef uint32_t(WINAPI* FendrelInitialize_t)(void);
typedef uint32_t(WINAPI* FendrelTerminate_t)(void);
typedef uint16_t(WINAPI* FendrelGetVersion_t)(void);
typedef const FendrelDestinationListA*(WINAPI* FendrelGetExportDestinations_t)(void);
typedef uint32_t(WINAPI* FendrelInitExportDestination_t)(HWND parentWindow, uint32_t context,
                                                         DestinationOptionsA* options, const FendrelFileListA* files,
                                                         FendrelJob* job, FendrelResultA** result);
typedef uint32_t(WINAPI* FendrelTermExportDestination_t)(FendrelJob job);
typedef uint32_t(WINAPI* FendrelExportToDestination_t)(FendrelJob job, const FendrelExportDescriptionA* files);
typedef const char*(WINAPI* FendrelGetErrorText_t)(FendrelJob job);
typedef uint32_t(WINAPI* FendrelEncodeDestinationOptions_t)(FendrelJob job, DestinationOptionsA** block,
                                                            uint16_t* size);
typedef uint32_t(WINAPI* FendrelDecodeDestinationOptions_t)(FendrelJob job, DestinationOptionsA** options);
typedef uint32_t(WINAPI* FendrelFreeDestinationOptions_t)(uint32_t unused, DestinationOptionsA* options);
typedef uint32_t(WINAPI* FendrelIsThreadSafe_t)(void);
typedef uint32_t(WINAPI* FendrelInitPerThread_t)(void);
typedef uint32_t(WINAPI* FendrelUninitPerThread_t)(void);

#ifdef __cplusplus
}
#endif
#endif
