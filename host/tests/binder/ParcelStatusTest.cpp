// AStatus semantics and AParcel encoding, errors and descriptor ownership.
#include <unistd.h>

#include <android/binder_parcel_utils.h>
#include <gtest/gtest.h>

#include "FdSet.h"
#include "TestServices.h"

namespace kitbinder {
namespace {

TEST(KitBinderStatus, CodesFollowThePlatform) {
    auto ss = ndk::ScopedAStatus::fromServiceSpecificError(-9);
    EXPECT_EQ(EX_SERVICE_SPECIFIC, ss.getExceptionCode());
    EXPECT_EQ(-9, ss.getServiceSpecificError());
    EXPECT_EQ(STATUS_OK, ss.getStatus());
    EXPECT_STREQ("", ss.getMessage());
    EXPECT_TRUE(ndk::ScopedAStatus::fromStatus(STATUS_OK).isOk());
    auto failed = ndk::ScopedAStatus::fromStatus(STATUS_DEAD_OBJECT);
    EXPECT_EQ(EX_TRANSACTION_FAILED, failed.getExceptionCode());
    EXPECT_EQ(STATUS_DEAD_OBJECT, failed.getStatus());
    EXPECT_EQ(0, failed.getServiceSpecificError());
    EXPECT_EQ(STATUS_UNKNOWN_ERROR, ndk::ScopedAStatus::fromStatus(12345).getStatus());
    EXPECT_EQ(EX_TRANSACTION_FAILED, ndk::ScopedAStatus::fromExceptionCode(77).getExceptionCode());
    // A transaction failure made from an exception code carries FAILED_TRANSACTION, as in libbinder.
    EXPECT_EQ(STATUS_FAILED_TRANSACTION, ndk::ScopedAStatus::fromExceptionCode(77).getStatus());
    EXPECT_EQ(STATUS_FAILED_TRANSACTION,
              ndk::ScopedAStatus::fromExceptionCode(EX_TRANSACTION_FAILED).getStatus());
    auto described = ndk::ScopedAStatus::fromExceptionCodeWithMessage(EX_TRANSACTION_FAILED, "gone");
    EXPECT_EQ(STATUS_FAILED_TRANSACTION, described.getStatus());
    EXPECT_STREQ("gone", described.getMessage());
    EXPECT_EQ(STATUS_OK, ndk::ScopedAStatus::fromExceptionCode(EX_ILLEGAL_STATE).getStatus());
    EXPECT_FALSE(ndk::ScopedAStatus().isOk());
    EXPECT_NE(std::string::npos, ss.getDescription().find("-9"));
}

class KitBinderParcel : public ::testing::Test {
  protected:
    void SetUp() override { mBaselineFds = OpenFds(); }
    void TearDown() override {
        mParcel.set(nullptr);
        EXPECT_EQ(mBaselineFds, OpenFds());
    }
    ndk::ScopedAParcel mParcel{AParcel_create()};
    std::map<int, std::string> mBaselineFds;
};

TEST_F(KitBinderParcel, UnderflowAndWrongTypesGiveErrorCodes) {
    int32_t value = 0;
    EXPECT_EQ(STATUS_NOT_ENOUGH_DATA, AParcel_readInt32(mParcel.get(), &value));
    ASSERT_EQ(STATUS_OK, AParcel_writeInt32(mParcel.get(), 7));
    ASSERT_EQ(STATUS_OK, AParcel_writeInt32(mParcel.get(), 1 << 30));
    AParcel_setDataPosition(mParcel.get(), 0);
    AIBinder* binder = nullptr;
    EXPECT_EQ(STATUS_BAD_TYPE, AParcel_readStrongBinder(mParcel.get(), &binder));
    AParcel_setDataPosition(mParcel.get(), 4);
    std::vector<int32_t> huge;
    EXPECT_EQ(STATUS_BAD_VALUE, ndk::AParcel_readVector(mParcel.get(), &huge));
    AParcel_setDataPosition(mParcel.get(), 4);
    std::string text;
    EXPECT_EQ(STATUS_UNEXPECTED_NULL, ndk::AParcel_readString(mParcel.get(), &text));
    int64_t wide = 0;
    AParcel_setDataPosition(mParcel.get(), 4);
    EXPECT_EQ(STATUS_NOT_ENOUGH_DATA, AParcel_readInt64(mParcel.get(), &wide));
    EXPECT_EQ(STATUS_BAD_VALUE, AParcel_setDataPosition(mParcel.get(), -1));
    EXPECT_EQ(STATUS_UNEXPECTED_NULL, AParcel_readInt32(nullptr, &value));
}

TEST_F(KitBinderParcel, ValuesStringsAndVectorsRoundTrip) {
    ASSERT_EQ(STATUS_OK, AParcel_writeInt64(mParcel.get(), -1234567890123LL));
    ASSERT_EQ(STATUS_OK, ndk::AParcel_writeString(mParcel.get(), std::string()));
    ASSERT_EQ(STATUS_OK, ndk::AParcel_writeString(mParcel.get(), std::optional<std::string>()));
    ASSERT_EQ(STATUS_OK, ndk::AParcel_writeVector(mParcel.get(), std::vector<std::string>{"a", "", "ccc"}));
    ASSERT_EQ(STATUS_OK, ndk::AParcel_writeVector(mParcel.get(), std::vector<int32_t>{}));
    ASSERT_EQ(STATUS_OK, AParcel_writeBool(mParcel.get(), true));
    AParcel_setDataPosition(mParcel.get(), 0);
    int64_t wide = 0;
    std::string empty = "x";
    std::optional<std::string> none = "x";
    std::vector<std::string> strings;
    std::vector<int32_t> ints{1};
    bool flag = false;
    EXPECT_EQ(STATUS_OK, AParcel_readInt64(mParcel.get(), &wide));
    EXPECT_EQ(STATUS_OK, ndk::AParcel_readString(mParcel.get(), &empty));
    EXPECT_EQ(STATUS_OK, ndk::AParcel_readString(mParcel.get(), &none));
    EXPECT_EQ(STATUS_OK, ndk::AParcel_readVector(mParcel.get(), &strings));
    EXPECT_EQ(STATUS_OK, ndk::AParcel_readVector(mParcel.get(), &ints));
    EXPECT_EQ(STATUS_OK, AParcel_readBool(mParcel.get(), &flag));
    EXPECT_EQ(-1234567890123LL, wide);
    EXPECT_EQ("", empty);
    EXPECT_FALSE(none.has_value());
    EXPECT_EQ((std::vector<std::string>{"a", "", "ccc"}), strings);
    EXPECT_TRUE(ints.empty());
    EXPECT_TRUE(flag);
    EXPECT_EQ(AParcel_getDataSize(mParcel.get()), AParcel_getDataPosition(mParcel.get()));
}

TEST_F(KitBinderParcel, FileDescriptorsAreDuplicatedOnWriteAndRead) {
    int original = makeMemFd("data");
    ASSERT_GE(original, 0);
    ASSERT_EQ(STATUS_OK, AParcel_writeParcelFileDescriptor(mParcel.get(), original));
    ASSERT_EQ(STATUS_OK, AParcel_writeParcelFileDescriptor(mParcel.get(), -1));
    const ino_t inode = inodeOf(original);
    close(original);  // the parcel keeps its own copy
    AParcel_setDataPosition(mParcel.get(), 0);
    int first = -1, second = -1, none = 5;
    ASSERT_EQ(STATUS_OK, AParcel_readParcelFileDescriptor(mParcel.get(), &first));
    ASSERT_EQ(STATUS_OK, AParcel_readParcelFileDescriptor(mParcel.get(), &none));
    AParcel_setDataPosition(mParcel.get(), 0);
    ASSERT_EQ(STATUS_OK, AParcel_readParcelFileDescriptor(mParcel.get(), &second));
    EXPECT_EQ(-1, none);
    EXPECT_NE(first, second);  // each read hands out its own descriptor
    EXPECT_EQ(inode, inodeOf(first));
    EXPECT_EQ("data", readAll(second));
    close(first);
    close(second);
    EXPECT_EQ(STATUS_UNKNOWN_ERROR, AParcel_writeParcelFileDescriptor(mParcel.get(), -5));
    EXPECT_EQ(STATUS_UNKNOWN_ERROR, AParcel_writeParcelFileDescriptor(mParcel.get(), 1000000));
}

}  // namespace
}  // namespace kitbinder
