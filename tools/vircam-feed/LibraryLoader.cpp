#include "LibraryLoader.h"

#include <dlfcn.h>

namespace vircamfeed {

// The library is never unloaded: its process-wide singletons live until the process ends,
// as in the video service that hosts it.
LibraryLoader::~LibraryLoader() = default;

bool LibraryLoader::Load(const char* soname, std::string& error) {
    mHandle = dlopen(soname, RTLD_NOW | RTLD_LOCAL);
    if (mHandle == nullptr) {
        error = dlerror();
        return false;
    }
    getVersion = reinterpret_cast<GetVersionFn>(dlsym(mHandle, "GetVersion"));
    createWrapper = reinterpret_cast<CreateFn>(dlsym(mHandle, "CreateVirCameraWrapper"));
    createWrapperV2 = reinterpret_cast<CreateV2Fn>(dlsym(mHandle, "CreateVirCameraWrapperV2"));
    if (getVersion == nullptr || createWrapper == nullptr || createWrapperV2 == nullptr) {
        error = std::string(soname) + " lacks an entry point";
        return false;
    }
    return true;
}

namespace {

int HashId(const std::string& text) {
    if (text.empty()) {
        return 10001;
    }
    int a = 1;
    int b = 1;
    for (unsigned char c : text) {
        a = (a + c) % 10000;
        b = (b + 2 * c) % 10000;
    }
    return a * 10000 + b;
}

}  // namespace

int UniqueId(const std::string& device, const std::string& service) {
    return HashId(device) + HashId(service);
}

}  // namespace vircamfeed
