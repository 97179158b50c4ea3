#include "Synopsis.h"

#include "DataRecord.h"
#include "LogBuilder.h"
#include "ProgramRun.h"
#include "RecordReading.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

namespace {

const std::string headerLine =
    "startDate,endDate,direction,loSoc,hiSoc,loDsoc,hiDsoc,transportedCharge\n";

static_assert(Synopsis::unknown == 0);
static_assert(Synopsis::discharge == 1);
static_assert(Synopsis::charge == 2);

/// The line that the period under way would give now.
std::string lineOf(Synopsis& periods) {
    std::ostringstream os;
    periods.write(os);
    return os.str();
}

/// Each test works in an empty directory of its own, since a Synopsis writes where the process
/// stands.
class SynopsisTest : public ::testing::Test {
protected:
    void SetUp() override { std::filesystem::current_path(directory.path()); }
    void TearDown() override { std::filesystem::current_path(before); }

    std::string file() const { return directory.read("synopsis.csv"); }

    const std::filesystem::path before = std::filesystem::current_path();
    const TemporaryDirectory directory;
};

// =================================================================================================
// The file
// =================================================================================================

TEST_F(SynopsisTest, constructionWritesTheHeaderLineAtOnce) {
    const Synopsis periods;
    EXPECT_THAT(directory.files(), testing::ElementsAre(testing::Pair("synopsis.csv", headerLine)));
}

TEST_F(SynopsisTest, constructionTruncatesTheFile) {
    directory.write("synopsis.csv", std::string(1000, 'x'));
    const Synopsis periods;
    EXPECT_EQ(file(), headerLine);
}

TEST_F(SynopsisTest, everyRunOfTheToolWritesTheHeaderLineWhateverItWasAskedFor) {
    const std::vector<std::vector<std::string>> argumentLists = {
        {}, {"--help"}, {"--version"}, {"--nonsense"}, {"missing.LOG"}};
    for (const std::vector<std::string>& arguments : argumentLists) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        directory.write("synopsis.csv", "of the run before");
        runTool(arguments, directory.path());
        EXPECT_EQ(file(), headerLine);
    }
}

TEST_F(SynopsisTest, theFileOfARunLiesInTheWorkingDirectoryWhateverDirectoryIsConverted) {
    directory.write("logs/A.LOG", LogBuilder().message(stamp(2020, 5, 4), "hello").bytes());
    directory.write("work/file", "");
    runTool({"../logs", "--all"}, directory.path() / "work");
    EXPECT_EQ(directory.read("work/synopsis.csv"), headerLine);
    EXPECT_FALSE(directory.exists("logs/synopsis.csv"));
}

TEST_F(SynopsisTest, destructionWritesThePeriodUnderWay) {
    {
        Synopsis periods;
        periods.start("begin", Synopsis::discharge);
        periods.dynamicInfo("end", 60, 70);
        periods.advancedSOC("end", 5);
    }
    EXPECT_EQ(file(), headerLine + "begin,end,discharge,70,70,60,60,0\n");
}

TEST_F(SynopsisTest, destructionWritesNoPeriodThatDoesNotQualify) {
    {
        Synopsis periods;
        periods.start("begin", Synopsis::discharge);
    }
    EXPECT_EQ(file(), headerLine);
}

TEST_F(SynopsisTest, theLineOfAPeriodIsInTheFileAsSoonAsThePeriodEnds) {
    Synopsis periods;
    periods.start("begin", Synopsis::charge);
    periods.dynamicInfo("end", 60, 70);
    EXPECT_EQ(file(), headerLine);
    periods.start("later", Synopsis::discharge);
    EXPECT_EQ(file(), headerLine + "begin,end,charge,70,70,60,60,1\n");
}

TEST_F(SynopsisTest, linesAreLostSilentlyIfTheFileCannotBeOpened) {
    std::filesystem::create_directory("synopsis.csv");
    Synopsis periods;
    periods.start("begin", Synopsis::charge);
    periods.dynamicInfo("end", 60, 70);
    EXPECT_EQ(lineOf(periods), "begin,end,charge,70,70,60,60,1\n");
    periods.start("later", Synopsis::discharge);

    const ProgramResult run = runTool({"--version"}, directory.path());
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_TRUE(std::filesystem::is_directory("synopsis.csv"));
}

TEST_F(SynopsisTest, destructionLetsNoFailureEscape) {
    EXPECT_TRUE(std::is_nothrow_destructible_v<Synopsis>);
}

// =================================================================================================
// The line of a period
// =================================================================================================

TEST_F(SynopsisTest, aLineHoldsDatesDirectionSocBeforeDsocAndTransportedCharge) {
    Synopsis periods;
    periods.start("startDate", Synopsis::charge);
    periods.dynamicInfo("first", 30, 37);
    periods.dynamicInfo("second", 90, 81);
    periods.advancedSOC("third", 1000);
    periods.advancedSOC("endDate", 1750);
    EXPECT_EQ(lineOf(periods), "startDate,endDate,charge,37,81,30,90,750\n");
}

TEST_F(SynopsisTest, theDirectionsAreWrittenAsChargeAndDischarge) {
    Synopsis periods;
    periods.start("a", Synopsis::charge);
    periods.dynamicInfo("b", 1, 1);
    EXPECT_EQ(lineOf(periods), "a,b,charge,1,1,1,1,1\n");
    periods.start("c", Synopsis::discharge);
    periods.dynamicInfo("d", 1, 1);
    EXPECT_EQ(lineOf(periods), "c,d,discharge,1,1,1,1,1\n");
}

TEST_F(SynopsisTest, theOrderOfReadingsDoesNotMatterForTheirExtremes) {
    Synopsis periods;
    periods.start("a", Synopsis::charge);
    periods.dynamicInfo("b", 50, 80);
    periods.dynamicInfo("c", 70, 20);
    periods.dynamicInfo("d", 60, 50);
    periods.advancedSOC("e", 300);
    periods.advancedSOC("f", 100);
    periods.advancedSOC("g", 200);
    EXPECT_EQ(lineOf(periods), "a,g,charge,20,80,50,70,200\n");
}

TEST_F(SynopsisTest, aReadingOfZeroPercentCounts) {
    Synopsis periods;
    periods.start("a", Synopsis::charge);
    periods.dynamicInfo("b", 0, 0);
    EXPECT_EQ(lineOf(periods), "a,b,charge,0,0,0,0,1\n");
}

TEST_F(SynopsisTest, theLowestReadingsBeginAtAHundredWhateverIsReadAboveIt) {
    Synopsis periods;
    periods.start("a", Synopsis::charge);
    periods.dynamicInfo("b", 65535, 120);
    EXPECT_EQ(lineOf(periods), "a,b,charge,100,120,100,65535,1\n");
}

TEST_F(SynopsisTest, withoutAChargeReadingTheTransportedChargeWrapsToOne) {
    Synopsis periods;
    periods.start("a", Synopsis::charge);
    periods.dynamicInfo("b", 50, 50);
    EXPECT_EQ(lineOf(periods), "a,b,charge,50,50,50,50,1\n");
}

TEST_F(SynopsisTest, theTransportedChargeIsTheDifferenceOfTheExtremes) {
    Synopsis periods;
    periods.start("a", Synopsis::charge);
    periods.dynamicInfo("b", 50, 50);
    periods.advancedSOC("c", 4294967295);
    EXPECT_EQ(lineOf(periods), "a,c,charge,50,50,50,50,0\n");
    periods.advancedSOC("d", 1);
    EXPECT_EQ(lineOf(periods), "a,d,charge,50,50,50,50,4294967294\n");
}

TEST_F(SynopsisTest, chargeReadingsOfZeroAreIgnoredEntirely) {
    Synopsis periods;
    periods.start("a", Synopsis::charge);
    periods.dynamicInfo("b", 50, 50);
    periods.advancedSOC("c", 0);
    EXPECT_EQ(lineOf(periods), "a,b,charge,50,50,50,50,1\n");
    periods.advancedSOC("d", 700);
    periods.advancedSOC("e", 0);
    EXPECT_EQ(lineOf(periods), "a,d,charge,50,50,50,50,0\n");
}

TEST_F(SynopsisTest, everyOtherReadingMovesTheEndDate) {
    Synopsis periods;
    periods.start("a", Synopsis::charge);
    periods.advancedSOC("b", 700);
    periods.dynamicInfo("c", 50, 50);
    EXPECT_EQ(lineOf(periods), "a,c,charge,50,50,50,50,0\n");
    periods.dynamicInfo("an earlier date", 50, 50);
    EXPECT_EQ(lineOf(periods), "a,an earlier date,charge,50,50,50,50,0\n");
}

TEST_F(SynopsisTest, writingALineChangesNothing) {
    Synopsis periods;
    periods.start("a", Synopsis::charge);
    periods.dynamicInfo("b", 50, 50);
    const std::string first = lineOf(periods);
    EXPECT_EQ(lineOf(periods), first);
}

// =================================================================================================
// When there is no line
// =================================================================================================

TEST_F(SynopsisTest, aPeriodWithoutStateOfChargeReadingHasNoLine) {
    Synopsis periods;
    periods.start("a", Synopsis::charge);
    periods.advancedSOC("b", 700);
    EXPECT_EQ(lineOf(periods), "");
}

TEST_F(SynopsisTest, readingsBeforeTheFirstStartAreNeverWritten) {
    Synopsis periods;
    periods.dynamicInfo("a", 50, 50);
    periods.advancedSOC("b", 700);
    EXPECT_EQ(lineOf(periods), "");
    periods.start("c", Synopsis::charge);
    EXPECT_EQ(file(), headerLine);
    EXPECT_EQ(lineOf(periods), "") << "the start forgets the readings before it";
    periods.start("d", Synopsis::discharge);
    EXPECT_EQ(file(), headerLine);
}

TEST_F(SynopsisTest, aPeriodOfUnknownDirectionIsNeverWritten) {
    Synopsis periods;
    periods.start("a", Synopsis::charge);
    periods.start("b", Synopsis::unknown);
    periods.dynamicInfo("c", 50, 50);
    EXPECT_EQ(lineOf(periods), "");
    periods.start("d", Synopsis::charge);
    EXPECT_EQ(file(), headerLine);
}

// =================================================================================================
// Starts
// =================================================================================================

TEST_F(SynopsisTest, aStartOfAnotherDirectionClosesThePeriodAndBeginsTheNext) {
    Synopsis periods;
    periods.start("charge begins", Synopsis::charge);
    periods.dynamicInfo("charge reads", 30, 40);
    periods.advancedSOC("charge ends", 1000);
    periods.start("discharge begins", Synopsis::discharge);
    EXPECT_EQ(file(), headerLine + "charge begins,charge ends,charge,40,40,30,30,0\n");

    periods.advancedSOC("discharge reads", 5000);
    periods.dynamicInfo("discharge ends", 80, 90);
    EXPECT_EQ(lineOf(periods), "discharge begins,discharge ends,discharge,90,90,80,80,0\n")
        << "no reading of the charge period is left";
}

TEST_F(SynopsisTest, aStartInTheSameDirectionChangesNothing) {
    Synopsis periods;
    periods.start("a", Synopsis::charge);
    periods.dynamicInfo("b", 30, 40);
    periods.start("c", Synopsis::charge);
    EXPECT_EQ(lineOf(periods), "a,b,charge,40,40,30,30,1\n") << "not even the end date";
    EXPECT_EQ(file(), headerLine);
    periods.dynamicInfo("d", 50, 60);
    periods.start("e", Synopsis::discharge);
    EXPECT_EQ(file(), headerLine + "a,d,charge,40,60,30,50,1\n");
}

TEST_F(SynopsisTest, aStartOfUnknownClosesThePeriodUnderWay) {
    Synopsis periods;
    periods.start("a", Synopsis::discharge);
    periods.dynamicInfo("b", 50, 50);
    periods.start("c", Synopsis::unknown);
    EXPECT_EQ(file(), headerLine + "a,b,discharge,50,50,50,50,1\n");
}

TEST_F(SynopsisTest, aDirectionCanBeginAgainBehindUnknown) {
    Synopsis periods;
    periods.start("a", Synopsis::discharge);
    periods.dynamicInfo("b", 50, 50);
    periods.start("c", Synopsis::unknown);
    periods.start("d", Synopsis::discharge);
    periods.dynamicInfo("e", 40, 40);
    EXPECT_EQ(lineOf(periods), "d,e,discharge,40,40,40,40,1\n");
}

TEST_F(SynopsisTest, initializeBeginsAPeriodWithoutDates) {
    Synopsis periods;
    periods.initialize(Synopsis::charge);
    EXPECT_EQ(lineOf(periods), "");
    periods.dynamicInfo("end", 50, 50);
    EXPECT_EQ(lineOf(periods), ",end,charge,50,50,50,50,1\n");
}

TEST_F(SynopsisTest, initializeForgetsAllReadings) {
    Synopsis periods;
    periods.start("a", Synopsis::charge);
    periods.dynamicInfo("b", 10, 20);
    periods.dynamicInfo("b", 90, 80);
    periods.advancedSOC("b", 1);
    periods.advancedSOC("b", 9);
    periods.initialize(Synopsis::discharge);
    EXPECT_EQ(lineOf(periods), "");
    periods.dynamicInfo("c", 50, 60);
    EXPECT_EQ(lineOf(periods), "a,c,discharge,60,60,50,50,1\n");
}

// =================================================================================================
// What reports to the process-wide synopsis
// =================================================================================================

/// The only record of a log, decoded.
std::shared_ptr<DataRecord> decoded(const LogBuilder& log) {
    return readRecord(log.bytes());
}

void writeRow(const LogBuilder& log) {
    std::ostringstream os;
    decoded(log)->writeCSVTimestampedData(os);
}

LogBuilder message(Stamp when, std::string_view text) {
    return LogBuilder().message(when, text);
}

/// A sample that the synopsis takes, unless the state of charge is above 100.
LogBuilder dynamicInfo(Stamp when, unsigned dsoc, unsigned soc) {
    DynamicInfo info;
    info.dsoc = dsoc;
    info.soc = soc;
    info.cellMillivolts.assign(7, 3300);
    info.deciKelvin = 2981;
    return LogBuilder().dynamicInfo(when, info);
}

class SynopsisReports : public SynopsisTest {
protected:
    void SetUp() override {
        SynopsisTest::SetUp();
        synopsis.initialize(Synopsis::unknown);
    }
};

TEST_F(SynopsisReports, aWrittenMessageOfRunStartsADischargePeriod) {
    writeRow(message(stamp(2020, 5, 4, 8), "systemState=+ST_RUN"));
    synopsis.dynamicInfo("end", 50, 50);
    EXPECT_EQ(lineOf(synopsis), "2020-05-04 08:00:00.0,end,discharge,50,50,50,50,1\n");
}

TEST_F(SynopsisReports, aWrittenMessageOfChargeStartsAChargePeriod) {
    writeRow(message(stamp(2020, 5, 4, 8), "systemState=+ST_CHARGE"));
    synopsis.dynamicInfo("end", 50, 50);
    EXPECT_EQ(lineOf(synopsis), "2020-05-04 08:00:00.0,end,charge,50,50,50,50,1\n");
}

TEST_F(SynopsisReports, aWrittenMessageOfRestartStartsAPeriodThatIsNeverWritten) {
    writeRow(message(stamp(2020, 5, 4, 8), "systemState=+ST_CHARGE"));
    writeRow(message(stamp(2020, 5, 4, 9), "systemState=+ST_RESTART"));
    synopsis.dynamicInfo("end", 50, 50);
    EXPECT_EQ(lineOf(synopsis), "");
}

TEST_F(SynopsisReports, noOtherMessageStartsAPeriod) {
    synopsis.start("begin", Synopsis::charge);
    synopsis.dynamicInfo("end", 50, 50);
    for (const char* text :
         {"", "ST_RUN", "systemState=+5", "systemState=+ST_CHARGE_DONE", "systemState=+ST_RUN ",
          "systemState=ST_RUN", "SystemState=+ST_RUN", "chargeSchedule.state = ST_RUN"}) {
        writeRow(message(stamp(2020, 5, 4, 9), text));
        EXPECT_EQ(lineOf(synopsis), "begin,end,charge,50,50,50,50,1\n") << text;
    }
}

TEST_F(SynopsisReports, aMessageThatIsOnlyReadStartsNothing) {
    synopsis.start("begin", Synopsis::charge);
    synopsis.dynamicInfo("end", 50, 50);
    decoded(message(stamp(2020, 5, 4, 9), "systemState=+ST_RUN"));
    EXPECT_EQ(lineOf(synopsis), "begin,end,charge,50,50,50,50,1\n");
}

TEST_F(SynopsisReports, aMessageWhoseRowIsNotWrittenStartsNothing) {
    synopsis.start("begin", Synopsis::charge);
    synopsis.dynamicInfo("end", 50, 50);
    const auto record = decoded(message(stamp(2020, 5, 4, 9), "systemState=+ST_RUN"));
    std::ofstream neverOpened;
    record->writeCSVTimestampedData(neverOpened);
    std::ostringstream failed;
    failed.setstate(std::ios::failbit);
    record->writeCSVTimestampedData(failed);
    EXPECT_EQ(lineOf(synopsis), "begin,end,charge,50,50,50,50,1\n");
}

TEST_F(SynopsisReports, aMessageThatIsWrittenTwiceBeginsOnePeriod) {
    const LogBuilder charging = message(stamp(2020, 5, 4, 8), "systemState=+ST_CHARGE");
    writeRow(charging);
    synopsis.dynamicInfo("end", 50, 50);
    writeRow(charging);
    EXPECT_EQ(lineOf(synopsis), "2020-05-04 08:00:00.0,end,charge,50,50,50,50,1\n");
}

TEST_F(SynopsisReports, twoChargeMessagesInARowBeginOnePeriodAndRunBeginsTheNext) {
    writeRow(message(stamp(2020, 5, 4, 8), "systemState=+ST_CHARGE"));
    decoded(dynamicInfo(stamp(2020, 5, 4, 9), 30, 37));
    writeRow(message(stamp(2020, 5, 4, 10), "systemState=+ST_CHARGE"));
    EXPECT_EQ(lineOf(synopsis), "2020-05-04 08:00:00.0,2020-05-04 09:00:00.0,charge,"
                                "37,37,30,30,1\n");
    writeRow(message(stamp(2020, 5, 4, 11), "systemState=+ST_RUN"));
    decoded(dynamicInfo(stamp(2020, 5, 4, 12), 29, 36));
    EXPECT_EQ(lineOf(synopsis), "2020-05-04 11:00:00.0,2020-05-04 12:00:00.0,discharge,"
                                "36,36,29,29,1\n");
}

TEST_F(SynopsisReports, aDecodedPlausibleDynamicInfoRecordIsASocReading) {
    synopsis.start("begin", Synopsis::charge);
    decoded(dynamicInfo(stamp(2020, 5, 4, 9), 30, 37));
    decoded(dynamicInfo(stamp(2020, 5, 4, 10), 90, 81));
    EXPECT_EQ(lineOf(synopsis), "begin,2020-05-04 10:00:00.0,charge,37,81,30,90,1\n");
}

TEST_F(SynopsisReports, anImplausibleDynamicInfoRecordIsNoReading) {
    synopsis.start("begin", Synopsis::charge);
    synopsis.dynamicInfo("end", 50, 50);
    decoded(dynamicInfo(stamp(2020, 5, 4, 9), 30, 101));
    EXPECT_EQ(lineOf(synopsis), "begin,end,charge,50,50,50,50,1\n");
}

TEST_F(SynopsisReports, aDecodedAdvancedSocRecordIsAReadingOfTheSumOfItsCounters) {
    synopsis.start("begin", Synopsis::charge);
    synopsis.dynamicInfo("end", 50, 50);
    decoded(LogBuilder().advancedSoc(stamp(2020, 5, 4, 9), 1000, 200, 1, 1));
    decoded(LogBuilder().advancedSoc(stamp(2020, 5, 4, 10), 1300, 250, 1, 1));
    EXPECT_EQ(lineOf(synopsis), "begin,2020-05-04 10:00:00.0,charge,50,50,50,50,350\n");
}

TEST_F(SynopsisReports, aRowThatIsWrittenIsNoReading) {
    const auto info = decoded(dynamicInfo(stamp(2020, 5, 4, 9), 30, 37));
    const auto soc = decoded(LogBuilder().advancedSoc(stamp(2020, 5, 4, 9), 1000, 200, 1, 1));
    synopsis.start("begin", Synopsis::charge);
    synopsis.dynamicInfo("end", 50, 50);
    std::ostringstream os;
    info->writeCSVTimestampedData(os);
    soc->writeCSVTimestampedData(os);
    EXPECT_EQ(lineOf(synopsis), "begin,end,charge,50,50,50,50,1\n");
}

TEST_F(SynopsisReports, aRunReadsAllLogsBeforeTheFirstStartSoTheFileHoldsItsHeaderLineAlone) {
    LogBuilder log;
    for (unsigned hour = 0; hour < 24; hour += 4) {
        log.append(message(stamp(2020, 5, 4, hour), "systemState=+ST_CHARGE").bytes())
            .append(dynamicInfo(stamp(2020, 5, 4, hour + 1), 30 + hour, 37 + hour).bytes())
            .advancedSoc(stamp(2020, 5, 4, hour + 1), 1000 * hour, 200, 1, 1)
            .append(message(stamp(2020, 5, 4, hour + 2), "systemState=+ST_RUN").bytes())
            .append(dynamicInfo(stamp(2020, 5, 4, hour + 3), 30, 37).bytes());
    }
    directory.write("logs/A.LOG", log.bytes());
    directory.write("logs/B.LOG", log.bytes());
    EXPECT_EQ(runTool({"logs", "--all"}, directory.path()).status, 0);
    EXPECT_THAT(directory.read("logs/detail.csv"), testing::HasSubstr(",ST_CHARGE\n"))
        << "periods were started";
    EXPECT_EQ(file(), headerLine);
}

} // namespace
