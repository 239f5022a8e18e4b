// The benchmark drops the library's log lines: on the host liblog prints them to stderr,
// which would measure the terminal rather than the library.
#include <cstdarg>

extern "C" {

int __android_log_print(int, const char*, const char*, ...) {
    return 1;
}

int __android_log_write(int, const char*, const char*) {
    return 1;
}

int __android_log_vprint(int, const char*, const char*, va_list) {
    return 1;
}

}  // extern "C"
