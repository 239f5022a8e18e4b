// The steady-state frame path (handle-less image request, lock, unlock) allocates nothing.
#include <atomic>
#include <cstdlib>
#include <new>

#include "BufferRing.h"
#include "HidlChannel.h"

namespace {

std::atomic<size_t> gAllocations{0};
thread_local bool tCounting = false;

void* Allocate(size_t size) {
    if (tCounting) gAllocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(size == 0 ? 1 : size)) return p;
    throw std::bad_alloc();
}

// Counts allocations made by this thread between Start and Stop.
class AllocationCounter {
  public:
    AllocationCounter() {
        gAllocations = 0;
        tCounting = true;
    }
    ~AllocationCounter() { tCounting = false; }
    size_t Stop() {
        tCounting = false;
        return gAllocations.load();
    }
};

// A video service that does nothing per frame but answer.
class QuietCaller : public android::IVirCameraWrapperCallback {
  public:
    virtual ~QuietCaller() = default;
    int32_t OnOpenControlSession(const std::string&, const std::string&, uint32_t&) override { return 0; }
    int32_t OnCloseControlSession(uint32_t) override { return 0; }
    int32_t OnConfigStream(uint32_t, std::vector<android::VirCameraStream>&) override { return 0; }
    int32_t OnOpenDataSession(const std::string&, const std::string&, uint32_t&) override { return 0; }
    int32_t OnCloseDataSession(uint32_t) override { return 0; }
    int32_t OnProcessImageRequest(uint32_t, std::vector<android::VirCameraImageBuffer>& buffers,
                                  uint32_t& processed) override {
        processed = static_cast<uint32_t>(buffers.size());
        return 0;
    }
    int32_t OnUnregisterBuffer(uint32_t, std::vector<android::VirCameraBufferCache>&) override { return 0; }
    int32_t OnFlush(uint32_t) override { return 0; }
    int32_t OnServiceDied() override { return 0; }
    int32_t OnProcessMetaRequest(uint32_t, uint32_t, std::vector<android::VirCameraMetaInfo>&) override { return 0; }
};

}  // namespace

void* operator new(size_t size) { return Allocate(size); }
void* operator new[](size_t size) { return Allocate(size); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
void operator delete[](void* p, size_t) noexcept { std::free(p); }

class CallbackFramePathAllocTest : public KitTest {};

TEST_F(CallbackFramePathAllocTest, SteadyStateFramesAllocateNothing) {
    // The counter itself must see allocations, or the test could not fail.
    {
        AllocationCounter probe;
        // A direct call: clang drops a new-expression whose result is unused.
        void* leak = ::operator new(sizeof(int));
        ::operator delete(leak);
        ASSERT_EQ(1u, probe.Stop());
    }
    ASSERT_TRUE(hostkit::mapper::Offer({4}));
    BufferRing ring(2);
    auto caller = std::make_shared<QuietCaller>();
    android::sp<android::VirCameraCallback> channel = new android::VirCameraCallback(caller);
    ASSERT_TRUE(SendImages(*channel, 1, {Image(0, 0, 0, ring[0]), Image(0, 0, 1, ring[1])}).answered);

    android::hardware::hidl_vec<vircam::VirImageBuffer> requests[2];
    for (uint64_t id = 0; id < 2; ++id) requests[id] = std::vector<vircam::VirImageBuffer>{Image(1, 0, id)};
    int answered = 0;
    int failures = 0;
    auto frame = [&](uint32_t n) {
        const uint64_t id = n % 2;
        auto ret = channel->processImageRequest(1, requests[id], [&](VirOptResult status, uint32_t processed) {
            if (status == VirOptResult::SUCCESS && processed == 1) ++answered;
        });
        if (!ret.isOk()) ++failures;
        void* address = channel->LockVideoBuffer(0, 0, id, nullptr);
        if (address == nullptr) {
            ++failures;
            return;
        }
        static_cast<uint8_t*>(address)[0] = static_cast<uint8_t>(n);
        int32_t fence = 0;
        if (channel->UnLockVideoBuffer(0, 0, id, fence) != 0 || fence != -1) ++failures;
    };
    for (uint32_t n = 0; n < 20; ++n) frame(n);  // warm-up
    size_t allocations = 0;
    {
        AllocationCounter counter;
        for (uint32_t n = 20; n < 220; ++n) frame(n);
        allocations = counter.Stop();
    }
    EXPECT_EQ(0u, allocations);
    EXPECT_EQ(0, failures);
    EXPECT_EQ(220, answered);
    channel.clear();
}
