#include "process/random_key.h"

#include <gmock/gmock.h>

#include <set>
#include <string>
#include <vector>

namespace zelrtc::camera {
namespace {

using ::testing::MatchesRegex;
using ::testing::SizeIs;

TEST(RandomKey, Is32HexadecimalDigits) {
    EXPECT_THAT(randomKey(), MatchesRegex("[0-9a-f]+"));
    EXPECT_THAT(randomKey(), SizeIs(32));
}

TEST(RandomKey, IsAnotherEachTimeInEveryDigit) {
    std::set<std::string> keys;
    std::vector<std::set<char>> digits(32);
    for (int i = 0; i < 1000; ++i) {
        const std::string key = randomKey();
        keys.insert(key);
        for (size_t at = 0; at < digits.size(); ++at) {
            digits[at].insert(key[at]);
        }
    }
    EXPECT_THAT(keys, SizeIs(1000));
    for (const auto& seen : digits) {
        EXPECT_THAT(seen, SizeIs(16));
    }
}

}  // namespace
}  // namespace zelrtc::camera
