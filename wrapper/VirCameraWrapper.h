#pragma once

#include <list>
#include <map>
#include <memory>

#include <android-base/thread_annotations.h>
#include <utils/Mutex.h>

#include "IVirCameraWrapper.h"
#include "common/Turn.h"
#include "wrapper/HidlService.h"

namespace android {

// The HIDL wrapper handed to the caller: one HAL connection per registration, keyed by
// the registration's uniqueID, and the manager commands of SendRequest. Connections are
// called through a copied shared_ptr with the lock released, so the HAL can be answered
// from inside a callback and an unregistration cannot destroy a connection in use. The
// lock guards only the map: registrations take turns without it, so no call waits for a
// registration that waits for the HAL.
class VirCameraWrapper : public IVirCameraWrapper {
public:
    VirCameraWrapper();
    ~VirCameraWrapper() override;

    int RegisterCallback(const std::string& device, const std::string& service, VirCameraMode mode,
                         const std::weak_ptr<IVirCameraWrapperCallback>& callback) override
        EXCLUDES(mRegistrationTurn, mMutex);
    int UnRegisterCallback(const std::string& device, const std::string& service) override
        EXCLUDES(mRegistrationTurn, mMutex);
    int NotifyOpenControlSessionResult(int uniqueID, int result) override EXCLUDES(mMutex);
    int NotifyConfigStreamResult(int uniqueID, int result) override EXCLUDES(mMutex);
    int NotifyOpenDataSessionResult(int uniqueID, int result) override EXCLUDES(mMutex);
    int Notify(int uniqueID, const std::string& message) override EXCLUDES(mMutex);
    int OnVirImageBufferDone(int uniqueID, const VirCameraImageResult& result) override EXCLUDES(mMutex);
    void* LockVideoBuffer(int uniqueID, int streamId, unsigned long bufferId, void** handleData) override
        EXCLUDES(mMutex);
    int UnLockVideoBuffer(int uniqueID, int streamId, unsigned long bufferId, int& releaseFence) override
        EXCLUDES(mMutex);
    OptResult SendRequest(int cmd, const int& uniqueID, const std::string& data) override;

private:
    std::shared_ptr<HidlService> FindService(int uniqueID) EXCLUDES(mMutex);
    // Puts `connection` under `key`; returns the connection it replaced, if any.
    std::shared_ptr<HidlService> Store(int key, std::shared_ptr<HidlService> connection) EXCLUDES(mMutex);

    // RegisterCallback and UnRegisterCallback of this wrapper run one at a time.
    Turn mRegistrationTurn;
    Mutex mMutex;  // guards the connection map, only for lookups and updates
    std::map<int, std::shared_ptr<HidlService>> mServiceMap GUARDED_BY(mMutex);  // uniqueID -> connection
    const std::list<int> mManagerCmds;
};

}  // namespace android
