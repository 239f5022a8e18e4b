// The kit's mapper 5: the allocator that names the library, and the library itself as a device
// would load it (through libvndksupport, from the stand-in for /vendor/lib64/hw).
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include <aidl/android/hardware/graphics/allocator/IAllocator.h>
#include <android/binder_manager.h>
#include <android/hardware/graphics/mapper/IMapper.h>
#include <gtest/gtest.h>
#include <hostkit/BinderServices.h>
#include <hostkit/Mapper.h>
#include <vndksupport/linker.h>

#include "OpenFds.h"

namespace {

namespace km = hostkit::mapper;
using aidl::android::hardware::graphics::allocator::IAllocator;

constexpr int32_t NV21 = 17;
constexpr uint64_t CPU_READ_WRITE = 0x33;

std::string AskSuffix() {
    ndk::SpAIBinder binder(AServiceManager_checkService(km::ALLOCATOR_INSTANCE));
    auto allocator = IAllocator::fromBinder(binder);
    std::string suffix = "unanswered";
    if (allocator == nullptr || !allocator->getIMapperLibrarySuffix(&suffix).isOk()) return "unanswered";
    return suffix;
}

// A pipe's read end with a byte waiting: a signalled fence.
int SignalledFence() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return -1;
    const char one = 1;
    (void)!write(ends[1], &one, 1);
    close(ends[1]);
    return ends[0];
}

bool IsOpen(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

class KitMapper5 : public ::testing::Test {
  protected:
    void SetUp() override {
        km::Reset();
        hostkit::binder::Reset();
    }
    void TearDown() override {
        EXPECT_EQ(km::Reset(), 0u);
        hostkit::binder::Reset();
    }
    // The table of the working library, loaded as a device process would.
    const AIMapper* Load() {
        void* library = android_load_sphal_library(
                ("/vendor/lib64/hw/mapper." + std::string(km::SUFFIX) + ".so").c_str(), RTLD_LOCAL | RTLD_NOW);
        if (library == nullptr) return nullptr;
        auto version = static_cast<const uint32_t*>(dlsym(library, "ANDROID_HAL_STABLEC_VERSION"));
        auto load = reinterpret_cast<AIMapper_Error (*)(AIMapper**)>(dlsym(library, "AIMapper_loadIMapper"));
        AIMapper* table = nullptr;
        if (version == nullptr || *version != 5 || load == nullptr || load(&table) != AIMAPPER_ERROR_NONE) {
            return nullptr;
        }
        return table;
    }
};

TEST_F(KitMapper5, OfferingIt) {
    EXPECT_FALSE(AServiceManager_isDeclared(km::ALLOCATOR_INSTANCE));
    ASSERT_TRUE(km::Offer({4, 5}));
    EXPECT_TRUE(AServiceManager_isDeclared(km::ALLOCATOR_INSTANCE));
    EXPECT_EQ(km::SUFFIX, AskSuffix());
    km::SetMapper5Suffix("other");
    EXPECT_EQ("other", AskSuffix());
    EXPECT_FALSE(km::Kill(5)) << "mapper 5 never dies";
    ASSERT_TRUE(km::Offer({4}));
    EXPECT_FALSE(AServiceManager_isDeclared(km::ALLOCATOR_INSTANCE));
    EXPECT_EQ("unanswered", AskSuffix());
    km::Reset();
    ASSERT_TRUE(km::Offer({5}));
    EXPECT_EQ(km::SUFFIX, AskSuffix()) << "Reset restores the suffix";
}

TEST_F(KitMapper5, LibraryWorksOnTheSharedRegistryAndOwnsTheFencesItIsGiven) {
    const AIMapper* mapper = Load();
    ASSERT_NE(nullptr, mapper);
    ASSERT_EQ(AIMAPPER_VERSION_5, mapper->version);
    native_handle_t* raw = km::Allocate(64, 48, NV21, CPU_READ_WRITE);
    ASSERT_NE(nullptr, raw);
    const auto before = OpenFds();

    buffer_handle_t buffer = nullptr;
    ASSERT_EQ(AIMAPPER_ERROR_NONE, mapper->v5.importBuffer(raw, &buffer));
    EXPECT_EQ(1u, km::LiveImports());
    EXPECT_EQ(5, km::LastImportVersion());

    // lock owns the acquire fence: closed on success and on every refusal.
    void* data = nullptr;
    int fence = SignalledFence();
    ASSERT_EQ(AIMAPPER_ERROR_NONE, mapper->v5.lock(buffer, CPU_READ_WRITE, ARect{0, 0, 0, 0}, fence, &data));
    EXPECT_FALSE(IsOpen(fence));
    ASSERT_NE(nullptr, data);
    memset(data, 0x42, 64 * 48 * 3 / 2);
    int release = -7;
    ASSERT_EQ(AIMAPPER_ERROR_NONE, mapper->v5.unlock(buffer, &release));
    EXPECT_EQ(-1, release) << "no fence in the default mode";

    for (uint64_t usage : {uint64_t{0}, uint64_t{0x100} | CPU_READ_WRITE}) {
        fence = SignalledFence();
        EXPECT_EQ(AIMAPPER_ERROR_BAD_VALUE, mapper->v5.lock(buffer, usage, ARect{0, 0, 0, 0}, fence, &data));
        EXPECT_FALSE(IsOpen(fence)) << usage;
    }
    // Edges, not sizes: {16, 8, 64, 48} fits a 64x48 buffer, {16, 8, 64, 49} does not.
    EXPECT_EQ(AIMAPPER_ERROR_BAD_VALUE, mapper->v5.lock(buffer, CPU_READ_WRITE, ARect{16, 8, 64, 49}, -1, &data));
    ASSERT_EQ(AIMAPPER_ERROR_NONE, mapper->v5.lock(buffer, CPU_READ_WRITE, ARect{16, 8, 64, 48}, -1, &data));
    km::FailNextCode(km::Operation::LOCK, AIMAPPER_ERROR_NO_RESOURCES);
    fence = SignalledFence();
    EXPECT_EQ(AIMAPPER_ERROR_NO_RESOURCES, mapper->v5.lock(buffer, CPU_READ_WRITE, ARect{}, fence, &data));
    EXPECT_FALSE(IsOpen(fence)) << "an injected failure closes it too";

    // The release fence is the caller's to close.
    km::SetReleaseFenceMode(km::FenceMode::ONE_FD);
    ASSERT_EQ(AIMAPPER_ERROR_NONE, mapper->v5.unlock(buffer, &release));
    ASSERT_GE(release, 0);
    EXPECT_TRUE(IsOpen(release));
    close(release);
    EXPECT_EQ(AIMAPPER_ERROR_BAD_BUFFER, mapper->v5.unlock(buffer, &release)) << "not locked";

    ASSERT_EQ(AIMAPPER_ERROR_NONE, mapper->v5.freeBuffer(buffer));
    EXPECT_EQ(AIMAPPER_ERROR_BAD_BUFFER, mapper->v5.freeBuffer(buffer));
    EXPECT_EQ(0u, km::LiveImports());
    EXPECT_TRUE(km::MappedRegions().empty());
    EXPECT_EQ(before, OpenFds());

    ASSERT_TRUE(km::Offer({5}));
    auto bytes = km::ReadBack(raw);
    ASSERT_TRUE(bytes.has_value()) << "read back through mapper 5";
    EXPECT_EQ(0x42, bytes->front());
    km::FreeAllocated(raw);
}

}  // namespace
