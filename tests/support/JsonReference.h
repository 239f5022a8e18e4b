#pragma once

#include <json/reader.h>
#include <json/value.h>

#include <exception>
#include <string>

// Debian's jsoncpp is built with exceptions: where a device's jsoncpp aborts, this one
// throws and a test can watch it. The library's JSON parsing is held to what this
// reference does with the same text.

// What a Json::Reader (default features, comments collected) does with `text`.
struct JsonReference {
    bool threw = false;   // the reader gave up with an exception: a device would abort
    bool parsed = false;  // parse() answered true
    Json::Value root;     // what it left in the root, also after a failure
};

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"  // the library reads with Json::Reader
inline JsonReference ParseWithJsoncpp(const std::string& text) {
    JsonReference reference;
    try {
        Json::Reader reader;
        reference.parsed = reader.parse(text, reference.root, true);
    } catch (const std::exception&) {
        reference.threw = true;
    }
    return reference;
}
#pragma GCC diagnostic pop

// "" when `got` equals `want` in type, value, comments and source offsets, member by
// member; else where they first differ ("[0].a: type"). Recursive: for trees the reader
// built. The path is only spelled out on a difference.
inline std::string JsonDifference(const Json::Value& want, const Json::Value& got) {
    if (want.type() != got.type()) return ": type";
    for (Json::CommentPlacement placement :
         {Json::commentBefore, Json::commentAfterOnSameLine, Json::commentAfter}) {
        if (want.getComment(placement) != got.getComment(placement)) return ": comment";
    }
    if (want.getOffsetStart() != got.getOffsetStart() || want.getOffsetLimit() != got.getOffsetLimit()) {
        return ": offsets";
    }
    if (want.isArray()) {
        if (want.size() != got.size()) return ": size";
        for (Json::ArrayIndex i = 0; i < want.size(); ++i) {
            std::string difference = JsonDifference(want[i], got[i]);
            if (!difference.empty()) return "[" + std::to_string(i) + "]" + difference;
        }
        return "";
    }
    if (want.isObject()) {
        const Json::Value::Members names = want.getMemberNames();
        if (names != got.getMemberNames()) return ": names";
        for (const std::string& name : names) {
            std::string difference = JsonDifference(want[name], got[name]);
            if (!difference.empty()) return "." + name + difference;
        }
        return "";
    }
    return want == got ? "" : ": value";
}
