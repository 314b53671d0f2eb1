// SQLite's recovery extension as one unit. In the shell program, out of which the pieces are cut, these types were
// declared further up.
#include "sqlite3.h"

typedef unsigned int u32;
typedef unsigned char u8;
typedef sqlite3_int64 i64;

#include "sqlite3recover.h"

#include "dbdata.c"
#include "sqlite3recover.c"
