#include "TestServices.h"

#include <sys/mman.h>
#include <unistd.h>

#include "FdSet.h"

namespace kitbinder {

int makeMemFd(const std::string& text) {
    int fd = memfd_create("kitbinder", MFD_CLOEXEC);
    if (fd >= 0 && write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        close(fd);
        return -1;
    }
    return fd;
}

std::string readAll(int fd) {
    char buffer[256];
    ssize_t n = pread(fd, buffer, sizeof(buffer), 0);
    return n > 0 ? std::string(buffer, static_cast<size_t>(n)) : std::string();
}

SeenItem describe(const InfoData& item) {
    SeenItem seen;
    seen.data = item.data;
    for (const auto& fd : item.buffer.fds) {
        seen.inodes.push_back(inodeOf(fd.get()));
        seen.contents.push_back(readAll(fd.get()));
        seen.fdNumbers.push_back(fd.get());
    }
    seen.ints = item.buffer.ints;
    return seen;
}

ndk::ScopedAStatus TestCallback::processCmdRequest(int32_t cmd, const std::string& data,
                                                   StatusResult* ret) {
    std::lock_guard<std::mutex> lock(mMutex);
    mLastData = data;
    ret->status = cmd + 1;
    ret->data = "cmd:" + data;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TestCallback::processInfoData(int32_t cmd, const std::string& data,
                                                 const std::vector<InfoData>& items,
                                                 StatusResult* ret) {
    std::lock_guard<std::mutex> lock(mMutex);
    mLastData = data;
    for (const auto& item : items) mSeen.push_back(describe(item));
    ret->status = cmd * 100 + static_cast<int32_t>(items.size());
    ret->data = "cb:" + data;
    return ndk::ScopedAStatus::ok();
}

std::vector<SeenItem> TestCallback::seenItems() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mSeen;
}

std::string TestCallback::lastData() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mLastData;
}

ndk::ScopedAStatus TestChannel::doCmdRequest(int32_t cmd, const std::string& data,
                                             StatusResult* ret) {
    if (cmd < 0) return ndk::ScopedAStatus::fromServiceSpecificErrorWithMessage(cmd, "bad cmd");
    if (cmd == 1000) {
        return ndk::ScopedAStatus::fromExceptionCodeWithMessage(EX_ILLEGAL_STATE, "not now");
    }
    ret->status = cmd * 2 + 1;
    ret->data = "echo:" + data;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TestChannel::processCmdRequest(const std::string& data,
                                                  std::vector<InfoData>* infos, StatusResult* ret) {
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mLastOutSize = infos->size();
    }
    infos->clear();
    if (data != "none") {
        for (int32_t i = 0; i < 2; i++) {
            InfoData item;
            item.data = data + "#" + std::to_string(i);
            item.buffer.fds.emplace_back(makeMemFd("payload" + std::to_string(i)));
            if (i == 0) item.buffer.fds.emplace_back(makeMemFd("extra"));
            item.buffer.ints = {i, 42, -7};
            infos->push_back(std::move(item));
        }
    }
    ret->status = 5;
    ret->data = "processed";
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TestChannel::registerVirtualChannelCallback(
        const std::string& device, const std::string& service,
        const std::shared_ptr<IVirCameraChannelCallback>& callback, int32_t* ret) {
    if (callback == nullptr) return ndk::ScopedAStatus::fromExceptionCode(EX_NULL_POINTER);
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mCallback = callback;
    }
    std::vector<InfoData> items(1);
    items[0].data = "reg";
    items[0].buffer.fds.emplace_back(makeMemFd(device));
    items[0].buffer.ints = {9};
    StatusResult result;
    ndk::ScopedAStatus status = callback->processInfoData(7, device + "|" + service, items, &result);
    *ret = status.isOk() ? result.status : -1;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus TestChannel::unregisterVirtualChannelCallback(const std::string&,
                                                                 const std::string&, int32_t* ret) {
    std::lock_guard<std::mutex> lock(mMutex);
    if (mCallback == nullptr) {
        return ndk::ScopedAStatus::fromServiceSpecificErrorWithMessage(3, "no callback");
    }
    mCallback.reset();
    *ret = 0;
    return ndk::ScopedAStatus::ok();
}

std::shared_ptr<IVirCameraChannelCallback> TestChannel::callback() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mCallback;
}

size_t TestChannel::lastOutVectorSize() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mLastOutSize;
}

}  // namespace kitbinder
