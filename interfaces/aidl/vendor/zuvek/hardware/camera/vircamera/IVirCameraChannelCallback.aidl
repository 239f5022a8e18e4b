package vendor.zuvek.hardware.camera.vircamera;

import vendor.zuvek.hardware.camera.vircamera.InfoData;
import vendor.zuvek.hardware.camera.vircamera.StatusResult;

/** Implemented by the video source; the HAL sends numbered commands with JSON texts. */
@VintfStability
interface IVirCameraChannelCallback {
    StatusResult processCmdRequest(int cmd, String data);

    StatusResult processInfoData(int cmd, String data, in InfoData[] items);
}
