// The NDK's RAII owners offer exactly what the platform's do: nothing that would let code
// compile here and fail on a device, and set() destroys like the platform's.
#include <android/binder_auto_utils.h>
#include <gtest/gtest.h>

#include <type_traits>
#include <utility>
#include <vector>

namespace kitbinder {
namespace {

// Detects whether an expression on T compiles.
template <typename T, typename = void>
struct HasEquality : std::false_type {};
template <typename T>
struct HasEquality<T, std::void_t<decltype(std::declval<const T&>() == std::declval<const T&>())>>
    : std::true_type {};
template <typename T, typename = void>
struct HasLess : std::false_type {};
template <typename T>
struct HasLess<T, std::void_t<decltype(std::declval<const T&>() < std::declval<const T&>())>>
    : std::true_type {};
template <typename T, typename = void>
struct HasReset : std::false_type {};
template <typename T>
struct HasReset<T, std::void_t<decltype(std::declval<T&>().reset())>> : std::true_type {};

std::vector<int> gDestroyed;
void recordDestroy(int value) { gDestroyed.push_back(value); }
using Recorded = ndk::impl::ScopedAResource<int, recordDestroy, -1>;

TEST(KitBinderScopedResource, BaseOffersNoConversionComparisonOrReset) {
    EXPECT_FALSE((std::is_convertible<ndk::ScopedAStatus, AStatus*>::value));
    EXPECT_FALSE((std::is_convertible<ndk::ScopedAParcel, AParcel*>::value));
    EXPECT_FALSE((std::is_convertible<ndk::ScopedFileDescriptor, int>::value));
    EXPECT_FALSE((std::is_convertible<Recorded, int>::value));
    EXPECT_FALSE(HasEquality<ndk::ScopedAStatus>::value);
    EXPECT_FALSE(HasEquality<ndk::ScopedAParcel>::value);
    EXPECT_FALSE(HasEquality<ndk::ScopedAIBinder_DeathRecipient>::value);
    EXPECT_FALSE(HasLess<ndk::ScopedAIBinder_Weak>::value);
    EXPECT_FALSE(HasEquality<Recorded>::value);
    EXPECT_FALSE(HasReset<ndk::ScopedAStatus>::value);
    EXPECT_FALSE(HasReset<ndk::ScopedFileDescriptor>::value);
    EXPECT_FALSE(HasReset<Recorded>::value);
    EXPECT_FALSE((std::is_copy_constructible<Recorded>::value));
    EXPECT_FALSE((std::is_copy_assignable<ndk::ScopedFileDescriptor>::value));
    // What the platform's subclasses add stays.
    EXPECT_TRUE(HasEquality<ndk::ScopedFileDescriptor>::value);
    EXPECT_TRUE(HasLess<ndk::ScopedFileDescriptor>::value);
    EXPECT_TRUE(HasEquality<ndk::SpAIBinder>::value);
    EXPECT_TRUE(HasLess<ndk::SpAIBinder>::value);
}

TEST(KitBinderScopedResource, SetDestroysTheOldValueEvenWhenItComesBack) {
    gDestroyed.clear();
    {
        Recorded owner(5);
        owner.set(5);  // a device destroys 5 and keeps the dead value
        EXPECT_EQ((std::vector<int>{5}), gDestroyed);
        EXPECT_EQ(5, owner.get());
        owner.set(7);
        EXPECT_EQ((std::vector<int>{5, 5}), gDestroyed);
        owner.set(-1);
        EXPECT_EQ((std::vector<int>{5, 5, 7}), gDestroyed);
        owner.set(8);
        EXPECT_EQ(3u, gDestroyed.size());  // the default is never destroyed
    }
    EXPECT_EQ((std::vector<int>{5, 5, 7, 8}), gDestroyed);
}

TEST(KitBinderScopedResource, MovesAndReleaseHandOverWithoutDestroying) {
    gDestroyed.clear();
    Recorded first(1);
    Recorded second(std::move(first));
    EXPECT_EQ(-1, first.get());
    Recorded third(3);
    third = std::move(second);  // destroys 3, takes 1
    EXPECT_EQ((std::vector<int>{3}), gDestroyed);
    EXPECT_EQ(1, third.get());
    EXPECT_EQ(1, third.release());
    EXPECT_EQ(-1, third.get());
    *third.getR() = 4;
    EXPECT_EQ(4, third.get());
    EXPECT_EQ(4, third.release());
    EXPECT_EQ(1u, gDestroyed.size());
}

}  // namespace
}  // namespace kitbinder
