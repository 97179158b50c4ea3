#include "RecordBytes.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <numeric>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

/// Bytes that tell their place.
Bytes bytesUpTo(size_t count) {
    Bytes bytes(count);
    std::iota(bytes.begin(), bytes.end(), uint8_t{1});
    return bytes;
}

Bytes contentOf(const RecordBytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

TEST(RecordBytes, areEmptyAtFirst) {
    const RecordBytes bytes;
    EXPECT_TRUE(bytes.empty());
    EXPECT_EQ(bytes.size(), 0U);
    EXPECT_EQ(bytes.begin(), bytes.end());
}

TEST(RecordBytes, holdWhatWasAppendedInPiecesOfAnySize) {
    const size_t capacity = RecordBytes::withinCapacity;
    for (const size_t total : {size_t{1}, capacity - 1, capacity, capacity + 1, size_t{1000}}) {
        const Bytes expected = bytesUpTo(total);
        for (const size_t piece : {size_t{1}, size_t{2}, capacity, capacity + 1, size_t{500}}) {
            RecordBytes bytes;
            for (size_t offset = 0; offset < total; offset += piece) {
                bytes.append(std::span(expected).subspan(offset, std::min(piece, total - offset)));
            }
            EXPECT_EQ(contentOf(bytes), expected) << total << " in pieces of " << piece;
            EXPECT_EQ(bytes.size(), total);
            EXPECT_FALSE(bytes.empty());
            EXPECT_EQ(bytes.front(), expected.front());
            EXPECT_EQ(bytes[total - 1], expected.back());
        }
    }
}

TEST(RecordBytes, nothingIsAppendedByAnEmptyRange) {
    RecordBytes bytes;
    bytes.append({});
    EXPECT_TRUE(bytes.empty());
    const Bytes some = bytesUpTo(3);
    bytes.append(some);
    bytes.append({});
    EXPECT_EQ(contentOf(bytes), some);
}

TEST(RecordBytes, aCopyIsIndependent) {
    for (const size_t size : {size_t{5}, RecordBytes::withinCapacity + 5}) {
        const Bytes content = bytesUpTo(size);
        RecordBytes bytes;
        bytes.append(content);
        const RecordBytes copy = bytes;
        bytes.append(content);
        EXPECT_EQ(contentOf(copy), content);
        EXPECT_EQ(bytes.size(), 2 * size);
    }
}

TEST(RecordBytes, theUsualRecordTakesNoHeapBlock) {
    const Bytes content = bytesUpTo(RecordBytes::withinCapacity + 1);
    RecordBytes bytes;
    const auto isWithin = [&bytes] {
        const auto* const object = reinterpret_cast<const uint8_t*>(&bytes);
        return bytes.begin() >= object && bytes.begin() < object + sizeof bytes;
    };
    for (const uint8_t& byte : std::span(content).first(RecordBytes::withinCapacity)) {
        bytes.append({&byte, 1});
        EXPECT_TRUE(isWithin()) << bytes.size();
    }
    bytes.append(std::span(content).last(1));
    EXPECT_FALSE(isWithin());
    EXPECT_EQ(contentOf(bytes), content);
}

} // namespace
