#pragma once

#include <cstdint>

#include <cutils/native_handle.h>

namespace hostkit::mapperkit {

// Allocates gralloc-like buffers for the simulated camera framework.
//
// The memory is a sealed memfd. A device would hand out a dma-buf; this host has no
// /dev/udmabuf and no dma-buf heaps, so the kit stays with memfd everywhere. The one visible
// difference: DMA_BUF_IOCTL_SYNC on a kit buffer fd fails with ENOTTY, as on any non-dma-buf fd.
class BufferAllocator {
  public:
    // Returns a new handle (one fd, BufferLayout::NUM_INTS ints) that the caller owns: close and
    // delete it (native_handle_close + native_handle_delete). Null for unsupported dimensions or
    // formats, or when the system is out of fds or memory.
    static native_handle_t* Allocate(uint32_t width, uint32_t height, int32_t format, uint64_t usage);

    // Checks that fd is the memory a handle describes: a kit memfd of that inode and size.
    static bool IsBufferFd(int fd, uint64_t inode, uint64_t size);
};

}  // namespace hostkit::mapperkit
