#include "common/HashIdCache.h"

#include <gtest/gtest.h>

#include <atomic>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

namespace {

using android::HashIdCache;

struct KnownId {
    std::string text;
    int id;
};

void PrintTo(const KnownId& k, std::ostream* out) { *out << k.id; }

class HashIdKnownValuesTest : public ::testing::TestWithParam<KnownId> {};

TEST_P(HashIdKnownValuesTest, ComputesExpectedValue) {
    HashIdCache cache;
    EXPECT_EQ(GetParam().id, cache.ConvertToHashID(GetParam().text));
    EXPECT_EQ(GetParam().id, cache.ConvertToHashID(GetParam().text));  // cached answer
    EXPECT_EQ(GetParam().id, HashIdCache::Compute(GetParam().text));
}

// 39 bytes of 255 plus '6' (54) add up to 9999: A wraps to 0, B is 9999.
const std::string BYTE_TOTAL_9999 = std::string(39, '\xff') + "6";

INSTANTIATE_TEST_SUITE_P(
        Identifiers, HashIdKnownValuesTest,
        ::testing::Values(KnownId{"", 10001}, KnownId{"a", 980195}, KnownId{"ab", 1960391},
                          KnownId{"ba", 1960391}, KnownId{"W_DEFAULT_DEVICE", 12272453},
                          KnownId{"C_DEFAULT_SERVICE_", 13992797}, KnownId{BYTE_TOTAL_9999, 9999},
                          KnownId{"\xff", 2560511},        // bytes above 127 count unsigned
                          KnownId{"\xc3\xa9", 3650729},    // "é" in UTF-8: 195 + 169
                          KnownId{std::string(1, '\0'), 10001}));  // a NUL byte is not empty

TEST(HashIdCacheTest, DefaultRegistrationSumsToKnownUniqueId) {
    HashIdCache cache;
    EXPECT_EQ(26265250, cache.ConvertToHashID("W_DEFAULT_DEVICE") +
                                cache.ConvertToHashID("C_DEFAULT_SERVICE_"));
}

TEST(HashIdCacheTest, ClearsAllAtThousandAndOneEntriesAndKeepsResults) {
    HashIdCache cache;
    std::vector<int> first;
    for (int i = 0; i < 1000; ++i) first.push_back(cache.ConvertToHashID("s" + std::to_string(i)));
    EXPECT_EQ(1000u, cache.Size());
    cache.ConvertToHashID("s1000");
    EXPECT_EQ(1001u, cache.Size());  // reaching 1001 does not clear yet
    EXPECT_EQ(first[5], cache.ConvertToHashID("s5"));  // the call that finds 1001 clears first
    EXPECT_EQ(1u, cache.Size());
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(first[i], cache.ConvertToHashID("s" + std::to_string(i)));
    }
}

TEST(HashIdCacheTest, ConcurrentCallersAgreeWithComputation) {
    HashIdCache cache;
    constexpr int THREADS = 4;
    constexpr int STRINGS = 3000;  // several clears per thread
    std::atomic<int> mismatches{0};
    std::vector<std::thread> callers;
    for (int t = 0; t < THREADS; ++t) {
        callers.emplace_back([&cache, &mismatches, t] {
            for (int i = 0; i < STRINGS; ++i) {
                const std::string text = "device" + std::to_string((i * 7 + t) % STRINGS);
                if (cache.ConvertToHashID(text) != HashIdCache::Compute(text)) ++mismatches;
            }
        });
    }
    for (std::thread& caller : callers) caller.join();
    EXPECT_EQ(0, mismatches.load());
    EXPECT_LE(cache.Size(), HashIdCache::MAX_ENTRIES);
}

}  // namespace
