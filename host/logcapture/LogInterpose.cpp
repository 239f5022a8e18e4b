// Definitions of liblog's write functions that take precedence over liblog's own in
// any executable linking this library first. Behaviour kept from liblog: returns 1,
// keeps errno, accepts a null tag, cuts the text to 1023 bytes.
#include <android/log.h>

#include <dlfcn.h>
#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <optional>
#include <string>

#include "LogStore.h"

namespace {

constexpr size_t MAX_TEXT_BYTES = 1023;

using WriteFn = int (*)(int, const char*, const char*);

// The real liblog writer when HOSTKIT_LOG_PRINT=1, else null.
WriteFn RealWriter() {
    static const WriteFn writer = []() -> WriteFn {
        const char* print = getenv("HOSTKIT_LOG_PRINT");
        if (print == nullptr || strcmp(print, "1") != 0) return nullptr;
        return reinterpret_cast<WriteFn>(dlsym(RTLD_NEXT, "__android_log_write"));
    }();
    return writer;
}

int Record(int prio, const char* tag, const char* text) {
    std::string line(text, strnlen(text, MAX_TEXT_BYTES));
    hostkit::logs::LogLine entry{prio, tag ? std::optional<std::string>(tag) : std::nullopt,
                                 line};
    hostkit::logs::LogStore::Get().Add(std::move(entry));
    if (WriteFn writer = RealWriter()) writer(prio, tag, line.c_str());
    return 1;
}

int FormatAndRecord(int prio, const char* tag, const char* fmt, va_list ap) {
    char buffer[MAX_TEXT_BYTES + 1];
    vsnprintf(buffer, sizeof(buffer), fmt, ap);
    return Record(prio, tag, buffer);
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) int __android_log_write(int prio, const char* tag,
                                                               const char* text) {
    if (text == nullptr) return -EINVAL;
    const int savedErrno = errno;
    const int result = Record(prio, tag, text);
    errno = savedErrno;
    return result;
}

__attribute__((visibility("default"))) int __android_log_vprint(int prio, const char* tag,
                                                                const char* fmt, va_list ap) {
    if (fmt == nullptr) return -EINVAL;
    const int savedErrno = errno;
    const int result = FormatAndRecord(prio, tag, fmt, ap);
    errno = savedErrno;
    return result;
}

__attribute__((visibility("default"))) int __android_log_print(int prio, const char* tag,
                                                               const char* fmt, ...) {
    if (fmt == nullptr) return -EINVAL;
    const int savedErrno = errno;
    va_list ap;
    va_start(ap, fmt);
    const int result = FormatAndRecord(prio, tag, fmt, ap);
    va_end(ap);
    errno = savedErrno;
    return result;
}

}  // extern "C"
