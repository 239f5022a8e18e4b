#include "common/JsonUtil.h"

#include <android/log.h>

#include <json/reader.h>
#include <json/writer.h>

#include <cstddef>
#include <vector>

#include "common/JsonDepth.h"

namespace JsonUtil {

namespace {

constexpr const char* TAG_WRAPPERCB = "VIRCAMERA_AIDL_WRAPPERCB";
constexpr const char* TAG_MANAGER = "VIRCAMERA_MANAGER";
constexpr int INT_DEFAULT = -999999;

// Finds member `key` of `root` under the shared rules: logs and returns null when it
// is missing (also for a root that is not an object) or null.
const Json::Value* FindMember(const char* tag, const char* function, const Json::Value& root,
                              const std::string& key) {
    // Member access on anything but an object is fatal in jsoncpp.
    const Json::Value* member = root.isObject() ? root.find(key.data(), key.data() + key.size())
                                                : nullptr;
    if (member == nullptr) {
        __android_log_print(ANDROID_LOG_WARN, tag, "%s convert failed. because no member %s",
                            function, key.c_str());
        return nullptr;
    }
    if (member->isNull()) {
        __android_log_print(ANDROID_LOG_WARN, tag, "%s convert failed. because member %s is null",
                            function, key.c_str());
        return nullptr;
    }
    return member;
}

void LogTypeError(const char* tag, const char* function, const std::string& key,
                  const Json::Value& member) {
    __android_log_print(ANDROID_LOG_WARN, tag, "%s convert failed. because member %s type err %d",
                        function, key.c_str(), static_cast<int>(member.type()));
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"  // Reader/FastWriter: the library's format

// True when Json::Reader would exceed its stack limit on `text`: an exception where
// jsoncpp has them, an abort where it has not. Everything else it may read.
bool ExceedsReaderLimit(const std::string& text) {
    const size_t cut = ReaderLimitCut(text);
    if (cut == std::string::npos) return false;
    Json::Reader reader;
    Json::Value partial;
    (void)reader.parse(text.data(), text.data() + cut, partial, true);
    const std::vector<Json::Reader::StructuredError> errors = reader.getStructuredErrors();
    // The prefix ends inside open containers, so its parse always fails; failing only at
    // the prefix's end means the reader got there and would go on past its limit.
    return errors.empty() || errors.front().offset_start >= static_cast<ptrdiff_t>(cut);
}

}  // namespace

int StringToJsonValue(const std::string& text, Json::Value& root) {
    bool parsed = false;
    if (!ExceedsReaderLimit(text)) {
        Json::Reader reader;
        parsed = reader.parse(text, root, true);
    }
    if (!parsed) {
        __android_log_print(ANDROID_LOG_WARN, TAG_WRAPPERCB, "%s convert %s failed.",
                            "StringToJsonValue", text.c_str());
        return -1;
    }
    return 0;
}

// FastWriter throws for no value; its recursion is as deep as the value, and values
// parsed here are at most READER_STACK_LIMIT deep.
int JsonValueToString(const Json::Value& value, std::string& text) {
    Json::FastWriter writer;
    text = writer.write(value);
    if (!text.empty()) text.pop_back();  // the writer's newline
    return 0;
}

#pragma GCC diagnostic pop

std::string JsonParseString(const Json::Value& root, const std::string& key) {
    const char* function = "JsonParseString";
    const Json::Value* member = FindMember(TAG_MANAGER, function, root, key);
    if (member == nullptr) return std::string();
    if (!member->isString()) {
        LogTypeError(TAG_MANAGER, function, key, *member);
        return std::string();
    }
    return member->asString();
}

int JsonParseInt(const Json::Value& root, const std::string& key) {
    const char* function = "JsonParseInt";
    const Json::Value* member = FindMember(TAG_WRAPPERCB, function, root, key);
    if (member == nullptr) return INT_DEFAULT;
    // isInt() also rejects numbers outside 32 bits, which asInt() would abort on.
    if (!member->isInt()) {
        LogTypeError(TAG_WRAPPERCB, function, key, *member);
        return INT_DEFAULT;
    }
    return member->asInt();
}

std::vector<std::string> JsonParseArrayStr(const Json::Value& root, const std::string& key) {
    const char* function = "JsonParseArrayStr";
    std::vector<std::string> strings;
    const Json::Value* member = FindMember(TAG_MANAGER, function, root, key);
    if (member == nullptr) return strings;
    if (!member->isArray()) {
        LogTypeError(TAG_MANAGER, function, key, *member);
        return strings;
    }
    for (Json::ArrayIndex i = 0; i < member->size(); ++i) {
        const Json::Value& element = (*member)[i];
        if (!element.isString()) {
            __android_log_print(ANDROID_LOG_WARN, TAG_MANAGER,
                                "%s convert failed. because arr member type err %d", function,
                                static_cast<int>(element.type()));
            continue;
        }
        strings.push_back(element.asString());
    }
    return strings;
}

}  // namespace JsonUtil
