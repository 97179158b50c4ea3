#include "DataFile.h"
#include "LogBuilder.h"
#include "ProgramRun.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <sstream>
#include <type_traits>

namespace {

using testing::ElementsAre;

const Stamp when = stamp(2019, 3, 3, 8, 5, 9, 5);
const std::string whenText = "2019-03-03 08:05:09.5";

/// The dump of that stamp's bytes: 29109005 ms is 0x01BC2B0D, day 12845 is 0x322D.
const std::string whenDump = "01 bc 2b 0d 32 2d ";

/// The stamp of a record that has no bytes for its stamp.
const std::string noStampText = "1984-01-01 00:00:00.0";

/// A record's whole data line.
std::string lineOf(const std::shared_ptr<DataRecord>& record) {
    std::ostringstream os;
    record->writeCSVTimestampedData(os);
    return os.str();
}

std::vector<std::string> linesOf(const DataFile& file) {
    std::vector<std::string> lines;
    for (const std::shared_ptr<DataRecord>& record : file) {
        lines.push_back(lineOf(record));
    }
    return lines;
}

class DataFileTest : public testing::Test {
protected:
    /// The path of a new file with the bytes.
    std::string fileWith(std::string_view bytes) const {
        directory.write("X.LOG", bytes);
        return directory.path() / "X.LOG";
    }

    /// Reads the file and keeps what that printed.
    DataFile readCaptured(const std::string& path) {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        DataFile file(path);
        out = testing::internal::GetCapturedStdout();
        err = testing::internal::GetCapturedStderr();
        return file;
    }

    TemporaryDirectory directory;
    std::string out;
    std::string err;
};

TEST_F(DataFileTest, aFileThatCannotBeOpenedIsEmptyAndKeepsItsName) {
    const std::string path = directory.path() / "missing.LOG";
    const DataFile file = readCaptured(path);
    EXPECT_TRUE(file.empty());
    EXPECT_EQ(file.begin(), file.end());
    EXPECT_EQ(file.name(), path);
    EXPECT_EQ(out, "Reading: " + path + "\n");
    EXPECT_EQ(err, "Unable to open " + path + " for reading.\n");
}

TEST_F(DataFileTest, anEmptyPathCannotBeOpened) {
    const DataFile file = readCaptured("");
    EXPECT_TRUE(file.empty());
    EXPECT_EQ(file.name(), "");
    EXPECT_EQ(out, "Reading: \n");
    EXPECT_EQ(err, "Unable to open  for reading.\n");
}

TEST_F(DataFileTest, aDanglingLinkCannotBeOpened) {
    const std::string path = directory.path() / "Z.LOG";
    std::filesystem::create_symlink("missing", path);
    EXPECT_TRUE(readCaptured(path).empty());
    EXPECT_EQ(err, "Unable to open " + path + " for reading.\n");
}

TEST_F(DataFileTest, readingPrintsOneLine) {
    const std::string path = fileWith(LogBuilder().powerMode(when, 17).bytes());
    readCaptured(path);
    EXPECT_EQ(out, "Reading: " + path + "\n");
    EXPECT_EQ(err, "");
}

TEST_F(DataFileTest, nameIsThePathAsGiven) {
    fileWith("");
    const std::string path = directory.path().string() + "/./X.LOG";
    EXPECT_EQ(DataFile(path).name(), path);
}

TEST_F(DataFileTest, aFileOfCompleteFramesHasAnExtraLastRecordOfTheFailedRead) {
    LogBuilder log;
    for (unsigned count = 1; count <= 3; ++count) {
        log.powerMode(when, 17);
        const DataFile file(fileWith(log.bytes()));
        EXPECT_EQ(file.end() - file.begin(), count + 1);
        EXPECT_NE(dynamic_cast<UnknownDataRecord*>(file.back().get()), nullptr);
        EXPECT_EQ(file.back()->recordType(), 0xFFU);
        EXPECT_EQ(lineOf(file.back()), noStampText + "ff \n");
    }
}

TEST_F(DataFileTest, anEmptyFileHasTheExtraRecordAlone) {
    const DataFile file = readCaptured(fileWith(""));
    EXPECT_FALSE(file.empty());
    EXPECT_THAT(linesOf(file), ElementsAre(noStampText + "ff \n"));
    EXPECT_EQ(err, "");
}

TEST_F(DataFileTest, aFileThatEndsInsideAFrameKeepsTheIncompleteRecordAsItsLast) {
    LogBuilder log;
    log.powerMode(when, 17).message(when, "cut off");
    log.truncate(log.bytes().size() - 4); // DLE ETX and the last two letters
    const DataFile file(fileWith(log.bytes()));
    EXPECT_THAT(linesOf(file), ElementsAre(whenText + ",reserve\n", whenText + ",cut o\xFF,\n"));
}

TEST_F(DataFileTest, aFileThatEndsInALoneEscapeHasNoByteOfTheFailedRead) {
    LogBuilder log;
    log.message(when, "cut off");
    log.truncate(log.bytes().size() - 1); // ETX
    const DataFile file(fileWith(log.bytes()));
    EXPECT_THAT(linesOf(file), ElementsAre(whenText + ",cut off,\n"));
}

TEST_F(DataFileTest, aFileThatEndsInALoneEscapeAfterAFrameHasALastRecordWithoutBytes) {
    const DataFile file(fileWith(LogBuilder().powerMode(when, 17).append("\x10").bytes()));
    EXPECT_THAT(linesOf(file), ElementsAre(whenText + ",reserve\n", noStampText + "\n"));
    EXPECT_EQ(file.back()->recordType(), DataRecord::garble);
}

TEST_F(DataFileTest, framesWithoutDataBytesAreKept) {
    const DataFile file(fileWith(
        LogBuilder().append("\x10\x03").append("\x10\x41\x10\x03").powerMode(when, 17).bytes()));
    EXPECT_THAT(linesOf(file), ElementsAre(noStampText + "\n", noStampText + "\n",
                                           whenText + ",reserve\n", noStampText + "ff \n"));
}

TEST_F(DataFileTest, unknownTypesAreKept) {
    const DataFile file(fileWith(
        LogBuilder().record(0, when, "").record(200, when, "").record(255, when, "").bytes()));
    EXPECT_THAT(linesOf(file),
                ElementsAre(whenText + "00 " + whenDump + "\n", whenText + "c8 " + whenDump + "\n",
                            whenText + "ff " + whenDump + "\n", noStampText + "ff \n"));
}

TEST_F(DataFileTest, recordsStandInFileOrderAndAreInterpreted) {
    LogBuilder log;
    log.message(when, "b").powerMode(when, 51).message(when, "a");
    const DataFile file(fileWith(log.bytes()));
    EXPECT_THAT(linesOf(file), ElementsAre(whenText + ",b,\n", whenText + ",dormant\n",
                                           whenText + ",a,\n", noStampText + "ff \n"));
    for (const std::shared_ptr<DataRecord>& record : file) {
        ASSERT_NE(record, nullptr);
        EXPECT_TRUE(record->interpreted);
    }
}

TEST_F(DataFileTest, frontBackIndexAndIteratorsGiveTheRecords) {
    DataFile file(fileWith(LogBuilder().message(when, "a").message(when, "b").bytes()));
    const DataFile& constant = file;
    EXPECT_EQ(&file.front(), &file[0]);
    EXPECT_EQ(&constant.front(), &file[0]);
    EXPECT_EQ(&constant[1], &file[1]);
    EXPECT_EQ(&file.back(), &file[2]);
    EXPECT_EQ(&constant.back(), &file[2]);
    EXPECT_EQ(&*file.begin(), &file[0]);
    EXPECT_EQ(&*constant.begin(), &file[0]);
    EXPECT_EQ(file.end() - file.begin(), 3);
    EXPECT_EQ(constant.end() - constant.begin(), 3);
    EXPECT_EQ(lineOf(file[1]), whenText + ",b,\n");
    static_assert(std::is_same_v<DataFile::Records, std::vector<std::shared_ptr<DataRecord>>>);
}

TEST_F(DataFileTest, recordsOutliveTheFileForThoseWhoCopiedAPointer) {
    std::shared_ptr<DataRecord> record;
    {
        const DataFile file(fileWith(LogBuilder().message(when, "kept").bytes()));
        record = file.front();
        EXPECT_EQ(record.use_count(), 2);
    }
    EXPECT_EQ(record.use_count(), 1);
    EXPECT_EQ(lineOf(record), whenText + ",kept,\n");
}

TEST_F(DataFileTest, everyByteOfTheFileReachesTheRecordUnchanged) {
    std::string text;
    for (int byte = 0; byte < 256; ++byte) {
        text += static_cast<char>(byte);
    }
    text += "\r\n\n\r\x1A";
    const DataFile file(fileWith(LogBuilder().message(when, text).bytes()));
    EXPECT_EQ(lineOf(file.front()), whenText + "," + text + ",\n");
}

// Whatever the size of the blocks in which the file is read, one ends between the bytes of an
// escape: those of the first message begin at odd offsets (7 and on), those of the second at even
// ones, since a frame of 7 bytes, some pairs and DLE ETX has an odd length.
TEST_F(DataFileTest, escapesAreRecognisedAcrossTheBlocksOfReading) {
    const std::string escapes(100'000, '\x10');
    const DataFile file(
        fileWith(LogBuilder().message(when, escapes).message(when, escapes).bytes()));
    const std::string line = whenText + "," + escapes + ",\n";
    EXPECT_THAT(linesOf(file), ElementsAre(line, line, noStampText + "ff \n"));
}

TEST_F(DataFileTest, aFailingReadEndsTheFileAsItsEndWouldAndIsReported) {
    const std::string path = directory.path() / "Y.LOG";
    std::filesystem::create_directory(path); // can be opened, but not read
    const DataFile file = readCaptured(path);
    EXPECT_THAT(linesOf(file), ElementsAre(noStampText + "ff \n"));
    EXPECT_EQ(file.name(), path);
    EXPECT_EQ(out, "Reading: " + path + "\n");
    EXPECT_EQ(err, "Unable to read " + path + " to its end.\n");
}

} // namespace
