#include "DemoOptions.h"

#include <algorithm>
#include <cstring>

namespace vircamdemo {

namespace {

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
    auto value = [&] {
        if (i + 1 >= argc) {
            error = arg + " needs a value";
            return false;
        }
        text = argv[++i];
        return true;
    };
    auto bad = [&](const char* message) {
        if (error.empty()) {
            error = message;
        }
        return OptionMatch::BAD;
    };
    if (arg == "--size") {
        if (!value() || !ParseSize(text, options.width, options.height)) {
            return bad("--size takes WxH with even numbers from 2 to 8192");
        }
    } else if (arg == "--out") {
        if (!value() || *text == '\0') {
            return bad("--out takes a folder");
        }
        options.outDir = text;
    } else if (arg == "--kill-hal-after") {
        uint32_t frames = 0;
        if (!value() || !ParseCount(text, 1, 1000000, frames)) {
            return bad("--kill-hal-after takes a number from 1 to 1000000");
        }
        options.killHalAfter = frames;
    } else if (arg == "--mappers") {
        if (!value() || !ParseMappers(text, options.mappers)) {
            return bad("--mappers takes versions from 2, 3, 4, 5 separated by commas, or none");
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
                       "  --kill-hal-after N   kill the HAL after N frames, then re-register and go on\n"
                       "  --mappers LIST       graphics mappers the device offers: versions from 2, 3, 4, 5\n"
                       "                       separated by commas, or none (default 4)\n") +
           vircamfeed::FeedOptionsUsage();
}

std::optional<DemoOptions> ParseDemoOptions(int argc, char** argv, std::string& error, bool& help) {
    DemoOptions options;
    help = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--help" || arg == "-h") {
            help = true;
            return options;
        }
        switch (ParseDemoOption(options, argc, argv, i, error)) {
            case OptionMatch::MINE:
                break;
            case OptionMatch::NOT_MINE:
                error = "unknown option: " + arg;
                return std::nullopt;
            case OptionMatch::BAD:
                return std::nullopt;
        }
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
