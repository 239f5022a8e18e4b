// SendRequest of both wrappers with no virtual camera HAL running: every request must be
// answered with a text, quickly. Input: a first line naming the wrapper ('A' AIDL, else
// HIDL) followed by the decimal command code, then the request text, for example
// "H 1115017\n{\"type\":\"VIRTUAL\"}". Without a newline the whole input is the request
// and the command is picked from its length.
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include <hostkit/BinderServices.h>
#include <hostkit/HidlServices.h>
#include <hostkit/LogCapture.h>

#include "IVirCameraWrapper.h"
#include "hidl/SimCameraProvider.h"

namespace {

constexpr int FIRST_MANAGER_CMD = 1115016;
constexpr int MANAGER_CMD_SPAN = 5;  // the four manager commands and one unknown code

struct Wrappers {
    std::unique_ptr<android::IVirCameraWrapper> hidl;
    std::unique_ptr<android::IVirCameraWrapperV2> aidl;
};

Wrappers& TheWrappers() {
    static Wrappers wrappers;
    return wrappers;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    // Lookups of absent services answer at once: nothing but the provider is declared.
    // The provider only shortens the HIDL service check's wait; no channel is offered.
    static android::sp<vircamsim::SimCameraProvider> provider = vircamsim::SimCameraProvider::Start();
    if (provider == nullptr) abort();
    android::IVirCameraWrapper* hidl = nullptr;
    android::IVirCameraWrapperV2* aidl = nullptr;
    if (android::CreateVirCameraWrapper(&hidl) != 0 || android::CreateVirCameraWrapperV2(&aidl) != 0) abort();
    TheWrappers().hidl.reset(hidl);
    TheWrappers().aidl.reset(aidl);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::string::size_type newline = input.find('\n');
    bool aidl = false;
    int cmd = FIRST_MANAGER_CMD + static_cast<int>(size % MANAGER_CMD_SPAN);
    std::string request = input;
    if (newline != std::string::npos) {
        const std::string header = input.substr(0, newline);
        aidl = !header.empty() && header[0] == 'A';
        cmd = header.empty() ? 0 : static_cast<int>(strtol(header.c_str() + 1, nullptr, 10));
        request = input.substr(newline + 1);
    }
    const int uniqueID = static_cast<int>(size);
    const android::OptResult result =
        aidl ? TheWrappers().aidl->SendRequest(cmd, uniqueID, request) : TheWrappers().hidl->SendRequest(cmd, uniqueID, request);
    // Every request is answered: a text, or a failure code where there is no connection.
    if (result.data.empty() && result.result == 0) __builtin_trap();
    hostkit::logs::Clear();
    return 0;
}
