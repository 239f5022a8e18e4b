#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <json/value.h>

// JSON helpers of the whole library. None throws or aborts: every failure is one WARN
// line and the documented failure value. Any thread.
namespace JsonUtil {

// Parses `text` into `root` with Json::Reader; 0 on success, -1 on failure. Accepts
// exactly what the reader accepts (up to 1,000 levels of nesting) with the same tree;
// on a parse error `root` holds what the reader left, possibly nothing. Text that would
// take the reader past its nesting limit (an abort where jsoncpp has no exceptions) is
// refused before anything is stored in `root`. Linear time; besides the reader's own
// recursion (at most 1,000 levels) no recursion.
int StringToJsonValue(const std::string& text, Json::Value& root);

// The int members `keys` of `text` into `values`, without building a tree: true when
// `text` is one flat JSON object whose members are all integer literals in 32 bits and
// each of `keys` is among them exactly once. The values are then exactly what
// StringToJsonValue and JsonParseInt read, and neither would have logged. False in any
// other case, with `values` unspecified: the caller takes that general path instead.
bool ReadIntMembers(const std::string& text, const std::string* const* keys, size_t count, int* values);

template <size_t N>
bool ReadIntMembers(const std::string& text, const std::string* const (&keys)[N], int (&values)[N]) {
    return ReadIntMembers(text, keys, N, values);
}

// Compact text of `value` without the writer's trailing newline ("null", "[]", ...).
// Always 0. The writer recurses once per level: fine for any tree parsed above.
int JsonValueToString(const Json::Value& value, std::string& text);

// The string member `key` of object `root`; "" when missing, null or not a string.
std::string JsonParseString(const Json::Value& root, const std::string& key);

// The 32-bit int member `key`; -999999 when missing, null or not an int in range.
int JsonParseInt(const Json::Value& root, const std::string& key);

// The string elements of array member `key`, in order, skipping other elements; empty
// when the member is missing, null or not an array.
std::vector<std::string> JsonParseArrayStr(const Json::Value& root, const std::string& key);

}  // namespace JsonUtil
