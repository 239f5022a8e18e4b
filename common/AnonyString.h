#pragma once

#include <cstdint>
#include <string>

namespace android {

// Masks a device or service string for log lines: first and last byte kept, every
// byte between them "*" ("" -> "", "a" -> "*", "ab" -> "a*", "camera01" -> "c******1").
// Works on bytes, so a multi-byte character at either end is cut.
std::string VideoGetAnonyString(const std::string& text);

// The same mask over the decimal text of a session id.
std::string AnonySessionId(int64_t sessionId);

}  // namespace android
