// Logs from inside a shared library, as libvircamerawrapper does.
#include <android/log.h>

extern "C" __attribute__((visibility("default"))) void LogProbeWrite(int count) {
    __android_log_print(ANDROID_LOG_INFO, "PROBE", "probe line %d", count);
    __android_log_write(ANDROID_LOG_WARN, nullptr, "probe without tag");
}
