/* For LD_PRELOAD: long rests and receive time-outs of the program (more than a second) take a
 * hundredth of their time, so that what comes after a failure can be seen hundreds of times. The
 * pace of its polls and ticks, and all the rest, stays as it is. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <sys/socket.h>
#include <sys/time.h>

enum { SHORTENING = 100, MICROSECONDS = 1000000 };

void g_usleep(unsigned long microseconds);

void g_usleep(unsigned long microseconds) {
    static void (*real)(unsigned long);
    if (real == 0) {
        real = (void (*)(unsigned long))dlsym(RTLD_NEXT, "g_usleep");
    }
    real(microseconds > MICROSECONDS ? microseconds / SHORTENING : microseconds);
}

int setsockopt(int handle, int level, int option, const void *value, socklen_t size) {
    static int (*real)(int, int, int, const void *, socklen_t);
    if (real == 0) {
        real = (int (*)(int, int, int, const void *, socklen_t))dlsym(RTLD_NEXT, "setsockopt");
    }
    const struct timeval *time = value;
    if (level == SOL_SOCKET && option == SO_RCVTIMEO && size == sizeof *time && time->tv_sec > 1) {
        const struct timeval shorter = {0, time->tv_sec * (MICROSECONDS / SHORTENING)};
        return real(handle, level, option, &shorter, sizeof shorter);
    }
    return real(handle, level, option, value, size);
}
