#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vircamfeed {

enum class Transport { AUTO, HIDL, AIDL };

// What vircam-feed is told on its command line. vircam-demo extends it with the options of
// its simulated device.
struct FeedOptions {
    uint32_t frames = 90;
    uint32_t fps = 30;
    Transport transport = Transport::AUTO;
    // "pattern", or the path of a Y4M file (planar 4:2:0) whose frames are fed in a loop.
    std::string source = "pattern";
    // --register: capability strings (formats, resolutions, fps, location) of a virtual
    // camera to register and switch on before streaming.
    bool registerCamera = false;
    std::vector<std::string> capabilities = {"17", "1080,1920;720,1280", "15000,30000", "front"};
};

// One option at argv[i], for a parser that knows more options than the feed: MINE when it
// was a feed option (i moves past its values), NOT_MINE when the caller should try its own,
// BAD with `error` set.
enum class OptionMatch { MINE, NOT_MINE, BAD };

// The option at argv[i] and the values that follow it.
struct OptionArgs {
    int argc;
    char** argv;
    int& i;
    std::string& error;

    // Moves to the option's value; false, with the error set, when there is none.
    bool Value(const char*& text);
    // BAD, with `message` unless a more precise error is set already.
    OptionMatch Bad(const char* message);
};

// Reads argv[1..] with `parseOne` (ParseFeedOption or one that falls back on it). False with
// `error` set for a bad or unknown option; --help sets `help` and stops.
template <class Options, class ParseOne>
bool ParseEachOption(Options& options, int argc, char** argv, ParseOne parseOne, std::string& error, bool& help) {
    help = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--help" || arg == "-h") {
            help = true;
            return true;
        }
        switch (parseOne(options, argc, argv, i, error)) {
            case OptionMatch::MINE:
                break;
            case OptionMatch::NOT_MINE:
                error = "unknown option: " + arg;
                return false;
            case OptionMatch::BAD:
                return false;
        }
    }
    return true;
}
OptionMatch ParseFeedOption(FeedOptions& options, int argc, char** argv, int& i, std::string& error);

// Checks across options, after every option was read; false with `error` set.
bool CheckFeedOptions(const FeedOptions& options, std::string& error);

// Parses vircam-feed's argv. On a bad option returns nothing and puts the message in
// `error`; --help sets `help`.
std::optional<FeedOptions> ParseFeedOptions(int argc, char** argv, std::string& error, bool& help);

// The lines that describe the feed options, and vircam-feed's whole usage text.
const char* FeedOptionsUsage();
std::string FeedUsage();

// A decimal number in [min, max], nothing else.
bool ParseCount(const char* text, uint32_t min, uint32_t max, uint32_t& out);

}  // namespace vircamfeed
