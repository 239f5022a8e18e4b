// One HAL thread sends requests, re-imports, unregisters and flushes while caller threads
// lock and unlock.
#include <unistd.h>

#include <condition_variable>
#include <cstring>
#include <mutex>
#include <shared_mutex>
#include <thread>

#include "BufferRing.h"
#include "HidlChannel.h"
#include "OpenFds.h"
#include "SpyMapperV2.h"

using ::testing::_;
using ::testing::Return;

namespace {

constexpr int ROUNDS = 15;
constexpr int FRAMES_PER_ROUND = 20;
constexpr int CALLERS = 2;
constexpr int BUFFERS_PER_CALLER = 2;

// Opens a round for the callers and closes it again before the HAL flushes: no caller
// holds a lock when the release runs.
class RoundGate {
  public:
    void Open(int round) {
        std::lock_guard<std::mutex> lock(mMutex);
        mRound = round;
        mOpen = true;
        mEntered = 0;
        mCv.notify_all();
    }
    // Waits until `callers` entered the open round.
    bool WaitEntered(int callers) {
        std::unique_lock<std::mutex> lock(mMutex);
        return mCv.wait_for(lock, std::chrono::seconds(20), [&] { return mEntered >= callers; });
    }
    // Waits until every caller left the round.
    bool Close() {
        std::unique_lock<std::mutex> lock(mMutex);
        mOpen = false;
        return mCv.wait_for(lock, std::chrono::seconds(20), [this] { return mActive == 0; });
    }
    void Stop() {
        std::lock_guard<std::mutex> lock(mMutex);
        mStop = true;
        mCv.notify_all();
    }
    // Enters the next open round after `seen`; false once stopped.
    bool Enter(int& seen) {
        std::unique_lock<std::mutex> lock(mMutex);
        if (!mCv.wait_for(lock, std::chrono::seconds(20), [&] { return mStop || (mOpen && mRound != seen); })) {
            return false;
        }
        if (mStop) return false;
        seen = mRound;
        ++mActive;
        ++mEntered;
        mCv.notify_all();
        return true;
    }
    void Leave() {
        std::lock_guard<std::mutex> lock(mMutex);
        --mActive;
        mCv.notify_all();
    }
    bool IsOpen() {
        std::lock_guard<std::mutex> lock(mMutex);
        return mOpen;
    }

  private:
    std::mutex mMutex;
    std::condition_variable mCv;
    int mRound = -1;
    bool mOpen = false;
    bool mStop = false;
    int mActive = 0;
    int mEntered = 0;
};

// A count one thread raises and another waits on.
class Steps {
  public:
    int Now() {
        std::lock_guard<std::mutex> lock(mMutex);
        return mCount;
    }
    void Next() {
        std::lock_guard<std::mutex> lock(mMutex);
        ++mCount;
        mCv.notify_all();
    }
    // Waits until the count passed `seen` or `stop` is set.
    void WaitPast(int seen, const std::atomic<bool>& stop) {
        std::unique_lock<std::mutex> lock(mMutex);
        mCv.wait(lock, [&] { return mCount != seen || stop.load(); });
    }
    void Wake() {
        std::lock_guard<std::mutex> lock(mMutex);
        mCv.notify_all();
    }

  private:
    std::mutex mMutex;
    std::condition_variable mCv;
    int mCount = 0;
};

}  // namespace

class CallbackHidlConcurrencyTest : public HidlChannelTest {};

TEST_F(CallbackHidlConcurrencyTest, RequestsAndFlushesRaceLocksAndUnlocks) {
    ASSERT_TRUE(hostkit::mapper::Offer({4}));
    BufferRing ring(CALLERS * BUFFERS_PER_CALLER);
    ASSERT_TRUE(ring.allValid());
    const auto fdsBefore = OpenFds();
    ON_CALL(*mCaller, OnProcessImageRequest(_, _, _)).WillByDefault(Return(0));
    ON_CALL(*mCaller, OnFlush(_)).WillByDefault(Return(0));

    RoundGate gate;
    std::atomic<int> failures{0};
    std::atomic<int> frames{0};
    auto caller = [&](int index) {
        int seen = -1;
        while (gate.Enter(seen)) {
            // Lock and unlock this caller's own buffers until the round closes, at least once.
            do {
                for (int b = 0; b < BUFFERS_PER_CALLER; ++b) {
                    const uint64_t id = index * BUFFERS_PER_CALLER + b;
                    void* address = mChannel->LockVideoBuffer(0, 0, id, nullptr);
                    if (address == nullptr) {
                        ++failures;
                        continue;
                    }
                    memset(address, seen & 0xff, 16);
                    int32_t fence = 0;
                    if (mChannel->UnLockVideoBuffer(0, 0, id, fence) != 0) ++failures;
                    ++frames;
                }
            } while (gate.IsOpen());
            gate.Leave();
        }
    };
    std::thread first(caller, 0);
    std::thread second(caller, 1);

    for (int round = 0; round < ROUNDS; ++round) {
        std::vector<vircam::VirImageBuffer> handles;
        for (size_t id = 0; id < ring.size(); ++id) handles.push_back(Image(0, 0, id, ring[id]));
        ASSERT_TRUE(SendImages(*mChannel, 1, handles).answered);
        gate.Open(round);
        for (int frame = 0; frame < FRAMES_PER_ROUND; ++frame) {
            ASSERT_TRUE(SendImages(*mChannel, 1, {Image(frame, 0, frame % ring.size())}).answered);
        }
        ASSERT_TRUE(gate.WaitEntered(CALLERS));
        ASSERT_TRUE(gate.Close());
        EXPECT_EQ(VirOptResult::SUCCESS, static_cast<VirOptResult>(mChannel->flush(1)));
        EXPECT_EQ(0u, hostkit::mapper::LiveImports());
    }
    gate.Stop();
    first.join();
    second.join();

    EXPECT_EQ(0, failures.load());
    EXPECT_GE(frames.load(), ROUNDS * CALLERS * BUFFERS_PER_CALLER);
    mChannel.clear();
    EXPECT_EQ(fdsBefore, OpenFds());
}

// The HAL replaces a buffer with a new handle under the same ids, and every other round
// unregisters it, while a caller locks, writes and unlocks it. Neither may make the
// library lock or unlock a freed handle (the spy mapper reads every handle it is given).
TEST_F(CallbackHidlConcurrencyTest, ReimportAndUnregisterRaceLocks) {
    constexpr int HAL_ROUNDS = 1500;
    android::sp<SpyMapperV2> spy = SpyMapperV2::Install();
    ASSERT_NE(nullptr, spy);
    BufferRing ring(2);
    ASSERT_TRUE(ring.allValid());
    const auto fdsBefore = OpenFds();

    // The HAL holds it exclusively for each of its calls: a caller that holds it shared and
    // sees no HAL call finished since its lock began knows the buffer is still mapped.
    std::shared_mutex halCall;
    Steps halCalls;
    Steps writes;
    std::atomic<bool> done{false};
    std::thread caller([&] {
        while (!done.load()) {
            const int before = halCalls.Now();
            void* address = mChannel->LockVideoBuffer(0, 0, 1, nullptr);
            if (address == nullptr) {
                halCalls.WaitPast(before, done);  // nothing cached: wait for the HAL
                continue;
            }
            {
                std::shared_lock<std::shared_mutex> noHalCall(halCall);
                if (halCalls.Now() == before) {
                    memset(address, 0x5a, 64);
                    writes.Next();
                }
            }
            int32_t fence = -1;
            (void)mChannel->UnLockVideoBuffer(0, 0, 1, fence);
            if (fence >= 0) close(fence);
        }
    });
    auto halDoes = [&](auto call) {
        std::unique_lock<std::shared_mutex> exclusive(halCall);
        call();
        halCalls.Next();
    };
    android::hardware::hidl_vec<vircam::VirBufferCache> caches(1);
    caches[0].streamId = 0;
    caches[0].bufferId = 1;
    const std::atomic<bool> never{false};
    for (int round = 0; round < HAL_ROUNDS; ++round) {
        const int seen = writes.Now();
        halDoes([&] { EXPECT_TRUE(Cache(0, 1, ring[round % 2])); });
        // Let the caller write this handle once, then race its next round.
        writes.WaitPast(seen, never);
        if (round % 2 == 1) {
            halDoes([&] {
                EXPECT_EQ(VirOptResult::SUCCESS, static_cast<VirOptResult>(mChannel->unregisterBuffer(1, caches)));
            });
        }
    }
    done = true;
    halCalls.Wake();
    caller.join();

    EXPECT_EQ(0, spy->mStaleHandles.load());
    EXPECT_GE(writes.Now(), HAL_ROUNDS);
    mChannel.clear();
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
    EXPECT_EQ(fdsBefore, OpenFds());
}
