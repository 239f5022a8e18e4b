#include "BufferAllocator.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "BufferLayout.h"

namespace hostkit::mapperkit {

namespace {

// Sealed so a buffer's size cannot change under a mapping; the seals also tell kit buffers
// apart from other files.
constexpr int BUFFER_SEALS = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL;

}  // namespace

native_handle_t* BufferAllocator::Allocate(uint32_t width, uint32_t height, int32_t format,
                                           uint64_t usage) {
    auto info = BufferLayout::Describe(width, height, format, usage);
    if (!info) {
        return nullptr;
    }
    const int fd = memfd_create("hostkit-gralloc", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (fd < 0) {
        return nullptr;
    }
    struct stat st {};
    if (ftruncate(fd, static_cast<off_t>(info->size)) != 0 ||
        fcntl(fd, F_ADD_SEALS, BUFFER_SEALS) != 0 || fstat(fd, &st) != 0) {
        close(fd);
        return nullptr;
    }
    info->inode = st.st_ino;
    native_handle_t* handle = native_handle_create(1, BufferLayout::NUM_INTS);
    if (handle == nullptr) {
        close(fd);
        return nullptr;
    }
    handle->data[0] = fd;
    BufferLayout::Encode(*info, handle);
    return handle;
}

bool BufferAllocator::IsBufferFd(int fd, uint64_t inode, uint64_t size) {
    struct stat st {};
    if (fd < 0 || fstat(fd, &st) != 0) {
        return false;
    }
    return fcntl(fd, F_GET_SEALS) == BUFFER_SEALS && static_cast<uint64_t>(st.st_ino) == inode &&
           static_cast<uint64_t>(st.st_size) == size;
}

}  // namespace hostkit::mapperkit
