// The capability strings of a virtual camera registration. Input: the capability
// vector as newline-separated parts (formats, resolutions, fps, location, extras), so
// fewer than three newlines also exercises the short-vector path.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "client/VirtualCameraClient.h"
#include "support/FuzzLogs.h"
#include "support/TextSplit.h"

using VIRTUAL_CAMERA_CLIENT::VirtualCameraClient;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::vector<std::string> camInfo = SplitKeepingEmpty(input, '\n');
    VirtualCameraClient* client = VirtualCameraClient::Get();

    const auto formats = client->GetCameraFmt(camInfo);
    if (formats.size() > 1) __builtin_trap();  // one entry at most, whatever the formats
    for (const auto& format : formats) {
        for (const auto& size : format.frameSizeRates) {
            (void)size.frameRates.size();
        }
    }
    const auto extend = client->GetExtendInfo(camInfo);
    if (extend.size() != (camInfo.size() >= VirtualCameraClient::CAMINFO_ARRAY_LEN ? 1u : 0u)) __builtin_trap();

    const std::string fps = camInfo.size() > 2 ? camInfo[2] : input;
    const std::vector<uint8_t> rates = client->ParseFrameRate(fps);
    if (rates.empty()) __builtin_trap();  // at least the default rate
    for (size_t i = 1; i < rates.size(); ++i) {
        if (rates[i - 1] >= rates[i]) __builtin_trap();  // sorted, no duplicates
    }

    std::vector<std::string> tokens;
    client->Split(input, tokens, ";,\n");
    for (const std::string& token : tokens) {
        if (token.empty()) __builtin_trap();
    }
    ForgetCapturedLogs();
    return 0;
}
