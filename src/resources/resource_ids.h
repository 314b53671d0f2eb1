// The ids of dialogs, controls, strings and bitmaps, for code and resource scripts. Hosts and language libraries use
// them too.
#pragma once

#define IDD_FOLDER 101

// In dialog IDD_FOLDER.
#define IDC_TREE 1000  // created at run time
#define IDC_FOLDER_LABEL 1001
#define IDC_PROFILE_LABEL 1008

// In dialog "IDD_FOLDER_DEST_TYPE"; each is the value of its posting type.
#define IDC_PERSONAL_REPORT 1009
#define IDC_FOLDER_REPORT 1010
#define IDC_REPORT_INSTANCE 1011

// In dialog "IDD_REPORT_NAME", besides IDABORT.
#define IDC_NAME_EDIT 1012
#define IDC_NAME_PROMPT 1013

// Strings. There is no 5; those that are not used here are for hosts.
#define IDS_DESTINATION 1
#define IDS_NO_RIGHT_TO_POST 2
#define IDS_NAME_EMPTY 3
#define IDS_FILE_NOT_OPEN 4
#define IDS_DOCUMENT_CLASS 6
#define IDS_TEMPLATE_CLASS 7
#define IDS_INVALID_TYPE 8
#define IDS_MAPI_NOT_LOADED 9
#define IDS_MAPI_NOT_INITIALISED 10
#define IDS_NO_LOGON 11
#define IDS_NO_PROFILE_NAME 12
#define IDS_NO_RIGHT_TO_POST_FILE 13
#define IDS_NOT_FOUND 14
#define IDS_NOT_SUPPORTED 15
#define IDS_PROFILE_CHOSEN 16

#define IDB_STORE 103
#define IDB_OPENED_STORE 104
#define IDB_FOLDER 105
#define IDB_OPENED_FOLDER 106
#define IDB_PROFILE 110
