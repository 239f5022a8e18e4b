#include <gtest/gtest.h>

#include <hidl/HidlSupport.h>
#include <hidl/Status.h>

using ::android::DEAD_OBJECT;
using ::android::FAILED_TRANSACTION;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Status;
using ::android::hardware::Void;

namespace {

Return<int32_t> Failed(::android::status_t status) { return Status::fromStatusT(status); }

// The death-test style comes from the command line (see CMakeLists.txt).
class KitHidlReturn : public ::testing::Test {};

TEST_F(KitHidlReturn, OkAndCheckedFailuresAreQuiet) {
    Return<int32_t> ok(5);
    EXPECT_EQ(ok.description(), "No error");
    EXPECT_EQ(static_cast<int32_t>(ok), 5);

    Return<int32_t> dead = Failed(DEAD_OBJECT);
    EXPECT_EQ(dead.description(), "Status(EX_TRANSACTION_FAILED): 'DEAD_OBJECT: '");
    EXPECT_TRUE(dead.isDeadObject());  // counts as the check

    Return<int32_t> failed = Failed(FAILED_TRANSACTION);
    EXPECT_FALSE(failed.isDeadObject());
    EXPECT_EQ(failed.withDefault(-1), -1);  // counts as the check

    Return<void> illegal = Status::fromExceptionCode(Status::EX_ILLEGAL_ARGUMENT, "bad");
    EXPECT_EQ(illegal.description(), "Status(EX_ILLEGAL_ARGUMENT): 'bad'");
    EXPECT_FALSE(illegal.isOk());
    EXPECT_TRUE(Void().isOk());
}

TEST_F(KitHidlReturn, FailedReturnAbortsWhenReadOrDroppedUnchecked) {
    EXPECT_DEATH(
            {
                Return<int32_t> r = Failed(DEAD_OBJECT);
                r.isOk();
                int32_t value = r;
                (void)value;
            },
            "Attempted to retrieve value from failed HIDL call: Status\\(EX_TRANSACTION_FAILED\\): "
            "'DEAD_OBJECT: '");
    EXPECT_DEATH({ Return<int32_t> r = Failed(DEAD_OBJECT); }, "Failed HIDL return status not checked");
    // description() and a false isDeadObject() are no check.
    EXPECT_DEATH(
            {
                Return<void> r = Status::fromStatusT(FAILED_TRANSACTION);
                (void)r.description();
                (void)r.isDeadObject();
            },
            "Failed HIDL return status not checked");
    EXPECT_DEATH(
            {
                Return<int32_t> r = Failed(DEAD_OBJECT);
                r = Return<int32_t>(1);
                r.isOk();
            },
            "Failed HIDL return status not checked");
}

TEST_F(KitHidlReturn, MovedFromReturnHasNothingToCheck) {
    Return<int32_t> first = Failed(DEAD_OBJECT);
    Return<int32_t> second(std::move(first));
    EXPECT_TRUE(second.isDeadObject());
    Return<int32_t> third(3);
    third = std::move(second);
    EXPECT_FALSE(third.isOk());
}

TEST(KitHidlTypes, StringsAndVectorsCopyTheirContents) {
    std::string text = "camera";
    hidl_string copy(text);
    text[0] = 'C';
    EXPECT_EQ(copy, "camera");
    EXPECT_EQ(hidl_string(nullptr), "");
    hidl_string external;
    external.setToExternal(text.data(), text.size());
    EXPECT_EQ(external.c_str(), text.data());
    hidl_string owned(external);
    EXPECT_NE(owned.c_str(), text.data());
    EXPECT_EQ(std::string(owned), "Camera");

    std::vector<int> source{1, 2, 3};
    hidl_vec<int> vec(source);
    source[0] = 9;
    EXPECT_EQ(vec[0], 1);
    vec.resize(4);
    EXPECT_EQ(vec.size(), 4u);
    EXPECT_EQ(vec[2], 3);
    hidl_vec<int> moved(std::move(vec));
    EXPECT_EQ(vec.size(), 0u);
    EXPECT_EQ(static_cast<std::vector<int>>(moved).at(1), 2);
    EXPECT_EQ(::android::hardware::toString(hidl_vec<hidl_string>{"a", "b"}), "[\"a\", \"b\"]");
}

}  // namespace
