package vendor.zuvek.hardware.camera.vircamera;

import vendor.zuvek.hardware.camera.vircamera.IVirCameraChannelCallback;
import vendor.zuvek.hardware.camera.vircamera.InfoData;
import vendor.zuvek.hardware.camera.vircamera.StatusResult;

/**
 * The virtual camera HAL channel. Instances: "virtualcamera.register" and
 * "virtualcamera.streamchange".
 */
@VintfStability
interface IVirCameraChannel {
    StatusResult doCmdRequest(int cmd, String data);

    StatusResult processCmdRequest(String data, out InfoData[] infos);

    int registerVirtualChannelCallback(String device, String service,
            IVirCameraChannelCallback callback);

    int unregisterVirtualChannelCallback(String device, String service);
}
