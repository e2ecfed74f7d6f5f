/* The patch agent of a service, in the old interface: it leads the update to where the user has
 * moved the product, closes the service while its files are replaced and opens it again, and
 * leaves one file for the restart.
 *
 * In the directory of the product lie
 *   moved-to      written by whoever moves the product: the directory where it lies now
 *   service       the program
 *   service.pid   its process id, as long as it runs
 *   driver.bin    held by the system until the restart */
#define _POSIX_C_SOURCE 200809L
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#define KV_PATCH_AGENT_OLD
#include "KvPatchAgentApi.h"

enum { FIRST_FILE = 3, FILES_TO_CLOSE = 256, CLOSE_TRIES = 200 };

static char g_product[PATCHAGENT_PATH_CAPACITY]; /* its directory; empty until it is known */
static int g_isClosed;                           /* the service ran and was closed by us */

/* The path of a file of the product, in a buffer of the same capacity as g_product; 0 when it does
 * not fit. */
static int productFile(const char* name, char* path) {
    const int length = snprintf(path, PATCHAGENT_PATH_CAPACITY, "%s/%s", g_product, name);
    return length > 0 && length < PATCHAGENT_PATH_CAPACITY;
}

/* The first line of a file of the product, without its end; 0 when there is none. */
static int readLine(const char* name, char* line, int capacity) {
    char path[PATCHAGENT_PATH_CAPACITY];
    FILE* file = productFile(name, path) ? fopen(path, "r") : NULL;
    int isRead;
    if (file == NULL) {
        return 0;
    }
    isRead = fgets(line, capacity, file) != NULL;
    (void)fclose(file); /* only read */
    if (isRead) {
        line[strcspn(line, "\n")] = '\0';
    }
    return isRead && line[0] != '\0';
}

static long serviceId(void) {
    char line[32];
    long id = 0;
    return readLine("service.pid", line, sizeof line) && sscanf(line, "%ld", &id) == 1 && id > 1
               ? id
               : 0;
}

/* The service takes its process id away when it ends. 0 when it does not end within ten seconds. */
static int closeService(void) {
    const struct timespec pause = {0, 50 * 1000 * 1000};
    const long id = serviceId();
    int tries;
    if (id == 0 || kill((pid_t)id, SIGTERM) != 0) {
        return 1; /* it does not run */
    }
    for (tries = 0; serviceId() == id; ++tries) {
        if (tries == CLOSE_TRIES) {
            return 0;
        }
        (void)nanosleep(&pause, NULL); /* cut short, it is looked at again sooner */
    }
    g_isClosed = 1;
    return 1;
}

/* Runs the service in place of the child process, without anything that belongs to the tool. */
static void becomeService(const char* program) {
    const int nothing = open("/dev/null", O_RDWR);
    int file;
    if (setsid() < 0 || nothing < 0) {
        _exit(1);
    }
    for (file = 0; file < FIRST_FILE; ++file) {
        if (dup2(nothing, file) < 0) {
            _exit(1);
        }
    }
    for (file = FIRST_FILE; file < FILES_TO_CLOSE; ++file) {
        (void)close(file); /* most are not open */
    }
    execl(program, program, (char*)NULL);
    _exit(127);
}

/* Opens the service if it was closed. The tool unloads its agent at the end of every run, so this
 * also opens the old service again when the update failed and was undone. */
__attribute__((destructor)) static void reopenService(void) {
    char program[PATCHAGENT_PATH_CAPACITY];
    if (!g_isClosed || !productFile("service", program)) {
        return;
    }
    g_isClosed = 0;
    if (fork() == 0) {
        becomeService(program);
    }
}

KV_PATCH_AGENT_ENTRY void GetPatternPath(char* buffer) {
    (void)buffer; /* patterns stay where the description wants them */
}

KV_PATCH_AGENT_ENTRY void GetEnginePath(char* buffer) {
    (void)buffer;
}

KV_PATCH_AGENT_ENTRY void GetProductPath(char* buffer) {
    char moved[PATCHAGENT_PATH_CAPACITY];
    strcpy(g_product, buffer); /* both have the same capacity */
    if (readLine("moved-to", moved, sizeof moved)) {
        strcpy(buffer, moved);
        strcpy(g_product, moved);
    }
}

KV_PATCH_AGENT_ENTRY int32_t IsRollback(void) {
    return PATCHAGENT_YES;
}

KV_PATCH_AGENT_ENTRY int32_t StartPatch(uint32_t classMask) {
    if ((classMask & PATCHMASK_PRODUCT) != 0 && !closeService()) {
        return PATCH_CLOSEPROGRAM;
    }
    return PATCH_GOON;
}

KV_PATCH_AGENT_ENTRY int32_t StartPattern(const char* name) {
    (void)name;
    return PATCHAGENT_YES;
}

KV_PATCH_AGENT_ENTRY int32_t StartEngine(const char* name) {
    (void)name;
    return PATCHAGENT_YES;
}

KV_PATCH_AGENT_ENTRY int32_t StartProduct(const char* name) {
    (void)name;
    return PATCHAGENT_YES;
}

/* The old interface does not tell an update from a rollback: the driver stays in both. */
KV_PATCH_AGENT_ENTRY int32_t CheckFile(const char* path) {
    const char* slash = strrchr(path, '/');
    const char* name = slash != NULL ? slash + 1 : path;
    return strcmp(name, "driver.bin") == 0 ? CHECKFILE_REBOOT : CHECKFILE_REPLACE;
}

KV_PATCH_AGENT_ENTRY int32_t EndPattern(int success, uint32_t origin, uint32_t result) {
    (void)success, (void)origin, (void)result;
    return PATCHAGENT_YES;
}

KV_PATCH_AGENT_ENTRY int32_t EndEngine(int success, uint32_t origin, uint32_t result) {
    (void)success, (void)origin, (void)result;
    return PATCHAGENT_YES;
}

/* A program that was not there before has been written without its x bit. */
KV_PATCH_AGENT_ENTRY int32_t EndProduct(int success, uint32_t origin, uint32_t result) {
    char program[PATCHAGENT_PATH_CAPACITY];
    (void)origin, (void)result;
    if (success && productFile("service", program) && access(program, F_OK) == 0) {
        return chmod(program, 0755) == 0 ? PATCHAGENT_YES : PATCHAGENT_NO;
    }
    return PATCHAGENT_YES;
}

KV_PATCH_AGENT_ENTRY int32_t EndPatch(int success) {
    (void)success;
    reopenService();
    return PATCHAGENT_YES;
}
