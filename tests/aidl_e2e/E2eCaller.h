#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "IVirCameraWrapper.h"

namespace aidle2e {

// The video source's V2 callback: records every command and answers through a settable
// handler (default: result 0, data "ok:<cmd>").
class E2eCaller : public android::IVirCameraWrapperCallbackV2 {
public:
    struct Call {
        int32_t cmd = 0;
        std::string data;
        std::vector<android::CommonData> items;
        bool withData = false;
    };
    using Handler = std::function<android::CallbackResult(int32_t cmd, const std::string& data,
                                                          std::vector<android::CommonData>& items)>;

    void SetHandler(Handler handler);
    std::vector<Call> Calls() const;
    size_t Count(int32_t cmd) const;
    bool WaitFor(int32_t cmd, size_t n, std::chrono::milliseconds timeout) const;

    android::CallbackResult OnCommand(int32_t cmd, const std::string& data) override;
    android::CallbackResult OnCommandWithData(int32_t cmd, const std::string& data,
                                              std::vector<android::CommonData>& items) override;

private:
    android::CallbackResult Handle(Call call, std::vector<android::CommonData>& items);

    mutable std::mutex mMutex;
    mutable std::condition_variable mChanged;
    Handler mHandler;
    std::vector<Call> mCalls;
};

// The registration's uniqueID as the wrapper computes it.
int UniqueId(const std::string& device, const std::string& service);

}  // namespace aidle2e
