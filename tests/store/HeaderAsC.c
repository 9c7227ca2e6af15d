/* The headers that programs see, as C. */
#include "dravik/include/DKBase.h"
#include "dravik/include/Smooth32.h"

unsigned long NewItemBytesInC(void);
unsigned long NewItemBytesInC(void) { return (unsigned long)sizeof(DBNewItem); }
