// Whether this machine tells which time-out a socket has: ends with 0 when it does. Some emulators
// of other processors set the time-out, call the question a success, and leave the answer
// unwritten.
#include <sys/socket.h>
#include <sys/time.h>

#include <cstdio>

int main() {
    const int handle = socket(AF_UNIX, SOCK_STREAM, 0);
    const timeval wanted{1, 500000};
    if (setsockopt(handle, SOL_SOCKET, SO_RCVTIMEO, &wanted, sizeof wanted) != 0) {
        std::perror("setsockopt");
        return 1;
    }
    timeval told{-7, -7};
    socklen_t size = sizeof told;
    const int result = getsockopt(handle, SOL_SOCKET, SO_RCVTIMEO, &told, &size);
    std::printf("option %d of %zu bytes: result %d, %u bytes, %lld s and %lld us\n", SO_RCVTIMEO,
                sizeof told, result, static_cast<unsigned>(size),
                static_cast<long long>(told.tv_sec), static_cast<long long>(told.tv_usec));
    return told.tv_sec == wanted.tv_sec && told.tv_usec == wanted.tv_usec ? 0 : 1;
}
