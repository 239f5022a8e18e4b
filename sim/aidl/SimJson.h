#pragma once

#include <cstdint>
#include <string>

#include <json/value.h>

namespace vircamsim {

// Reads the simulated HAL's JSON texts; a text that does not parse reads as an empty object.
class SimJson {
public:
    explicit SimJson(const std::string& text);
    bool Parsed() const { return mParsed; }
    // The integer member `key`, or -1 when it is missing or not an integer.
    int32_t Int(const char* key) const;
    const Json::Value& Root() const { return mRoot; }
    static std::string Write(const Json::Value& value);

private:
    Json::Value mRoot;
    bool mParsed = false;
};

}  // namespace vircamsim
