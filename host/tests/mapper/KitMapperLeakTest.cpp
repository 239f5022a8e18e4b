#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <hostkit/Mapper.h>

#include "MapperClient.h"
#include "ProcessSnapshot.h"

namespace {

namespace km = hostkit::mapper;

template <typename V>
class KitMapperLeak : public ::testing::Test {
  protected:
    void SetUp() override { km::Reset(); }
    void TearDown() override { EXPECT_EQ(km::Reset(), 0u); }
};
TYPED_TEST_SUITE(KitMapperLeak, AllMapperVersions);

// Every cycle uses a release fence too, so the mapper's fence fds are covered as well.
TYPED_TEST(KitMapperLeak, ThousandCyclesLeaveFdsAndMappingsAsTheyWere) {
    using Error = typename TypeParam::Error;
    ASSERT_TRUE(km::Offer({TypeParam::VERSION}));
    MapperClient<TypeParam> client(MapperClient<TypeParam>::Lookup());
    ASSERT_NE(client.Service(), nullptr);
    native_handle_t* raw = km::Allocate(640, 480, NV21, CPU_READ_WRITE);
    ASSERT_NE(raw, nullptr);
    km::SetReleaseFenceMode(km::FenceMode::ONE_FD);

    const auto fdsBefore = OpenFds();
    const auto mappingsBefore = BufferMappings();
    const auto regionsBefore = km::MappedRegions();
    for (int i = 0; i < 1000; ++i) {
        auto imported = client.Import(raw);
        ASSERT_EQ(imported.error, Error::NONE) << "cycle " << i;
        auto locked = client.Lock(imported.buffer);
        ASSERT_EQ(locked.error, Error::NONE) << "cycle " << i;
        static_cast<uint8_t*>(locked.data)[i] = static_cast<uint8_t>(i);
        auto unlocked = client.Unlock(imported.buffer);
        ASSERT_EQ(unlocked.error, Error::NONE) << "cycle " << i;
        ASSERT_EQ(unlocked.fenceFds, 1);
        ASSERT_GE(unlocked.fenceDup, 0);
        close(unlocked.fenceDup);
        ASSERT_EQ(client.Free(imported.buffer).second, Error::NONE) << "cycle " << i;
    }
    EXPECT_EQ(OpenFds(), fdsBefore);
    EXPECT_EQ(BufferMappings(), mappingsBefore);
    EXPECT_EQ(km::MappedRegions(), regionsBefore);
    EXPECT_EQ(km::LiveImports(), 0u);
    km::FreeAllocated(raw);
}

TYPED_TEST(KitMapperLeak, ConcurrentCyclesOnOneBufferLoseNothing) {
    using Error = typename TypeParam::Error;
    ASSERT_TRUE(km::Offer({TypeParam::VERSION}));
    native_handle_t* raw = km::Allocate(64, 64, NV21, CPU_READ_WRITE);
    ASSERT_NE(raw, nullptr);
    const auto fdsBefore = OpenFds();
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            MapperClient<TypeParam> client(MapperClient<TypeParam>::Lookup());
            for (int i = 0; i < 200; ++i) {
                auto imported = client.Import(raw);
                auto locked = client.Lock(imported.buffer);
                if (locked.error == Error::NONE) static_cast<uint8_t*>(locked.data)[t] = static_cast<uint8_t>(i);
                const bool ok = imported.error == Error::NONE && locked.error == Error::NONE &&
                                client.Unlock(imported.buffer).error == Error::NONE &&
                                client.Free(imported.buffer).second == Error::NONE;
                if (!ok) ++failures;
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(km::LiveImports(), 0u);
    EXPECT_EQ(OpenFds(), fdsBefore);
    km::FreeAllocated(raw);
}

TEST(KitMapperLeakCheck, LiveImportAndMappingAreVisible) {
    km::Reset();
    ASSERT_TRUE(km::Offer({4}));
    MapperClient<MapperV4> client(MapperClient<MapperV4>::Lookup());
    native_handle_t* raw = km::Allocate(64, 64, NV21, CPU_READ_WRITE);
    const auto fdsBefore = OpenFds();
    const auto mappingsBefore = BufferMappings();
    auto imported = client.Import(raw);
    ASSERT_EQ(imported.error, MapperV4::Error::NONE);
    // The checks above would notice a forgotten free: an extra fd and an extra mapping.
    EXPECT_NE(OpenFds(), fdsBefore);
    EXPECT_NE(BufferMappings(), mappingsBefore);
    EXPECT_EQ(km::LiveImports(), 1u);
    EXPECT_EQ(km::Reset(), 1u) << "Reset reports and releases the leaked import";
    EXPECT_EQ(OpenFds(), fdsBefore);
    EXPECT_EQ(BufferMappings(), mappingsBefore);
    km::FreeAllocated(raw);
}

}  // namespace
