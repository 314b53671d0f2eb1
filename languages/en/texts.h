// The plug-in's own texts, as a library among the others.
#include "../../src/resources/english/texts.h"
