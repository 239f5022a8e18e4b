package android.hardware.common;

/** The platform's native handle type: file descriptors and integers (import only). */
@VintfStability
parcelable NativeHandle {
    ParcelFileDescriptor[] fds;
    int[] ints;
}
