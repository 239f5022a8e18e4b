// The stable-C mapper (version 5): how the library finds it, what it refuses, and how the
// adapter calls the table (usage, region, fence ownership).
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "BufferRing.h"
#include "KitTest.h"
#include "OpenFds.h"
#include "callback/VirMapperMgr.h"
#include "callback/VirMapperV5.h"

using android::VirMapperBase;
using android::VirMapperMgr;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

const std::string NO_HIDL =
        "No usable graphics mapper: no android.hardware.graphics.mapper@4.0, @3.0 or @2.0 IMapper/default, "
        "and no mapper 5: ";
const std::string LIBRARY_DIR = "/vendor/lib64/hw/";

std::string LibraryPath(const char* suffix) {
    return LIBRARY_DIR + "mapper." + suffix + ".so";
}

// Create() with what it says about a missing mapper; checks the per-call lines stay as they were.
std::string MissingAfterCreate() {
    std::string missing;
    EXPECT_EQ(nullptr, VirMapperMgr::GetInstance().Create(&missing));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, HIDL_TAG, "Can't find Mapper service");
    return missing;
}

bool LoadedInProcess(const char* suffix) {
    // The kit's folder is where libvndksupport found it; RTLD_NOLOAD only looks.
    const std::string hostPath = std::string(HOSTKIT_VENDOR_HW_DIR) + "/mapper." + suffix + ".so";
    void* handle = dlopen(hostPath.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle == nullptr) return false;
    dlclose(handle);
    return true;
}

}  // namespace

class CallbackMapper5Test : public KitTest {};

TEST_F(CallbackMapper5Test, OnlyMapper5IsUsedAfterTheHidlVersionsAndStaysLoaded) {
    ASSERT_TRUE(hostkit::mapper::Offer({5}));
    std::string missing = "untouched";
    auto first = VirMapperMgr::GetInstance().Create(&missing);
    ASSERT_NE(nullptr, first);
    EXPECT_EQ("untouched", missing);
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_INFO, HIDL_TAG, "init mapper use V5");
    EXPECT_EQ(1u, hostkit::logs::Lines().size());
    EXPECT_EQ(0, first->LinkToDeath(nullptr));  // in-process: nothing to link, never dies
    first->Release(nullptr);
    first.reset();
    // Loaded once for the process, not unloaded with its adapters.
    EXPECT_TRUE(LoadedInProcess(hostkit::mapper::SUFFIX));
    // The allocator is asked on every Create: without it there is no mapper any more.
    ASSERT_TRUE(hostkit::mapper::Offer({}));
    EXPECT_THAT(MissingAfterCreate(), StartsWith(NO_HIDL));
}

// First uses on several threads at once (each test runs in its own process, so nothing is
// loaded yet): one library table for all. For ThreadSanitizer, the lookups of some threads
// overlap the store of another.
TEST_F(CallbackMapper5Test, ConcurrentFirstUsesShareOneTable) {
    ASSERT_TRUE(hostkit::mapper::Offer({5}));
    constexpr int THREADS = 4;
    std::atomic<int> waiting{THREADS};
    std::vector<std::shared_ptr<VirMapperBase>> mappers(THREADS);
    std::vector<std::thread> users;
    for (int t = 0; t < THREADS; ++t) {
        users.emplace_back([&, t] {
            for (--waiting; waiting.load() > 0;) std::this_thread::yield();
            mappers[t] = VirMapperMgr::GetInstance().Create(nullptr);
        });
    }
    for (std::thread& user : users) user.join();
    for (const auto& mapper : mappers) ASSERT_NE(nullptr, mapper);
    EXPECT_EQ(static_cast<size_t>(THREADS), hostkit::logs::Count(ANDROID_LOG_INFO, HIDL_TAG, "init mapper use V5"));
}

// What each missing piece is called in the one diagnosis line; broken libraries are unloaded.
TEST_F(CallbackMapper5Test, EveryMissingPieceIsNamed) {
    EXPECT_EQ(NO_HIDL + hostkit::mapper::ALLOCATOR_INSTANCE + " is not declared", MissingAfterCreate());

    ASSERT_TRUE(hostkit::mapper::Offer({5}));
    struct Case {
        const char* suffix;
        std::string text;
    };
    const Case cases[] = {
            {hostkit::mapper::SUFFIX_NO_VERSION,
             LibraryPath(hostkit::mapper::SUFFIX_NO_VERSION) + " does not export ANDROID_HAL_STABLEC_VERSION"},
            {hostkit::mapper::SUFFIX_VERSION_4,
             LibraryPath(hostkit::mapper::SUFFIX_VERSION_4) +
                     " has ANDROID_HAL_STABLEC_VERSION 4, at least 5 is needed"},
            {hostkit::mapper::SUFFIX_NO_LOAD_SYMBOL,
             LibraryPath(hostkit::mapper::SUFFIX_NO_LOAD_SYMBOL) + " does not export AIMapper_loadIMapper"},
            {hostkit::mapper::SUFFIX_LOAD_FAILS,
             LibraryPath(hostkit::mapper::SUFFIX_LOAD_FAILS) + " AIMapper_loadIMapper failed: error 5"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.suffix);
        hostkit::logs::Clear();
        hostkit::mapper::SetMapper5Suffix(c.suffix);
        EXPECT_EQ(NO_HIDL + c.text, MissingAfterCreate());
        EXPECT_EQ(1u, hostkit::logs::Lines().size());
        EXPECT_FALSE(LoadedInProcess(c.suffix)) << "a refused library stays loaded";
    }

    hostkit::logs::Clear();
    hostkit::mapper::SetMapper5Suffix(hostkit::mapper::SUFFIX_NO_FILE);
    const std::string absent = MissingAfterCreate();
    EXPECT_THAT(absent, StartsWith(NO_HIDL + LibraryPath(hostkit::mapper::SUFFIX_NO_FILE) + " could not be opened: "));
    EXPECT_THAT(absent, HasSubstr("No such file or directory"));  // dlerror's own words
}

TEST_F(CallbackMapper5Test, AllocatorThatCannotAnswerIsNamed) {
    ASSERT_TRUE(hostkit::mapper::Offer({5}));
    hostkit::binder::FailNextTransactions(hostkit::mapper::ALLOCATOR_INSTANCE, 1, STATUS_DEAD_OBJECT);
    EXPECT_THAT(MissingAfterCreate(), StartsWith(NO_HIDL + hostkit::mapper::ALLOCATOR_INSTANCE +
                                                 " getIMapperLibrarySuffix failed: "));
}

TEST_F(CallbackMapper5Test, MapperFailuresAreReportedWithTheMapperError) {
    ASSERT_TRUE(hostkit::mapper::Offer({5}));
    BufferRing ring(1);
    auto mapper = VirMapperMgr::GetInstance().Create();
    ASSERT_NE(nullptr, mapper);
    const auto fdsBefore = OpenFds();
    const native_handle* buffer = nullptr;
    hostkit::mapper::FailNextCode(hostkit::mapper::Operation::IMPORT, 5 /* NO_RESOURCES */);
    EXPECT_EQ(-1, mapper->ImportBuffer(android::hardware::hidl_handle(ring[0]), buffer));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, HIDL_TAG, "ImportBuffer: mapper importBuffer failed: errMap 5");
    EXPECT_EQ(-1, mapper->ImportBuffer(android::hardware::hidl_handle(), buffer));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, HIDL_TAG, "ImportBuffer: mapper importBuffer failed: errMap 2");
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());

    ASSERT_EQ(0, mapper->ImportBuffer(android::hardware::hidl_handle(ring[0]), buffer));
    void* address = nullptr;
    hostkit::mapper::FailNextCode(hostkit::mapper::Operation::LOCK, 3 /* BAD_VALUE */);
    EXPECT_EQ(-1, mapper->Lock(buffer, address));
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_WARN, HIDL_TAG, "Lock: lock and get img buffer failed,  error 3");
    EXPECT_EQ(nullptr, address);

    int fence = -7;
    mapper->UnLock(buffer, fence);  // not locked
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, HIDL_TAG, "UnLock: failed to unlock error 2!");
    ASSERT_EQ(0, mapper->Lock(buffer, address));
    hostkit::mapper::SetReleaseFenceMode(hostkit::mapper::FenceMode::ONE_FD);
    hostkit::mapper::FailNextCode(hostkit::mapper::Operation::UNLOCK, 5);
    mapper->UnLock(buffer, fence);
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_DEBUG, HIDL_TAG, "UnLock: failed to unlock error 5!");
    EXPECT_EQ(-7, fence);
    mapper->UnLock(buffer, fence);  // the lock is still held: now it goes
    ASSERT_GE(fence, 0);
    close(fence);
    mapper->FreeBuffer(buffer);
    EXPECT_EQ(0u, hostkit::mapper::LiveImports());
    EXPECT_EQ(fdsBefore, OpenFds());
}

// A table that records how the adapter calls it.
namespace {

struct Calls {
    std::atomic<uint64_t> usage{0};
    ARect region{-1, -1, -1, -1};
    std::atomic<int> acquireFence{-2};
    std::atomic<int> releaseFence{-1};
    std::atomic<int> frees{0};
};
Calls gCalls;
int gPixel = 0;

AIMapper SpyTable() {
    AIMapper table{};
    table.version = AIMAPPER_VERSION_5;
    table.v5.lock = [](buffer_handle_t, uint64_t usage, ARect region, int fence, void** out) {
        gCalls.usage = usage;
        gCalls.region = region;
        gCalls.acquireFence = fence;
        if (fence >= 0) close(fence);
        *out = &gPixel;
        return AIMAPPER_ERROR_NONE;
    };
    table.v5.unlock = [](buffer_handle_t, int* fence) {
        *fence = gCalls.releaseFence;
        return AIMAPPER_ERROR_NONE;
    };
    table.v5.freeBuffer = [](buffer_handle_t) {
        ++gCalls.frees;
        return AIMAPPER_ERROR_NONE;
    };
    return table;
}

}  // namespace

TEST_F(CallbackMapper5Test, AdapterLocksWholeBufferForCpuWithoutFenceAndKeepsTheReleaseFence) {
    const AIMapper table = SpyTable();
    android::VirMapperV5 adapter(&table);
    NATIVE_HANDLE_DECLARE_STORAGE(storage, 0, 0);
    const native_handle* buffer = native_handle_init(storage, 0, 0);
    void* address = nullptr;
    ASSERT_EQ(0, adapter.Lock(buffer, address));
    EXPECT_EQ(&gPixel, address);
    EXPECT_EQ(0x33u, gCalls.usage.load());
    EXPECT_EQ(0, gCalls.region.left);
    EXPECT_EQ(0, gCalls.region.top);
    EXPECT_EQ(0, gCalls.region.right);
    EXPECT_EQ(0, gCalls.region.bottom);
    EXPECT_EQ(-1, gCalls.acquireFence.load());

    // The mapper's fence is handed over as it is: the same descriptor, not a duplicate.
    const int mapperFence = open("/dev/null", O_RDONLY | O_CLOEXEC);
    ASSERT_GE(mapperFence, 0);
    gCalls.releaseFence = mapperFence;
    const auto fdsBefore = OpenFds();
    int fence = -7;
    adapter.UnLock(buffer, fence);
    EXPECT_EQ(mapperFence, fence);
    EXPECT_EQ(fdsBefore, OpenFds());
    close(fence);

    gCalls.releaseFence = -1;
    fence = -7;
    adapter.UnLock(buffer, fence);
    EXPECT_EQ(-7, fence);  // no fence: the value stays

    const native_handle* none = nullptr;
    adapter.FreeBuffer(none);
    EXPECT_EQ(-1, adapter.Lock(none, address));
    EXPECT_EQ(0, gCalls.frees.load());
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, HIDL_TAG, "FreeBuffer: buffer is null");
    HOSTKIT_EXPECT_LOG_LINE(ANDROID_LOG_ERROR, HIDL_TAG, "Lock: buffer is null");
    adapter.FreeBuffer(buffer);
    EXPECT_EQ(1, gCalls.frees.load());
}
