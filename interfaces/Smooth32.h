/*
 * Smooth32: the acquisition system's filter library, loaded at run time. Plain C interface; compiles alone as
 * C and as C++. A filter is causal: its output lags its input by GetSOFilterLag.
 *
 * Definition text: type name, comma, length in seconds: "None,0", "Square,2.5", "Triangle,4",
 * "Gaussian,2.5". None      passes values through, lag 0. Square    running mean of n samples. Triangle
 * weights rising and falling in equal steps, n samples. Gaussian  weights exp(-x^2 / (2 (n/6)^2)), n samples.
 * n = round(length * units per second / step), made odd (the next odd number), at least 1. Weights have unit
 * sum. The first value stands for all values before it. Lag = (n - 1) / 2 * step. Square and Triangle cost
 * O(1) for each value.
 *
 * One thread at a time.
 */
#ifndef DRAVIK_SMOOTH32_H
#define DRAVIK_SMOOTH32_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define SO_EXPORT __attribute__((visibility("default")))
#else
#define SO_EXPORT
#endif

/* A new filter by its definition text; 0 when the text is not understood (unknown type, no length,
 * negative or not finite). `name` and the reserved values are not used. */
SO_EXPORT int32_t CreateSOFilter(const char* name, const char* definition, int32_t reserved1,
                                 int32_t reserved2);

/* Prepares the filter: index units per second (100) and sampling step in index units (> 0). Forgets what it
 * has seen. Non-zero on success; 0 for a bad handle, bad values or a filter of more than 10,000,000 samples.
 */
SO_EXPORT int32_t InitSOFilter(int32_t filter, int32_t unitsPerSecond, int16_t step);

/* Lag in index units; 0 for a bad or unprepared handle. */
SO_EXPORT int32_t GetSOFilterLag(int32_t filter);

/* Replaces *value by the filtered value; values come in time order, one for each sample. Non-zero on success;
 * 0 for a bad or unprepared handle, or a value that is not finite (or so large, beyond 1e290, that a sum
 * could overflow): then *value and the filter stay as they were. */
SO_EXPORT int32_t ApplySOFilter(int32_t filter, double* value);

SO_EXPORT void DestroySOFilter(int32_t filter);

#ifdef __cplusplus
}
#endif

#endif
