// Fields of a row, and the text of every 32-bit float, or of every nth: FLOAT_STEP=1 takes them
// all.

#include "FieldText.h"
#include "LineStream.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

/// The text that the fields of a row have.
template <typename... Values>
std::string textOf(const Values&... values) {
    std::ostringstream os;
    FieldText fields(os);
    (fields.add(values), ...);
    fields.write();
    return os.str();
}

TEST(FieldText, eachFieldHasItsCommaInFront) {
    EXPECT_EQ(textOf(true, 2, 3U, 4.5F, std::string_view("five")), ",1,2,3,4.5,five");
    EXPECT_EQ(textOf(), "");
}

TEST(FieldText, integersAreInDecimalToTheEndsOfTheirRanges) {
    EXPECT_EQ(textOf(INT_MIN, INT_MAX, UINT_MAX), ",-2147483648,2147483647,4294967295");
    EXPECT_EQ(textOf(short{SHRT_MIN}, static_cast<unsigned short>(65535)), ",-32768,65535");
    EXPECT_EQ(textOf(false, 0, 0U), ",0,0,0");
    std::ostringstream os;
    os << std::hex << std::showbase;
    FieldText fields(os);
    fields.add(255);
    fields.write();
    EXPECT_EQ(os.str(), ",255");
}

TEST(FieldText, textsAreTakenAsTheyAre) {
    using namespace std::string_literals;
    EXPECT_EQ(textOf(std::string("a,b\n\"c\"\0"s), std::string()), ",a,b\n\"c\"\0,"s);
    const std::string longText(100'000, 'x');
    EXPECT_EQ(textOf(1, longText, 2), ",1," + longText + ",2");
}

TEST(FieldText, emptyFieldsAreCommas) {
    for (const size_t count : {0U, 1U, 16U, 20U, 21U, 340U, 341U, 1000U}) {
        std::ostringstream os;
        FieldText fields(os);
        fields.addEmpty(count);
        fields.write();
        EXPECT_EQ(os.str(), std::string(count, ','));
    }
}

TEST(FieldText, aRowMayHaveAnyNumberOfFields) {
    for (int count = 0; count < 200; ++count) {
        std::ostringstream os;
        FieldText fields(os);
        std::string expected;
        for (int field = 0; field < count; ++field) {
            fields.add(-1234.56F);
            fields.add(INT_MIN);
            expected += ",-1234.56,-2147483648";
        }
        fields.write();
        EXPECT_EQ(os.str(), expected);
    }
}

TEST(FieldText, whatWasWrittenIsNotWrittenAgain) {
    std::ostringstream os;
    FieldText fields(os);
    fields.add(1);
    fields.write();
    fields.write();
    fields.add(2);
    fields.write();
    EXPECT_EQ(os.str(), ",1,2");
}

TEST(FieldText, aStreamThatTakesNothingIsMarkedBad) {
    std::ofstream neverOpened;
    FieldText fields(neverOpened);
    fields.add(1);
    fields.write();
    EXPECT_TRUE(neverOpened.bad());
}

TEST(FieldText, floatsOfEachNotation) {
    EXPECT_EQ(textOf(3.14159265F, 2500000.0F, 0.0F, -0.0F), ",3.14159,2.5e+06,0,-0");
    EXPECT_EQ(textOf(999999.4F, 999999.5F, 0.0001F, 0.00009999995F),
              ",999999,1e+06,0.0001,9.99999e-05");
    EXPECT_EQ(textOf(100000.5F, 100001.5F), ",100000,100002"); // from the middle to the even one
    EXPECT_EQ(textOf(9.9999995F, -0.99999994F, 0.00099999993F), ",10,-1,0.001"); // one digit more
    const float infinity = std::numeric_limits<float>::infinity();
    EXPECT_EQ(textOf(infinity, -infinity, std::bit_cast<float>(0x7FC00000U)), ",inf,-inf,nan");
}

/// How many of the floats first, first + step, ... and of their negatives have another text than
/// the standard's default notation with 6 significant digits gives them.
uint64_t differencesFrom(uint64_t first, uint64_t step) {
    constexpr uint32_t signBit = 0x80000000;
    uint64_t differences = 0;
    LineStream line;
    for (uint64_t bits = first; bits < signBit; bits += step) {
        const auto value = std::bit_cast<float>(static_cast<uint32_t>(bits));
        const auto negative = std::bit_cast<float>(static_cast<uint32_t>(bits) | signBit);
        char number[32];
        // The negative one has the same text after its sign. To ask for it takes half of the test.
        const int length = std::snprintf(number, sizeof number, "%g", static_cast<double>(value));
        const std::string_view text(number, static_cast<size_t>(length));
        // Twice: the text of a value that was written before isn't put together again.
        for (int time = 0; time < 2; ++time) {
            line.restart();
            FieldText fields(line);
            fields.add(value);
            fields.add(negative);
            fields.write();
            const std::string_view row = line.text();
            const bool isRight = row.size() == 2 * text.size() + 3 && row[0] == ',' &&
                                 row.substr(1, text.size()) == text &&
                                 row.substr(1 + text.size(), 2) == ",-" && row.ends_with(text);
            differences += isRight ? 0 : 1;
        }
    }
    return differences;
}

TEST(FieldText, floatsHaveTheDefaultNotation) {
    const char* const chosen = std::getenv("FLOAT_STEP");
    const uint64_t step = chosen != nullptr ? std::stoull(chosen) : 4093; // a prime
    // Processes and not threads: the table of known texts is not made for several.
    const unsigned processes = std::max(1U, std::thread::hardware_concurrency());
    std::vector<pid_t> children;
    for (unsigned index = 0; index < processes; ++index) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            _exit(differencesFrom(index * step, processes * step) == 0 ? 0 : 1);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0) << "floats with another text";
    }
}

TEST(FieldText, aFloatHasTheTextOfItsValueWhateverWasWrittenBefore) {
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
        ASSERT_EQ(textOf(value), expected);
    }
}

} // namespace
