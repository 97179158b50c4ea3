// The text of every 32-bit float, or of every nth: FLOAT_STEP=1 takes them all.

#include "DataRecord.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

/// How many of the floats first, first + step, ... have another text than the standard's default
/// notation with 6 significant digits gives them.
uint64_t differencesFrom(uint64_t first, uint64_t step) {
    uint64_t differences = 0;
    for (uint64_t bits = first; bits <= UINT32_MAX; bits += step) {
        const auto value = std::bit_cast<float>(static_cast<uint32_t>(bits));
        char expected[32];
        const int length =
            std::snprintf(expected, sizeof expected, ",%g", static_cast<double>(value));
        // Twice: the text of a value that was written before isn't put together again.
        for (int time = 0; time < 2; ++time) {
            FieldText field;
            field.add(value);
            if (field.text() != std::string_view(expected, static_cast<size_t>(length))) {
                ++differences;
            }
        }
    }
    return differences;
}

TEST(FloatText, isThatOfTheDefaultNotation) {
    const char* const chosen = std::getenv("FLOAT_STEP");
    const uint64_t step = chosen != nullptr ? std::stoull(chosen) : 4093; // a prime
    const unsigned threads = std::max(1U, std::thread::hardware_concurrency());
    std::atomic<uint64_t> differences = 0;
    std::vector<std::thread> running;
    for (unsigned each = 0; each < threads; ++each) {
        running.emplace_back(
            [&, each] { differences += differencesFrom(each * step, threads * step); });
    }
    for (std::thread& thread : running) {
        thread.join();
    }
    EXPECT_EQ(differences, 0U);
}

TEST(FloatText, isThatOfTheValueWhateverWasWrittenBefore) {
    std::mt19937 random(20190303);
    std::vector<float> values;
    for (int count = 0; count < 5000; ++count) {
        values.push_back(std::bit_cast<float>(static_cast<uint32_t>(random())));
        values.push_back(static_cast<float>(static_cast<int>(random() % 65536) / 1000.0));
    }
    for (int count = 0; count < 200000; ++count) {
        const float value = values[random() % values.size()];
        char expected[32];
        (void)std::snprintf(expected, sizeof expected, ",%g", static_cast<double>(value));
        FieldText field;
        field.add(value);
        ASSERT_EQ(field.text(), expected);
    }
}

} // namespace
