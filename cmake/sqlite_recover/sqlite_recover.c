// SQLite's recovery extension as one unit. The shell program, from which the pieces are cut, declares these types
// earlier.
#include "sqlite3.h"

typedef unsigned int u32;
typedef unsigned char u8;
typedef sqlite3_int64 i64;

#include "sqlite3recover.h"

#include "dbdata.c"
#include "sqlite3recover.c"
