#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vircamsim {

// When the simulated HAL sends a switch report (20004 on / 20005 off) to the channel callback.
enum class ReportTiming {
    NEVER,
    INSIDE_CALL,  // from inside doCmdRequest, before it returns its answer
    DELAYED,      // from another thread, delayMs after the call
};

// How the simulated HAL answers one switch command (10001 on, 10002 off).
// Each call gets a fresh sequence number n (1, 2, ...).
struct SimSwitchBehaviour {
    int32_t status = 0;                  // StatusResult.status of the answer
    std::optional<std::string> answer;   // answer data; default {"seqNo":n,"OptRet":answerOptRet}
    int32_t answerOptRet = 0;
    ReportTiming timing = ReportTiming::DELAYED;
    int delayMs = 20;
    std::optional<std::string> report;   // report text; default {"seqNo":n+seqOffset,"OptRet":reportOptRet}
    int32_t seqOffset = 0;
    int32_t reportOptRet = 0;
};

}  // namespace vircamsim
