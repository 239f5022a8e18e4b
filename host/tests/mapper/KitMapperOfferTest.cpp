#include <gtest/gtest.h>
#include <hostkit/HidlServices.h>
#include <hostkit/Mapper.h>

#include "MapperClient.h"

namespace {

namespace km = hostkit::mapper;

// Which versions a lookup finds right now, as {v2, v3, v4}.
std::vector<bool> Found() {
    return {MapperClient<MapperV2>::Lookup() != nullptr, MapperClient<MapperV3>::Lookup() != nullptr,
            MapperClient<MapperV4>::Lookup() != nullptr};
}

class NeverDies : public android::hardware::hidl_death_recipient {
  public:
    void serviceDied(uint64_t, const android::wp<android::hidl::base::V1_0::IBase>&) override {}
};

class KitMapperOffer : public ::testing::Test {
  protected:
    void SetUp() override { km::Reset(); }
    void TearDown() override { EXPECT_EQ(km::Reset(), 0u); }
};

TEST_F(KitMapperOffer, LookupsFindExactlyTheOfferedVersions) {
    EXPECT_EQ(Found(), (std::vector<bool>{false, false, false})) << "nothing offered";
    ASSERT_TRUE(km::Offer({2}));
    EXPECT_EQ(Found(), (std::vector<bool>{true, false, false}));
    ASSERT_TRUE(km::Offer({2, 4}));
    EXPECT_EQ(Found(), (std::vector<bool>{true, false, true}));
    ASSERT_TRUE(km::Offer({3}));
    EXPECT_EQ(Found(), (std::vector<bool>{false, true, false})) << "earlier versions removed";
    ASSERT_TRUE(km::Offer(std::vector<int>{2, 3, 4}));
    EXPECT_EQ(Found(), (std::vector<bool>{true, true, true}));
    ASSERT_TRUE(km::Offer({}));
    EXPECT_EQ(Found(), (std::vector<bool>{false, false, false}));
    EXPECT_FALSE(km::Offer({6})) << "unknown version";
    EXPECT_EQ(Found(), (std::vector<bool>{false, false, false}));
}

TEST_F(KitMapperOffer, KilledServiceFailsCallsWithDeadObjectUntilRestored) {
    ASSERT_TRUE(km::Offer({2, 4}, km::Transport::BINDERIZED));
    auto service = MapperClient<MapperV4>::Lookup();
    ASSERT_NE(service, nullptr);
    EXPECT_TRUE(service->isRemote());
    native_handle_t* raw = km::Allocate(64, 64, NV21, CPU_READ_WRITE);

    ASSERT_TRUE(km::Kill(4));
    EXPECT_EQ(Found(), (std::vector<bool>{true, false, false}));
    bool called = false;
    auto imported = service->importBuffer(android::hardware::hidl_handle(raw),
                                          [&](MapperV4::Error, void*) { called = true; });
    EXPECT_TRUE(imported.isDeadObject());
    EXPECT_FALSE(called) << "no callback on a transport failure";
    auto freed = service->freeBuffer(nullptr);
    EXPECT_TRUE(freed.isDeadObject());
    EXPECT_EQ(km::LiveImports(), 0u);
    EXPECT_FALSE(km::Kill(4)) << "already dead";
    EXPECT_FALSE(km::Kill(3)) << "never offered";

    ASSERT_TRUE(km::Restore(4));
    MapperClient<MapperV4> fresh(MapperClient<MapperV4>::Lookup());
    ASSERT_NE(fresh.Service(), nullptr);
    auto ok = fresh.Import(raw);
    EXPECT_TRUE(ok.ok);
    EXPECT_EQ(ok.error, MapperV4::Error::NONE);
    EXPECT_EQ(fresh.Free(ok.buffer), std::make_pair(true, MapperV4::Error::NONE));
    EXPECT_TRUE(service->ping().isDeadObject()) << "old proxies stay dead";
    km::FreeAllocated(raw);
}

// As on a device, the HIDL mappers are passthrough unless a test asks otherwise.
TEST_F(KitMapperOffer, MappersArePassthroughByDefault) {
    ASSERT_TRUE(km::Offer({3}));
    MapperClient<MapperV3> client(MapperClient<MapperV3>::Lookup());
    ASSERT_NE(client.Service(), nullptr);
    EXPECT_FALSE(client.Service()->isRemote());
    EXPECT_EQ(client.Service(), MapperClient<MapperV3>::Lookup()) << "the object itself, every time";
    android::sp<NeverDies> recipient = new NeverDies();
    EXPECT_TRUE(client.Service()->linkToDeath(recipient, 1).withDefault(false));
    native_handle_t* raw = km::Allocate(64, 64, NV21, CPU_READ_WRITE);
    auto imported = client.Import(raw);
    ASSERT_EQ(imported.error, MapperV3::Error::NONE);
    const uint64_t told = hostkit::hidl::DeathNotificationsDelivered();
    ASSERT_TRUE(km::Kill(3));
    EXPECT_EQ(MapperClient<MapperV3>::Lookup(), nullptr);
    hostkit::hidl::WaitForDeathNotifications();
    EXPECT_EQ(hostkit::hidl::DeathNotificationsDelivered(), told) << "an in-process mapper never dies";
    EXPECT_EQ(client.Free(imported.buffer), std::make_pair(true, MapperV3::Error::NONE))
        << "an in-process mapper keeps working for those holding it";
    km::FreeAllocated(raw);
}

TEST_F(KitMapperOffer, ReadBackNeedsAMapper) {
    native_handle_t* raw = km::Allocate(16, 16, NV21, CPU_READ_WRITE);
    EXPECT_FALSE(km::ReadBack(raw).has_value());
    ASSERT_TRUE(km::Offer({2}));
    auto bytes = km::ReadBack(raw);
    ASSERT_TRUE(bytes.has_value());
    EXPECT_EQ(bytes->size(), 16u * 16u * 3u / 2u);
    EXPECT_EQ(km::LiveImports(), 0u);
    km::FreeAllocated(raw);
}

}  // namespace
