/* Makes a kind of call three times and says what came of each: "10 -28 10" for three writes of
 * which the second failed with errno 28. Its own words go past the C library. */
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

enum { CALLS = 3, PIECE = 10 };

static long told(int failed, long result) {
    return failed ? -errno : result;
}

static long once(const char* kind, int number, int fd) {
    char buffer[PIECE] = "123456789";
    char name[] = "dir0";
    name[3] = (char)('0' + number);
    if (strcmp(kind, "malloc") == 0) {
        void* volatile block = malloc(PIECE);
        const long result = told(block == NULL, 1);
        free(block);
        return result;
    }
    if (strcmp(kind, "write") == 0) {
        const long done = write(fd, buffer, PIECE);
        return told(done < 0, done);
    }
    if (strcmp(kind, "read") == 0) {
        const long got = read(fd, buffer, PIECE);
        return told(got < 0, got);
    }
    if (strcmp(kind, "mkdir") == 0) {
        return told(mkdir(name, 0755) != 0, 1);
    }
    if (strcmp(kind, "close") == 0) {
        const int copy = dup(fd);
        const long result = told(close(copy) != 0, 1);
        return fcntl(copy, F_GETFD) < 0 ? result : 0; /* 0: it is still open */
    }
    if (strcmp(kind, "dlopen") == 0) {
        return dlopen(NULL, RTLD_NOW) != NULL ? 1 : (dlerror() != NULL ? -1 : 0);
    }
    return 0;
}

/* The child's calls are not the probe's own. */
static void forkFirst(void) {
    const pid_t child = fork();
    if (child == 0) {
        void* volatile block = malloc(PIECE);
        _exit(block != NULL ? 0 : 1);
    }
    int status = 0;
    (void)waitpid(child, &status, 0);
    if (status != 0) {
        exit(1);
    }
}

int main(int count, char** arguments) {
    const char* const kind = count > 1 ? arguments[1] : "";
    const int fd = open("file", O_RDWR | O_CREAT, 0644);
    long results[CALLS];
    char text[100];
    if (count > 2) {
        forkFirst();
    }
    for (int i = 0; i < CALLS; ++i) {
        results[i] = once(kind, i, fd);
    }
    (void)snprintf(text, sizeof text, "%ld %ld %ld", results[0], results[1], results[2]);
    (void)syscall(SYS_write, STDOUT_FILENO, text, strlen(text));
    return 0;
}
