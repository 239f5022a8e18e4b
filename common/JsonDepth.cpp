#include "common/JsonDepth.h"

namespace JsonUtil {

namespace {

enum class Scan { CODE, STRING, ESCAPE, LINE_COMMENT, BLOCK_COMMENT };

}  // namespace

bool NestingWithin(const std::string& text, size_t maxDepth) {
    size_t depth = 0;
    Scan state = Scan::CODE;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const char next = i + 1 < text.size() ? text[i + 1] : '\0';
        switch (state) {
            case Scan::CODE:
                if (c == '"') {
                    state = Scan::STRING;
                } else if (c == '/' && next == '/') {
                    state = Scan::LINE_COMMENT;
                    ++i;
                } else if (c == '/' && next == '*') {
                    state = Scan::BLOCK_COMMENT;
                    ++i;
                } else if (c == '[' || c == '{') {
                    if (++depth > maxDepth) return false;
                } else if ((c == ']' || c == '}') && depth > 0) {
                    --depth;
                }
                break;
            case Scan::STRING:
                if (c == '\\') state = Scan::ESCAPE;
                else if (c == '"') state = Scan::CODE;
                break;
            case Scan::ESCAPE:
                state = Scan::STRING;
                break;
            case Scan::LINE_COMMENT:
                if (c == '\n' || c == '\r') state = Scan::CODE;
                break;
            case Scan::BLOCK_COMMENT:
                if (c == '*' && next == '/') {
                    state = Scan::CODE;
                    ++i;
                }
                break;
        }
    }
    return true;
}

}  // namespace JsonUtil
