// The JSON helpers on arbitrary text. Input: an optional first line naming one more key
// to read, then the JSON text; without a newline the whole input is the text. Parsing
// must match Debian's jsoncpp exactly, and refuse what would make it throw (an abort on
// a device, where jsoncpp has no exceptions).
#include <cstddef>
#include <cstdint>
#include <string>

#include <hostkit/LogCapture.h>
#include <json/value.h>

#include "JsonReference.h"
#include "common/JsonUtil.h"

namespace {

// The keys the library reads from HAL and caller texts.
const char* const LIBRARY_KEYS[] = {"type",        "deviceId", "serviceId", "vectorObj", "cameraCount",
                                    "frameNumber", "streamId", "bufferId",  "seqNum",    "result"};

void ReadEveryType(const Json::Value& root, const std::string& key) {
    (void)JsonUtil::JsonParseString(root, key);
    (void)JsonUtil::JsonParseInt(root, key);
    (void)JsonUtil::JsonParseArrayStr(root, key);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::string::size_type newline = input.find('\n');
    const bool hasKey = newline != std::string::npos;
    const std::string key = hasKey ? input.substr(0, newline) : std::string();
    const std::string text = hasKey ? input.substr(newline + 1) : input;

    const JsonReference reference = ParseWithJsoncpp(text);
    Json::Value root;
    const int parsed = JsonUtil::StringToJsonValue(text, root);
    if (reference.threw) {
        if (parsed != -1 || !root.isNull()) __builtin_trap();  // refused, nothing stored
    } else if (parsed != (reference.parsed ? 0 : -1) || !JsonDifference(reference.root, root).empty()) {
        __builtin_trap();
    }
    for (const char* libraryKey : LIBRARY_KEYS) ReadEveryType(root, libraryKey);
    if (hasKey) ReadEveryType(root, key);

    std::string written;
    if (JsonUtil::JsonValueToString(root, written) != 0) __builtin_trap();
    // What the library writes it must read back.
    if (parsed == 0) {
        Json::Value again;
        if (JsonUtil::StringToJsonValue(written, again) != 0) __builtin_trap();
    }
    hostkit::logs::Clear();
    return 0;
}
