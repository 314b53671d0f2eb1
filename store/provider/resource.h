// Resource identifiers of the local store.
#pragma once

#define IDD_CHOOSE_PROFILE 101
#define IDC_PROFILE 1001
#define IDC_PASSWORD 1002
#define IDC_PASSWORD_LABEL 1003
#define IDC_STATUS 1004
