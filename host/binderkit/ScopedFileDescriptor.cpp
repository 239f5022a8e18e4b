#include <android/binder_auto_utils.h>

#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace ndk::internal {

void closeWithError(int fd) {
    if (fd == -1) {
        return;
    }
    if (close(fd) != 0) {
        syslog(LOG_ERR, "Could not close FD %d: %s", fd, strerror(errno));
    }
}

}  // namespace ndk::internal

extern "C" void AIBinder_hostAssertFailed(const char* file, const char* message) {
    syslog(LOG_ERR, "%s: %s", file, message);
    abort();
}
