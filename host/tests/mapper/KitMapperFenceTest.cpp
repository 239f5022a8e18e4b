#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <future>

#include <gtest/gtest.h>
#include <hostkit/Mapper.h>

#include "MapperClient.h"
#include "ProcessSnapshot.h"

namespace {

namespace km = hostkit::mapper;
using namespace std::chrono_literals;

template <typename V>
class KitMapperFence : public ::testing::Test {
  protected:
    void SetUp() override {
        km::Reset();
        ASSERT_TRUE(km::Offer({V::VERSION}));
        mClient = std::make_unique<MapperClient<V>>(MapperClient<V>::Lookup());
        ASSERT_NE(mClient->Service(), nullptr);
        mRaw = km::Allocate(64, 64, NV21, CPU_READ_WRITE);
        auto imported = mClient->Import(mRaw);
        ASSERT_EQ(imported.error, V::Error::NONE);
        mBuffer = imported.buffer;
        ASSERT_EQ(pipe2(mPipe, O_CLOEXEC), 0);
    }
    void TearDown() override {
        EXPECT_EQ(mClient->Free(mBuffer).second, V::Error::NONE);
        close(mPipe[0]);
        close(mPipe[1]);
        km::FreeAllocated(mRaw);
        EXPECT_EQ(km::Reset(), 0u);
    }
    native_handle_t* FenceOf(int fdCount) {
        native_handle_t* fence = native_handle_create(fdCount, 0);
        for (int i = 0; i < fdCount; ++i) fence->data[i] = mPipe[0];
        return fence;
    }

    std::unique_ptr<MapperClient<V>> mClient;
    native_handle_t* mRaw = nullptr;
    void* mBuffer = nullptr;
    int mPipe[2] = {-1, -1};
};
TYPED_TEST_SUITE(KitMapperFence, AllMapperVersions);

TYPED_TEST(KitMapperFence, LockWaitsForAcquireFenceAndLeavesItToTheCaller) {
    using Error = typename TypeParam::Error;
    native_handle_t* fence = this->FenceOf(1);
    auto pending = std::async(std::launch::async, [&] {
        return this->mClient->Lock(this->mBuffer, CPU_READ_WRITE, {0, 0, 0, 0}, fence);
    });
    EXPECT_EQ(pending.wait_for(100ms), std::future_status::timeout) << "lock did not wait";
    ASSERT_EQ(write(this->mPipe[1], "x", 1), 1);
    ASSERT_EQ(pending.wait_for(10s), std::future_status::ready);
    EXPECT_EQ(pending.get().error, Error::NONE);
    EXPECT_NE(fcntl(this->mPipe[0], F_GETFD), -1) << "the caller's fence fd must stay open";
    EXPECT_EQ(this->mClient->Unlock(this->mBuffer).error, Error::NONE);
    native_handle_delete(fence);
}

TYPED_TEST(KitMapperFence, LockRejectsFenceWithTwoFdsOrClosedFd) {
    using Error = typename TypeParam::Error;
    ASSERT_EQ(write(this->mPipe[1], "x", 1), 1);
    native_handle_t* two = this->FenceOf(2);
    EXPECT_EQ(this->mClient->Lock(this->mBuffer, CPU_READ_WRITE, {0, 0, 0, 0}, two).error, Error::BAD_VALUE);
    native_handle_delete(two);
    native_handle_t* empty = this->FenceOf(0);
    EXPECT_EQ(this->mClient->Lock(this->mBuffer, CPU_READ_WRITE, {0, 0, 0, 0}, empty).error, Error::NONE)
        << "a fence without fds is no fence";
    EXPECT_EQ(this->mClient->Unlock(this->mBuffer).error, Error::NONE);
    native_handle_delete(empty);
    int spare[2];
    ASSERT_EQ(pipe(spare), 0);
    close(spare[0]);
    close(spare[1]);
    native_handle_t* closed = native_handle_create(1, 0);
    closed->data[0] = spare[0];
    // A closed fd cannot cross a binder transaction: ask the implementation directly.
    MapperClient<TypeParam> stub(TypeParam::IMapper::tryGetService("default", true));
    ASSERT_NE(stub.Service(), nullptr);
    EXPECT_EQ(stub.Lock(this->mBuffer, CPU_READ_WRITE, {0, 0, 0, 0}, closed).error, Error::BAD_VALUE);
    native_handle_delete(closed);
    EXPECT_EQ(this->mClient->Unlock(this->mBuffer).error, Error::BAD_BUFFER) << "failed locks hold nothing";
}

TYPED_TEST(KitMapperFence, ReleaseFenceClosesWhenCallbackReturns) {
    using Error = typename TypeParam::Error;
    km::SetReleaseFenceMode(km::FenceMode::ONE_FD);
    ASSERT_EQ(this->mClient->Lock(this->mBuffer).error, Error::NONE);
    const auto fdsBefore = OpenFds();
    auto unlocked = this->mClient->Unlock(this->mBuffer);
    ASSERT_EQ(unlocked.error, Error::NONE);
    ASSERT_EQ(unlocked.fenceFds, 1);
    ASSERT_GE(unlocked.fenceDup, 0);
    auto fdsAfter = OpenFds();
    ASSERT_EQ(fdsAfter.count(unlocked.fenceDup), 1u);
    fdsAfter.erase(unlocked.fenceDup);
    EXPECT_EQ(fdsAfter, fdsBefore) << "only the client's dup may remain";
    struct stat st {};
    ASSERT_EQ(fstat(unlocked.fenceDup, &st), 0);
    auto last = km::LastReleaseFence();
    ASSERT_TRUE(last.has_value());
    EXPECT_EQ(last->first, st.st_dev);
    EXPECT_EQ(last->second, st.st_ino);
    close(unlocked.fenceDup);

    km::SetReleaseFenceMode(km::FenceMode::TWO_FDS);
    ASSERT_EQ(this->mClient->Lock(this->mBuffer).error, Error::NONE);
    unlocked = this->mClient->Unlock(this->mBuffer);
    EXPECT_EQ(unlocked.fenceFds, 2);
    close(unlocked.fenceDup);
    EXPECT_EQ(OpenFds(), fdsBefore);
}

TYPED_TEST(KitMapperFence, FailNextFailsExactlyTheNextCall) {
    using Error = typename TypeParam::Error;
    km::FailNext(km::Operation::IMPORT, Error::NO_RESOURCES);
    auto failed = this->mClient->Import(this->mRaw);
    EXPECT_EQ(failed.error, Error::NO_RESOURCES);
    EXPECT_EQ(failed.buffer, nullptr);
    EXPECT_EQ(km::LiveImports(), 1u) << "only the fixture's import";

    km::FailNext(km::Operation::LOCK, Error::NO_RESOURCES);
    km::FailNext(km::Operation::LOCK, Error::BAD_VALUE);
    EXPECT_EQ(this->mClient->Lock(this->mBuffer).error, Error::NO_RESOURCES);
    EXPECT_EQ(this->mClient->Lock(this->mBuffer).error, Error::BAD_VALUE);
    EXPECT_EQ(this->mClient->Lock(this->mBuffer).error, Error::NONE);
    km::FailNext(km::Operation::UNLOCK, Error::BAD_BUFFER);
    EXPECT_EQ(this->mClient->Unlock(this->mBuffer).error, Error::BAD_BUFFER);
    EXPECT_EQ(this->mClient->Unlock(this->mBuffer).error, Error::NONE) << "failed unlock kept the lock";

    auto second = this->mClient->Import(this->mRaw);
    ASSERT_EQ(second.error, Error::NONE);
    km::FailNext(km::Operation::FREE, Error::BAD_BUFFER);
    EXPECT_EQ(this->mClient->Free(second.buffer).second, Error::BAD_BUFFER);
    EXPECT_EQ(this->mClient->Free(second.buffer).second, Error::NONE);
}

}  // namespace
