#include "Header.h"

#include <gtest/gtest.h>
#include <sstream>
#include <utility>

namespace {

std::string written(const Header& header) {
    std::ostringstream os;
    header.write(os);
    return os.str();
}

TEST(Header, writesNamesWithCommasBetweenAndNoLineEnd) {
    Header header;
    header.addName("A");
    header.addName("B");
    header.addName("C");
    EXPECT_EQ(written(header), "A,B,C");
}

TEST(Header, startsEmptyAndWritesNothing) {
    const Header header;
    EXPECT_TRUE(header.empty());
    EXPECT_EQ(header.size(), 0U);
    EXPECT_EQ(written(header), "");
}

TEST(Header, keepsDuplicates) {
    Header header;
    header.addName("A");
    header.addName("A");
    EXPECT_EQ(header.size(), 2U);
    EXPECT_EQ(written(header), "A,A");
}

TEST(Header, keepsEmptyNames) {
    Header header{""};
    EXPECT_FALSE(header.empty());
    EXPECT_EQ(header.size(), 1U);
    EXPECT_EQ(written(header), "");
    header.addName("B");
    header.addName("");
    EXPECT_EQ(written(header), ",B,");

    Header empties{"", "", ""};
    EXPECT_EQ(written(empties), ",,");
    empties.addAll(header);
    EXPECT_EQ(written(empties), ",,,,B,");
}

TEST(Header, addAllAppendsTheNamesInTheirOrder) {
    Header header{"A", "B"};
    header.addAll(Header{"D", "C"});
    EXPECT_EQ(written(header), "A,B,D,C");
}

TEST(Header, addAllOfAnEmptyHeaderChangesNothing) {
    Header header{"A"};
    header.addAll(Header());
    EXPECT_EQ(written(header), "A");

    Header empty;
    empty.addAll(Header());
    EXPECT_TRUE(empty.empty());
}

TEST(Header, addAllOntoItselfDoublesTheList) {
    Header header{"A", "B"};
    header.addAll(header);
    EXPECT_EQ(written(header), "A,B,A,B");
}

TEST(Header, canBeAssignedMovedAndAssignedToItself) {
    Header first{"A"};
    Header second{"B"};
    const Header third = second;
    second = first;
    first.addName("C");
    EXPECT_EQ(written(first), "A,C");
    EXPECT_EQ(written(second), "A");
    EXPECT_EQ(written(third), "B");

    const Header& itself = first;
    first = itself;
    EXPECT_EQ(written(first), "A,C");
    first = Header();
    EXPECT_EQ(written(first), "");
    first = std::move(second);
    second = third;
    EXPECT_EQ(written(first), "A");
    EXPECT_EQ(written(second), "B");
    const Header fourth = std::move(first);
    EXPECT_EQ(written(fourth), "A");
}

TEST(Header, copiesThatShareAListChangeIndependently) {
    Header first{"A"};
    Header second;
    second.addAll(first);
    Header third = first;
    second.addName("B");
    first.addName("C");
    EXPECT_EQ(written(first), "A,C");
    EXPECT_EQ(written(second), "A,B");
    EXPECT_EQ(written(third), "A");
}

TEST(Header, writeColumnNameWritesTheNameAsItIs) {
    std::ostringstream os;
    Header().writeColumnName(os, "a, b\n");
    EXPECT_EQ(os.str(), "a, b\n");
}

} // namespace
