package vendor.zuvek.hardware.camera.vircamera;

import android.hardware.common.NativeHandle;

/** One data item of a command: its JSON description and the graphics buffer it names. */
@VintfStability
parcelable InfoData {
    String data;
    NativeHandle buffer;
}
