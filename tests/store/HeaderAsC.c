/* The headers that programs see, as C. */
#include "interfaces/DKBase.h"
#include "interfaces/Smooth32.h"

unsigned long NewItemBytesInC(void);
unsigned long NewItemBytesInC(void) { return (unsigned long)sizeof(DBNewItem); }
