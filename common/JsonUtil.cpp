#include "common/JsonUtil.h"

#include <android/log.h>

#include <json/reader.h>
#include <json/writer.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
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
        // One reader per thread: each parse starts from a clean state, and the reader's
        // own stacks are allocated once instead of for every text of the frame path.
        thread_local Json::Reader reader;
        parsed = reader.parse(text.data(), text.data() + text.size(), root, true);
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

namespace {

// A cursor over a JSON text with the reader's idea of white space.
class FlatScanner {
public:
    explicit FlatScanner(const std::string& text) : mNext(text.data()), mEnd(text.data() + text.size()) {}

    bool AtEnd() const { return mNext == mEnd; }
    void SkipSpaces() {
        while (mNext != mEnd && (*mNext == ' ' || *mNext == '\t' || *mNext == '\r' || *mNext == '\n')) ++mNext;
    }
    bool Take(char c) {
        if (mNext == mEnd || *mNext != c) return false;
        ++mNext;
        return true;
    }
    // A member name without escapes (anything else is left to the reader).
    bool Name(const char*& name, size_t& length) {
        if (!Take('"')) return false;
        name = mNext;
        while (mNext != mEnd && *mNext != '"' && *mNext != '\\') ++mNext;
        length = static_cast<size_t>(mNext - name);
        return Take('"');
    }
    // -?digits without leading zeros, within 32 bits: the literals the reader turns into
    // an int for certain. (A fraction or an exponent after them is refused by the caller,
    // which accepts only white space, ',' or '}' there.)
    bool Int(int& value) {
        const bool negative = Take('-');
        const char* digits = mNext;
        while (mNext != mEnd && *mNext >= '0' && *mNext <= '9') ++mNext;
        const size_t count = static_cast<size_t>(mNext - digits);
        if (count == 0 || count > 10 || (count > 1 && *digits == '0')) return false;
        int64_t magnitude = 0;
        for (const char* d = digits; d != mNext; ++d) magnitude = magnitude * 10 + (*d - '0');
        const int64_t signedValue = negative ? -magnitude : magnitude;
        if (signedValue < INT32_MIN || signedValue > INT32_MAX) return false;
        value = static_cast<int>(signedValue);
        return true;
    }

private:
    const char* mNext;
    const char* const mEnd;
};

constexpr size_t MAX_INT_MEMBERS = 8;

}  // namespace

bool ReadIntMembers(const std::string& text, const std::string* const* keys, size_t count, int* values) {
    if (count > MAX_INT_MEMBERS) return false;
    bool found[MAX_INT_MEMBERS] = {};
    FlatScanner scanner(text);
    scanner.SkipSpaces();
    if (!scanner.Take('{')) return false;
    scanner.SkipSpaces();
    if (!scanner.Take('}')) {
        for (;;) {
            const char* name = nullptr;
            size_t length = 0;
            int value = 0;
            if (!scanner.Name(name, length)) return false;
            scanner.SkipSpaces();
            if (!scanner.Take(':')) return false;
            scanner.SkipSpaces();
            if (!scanner.Int(value)) return false;
            for (size_t k = 0; k < count; ++k) {
                if (keys[k]->size() == length && keys[k]->compare(0, length, name, length) == 0) {
                    if (found[k]) return false;  // a repeated member: the reader keeps the last
                    found[k] = true;
                    values[k] = value;
                }
            }
            scanner.SkipSpaces();
            if (scanner.Take('}')) break;
            if (!scanner.Take(',')) return false;
            scanner.SkipSpaces();
        }
    }
    scanner.SkipSpaces();
    if (!scanner.AtEnd()) return false;
    return std::all_of(found, found + count, [](bool f) { return f; });
}

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
