#include "common/AnonyString.h"

namespace android {

std::string VideoGetAnonyString(const std::string& text) {
    const size_t length = text.size();
    if (length == 0) return std::string();
    if (length == 1) return "*";
    if (length == 2) return text.substr(0, 1) + "*";
    return text.front() + std::string(length - 2, '*') + text.back();
}

std::string AnonySessionId(int64_t sessionId) {
    return VideoGetAnonyString(std::to_string(sessionId));
}

}  // namespace android
