#include <cstring>
#include <vector>

#include <gtest/gtest.h>
#include <hostkit/Mapper.h>

#include "MapperClient.h"

namespace {

namespace km = hostkit::mapper;

constexpr uint32_t WIDTH = 1920;
constexpr uint32_t HEIGHT = 1080;
constexpr size_t NV21_SIZE = WIDTH * HEIGHT * 3 / 2;

template <typename V>
class KitMapperRoundTrip : public ::testing::Test {
  protected:
    void SetUp() override {
        km::Reset();
        ASSERT_TRUE(km::Offer({V::VERSION}));
        auto service = MapperClient<V>::Lookup();
        ASSERT_NE(service, nullptr);
        mClient = std::make_unique<MapperClient<V>>(service);
        mRaw = km::Allocate(WIDTH, HEIGHT, NV21, CPU_READ_WRITE);
        ASSERT_NE(mRaw, nullptr);
    }
    void TearDown() override {
        km::FreeAllocated(mRaw);
        mClient.reset();
        EXPECT_EQ(km::Reset(), 0u) << "imports leaked by the test";
    }

    std::unique_ptr<MapperClient<V>> mClient;
    native_handle_t* mRaw = nullptr;
};
TYPED_TEST_SUITE(KitMapperRoundTrip, AllMapperVersions);

TYPED_TEST(KitMapperRoundTrip, WrittenBytesReadBackThroughSecondImport) {
    using Error = typename TypeParam::Error;
    auto& client = *this->mClient;
    auto writer = client.Import(this->mRaw);
    ASSERT_TRUE(writer.ok);
    ASSERT_EQ(writer.error, Error::NONE);
    ASSERT_NE(writer.buffer, nullptr);
    EXPECT_NE(writer.buffer, static_cast<const void*>(this->mRaw)) << "import must be a new handle";

    auto locked = client.Lock(writer.buffer);
    ASSERT_TRUE(locked.ok);
    ASSERT_EQ(locked.error, Error::NONE);
    ASSERT_NE(locked.data, nullptr);
    std::vector<uint8_t> pattern(NV21_SIZE);
    for (size_t i = 0; i < pattern.size(); ++i) pattern[i] = static_cast<uint8_t>(i * 7 + 3);
    std::memcpy(locked.data, pattern.data(), pattern.size());
    auto unlocked = client.Unlock(writer.buffer);
    ASSERT_TRUE(unlocked.ok);
    EXPECT_EQ(unlocked.error, Error::NONE);
    EXPECT_EQ(unlocked.fenceFds, -1) << "default fence mode hands out no fence";

    auto reader = client.Import(this->mRaw);
    ASSERT_TRUE(reader.ok);
    ASSERT_EQ(reader.error, Error::NONE);
    EXPECT_NE(reader.buffer, writer.buffer);
    EXPECT_EQ(km::LiveImports(), 2u);
    auto readLock = client.Lock(reader.buffer, 0x3 /* CPU_READ_OFTEN */);
    ASSERT_EQ(readLock.error, Error::NONE);
    EXPECT_NE(readLock.data, locked.data) << "each import has its own mapping";
    EXPECT_EQ(std::memcmp(readLock.data, pattern.data(), pattern.size()), 0);
    EXPECT_EQ(client.Unlock(reader.buffer).error, Error::NONE);

    EXPECT_EQ(km::ReadBack(this->mRaw), pattern) << "framework read-back sees the same bytes";
    EXPECT_EQ(client.Free(reader.buffer), std::make_pair(true, Error::NONE));
    EXPECT_EQ(client.Free(writer.buffer), std::make_pair(true, Error::NONE));
    EXPECT_EQ(km::LiveImports(), 0u);
}

TYPED_TEST(KitMapperRoundTrip, Nv21MappingHasItsRealSize) {
    using Error = typename TypeParam::Error;
    auto imported = this->mClient->Import(this->mRaw);
    ASSERT_EQ(imported.error, Error::NONE);
    auto regions = km::MappedRegions();
    ASSERT_EQ(regions.size(), 1u);
    EXPECT_EQ(regions.begin()->second, NV21_SIZE);
    auto locked = this->mClient->Lock(imported.buffer);
    ASSERT_EQ(locked.error, Error::NONE);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(locked.data), regions.begin()->first);
    if constexpr (TypeParam::VERSION == 3) {
        EXPECT_EQ(locked.bytesPerPixel, 1);
        EXPECT_EQ(locked.bytesPerStride, static_cast<int32_t>(WIDTH));
    }
    // The last byte of the chroma plane is inside the buffer.
    static_cast<volatile uint8_t*>(locked.data)[NV21_SIZE - 1] = 0x5a;
    EXPECT_EQ(this->mClient->Unlock(imported.buffer).error, Error::NONE);
    EXPECT_EQ(this->mClient->Free(imported.buffer).second, Error::NONE);
}

TYPED_TEST(KitMapperRoundTrip, NestedLocksNeedAsManyUnlocks) {
    using Error = typename TypeParam::Error;
    auto imported = this->mClient->Import(this->mRaw);
    ASSERT_EQ(imported.error, Error::NONE);
    EXPECT_EQ(this->mClient->Lock(imported.buffer).error, Error::NONE);
    EXPECT_EQ(this->mClient->Lock(imported.buffer).error, Error::NONE);
    EXPECT_EQ(this->mClient->Unlock(imported.buffer).error, Error::NONE);
    EXPECT_EQ(this->mClient->Unlock(imported.buffer).error, Error::NONE);
    EXPECT_EQ(this->mClient->Unlock(imported.buffer).error, Error::BAD_BUFFER);
    EXPECT_EQ(this->mClient->Free(imported.buffer).second, Error::NONE);
}

TYPED_TEST(KitMapperRoundTrip, ImportThroughOneVersionFreesThroughAnother) {
    km::Offer({2, 3, 4});
    auto imported = this->mClient->Import(this->mRaw);
    ASSERT_EQ(imported.error, TypeParam::Error::NONE);
    auto other = MapperClient<MapperV2>(MapperClient<MapperV2>::Lookup());
    if constexpr (TypeParam::VERSION != 4) {
        MapperClient<MapperV4> v4(MapperClient<MapperV4>::Lookup());
        EXPECT_EQ(v4.Free(imported.buffer).second, MapperV4::Error::NONE);
    } else {
        EXPECT_EQ(other.Free(imported.buffer).second, MapperV2::Error::NONE);
    }
    EXPECT_EQ(km::LiveImports(), 0u);
}

}  // namespace
