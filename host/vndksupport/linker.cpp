// android_load_sphal_library over dlopen. The host has no linker namespaces; what it does not
// have either is /vendor/lib64/hw, so names under it are looked up in the kit's folder instead.
#include <vndksupport/linker.h>

#include <dlfcn.h>

#include <cstring>
#include <string>

namespace {

constexpr const char* DEVICE_HW_DIR = "/vendor/lib64/hw/";

std::string HostPath(const char* name) {
    const size_t prefix = strlen(DEVICE_HW_DIR);
    if (strncmp(name, DEVICE_HW_DIR, prefix) == 0) {
        return std::string(HOSTKIT_VENDOR_HW_DIR) + (name + prefix);
    }
    return name;
}

}  // namespace

extern "C" void* android_load_sphal_library(const char* name, int flag) {
    if (name == nullptr) {
        return nullptr;
    }
    return dlopen(HostPath(name).c_str(), flag);
}

extern "C" int android_unload_sphal_library(void* handle) {
    return dlclose(handle);
}
