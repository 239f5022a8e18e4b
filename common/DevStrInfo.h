#pragma once

#include <string>

namespace android {

// One user of a service mode: the device and service strings it registered with.
struct DevStrInfo {
    std::string device;
    std::string service;

    // Byte-exact on both fields; case matters.
    bool operator==(const DevStrInfo& other) const {
        return device == other.device && service == other.service;
    }
};

}  // namespace android
