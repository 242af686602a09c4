/* Preloaded into the stand-in: kills it with SIGKILL before or after its KILL_AT-th change of the disk, so
   that a test can step through an installation. With KILL_COUNT it writes the number of changes to that file
   instead. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

static long points;
static int is_relaunched;

/* The copy that is relaunched at the end is not stepped through; it is the only one that has an argument. */
__attribute__((constructor)) static void look(int count)
{
    is_relaunched = count > 1;
}

static int concerns_us(void)
{
    return !is_relaunched && strcmp(program_invocation_short_name, "quillmarsh") == 0;
}

static void point(void)
{
    const char* at = getenv("KILL_AT");
    if (!concerns_us())
        return;
    if (++points == (at ? atol(at) : -1))
        kill(getpid(), SIGKILL);
}

__attribute__((destructor)) static void tell(void)
{
    const char* path = getenv("KILL_COUNT");
    if (!path || !concerns_us())
        return;
    FILE* file = fopen(path, "w");
    if (file) {
        fprintf(file, "%ld", points);
        fclose(file);
    }
}

#define STEP(type, name, parameters, arguments)                                                              \
    type name parameters                                                                                     \
    {                                                                                                        \
        type(*next) parameters;                                                                              \
        *(void**)&next = dlsym(RTLD_NEXT, #name);                                                            \
        point();                                                                                             \
        type result = next arguments;                                                                        \
        int kept = errno;                                                                                    \
        point();                                                                                             \
        errno = kept;                                                                                        \
        return result;                                                                                       \
    }

STEP(int, rename, (const char* from, const char* to), (from, to))
STEP(int, mkdir, (const char* path, mode_t mode), (path, mode))
STEP(int, rmdir, (const char* path), (path))
STEP(int, unlink, (const char* path), (path))
STEP(int, remove, (const char* path), (path))
STEP(int, chmod, (const char* path, mode_t mode), (path, mode))
STEP(int, fchmod, (int descriptor, mode_t mode), (descriptor, mode))
STEP(int, fchmodat, (int folder, const char* path, mode_t mode, int flags), (folder, path, mode, flags))
STEP(int, fsync, (int descriptor), (descriptor))
STEP(int, flock, (int descriptor, int operation), (descriptor, operation))

/* With NO_EXCHANGE the disk has no such step, as that of many a network. */
int renameat2(int from_folder, const char* from, int to_folder, const char* to, unsigned flags)
{
    int (*next)(int, const char*, int, const char*, unsigned);
    *(void**)&next = dlsym(RTLD_NEXT, "renameat2");
    const char* refused = getenv("NO_EXCHANGE");
    if (refused && *refused) {
        errno = EINVAL;
        return -1;
    }
    point();
    int result = next(from_folder, from, to_folder, to, flags);
    int kept = errno;
    point();
    errno = kept;
    return result;
}

ssize_t write(int descriptor, const void* bytes, size_t count)
{
    ssize_t (*next)(int, const void*, size_t);
    *(void**)&next = dlsym(RTLD_NEXT, "write");
    struct stat status;
    /* In how many pieces a download is written depends on the network: only the first few are points. */
    static int writes;
    const int counts =
        descriptor > 2 && fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && ++writes <= 8;
    if (counts)
        point();
    return next(descriptor, bytes, count);
}
