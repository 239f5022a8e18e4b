#include "FeedOptions.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace vircamfeed {

bool ParseCount(const char* text, uint32_t min, uint32_t max, uint32_t& out) {
    char* end = nullptr;
    errno = 0;
    unsigned long value = std::strtoul(text, &end, 10);
    if (errno != 0 || end == text || *end != '\0' || text[0] == '-' || value < min || value > max) {
        return false;
    }
    out = static_cast<uint32_t>(value);
    return true;
}

const char* FeedOptionsUsage() {
    return "  --frames N           frames to deliver (default 90)\n"
           "  --fps F              frames per second (default 30)\n"
           "  --source S           pattern (a moving test pattern, the default) or FILE.y4m (planar\n"
           "                       4:2:0; looped when shorter than --frames, scaled to the stream)\n"
           "  --transport T        auto (what GetVersion says), hidl or aidl (default auto)\n"
           "  --register [F R P L] register a virtual camera (formats, resolutions, fps, location),\n"
           "                       switch it on before and off after streaming\n"
           "  --help               this text\n";
}

std::string FeedUsage() {
    return std::string("usage: vircam-feed [options]\n"
                       "Feeds frames into the device's virtual camera HAL through libvircamerawrapper.\n") +
           FeedOptionsUsage();
}

bool OptionArgs::Value(const char*& text) {
    if (i + 1 >= argc) {
        error = std::string(argv[i]) + " needs a value";
        return false;
    }
    text = argv[++i];
    return true;
}

OptionMatch OptionArgs::Bad(const char* message) {
    if (error.empty()) {
        error = message;
    }
    return OptionMatch::BAD;
}

OptionMatch ParseFeedOption(FeedOptions& options, int argc, char** argv, int& i, std::string& error) {
    const std::string arg = argv[i];
    const char* text = nullptr;
    OptionArgs args{argc, argv, i, error};
    if (arg == "--frames") {
        if (!args.Value(text) || !ParseCount(text, 1, 1000000, options.frames)) {
            return args.Bad("--frames takes a number from 1 to 1000000");
        }
    } else if (arg == "--fps") {
        if (!args.Value(text) || !ParseCount(text, 1, 240, options.fps)) {
            return args.Bad("--fps takes a number from 1 to 240");
        }
    } else if (arg == "--source") {
        if (!args.Value(text) || *text == '\0') {
            return args.Bad("--source takes pattern or a .y4m file");
        }
        options.source = text;
    } else if (arg == "--transport") {
        if (!args.Value(text)) {
            return OptionMatch::BAD;
        }
        const std::string name = text;
        if (name == "auto") {
            options.transport = Transport::AUTO;
        } else if (name == "hidl") {
            options.transport = Transport::HIDL;
        } else if (name == "aidl") {
            options.transport = Transport::AIDL;
        } else {
            return args.Bad("--transport takes auto, hidl or aidl");
        }
    } else if (arg == "--register") {
        options.registerCamera = true;
        // Four capability strings may follow; they must not look like options.
        if (i + 1 < argc && std::strncmp(argv[i + 1], "--", 2) != 0) {
            for (int k = 0; k < 4; ++k) {
                if (i + 1 >= argc || std::strncmp(argv[i + 1], "--", 2) == 0) {
                    return args.Bad("--register takes four capability strings or none");
                }
                options.capabilities[k] = argv[++i];
            }
        }
    } else {
        return OptionMatch::NOT_MINE;
    }
    return OptionMatch::MINE;
}

bool CheckFeedOptions(const FeedOptions& options, std::string& error) {
    const std::string& source = options.source;
    const std::string suffix = ".y4m";
    if (source != "pattern" &&
        (source.size() <= suffix.size() || source.compare(source.size() - suffix.size(), suffix.size(), suffix) != 0)) {
        error = "--source takes pattern or a .y4m file";
        return false;
    }
    return true;
}

std::optional<FeedOptions> ParseFeedOptions(int argc, char** argv, std::string& error, bool& help) {
    FeedOptions options;
    if (!ParseEachOption(options, argc, argv, ParseFeedOption, error, help)) {
        return std::nullopt;
    }
    if (!help && !CheckFeedOptions(options, error)) {
        return std::nullopt;
    }
    return options;
}

}  // namespace vircamfeed
