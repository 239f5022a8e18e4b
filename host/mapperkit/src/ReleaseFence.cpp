#include "ReleaseFence.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace hostkit::mapperkit {

ReleaseFence::ReleaseFence(mapper::FenceMode mode) {
    const int count = mode == mapper::FenceMode::ONE_FD ? 1 : mode == mapper::FenceMode::TWO_FDS ? 2 : 0;
    if (count == 0) {
        return;
    }
    int fds[2] = {-1, -1};
    for (int i = 0; i < count; ++i) {
        fds[i] = MakeSignalledFd();
        if (fds[i] < 0) {
            for (int j = 0; j < i; ++j) close(fds[j]);
            return;
        }
    }
    mHandle = native_handle_init(mStorage, count, 0);
    for (int i = 0; i < count; ++i) mHandle->data[i] = fds[i];
}

ReleaseFence::~ReleaseFence() {
    if (mHandle != nullptr) {
        native_handle_close(mHandle);
    }
}

const native_handle_t* ReleaseFence::Handle() const {
    return mHandle;
}

std::optional<std::pair<dev_t, ino_t>> ReleaseFence::Identity() const {
    struct stat st {};
    if (mHandle == nullptr || fstat(mHandle->data[0], &st) != 0) {
        return std::nullopt;
    }
    return std::make_pair(st.st_dev, st.st_ino);
}

// A pipe's read end with a byte waiting polls readable like a signalled sync file, and unlike
// eventfds each pipe has its own inode, so a client's dup can be told apart from other fences.
int ReleaseFence::MakeSignalledFd() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return -1;
    }
    const char signal = 1;
    const bool written = write(ends[1], &signal, 1) == 1;
    close(ends[1]);
    if (!written) {
        close(ends[0]);
        return -1;
    }
    return ends[0];
}

}  // namespace hostkit::mapperkit
