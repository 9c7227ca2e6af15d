/* A filter library without GetSOFilterLag. */
#include "../../interfaces/Smooth32.h"

int32_t CreateSOFilter(const char* name, const char* definition, int32_t reserved1, int32_t reserved2) {
    (void)name;
    (void)definition;
    return reserved1 + reserved2;
}

int32_t InitSOFilter(int32_t filter, int32_t unitsPerSecond, int16_t step) { return filter + unitsPerSecond + step; }
