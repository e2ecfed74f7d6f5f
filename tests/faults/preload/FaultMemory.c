/* The memory functions. The C library's own are called by their inner names, because the search for
 * the next definition may itself need memory. */
#include <stddef.h>

#include "FaultLibrary.h"

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);

void* malloc(size_t size) {
    return faultStrike(FAULT_malloc) == FAULT_NONE ? __libc_malloc(size) : NULL;
}

void* calloc(size_t count, size_t size) {
    return faultStrike(FAULT_malloc) == FAULT_NONE ? __libc_calloc(count, size) : NULL;
}

void* realloc(void* block, size_t size) {
    return faultStrike(FAULT_malloc) == FAULT_NONE ? __libc_realloc(block, size) : NULL;
}
