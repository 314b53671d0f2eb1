// English texts: the plug-in's own, and those that every other language translates.
#define TEXT_LANGUAGE LANG_ENGLISH, SUBLANG_ENGLISH_US

#define TEXT_DESTINATION "Exchange Folder"
#define TEXT_NO_RIGHT_TO_POST "No access right to post messages !"
#define TEXT_NAME_EMPTY "Report Name cannot be empty."
#define TEXT_FILE_NOT_OPEN "File %s cannot be open\nError Code: %08X"
#define TEXT_INVALID_TYPE "Invalid export type!"
#define TEXT_MAPI_NOT_LOADED "Failed in loading MAPI.DLL. Please the existance and the version of MAPI.DLL."
#define TEXT_MAPI_NOT_INITIALISED "Failed in initializing MAPI.DLL."
#define TEXT_NO_LOGON "Cannot logon to Exchange Profile."
#define TEXT_NO_PROFILE_NAME "Cannot retrieve Exchange profile name."
#define TEXT_NO_RIGHT_TO_POST_FILE "No access right to post file to Exchange Folders."
#define TEXT_NOT_FOUND "MAPI object not found."
#define TEXT_NOT_SUPPORTED "Such posting is not supported by the Message Service Provider."
#define TEXT_PROFILE_CHOSEN "Profile ""%s"" cannot be reported !"

#define TEXT_FONT_SIZE 8
#define TEXT_FONT "MS Sans Serif"

#define TEXT_OK "OK"
#define TEXT_CANCEL "Cancel"
#define TEXT_ABORT "Abort"

#define TEXT_FOLDER_CAPTION "Select a folder"
#define TEXT_FOLDER_PROMPT "Select a Folder or an Address Book:"
#define TEXT_PROFILE "Profile :"
#define TEXT_FOLDER "Folder:"

#define TEXT_TYPE_CAPTION "Export to Exchange Folder"
#define TEXT_TYPE_GROUP "As"
#define TEXT_REPORT_INSTANCE "Report &Instance"
#define TEXT_FOLDER_REPORT "&Folder Report"
#define TEXT_PERSONAL_REPORT "&Personal Report"

#define TEXT_NAME_CAPTION "Enter Report Name"
#define TEXT_NAME_PROMPT "For ""xxxx.RPT"":"
