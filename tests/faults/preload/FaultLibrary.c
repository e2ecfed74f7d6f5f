#include "FaultLibrary.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

/* Interposed like all others, but nobody declares it. */
int __libc_start_main(int (*mainFunction)(int, char**, char**), int argc, char** argv,
                      void (*init)(void), void (*fini)(void), void (*rtldFini)(void),
                      void* stackEnd);

static struct FaultTally* s_tally;
static long s_owner;
static enum FaultFunction s_function = FAULT_FUNCTION_COUNT;
static uint64_t s_number;
static enum FaultAction s_action;
static int s_error;
static int s_isLasting;
static int s_isKilled;

static const char* const s_names[] = {
#define KV_FAULT_NAME(name) #name,
    KV_FAULT_FUNCTIONS(KV_FAULT_NAME)
#undef KV_FAULT_NAME
};

static int isWord(const char* text, const char* word) {
    const size_t length = strlen(word);
    return strncmp(text, word, length) == 0 && (text[length] == '\0' || text[length] == '+');
}

static void readAction(const char* text) {
    s_isLasting = strchr(text, '+') != NULL;
    s_isKilled = isWord(text, "kill");
    if (isWord(text, "short")) {
        s_action = FAULT_SHORT;
    } else if (isWord(text, "half")) {
        s_action = FAULT_HALF;
    } else if (isWord(text, "full")) {
        s_action = FAULT_SHORT;
        s_error = ENOSPC;
        s_isLasting = 1;
    } else {
        s_action = FAULT_ERROR;
        s_error = (int)strtol(text, NULL, 10);
    }
}

static void readFault(const char* fault) {
    const char* const number = fault != NULL ? strchr(fault, '/') : NULL;
    const char* const action = number != NULL ? strchr(number + 1, '/') : NULL;
    if (action == NULL) {
        return;
    }
    const size_t length = (size_t)(number - fault);
    for (int i = 0; i < FAULT_FUNCTION_COUNT; ++i) {
        if (strlen(s_names[i]) == length && strncmp(s_names[i], fault, length) == 0) {
            s_function = (enum FaultFunction)i;
        }
    }
    s_number = strtoull(number + 1, NULL, 10);
    readAction(action + 1);
}

/* By system calls of its own, so that none of it is counted. */
static struct FaultTally* mapTally(const char* path) {
    const long fd = syscall(SYS_openat, AT_FDCWD, path, O_RDWR | O_CLOEXEC);
    if (fd < 0) {
        return NULL;
    }
    void* const shared =
        mmap(NULL, sizeof(struct FaultTally), PROT_READ | PROT_WRITE, MAP_SHARED, (int)fd, 0);
    (void)syscall(SYS_close, fd); /* the mapping stays */
    return shared != MAP_FAILED ? shared : NULL;
}

static void arm(void) {
    const char* const path = getenv("KV_FAULT_TALLY");
    struct FaultTally* const tally = path != NULL ? mapTally(path) : NULL;
    if (tally != NULL) {
        readFault(getenv("KV_FAULT"));
        s_owner = syscall(SYS_getpid);
        tally->armed = 1;
        s_tally = tally;
    }
}

int __libc_start_main(int (*mainFunction)(int, char**, char**), int argc, char** argv,
                      void (*init)(void), void (*fini)(void), void (*rtldFini)(void),
                      void* stackEnd) {
    int (*real)(int (*)(int, char**, char**), int, char**, void (*)(void), void (*)(void),
                void (*)(void), void*);
    *(void**)&real = faultNext("__libc_start_main");
    arm();
    return real(mainFunction, argc, argv, init, fini, rtldFini, stackEnd);
}

enum FaultAction faultStrike(enum FaultFunction function) {
    if (s_tally == NULL || syscall(SYS_getpid) != s_owner) {
        return FAULT_NONE;
    }
    const uint64_t number = ++s_tally->calls[function];
    if (function != s_function || number < s_number || (number > s_number && !s_isLasting)) {
        return FAULT_NONE;
    }
    ++s_tally->struck;
    if (s_isKilled) {
        faultKill();
    }
    /* A disk that is full takes the beginning, then nothing. */
    const enum FaultAction action = number > s_number && s_error != 0 ? FAULT_ERROR : s_action;
    if (action == FAULT_ERROR) {
        errno = s_error;
    }
    return action;
}

void faultKill(void) {
    (void)syscall(SYS_kill, s_owner, SIGKILL);
}

void* faultRealDlsym(void* handle, const char* name) {
    /* The loader's own name cannot be looked up by itself here; its version differs by platform. */
    static const char* const versions[] = {"GLIBC_2.34", "GLIBC_2.2.5", "GLIBC_2.17",
                                           "GLIBC_2.0",  "GLIBC_2.4",   "GLIBC_2.27"};
    static void* (*real)(void*, const char*);
    for (size_t i = 0; real == NULL && i < sizeof versions / sizeof versions[0]; ++i) {
        *(void**)&real = dlvsym(RTLD_NEXT, "dlsym", versions[i]);
    }
    if (real == NULL) {
        abort();
    }
    return real(handle, name);
}

void* faultNext(const char* name) {
    return faultRealDlsym(RTLD_NEXT, name);
}
