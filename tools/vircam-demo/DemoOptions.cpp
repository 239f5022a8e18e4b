#include "DemoOptions.h"

#include <algorithm>
#include <cstring>

namespace vircamdemo {

namespace {

using vircamfeed::OptionArgs;
using vircamfeed::OptionMatch;
using vircamfeed::ParseCount;

bool ParseSize(const char* text, uint32_t& width, uint32_t& height) {
    const char* x = std::strchr(text, 'x');
    if (x == nullptr) {
        return false;
    }
    std::string w(text, x - text);
    return ParseCount(w.c_str(), 2, 8192, width) && ParseCount(x + 1, 2, 8192, height) && width % 2 == 0 &&
           height % 2 == 0;
}

// "none", or distinct versions from 2 to 5 separated by commas.
bool ParseMappers(const std::string& text, std::vector<int>& versions) {
    versions.clear();
    if (text == "none") {
        return true;
    }
    size_t start = 0;
    while (start <= text.size()) {
        const size_t comma = std::min(text.find(',', start), text.size());
        const std::string item = text.substr(start, comma - start);
        if (item.size() != 1 || item[0] < '2' || item[0] > '5') {
            return false;
        }
        const int version = item[0] - '0';
        if (std::find(versions.begin(), versions.end(), version) != versions.end()) {
            return false;
        }
        versions.push_back(version);
        start = comma + 1;
    }
    return !versions.empty();
}

// One demo option at argv[i]; the feed's options are tried after these.
OptionMatch ParseDemoOption(DemoOptions& options, int argc, char** argv, int& i, std::string& error) {
    const std::string arg = argv[i];
    const char* text = nullptr;
    OptionArgs args{argc, argv, i, error};
    if (arg == "--size") {
        if (!args.Value(text) || !ParseSize(text, options.width, options.height)) {
            return args.Bad("--size takes WxH with even numbers from 2 to 8192");
        }
    } else if (arg == "--out") {
        if (!args.Value(text) || *text == '\0') {
            return args.Bad("--out takes a folder");
        }
        options.outDir = text;
    } else if (arg == "--kill-hal-after") {
        uint32_t frames = 0;
        if (!args.Value(text) || !ParseCount(text, 1, 1000000, frames)) {
            return args.Bad("--kill-hal-after takes a number from 1 to 1000000");
        }
        options.killHalAfter = frames;
    } else if (arg == "--mappers") {
        if (!args.Value(text) || !ParseMappers(text, options.mappers)) {
            return args.Bad("--mappers takes versions from 2, 3, 4, 5 separated by commas, or none");
        }
    } else {
        return vircamfeed::ParseFeedOption(options, argc, argv, i, error);
    }
    return OptionMatch::MINE;
}

}  // namespace

std::string DemoUsage() {
    return std::string("usage: vircam-demo [options]\n"
                       "vircam-feed's video service with a simulated virtual camera HAL in the same process.\n"
                       "  --size WxH           frame size, even numbers (default 1920x1080)\n"
                       "  --out DIR            output folder (default out/demo)\n"
                       "  --kill-hal-after N   kill the HAL after N frames and restart it; the feed registers\n"
                       "                       again and the camera streams the rest\n"
                       "  --mappers LIST       graphics mappers the device offers: versions from 2, 3, 4, 5\n"
                       "                       separated by commas, or none (default 4)\n") +
           vircamfeed::FeedOptionsUsage();
}

std::optional<DemoOptions> ParseDemoOptions(int argc, char** argv, std::string& error, bool& help) {
    DemoOptions options;
    if (!vircamfeed::ParseEachOption(options, argc, argv, ParseDemoOption, error, help)) {
        return std::nullopt;
    }
    if (help) {
        return options;
    }
    if (!vircamfeed::CheckFeedOptions(options, error)) {
        return std::nullopt;
    }
    if (options.killHalAfter && *options.killHalAfter >= options.frames) {
        error = "--kill-hal-after must be below --frames";
        return std::nullopt;
    }
    return options;
}

}  // namespace vircamdemo
