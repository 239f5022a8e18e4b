#pragma once

#include <sys/types.h>

#include <array>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

#include <hostkit/Mapper.h>

#include "GrallocError.h"

namespace hostkit::mapperkit {

// What tests asked the mappers to do differently: queued failures per operation and the kind
// of release fence unlock() returns. Process-wide, shared by all mapper versions.
class FaultPlan {
  public:
    static FaultPlan& Get();

    void FailNext(mapper::Operation operation, int32_t error);
    // The failure queued for this call of `operation`, if any (and dequeues it).
    std::optional<GrallocError> Take(mapper::Operation operation);

    void SetFenceMode(mapper::FenceMode mode);
    mapper::FenceMode FenceMode() const;

    void SetLastFence(std::optional<std::pair<dev_t, ino_t>> identity);
    std::optional<std::pair<dev_t, ino_t>> LastFence() const;

    // The version of the mapper that imported last (0: none).
    void NoteImport(int version);
    int LastImportVersion() const;

    void Clear();

  private:
    static constexpr size_t OPERATION_COUNT = 4;

    mutable std::mutex mLock;
    std::array<std::deque<int32_t>, OPERATION_COUNT> mFailures;
    mapper::FenceMode mFenceMode = mapper::FenceMode::NONE;
    std::optional<std::pair<dev_t, ino_t>> mLastFence;
    int mLastImportVersion = 0;
};

}  // namespace hostkit::mapperkit
