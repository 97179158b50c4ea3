// Every kind of damage at every place of a log, and exactly the records that it may change. The
// rules are those of docs/damage.md, "How far damage reaches", in the same order.
//
// The environment variable DAMAGE_STEP is the distance between the damaged places of the sample
// logs; 1 damages every byte.

#include "DataRecord.h"
#include "LogBuilder.h"
#include "ProgramRun.h"
#include "RecordCatalogue.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr uint8_t dle = 0x10;
constexpr uint8_t etx = 0x03;

/// The row of each record that the bytes hold.
std::vector<std::string> rowsOf(const std::string& log) {
    std::vector<std::string> rows;
    std::istringstream stream(log);
    while (const std::shared_ptr<DataRecord> record = DataRecord::factory(stream)) {
        record->interpret();
        std::ostringstream row;
        record->writeCSVTimestampedData(row);
        rows.push_back(row.str());
    }
    return rows;
}

/// Records first to last of the undamaged log may come out changed, as inPlace records.
struct Reach {
    size_t first;
    size_t last;
    size_t inPlace;
};

/// A log before any damage, and what each of its bytes is to the framing.
class Layout {
public:
    explicit Layout(std::string log) : bytes(std::move(log)) {
        size_t record = 0;
        for (size_t at = 0; at < bytes.size(); ++at) {
            if (begins.size() == record) {
                begins.push_back(at);
            }
            records.push_back(record);
            if (byteAt(at) != dle) {
                parts.push_back(Part::data);
                continue;
            }
            if (at + 1 == bytes.size()) { // a lone DLE at the end is dropped like a pair
                parts.push_back(Part::firstOfDiscarded);
                continue;
            }
            records.push_back(record);
            ++at;
            if (byteAt(at) == dle) {
                parts.insert(parts.end(), {Part::firstOfEscape, Part::secondOfEscape});
            } else if (byteAt(at) == etx) {
                parts.insert(parts.end(), {Part::dleOfEnd, Part::etxOfEnd});
                ++record;
            } else {
                parts.insert(parts.end(), {Part::firstOfDiscarded, Part::secondOfDiscarded});
            }
        }
        tail = record;
        begins.resize(tail + 1, bytes.size());
    }

    uint8_t byteAt(size_t at) const { return static_cast<uint8_t>(bytes[at]); }

    Reach reachOfReplacing(size_t at, uint8_t by) const {
        const size_t k = recordAt(at);
        switch (parts[at]) {
        case Part::dleOfEnd:
        case Part::etxOfEnd:
            return merge(k);
        case Part::secondOfEscape:
        case Part::secondOfDiscarded:
            return by == etx ? split(k) : only(k);
        case Part::firstOfEscape:
            return outOfStep(at + 2, k);
        case Part::data:
            return by == dle ? outOfStep(at + 1, k) : only(k);
        case Part::firstOfDiscarded:
            break;
        }
        return only(k);
    }

    /// The byte goes in front of the one at the offset, or to the end of the log.
    Reach reachOfInserting(size_t at, uint8_t inserted) const {
        const size_t k = recordAt(at);
        if (at == bytes.size()) {
            const bool afterLoneDle = at != 0 && parts.back() == Part::firstOfDiscarded;
            return inserted == etx && afterLoneDle ? split(k) : only(k);
        }
        switch (parts[at]) {
        case Part::etxOfEnd:
            return inserted == etx ? only(k + 1) : merge(k);
        case Part::secondOfDiscarded:
            return inserted == etx ? split(k) : only(k);
        case Part::secondOfEscape: {
            Reach reach = outOfStep(at + 1, k);
            if (inserted == etx) {
                ++reach.inPlace;
            }
            return reach;
        }
        case Part::data:
        case Part::firstOfEscape:
        case Part::dleOfEnd:
        case Part::firstOfDiscarded:
            break;
        }
        return inserted == dle ? outOfStep(at, k) : only(k);
    }

    Reach reachOfRemoving(size_t at) const {
        const size_t k = recordAt(at);
        switch (parts[at]) {
        case Part::dleOfEnd:
            return merge(k);
        case Part::etxOfEnd:
            return reachOfRemovingEtx(k, at + 1);
        case Part::firstOfEscape:
            return outOfStep(at + 2, k);
        case Part::secondOfEscape:
        case Part::secondOfDiscarded:
            return outOfStep(at + 1, k);
        case Part::data:
        case Part::firstOfDiscarded:
            break;
        }
        return only(k);
    }

    Reach reachOfCut(size_t at) const {
        const size_t k = recordAt(at);
        if (parts[at] == Part::etxOfEnd) {
            return {k + 1, tail, 0};
        }
        return {k, tail, 1};
    }

    /// The frame of which a cut at the offset leaves a part, as it would have to look for the same
    /// row if it were complete. Not for a cut that takes nothing but an ETX.
    std::string frameOfCut(size_t at) const {
        const size_t begin = begins[recordAt(at)];
        const bool afterDle = at < bytes.size() && (parts[at] == Part::secondOfEscape ||
                                                    parts[at] == Part::secondOfDiscarded);
        std::string frame = bytes.substr(begin, at - begin);
        if (afterDle) {
            frame.pop_back();
        } else {
            frame += '\xFF';
        }
        return frame + "\x10\x03";
    }

    const std::string bytes;

private:
    enum class Part {
        data,
        firstOfEscape,
        secondOfEscape,
        dleOfEnd,
        etxOfEnd,
        firstOfDiscarded,
        secondOfDiscarded
    };

    /// The record in whose frame the byte lies; the last record for the end of the log.
    size_t recordAt(size_t at) const { return at == bytes.size() ? tail : records[at]; }

    static Reach only(size_t k) { return {k, k, 1}; }
    static Reach split(size_t k) { return {k, k, 2}; }
    static Reach merge(size_t k) { return {k, k + 1, 1}; }

    /// A DLE of record k takes the byte at the offset, which lies in the same frame, for its
    /// second.
    Reach outOfStep(size_t at, size_t k) const {
        while (at < bytes.size() && parts[at] == Part::firstOfEscape) {
            at += 2;
        }
        if (at == bytes.size()) {
            return only(k);
        }
        if (parts[at] == Part::dleOfEnd) {
            return merge(k);
        }
        return byteAt(at) == etx ? split(k) : only(k);
    }

    Reach reachOfRemovingEtx(size_t k, size_t next) const {
        if (next == bytes.size()) {
            return {tail, tail, 0};
        }
        if (byteAt(next) == etx) {
            return only(k + 1);
        }
        Reach reach = outOfStep(next, k + 1);
        reach.first = k;
        return reach;
    }

    std::vector<Part> parts;
    std::vector<size_t> records; // by byte, the record in whose frame it lies
    std::vector<size_t> begins;  // by record, where its frame begins
    size_t tail = 0;             // the last record
};

/// Damages one log in every way, a place after the other, and compares what comes out.
class Sweep {
public:
    explicit Sweep(const std::string& log) : layout(log), rows(rowsOf(log)) {}

    /// Each kind of damage at the offset; after the last byte, what can be done there.
    void damage(size_t at) {
        if (at < layout.bytes.size()) {
            const Reach reach = layout.reachOfCut(at);
            expect("cut", at, reach, builder().truncate(at));
            if (reach.inPlace == 1) {
                EXPECT_EQ(rowsOf(builder().truncate(at).bytes()).back(),
                          rowsOf(layout.frameOfCut(at)).front())
                    << "cut at " << at;
            }
        }
        for (const uint8_t inserted : bytesFor(at)) {
            expect("inserted " + std::to_string(inserted), at,
                   layout.reachOfInserting(at, inserted),
                   builder().insert(at, std::string(1, static_cast<char>(inserted))));
        }
        if (at == layout.bytes.size()) {
            return;
        }
        expect("removed", at, layout.reachOfRemoving(at), builder().remove(at));
        for (const uint8_t by : bytesFor(at)) {
            if (by != layout.byteAt(at)) {
                expect("replaced by " + std::to_string(by), at, layout.reachOfReplacing(at, by),
                       builder().replace(at, by));
            }
        }
    }

    void damageEveryPlace() {
        for (size_t at = 0; at <= layout.bytes.size() && !testing::Test::HasFailure(); ++at) {
            damage(at);
        }
    }

private:
    LogBuilder builder() const { return LogBuilder().append(layout.bytes); }

    /// The bytes that matter to the framing and the byte itself with one bit flipped.
    std::set<uint8_t> bytesFor(size_t at) const {
        std::set<uint8_t> result = {0x00, etx, dle, 0xFF};
        for (unsigned bit = 0; bit < 8 && at < layout.bytes.size(); ++bit) {
            result.insert(static_cast<uint8_t>(layout.byteAt(at) ^ (1U << bit)));
        }
        return result;
    }

    void expect(const std::string& damage, size_t at, const Reach& reach,
                const LogBuilder& damaged) const {
        const std::vector<std::string> outcome = rowsOf(damaged.bytes());
        const size_t after = rows.size() - reach.last - 1;
        ASSERT_EQ(outcome.size(), reach.first + reach.inPlace + after) << damage << " at " << at;
        EXPECT_TRUE(std::equal(rows.begin(), rows.begin() + offset(reach.first), outcome.begin()))
            << damage << " at " << at << " changed a record in front of " << reach.first;
        EXPECT_TRUE(
            std::equal(rows.end() - offset(after), rows.end(), outcome.end() - offset(after)))
            << damage << " at " << at << " changed a record after " << reach.last;
        size_t length = 0;
        for (const std::string& row : outcome) {
            length += row.size();
        }
        EXPECT_LE(length, 512 * outcome.size() + 3 * damaged.bytes().size())
            << damage << " at " << at << " made rows grow without bounds";
    }

    static std::ptrdiff_t offset(size_t index) { return static_cast<std::ptrdiff_t>(index); }

    const Layout layout;
    const std::vector<std::string> rows;
};

const Stamp plainTime = stamp(2019, 3, 3, 8, 5, 9, 5);
const Stamp timeOfDles = {0x1010, 0x10101010};
const Stamp timeOfEtxes = {0x0303, 0x03030303};

StaticInfo module() {
    StaticInfo info;
    info.cycleCount = 0x1003;
    info.serialNumber = 0x0310;
    info.deviceName = "B\x10\x03U";
    info.firmwareVersion = "1.2";
    info.chargeAs = 2500000;
    return info;
}

DynamicInfo sample() {
    DynamicInfo info;
    info.millivolts = 0x1010;
    info.deciAmperes = -160;
    info.soc = 0x10;
    info.dsoc = 0x03;
    info.status = 0x2400;
    info.cellMillivolts = {3600, 0x1003, 0x0310, 3603, 3604, 3605, 3606};
    info.deciKelvin = 0x0B10; // the last byte in front of the frame's end is an escaped DLE
    return info;
}

/// Every record type, with DLE and ETX bytes where they matter: next to each other, in front of the
/// end of a frame, and at the beginning of one.
LogBuilder allTypes() {
    LogBuilder log;
    log.staticInfo(plainTime, module())
        .dynamicInfo(plainTime, sample(), false)
        .fault(timeOfEtxes, 1, 0x0310)
        .shock(timeOfDles, 16, 3, 16)
        .message(plainTime, "systemState=+5\x10\x10")
        .firmwareVersion(timeOfDles, "BMC FW \x10\x03")
        .fault(timeOfDles, 16, 0x1010)
        .advancedSoc(plainTime, 0x10101010, 0x03100310, 98.5F, 80)
        .measuredCurrent(plainTime, 0x03031010)
        .powerMode(plainTime, 17)
        .record(16, timeOfDles, "\x10\x10") // nothing but escapes
        .warranty(plainTime, 16)
        .ambientTemperature(plainTime, 280, 0x1010, 0x0310)
        .record(16, timeOfEtxes, "\x10")
        .humidity(plainTime, 5000, 0x1003, 10000, 16)
        .staticInfo(timeOfDles, 16, module())
        .dynamicInfo(plainTime, 3, sample())
        .advancedSoc(plainTime, 16, 16, 3, 98.5F, 80)
        .record(200, plainTime, "unknown\x10");
    appendMissingTypes(log, plainTime);
    return log;
}

TEST(Damage, reachesExactlyAsFarAsDocumentedInALogOfAllTypes) {
    Sweep(allTypes().bytes()).damageEveryPlace();
}

TEST(Damage, reachesExactlyAsFarAsDocumentedInALogThatIsCutOff) {
    Sweep(LogBuilder().powerMode(plainTime, 17).message(plainTime, "a\x10z").truncate(24).bytes())
        .damageEveryPlace();
}

TEST(Damage, reachesExactlyAsFarAsDocumentedInALogWithDiscardedPairs) {
    Sweep(LogBuilder()
              .powerMode(plainTime, 17)
              .append("\x10\x10\x10\x41\x10\x42\x03\x10\x10\x10\x10\x10\x43")
              .append("\x10\x03\x10\x03")
              .shock(plainTime, 1, 2, 3)
              .append("x\x10")
              .bytes())
        .damageEveryPlace();
}

TEST(Damage, reachesExactlyAsFarAsDocumentedInAnEmptyLog) {
    Sweep("").damageEveryPlace();
}

TEST(Damage, ofOneByteReachesThreeRecordsOnlyThroughAFrameOfEscapes) {
    const LogBuilder log = LogBuilder()
                               .message(plainTime, "a")
                               .record(16, timeOfDles, "")
                               .message(plainTime, "b")
                               .message(plainTime, "c");
    LogBuilder damaged = log;
    damaged.remove(log.frames()[0].end - 1);
    const auto rows = rowsOf(damaged.bytes());
    ASSERT_EQ(rows.size(), 3U); // of five: "a" and what follows up to "b", "c" and the last
    EXPECT_EQ(rows[1], rowsOf(log.bytes())[3]);
}

TEST(Damage, ofOneByteReachesThreeRecordsThroughAFrameOfNothingToo) {
    const LogBuilder log = LogBuilder()
                               .message(plainTime, "a")
                               .append("\x10\x03")
                               .message(plainTime, "b")
                               .message(plainTime, "c");
    const auto rows = rowsOf(log.bytes());
    ASSERT_EQ(rows.size(), 5U); // "a", the one of nothing, "b", "c" and the last
    LogBuilder damaged = log;
    damaged.remove(log.frames()[0].end - 1);
    const auto damagedRows = rowsOf(damaged.bytes());
    ASSERT_EQ(damagedRows.size(), 3U);
    EXPECT_EQ(damagedRows[1], rows[3]);
}

TEST(Damage, ofAStretchReachesTheSecondRecordAfterItThroughAFrameOfNothing) {
    const LogBuilder log = LogBuilder()
                               .message(plainTime, "a")
                               .message(plainTime, "b")
                               .append("\x10\x03")
                               .message(plainTime, "c")
                               .message(plainTime, "d");
    const auto rows = rowsOf(log.bytes());
    const auto& frame = log.frames()[1]; // of "b"
    LogBuilder damaged = log;
    damaged.replace(frame.end - 2, '\x42').replace(frame.end - 1, '\x10');
    const auto damagedRows = rowsOf(damaged.bytes());
    ASSERT_EQ(damagedRows.size(), 4U); // "a", the one of "b" to "c", "d" and the last
    EXPECT_EQ(damagedRows[0], rows[0]);
    EXPECT_EQ(damagedRows[2], rows[4]);
}

TEST(Damage, thatTakesNothingButTheLastByteLeavesEveryRecordWhole) {
    const LogBuilder log = allTypes();
    auto rows = rowsOf(log.bytes());
    rows.pop_back(); // the record that met the end
    EXPECT_EQ(rowsOf(LogBuilder(log).truncate(log.bytes().size() - 1).bytes()), rows);
}

// The sample logs. A few frames at a time are swept as a log of their own, since the time that a
// sweep takes grows with the square of the log.

std::string bytesOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::vector<std::string> piecesOf(const std::string& log) {
    constexpr size_t smallestPiece = 400;
    std::vector<std::string> pieces;
    size_t begin = 0;
    for (size_t end = log.find("\x10\x03"); end != log.npos; end = log.find("\x10\x03", end)) {
        end += 2;
        if (end - begin >= smallestPiece) {
            pieces.push_back(log.substr(begin, end - begin));
            begin = end;
        }
    }
    pieces.push_back(log.substr(begin));
    return pieces;
}

TEST(Damage, reachesExactlyAsFarAsDocumentedInTheSampleLogs) {
    const char* const text = std::getenv("DAMAGE_STEP");
    const size_t step = text == nullptr ? 61 : std::strtoul(text, nullptr, 10);
    size_t place = 0;
    size_t logs = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(SAMPLES_DIRECTORY)) {
        if (entry.path().extension() != ".LOG") {
            continue;
        }
        SCOPED_TRACE(entry.path());
        ++logs;
        for (const std::string& piece : piecesOf(bytesOf(entry.path()))) {
            Sweep sweep(piece);
            for (size_t at = 0; at <= piece.size(); ++at) {
                if (place++ % step == 0) {
                    sweep.damage(at);
                }
            }
            if (HasFailure()) {
                return;
            }
        }
    }
    EXPECT_GT(logs, 0U);
}

// End to end.

/// The lines of the text that are among the given ones, in their order.
std::vector<std::string> linesAmong(const std::set<std::string>& wanted, const std::string& text) {
    std::vector<std::string> lines = linesOf(text);
    std::erase_if(lines, [&](const std::string& line) { return !wanted.contains(line); });
    return lines;
}

TEST(Damage, neverEndsARunAndLeavesTheOtherRowsInEveryOutput) {
    LogBuilder log;
    for (unsigned minute = 0; minute < 60; ++minute) {
        const Stamp when = stamp(2019, 3, 3, 8, minute);
        log.dynamicInfo(when, sample()).message(when, "minute " + std::to_string(minute));
    }
    const TemporaryDirectory before;
    before.write("0.LOG", log.bytes());
    ASSERT_EQ(runTool({"--all", "."}, before.path()).status, 0);

    const auto& frames = log.frames();
    struct Damaged {
        LogBuilder log;
        bool cutOff;
    };
    const Damaged damages[] = {
        {LogBuilder(log).truncate(frames[60].begin + 10), true},
        {LogBuilder(log).remove(frames[60].end - 1), false},
        {LogBuilder(log).replace(frames[60].end - 2, 0xFF), false},
        {LogBuilder(log).insert(frames[60].begin + 20, std::string(5000, dle) + "\x03garbage"),
         false},
        {LogBuilder(log).insert(frames[61].end, std::string(5000, '\0')), false},
        {LogBuilder(log).remove(frames[60].begin, frames[61].end - frames[60].begin + 5), false},
    };
    for (const auto& [damaged, cutOff] : damages) {
        const TemporaryDirectory after;
        after.write("0.LOG", damaged.bytes());
        const ProgramResult result = runTool({"--all", "."}, after.path());
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(result.out, "Reading: ./0.LOG\nSorting ./0.LOG\nConverting: ./0.LOG\n");
        for (const char* output : {"0.LOG.detail.csv", "detail.csv", "dynamicInfo.csv"}) {
            // Records 60 and 61 are those of minute 30; the next may be lost with them.
            std::vector<std::string> rows = linesOf(before.read(output));
            std::erase_if(rows, [end = cutOff](const std::string& row) {
                const bool inFront = row >= "2019-03-03 08:00" && row < "2019-03-03 08:30";
                const bool isLater = row >= "2019-03-03 08:32" && row < "2019-03-03 09";
                return !inFront && (end || !isLater);
            });
            EXPECT_GE(rows.size(), 30U);
            const std::set<std::string> wanted(rows.begin(), rows.end());
            EXPECT_EQ(linesAmong(wanted, after.read(output)), rows) << output;
        }
    }
}

} // namespace
