#pragma once

#include <string>

#include "processkit/ThreadPool.h"

namespace hostkit::processkit {

enum class PoolKind { HWBINDER, BINDER };

// One process of the device the kit models: a name and its two binder thread pools, the
// hwbinder one HIDL calls arrive on and the binder one NDK calls arrive on. Lives for ever.
class Process {
  public:
    explicit Process(std::string name);
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    const std::string& name() const { return mName; }
    ThreadPool& pool(PoolKind kind) { return kind == PoolKind::HWBINDER ? mHwbinder : mBinder; }

  private:
    const std::string mName;
    ThreadPool mHwbinder;
    ThreadPool mBinder;
};

}  // namespace hostkit::processkit
