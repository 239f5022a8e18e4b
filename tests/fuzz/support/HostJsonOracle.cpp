#include "support/JsonOracle.h"

#include "JsonReference.h"

bool ParsedAsJsoncppWould(const std::string& text, int parsed, const Json::Value& root) {
    const JsonReference reference = ParseWithJsoncpp(text);
    if (reference.threw) {
        return parsed == -1 && root.isNull();  // refused, nothing stored
    }
    return parsed == (reference.parsed ? 0 : -1) && JsonDifference(reference.root, root).empty();
}
