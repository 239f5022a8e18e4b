#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "FeedOptions.h"

namespace vircamfeed {
namespace {

struct Parsed {
    std::optional<FeedOptions> options;
    std::string error;
    bool help = false;
};

Parsed Parse(const std::vector<std::string>& args) {
    std::vector<std::string> storage = {"vircam-feed"};
    storage.insert(storage.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& arg : storage) {
        argv.push_back(arg.data());
    }
    Parsed parsed;
    parsed.options = ParseFeedOptions(static_cast<int>(argv.size()), argv.data(), parsed.error, parsed.help);
    return parsed;
}

TEST(FeedOptionsTest, EveryOptionIsRead) {
    Parsed parsed = Parse({"--frames", "300", "--fps", "15", "--source", "clip.y4m", "--transport", "aidl",
                           "--register", "17", "480,640", "15000,15000", "back"});
    ASSERT_TRUE(parsed.options) << parsed.error;
    EXPECT_EQ(300u, parsed.options->frames);
    EXPECT_EQ(15u, parsed.options->fps);
    EXPECT_EQ("clip.y4m", parsed.options->source);
    EXPECT_EQ(Transport::AIDL, parsed.options->transport);
    EXPECT_TRUE(parsed.options->registerCamera);
    EXPECT_EQ((std::vector<std::string>{"17", "480,640", "15000,15000", "back"}), parsed.options->capabilities);

    Parsed defaults = Parse({"--register"});
    ASSERT_TRUE(defaults.options) << defaults.error;
    EXPECT_EQ("pattern", defaults.options->source);
    EXPECT_EQ(Transport::AUTO, defaults.options->transport);
    EXPECT_EQ("17", defaults.options->capabilities[0]);
}

TEST(FeedOptionsTest, BadOptionsAreNamed) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"--size", "64x48"}, "unknown option: --size"},
        {{"--frames", "0"}, "--frames takes a number from 1 to 1000000"},
        {{"--frames", "12x"}, "--frames takes a number from 1 to 1000000"},
        {{"--fps", "241"}, "--fps takes a number from 1 to 240"},
        {{"--fps"}, "--fps needs a value"},
        {{"--transport", "usb"}, "--transport takes auto, hidl or aidl"},
        {{"--register", "17", "480,640"}, "--register takes four capability strings or none"},
        {{"--register", "17", "480,640", "15000,15000", "--frames", "3"},
         "--register takes four capability strings or none"},
        {{"--source", "clip.mp4"}, "--source takes pattern or a .y4m file"},
        {{"--source", ""}, "--source takes pattern or a .y4m file"},
    };
    for (const auto& [args, message] : cases) {
        Parsed parsed = Parse(args);
        EXPECT_FALSE(parsed.options) << message;
        EXPECT_EQ(message, parsed.error);
    }
}

TEST(FeedOptionsTest, HelpWins) {
    Parsed parsed = Parse({"--help", "--bogus"});
    EXPECT_TRUE(parsed.help);
}

}  // namespace
}  // namespace vircamfeed
