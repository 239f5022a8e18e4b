#include "FaultPlan.h"

namespace hostkit::mapperkit {

namespace {

size_t IndexOf(mapper::Operation operation) {
    return static_cast<size_t>(operation);
}

}  // namespace

FaultPlan& FaultPlan::Get() {
    static FaultPlan plan;
    return plan;
}

void FaultPlan::FailNext(mapper::Operation operation, int32_t error) {
    const size_t index = IndexOf(operation);
    if (index >= OPERATION_COUNT) {
        return;
    }
    std::lock_guard<std::mutex> guard(mLock);
    mFailures[index].push_back(error);
}

std::optional<GrallocError> FaultPlan::Take(mapper::Operation operation) {
    const size_t index = IndexOf(operation);
    std::lock_guard<std::mutex> guard(mLock);
    if (index >= OPERATION_COUNT || mFailures[index].empty()) {
        return std::nullopt;
    }
    const int32_t error = mFailures[index].front();
    mFailures[index].pop_front();
    return static_cast<GrallocError>(error);
}

void FaultPlan::SetFenceMode(mapper::FenceMode mode) {
    std::lock_guard<std::mutex> guard(mLock);
    mFenceMode = mode;
}

mapper::FenceMode FaultPlan::FenceMode() const {
    std::lock_guard<std::mutex> guard(mLock);
    return mFenceMode;
}

void FaultPlan::SetLastFence(std::optional<std::pair<dev_t, ino_t>> identity) {
    std::lock_guard<std::mutex> guard(mLock);
    mLastFence = identity;
}

std::optional<std::pair<dev_t, ino_t>> FaultPlan::LastFence() const {
    std::lock_guard<std::mutex> guard(mLock);
    return mLastFence;
}

void FaultPlan::NoteImport(int version) {
    std::lock_guard<std::mutex> guard(mLock);
    mLastImportVersion = version;
}

int FaultPlan::LastImportVersion() const {
    std::lock_guard<std::mutex> guard(mLock);
    return mLastImportVersion;
}

void FaultPlan::Clear() {
    std::lock_guard<std::mutex> guard(mLock);
    mLastImportVersion = 0;
    for (auto& queue : mFailures) queue.clear();
    mFenceMode = mapper::FenceMode::NONE;
    mLastFence.reset();
}

}  // namespace hostkit::mapperkit
