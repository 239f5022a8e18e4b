#pragma once

#include <list>

#include "IVirCameraWrapper.h"

namespace android {

// The AIDL wrapper handed to the caller: one HAL connection per service mode, shared by
// every user of that mode. The user and connection maps belong to the process-wide AIDL
// client, so all AIDL wrappers and the client's death handling see the same maps. The
// registrations of all AIDL wrappers take turns process-wide; requests and data never
// wait for a registration.
class AidlVirCameraWrapper : public IVirCameraWrapperV2 {
public:
    AidlVirCameraWrapper();
    ~AidlVirCameraWrapper() override;

    int RegisterCallback(const std::string& device, const std::string& service, IVirCameraWrapper::VirCameraMode mode,
                         const std::weak_ptr<IVirCameraWrapperCallbackV2>& callback) override;
    int UnRegisterCallback(const std::string& device, const std::string& service) override;
    OptResult SendRequest(int cmd, const int& uniqueID, const std::string& data) override;
    OptResult SendData(int cmd, const int& uniqueID, const std::string& data,
                       const std::vector<CommonData>& items) override;

    // The highest mode with a user whose identifiers sum to uniqueID, or -1.
    int GetServiceMode(int uniqueID);

private:
    const std::list<int> mManagerCmds;
};

}  // namespace android
