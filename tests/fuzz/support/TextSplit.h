#pragma once

#include <string>
#include <vector>

// Splits a text seed at every `separator`, keeping empty parts: "a\n\nb" gives three.
inline std::vector<std::string> SplitKeepingEmpty(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::string::size_type start = 0;
    while (true) {
        const std::string::size_type end = text.find(separator, start);
        if (end == std::string::npos) {
            parts.push_back(text.substr(start));
            return parts;
        }
        parts.push_back(text.substr(start, end - start));
        start = end + 1;
    }
}
