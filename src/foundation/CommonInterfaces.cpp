// The interfaces are declared in the header; this unit has no code of its
// own beyond making the unit a translation unit of the library.
#include "foundation/CommonInterfaces.h"
