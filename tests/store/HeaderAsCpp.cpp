#include "interfaces/DKBase.h"

static_assert(DK_INFO_EXTENT_FIRST == 192 && DK_INFO_EXTENT_LAST == 196, "what every program relies on");
