#pragma once

#include <list>
#include <string>

#include <android-base/no_destructor.h>

#include "IVirCameraWrapper.h"

namespace android {

// The JSON command front of SendRequest: checks the HAL service, starts and finishes
// virtual cameras (registration or stream switching) and lists their ids, over the
// client of the calling wrapper's transport. Stateless; any thread.
class VirtualCameraManager {
public:
    static constexpr int CMD_IS_HAL_SVC_RUNNING = 1115016;
    static constexpr int CMD_START_VIRTUAL_CAMERA = 1115017;
    static constexpr int CMD_FINISH_VIRTUAL_CAMERA = 1115018;
    static constexpr int CMD_GET_VIRTUAL_CAMERA_ID_LIST = 1115019;
    // The four codes, ascending: what the wrappers pass on to the manager.
    static const std::list<int> COMMANDS;

    static VirtualCameraManager& Get();

    // type: 2 for the AIDL wrapper, anything else for HIDL. The answer is in the result
    // text ("0"/"-1", a client code in decimal, or an id list); the code stays 0.
    OptResult HandleRequest(int type, int cmd, int uniqueID, const std::string& data);

    void IsHalSvcRunning(int type, std::string data, OptResult& result);
    void StartVirtualCamera(int type, std::string data, OptResult& result);
    void FinishVirtualCamera(int type, std::string data, OptResult& result);
    void GetVirtualCameraIdList(int type, OptResult& result);

private:
    friend class base::NoDestructor<VirtualCameraManager>;
    VirtualCameraManager() = default;
};

}  // namespace android
