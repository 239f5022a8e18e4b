// NativeHandle parcel format and libaidlcommonsupport ownership rules.
#include <fcntl.h>
#include <unistd.h>

#include <aidlcommonsupport/NativeHandle.h>
#include <gtest/gtest.h>

#include "FdSet.h"
#include "TestServices.h"

namespace kitbinder {
namespace {

using aidl::android::hardware::common::NativeHandle;

class KitBinderNativeHandle : public ::testing::Test {
  protected:
    void SetUp() override { mBaselineFds = OpenFds(); }
    void TearDown() override { EXPECT_EQ(mBaselineFds, OpenFds()); }

    NativeHandle makeAidl() {
        NativeHandle handle;
        handle.fds.emplace_back(makeMemFd("one"));
        handle.fds.emplace_back(makeMemFd("two"));
        handle.ints = {3, -4, 5};
        return handle;
    }
    std::map<int, std::string> mBaselineFds;
};

TEST_F(KitBinderNativeHandle, DupFromAidlGivesCallerOwnedCopies) {
    NativeHandle aidl = makeAidl();
    native_handle_t* copy = android::dupFromAidl(aidl);
    ASSERT_NE(nullptr, copy);
    ASSERT_EQ(2, copy->numFds);
    ASSERT_EQ(3, copy->numInts);
    for (int i = 0; i < 2; i++) {
        EXPECT_NE(aidl.fds[i].get(), copy->data[i]);
        EXPECT_EQ(inodeOf(aidl.fds[i].get()), inodeOf(copy->data[i]));
        EXPECT_NE(0, fcntl(copy->data[i], F_GETFD) & FD_CLOEXEC);
    }
    EXPECT_EQ(-4, copy->data[2 + 1]);
    native_handle_close(copy);
    native_handle_delete(copy);
    EXPECT_EQ("one", readAll(aidl.fds[0].get()));  // the originals are untouched
}

TEST_F(KitBinderNativeHandle, MakeFromAidlBorrowsTheNumbers) {
    NativeHandle aidl = makeAidl();
    native_handle_t* view = android::makeFromAidl(aidl);
    ASSERT_NE(nullptr, view);
    EXPECT_EQ(aidl.fds[1].get(), view->data[1]);
    EXPECT_EQ(5, view->data[4]);
    native_handle_delete(view);
    EXPECT_EQ("two", readAll(aidl.fds[1].get()));
    EXPECT_FALSE(android::isAidlNativeHandleEmpty(aidl));
    EXPECT_TRUE(android::isAidlNativeHandleEmpty(NativeHandle()));
}

TEST_F(KitBinderNativeHandle, MakeToAidlTakesOwnershipDupToAidlCopies) {
    native_handle_t* source = native_handle_create(1, 2);
    ASSERT_NE(nullptr, source);
    source->data[0] = makeMemFd("owned");
    source->data[1] = 10;
    source->data[2] = 20;
    {
        NativeHandle copied = android::dupToAidl(source);
        ASSERT_EQ(1u, copied.fds.size());
        EXPECT_NE(source->data[0], copied.fds[0].get());
        EXPECT_EQ("owned", readAll(copied.fds[0].get()));
        EXPECT_EQ((std::vector<int32_t>{10, 20}), copied.ints);
    }
    {
        NativeHandle moved = android::makeToAidl(source);
        EXPECT_EQ(source->data[0], moved.fds[0].get());
        native_handle_delete(source);  // not closed: the result owns the descriptor now
    }
}

// The platform reads the handle unchecked; the kit ends the process instead of answering an
// empty NativeHandle. (Death-test style: see CMakeLists.txt.)
TEST(KitBinderNativeHandleDeath, NullHandleToAidlEndsTheProcess) {
    EXPECT_DEATH((void)android::makeToAidl(nullptr), "makeToAidl: null native_handle_t");
    EXPECT_DEATH((void)android::dupToAidl(nullptr), "dupToAidl: null native_handle_t");
}

TEST_F(KitBinderNativeHandle, ParcelRoundTripKeepsContentAndOwnsNewFds) {
    NativeHandle sent = makeAidl();
    ndk::ScopedAParcel parcel(AParcel_create());
    ASSERT_EQ(STATUS_OK, sent.writeToParcel(parcel.get()));
    ASSERT_EQ(STATUS_OK, AParcel_writeInt32(parcel.get(), 99));  // what follows stays readable
    AParcel_setDataPosition(parcel.get(), 0);
    NativeHandle received;
    ASSERT_EQ(STATUS_OK, received.readFromParcel(parcel.get()));
    int32_t trailer = 0;
    ASSERT_EQ(STATUS_OK, AParcel_readInt32(parcel.get(), &trailer));
    EXPECT_EQ(99, trailer);
    ASSERT_EQ(2u, received.fds.size());
    EXPECT_NE(sent.fds[0].get(), received.fds[0].get());
    EXPECT_EQ("two", readAll(received.fds[1].get()));
    EXPECT_EQ(sent.ints, received.ints);
    EXPECT_NE(std::string::npos, received.toString().find("-4"));

    AParcel_setDataPosition(parcel.get(), 0);
    AParcel_writeInt32(parcel.get(), 0);  // a null marker where a handle is required
    AParcel_setDataPosition(parcel.get(), 0);
    NativeHandle refused;
    EXPECT_EQ(STATUS_UNEXPECTED_NULL, refused.readFromParcel(parcel.get()));
}

}  // namespace
}  // namespace kitbinder
