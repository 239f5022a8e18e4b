#include "E2eCaller.h"

namespace aidle2e {

void E2eCaller::SetHandler(Handler handler) {
    std::lock_guard<std::mutex> lock(mMutex);
    mHandler = std::move(handler);
}

std::vector<E2eCaller::Call> E2eCaller::Calls() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mCalls;
}

size_t E2eCaller::Count(int32_t cmd) const {
    std::lock_guard<std::mutex> lock(mMutex);
    size_t n = 0;
    for (const Call& call : mCalls) n += call.cmd == cmd ? 1 : 0;
    return n;
}

bool E2eCaller::WaitFor(int32_t cmd, size_t n, std::chrono::milliseconds timeout) const {
    std::unique_lock<std::mutex> lock(mMutex);
    return mChanged.wait_for(lock, timeout, [&] {
        size_t seen = 0;
        for (const Call& call : mCalls) seen += call.cmd == cmd ? 1 : 0;
        return seen >= n;
    });
}

android::CallbackResult E2eCaller::OnCommand(int32_t cmd, const std::string& data) {
    std::vector<android::CommonData> none;
    return Handle(Call{cmd, data, {}, false}, none);
}

android::CallbackResult E2eCaller::OnCommandWithData(int32_t cmd, const std::string& data,
                                                     std::vector<android::CommonData>& items) {
    return Handle(Call{cmd, data, items, true}, items);
}

android::CallbackResult E2eCaller::Handle(Call call, std::vector<android::CommonData>& items) {
    Handler handler;
    const int32_t cmd = call.cmd;
    const std::string data = call.data;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        handler = mHandler;
    }
    // The handler runs first: the image flow's handler locks buffers from inside.
    android::CallbackResult result{0, "ok:" + std::to_string(cmd)};
    if (handler) result = handler(cmd, data, items);
    std::lock_guard<std::mutex> lock(mMutex);
    mCalls.push_back(std::move(call));
    mChanged.notify_all();
    return result;
}

namespace {

// The wrapper's identifier hash of one string (10001 for "").
int HashId(const std::string& text) {
    if (text.empty()) return 10001;
    int a = 1;
    int b = 1;
    for (char c : text) {
        const int byte = static_cast<unsigned char>(c);
        a = (a + byte) % 10000;
        b = (b + 2 * byte) % 10000;
    }
    return a * 10000 + b;
}

}  // namespace

int UniqueId(const std::string& device, const std::string& service) {
    return HashId(device) + HashId(service);
}

}  // namespace aidle2e
