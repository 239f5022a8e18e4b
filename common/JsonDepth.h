#pragma once

#include <cstddef>
#include <string>

namespace JsonUtil {

// True when no array or object in `text` nests deeper than `maxDepth` levels. Brackets
// inside strings and comments do not count; unbalanced text is left to the parser.
// A linear scan with no recursion, safe on any input and any stack.
bool NestingWithin(const std::string& text, size_t maxDepth);

}  // namespace JsonUtil
