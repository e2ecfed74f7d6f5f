/* Inside the preloaded library: which call is to fail, and how. */
#pragma once

#include "FaultTally.h"

enum FaultAction {
    FAULT_NONE,  /* the call is made as it is */
    FAULT_ERROR, /* it fails; errno is set */
    FAULT_SHORT, /* it does half */
    FAULT_HALF   /* it does half, then `faultKill` */
};

/* Counts a call of the function and says what is to happen to it. Does not return where the process
 * is to be killed before the call. Keeps errno unless the call is to fail. */
enum FaultAction faultStrike(enum FaultFunction function);

/* Ends the process at once. */
void faultKill(void);

/* The next definition of a function: the C library's own. Never null for what it has. */
void* faultNext(const char* name);

/* What the loader itself does for a symbol. */
void* faultRealDlsym(void* handle, const char* name);

/* Declares `real`, the C library's own definition of the function. */
#define FAULT_NEXT(type, name, parameters) \
    static type(*real) parameters;         \
    if (real == NULL) {                    \
        *(void**)&real = faultNext(#name); \
    }

/* Defines a function that fails when its turn has come and is the C library's own otherwise. */
#define FAULT_CALL(function, type, failure, name, parameters, arguments)                 \
    type name parameters {                                                               \
        FAULT_NEXT(type, name, parameters)                                               \
        return faultStrike(FAULT_##function) != FAULT_NONE ? (failure) : real arguments; \
    }

/* The same for one that changes something on the disk. */
#define FAULT_CHANGE(function, name, parameters, arguments)                       \
    int name parameters {                                                         \
        FAULT_NEXT(int, name, parameters)                                         \
        (void)faultStrike(FAULT_change);                                          \
        return faultStrike(FAULT_##function) != FAULT_NONE ? -1 : real arguments; \
    }
