/* For LD_PRELOAD: long rests and receive time-outs of the program (more than a second) take a
 * hundredth of their time, so that what comes after a failure can be seen hundreds of times. With
 * ZOR_HURRY in the environment its rests between polls and ticks take a fiftieth. All else stays. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/time.h>

enum { SHORTENING = 100, HURRY = 50, MICROSECONDS = 1000000 };

void g_usleep(unsigned long microseconds);

void g_usleep(unsigned long microseconds) {
    void (*const real)(unsigned long) = (void (*)(unsigned long))dlsym(RTLD_NEXT, "g_usleep");
    if (microseconds > MICROSECONDS) {
        microseconds /= SHORTENING;
    } else if (getenv("ZOR_HURRY") != 0) {
        microseconds /= HURRY;
    }
    real(microseconds);
}

int setsockopt(int handle, int level, int option, const void *value, socklen_t size) {
    int (*const real)(int, int, int, const void *, socklen_t) =
        (int (*)(int, int, int, const void *, socklen_t))dlsym(RTLD_NEXT, "setsockopt");
    const struct timeval *time = value;
    if (level == SOL_SOCKET && option == SO_RCVTIMEO && size == sizeof *time && time->tv_sec > 1) {
        const struct timeval shorter = {0, time->tv_sec * (MICROSECONDS / SHORTENING)};
        return real(handle, level, option, &shorter, sizeof shorter);
    }
    return real(handle, level, option, value, size);
}
