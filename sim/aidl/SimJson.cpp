#include "aidl/SimJson.h"

#include <memory>

#include <json/reader.h>
#include <json/writer.h>

namespace vircamsim {

SimJson::SimJson(const std::string& text) {
    Json::CharReaderBuilder builder;
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    std::string errors;
    mParsed = reader->parse(text.data(), text.data() + text.size(), &mRoot, &errors) && mRoot.isObject();
    if (!mParsed) {
        mRoot = Json::Value(Json::objectValue);
    }
}

int32_t SimJson::Int(const char* key) const {
    const Json::Value& value = mRoot[key];
    return value.isInt() ? value.asInt() : -1;
}

std::string SimJson::Write(const Json::Value& value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, value);
}

}  // namespace vircamsim
