#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vircamdemo {

enum class Transport { AUTO, HIDL, AIDL };

struct DemoOptions {
    uint32_t frames = 90;
    uint32_t width = 1920;
    uint32_t height = 1080;
    uint32_t fps = 30;
    std::string outDir = "out/demo";
    std::optional<uint32_t> killHalAfter;
    Transport transport = Transport::AUTO;
    // --mappers: the graphics mapper versions the simulated device offers (2, 3, 4, 5).
    std::vector<int> mappers = {4};
    // --register: capability strings (formats, resolutions, fps, location) of a virtual
    // camera to register and switch on before streaming.
    bool registerCamera = false;
    std::vector<std::string> capabilities = {"17", "1080,1920;720,1280", "15000,30000", "front"};
};

// Parses argv. On a bad option returns nothing and puts the message in `error`; --help
// sets `help`.
std::optional<DemoOptions> ParseDemoOptions(int argc, char** argv, std::string& error, bool& help);
const char* DemoUsage();

}  // namespace vircamdemo
