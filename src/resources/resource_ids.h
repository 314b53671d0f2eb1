// The ids of dialogs, controls and bitmaps, for code and resource scripts. Hosts and language libraries know them.
#pragma once

#define IDD_FOLDER 101

// In dialog IDD_FOLDER.
#define IDC_TREE 1000  // made at run time
#define IDC_FOLDER_LABEL 1001
#define IDC_PROFILE_LABEL 1008

// In dialog "IDD_FOLDER_DEST_TYPE"; each is the value of the posting type that it stands for.
#define IDC_PERSONAL_REPORT 1009
#define IDC_FOLDER_REPORT 1010
#define IDC_REPORT_INSTANCE 1011

// In dialog "IDD_REPORT_NAME", besides IDABORT.
#define IDC_NAME_EDIT 1012
#define IDC_NAME_PROMPT 1013

#define IDB_STORE 103
#define IDB_OPENED_STORE 104
#define IDB_FOLDER 105
#define IDB_OPENED_FOLDER 106
#define IDB_PROFILE 110
