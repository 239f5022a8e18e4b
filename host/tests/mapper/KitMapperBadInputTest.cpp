#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <gtest/gtest.h>
#include <hostkit/Mapper.h>

#include "MapperClient.h"

namespace {

namespace km = hostkit::mapper;

template <typename V>
class KitMapperBadInput : public ::testing::Test {
  protected:
    void SetUp() override {
        km::Reset();
        ASSERT_TRUE(km::Offer({V::VERSION}));
        mClient = std::make_unique<MapperClient<V>>(MapperClient<V>::Lookup());
        ASSERT_NE(mClient->Service(), nullptr);
        // For handles that cannot cross a binder transaction as they are: the implementation.
        mStub = std::make_unique<MapperClient<V>>(V::IMapper::tryGetService("default", true));
        ASSERT_NE(mStub->Service(), nullptr);
        mRaw = km::Allocate(320, 240, NV21, CPU_READ_WRITE);
        ASSERT_NE(mRaw, nullptr);
    }
    void TearDown() override {
        km::FreeAllocated(mRaw);
        EXPECT_EQ(km::Reset(), 0u);
    }
    // A copy of mRaw whose fd is replaced by `fd` (not owned by the copy).
    native_handle_t* WithFd(int fd) {
        native_handle_t* copy = native_handle_create(mRaw->numFds, mRaw->numInts);
        std::copy(mRaw->data, mRaw->data + mRaw->numFds + mRaw->numInts, copy->data);
        copy->data[0] = fd;
        return copy;
    }
    void ExpectImportRejected(const native_handle_t* handle, const char* what, bool direct = false) {
        auto imported = direct ? mStub->Import(handle) : mClient->Import(handle);
        EXPECT_TRUE(imported.ok) << what;
        EXPECT_EQ(imported.error, V::Error::BAD_BUFFER) << what;
        EXPECT_EQ(imported.buffer, nullptr) << what;
        EXPECT_EQ(km::LiveImports(), 0u) << what;
    }

    std::unique_ptr<MapperClient<V>> mClient;
    std::unique_ptr<MapperClient<V>> mStub;
    native_handle_t* mRaw = nullptr;
};
TYPED_TEST_SUITE(KitMapperBadInput, AllMapperVersions);

TYPED_TEST(KitMapperBadInput, ImportRejectsMalformedHandles) {
    this->ExpectImportRejected(nullptr, "null");
    native_handle_t* noFd = native_handle_create(0, this->mRaw->numInts);
    std::copy(this->mRaw->data + 1, this->mRaw->data + 1 + this->mRaw->numInts, noFd->data);
    this->ExpectImportRejected(noFd, "no fd");
    native_handle_delete(noFd);
    native_handle_t* fewInts = native_handle_create(1, 2);
    fewInts->data[0] = this->mRaw->data[0];
    fewInts->data[1] = fewInts->data[2] = 0;
    this->ExpectImportRejected(fewInts, "too few ints");
    native_handle_delete(fewInts);
    native_handle_t* twoFds = native_handle_create(2, this->mRaw->numInts);
    twoFds->data[0] = twoFds->data[1] = this->mRaw->data[0];
    std::copy(this->mRaw->data + 1, this->mRaw->data + 1 + this->mRaw->numInts, twoFds->data + 2);
    this->ExpectImportRejected(twoFds, "two fds");
    native_handle_delete(twoFds);
    native_handle_t* badVersion = this->WithFd(this->mRaw->data[0]);
    badVersion->version = 7;
    this->ExpectImportRejected(badVersion, "wrong version", true);
    badVersion->version = sizeof(native_handle_t);
    badVersion->data[1 + 1] = 4096;  // width no longer matches the memory size
    this->ExpectImportRejected(badVersion, "size mismatch");
    native_handle_delete(badVersion);
}

TYPED_TEST(KitMapperBadInput, ImportRejectsForeignAndClosedFds) {
    int pipeFds[2];
    ASSERT_EQ(pipe(pipeFds), 0);
    native_handle_t* pipeHandle = this->WithFd(pipeFds[0]);
    this->ExpectImportRejected(pipeHandle, "pipe fd");
    // A memfd of the right size that the allocator did not make.
    const int memfd = memfd_create("foreign", MFD_CLOEXEC);
    ASSERT_GE(memfd, 0);
    ASSERT_EQ(ftruncate(memfd, 320 * 240 * 3 / 2), 0);
    native_handle_t* memfdHandle = this->WithFd(memfd);
    this->ExpectImportRejected(memfdHandle, "foreign memfd");
    // Another kit buffer of the same geometry: not the memory this handle describes.
    native_handle_t* other = km::Allocate(320, 240, NV21, CPU_READ_WRITE);
    native_handle_t* swapped = this->WithFd(other->data[0]);
    this->ExpectImportRejected(swapped, "another buffer's fd");
    close(pipeFds[1]);
    close(pipeFds[0]);
    close(memfd);
    native_handle_t* closedHandle = this->WithFd(pipeFds[0]);
    this->ExpectImportRejected(closedHandle, "closed fd", true);
    for (auto* h : {pipeHandle, memfdHandle, swapped, closedHandle}) native_handle_delete(h);
    km::FreeAllocated(other);
}

TYPED_TEST(KitMapperBadInput, UnknownBuffersAndDoubleFreeGiveBadBuffer) {
    using Error = typename TypeParam::Error;
    auto& client = *this->mClient;
    int notABuffer = 0;
    EXPECT_EQ(client.Free(nullptr).second, Error::BAD_BUFFER);
    EXPECT_EQ(client.Free(&notABuffer).second, Error::BAD_BUFFER);
    EXPECT_EQ(client.Lock(&notABuffer).error, Error::BAD_BUFFER);
    EXPECT_EQ(client.Unlock(&notABuffer).error, Error::BAD_BUFFER);
    EXPECT_EQ(client.Free(this->mRaw).second, Error::BAD_BUFFER) << "a raw handle is not an import";

    auto imported = client.Import(this->mRaw);
    ASSERT_EQ(imported.error, Error::NONE);
    auto unlocked = client.Unlock(imported.buffer);
    EXPECT_TRUE(unlocked.ok);
    EXPECT_EQ(unlocked.error, Error::BAD_BUFFER) << "unlock without lock";
    EXPECT_EQ(unlocked.fenceFds, -1);
    EXPECT_EQ(client.Free(imported.buffer).second, Error::NONE);
    EXPECT_EQ(client.Free(imported.buffer).second, Error::BAD_BUFFER) << "double free";
    EXPECT_EQ(client.Lock(imported.buffer).error, Error::BAD_BUFFER) << "lock after free";
}

TYPED_TEST(KitMapperBadInput, LockRejectsBadUsageAndRegion) {
    using Error = typename TypeParam::Error;
    using Rect = typename MapperClient<TypeParam>::Rect;
    auto& client = *this->mClient;
    auto imported = client.Import(this->mRaw);
    ASSERT_EQ(imported.error, Error::NONE);
    EXPECT_EQ(client.Lock(imported.buffer, 0).error, Error::BAD_VALUE) << "no usage";
    EXPECT_EQ(client.Lock(imported.buffer, 1ull << 17).error, Error::BAD_VALUE) << "camera output only";
    EXPECT_EQ(client.Lock(imported.buffer, CPU_READ_WRITE | (1ull << 8)).error, Error::BAD_VALUE);
    EXPECT_EQ(client.Lock(imported.buffer, CPU_READ_WRITE, Rect{0, 0, 321, 240}).error, Error::BAD_VALUE);
    EXPECT_EQ(client.Lock(imported.buffer, CPU_READ_WRITE, Rect{-1, 0, 10, 10}).error, Error::BAD_VALUE);
    auto part = client.Lock(imported.buffer, CPU_READ_WRITE, Rect{10, 10, 20, 20});
    EXPECT_EQ(part.error, Error::NONE);
    EXPECT_EQ(km::MappedRegions().begin()->first, reinterpret_cast<uintptr_t>(part.data))
        << "lock returns the top-left of the whole buffer";
    EXPECT_EQ(client.Unlock(imported.buffer).error, Error::NONE);
    EXPECT_EQ(client.Free(imported.buffer).second, Error::NONE);

    native_handle_t* readOnly = km::Allocate(16, 16, NV21, 0x3 /* CPU_READ_OFTEN */);
    auto ro = client.Import(readOnly);
    ASSERT_EQ(ro.error, Error::NONE);
    EXPECT_EQ(client.Lock(ro.buffer, 0x30).error, Error::BAD_VALUE) << "write lock of a read-only buffer";
    EXPECT_EQ(client.Lock(ro.buffer, 0x3).error, Error::NONE);
    EXPECT_EQ(client.Unlock(ro.buffer).error, Error::NONE);
    EXPECT_EQ(client.Free(ro.buffer).second, Error::NONE);
    km::FreeAllocated(readOnly);
}

TEST(KitMapperAllocator, SizesAndRejectedInput) {
    native_handle_t* nv21 = km::Allocate(1920, 1080, NV21, CPU_READ_WRITE);
    ASSERT_NE(nv21, nullptr);
    EXPECT_EQ(nv21->numFds, 1);
    EXPECT_EQ(lseek(nv21->data[0], 0, SEEK_END), 3110400);
    km::FreeAllocated(nv21);
    native_handle_t* rgba = km::Allocate(100, 10, 1 /* RGBA_8888 */, CPU_READ_WRITE);
    ASSERT_NE(rgba, nullptr);
    EXPECT_EQ(lseek(rgba->data[0], 0, SEEK_END), 4000);
    km::FreeAllocated(rgba);
    EXPECT_EQ(km::Allocate(0, 1080, NV21, CPU_READ_WRITE), nullptr);
    EXPECT_EQ(km::Allocate(1921, 1080, NV21, CPU_READ_WRITE), nullptr) << "odd NV21 width";
    EXPECT_EQ(km::Allocate(64, 64, 0x7777, CPU_READ_WRITE), nullptr) << "unknown format";
    km::FreeAllocated(nullptr);
}

}  // namespace
