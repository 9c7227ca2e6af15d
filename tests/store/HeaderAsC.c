#include "dravik/include/DKBase.h"

unsigned long NewItemBytesInC(void);
unsigned long NewItemBytesInC(void) { return (unsigned long)sizeof(DBNewItem); }
