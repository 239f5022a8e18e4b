#pragma once

// Test doubles for the vircamera AIDL interfaces: they record what they receive.

#include <sys/types.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <aidl/vendor/zuvek/hardware/camera/vircamera/BnVirCameraChannel.h>
#include <aidl/vendor/zuvek/hardware/camera/vircamera/BnVirCameraChannelCallback.h>

namespace kitbinder {

using aidl::vendor::zuvek::hardware::camera::vircamera::BnVirCameraChannel;
using aidl::vendor::zuvek::hardware::camera::vircamera::BnVirCameraChannelCallback;
using aidl::vendor::zuvek::hardware::camera::vircamera::IVirCameraChannel;
using aidl::vendor::zuvek::hardware::camera::vircamera::IVirCameraChannelCallback;
using aidl::vendor::zuvek::hardware::camera::vircamera::InfoData;
using aidl::vendor::zuvek::hardware::camera::vircamera::StatusResult;

// What one InfoData looked like on arrival; fds are described by inode and content.
struct SeenItem {
    std::string data;
    std::vector<ino_t> inodes;
    std::vector<std::string> contents;
    std::vector<int> fdNumbers;
    std::vector<int32_t> ints;
};
SeenItem describe(const InfoData& item);
// A sealed in-memory file holding text.
int makeMemFd(const std::string& text);
std::string readAll(int fd);

class TestCallback : public BnVirCameraChannelCallback {
  public:
    ndk::ScopedAStatus processCmdRequest(int32_t cmd, const std::string& data,
                                         StatusResult* ret) override;
    ndk::ScopedAStatus processInfoData(int32_t cmd, const std::string& data,
                                       const std::vector<InfoData>& items,
                                       StatusResult* ret) override;
    std::vector<SeenItem> seenItems();
    std::string lastData();

  private:
    std::mutex mMutex;
    std::vector<SeenItem> mSeen;
    std::string mLastData;
};

// doCmdRequest: negative cmd gives a service-specific error, 1000 EX_ILLEGAL_STATE.
// processCmdRequest: fills the out-vector with fds made from the text "payload".
// registerVirtualChannelCallback: calls the callback at once and returns its status.
class TestChannel : public BnVirCameraChannel {
  public:
    ndk::ScopedAStatus doCmdRequest(int32_t cmd, const std::string& data, StatusResult* ret) override;
    ndk::ScopedAStatus processCmdRequest(const std::string& data, std::vector<InfoData>* infos,
                                         StatusResult* ret) override;
    ndk::ScopedAStatus registerVirtualChannelCallback(
            const std::string& device, const std::string& service,
            const std::shared_ptr<IVirCameraChannelCallback>& callback, int32_t* ret) override;
    ndk::ScopedAStatus unregisterVirtualChannelCallback(const std::string& device,
                                                        const std::string& service,
                                                        int32_t* ret) override;
    std::shared_ptr<IVirCameraChannelCallback> callback();
    size_t lastOutVectorSize();

  private:
    std::mutex mMutex;
    std::shared_ptr<IVirCameraChannelCallback> mCallback;
    size_t mLastOutSize = 0;
};

}  // namespace kitbinder
