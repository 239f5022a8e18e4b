#pragma once

#include <cstdio>
#include <string>

#include "FeedOptions.h"
#include "IVirCameraWrapper.h"

namespace vircamfeed {

constexpr const char* FEED_DEVICE = "camera01";
constexpr const char* FEED_SERVICE = "vircam-feed";

inline void PrintStep(const char* step, long answer) {
    fprintf(stdout, "  %-44s -> %ld\n", step, answer);
}

// The virtual camera commands of SendRequest, for --register: checks the service,
// registers a camera and switches it on (before streaming) or off and unregisters (after).
template <class Wrapper>
void RegisterVirtualCamera(Wrapper& wrapper, int uniqueID, const FeedOptions& options) {
    auto send = [&](const char* step, int cmd, const std::string& json) {
        android::OptResult result = wrapper.SendRequest(cmd, uniqueID, json);
        fprintf(stdout, "  %-44s -> %s\n", step, result.data.c_str());
    };
    const auto& caps = options.capabilities;
    const std::string ids = std::string(R"("deviceId":")") + FEED_DEVICE + R"(","serviceId":")" + FEED_SERVICE + "\"";
    send("service check (VIRTUAL)", 1115016, R"({"type":"VIRTUAL"})");
    send("register virtual camera", 1115017,
         R"({"type":"VIRTUAL",)" + ids + R"(,"vectorObj":[")" + caps[0] + R"(",")" + caps[1] + R"(",")" + caps[2] +
             R"(",")" + caps[3] + R"("]})");
    send("switch stream on", 1115017, R"({"type":"SWITCH",)" + ids + R"(,"vectorObj":["0"],"cameraCount":1})");
    send("virtual camera ids", 1115019, "{}");
}

template <class Wrapper>
void UnregisterVirtualCamera(Wrapper& wrapper, int uniqueID) {
    auto send = [&](const char* step, int cmd, const std::string& json) {
        android::OptResult result = wrapper.SendRequest(cmd, uniqueID, json);
        fprintf(stdout, "  %-44s -> %s\n", step, result.data.c_str());
    };
    const std::string ids = std::string(R"("deviceId":")") + FEED_DEVICE + R"(","serviceId":")" + FEED_SERVICE + "\"";
    send("switch stream off", 1115018, R"({"type":"SWITCH",)" + ids + "}");
    send("unregister virtual camera", 1115018, R"({"type":"VIRTUAL",)" + ids + "}");
}

}  // namespace vircamfeed
