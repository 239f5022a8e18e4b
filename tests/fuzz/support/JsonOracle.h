#pragma once

#include <string>

#include <json/value.h>

// Whether the library's parse of `text` (its result and the root it left) is what jsoncpp's
// reader does with the same text, refusing what would make jsoncpp give up. Only the host's
// jsoncpp, built with exceptions, can answer; on a phone the answer is always yes and the
// oracle is that nothing aborted.
bool ParsedAsJsoncppWould(const std::string& text, int parsed, const Json::Value& root);
