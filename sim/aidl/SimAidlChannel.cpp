#include "aidl/SimAidlChannel.h"

#include <sys/mman.h>
#include <unistd.h>

#include <android/binder_manager.h>
#include <hostkit/BinderServices.h>

#include "aidl/SimJson.h"
#include "process/SimProcess.h"

namespace vircamsim {

namespace {

constexpr int32_t CMD_REGISTER = 9005;
constexpr int32_t CMD_UNREGISTER = 9006;
constexpr int32_t CMD_SWITCH_ON = 10001;
constexpr int32_t CMD_SWITCH_OFF = 10002;
constexpr int32_t CMD_CALLER_FIRST = 20001;
constexpr int32_t CMD_IMAGE_DONE = 20003;
constexpr int32_t CMD_SWITCH_ON_REPORT = 20004;
constexpr int32_t CMD_SWITCH_OFF_REPORT = 20005;
constexpr int32_t CMD_ID_LIST = 30001;
constexpr int32_t STATUS_UNKNOWN_CMD = -2;
constexpr int32_t NO_CALLBACK = -1;

std::string SwitchText(int32_t seqNo, int32_t optRet) {
    return "{\"seqNo\":" + std::to_string(seqNo) + ",\"OptRet\":" + std::to_string(optRet) + "}";
}

// A small in-memory file: the HAL's info items carry real descriptors.
ndk::ScopedFileDescriptor MakeItemFd() {
    return ndk::ScopedFileDescriptor(memfd_create("simaidl-info", MFD_CLOEXEC));
}

}  // namespace

std::shared_ptr<SimAidlChannel> SimAidlChannel::Start(const std::string& instance) {
    StartHalThreadPools();
    // The binder object belongs to the process that creates it (its first asBinder()).
    const AsHal hal;
    auto channel = ndk::SharedRefBase::make<SimAidlChannel>(instance);
    hostkit::binder::Declare(channel->Name());
    if (AServiceManager_addService(channel->asBinder().get(), channel->Name().c_str()) != EX_NONE) {
        return nullptr;
    }
    return channel;
}

SimAidlChannel::SimAidlChannel(std::string instance)
    : mName(std::string(IVirCameraChannel::descriptor) + "/" + instance) {}

SimAidlChannel::~SimAidlChannel() {
    JoinReporter();
}

bool SimAidlChannel::Kill() {
    return hostkit::binder::Kill(mName);
}

bool SimAidlChannel::Restore() {
    return hostkit::binder::Restore(mName);
}

void SimAidlChannel::SetRegisterStatus(int32_t status) {
    std::lock_guard<std::mutex> lock(mMutex);
    mRegisterStatus = status;
}

void SimAidlChannel::SetUnregisterStatus(int32_t status) {
    std::lock_guard<std::mutex> lock(mMutex);
    mUnregisterStatus = status;
}

void SimAidlChannel::SetIdList(int32_t status, const std::string& data) {
    std::lock_guard<std::mutex> lock(mMutex);
    mIdListStatus = status;
    mIdList = data;
}

void SimAidlChannel::SetRegisterCallbackStatus(int32_t status) {
    std::lock_guard<std::mutex> lock(mMutex);
    mRegisterCallbackStatus = status;
}

void SimAidlChannel::SetCommandOnRegister(int32_t cmd) {
    std::lock_guard<std::mutex> lock(mMutex);
    mCommandOnRegister = cmd;
}

void SimAidlChannel::SetCommandOnRegisterFromThread(int32_t cmd) {
    std::lock_guard<std::mutex> lock(mMutex);
    mThreadCommandOnRegister = cmd;
}

std::vector<int32_t> SimAidlChannel::OnRegisterAnswers() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mOnRegisterAnswers;
}

void SimAidlChannel::SetCallerRequestStatus(int32_t status) {
    std::lock_guard<std::mutex> lock(mMutex);
    mCallerRequestStatus = status;
}

void SimAidlChannel::SetRecordCallerRequests(bool record) {
    std::lock_guard<std::mutex> lock(mMutex);
    mRecordCallerRequests = record;
}

void SimAidlChannel::SetSwitchOn(const SimSwitchBehaviour& behaviour) {
    std::lock_guard<std::mutex> lock(mMutex);
    mSwitchOn = behaviour;
}

void SimAidlChannel::SetSwitchOff(const SimSwitchBehaviour& behaviour) {
    std::lock_guard<std::mutex> lock(mMutex);
    mSwitchOff = behaviour;
}

void SimAidlChannel::SetProcessAnswer(int32_t status, int itemCount) {
    std::lock_guard<std::mutex> lock(mMutex);
    mProcessStatus = status;
    mProcessItems = itemCount;
}

void SimAidlChannel::SetReadBack(ReadBackFn readBack) {
    std::lock_guard<std::mutex> lock(mMutex);
    mReadBack = std::move(readBack);
}

std::shared_ptr<IVirCameraChannelCallback> SimAidlChannel::Callback() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mCallback;
}

std::vector<std::string> SimAidlChannel::RegisterRequests() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mRegisterRequests;
}

std::vector<std::string> SimAidlChannel::UnregisterRequests() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mUnregisterRequests;
}

std::vector<std::string> SimAidlChannel::SwitchRequests(bool on) const {
    std::lock_guard<std::mutex> lock(mMutex);
    return on ? mSwitchOnRequests : mSwitchOffRequests;
}

std::vector<int32_t> SimAidlChannel::ReportAnswers() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mReportAnswers;
}

std::vector<SimCallerRequest> SimAidlChannel::CallerRequests() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mCallerRequests;
}

std::vector<SimCallerRequest> SimAidlChannel::CallerRequestsSince(size_t first) const {
    std::lock_guard<std::mutex> lock(mMutex);
    if (first >= mCallerRequests.size()) return {};
    return {mCallerRequests.begin() + static_cast<std::ptrdiff_t>(first), mCallerRequests.end()};
}

bool SimAidlChannel::WaitForCallerRequests(size_t n, std::chrono::milliseconds timeout) const {
    std::unique_lock<std::mutex> lock(mMutex);
    return mChanged.wait_for(lock, timeout, [&] { return mCallerRequests.size() >= n; });
}

bool SimAidlChannel::WaitForReports(size_t n, std::chrono::milliseconds timeout) const {
    std::unique_lock<std::mutex> lock(mMutex);
    return mChanged.wait_for(lock, timeout, [&] { return mReportAnswers.size() >= n; });
}

std::pair<std::string, std::string> SimAidlChannel::RegisteredAs() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mRegisteredAs;
}

int SimAidlChannel::RegisterCallbackCount() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mRegisterCallbackCount;
}

ndk::ScopedAStatus SimAidlChannel::doCmdRequest(int32_t cmd, const std::string& data, StatusResult* ret) {
    switch (cmd) {
        case CMD_REGISTER:
        case CMD_UNREGISTER: {
            std::lock_guard<std::mutex> lock(mMutex);
            (cmd == CMD_REGISTER ? mRegisterRequests : mUnregisterRequests).push_back(data);
            ret->status = cmd == CMD_REGISTER ? mRegisterStatus : mUnregisterStatus;
            break;
        }
        case CMD_SWITCH_ON:
        case CMD_SWITCH_OFF:
            Switch(cmd == CMD_SWITCH_ON, data, ret);
            break;
        case CMD_ID_LIST: {
            std::lock_guard<std::mutex> lock(mMutex);
            ret->status = mIdListStatus;
            ret->data = mIdList;
            break;
        }
        default:
            if (cmd >= CMD_CALLER_FIRST && cmd <= CMD_IMAGE_DONE) {
                bool record;
                {
                    std::lock_guard<std::mutex> lock(mMutex);
                    record = mRecordCallerRequests;
                }
                if (record) {
                    RecordCallerRequest(cmd, data);
                }
                std::lock_guard<std::mutex> lock(mMutex);
                ret->status = mCallerRequestStatus;
            } else {
                ret->status = STATUS_UNKNOWN_CMD;
            }
            break;
    }
    return ndk::ScopedAStatus::ok();
}

void SimAidlChannel::RecordCallerRequest(int32_t cmd, const std::string& data) {
    SimCallerRequest request;
    request.cmd = cmd;
    request.json = data;
    ReadBackFn readBack;
    if (cmd == CMD_IMAGE_DONE) {
        const SimJson json(data);
        request.frameNumber = json.Int("frameNumber");
        request.streamId = json.Int("streamId");
        request.bufferId = json.Int("bufferId");
        std::lock_guard<std::mutex> lock(mMutex);
        readBack = mReadBack;
    }
    if (readBack) {
        request.bytes = readBack(request.streamId, request.bufferId);
    }
    std::lock_guard<std::mutex> lock(mMutex);
    mCallerRequests.push_back(std::move(request));
    mChanged.notify_all();
}

void SimAidlChannel::Switch(bool on, const std::string& data, StatusResult* ret) {
    SimSwitchBehaviour behaviour;
    int32_t seqNo;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        (on ? mSwitchOnRequests : mSwitchOffRequests).push_back(data);
        behaviour = on ? mSwitchOn : mSwitchOff;
        seqNo = ++mSeqNo;
    }
    ret->status = behaviour.status;
    ret->data = behaviour.answer.value_or(SwitchText(seqNo, behaviour.answerOptRet));
    const std::string report =
        behaviour.report.value_or(SwitchText(seqNo + behaviour.seqOffset, behaviour.reportOptRet));
    switch (behaviour.timing) {
        case ReportTiming::NEVER:
            break;
        case ReportTiming::INSIDE_CALL:
            SendReport(on, report);
            break;
        case ReportTiming::DELAYED: {
            JoinReporter();
            const auto delay = std::chrono::milliseconds(behaviour.delayMs);
            std::lock_guard<std::mutex> lock(mMutex);
            // The HAL answers first and reports later, from a thread of its own.
            mReporter = HalThread([this, on, report, delay] {
                std::this_thread::sleep_for(delay);
                SendReport(on, report);
            });
            break;
        }
    }
}

void SimAidlChannel::SendReport(bool on, const std::string& text) {
    std::shared_ptr<IVirCameraChannelCallback> callback = Callback();
    int32_t answer = NO_CALLBACK;
    if (callback != nullptr) {
        StatusResult reply;
        ndk::ScopedAStatus status =
            callback->processCmdRequest(on ? CMD_SWITCH_ON_REPORT : CMD_SWITCH_OFF_REPORT, text, &reply);
        answer = status.isOk() ? reply.status : NO_CALLBACK;
    }
    std::lock_guard<std::mutex> lock(mMutex);
    mReportAnswers.push_back(answer);
    mChanged.notify_all();
}

void SimAidlChannel::JoinReporter() {
    std::thread reporter;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        reporter = std::move(mReporter);
    }
    if (reporter.joinable()) {
        reporter.join();
    }
}

ndk::ScopedAStatus SimAidlChannel::processCmdRequest(const std::string& /*data*/, std::vector<InfoData>* infos,
                                                     StatusResult* ret) {
    int items;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        ret->status = mProcessStatus;
        items = mProcessItems;
    }
    infos->clear();
    for (int i = 0; i < items; ++i) {
        InfoData item;
        item.data = "{\"index\":" + std::to_string(i) + "}";
        item.buffer.fds.push_back(MakeItemFd());
        item.buffer.ints = {i};
        infos->push_back(std::move(item));
    }
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus SimAidlChannel::registerVirtualChannelCallback(
    const std::string& device, const std::string& service,
    const std::shared_ptr<IVirCameraChannelCallback>& callback, int32_t* ret) {
    if (callback == nullptr) {
        return ndk::ScopedAStatus::fromExceptionCode(EX_NULL_POINTER);
    }
    std::shared_ptr<IVirCameraChannelCallback> previous;  // released after the lock
    int32_t nestedCmd = 0;
    int32_t threadCmd = 0;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        previous = std::move(mCallback);
        mCallback = callback;
        mRegisteredAs = {device, service};
        ++mRegisterCallbackCount;
        *ret = mRegisterCallbackStatus;
        nestedCmd = mCommandOnRegister;
        threadCmd = mThreadCommandOnRegister;
    }
    if (nestedCmd != 0) {
        StatusResult reply;
        (void)callback->processCmdRequest(nestedCmd, "{}", &reply);
    }
    if (threadCmd != 0) {
        // The HAL's own thread calls back while this call waits for it.
        std::thread halThread = HalThread([this, callback, threadCmd] {
            StatusResult reply;
            const bool ok = callback->processCmdRequest(threadCmd, "{}", &reply).isOk();
            std::lock_guard<std::mutex> lock(mMutex);
            mOnRegisterAnswers.push_back(ok ? reply.status : NO_CALLBACK);
        });
        halThread.join();
    }
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus SimAidlChannel::unregisterVirtualChannelCallback(const std::string& /*device*/,
                                                                    const std::string& /*service*/, int32_t* ret) {
    std::shared_ptr<IVirCameraChannelCallback> previous;
    std::lock_guard<std::mutex> lock(mMutex);
    previous = std::move(mCallback);
    *ret = 0;
    return ndk::ScopedAStatus::ok();
}

}  // namespace vircamsim
