#include "LineStream.h"

#include <exception>
#include <fstream>
#include <gtest/gtest.h>
#include <iomanip>
#include <limits>
#include <sstream>
#include <string>

namespace {

TEST(LineStream, holdsWhatWasWrittenInAnyWay) {
    LineStream line;
    EXPECT_EQ(line.text(), "");
    line << "a" << ',' << 1 << std::setw(3) << std::setfill('0') << 2;
    put(",text", line);
    line.put('x');
    line << std::endl;
    EXPECT_EQ(line.text(), "a,1002,textx\n");
}

TEST(LineStream, restartsWithoutText) {
    LineStream line;
    line << std::string(100'000, 'x');
    EXPECT_EQ(line.text().size(), 100'000U);
    line.restart();
    EXPECT_EQ(line.text(), "");
    line << "again";
    EXPECT_EQ(line.text(), "again");
}

TEST(LineStream, takesEveryByte) {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) {
        bytes += static_cast<char>(byte);
    }
    LineStream inserted;
    inserted << bytes;
    LineStream single;
    for (const char byte : bytes) {
        single.put(byte);
    }
    EXPECT_EQ(inserted.text(), bytes);
    EXPECT_EQ(single.text(), bytes);
    EXPECT_TRUE(single.good());
}

TEST(LineStream, worksAgainAfterAnError) {
    LineStream line;
    EXPECT_THROW(line.setstate(std::ios::badbit), std::ios::failure);
    put("lost", line);
    EXPECT_EQ(line.text(), "");
    line.restart();
    put("taken", line);
    EXPECT_EQ(line.text(), "taken");
}

TEST(LineStream, whatItHasNoRoomForIsThrownAndNotSwallowed) {
    // Longer than any string may be, which is noticed before the first character is looked at, and
    // told by std::bad_alloc or std::length_error, as the library has it.
    const std::string_view tooLong("x", std::numeric_limits<std::streamsize>::max());
    LineStream line;
    EXPECT_THROW(line.write(tooLong.data(), std::numeric_limits<std::streamsize>::max()),
                 std::exception);
    line.restart();
    EXPECT_THROW(put(tooLong, line), std::exception);
}

TEST(put, isAnInsertionOfTheText) {
    std::ostringstream os;
    os << std::hex << std::setfill('*');
    put("text", os);
    put("", os);
    EXPECT_EQ(os.str(), "text");
    os.setstate(std::ios::failbit);
    put("lost", os);
    EXPECT_EQ(os.str(), "text");
}

TEST(put, marksAStreamBadThatTakesNothing) {
    std::ofstream neverOpened;
    put("text", neverOpened);
    EXPECT_TRUE(neverOpened.bad());
}

TEST(flush, marksAStreamBadThatCanNotWrite) {
    std::ofstream full("/dev/full");
    put("text", full);
    EXPECT_TRUE(full.good());
    flush(full);
    EXPECT_TRUE(full.bad());
}

TEST(flush, leavesAFailedStreamAlone) {
    std::ofstream full("/dev/full");
    put("text", full);
    full.setstate(std::ios::failbit);
    flush(full);
    EXPECT_FALSE(full.bad());
    full.clear();
}

} // namespace
