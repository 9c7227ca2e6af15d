/* The headers that the program sees, alone and as C. */
#include "dravik/include/DKBase.h"
#include "dravik/include/Smooth32.h"

int HeadersCompileAsC(void);
int HeadersCompileAsC(void) {
    return DK_INFO_EXTENT_FIRST;
}
