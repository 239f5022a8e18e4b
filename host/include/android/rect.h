#pragma once

// <android/rect.h> of the NDK: a rectangle by its edges (right and bottom exclusive).

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct ARect {
    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;
} ARect;

#ifdef __cplusplus
}
#endif
