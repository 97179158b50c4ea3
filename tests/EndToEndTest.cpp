#include "ExpectedCsv.h"
#include "LogBuilder.h"
#include "ProgramRun.h"
#include "RecordCatalogue.h"
#include "RecordReading.h"

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <optional>
#include <random>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using Arguments = std::vector<std::string>;
using Files = std::map<std::string, std::string>;

/// 3 March 2019 (day 12845, 0x322D) at 8 o'clock (28800000 ms, 0x01B77400) and some seconds.
Stamp at(unsigned second) {
    return stamp(2019, 3, 3, 8, 0, second);
}

std::string textOf(unsigned second) {
    return std::string("2019-03-03 08:00:") + (second < 10 ? "0" : "") + std::to_string(second) +
           ".0";
}

/// A log of one message.
std::string messageLog(Stamp when, std::string_view text) {
    return LogBuilder().message(when, text).bytes();
}

/// The tool, run in a directory of its own that has the logs in its subdirectory "logs".
class EndToEndTest : public testing::Test {
protected:
    ProgramResult run(const Arguments& arguments) const {
        return runTool(arguments, directory.path());
    }

    /// Runs the tool, which has to succeed without an error message.
    void runWell(const Arguments& arguments) const {
        const ProgramResult result = run(arguments);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, "");
    }

    /// All files but the logs.
    Files outputs() const {
        Files files = directory.files();
        std::erase_if(files, [](const auto& file) { return file.first.ends_with(".LOG"); });
        return files;
    }

    std::vector<std::string> outputNames() const {
        std::vector<std::string> names;
        for (const auto& [name, bytes] : outputs()) {
            names.push_back(name);
        }
        return names;
    }

    /// Fills the directory "logs" with one log for each of the contents and returns their names.
    /// Names and contents stand in the order in which the directory lists them. A log without
    /// contents can't be opened.
    ///
    /// The order is the file system's choice. So each log is a link, whose file is written when
    /// the order is known, or not at all.
    std::vector<std::string> listLogs(const std::vector<std::optional<std::string>>& contents) {
        const fs::path logs = directory.path() / "logs";
        fs::create_directory(logs);
        for (size_t index = 0; index < contents.size(); ++index) {
            const std::string name = static_cast<char>('A' + index) + std::string(".LOG");
            fs::create_symlink(linked.path() / name, logs / name);
        }
        std::vector<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(logs)) {
            const std::string name = entry.path().filename();
            if (const std::optional<std::string>& bytes = contents.at(names.size())) {
                linked.write(name, *bytes);
            }
            names.push_back(name);
        }
        return names;
    }

    const TemporaryDirectory directory;

private:
    const TemporaryDirectory linked;
};

// -------------------------------------------------------------------------------------------------
// What is processed, progress and exit status
// -------------------------------------------------------------------------------------------------

TEST_F(EndToEndTest, withoutArgumentsTheCurrentDirectoryIsConverted) {
    directory.write("A.LOG", messageLog(at(1), "systemState=+5"));
    const ProgramResult result = run({});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "Reading: ./A.LOG\nSorting ./A.LOG\nConverting: ./A.LOG\n");
    EXPECT_EQ(result.err, "");
    WideRow row = {textOf(1)};
    row.states = ",5,";
    EXPECT_EQ(outputs(),
              (Files{{"synopsis.csv", synopsisHeader}, {"wide.csv", wideHeader + row.line()}}));
}

TEST_F(EndToEndTest, aDirectoryWithOneLogIsReadSortedAndConverted) {
    directory.write("logs/A.LOG", messageLog(at(1), "a"));
    const ProgramResult result = run({"logs"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "Reading: logs/A.LOG\nSorting logs/A.LOG\nConverting: logs/A.LOG\n");
    EXPECT_EQ(result.err, "");
}

TEST_F(EndToEndTest, allLogsAreReadBeforeTheFirstIsSortedAndSortedBeforeTheFirstIsConverted) {
    const std::vector<std::string> names =
        listLogs({messageLog(at(1), "a"), messageLog(at(2), "b"), messageLog(at(3), "c")});
    const ProgramResult result = run({"logs"});
    std::string expected;
    for (const char* line : {"Reading: logs/", "Sorting logs/", "Converting: logs/"}) {
        for (const std::string& name : names) {
            expected += line + name + "\n";
        }
    }
    EXPECT_EQ(result.out, expected);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
}

TEST_F(EndToEndTest, aDirectoryWithoutLogsEndsWithStatus1AndPrintsNothing) {
    directory.write("logs/a.log", messageLog(at(1), "a"));
    directory.write("logs/below/A.LOG", messageLog(at(1), "a"));
    const ProgramResult result = run({"logs", "--all"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(outputNames(), ElementsAre("logs/a.log", "synopsis.csv"));
}

// A socket's mode has the directory bit, too.
TEST_F(EndToEndTest, whateverHasTheDirectoryBitIsADirectoryWithoutLogs) {
    const std::string socket = directory.path() / "A.LOG";
    ASSERT_EQ(mknod(socket.c_str(), S_IFSOCK | 0600, 0), 0);
    const ProgramResult result = run({"A.LOG"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
}

TEST_F(EndToEndTest, aDirectoryThatIsNamedLikeALogIsADirectory) {
    directory.write("D.LOG/A.LOG", messageLog(at(1), "a"));
    EXPECT_EQ(run({"D.LOG"}).out,
              "Reading: D.LOG/A.LOG\nSorting D.LOG/A.LOG\nConverting: D.LOG/A.LOG\n");
    EXPECT_TRUE(directory.exists("D.LOG/wide.csv"));
}

TEST_F(EndToEndTest, aLinkToADirectoryIsADirectory) {
    directory.write("logs/A.LOG", messageLog(at(1), "a"));
    fs::create_symlink("logs", directory.path() / "link");
    EXPECT_EQ(run({"link"}).out,
              "Reading: link/A.LOG\nSorting link/A.LOG\nConverting: link/A.LOG\n");
    EXPECT_TRUE(directory.exists("logs/wide.csv"));
}

TEST_F(EndToEndTest, aTrailingSlashIsDoubledInThePathsOfTheLogs) {
    directory.write("logs/A.LOG", messageLog(at(1), "a"));
    const ProgramResult result = run({"logs/", "--all"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "Reading: logs//A.LOG\nSorting logs//A.LOG\nConverting: logs//A.LOG\n");
    EXPECT_EQ(result.err, "");
    const std::string detail = messageHeader + textOf(1) + ",a,\n";
    EXPECT_EQ(outputs(), (Files{{"logs/A.LOG.detail.csv", detail},
                                {"logs/detail.csv", detail},
                                {"logs/dynamicInfo.csv", dynamicInfoHeader},
                                {"logs/soc.csv", socHeader},
                                {"logs/wide.csv", wideHeader},
                                {"synopsis.csv", synopsisHeader}}));
}

TEST_F(EndToEndTest, aSingleLogIsReadAndConvertedWithoutSorting) {
    directory.write("logs/A.LOG", messageLog(at(1), "a"));
    const ProgramResult result = run({"logs/A.LOG"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "Reading: logs/A.LOG\nConverting: logs/A.LOG\n");
    EXPECT_EQ(result.err, "");
}

TEST_F(EndToEndTest, aSingleFileMayHaveAnyName) {
    directory.write("battery.bin", messageLog(at(1), "a"));
    EXPECT_EQ(run({"--detail", "battery.bin"}).out,
              "Reading: battery.bin\nConverting: battery.bin\n");
    EXPECT_EQ(directory.read("battery.bin.detail.csv"), messageHeader + textOf(1) + ",a,\n");
}

TEST_F(EndToEndTest, aMissingSingleFileIsReportedAndTheRunEndsWithStatus0) {
    const ProgramResult result = run({"missing.LOG", "--all"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "Reading: missing.LOG\nConverting: missing.LOG\n");
    EXPECT_EQ(result.err, "Unable to open missing.LOG for reading.\n");
    EXPECT_EQ(outputs(), (Files{{"synopsis.csv", synopsisHeader}}));
}

TEST_F(EndToEndTest, anEmptyPathIsAMissingSingleFile) {
    directory.write("A.LOG", messageLog(at(1), "a"));
    const ProgramResult result = run({"", "--all"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "Reading: \nConverting: \n");
    EXPECT_EQ(result.err, "Unable to open  for reading.\n");
    EXPECT_EQ(outputs(), (Files{{"synopsis.csv", synopsisHeader}}));
}

TEST_F(EndToEndTest, aCommandLineErrorLeavesTheLogsAlone) {
    directory.write("logs/A.LOG", messageLog(at(1), "a"));
    for (const Arguments& arguments :
         {Arguments{"--all", "logs", "logs/A.LOG"}, Arguments{"--all", "logs", "--enddate"}}) {
        EXPECT_EQ(run(arguments).status, 1);
        EXPECT_EQ(outputs(), (Files{{"synopsis.csv", synopsisHeader}}));
    }
}

TEST_F(EndToEndTest, unknownOptionsAreIgnored) {
    directory.write("logs/A.LOG", messageLog(at(1), "a"));
    runWell({"-x", "--Detail", "logs", "-D", "--SOC", "-"});
    EXPECT_THAT(outputNames(), ElementsAre("logs/wide.csv", "synopsis.csv"));
}

// Both streams go to one file: what is printed stands there in the order of printing only if each
// line is flushed.
TEST_F(EndToEndTest, progressAndErrorsArePrintedAtOnce) {
    const std::vector<std::string> names =
        listLogs({std::nullopt, messageLog(at(1), "a"), std::nullopt});
    const ProgramResult result =
        runProgram({"sh", "-c", "exec \"$0\" logs 2>&1", toolPath()}, directory.path());
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(linesOf(result.out),
                ElementsAre("Reading: logs/" + names[0],
                            "Unable to open logs/" + names[0] + " for reading.",
                            "Reading: logs/" + names[1], "Reading: logs/" + names[2],
                            "Unable to open logs/" + names[2] + " for reading.",
                            "Sorting logs/" + names[0], "Sorting logs/" + names[1],
                            "Sorting logs/" + names[2], "Converting: logs/" + names[1],
                            "Converting: logs/" + names[0], "Converting: logs/" + names[2]));
}

// -------------------------------------------------------------------------------------------------
// The order of conversion, which is no sort
// -------------------------------------------------------------------------------------------------

/// A log that ends inside its last frame, as when the battery lost power while writing: its last
/// record has the stamp `last`.
std::string cutLog(Stamp first, Stamp last) {
    LogBuilder log;
    log.powerMode(first, 17).powerMode(last, 17);
    return log.truncate(log.bytes().size() - 2).bytes();
}

/// A log that ends after a complete frame: its last record is the one of the failed read, stamped
/// 1984-01-01 00:00:00.0, and that is earlier than the first stamp of any log but those stamped so.
std::string wholeLog(Stamp first, Stamp last) {
    return LogBuilder().powerMode(first, 17).powerMode(last, 17).bytes();
}

Stamp month(unsigned year, unsigned month) {
    return stamp(year, month, 2);
}

class ConversionOrderTest : public EndToEndTest {
protected:
    /// The positions in the directory's listing of the logs, in the order of their conversion.
    std::vector<size_t> orderOf(const std::vector<std::optional<std::string>>& contents) {
        const std::vector<std::string> names = listLogs(contents);
        const ProgramResult result = run({"logs"});
        EXPECT_EQ(result.status, 0);
        const std::vector<std::string> lines = linesOf(result.out);
        if (lines.size() != 3 * names.size()) {
            ADD_FAILURE() << result.out;
            return {};
        }
        std::vector<size_t> order;
        for (size_t index = 0; index < names.size(); ++index) {
            EXPECT_EQ(lines[index], "Reading: logs/" + names[index]);
            EXPECT_EQ(lines[names.size() + index], "Sorting logs/" + names[index]);
            const std::string prefix = "Converting: logs/";
            const std::string& converting = lines[2 * names.size() + index];
            EXPECT_TRUE(converting.starts_with(prefix)) << converting;
            const auto found =
                std::find(names.begin(), names.end(),
                          converting.substr(std::min(prefix.size(), converting.size())));
            order.push_back(static_cast<size_t>(found - names.begin()));
        }
        return order;
    }
};

TEST_F(ConversionOrderTest, logsThatDoNotOverlapKeepTheListingOrderWhenAscending) {
    EXPECT_THAT(
        orderOf({cutLog(month(2018, 1), month(2018, 2)), cutLog(month(2018, 3), month(2018, 4)),
                 cutLog(month(2018, 5), month(2018, 6))}),
        ElementsAre(0, 1, 2));
}

TEST_F(ConversionOrderTest, logsThatDoNotOverlapKeepTheListingOrderWhenDescending) {
    EXPECT_THAT(
        orderOf({cutLog(month(2018, 5), month(2018, 6)), cutLog(month(2018, 3), month(2018, 4)),
                 cutLog(month(2018, 1), month(2018, 2))}),
        ElementsAre(0, 1, 2));
}

TEST_F(ConversionOrderTest, aLogOfTheTimeBetweenTwoIsNotPutBetweenThemUnlessItTouchesBoth) {
    EXPECT_THAT(
        orderOf({cutLog(month(2018, 1), month(2018, 2)), cutLog(month(2018, 8), month(2018, 9)),
                 cutLog(month(2018, 5), month(2018, 6))}),
        ElementsAre(0, 1, 2));
}

TEST_F(ConversionOrderTest, aLogThatTouchesTheEarlierOnlyIsAppended) {
    EXPECT_THAT(
        orderOf({cutLog(month(2018, 1), month(2018, 5)), cutLog(month(2018, 8), month(2018, 9)),
                 cutLog(month(2018, 4), month(2018, 7))}),
        ElementsAre(0, 1, 2));
}

TEST_F(ConversionOrderTest, aLogThatTouchesTheLaterOnlyIsAppended) {
    EXPECT_THAT(
        orderOf({cutLog(month(2018, 1), month(2018, 2)), cutLog(month(2018, 5), month(2018, 9)),
                 cutLog(month(2018, 4), month(2018, 7))}),
        ElementsAre(0, 1, 2));
}

TEST_F(ConversionOrderTest, aLogThatOverlapsBothNeighboursIsPutBetweenThem) {
    EXPECT_THAT(
        orderOf({cutLog(month(2018, 1), month(2018, 5)), cutLog(month(2018, 7), month(2018, 9)),
                 cutLog(month(2018, 4), month(2018, 8))}),
        ElementsAre(0, 2, 1));
}

TEST_F(ConversionOrderTest, equalStampsTouch) {
    EXPECT_THAT(
        orderOf({cutLog(month(2018, 1), month(2018, 5)), cutLog(month(2018, 7), month(2018, 9)),
                 cutLog(month(2018, 5), month(2018, 7))}),
        ElementsAre(0, 2, 1));
}

TEST_F(ConversionOrderTest, aLogThatBeginsAMomentAfterTheEarlierEndedIsAppended) {
    EXPECT_THAT(orderOf({cutLog(month(2018, 1), stamp(2018, 5, 2, 0, 0, 0, 0)),
                         cutLog(month(2018, 7), month(2018, 9)),
                         cutLog(stamp(2018, 5, 2, 0, 0, 0, 1), month(2018, 7))}),
                ElementsAre(0, 1, 2));
}

TEST_F(ConversionOrderTest, aLogThatEndsAMomentBeforeTheLaterBeganIsAppended) {
    EXPECT_THAT(orderOf({cutLog(month(2018, 1), month(2018, 5)),
                         cutLog(stamp(2018, 7, 2, 0, 0, 0, 1), month(2018, 9)),
                         cutLog(month(2018, 5), stamp(2018, 7, 2, 0, 0, 0, 0))}),
                ElementsAre(0, 1, 2));
}

TEST_F(ConversionOrderTest, theFirstTwoStayInListingOrder) {
    EXPECT_THAT(
        orderOf({cutLog(month(2018, 6), month(2018, 9)), cutLog(month(2018, 1), month(2018, 7))}),
        ElementsAre(0, 1));
}

TEST_F(ConversionOrderTest, nothingIsPutInFrontOfTheFirst) {
    EXPECT_THAT(
        orderOf({cutLog(month(2018, 6), month(2018, 7)), cutLog(month(2018, 8), month(2018, 9)),
                 cutLog(month(2018, 1), month(2018, 6))}),
        ElementsAre(0, 1, 2));
}

TEST_F(ConversionOrderTest, aLogThatSpansAllIsPutBehindTheFirst) {
    EXPECT_THAT(
        orderOf({cutLog(month(2018, 6), month(2018, 7)), cutLog(month(2018, 8), month(2018, 9)),
                 cutLog(month(2018, 1), month(2018, 12))}),
        ElementsAre(0, 2, 1));
}

// The third log begins after the first ended, so that it is appended; the fourth then fits after
// the first and after the second.
TEST_F(ConversionOrderTest, theFirstGapThatFitsWins) {
    EXPECT_THAT(
        orderOf({cutLog(month(2018, 1), month(2018, 12)), cutLog(month(2018, 2), month(2018, 12)),
                 cutLog(month(2019, 1), month(2019, 3)), cutLog(month(2018, 6), month(2019, 2))}),
        ElementsAre(0, 3, 1, 2));
}

TEST_F(ConversionOrderTest, aLaterGapIsTakenWhenTheFirstDoesNotFit) {
    EXPECT_THAT(
        orderOf({cutLog(month(2018, 1), month(2018, 12)), cutLog(month(2018, 2), month(2019, 6)),
                 cutLog(month(2019, 9), month(2019, 12)), cutLog(month(2019, 3), month(2019, 10))}),
        ElementsAre(0, 1, 3, 2));
}

// The third goes between the first two; the fourth then fits between the first and the third.
TEST_F(ConversionOrderTest, aLogThatWasPutInBetweenIsANeighbourItself) {
    EXPECT_THAT(
        orderOf({cutLog(month(2018, 1), month(2018, 4)), cutLog(month(2018, 8), month(2018, 9)),
                 cutLog(month(2018, 3), month(2018, 8)), cutLog(month(2018, 2), month(2018, 3))}),
        ElementsAre(0, 3, 2, 1));
}

TEST_F(ConversionOrderTest, aCompleteLogAsTheEarlierEndsIn1984AndIsNotTouched) {
    EXPECT_THAT(
        orderOf({wholeLog(month(2018, 1), month(2018, 5)), cutLog(month(2018, 7), month(2018, 9)),
                 cutLog(month(2018, 4), month(2018, 8))}),
        ElementsAre(0, 1, 2));
}

TEST_F(ConversionOrderTest, aCompleteLogEndsIn1984AndDoesNotTouchTheLater) {
    EXPECT_THAT(
        orderOf({cutLog(month(2018, 1), month(2018, 5)), cutLog(month(2018, 7), month(2018, 9)),
                 wholeLog(month(2018, 4), month(2018, 8))}),
        ElementsAre(0, 1, 2));
}

TEST_F(ConversionOrderTest, aCompleteLogAsTheLaterIsTouchedAtItsBeginning) {
    EXPECT_THAT(
        orderOf({cutLog(month(2018, 1), month(2018, 5)), wholeLog(month(2018, 7), month(2018, 9)),
                 cutLog(month(2018, 4), month(2018, 8))}),
        ElementsAre(0, 2, 1));
}

TEST_F(ConversionOrderTest, completeLogsKeepTheListingOrderWhateverTheirStamps) {
    EXPECT_THAT(orderOf({wholeLog(month(2018, 1), month(2018, 12)),
                         wholeLog(month(2018, 3), month(2018, 9)),
                         wholeLog(month(2018, 2), month(2018, 10)),
                         wholeLog(month(2017, 1), month(2019, 1))}),
                ElementsAre(0, 1, 2, 3));
}

// An empty log begins and ends with the one stamp of 1984.
TEST_F(ConversionOrderTest, emptyLogsTouchEachOther) {
    EXPECT_THAT(orderOf({"", "", "", ""}), ElementsAre(0, 3, 2, 1));
}

TEST_F(ConversionOrderTest, aCompleteLogTouchesAnEmptyOneAsTheLater) {
    EXPECT_THAT(orderOf({cutLog(month(2018, 1), month(2018, 5)), "",
                         wholeLog(month(2018, 4), month(2018, 8))}),
                ElementsAre(0, 2, 1));
}

TEST_F(ConversionOrderTest, anEmptyLogIsAppendedBehindLogsWithStamps) {
    EXPECT_THAT(orderOf({cutLog(month(2018, 1), month(2018, 5)),
                         cutLog(month(2018, 4), month(2018, 8)), ""}),
                ElementsAre(0, 1, 2));
}

// 9 ms are written ".9" and stand after ".50".
TEST_F(ConversionOrderTest, stampsAreComparedAsText) {
    EXPECT_THAT(orderOf({cutLog(month(2018, 1), stamp(2018, 5, 2, 0, 0, 0, 9)),
                         cutLog(month(2018, 7), month(2018, 9)),
                         cutLog(stamp(2018, 5, 2, 0, 0, 0, 50), month(2018, 8))}),
                ElementsAre(0, 2, 1));
}

TEST_F(ConversionOrderTest, theOrderDoesNotDependOnTheDateRange) {
    EXPECT_THAT(
        orderOf({cutLog(month(2001, 1), month(2001, 5)), cutLog(month(2001, 7), month(2001, 9)),
                 cutLog(month(2001, 4), month(2001, 8))}),
        ElementsAre(0, 2, 1));
}

TEST_F(ConversionOrderTest, logsThatCannotBeOpenedFollowAllOthersInListingOrder) {
    EXPECT_THAT(
        orderOf({std::nullopt, cutLog(month(2018, 1), month(2018, 5)), std::nullopt,
                 cutLog(month(2018, 7), month(2018, 9)), cutLog(month(2018, 4), month(2018, 8))}),
        ElementsAre(1, 4, 3, 0, 2));
}

TEST_F(ConversionOrderTest, logsThatCannotBeOpenedMayBeAllThereAre) {
    EXPECT_THAT(orderOf({std::nullopt, std::nullopt, std::nullopt}), ElementsAre(0, 1, 2));
}

TEST_F(ConversionOrderTest, theRowsOfAllLogsStandInTheOrderOfConversion) {
    const auto log = [](Stamp first, std::string_view text, Stamp last) {
        LogBuilder builder;
        builder.message(first, text).powerMode(last, 17);
        return builder.truncate(builder.bytes().size() - 2).bytes();
    };
    const std::vector<std::string> names =
        listLogs({log(at(1), "first", at(5)), log(at(7), "second", at(9)),
                  log(at(4), "third, between them", at(8))});
    runWell({"logs", "--detail"});
    const std::string first = messageHeader + textOf(1) + ",first,\n" + //
                              powerModeHeader + textOf(5) + ",reserve\n";
    const std::string second = messageHeader + textOf(7) + ",second,\n" + //
                               powerModeHeader + textOf(9) + ",reserve\n";
    const std::string third = messageHeader + textOf(4) + ",third, between them,\n" + //
                              powerModeHeader + textOf(8) + ",reserve\n";
    EXPECT_EQ(outputs(), (Files{{"logs/detail.csv", first + third + second},
                                {"logs/" + names[0] + ".detail.csv", first},
                                {"logs/" + names[1] + ".detail.csv", second},
                                {"logs/" + names[2] + ".detail.csv", third},
                                {"synopsis.csv", synopsisHeader}}));
}

// -------------------------------------------------------------------------------------------------
// What each record type puts where
// -------------------------------------------------------------------------------------------------

/// A sample whose values are exact in binary but for the temperature: 25600 mV, -10.5 A, six cells
/// of 3.5 V and one of 3.75 V (0.25 V apart), 298.2 K less 273.15; status bits 10 and 13.
const DynamicInfo sample = {25600, -105, 80, 78, 0x2400, {3500, 3500, 3500, 3500, 3500, 3500, 3750},
                            2982};
const std::string sampleFields =
    ",25.6,-10.5,80,78,3.5,3.5,3.5,3.5,3.5,3.5,3.75,0.25,25.05,1,1"; // after the module

const StaticInfo module2 = {321, 4660, 7, 7, "Module 2", "2.6 beta", 1, 1000, 2'500'000};
const std::string module2Fields = ",2,321,4660,7,7,Module 2,2.6 beta,1,1000,2.5e+06";

/// A log of records whose outputs are worked out below.
const LogBuilder workedOut = //
    LogBuilder()
        .staticInfo(at(1), {12345, 4660, 6, 7, "Module 1", "2.5", 1, 1000, 0.5F})
        .staticInfo(at(2), 2, module2)
        .dynamicInfo(at(3), sample)
        .dynamicInfo(
            at(4), 2,
            {25000, 500, 100, 0, 0x1000, std::vector<unsigned>(cellsPerModule, 3250), 2732})
        .fault(at(5), 4, 5)
        .shock(at(6), -1, -128, 127)
        .message(at(7), "systemState=+ST_RUN")
        .firmwareVersion(at(8), "BMC release 3.1.0 (test)")
        .advancedSoc(at(9), 123456, 654321, 0.5F, 0.75F)
        .advancedSoc(at(10), 2, 10, 20, 0.25F, 1)
        .measuredCurrent(at(11), -2500)
        .powerMode(at(12), 34)
        .warranty(at(13), 1)
        .ambientTemperature(at(14), 288, 300, 294)
        .humidity(at(15), 5000, 0, 10000, 2550)
        .record(200, at(16), "\x0A\xFF") // 28816000 ms are 0x01B7B280
        .dynamicInfo(at(17), sample, false)
        .message(at(18), "hud_multifunc=+1");

/// The same, and an example of each type that it lacks.
const LogBuilder everyType = [] {
    LogBuilder log = workedOut;
    appendMissingTypes(log, at(19));
    return log;
}();

/// The detail rows of these examples. What their fields must be is said in RecordTypesTest.
std::string detailOfExamples() {
    std::string text;
    for (size_t number = workedOut.frames().size(); number < everyType.frames().size(); ++number) {
        const auto record = readRecord(everyType.bytes().substr(everyType.frames()[number].begin));
        text += "Datestamp," + recordType(record->recordType()).header + "\n" + lineOf(*record);
    }
    return text;
}

/// Its detail rows, from the layouts of the records. Ambient temperatures are read while they are
/// written, so the second file has those that follow the six bytes: none.
std::string everyTypeDetail(const std::string& ambientTemperature) {
    const std::string staticInfoHeader =
        "Datestamp,module,cycleCount,manufactureDate,serialNumber,seriesCells,deviceName,"
        "firmwareVersion,tempSensors,cumulativeCharge (amp-seconds),"
        "cumulativeDischarge (amp-seconds)\n";
    return staticInfoHeader + textOf(1) + ",1,12345,4660,6,7,Module 1,2.5,1,1000,0.5\n" + //
           staticInfoHeader + textOf(2) + module2Fields + "\n" +                          //
           dynamicInfoHeader + textOf(3) + ",1" + sampleFields + "\n" +                   //
           dynamicInfoHeader + textOf(4) +
           ",2,25,50,100,0,3.25,3.25,3.25,3.25,3.25,3.25,3.25,0,0.05,0,0\n" + //
           "Datestamp,error_register,additional_information\n" + textOf(5) +
           ",4,5,Voltage sense wire,High cell voltage\n" +                       //
           "Datestamp,x (g),y (g),z (g)\n" + textOf(6) + ",-1,-128,127\n" +      //
           messageHeader + textOf(7) + ",systemState=+ST_RUN,ST_RUN\n" +         //
           "Datestamp,Version\n" + textOf(8) + ",BMC release 3.1.0 (test)\n" +   //
           socHeader + textOf(9) + ",1,123456,654321,0.5,0.75\n" +               //
           socHeader + textOf(10) + ",2,10,20,0.25,1\n" +                        //
           "Datestamp,measuredCurrent (mA)\n" + textOf(11) + ",-2500\n" +        //
           powerModeHeader + textOf(12) + ",manual-travel\n" +                   //
           "Datestamp,warrantyEvent\n" + textOf(13) + "COMMISSIONED\n" +         //
           "Datestamp,minimum (K),maximum (K),average (K)\n" + textOf(14) +      //
           ambientTemperature + "\n" +                                           //
           "Datestamp,RH (%),Low RH (%),High RH (%),Ave RH (%)\n" + textOf(15) + //
           ",50,0,100,25.5\n" +                                                  //
           unknownHeader + textOf(16) + "c8 01 b7 b2 80 32 2d 0a ff \n" +        //
           dynamicInfoHeader + textOf(17) + ",1" + sampleFields + "\n" +         //
           messageHeader + textOf(18) + ",hud_multifunc=+1,\n" + detailOfExamples();
}

/// The outputs of a run over the directory "logs" that holds this log alone, named A.LOG.
Files everyTypeOutputs() {
    // A row follows each sample and each message. The two static infos came first.
    WideRow sampled = {textOf(3)};
    sampled.dynamicInfo1 = ",1" + sampleFields;
    sampled.firmware = ",,2.6";
    WideRow sampledBoth = sampled;
    sampledBoth.datestamp = textOf(4);
    sampledBoth.dynamicInfo2 = ",2,25,50,100,0,3.25,3.25,3.25,3.25,3.25,3.25,3.25,0,0.05,0,0";
    WideRow running = sampledBoth;
    running.datestamp = textOf(7);
    running.faults = ",0,0,5,0,0,0";
    running.states = ",ST_RUN,";
    WideRow last = running;
    last.datestamp = textOf(17);
    last.soc1 = ",1,123456,654321,0.5,0.75";
    last.soc2 = ",2,10,20,0.25,1";
    last.powerMode = ",manual-travel";
    last.firmware = ",3.1.0,2.6";
    WideRow button = last; // a signal brings no datestamp
    button.signals = ",,,1,";
    return {
        {"logs/A.LOG.detail.csv", everyTypeDetail(",0,0,0")},
        {"logs/detail.csv", everyTypeDetail(",288,300,294")},
        {"logs/dynamicInfo.csv", dynamicInfoHeader + textOf(3) + ",1" + sampleFields + "\n" +
                                     textOf(4) + sampledBoth.dynamicInfo2 + "\n" + textOf(17) +
                                     ",1" + sampleFields + "\n"},
        {"logs/soc.csv", socHeader + textOf(9) + last.soc1 + "\n" + textOf(10) + last.soc2 + "\n"},
        {"logs/wide.csv", wideHeader + sampled.line() + sampledBoth.line() + running.line() +
                              last.line() + button.line()},
        {"synopsis.csv", synopsisHeader}};
}

TEST_F(EndToEndTest, aLogWithEveryRecordTypeGivesEveryOutput) {
    directory.write("logs/A.LOG", everyType.bytes());
    const ProgramResult result = run({"logs", "--all"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "Reading: logs/A.LOG\nSorting logs/A.LOG\nConverting: logs/A.LOG\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(outputs(), everyTypeOutputs());
}

// The per-log file is the only one then, so that it has the ambient temperatures.
TEST_F(EndToEndTest, aSingleLogWithEveryRecordTypeGivesItsDetailFileOnly) {
    directory.write("logs/A.LOG", everyType.bytes());
    const ProgramResult result = run({"logs/A.LOG", "--all"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "Reading: logs/A.LOG\nConverting: logs/A.LOG\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(outputs(), (Files{{"logs/A.LOG.detail.csv", everyTypeDetail(",288,300,294")},
                                {"synopsis.csv", synopsisHeader}}));
}

/// A record of a type and what it does besides its row in the detail outputs.
struct FurtherOutput {
    unsigned type;
    std::string payload;
    std::string dynamicInfoFields; // of its row in dynamicInfo.csv, if there is one
    std::string socFields;         // of its row in soc.csv, if there is one
    bool writesWideRow;
    bool setsWideDatestamp;
    WideRow wide; // the combined state after it
};

WideRow wideWith(std::string WideRow::*group, std::string text) {
    WideRow row;
    row.*group = std::move(text);
    return row;
}

std::string withModule2(const Payload& payload) {
    return Payload().u8(2).text(payload.bytes).bytes;
}

const std::string plainSample = dynamicInfoPayload(sample, true).bytes;
const Payload counters = advancedSocPayload(10, 20, 0.25F, 1);

/// Those of the types that put something into another file than the detail files or change the
/// combined state, and some that don't.
const std::vector<FurtherOutput> furtherOutputs = {
    {0, "x", "", "", false, false, {}},
    {1, staticInfoPayload(module2).bytes, "", "", false, false,
     wideWith(&WideRow::firmware, ",,2.6")},
    {2, plainSample, ",1" + sampleFields, "", true, true,
     wideWith(&WideRow::dynamicInfo1, ",1" + sampleFields)},
    {3, faultPayload(16, 3).bytes, "", "", false, true, wideWith(&WideRow::faults, ",0,0,0,0,3,0")},
    {4, "xyz", "", "", false, false, {}},
    {5, "systemState=+6", "", "", true, true, wideWith(&WideRow::states, ",6,")},
    {6, "a b c d", "", "", false, false, wideWith(&WideRow::firmware, ",c,")},
    {7, counters.bytes, "", ",1,10,20,0.25,1", false, true,
     wideWith(&WideRow::soc1, ",1,10,20,0.25,1")},
    {8, "xxxx", "", "", false, false, {}},
    {9, "\x33", "", "", false, true, wideWith(&WideRow::powerMode, ",dormant")},
    {10, "\x01", "", "", false, false, {}},
    {11, "xxyyzz", "", "", false, false, {}},
    {12, "wwxxyyzz", "", "", false, false, {}},
    {13, withModule2(staticInfoPayload(module2)), "", "", false, false,
     wideWith(&WideRow::firmware, ",,2.6")},
    {14, withModule2(dynamicInfoPayload(sample, true)), ",2" + sampleFields, "", true, true,
     wideWith(&WideRow::dynamicInfo2, ",2" + sampleFields)},
    {15, withModule2(counters), "", ",2,10,20,0.25,1", false, true,
     wideWith(&WideRow::soc2, ",2,10,20,0.25,1")},
    {200, "x", "", "", false, false, {}},
    {255, "x", "", "", false, false, {}},
};

void PrintTo(const FurtherOutput& output, std::ostream* os) {
    *os << "type" << output.type;
}

/// The above, and without any the types that they lack.
std::vector<FurtherOutput> furtherOutputsOfAllTypes() {
    std::vector<FurtherOutput> all = furtherOutputs;
    for (const RecordType& type : recordTypes()) {
        if (std::ranges::count(furtherOutputs, type.code, &FurtherOutput::type) == 0) {
            all.push_back({type.code, type.payload, "", "", false, false, {}});
        }
    }
    return all;
}

class FurtherOutputTest : public EndToEndTest, public testing::WithParamInterface<FurtherOutput> {};

// After the record, a message that says nothing calls for a row of the combined state. There is
// one only if there is a datestamp; the power mode brings one for the second message at the latest.
TEST_P(FurtherOutputTest, isThatOfTheRecordType) {
    const FurtherOutput& output = GetParam();
    directory.write("logs/A.LOG", LogBuilder()
                                      .record(output.type, at(1), output.payload)
                                      .message(at(2), "")
                                      .powerMode(at(3), 17)
                                      .message(at(4), "")
                                      .bytes());
    runWell({"logs", "-d", "-s", "-w"});

    WideRow row = output.wide;
    row.datestamp = textOf(1);
    std::string rows;
    rows += output.writesWideRow ? row.line() : "";
    rows += output.setsWideDatestamp ? row.line() : "";
    row.datestamp = textOf(3);
    row.powerMode = ",reserve";
    rows += row.line();
    const auto rowOf = [](const std::string& fields) {
        return fields.empty() ? "" : textOf(1) + fields + "\n";
    };
    EXPECT_EQ(outputs(),
              (Files{{"logs/dynamicInfo.csv", dynamicInfoHeader + rowOf(output.dynamicInfoFields)},
                     {"logs/soc.csv", socHeader + rowOf(output.socFields)},
                     {"logs/wide.csv", wideHeader + rows},
                     {"synopsis.csv", synopsisHeader}}));
}

INSTANTIATE_TEST_SUITE_P(Every, FurtherOutputTest, testing::ValuesIn(furtherOutputsOfAllTypes()),
                         testing::PrintToStringParamName());

// -------------------------------------------------------------------------------------------------
// Header lines of the detail files
// -------------------------------------------------------------------------------------------------

TEST_F(EndToEndTest, everyLogBeginsWithAHeaderInTheDetailFileOfAllLogs) {
    const std::vector<std::string> names =
        listLogs({messageLog(at(1), "a"), messageLog(at(2), "b")});
    runWell({"logs", "--detail"});
    const std::string first = messageHeader + textOf(1) + ",a,\n";
    const std::string second = messageHeader + textOf(2) + ",b,\n";
    EXPECT_EQ(outputs(), (Files{{"logs/detail.csv", first + second},
                                {"logs/" + names[0] + ".detail.csv", first},
                                {"logs/" + names[1] + ".detail.csv", second},
                                {"synopsis.csv", synopsisHeader}}));
}

TEST_F(EndToEndTest, aLogThatBeginsWithType0HasNoHeaderThereAndNoDetailFileOfItsOwnYet) {
    const std::vector<std::string> names =
        listLogs({messageLog(at(0), "a"), LogBuilder()
                                              .record(0, at(0), "x")
                                              .record(200, at(0), "x")
                                              .record(0, at(0), "y")
                                              .message(at(1), "b")
                                              .bytes()});
    runWell({"logs", "--detail"});
    const std::string first = messageHeader + textOf(0) + ",a,\n";
    const std::string unknown0 = textOf(0) + "00 01 b7 74 00 32 2d 78 \n";
    const std::string second = unknownHeader + textOf(0) + "c8 01 b7 74 00 32 2d 78 \n" + //
                               unknownHeader + textOf(0) + "00 01 b7 74 00 32 2d 79 \n" + //
                               messageHeader + textOf(1) + ",b,\n";
    EXPECT_EQ(outputs(), (Files{{"logs/detail.csv", first + unknown0 + second},
                                {"logs/" + names[0] + ".detail.csv", first},
                                {"logs/" + names[1] + ".detail.csv", second},
                                {"synopsis.csv", synopsisHeader}}));
}

TEST_F(EndToEndTest, withNothingInsideTheRangeThereIsNoDetailFileOfTheLog) {
    directory.write("logs/A.LOG", messageLog(stamp(2015, 12, 31), "a"));
    runWell({"logs", "--all"});
    EXPECT_EQ(outputs(), (Files{{"logs/detail.csv", ""},
                                {"logs/dynamicInfo.csv", dynamicInfoHeader},
                                {"logs/soc.csv", socHeader},
                                {"logs/wide.csv", wideHeader},
                                {"synopsis.csv", synopsisHeader}}));
}

// -------------------------------------------------------------------------------------------------
// Which files appear
// -------------------------------------------------------------------------------------------------

struct Choice {
    Arguments options;
    std::vector<std::string> ofADirectory; // which files appear besides synopsis.csv
    bool detailOfASingleLog;
};

const std::vector<std::string> allFiles = {"logs/A.LOG.detail.csv", "logs/detail.csv",
                                           "logs/dynamicInfo.csv", "logs/soc.csv", "logs/wide.csv"};
const std::vector<std::string> detailFiles = {"logs/A.LOG.detail.csv", "logs/detail.csv"};

const Choice choices[] = {
    {{}, {"logs/wide.csv"}, false},
    {{"-x"}, {"logs/wide.csv"}, false},
    {{"--wide"}, {"logs/wide.csv"}, false},
    {{"-w"}, {"logs/wide.csv"}, false},
    {{"--soc"}, {"logs/soc.csv"}, false},
    {{"-s"}, {"logs/soc.csv"}, false},
    {{"--dynamicInfo"}, {"logs/dynamicInfo.csv"}, false},
    {{"-d"}, {"logs/dynamicInfo.csv"}, false},
    {{"--detail"}, detailFiles, true},
    {{"--all"}, allFiles, true},
    {{"-a"}, allFiles, true},
    {{"--all", "-w", "--soc"}, allFiles, true},
    {{"-s", "-d"}, {"logs/dynamicInfo.csv", "logs/soc.csv"}, false},
};

void PrintTo(const Choice& choice, std::ostream* os) {
    *os << testing::PrintToString(choice.options);
}

class ChoiceTest : public EndToEndTest, public testing::WithParamInterface<Choice> {};

TEST_P(ChoiceTest, ofADirectoryGivesTheChosenFilesAndTheSynopsis) {
    directory.write("logs/A.LOG", everyType.bytes());
    Arguments arguments = GetParam().options;
    arguments.insert(arguments.begin(), "logs");
    runWell(arguments);
    Files expected = everyTypeOutputs();
    std::erase_if(expected, [](const auto& file) {
        const std::vector<std::string>& chosen = GetParam().ofADirectory;
        return file.first != "synopsis.csv" &&
               std::find(chosen.begin(), chosen.end(), file.first) == chosen.end();
    });
    EXPECT_EQ(expected.size(), GetParam().ofADirectory.size() + 1);
    EXPECT_EQ(outputs(), expected);
}

TEST_P(ChoiceTest, ofASingleLogGivesAtMostItsDetailFileAndTheSynopsis) {
    directory.write("logs/A.LOG", everyType.bytes());
    Arguments arguments = GetParam().options;
    arguments.push_back("logs/A.LOG");
    runWell(arguments);
    if (GetParam().detailOfASingleLog) {
        EXPECT_THAT(outputNames(), ElementsAre("logs/A.LOG.detail.csv", "synopsis.csv"));
    } else {
        EXPECT_THAT(outputNames(), ElementsAre("synopsis.csv"));
    }
}

/// The options, without their dashes.
std::string nameOf(const testing::TestParamInfo<Choice>& info) {
    std::string name;
    for (const std::string& option : info.param.options) {
        name += (name.empty() ? "" : "_") + option.substr(option.find_first_not_of('-'));
    }
    return name.empty() ? "none" : name;
}

INSTANTIATE_TEST_SUITE_P(Options, ChoiceTest, testing::ValuesIn(choices), nameOf);

TEST_F(EndToEndTest, aSingleLogLeavesTheFilesOfAllLogsAlone) {
    directory.write("A.LOG", everyType.bytes());
    for (const char* name : {"detail.csv", "dynamicInfo.csv", "soc.csv", "wide.csv"}) {
        directory.write(name, "kept");
    }
    runWell({"A.LOG", "--all"});
    for (const char* name : {"detail.csv", "dynamicInfo.csv", "soc.csv", "wide.csv"}) {
        EXPECT_EQ(directory.read(name), "kept") << name;
    }
}

TEST_F(EndToEndTest, aRunReplacesTheFilesOfTheRunBefore) {
    directory.write("logs/A.LOG", std::string(3, 'x') + everyType.bytes());
    directory.write("synopsis.csv", std::string(1000, 'x'));
    runWell({"logs", "--all"});
    directory.write("logs/A.LOG", messageLog(at(1), "systemState=+2"));
    runWell({"logs", "--all"});
    const std::string detail = messageHeader + textOf(1) + ",systemState=+2,2\n";
    WideRow row = {textOf(1)};
    row.states = ",2,";
    EXPECT_EQ(outputs(), (Files{{"logs/A.LOG.detail.csv", detail},
                                {"logs/detail.csv", detail},
                                {"logs/dynamicInfo.csv", dynamicInfoHeader},
                                {"logs/soc.csv", socHeader},
                                {"logs/wide.csv", wideHeader + row.line()},
                                {"synopsis.csv", synopsisHeader}}));
}

TEST_F(EndToEndTest, aRunLeavesFilesAloneThatItDoesNotWrite) {
    directory.write("logs/A.LOG", messageLog(at(1), "a"));
    directory.write("logs/B.LOG.detail.csv", "of a log that is gone");
    directory.write("logs/soc.csv", "not chosen");
    runWell({"logs", "--detail"});
    EXPECT_EQ(directory.read("logs/B.LOG.detail.csv"), "of a log that is gone");
    EXPECT_EQ(directory.read("logs/soc.csv"), "not chosen");
    runWell({"logs", "--detail", "--startdate", "2020-01-01"});
    EXPECT_EQ(directory.read("logs/detail.csv"), "");
    EXPECT_EQ(directory.read("logs/A.LOG.detail.csv"), messageHeader + textOf(1) + ",a,\n");
}

TEST_F(EndToEndTest, theSynopsisStandsInTheCurrentDirectoryInEveryRun) {
    directory.write("logs/A.LOG", everyType.bytes());
    for (const Arguments& arguments :
         {Arguments{}, Arguments{"logs"}, Arguments{"logs", "--all"}, Arguments{"logs/A.LOG"},
          Arguments{"missing.LOG"}, Arguments{"--help"}, Arguments{"-v"}, Arguments{"a", "b"},
          Arguments{"--startdate"}, Arguments{"--enddate", "", "--endtime", "8"}}) {
        directory.write("synopsis.csv", std::string(1000, 'x'));
        run(arguments);
        EXPECT_EQ(directory.read("synopsis.csv"), synopsisHeader)
            << testing::PrintToString(arguments);
        EXPECT_FALSE(directory.exists("logs/synopsis.csv"));
    }
}

// Whatever the messages start: the samples were all read before.
TEST_F(EndToEndTest, theSynopsisHoldsItsHeaderAlone) {
    LogBuilder log;
    for (unsigned minute = 0; minute < 60; minute += 6) {
        log.message(stamp(2019, 3, 3, 8, minute), "systemState=+ST_CHARGE")
            .dynamicInfo(stamp(2019, 3, 3, 8, minute + 1), sample)
            .advancedSoc(stamp(2019, 3, 3, 8, minute + 2), 1000 * minute + 1, 2000, 1, 0.5F)
            .message(stamp(2019, 3, 3, 8, minute + 3), "systemState=+ST_RUN")
            .dynamicInfo(stamp(2019, 3, 3, 8, minute + 4), sample)
            .message(stamp(2019, 3, 3, 8, minute + 5), "systemState=+ST_RESTART");
    }
    listLogs({log.bytes(), log.bytes()});
    runWell({"logs", "--all"});
    EXPECT_EQ(directory.read("synopsis.csv"), synopsisHeader);
    runWell({"logs/A.LOG", "--detail"});
    EXPECT_EQ(directory.read("synopsis.csv"), synopsisHeader);
}

/// The outputs of a run in which one of them could not be written.
class LostOutputTest : public EndToEndTest, public testing::WithParamInterface<std::string> {
protected:
    void expectAllOthers() const {
        const ProgramResult result = run({"logs", "--all"});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.out, "Reading: logs/A.LOG\nSorting logs/A.LOG\nConverting: logs/A.LOG\n");
        EXPECT_EQ(result.err, "");
        Files expected = everyTypeOutputs();
        expected.erase(GetParam());
        if (GetParam() == "logs/detail.csv") {
            // The log's own file is then the first to write the ambient temperatures.
            expected["logs/A.LOG.detail.csv"] = everyTypeDetail(",288,300,294");
        }
        EXPECT_EQ(outputs(), expected);
    }
};

TEST_P(LostOutputTest, becauseItsNameIsTakenLeavesAllOthersComplete) {
    directory.write("logs/A.LOG", everyType.bytes());
    fs::create_directory(directory.path() / GetParam());
    expectAllOthers();
}

TEST_P(LostOutputTest, becauseTheDeviceIsFullLeavesAllOthersComplete) {
    directory.write("logs/A.LOG", everyType.bytes());
    fs::create_symlink("/dev/full", directory.path() / GetParam());
    expectAllOthers();
}

INSTANTIATE_TEST_SUITE_P(Names, LostOutputTest,
                         testing::Values("logs/A.LOG.detail.csv", "logs/detail.csv",
                                         "logs/dynamicInfo.csv", "logs/soc.csv", "logs/wide.csv",
                                         "synopsis.csv"),
                         [](const auto& tested) {
                             std::string name = fs::path(tested.param).filename();
                             std::erase(name, '.');
                             return name;
                         });

// -------------------------------------------------------------------------------------------------
// The date range
// -------------------------------------------------------------------------------------------------

class DateRangeTest : public EndToEndTest {
protected:
    /// The datestamps of the records that a run with the options lets in. The log has messages on
    /// both sides of each bound that the tests set. Without a start, its extra last record is
    /// inside, too; what stands before the first comma of that row is the whole row.
    std::vector<std::string> datestampsInside(const Arguments& options) const {
        LogBuilder log;
        for (const Stamp& when :
             {stamp(1990, 6, 1), stamp(2015, 12, 31, 23, 59, 59, 999), firstOf2016,
              stamp(2016, 1, 2), stamp(2019, 3, 2, 23, 59, 59, 999), stamp(2019, 3, 3),
              stamp(2019, 3, 3, 8), stamp(2019, 3, 3, 8, 0, 0, 5),
              stamp(2019, 3, 3, 23, 59, 59, 999), stamp(2019, 3, 4),
              stamp(2099, 12, 30, 23, 59, 59, 999), stamp(2099, 12, 31), stamp(2150, 6, 1)}) {
            log.message(when, "");
        }
        directory.write("A.LOG", log.bytes());
        Arguments arguments = options;
        arguments.insert(arguments.end(), {"A.LOG", "--detail"});
        fs::remove(directory.path() / "A.LOG.detail.csv"); // that of a run before
        runWell(arguments);
        std::vector<std::string> datestamps;
        if (directory.exists("A.LOG.detail.csv")) {
            for (const std::string& line : linesOf(directory.read("A.LOG.detail.csv"))) {
                if (!line.starts_with("Datestamp,")) {
                    datestamps.push_back(line.substr(0, line.find(',')));
                }
            }
        }
        return datestamps;
    }

    // The controller's calendar shows the first day of a year as month 13 of the year before. From
    // 1984 there are 32 years to 2016, 8 of them leap years.
    static constexpr Stamp firstOf2016 = {32 * 365 + 8, 0};
};

TEST_F(DateRangeTest, theDefaultsLetIn2016To2099WithoutTheirFirstAndLastDay) {
    EXPECT_THAT(datestampsInside({}),
                ElementsAre("2016-01-02 00:00:00.0", "2019-03-02 23:59:59.999",
                            "2019-03-03 00:00:00.0", "2019-03-03 08:00:00.0",
                            "2019-03-03 08:00:00.5", "2019-03-03 23:59:59.999",
                            "2019-03-04 00:00:00.0", "2099-12-30 23:59:59.999"));
}

TEST_F(DateRangeTest, theFirstDayOfAYearBelongsToTheYearBefore) {
    EXPECT_THAT(datestampsInside({"--startdate", "2015-13-01", "--enddate", "2016-01-01"}),
                ElementsAre("2015-13-01 00:00:00.0"));
    EXPECT_THAT(datestampsInside({"--startdate", "2016-01-01", "--enddate", "2016-01-02"}),
                IsEmpty());
}

TEST_F(DateRangeTest, aStartDateLetsInItsDay) {
    EXPECT_THAT(datestampsInside({"--startdate", "2019-03-03"}),
                ElementsAre("2019-03-03 00:00:00.0", "2019-03-03 08:00:00.0",
                            "2019-03-03 08:00:00.5", "2019-03-03 23:59:59.999",
                            "2019-03-04 00:00:00.0", "2099-12-30 23:59:59.999"));
}

TEST_F(DateRangeTest, anEndDateKeepsOutItsDay) {
    EXPECT_THAT(datestampsInside({"--enddate", "2019-03-03"}),
                ElementsAre("2016-01-02 00:00:00.0", "2019-03-02 23:59:59.999"));
}

TEST_F(DateRangeTest, oneDateForBothLetsInNothing) {
    EXPECT_THAT(datestampsInside({"--startdate", "2019-03-03", "--enddate", "2019-03-03"}),
                IsEmpty());
}

TEST_F(DateRangeTest, theLastDayIsKeptOutByTheDefaultAndLetInByTheDayAfter) {
    EXPECT_THAT(datestampsInside({"--startdate", "2099-12-31"}), IsEmpty());
    EXPECT_THAT(datestampsInside({"--startdate", "2099-12-31", "--enddate", "2100-01-01"}),
                ElementsAre("2099-12-31 00:00:00.0"));
}

TEST_F(DateRangeTest, timesNarrowTheRangeWithinADay) {
    EXPECT_THAT(datestampsInside({"--startdate", "2019-03-03", "--starttime", "00:00:01",
                                  "--enddate", "2019-03-03", "--endtime", "23:00:00"}),
                ElementsAre("2019-03-03 08:00:00.0", "2019-03-03 08:00:00.5"));
}

// A time without milliseconds is earlier than the same time with them.
TEST_F(DateRangeTest, anEndTimeInWholeSecondsKeepsOutItsSecond) {
    EXPECT_THAT(datestampsInside({"--startdate", "2019-03-03", "--enddate", "2019-03-03",
                                  "--endtime", "08:00:00"}),
                ElementsAre("2019-03-03 00:00:00.0"));
}

TEST_F(DateRangeTest, datestampsThatEqualABoundAreInside) {
    EXPECT_THAT(datestampsInside({"--startdate", "2019-03-03", "--starttime", "08:00:00.0",
                                  "--enddate", "2019-03-03", "--endtime", "08:00:00.5"}),
                ElementsAre("2019-03-03 08:00:00.0", "2019-03-03 08:00:00.5"));
    EXPECT_THAT(datestampsInside(
                    {"--startdate", "2019-03-03 08:00:00.5", "--enddate", "2019-03-03 08:00:00.5"}),
                ElementsAre("2019-03-03 08:00:00.5"));
}

TEST_F(DateRangeTest, anEmptyStartDateLetsInEverythingBefore) {
    EXPECT_THAT(datestampsInside({"--startdate", "", "--enddate", "2016-01-02"}),
                ElementsAre("1990-06-01 00:00:00.0", "2015-12-31 23:59:59.999",
                            "2015-13-01 00:00:00.0", "1984-01-01 00:00:00.0ff "));
}

TEST_F(DateRangeTest, anEmptyEndDateLetsInEverythingBehind) {
    EXPECT_THAT(
        datestampsInside({"--enddate", "", "--startdate", "2099-12-30"}),
        ElementsAre("2099-12-30 23:59:59.999", "2099-12-31 00:00:00.0", "2150-06-01 00:00:00.0"));
}

TEST_F(DateRangeTest, aStartTimeAloneNarrowsTheDefault) {
    EXPECT_THAT(datestampsInside({"--starttime", "08:00:00", "--enddate", "2016-01-03"}),
                ElementsAre("2016-01-02 00:00:00.0"));
}

// The last day of 2099 is inside up to the time.
TEST_F(DateRangeTest, anEndTimeAloneWidensTheDefault) {
    EXPECT_THAT(datestampsInside({"--endtime", "08:00:00", "--startdate", "2099-12-30"}),
                ElementsAre("2099-12-30 23:59:59.999", "2099-12-31 00:00:00.0"));
}

TEST_F(DateRangeTest, anyTextIsABound) {
    EXPECT_THAT(datestampsInside({"--startdate", "--all", "--enddate", "1999"}),
                ElementsAre("1990-06-01 00:00:00.0", "1984-01-01 00:00:00.0ff "));
    EXPECT_THAT(datestampsInside({"--startdate", "tomorrow"}), IsEmpty());
}

TEST_F(DateRangeTest, recordsOutsideTheRangeDoNotEnterTheCombinedState) {
    directory.write("logs/A.LOG", LogBuilder()
                                      .fault(stamp(2019, 3, 2), 1, 1)
                                      .powerMode(stamp(2019, 3, 2), 51)
                                      .firmwareVersion(stamp(2019, 3, 5), "a b c")
                                      .message(at(1), "systemState=+5")
                                      .bytes());
    runWell({"logs", "--startdate", "2019-03-03", "--enddate", "2019-03-04"});
    WideRow row = {textOf(1)};
    row.states = ",5,";
    EXPECT_EQ(directory.read("logs/wide.csv"), wideHeader + row.line());
}

TEST_F(DateRangeTest, theExtraLastRecordIsInsideWhenThereIsNoStart) {
    directory.write("logs/A.LOG", "");
    runWell({"logs", "--all", "--startdate", ""});
    const std::string detail = unknownHeader + "1984-01-01 00:00:00.0ff \n";
    EXPECT_EQ(outputs(), (Files{{"logs/A.LOG.detail.csv", detail},
                                {"logs/detail.csv", detail},
                                {"logs/dynamicInfo.csv", dynamicInfoHeader},
                                {"logs/soc.csv", socHeader},
                                {"logs/wide.csv", wideHeader},
                                {"synopsis.csv", synopsisHeader}}));
}

// The tool remembers the date of the record before, and there is none before the first.
TEST_F(DateRangeTest, theFirstRecordMayBeOfAnyDay) {
    const std::pair<uint16_t, std::string> days[] = {
        {0, "1984-01-01"}, {1, "1984-01-02"}, {2, "1984-01-03"}, {65535, "2163-06-05"}};
    for (const auto& [day, date] : days) {
        directory.write("A.LOG", messageLog({day, 0}, "a"));
        runWell({"A.LOG", "--detail", "--startdate", "", "--enddate", ""});
        EXPECT_EQ(linesOf(directory.read("A.LOG.detail.csv")).at(1), date + " 00:00:00.0,a,");
    }
}

// -------------------------------------------------------------------------------------------------
// The rows of wide.csv
// -------------------------------------------------------------------------------------------------

class WideRowsTest : public EndToEndTest {
protected:
    /// The rows that a log of its own gives.
    std::string rowsOf(const LogBuilder& log) const {
        directory.write("logs/A.LOG", log.bytes());
        runWell({"logs"});
        const std::string wide = directory.read("logs/wide.csv");
        EXPECT_TRUE(wide.starts_with(wideHeader));
        return wide.substr(std::min(wide.size(), wideHeader.size()));
    }
};

TEST_F(WideRowsTest, followSamplesAndMessagesOnly) {
    WideRow first = {textOf(3)};
    first.soc1 = ",1,10,20,0.25,1";
    first.powerMode = ",reserve";
    first.faults = ",1,0,0,0,0,0";
    WideRow second = first;
    second.datestamp = textOf(5);
    second.dynamicInfo1 = ",1" + sampleFields;
    EXPECT_EQ(rowsOf(LogBuilder()
                         .fault(at(1), 1, 1)
                         .powerMode(at(2), 17)
                         .advancedSoc(at(3), 10, 20, 0.25F, 1)
                         .message(at(4), "")
                         .dynamicInfo(at(5), sample)
                         .fault(at(6), 2, 1)
                         .firmwareVersion(at(7), "a b c")
                         .staticInfo(at(8), module2)
                         .powerMode(at(9), 51)),
              first.line() + second.line());
}

TEST_F(WideRowsTest, beginOnceThereIsADatestamp) {
    WideRow row = {textOf(4)};
    row.states = ",,IDLE";
    row.signals = ",1,,,";
    row.firmware = ",,2.6";
    EXPECT_EQ(rowsOf(LogBuilder()
                         .message(at(1), "sbx_sense=+1")
                         .staticInfo(at(2), module2)
                         .message(at(3), "hello")
                         .message(at(4), "chargeSchedule.state = IDLE")),
              row.line());
}

TEST_F(WideRowsTest, haveAsManyFieldsAsTheHeaderForModules1And2) {
    WideRow row = {textOf(1)};
    row.dynamicInfo1 = ",1" + sampleFields;
    WideRow both = row;
    both.datestamp = textOf(2);
    both.dynamicInfo2 = ",2" + sampleFields;
    const std::string rows =
        rowsOf(LogBuilder().dynamicInfo(at(1), 1, sample).dynamicInfo(at(2), 2, sample));
    EXPECT_EQ(rows, row.line() + both.line());
    const auto columns = std::count(wideHeader.begin(), wideHeader.end(), ',');
    for (const std::string& line : linesOf(rows)) {
        EXPECT_EQ(std::count(line.begin(), line.end(), ','), columns);
    }
}

// Module 0 stands in front of the others, module 3 after them; the header stays.
TEST_F(WideRowsTest, growByTheFieldsOfFurtherModules) {
    WideRow after = {textOf(1)};
    after.dynamicInfo2 += ",3" + sampleFields;
    WideRow inFront = after;
    inFront.datestamp = textOf(3);
    inFront.dynamicInfo1 = ",0" + sampleFields + inFront.dynamicInfo1;
    inFront.soc2 += ",3,10,20,0.25,1";
    EXPECT_EQ(rowsOf(LogBuilder()
                         .dynamicInfo(at(1), 3, sample)
                         .advancedSoc(at(2), 3, 10, 20, 0.25F, 1)
                         .dynamicInfo(at(3), 0, sample)),
              after.line() + inFront.line());
}

TEST_F(WideRowsTest, haveTheModulesInTheOrderOfTheirNumbersUpTo255) {
    WideRow row = {textOf(5)};
    row.dynamicInfo2 += ",127" + sampleFields + ",128" + sampleFields + ",255" + sampleFields;
    row.soc2 += ",127,10,20,0.25,1,128,10,20,0.25,1,255,10,20,0.25,1";
    WideRow again = row;
    again.datestamp = textOf(6);
    const std::string rows = rowsOf(LogBuilder()
                                        .dynamicInfo(at(1), 255, sample)
                                        .dynamicInfo(at(1), 127, sample)
                                        .advancedSoc(at(2), 255, 10, 20, 0.25F, 1)
                                        .advancedSoc(at(2), 127, 10, 20, 0.25F, 1)
                                        .advancedSoc(at(2), 128, 10, 20, 0.25F, 1)
                                        .dynamicInfo(at(5), 128, sample)
                                        .dynamicInfo(at(6), 255, sample));
    EXPECT_THAT(linesOf(rows), testing::SizeIs(4));
    EXPECT_THAT(rows, testing::EndsWith(row.line() + again.line()));
}

TEST_F(WideRowsTest, ofASignalRepeatTheDatestampOfTheRecordBefore) {
    WideRow state = {textOf(1)};
    state.states = ",5,";
    WideRow sbx = state;
    sbx.signals = ",1,,,";
    WideRow ac = state;
    ac.signals = ",1,0,,";
    WideRow button = state;
    button.signals = ",1,0,1,";
    WideRow interlock = state;
    interlock.signals = ",1,0,1,0";
    EXPECT_EQ(rowsOf(LogBuilder()
                         .message(at(1), "systemState=+5")
                         .message(at(2), "sbx_sense=+1")
                         .message(at(3), "ac_no_sense=+0")
                         .message(at(4), "hud_multifunc=+1")
                         .message(at(5), "interlock=+0")
                         .message(at(6), "something else")),
              state.line() + sbx.line() + ac.line() + button.line() + interlock.line() +
                  interlock.line());
}

TEST_F(WideRowsTest, forgetFaultsSignalsAndChargeScheduleAtSystemState1) {
    WideRow before = {textOf(4)};
    before.powerMode = ",reserve";
    before.faults = ",0,0,0,0,0,512";
    before.states = ",,IDLE";
    before.signals = ",,,,1";
    before.firmware = ",c,";
    WideRow other = before;
    other.datestamp = textOf(5);
    other.states = ",5,IDLE";
    WideRow restarted = {textOf(6)};
    restarted.powerMode = ",reserve";
    restarted.states = ",1,";
    restarted.firmware = ",c,";
    EXPECT_EQ(rowsOf(LogBuilder()
                         .message(at(1), "interlock=+1")
                         .firmwareVersion(at(1), "a b c")
                         .fault(at(2), 128, 512)
                         .powerMode(at(3), 17)
                         .message(at(4), "chargeSchedule.state = IDLE")
                         .message(at(5), "systemState=+5")
                         .message(at(6), "systemState=+1")),
              before.line() + other.line() + restarted.line());
}

TEST_F(WideRowsTest, showNoFaultsOfCategoriesWithoutAColumn) {
    WideRow row = {textOf(2)};
    EXPECT_EQ(rowsOf(LogBuilder().fault(at(1), 32, 7).fault(at(2), 64, 7).message(at(3), "")),
              row.line());
}

TEST_F(WideRowsTest, carryTheStateOverFromLogToLog) {
    listLogs({LogBuilder()
                  .dynamicInfo(at(1), sample)
                  .fault(at(2), 1, 9)
                  .firmwareVersion(at(3), "a b c")
                  .bytes(),
              messageLog(at(4), "something"), messageLog(at(5), "systemState=+5")});
    runWell({"logs", "--wide"});
    WideRow first = {textOf(1)};
    first.dynamicInfo1 = ",1" + sampleFields;
    WideRow second = first;
    second.datestamp = textOf(2);
    second.faults = ",9,0,0,0,0,0";
    second.firmware = ",c,";
    WideRow third = second;
    third.datestamp = textOf(5);
    third.states = ",5,";
    EXPECT_EQ(directory.read("logs/wide.csv"),
              wideHeader + first.line() + second.line() + third.line());
}

// -------------------------------------------------------------------------------------------------
// Damage and surroundings
// -------------------------------------------------------------------------------------------------

TEST_F(EndToEndTest, aLogThatCannotBeOpenedIsReportedAndTheRunGoesOn) {
    const std::vector<std::string> names = listLogs({std::nullopt, messageLog(at(1), "a")});
    const ProgramResult result = run({"logs", "--all", "--startdate", ""});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "Unable to open logs/" + names[0] + " for reading.\n");
    EXPECT_FALSE(directory.exists("logs/" + names[0] + ".detail.csv"));
    EXPECT_EQ(directory.read("logs/detail.csv"),
              messageHeader + textOf(1) + ",a,\n" + unknownHeader + "1984-01-01 00:00:00.0ff \n");
}

// A directory can be opened and not read. It is a log that has its extra last record alone.
TEST_F(EndToEndTest, aDirectoryAmongTheLogsIsReportedAndTheRunGoesOn) {
    fs::create_directories(directory.path() / "logs/Y.LOG");
    const ProgramResult result = run({"logs", "--detail", "--startdate", ""});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "Reading: logs/Y.LOG\nSorting logs/Y.LOG\nConverting: logs/Y.LOG\n");
    EXPECT_EQ(result.err, "Unable to read logs/Y.LOG to its end.\n");
    const std::string detail = unknownHeader + "1984-01-01 00:00:00.0ff \n";
    EXPECT_EQ(outputs(), (Files{{"logs/Y.LOG.detail.csv", detail},
                                {"logs/detail.csv", detail},
                                {"synopsis.csv", synopsisHeader}}));
}

// The first read returns the whole log, the second fails where the end would have been met.
TEST_F(EndToEndTest, whatWasReadBeforeAReadErrorIsKept) {
    LogBuilder log;
    log.message(at(1), "a").message(at(2), "cut off");
    directory.write("A.LOG", log.truncate(log.bytes().size() - 2).bytes());
    const std::string path = directory.path() / "A.LOG";
    const ProgramResult result = runProgram(
        {"env", "ASAN_OPTIONS=detect_leaks=0", "strace", "--quiet=all", "--output=/dev/null",
         "--trace-path=" + path, "--inject=read:error=EIO:when=2+", toolPath(), path, "--detail"},
        directory.path());
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "Reading: " + path + "\nConverting: " + path + "\n");
    EXPECT_EQ(result.err, "Unable to read " + path + " to its end.\n");
    EXPECT_EQ(directory.read("A.LOG.detail.csv"),
              messageHeader + textOf(1) + ",a,\n" + textOf(2) + ",cut off\xFF,\n");
}

/// Conversions whose writes are traced.
class WriteCalls : public EndToEndTest {
protected:
    /// The lengths of the writes of a run, by the name of the file below the directory. What the
    /// run prints goes to the file "console".
    std::map<std::string, std::vector<size_t>> writesOf(const Arguments& arguments) {
        Arguments command = {"sh", "-c",
                             "ASAN_OPTIONS=detect_leaks=0 exec strace --quiet=all --output=trace "
                             "--decode-fds=path --string-limit=0 "
                             "--trace=write,writev,pwrite64,pwritev \"$0\" \"$@\" >console",
                             toolPath()};
        command.insert(command.end(), arguments.begin(), arguments.end());
        const ProgramResult result = runProgram(command, directory.path());
        EXPECT_EQ(result.status, 0) << result.err;
        // strace writes a line such as write(5</tmp/directory/logs/wide.csv>, ""..., 83) = 83
        std::map<std::string, std::vector<size_t>> writes;
        const std::string root = fs::canonical(directory.path()).string() + "/";
        for (const std::string& line : linesOf(directory.read("trace"))) {
            const size_t begin = line.find(root);
            if (begin == std::string::npos) {
                continue; // sanitizers write to pipes of their own
            }
            const size_t equals = line.rfind(" = ");
            if (equals == std::string::npos) {
                ADD_FAILURE() << line;
                continue;
            }
            const size_t name = begin + root.size();
            writes[line.substr(name, line.find('>', name) - name)].push_back(
                std::stoul(line.substr(equals + 3)));
        }
        return writes;
    }

    /// Removes what earlier runs have left, runs the tool and expects a write for each line of each
    /// file, and no other.
    void expectAWriteForEachLine(const Arguments& arguments) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        for (const std::string& name : outputNames()) {
            fs::remove(directory.path() / name);
        }
        std::map<std::string, std::vector<size_t>> writes = writesOf(arguments);
        Files files = outputs();
        files.erase("trace");
        for (const auto& [name, bytes] : files) {
            std::vector<size_t> lines;
            for (const std::string& line : linesOf(bytes)) {
                lines.push_back(line.size() + 1); // and its line feed
            }
            EXPECT_EQ(writes[name], lines) << name;
        }
    }
};

// Whoever follows a file while it grows sees each line as soon as there is one.
TEST_F(WriteCalls, areOneForEachLine) {
    directory.write("logs/A.LOG", everyType.bytes());
    directory.write("logs/B.LOG", ""); // has a part in the progress lines only
    expectAWriteForEachLine({"logs", "--all"});
    EXPECT_EQ(linesOf(directory.read("console")).size(), 6U); // reading, sorting, converting both
    EXPECT_EQ(outputNames().size(), 6U + 2U);                 // with the trace and the console
}

/// A length of texts, such that their lines are a little shorter or longer than what a stream's
/// buffer takes, or much longer.
class LongTexts : public WriteCalls, public testing::WithParamInterface<size_t> {
protected:
    static std::string text(const std::string& beginning) {
        return beginning + std::string(GetParam() - beginning.size(), 'x');
    }
};

TEST_P(LongTexts, areWrittenWithTheirLineInOneGo) {
    LogBuilder log;
    log.message(at(1), text(""));
    log.message(at(2), text("systemState=+"));
    log.message(at(3), text("chargeSchedule.state = "));
    log.firmwareVersion(at(4), text(""));
    log.firmwareVersion(at(5), "a b " + text(""));
    // Texts without an end: the name and the version run on to the end of the record.
    log.record(1, at(6), std::string(49, '\0') + text(""));
    log.record(13, at(7), std::string(1 + 113, '\0') + text(""));
    log.record(0, at(8), text(""));
    log.record(200, at(9), text(""));
    log.dynamicInfo(at(10), sample);
    log.dynamicInfo(at(11), 2, sample);
    log.advancedSoc(at(12), 10, 20, 0.25F, 1);
    log.message(at(13), "systemState=+6");
    log.dynamicInfo(at(14), sample);
    directory.write("logs/A.LOG", log.bytes());
    expectAWriteForEachLine({"logs", "--all"});
    EXPECT_GT(directory.read("logs/wide.csv").size(), 8 * GetParam()); // state, schedule, versions
    EXPECT_GT(directory.read("logs/detail.csv").size(), 15 * GetParam());
    expectAWriteForEachLine({"logs"});
    expectAWriteForEachLine({"logs/A.LOG", "--detail"});
}

INSTANTIATE_TEST_SUITE_P(Of, LongTexts, testing::Values(100, 1023, 1024, 1025, 8191, 8192, 100000),
                         [](const auto& tested) { return std::to_string(tested.param) + "Bytes"; });

TEST_F(EndToEndTest, aHostileDirectoryIsConvertedWithStatus0) {
    std::mt19937 random(2019); // gives the same numbers everywhere
    for (const char* name : {"R1.LOG", "R2.LOG", "R3.LOG"}) {
        std::string bytes;
        for (int count = 0; count < 65536; ++count) {
            bytes += static_cast<char>(random() & 0xFF);
        }
        directory.write(std::string("logs/") + name, bytes);
    }
    directory.write("logs/.LOG", "");
    fs::create_directory(directory.path() / "logs/Y.LOG");
    fs::create_symlink("missing", directory.path() / "logs/Z.LOG");
    for (const Arguments& arguments :
         {Arguments{"logs"}, Arguments{"logs", "--all"},
          Arguments{"logs", "--all", "--startdate", "", "--enddate", ""}}) {
        const ProgramResult result = run(arguments);
        EXPECT_EQ(result.status, 0);
        EXPECT_THAT(linesOf(result.err),
                    UnorderedElementsAre("Unable to read logs/Y.LOG to its end.",
                                         "Unable to open logs/Z.LOG for reading."));
        EXPECT_EQ(linesOf(result.out).size(), 18U);
        EXPECT_TRUE(result.out.ends_with("\nConverting: logs/Z.LOG\n")) << result.out;
    }
    EXPECT_THAT(outputNames(),
                ElementsAre("logs/.LOG.detail.csv", "logs/R1.LOG.detail.csv",
                            "logs/R2.LOG.detail.csv", "logs/R3.LOG.detail.csv",
                            "logs/Y.LOG.detail.csv", "logs/detail.csv", "logs/dynamicInfo.csv",
                            "logs/soc.csv", "logs/wide.csv", "synopsis.csv"));
}

TEST_F(EndToEndTest, noOutputDependsOnTheLocaleOrTheTimeZone) {
    const TemporaryDirectory locales; // the German locale has a decimal comma and groups digits
    const ProgramResult made = runProgram(
        {"localedef", "-i", "de_DE", "-f", "UTF-8", locales.path() / "de_DE.UTF-8"}, "/");
    ASSERT_EQ(made.status, 0) << made.err;
    const Arguments german = {"env", "LOCPATH=" + locales.path().string(), "LC_ALL=de_DE.UTF-8",
                              "LANG=de_DE.UTF-8", "TZ=Pacific/Chatham"};
    const auto inGerman = [&](const Arguments& command) {
        Arguments all = german;
        all.insert(all.end(), command.begin(), command.end());
        return runProgram(all, directory.path());
    };
    ASSERT_EQ(inGerman({"locale", "decimal_point", "thousands_sep"}).out, ",\n.\n");

    directory.write("logs/A.LOG", everyType.bytes());
    const ProgramResult result = inGerman({toolPath(), "logs", "--all"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "Reading: logs/A.LOG\nSorting logs/A.LOG\nConverting: logs/A.LOG\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(outputs(), everyTypeOutputs());
    EXPECT_EQ(inGerman({toolPath(), "logs/missing.LOG"}).err,
              "Unable to open logs/missing.LOG for reading.\n");
}

} // namespace
