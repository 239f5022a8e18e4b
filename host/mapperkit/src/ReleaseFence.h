#pragma once

#include <sys/types.h>

#include <optional>
#include <utility>

#include <cutils/native_handle.h>

#include <hostkit/Mapper.h>

namespace hostkit::mapperkit {

// The release fence unlock() hands out. It lives on the mapper's stack: its fds close when this
// object goes, right after the client's callback returned.
class ReleaseFence {
  public:
    // Makes signalled fence fds for ONE_FD (one) and TWO_FDS (two); none for NONE or when the
    // process is out of fds.
    explicit ReleaseFence(mapper::FenceMode mode);
    ~ReleaseFence();
    ReleaseFence(const ReleaseFence&) = delete;
    ReleaseFence& operator=(const ReleaseFence&) = delete;

    // Null when there is no fence.
    const native_handle_t* Handle() const;
    // (st_dev, st_ino) of the first fd, if any.
    std::optional<std::pair<dev_t, ino_t>> Identity() const;

  private:
    static int MakeSignalledFd();

    NATIVE_HANDLE_DECLARE_STORAGE(mStorage, 2, 0);
    native_handle_t* mHandle = nullptr;
};

}  // namespace hostkit::mapperkit
