/* What a C compiler makes of the header for agents' authors. */
#pragma once

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

struct ApiNumber {
    const char* name;
    long value;
};

/* Ends with a row without a name. */
extern const struct ApiNumber apiNumbersInC[];

#ifdef __cplusplus
}
#endif
