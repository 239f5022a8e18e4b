#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "FeedOptions.h"

namespace vircamdemo {

using vircamfeed::Transport;

// The feed's options plus those of the simulated device the demo runs.
struct DemoOptions : vircamfeed::FeedOptions {
    uint32_t width = 1920;
    uint32_t height = 1080;
    std::string outDir = "out/demo";
    std::optional<uint32_t> killHalAfter;
    // --mappers: the graphics mapper versions the simulated device offers (2, 3, 4, 5).
    std::vector<int> mappers = {4};
};

// Parses argv. On a bad option returns nothing and puts the message in `error`; --help
// sets `help`.
std::optional<DemoOptions> ParseDemoOptions(int argc, char** argv, std::string& error, bool& help);
std::string DemoUsage();

}  // namespace vircamdemo
