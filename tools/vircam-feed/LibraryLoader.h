#pragma once

#include <string>

#include "IVirCameraWrapper.h"

namespace vircamfeed {

// The library as a video service loads it: by soname, with its three entry points, for the
// rest of the process's life.
class LibraryLoader {
public:
    using GetVersionFn = int (*)();
    using CreateFn = int (*)(android::IVirCameraWrapper**);
    using CreateV2Fn = int (*)(android::IVirCameraWrapperV2**);

    LibraryLoader() = default;
    ~LibraryLoader();
    LibraryLoader(const LibraryLoader&) = delete;
    LibraryLoader& operator=(const LibraryLoader&) = delete;

    // False with `error` set when the library or an entry point is missing.
    bool Load(const char* soname, std::string& error);

    GetVersionFn getVersion = nullptr;
    CreateFn createWrapper = nullptr;
    CreateV2Fn createWrapperV2 = nullptr;

private:
    void* mHandle = nullptr;
};

// The registration id the library hands back for (device, service).
int UniqueId(const std::string& device, const std::string& service);

}  // namespace vircamfeed
