// The JSON helpers on arbitrary text. Input: an optional first line naming one more key
// to read, then the JSON text; without a newline the whole input is the text. On the host,
// parsing must match Debian's jsoncpp exactly and refuse what would make it throw; on a
// phone, where jsoncpp aborts instead of throwing, any such text ends the run.
#include <cstddef>
#include <cstdint>
#include <string>

#include <json/value.h>

#include "common/JsonUtil.h"
#include "support/FuzzLogs.h"
#include "support/JsonOracle.h"

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

    Json::Value root;
    const int parsed = JsonUtil::StringToJsonValue(text, root);
    if (!ParsedAsJsoncppWould(text, parsed, root)) __builtin_trap();
    for (const char* libraryKey : LIBRARY_KEYS) ReadEveryType(root, libraryKey);
    if (hasKey) ReadEveryType(root, key);

    std::string written;
    if (JsonUtil::JsonValueToString(root, written) != 0) __builtin_trap();
    // What the library writes it must read back.
    if (parsed == 0) {
        Json::Value again;
        if (JsonUtil::StringToJsonValue(written, again) != 0) __builtin_trap();
    }
    ForgetCapturedLogs();
    return 0;
}
