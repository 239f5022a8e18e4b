// The mapper adapters one by one, the version preference and the release fence rules.
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <string>

#include "BufferRing.h"
#include "KitTest.h"
#include "OpenFds.h"
#include "SpyMapperV2.h"
#include "callback/VirMapperAdapter.h"
#include "callback/VirMapperMgr.h"
#include "callback/VirMapperV5.h"

using android::VirMapperBase;
using android::VirMapperMgr;
using hostkit::logs::Count;

namespace {

std::shared_ptr<VirMapperBase> CreateMapper() {
    return VirMapperMgr::GetInstance().Create();
}

// The library is built without RTTI, as on the device, so no dynamic_cast: an adapter's
// version is told by its vtable, compared with that of a throwaway adapter of each version.
template <class Adapter>
bool IsA(const VirMapperBase& mapper) {
    const Adapter sample(nullptr);
    const VirMapperBase& sampleBase = sample;
    return *reinterpret_cast<const void* const*>(&mapper) ==
           *reinterpret_cast<const void* const*>(&sampleBase);
}

int VersionOf(const std::shared_ptr<VirMapperBase>& mapper) {
    if (mapper == nullptr) return 0;
    if (IsA<android::VirMapperV4>(*mapper)) return 4;
    if (IsA<android::VirMapperV3>(*mapper)) return 3;
    if (IsA<android::VirMapperV2>(*mapper)) return 2;
    if (IsA<android::VirMapperV5>(*mapper)) return 5;
    return 0;
}

std::string InitLine(int version) {
    return "init mapper use V" + std::to_string(version);
}

}  // namespace

class CallbackMapperVersionTest : public KitTest, public ::testing::WithParamInterface<int> {};

TEST_P(CallbackMapperVersionTest, AloneImportsLocksUnlocksAndFrees) {
    const int version = GetParam();
    ASSERT_TRUE(hostkit::mapper::Offer({version}));
    BufferRing ring(1);
    ASSERT_TRUE(ring.allValid());
    const auto fdsBefore = OpenFds();
    const auto regionsBefore = hostkit::mapper::MappedRegions();
    {
        std::shared_ptr<VirMapperBase> mapper = CreateMapper();
        ASSERT_NE(nullptr, mapper);
        EXPECT_EQ(version, VersionOf(mapper));
        HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_INFO, HIDL_TAG, InitLine(version));

        const native_handle* buffer = nullptr;
        ASSERT_EQ(0, mapper->ImportBuffer(android::hardware::hidl_handle(ring[0]), buffer));
        ASSERT_NE(nullptr, buffer);
        EXPECT_EQ(1u, hostkit::mapper::LiveImports());

        void* address = nullptr;
        ASSERT_EQ(0, mapper->Lock(buffer, address));
        ASSERT_NE(nullptr, address);
        memset(address, 0x5a, 64 * 48 * 3 / 2);
        int fence = -1;
        mapper->UnLock(buffer, fence);
        EXPECT_EQ(-1, fence);
        mapper->FreeBuffer(buffer);
        EXPECT_EQ(0u, hostkit::mapper::LiveImports());
    }
    auto bytes = hostkit::mapper::ReadBack(ring[0]);
    ASSERT_TRUE(bytes.has_value());
    ASSERT_EQ(64u * 48u * 3u / 2u, bytes->size());
    EXPECT_EQ(0x5a, (*bytes)[0]);
    EXPECT_EQ(0x5a, bytes->back());
    EXPECT_EQ(regionsBefore, hostkit::mapper::MappedRegions());
    EXPECT_EQ(fdsBefore, OpenFds());
}

// An injected lock error is reported with the version's lock name.
TEST_P(CallbackMapperVersionTest, LockErrorNamesTheLockFlavour) {
    const int version = GetParam();
    ASSERT_TRUE(hostkit::mapper::Offer({version}));
    BufferRing ring(1);
    std::shared_ptr<VirMapperBase> mapper = CreateMapper();
    ASSERT_NE(nullptr, mapper);
    const native_handle* buffer = nullptr;
    ASSERT_EQ(0, mapper->ImportBuffer(android::hardware::hidl_handle(ring[0]), buffer));

    hostkit::mapper::FailNextCode(hostkit::mapper::Operation::LOCK, 4 /* BAD_VALUE */);
    void* address = nullptr;
    EXPECT_EQ(-1, mapper->Lock(buffer, address));
    const std::string name = version == 3 ? "Lock_V3" : "Lock";
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, HIDL_TAG, name + ": lock and get img buffer failed,  error 4");
    const std::string other = version == 3 ? "Lock" : "Lock_V3";
    EXPECT_EQ(0u, Count(ANDROID_LOG_WARN, HIDL_TAG, other + ": lock and get img buffer failed,  error 4"));
    mapper->FreeBuffer(buffer);
}

// One descriptor: a duplicate of the same file under another number, the caller's to close.
TEST_P(CallbackMapperVersionTest, OneFdReleaseFenceIsDuplicated) {
    ASSERT_TRUE(hostkit::mapper::Offer({GetParam()}));
    BufferRing ring(1);
    std::shared_ptr<VirMapperBase> mapper = CreateMapper();
    const native_handle* buffer = nullptr;
    ASSERT_EQ(0, mapper->ImportBuffer(android::hardware::hidl_handle(ring[0]), buffer));
    const auto fdsBefore = OpenFds();

    hostkit::mapper::SetReleaseFenceMode(hostkit::mapper::FenceMode::ONE_FD);
    void* address = nullptr;
    ASSERT_EQ(0, mapper->Lock(buffer, address));
    int fence = -7;
    mapper->UnLock(buffer, fence);
    ASSERT_GE(fence, 1);
    struct stat st {};
    ASSERT_EQ(0, fstat(fence, &st));
    auto last = hostkit::mapper::LastReleaseFence();
    ASSERT_TRUE(last.has_value());
    EXPECT_EQ(last->first, st.st_dev);
    EXPECT_EQ(last->second, st.st_ino);
    // The mapper closed its own descriptor: only the duplicate is new.
    auto fdsAfter = OpenFds();
    EXPECT_EQ(1u, fdsAfter.erase(fence));
    EXPECT_EQ(fdsBefore, fdsAfter);
    close(fence);
    mapper->FreeBuffer(buffer);
}

// HIDL fences are native handles and may be malformed; a mapper 5 fence is one descriptor.
class CallbackHidlMapperVersionTest : public CallbackMapperVersionTest {};

TEST_P(CallbackHidlMapperVersionTest, MalformedOrMissingFenceLeavesTheValue) {
    ASSERT_TRUE(hostkit::mapper::Offer({GetParam()}));
    BufferRing ring(1);
    std::shared_ptr<VirMapperBase> mapper = CreateMapper();
    const native_handle* buffer = nullptr;
    ASSERT_EQ(0, mapper->ImportBuffer(android::hardware::hidl_handle(ring[0]), buffer));
    const auto fdsBefore = OpenFds();
    void* address = nullptr;

    hostkit::mapper::SetReleaseFenceMode(hostkit::mapper::FenceMode::TWO_FDS);
    ASSERT_EQ(0, mapper->Lock(buffer, address));
    int fence = -7;
    mapper->UnLock(buffer, fence);
    EXPECT_EQ(-7, fence);
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, HIDL_TAG, "operator(): bad release fence numInts 0 numFds 2");

    hostkit::mapper::SetReleaseFenceMode(hostkit::mapper::FenceMode::NONE);
    ASSERT_EQ(0, mapper->Lock(buffer, address));
    mapper->UnLock(buffer, fence);
    EXPECT_EQ(-7, fence);
    EXPECT_EQ(fdsBefore, OpenFds());
    mapper->FreeBuffer(buffer);
}

INSTANTIATE_TEST_SUITE_P(Versions, CallbackMapperVersionTest, ::testing::Values(2, 3, 4, 5),
                         [](const ::testing::TestParamInfo<int>& info) { return "V" + std::to_string(info.param); });
INSTANTIATE_TEST_SUITE_P(Versions, CallbackHidlMapperVersionTest, ::testing::Values(2, 3, 4),
                         [](const ::testing::TestParamInfo<int>& info) { return "V" + std::to_string(info.param); });

class CallbackMapperMgrTest : public KitTest {};

TEST_F(CallbackMapperMgrTest, NewestOfferedVersionWins) {
    struct Case {
        std::vector<int> offered;
        int expected;
    };
    for (const Case& c : {Case{{2, 3, 4}, 4}, Case{{2, 4}, 4}, Case{{2, 3}, 3}, Case{{3, 4}, 4}, Case{{2}, 2},
                         Case{{4, 5}, 4}, Case{{2, 5}, 2}, Case{{5}, 5}}) {
        SCOPED_TRACE(testing::PrintToString(c.offered));
        hostkit::mapper::Reset();
        hostkit::logs::Clear();
        ASSERT_TRUE(hostkit::mapper::Offer(c.offered));
        std::shared_ptr<VirMapperBase> mapper = CreateMapper();
        EXPECT_EQ(c.expected, VersionOf(mapper));
        HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_INFO, HIDL_TAG, InitLine(c.expected));
        EXPECT_EQ(1u, hostkit::logs::Lines().size());
    }
}

TEST_F(CallbackMapperMgrTest, NoMapperGivesEmptyAndOneErrorLine) {
    EXPECT_EQ(nullptr, CreateMapper());
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, HIDL_TAG, "Can't find Mapper service");
    EXPECT_EQ(1u, hostkit::logs::Lines().size());
}

// Every call looks the services up again: a new adapter each time.
TEST_F(CallbackMapperMgrTest, EveryCreateMakesANewAdapter) {
    ASSERT_TRUE(hostkit::mapper::Offer({4}));
    auto first = CreateMapper();
    auto second = CreateMapper();
    ASSERT_NE(nullptr, first);
    EXPECT_NE(first, second);
    ASSERT_TRUE(hostkit::mapper::Offer({3}));
    EXPECT_EQ(3, VersionOf(CreateMapper()));
}

TEST_F(CallbackMapperMgrTest, NullBufferOrNullMapperMakesNoMapperCall) {
    android::sp<SpyMapperV2> spy = SpyMapperV2::Install();
    ASSERT_NE(nullptr, spy);
    std::shared_ptr<VirMapperBase> mapper = CreateMapper();
    ASSERT_EQ(2, VersionOf(mapper));
    const native_handle* none = nullptr;
    mapper->FreeBuffer(none);
    EXPECT_EQ(0, spy->mFrees.load());
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, HIDL_TAG, "FreeBuffer: buffer is null");

    android::VirMapperV3 noMapperV3(nullptr);
    android::VirMapperV4 noMapperV4(nullptr);
    void* address = nullptr;
    EXPECT_EQ(-1, noMapperV3.Lock(none, address));
    EXPECT_EQ(-1, noMapperV4.Lock(none, address));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, HIDL_TAG, "Lock_V3: mapper is null");
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, HIDL_TAG, "Lock: mapper is null");
    EXPECT_EQ(-1, noMapperV4.ImportBuffer(android::hardware::hidl_handle(), none));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, HIDL_TAG, "ImportBuffer: mapper is null");
}

// The fence handed back is a different descriptor number than the mapper's own.
TEST_F(CallbackMapperMgrTest, FenceDuplicateHasANewNumber) {
    android::sp<SpyMapperV2> spy = SpyMapperV2::Install();
    ASSERT_NE(nullptr, spy);
    BufferRing ring(1);
    std::shared_ptr<VirMapperBase> mapper = CreateMapper();
    const native_handle* buffer = nullptr;
    ASSERT_EQ(0, mapper->ImportBuffer(android::hardware::hidl_handle(ring[0]), buffer));
    hostkit::mapper::SetReleaseFenceMode(hostkit::mapper::FenceMode::ONE_FD);
    void* address = nullptr;
    ASSERT_EQ(0, mapper->Lock(buffer, address));
    int fence = -1;
    mapper->UnLock(buffer, fence);
    ASSERT_GE(fence, 1);
    EXPECT_NE(spy->mLastFenceFd.load(), fence);
    EXPECT_NE(-1, spy->mLastFenceFd.load());
    close(fence);
    mapper->FreeBuffer(buffer);
    EXPECT_EQ(1, spy->mFrees.load());
}
