#include "DemoOptions.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace vircamdemo {

namespace {

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

}  // namespace

const char* DemoUsage() {
    return "usage: vircam-demo [options]\n"
           "  --frames N           frames to stream (default 90)\n"
           "  --size WxH           frame size, even numbers (default 1920x1080)\n"
           "  --fps F              request rate (default 30)\n"
           "  --out DIR            output folder (default out/demo)\n"
           "  --kill-hal-after N   kill the HAL after N frames, then re-register and go on\n"
           "  --transport T        auto (what GetVersion says), hidl or aidl (default auto)\n"
           "  --mappers LIST       graphics mappers the device offers: versions from 2, 3, 4, 5\n"
           "                       separated by commas, or none (default 4)\n"
           "  --register [F R P L] register a virtual camera (formats, resolutions, fps, location),\n"
           "                       switch it on before and off after streaming\n"
           "  --help               this text\n";
}

std::optional<DemoOptions> ParseDemoOptions(int argc, char** argv, std::string& error, bool& help) {
    DemoOptions options;
    help = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        auto value = [&](const char** out) {
            if (i + 1 >= argc) {
                error = arg + " needs a value";
                return false;
            }
            *out = argv[++i];
            return true;
        };
        const char* text = nullptr;
        if (arg == "--help" || arg == "-h") {
            help = true;
            return options;
        } else if (arg == "--frames") {
            if (!value(&text) || !ParseCount(text, 1, 1000000, options.frames)) {
                error = error.empty() ? "--frames takes a number from 1 to 1000000" : error;
                return std::nullopt;
            }
        } else if (arg == "--size") {
            if (!value(&text) || !ParseSize(text, options.width, options.height)) {
                error = error.empty() ? "--size takes WxH with even numbers from 2 to 8192" : error;
                return std::nullopt;
            }
        } else if (arg == "--fps") {
            if (!value(&text) || !ParseCount(text, 1, 240, options.fps)) {
                error = error.empty() ? "--fps takes a number from 1 to 240" : error;
                return std::nullopt;
            }
        } else if (arg == "--out") {
            if (!value(&text) || *text == '\0') {
                error = error.empty() ? "--out takes a folder" : error;
                return std::nullopt;
            }
            options.outDir = text;
        } else if (arg == "--kill-hal-after") {
            uint32_t frames = 0;
            if (!value(&text) || !ParseCount(text, 1, 1000000, frames)) {
                error = error.empty() ? "--kill-hal-after takes a number from 1 to 1000000" : error;
                return std::nullopt;
            }
            options.killHalAfter = frames;
        } else if (arg == "--transport") {
            if (!value(&text)) {
                return std::nullopt;
            }
            const std::string name = text;
            if (name == "auto") {
                options.transport = Transport::AUTO;
            } else if (name == "hidl") {
                options.transport = Transport::HIDL;
            } else if (name == "aidl") {
                options.transport = Transport::AIDL;
            } else {
                error = "--transport takes auto, hidl or aidl";
                return std::nullopt;
            }
        } else if (arg == "--mappers") {
            if (!value(&text) || !ParseMappers(text, options.mappers)) {
                error = error.empty() ? "--mappers takes versions from 2, 3, 4, 5 separated by commas, or none" : error;
                return std::nullopt;
            }
        } else if (arg == "--register") {
            options.registerCamera = true;
            // Four capability strings may follow; they must not look like options.
            if (i + 4 < argc + 0 && std::strncmp(argv[i + 1], "--", 2) != 0) {
                for (int k = 0; k < 4; ++k) {
                    if (std::strncmp(argv[i + 1], "--", 2) == 0) {
                        error = "--register takes four capability strings or none";
                        return std::nullopt;
                    }
                    options.capabilities[k] = argv[++i];
                }
            }
        } else {
            error = "unknown option: " + arg;
            return std::nullopt;
        }
    }
    if (options.killHalAfter && *options.killHalAfter >= options.frames) {
        error = "--kill-hal-after must be below --frames";
        return std::nullopt;
    }
    return options;
}

}  // namespace vircamdemo
