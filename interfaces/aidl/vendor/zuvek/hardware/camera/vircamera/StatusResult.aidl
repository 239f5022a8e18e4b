package vendor.zuvek.hardware.camera.vircamera;

/** Reply of a channel command: a status code (0 success) and a reply text. */
@VintfStability
parcelable StatusResult {
    int status;
    String data;
}
