#include "AcquireFence.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>

namespace hostkit::mapperkit {

GrallocError AcquireFence::Wait(const native_handle_t* fence) {
    if (fence == nullptr || fence->numFds == 0) {
        return GrallocError::NONE;
    }
    if (fence->numFds != 1) {
        return GrallocError::BAD_VALUE;
    }
    const int fd = fcntl(fence->data[0], F_DUPFD_CLOEXEC, 0);
    if (fd < 0) {
        return GrallocError::BAD_VALUE;
    }
    pollfd pfd{fd, POLLIN, 0};
    int ready;
    do {
        ready = poll(&pfd, 1, TIMEOUT_MS);
    } while (ready < 0 && errno == EINTR);
    close(fd);
    return ready == 1 ? GrallocError::NONE : GrallocError::NO_RESOURCES;
}

}  // namespace hostkit::mapperkit
