#pragma once

#include <cstddef>
#include <string>

namespace JsonUtil {

// Json::Reader (jsoncpp 1.9) descends once per array or object and gives up with an
// exception - an abort where jsoncpp is built without exceptions - when it starts
// reading a value with more than this many values open, the root included. A value may
// therefore sit inside at most 999 arrays or objects; 1,000 levels of containers parse
// as long as the innermost one is empty.
constexpr size_t READER_STACK_LIMIT = 1000;

// Follows `text` token by token the way a Json::Reader with its default features does
// (comments allowed, content after the root ignored), without recursion and in linear
// time. Returns std::string::npos when the reader cannot exceed its stack limit on
// `text`. Otherwise returns the length of a prefix of `text` that the reader can parse
// without exceeding it: the reader exceeds the limit on the whole text exactly when its
// parse of that prefix fails with its first error at the prefix's end; a first error
// before the end is one that stops it on the whole text as well, before the limit.
size_t ReaderLimitCut(const std::string& text);

}  // namespace JsonUtil
