// libhidlbase value types as platform code uses them: string ordering and streaming, array and
// vector conversions, iterators, and the text of a Status.
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <iterator>
#include <list>
#include <sstream>
#include <type_traits>
#include <vector>

#include <hidl/HidlSupport.h>
#include <hidl/Status.h>

using ::android::hardware::hidl_array;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Status;

namespace {

TEST(KitHidlString, ComparesWithStringsOfEveryKind) {
    const hidl_string abc("abc");
    const hidl_string upper("ABC");
    const hidl_string def("def");
    const std::string stdAbc = "abc";

    EXPECT_TRUE(abc == "abc");
    EXPECT_TRUE("abc" == abc);
    EXPECT_TRUE(abc == stdAbc);
    EXPECT_TRUE(stdAbc == abc);
    EXPECT_TRUE(abc != upper);
    EXPECT_TRUE(abc != "ab");

    EXPECT_TRUE(upper < abc);
    EXPECT_TRUE(abc < def);
    EXPECT_FALSE(def < abc);
    EXPECT_TRUE(def > abc);
    EXPECT_FALSE(upper > abc);
    EXPECT_TRUE(abc <= abc);
    EXPECT_TRUE(abc <= def);
    EXPECT_FALSE(def <= abc);
    EXPECT_TRUE(abc >= abc);
    EXPECT_TRUE(def >= abc);
    EXPECT_FALSE(upper >= abc);
    // A prefix sorts first; text and std::string convert to hidl_string.
    EXPECT_TRUE(hidl_string("ab") < abc);
    EXPECT_TRUE(abc > "ab");
    EXPECT_TRUE("abd" >= abc);
    EXPECT_TRUE(stdAbc <= def);
}

TEST(KitHidlString, StreamsItsText) {
    std::ostringstream os;
    os << hidl_string("camera") << '|' << hidl_string() << '|' << hidl_string(std::string("x"));
    EXPECT_EQ("camera||x", os.str());
}

TEST(KitHidlArray, ConvertsFromAndToStdArray) {
    const int32_t raw[] = {5, 6, 7};
    hidl_array<int32_t, 3> fromRaw(raw);
    EXPECT_EQ(6, fromRaw[1]);

    const std::array<int32_t, 3> source{1, 2, 3};
    hidl_array<int32_t, 3> fromStd = source;
    EXPECT_EQ(3, fromStd[2]);
    fromStd[0] = 10;
    EXPECT_EQ(1, source[0]);  // a copy, not a view

    std::array<int32_t, 3> back = fromStd;
    EXPECT_EQ((std::array<int32_t, 3>{10, 2, 3}), back);
    EXPECT_TRUE((hidl_array<int32_t, 3>(back) == fromStd));
    EXPECT_TRUE((hidl_array<int32_t, 3>(source) != fromStd));
    EXPECT_EQ(3u, (hidl_array<int32_t, 3>::size()));

    std::array<hidl_string, 2> names = hidl_array<hidl_string, 2>(std::array<hidl_string, 2>{"a", "b"});
    EXPECT_EQ("b", names[1]);
}

TEST(KitHidlArray, MultiDimensionalSizeIsATupleOfDimensions) {
    hidl_array<int32_t, 2, 3> grid;
    for (size_t i = 0; i < 2; i++) {
        for (size_t j = 0; j < 3; j++) grid[i][j] = static_cast<int32_t>(i * 10 + j);
    }
    EXPECT_EQ(12, grid.data()[5]);
    EXPECT_EQ(std::make_tuple(size_t{2}, size_t{3}), grid.size());
    EXPECT_EQ(6u, grid.elementCount());
    hidl_array<int32_t, 2, 3> copy(grid.data());
    EXPECT_TRUE(copy == grid);
    EXPECT_EQ("[0, 1, 2, 10, 11, 12]", ::android::hardware::toString(copy));
}

TEST(KitHidlVec, IteratorsWalkBothWaysAndAreNoPointers) {
    static_assert(!std::is_pointer<hidl_vec<int>::iterator>::value, "a class, as on the platform");
    static_assert(!std::is_pointer<hidl_vec<int>::const_iterator>::value, "a class, as on the platform");
    hidl_vec<int32_t> vec{5, 6, 7};
    auto it = vec.begin();
    EXPECT_EQ(5, *it++);
    EXPECT_EQ(6, *it);
    EXPECT_EQ(7, *++it);
    EXPECT_EQ(vec.end(), ++it);
    EXPECT_EQ(7, *--it);
    EXPECT_EQ(3, vec.end() - vec.begin());
    EXPECT_EQ(6, vec.begin()[1]);
    EXPECT_EQ(7, *(1 + (vec.begin() + 1)));
    EXPECT_TRUE(vec.begin() < vec.end());
    for (int32_t& value : vec) value *= 2;

    const hidl_vec<int32_t>& constVec = vec;
    hidl_vec<int32_t>::const_iterator constIt = constVec.begin();
    constIt += 2;
    EXPECT_EQ(14, *constIt);
    EXPECT_EQ((std::vector<int32_t>{10, 12, 14}), std::vector<int32_t>(constVec.begin(), constVec.end()));

    struct Point {
        int x;
    };
    hidl_vec<Point> points{{1}, {2}};
    EXPECT_EQ(2, (points.begin() + 1)->x);
}

// Convertible to int only on request, as in libhidl's own range-constructor check.
struct Explicit {
    explicit Explicit(int v) : value(v) {}
    explicit operator int() const { return value; }
    int value;
};

TEST(KitHidlVec, RangeConstructorConvertsEachElementExplicitly) {
    const std::vector<Explicit> input{Explicit(1), Explicit(2), Explicit(3)};
    hidl_vec<int> fromVector(input.begin(), input.end());
    EXPECT_EQ((std::vector<int>{1, 2, 3}), static_cast<std::vector<int>>(fromVector));

    const std::list<int> list{4, 5};
    hidl_vec<int64_t> fromList(list.begin(), list.end());  // bidirectional, another type
    ASSERT_EQ(2u, fromList.size());
    EXPECT_EQ(5, fromList[1]);

    const int raw[] = {8, 9};
    hidl_vec<int> fromPointers(std::begin(raw), std::end(raw));
    EXPECT_EQ(9, fromPointers[1]);
    hidl_vec<int> empty(raw, raw);
    EXPECT_EQ(0u, empty.size());
}

// Counts through a range without storing it, so huge distances cost nothing.
class CountingIterator {
  public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = int64_t;
    using difference_type = int64_t;
    using pointer = const int64_t*;
    using reference = int64_t;

    explicit CountingIterator(int64_t at) : mAt(at) {}
    int64_t operator*() const { return mAt; }
    CountingIterator& operator++() {
        ++mAt;
        return *this;
    }
    difference_type operator-(const CountingIterator& other) const { return mAt - other.mAt; }
    bool operator==(const CountingIterator& other) const { return mAt == other.mAt; }
    bool operator!=(const CountingIterator& other) const { return mAt != other.mAt; }

  private:
    int64_t mAt;
};

TEST(KitHidlVec, RangeConstructorRefusesImpossibleSizes) {
    hidl_vec<int32_t> counted(CountingIterator(3), CountingIterator(6));
    EXPECT_EQ(3, counted[0]);
    EXPECT_EQ(5, counted[2]);
    EXPECT_DEATH(hidl_vec<int32_t>(CountingIterator(0), CountingIterator(int64_t{1} << 32)),
                 "hidl_vec can't hold more than 2\\^32 elements\\.");
    EXPECT_DEATH(hidl_vec<int32_t>(CountingIterator(6), CountingIterator(3)), "size can't be negative\\.");
}

TEST(KitHidlStatus, DescriptionNamesKnownCodesAndExplainsOthers) {
    EXPECT_EQ("Status(EX_TRANSACTION_FAILED): '-16 (Device or resource busy): '",
              Status::fromStatusT(-EBUSY).description());
    EXPECT_EQ("Status(EX_TRANSACTION_FAILED): 'TIMED_OUT: '", Status::fromStatusT(::android::TIMED_OUT).description());
    EXPECT_EQ("Status(EX_TRANSACTION_FAILED): 'FAILED_TRANSACTION: late'",
              Status::fromExceptionCode(Status::EX_TRANSACTION_FAILED, "late").description());
    EXPECT_EQ("Status(EX_NULL_POINTER): 'no buffer'",
              Status::fromExceptionCode(Status::EX_NULL_POINTER, "no buffer").description());
    EXPECT_EQ("No error", Status::fromStatusT(::android::OK).description());
}

TEST(KitHidlStatus, PrintsThroughToStringAndStreams) {
    const Status status = Status::fromExceptionCode(Status::EX_ILLEGAL_STATE, "closed");
    EXPECT_EQ("Status(EX_ILLEGAL_STATE): 'closed'", toString(status));  // found by argument lookup
    std::ostringstream os;
    os << status << " / " << Status::ok();
    EXPECT_EQ("Status(EX_ILLEGAL_STATE): 'closed' / No error", os.str());

    Return<void> busy = Status::fromStatusT(-EBUSY);
    EXPECT_EQ(toString(Status::fromStatusT(-EBUSY)), busy.description());
    EXPECT_FALSE(busy.isOk());
}

}  // namespace
