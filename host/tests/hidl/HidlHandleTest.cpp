#include <fcntl.h>
#include <unistd.h>

#include <set>

#include <gtest/gtest.h>

#include <cutils/native_handle.h>
#include <hidl/HidlSupport.h>

#include "OpenFds.h"

using ::android::hardware::hidl_handle;

namespace {

// A handle with both ends of a pipe and one int.
class KitHidlHandle : public ::testing::Test {
  protected:
    void SetUp() override {
        mBefore = OpenFds();
        int fds[2];
        ASSERT_EQ(pipe2(fds, O_CLOEXEC), 0);
        mRaw = native_handle_create(2, 1);
        ASSERT_NE(mRaw, nullptr);
        mRaw->data[0] = fds[0];
        mRaw->data[1] = fds[1];
        mRaw->data[2] = 42;
        mWithRaw = OpenFds();
    }
    void TearDown() override {
        if (mRaw != nullptr) {
            native_handle_close(mRaw);
            native_handle_delete(mRaw);
        }
        EXPECT_EQ(OpenFds(), mBefore);
    }

    std::map<int, std::string> mBefore;
    std::map<int, std::string> mWithRaw;
    native_handle_t* mRaw = nullptr;
};

TEST_F(KitHidlHandle, RawPointerIsBorrowedAndCopiesOwnClones) {
    {
        hidl_handle borrowed(mRaw);
        EXPECT_EQ(borrowed.getNativeHandle(), mRaw);
        hidl_handle copy(borrowed);
        ASSERT_NE(copy.getNativeHandle(), nullptr);
        EXPECT_NE(copy.getNativeHandle(), mRaw);
        EXPECT_NE(copy->data[0], mRaw->data[0]);  // dup'ed
        EXPECT_EQ(copy->data[2], 42);
        EXPECT_EQ(OpenFds().size(), mWithRaw.size() + 2);
        hidl_handle assigned;
        assigned = copy;
        hidl_handle moved(std::move(assigned));
        EXPECT_EQ(assigned.getNativeHandle(), nullptr);
        EXPECT_NE(moved.getNativeHandle(), copy.getNativeHandle());
    }
    // Every clone closed, the borrowed fds still ours and open.
    EXPECT_EQ(OpenFds(), mWithRaw);
    EXPECT_NE(fcntl(mRaw->data[0], F_GETFD), -1);
}

TEST_F(KitHidlHandle, OwnedHandleIsFreedOnReplaceAndDestroy) {
    native_handle_t* clone = native_handle_clone(mRaw);
    ASSERT_NE(clone, nullptr);
    const auto withClone = OpenFds();
    {
        hidl_handle owner;
        owner.setTo(clone, true);
        EXPECT_EQ(OpenFds(), withClone);
        owner = mRaw;  // frees the owned clone, borrows mRaw
        EXPECT_EQ(OpenFds(), mWithRaw);
        owner = hidl_handle(mRaw);  // owns a fresh clone
    }
    EXPECT_EQ(OpenFds(), mWithRaw);
    {
        hidl_handle borrowed;
        borrowed.setTo(mRaw, false);
    }
    EXPECT_EQ(OpenFds(), mWithRaw);
}

}  // namespace
