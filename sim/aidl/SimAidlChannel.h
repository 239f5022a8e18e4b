#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <aidl/vendor/zuvek/hardware/camera/vircamera/BnVirCameraChannel.h>

#include "aidl/SimSwitchBehaviour.h"

namespace vircamsim {

using aidl::vendor::zuvek::hardware::camera::vircamera::BnVirCameraChannel;
using aidl::vendor::zuvek::hardware::camera::vircamera::IVirCameraChannel;
using aidl::vendor::zuvek::hardware::camera::vircamera::IVirCameraChannelCallback;
using aidl::vendor::zuvek::hardware::camera::vircamera::InfoData;
using aidl::vendor::zuvek::hardware::camera::vircamera::StatusResult;

// A caller request (20001-20003) as the channel received it. 20003 is "image buffer done"
// with {"frameNumber","streamId","bufferId"}; its buffer is read back on arrival.
struct SimCallerRequest {
    int32_t cmd = 0;
    std::string json;
    int32_t frameNumber = -1;
    int32_t streamId = -1;
    int32_t bufferId = -1;
    std::optional<std::vector<uint8_t>> bytes;  // 20003 only; nullopt when unreadable
};

// One instance of the simulated HAL channel service (AIDL). Start() declares it in the
// manifest and adds it to the service manager; answers are settable per command; every
// call is recorded. Thread-safe; never calls out while holding its lock.
class SimAidlChannel : public BnVirCameraChannel {
public:
    static constexpr const char* REGISTER = "virtualcamera.register";
    static constexpr const char* STREAM_CHANGE = "virtualcamera.streamchange";

    // Creates, declares and adds "<descriptor>/<instance>". Null if adding failed.
    static std::shared_ptr<SimAidlChannel> Start(const std::string& instance);
    explicit SimAidlChannel(std::string instance);
    ~SimAidlChannel() override;  // joins the delayed-report thread

    // "<descriptor>/<instance>", the name the kit controls take.
    const std::string& Name() const { return mName; }
    bool Kill();     // hostkit::binder::Kill(Name())
    bool Restore();  // hostkit::binder::Restore(Name())

    // Status of 9005 / 9006 answers (default 0).
    void SetRegisterStatus(int32_t status);
    void SetUnregisterStatus(int32_t status);
    // Answer of 30001 (default status 0, data "[]").
    void SetIdList(int32_t status, const std::string& data);
    // Answer of registerVirtualChannelCallback (default 0).
    void SetRegisterCallbackStatus(int32_t status);
    // A command (JSON "{}") that registerVirtualChannelCallback sends to the new callback
    // before it answers, as a nested call on the registering thread; 0 (default) sends none.
    void SetCommandOnRegister(int32_t cmd);
    // A command (JSON "{}") that registerVirtualChannelCallback sends to the new callback
    // from a thread of its own, which it joins before it answers; 0 (default) sends none.
    // The reply's status is kept in OnRegisterAnswers().
    void SetCommandOnRegisterFromThread(int32_t cmd);
    std::vector<int32_t> OnRegisterAnswers() const;
    // Status of 20001-20003 answers (default 0).
    void SetCallerRequestStatus(int32_t status);
    // Whether 20001-20003 requests are parsed and kept for CallerRequests() (default true).
    // Off, they are only answered: a peer for benchmarks that measures the caller, not the HAL.
    void SetRecordCallerRequests(bool record);
    // 10001 / 10002 behaviour (default: accepted, report after 20 ms).
    void SetSwitchOn(const SimSwitchBehaviour& behaviour);
    void SetSwitchOff(const SimSwitchBehaviour& behaviour);
    // Answer of processCmdRequest (9101): status and the InfoData items it returns.
    void SetProcessAnswer(int32_t status, int itemCount);
    // How 20003 reads a buffer back: (streamId, bufferId) -> bytes. Set by SimAidlFramework.
    using ReadBackFn = std::function<std::optional<std::vector<uint8_t>>(int32_t, int32_t)>;
    void SetReadBack(ReadBackFn readBack);

    // The last registered channel callback (null before / after unregistration).
    std::shared_ptr<IVirCameraChannelCallback> Callback() const;
    // JSON texts of 9005 / 9006 requests, in order.
    std::vector<std::string> RegisterRequests() const;
    std::vector<std::string> UnregisterRequests() const;
    // JSON texts of 10001 / 10002 requests, in order.
    std::vector<std::string> SwitchRequests(bool on) const;
    // Answers of the switch reports sent to the callback (StatusResult.status), in order.
    std::vector<int32_t> ReportAnswers() const;
    // The recorded requests from index `first` on (the earlier ones are not copied).
    std::vector<SimCallerRequest> CallerRequestsSince(size_t first) const;
    std::vector<SimCallerRequest> CallerRequests() const;
    // Waits up to `timeout` for at least n caller requests / n report answers.
    bool WaitForCallerRequests(size_t n, std::chrono::milliseconds timeout) const;
    bool WaitForReports(size_t n, std::chrono::milliseconds timeout) const;
    // (device, service) of the last registerVirtualChannelCallback.
    std::pair<std::string, std::string> RegisteredAs() const;
    int RegisterCallbackCount() const;

    // IVirCameraChannel.
    ndk::ScopedAStatus doCmdRequest(int32_t cmd, const std::string& data, StatusResult* ret) override;
    ndk::ScopedAStatus processCmdRequest(const std::string& data, std::vector<InfoData>* infos,
                                         StatusResult* ret) override;
    ndk::ScopedAStatus registerVirtualChannelCallback(const std::string& device, const std::string& service,
                                                      const std::shared_ptr<IVirCameraChannelCallback>& callback,
                                                      int32_t* ret) override;
    ndk::ScopedAStatus unregisterVirtualChannelCallback(const std::string& device, const std::string& service,
                                                        int32_t* ret) override;

private:
    void Switch(bool on, const std::string& data, StatusResult* ret);
    void SendReport(bool on, const std::string& text);
    void RecordCallerRequest(int32_t cmd, const std::string& data);
    void JoinReporter();

    const std::string mName;
    mutable std::mutex mMutex;  // guards everything below
    mutable std::condition_variable mChanged;
    int32_t mRegisterStatus = 0;
    int32_t mUnregisterStatus = 0;
    int32_t mIdListStatus = 0;
    std::string mIdList = "[]";
    int32_t mRegisterCallbackStatus = 0;
    int32_t mCommandOnRegister = 0;
    int32_t mThreadCommandOnRegister = 0;
    std::vector<int32_t> mOnRegisterAnswers;
    int32_t mCallerRequestStatus = 0;
    int32_t mProcessStatus = 0;
    int mProcessItems = 0;
    SimSwitchBehaviour mSwitchOn;
    SimSwitchBehaviour mSwitchOff;
    int32_t mSeqNo = 0;
    ReadBackFn mReadBack;
    std::shared_ptr<IVirCameraChannelCallback> mCallback;
    std::pair<std::string, std::string> mRegisteredAs;
    int mRegisterCallbackCount = 0;
    std::vector<std::string> mRegisterRequests;
    std::vector<std::string> mUnregisterRequests;
    std::vector<std::string> mSwitchOnRequests;
    std::vector<std::string> mSwitchOffRequests;
    std::vector<int32_t> mReportAnswers;
    std::vector<SimCallerRequest> mCallerRequests;
    bool mRecordCallerRequests = true;
    std::thread mReporter;  // the last delayed report
};

}  // namespace vircamsim
