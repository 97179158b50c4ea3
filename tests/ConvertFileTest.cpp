#include "ConvertFile.h"
#include "ExpectedCsv.h"
#include "LogBuilder.h"
#include "ProgramRun.h"

#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <set>
#include <sstream>
#include <typeinfo>

namespace {

using Files = std::map<std::string, std::string>;

const Stamp when = stamp(2019, 3, 3, 8);
const std::string whenText = "2019-03-03 08:00:00.0";
const Stamp later = stamp(2019, 3, 3, 9);
const std::string laterText = "2019-03-03 09:00:00.0";
const Stamp tooEarly = stamp(2015, 12, 31);

/// The output flags, as a text that shows in a failed expectation.
std::string enabledOutputs() {
    std::string outputs;
    outputs += ConvertFile::detailEnabled ? "detail " : "";
    outputs += ConvertFile::socEnabled ? "soc " : "";
    outputs += ConvertFile::dynamicInfoEnabled ? "dynamicInfo " : "";
    outputs += ConvertFile::wideEnabled ? "wide " : "";
    return outputs;
}

const std::string allOutputs = "detail soc dynamicInfo wide ";

/// Runs the body in a child process. The global streams and the combined state last until the
/// process ends, so a test that converts anything would otherwise leave them to the next one.
template <typename Body>
void inItsOwnProcess(Body body) {
    const auto run = [&] {
        body();
        std::exit(testing::Test::HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
}

class ConvertFileTest : public testing::Test {
protected:
    ConvertFileTest() {
        ConvertFile::detailEnabled = false;
        ConvertFile::socEnabled = false;
        ConvertFile::dynamicInfoEnabled = false;
        ConvertFile::wideEnabled = false;
        ConvertFile::startDatestamp = "2016-01-01";
        ConvertFile::endDatestamp = "2099-12-31";
    }

    DataFile logOf(const LogBuilder& log, const std::string& name = "X.LOG") const {
        directory.write(name, log.bytes());
        return DataFile(directory.path() / name);
    }

    /// The detail file that a conversion of the log makes, with no file collecting the rows of all
    /// logs.
    std::string detailOf(const LogBuilder& log) const {
        inItsOwnProcess([&] {
            ConvertFile::enable("--detail");
            const DataFile file = logOf(log);
            EXPECT_EQ(ConvertFile(file).convert(), 0);
        });
        return directory.read("X.LOG.detail.csv");
    }

    /// All files of the directory but the log.
    Files outputs() const {
        Files files = directory.files();
        files.erase("X.LOG");
        return files;
    }

    const TemporaryDirectory directory;
};

// -------------------------------------------------------------------------------------------------
// The choice of outputs
// -------------------------------------------------------------------------------------------------

TEST_F(ConvertFileTest, enableSetsTheFlagsOfItsWord) {
    const std::pair<const char*, std::string> words[] = {
        {"--detail", "detail "}, {"--soc", "soc "},
        {"-s", "soc "},          {"--dynamicInfo", "dynamicInfo "},
        {"-d", "dynamicInfo "},  {"--wide", "wide "},
        {"-w", "wide "},         {"--all", allOutputs},
        {"-a", allOutputs},
    };
    for (const auto& [word, outputs] : words) {
        ConvertFile::detailEnabled = ConvertFile::socEnabled = false;
        ConvertFile::dynamicInfoEnabled = ConvertFile::wideEnabled = false;
        ConvertFile::enable(word);
        EXPECT_EQ(enabledOutputs(), outputs) << word;
    }
}

TEST_F(ConvertFileTest, enableSetsNothingForAnyOtherWord) {
    for (const char* word :
         {"", "-", "--", "-x", "detail", "soc", "all", "-detail", "--Detail", "--DETAIL", "-D",
          "--dynamicinfo", "--dynamic", "-S", "-W", "-A", "--all ", " --all", "--wide,--soc"}) {
        ConvertFile::enable(word);
        EXPECT_EQ(enabledOutputs(), "") << word;
    }
}

TEST_F(ConvertFileTest, enableNeverClearsAFlag) {
    ConvertFile::enable("--all");
    for (const char* word :
         {"--detail", "--soc", "-s", "--dynamicInfo", "-d", "--wide", "-w", "-x"}) {
        ConvertFile::enable(word);
        EXPECT_EQ(enabledOutputs(), allOutputs) << word;
    }
}

TEST_F(ConvertFileTest, enableDefaultChoosesWideAlone) {
    ConvertFile::enableDefault();
    EXPECT_EQ(enabledOutputs(), "wide ");
    ConvertFile::enable("--all");
    ConvertFile::enableDefault();
    EXPECT_EQ(enabledOutputs(), "wide ");
}

TEST_F(ConvertFileTest, anyEnabledIsTrueWhenAtLeastOneFlagIsSet) {
    EXPECT_FALSE(ConvertFile::anyEnabled());
    for (bool* flag : {&ConvertFile::detailEnabled, &ConvertFile::socEnabled,
                       &ConvertFile::dynamicInfoEnabled, &ConvertFile::wideEnabled}) {
        *flag = true;
        EXPECT_TRUE(ConvertFile::anyEnabled());
        *flag = false;
    }
    ConvertFile::enable("--all");
    EXPECT_TRUE(ConvertFile::anyEnabled());
}

TEST_F(ConvertFileTest, constructionWithoutAnyFlagChoosesTheDefault) {
    const DataFile file = logOf(LogBuilder());
    const ConvertFile converter(file);
    EXPECT_EQ(enabledOutputs(), "wide ");
}

TEST_F(ConvertFileTest, constructionLeavesAChoiceAlone) {
    const DataFile file = logOf(LogBuilder());
    ConvertFile::enable("--soc");
    const ConvertFile converter(file);
    EXPECT_EQ(enabledOutputs(), "soc ");
}

// -------------------------------------------------------------------------------------------------
// The date range
// -------------------------------------------------------------------------------------------------

/// Whether a record with the datestamp is inside the range.
bool inside(std::string_view date, std::string_view time) {
    const std::shared_ptr<DataRecord> record = DataRecord::factory(DataRecord::messageRecordId);
    record->datestamp = std::string(date) + ' ' + std::string(time);
    return ConvertFile::insideDateRange(record);
}

TEST_F(ConvertFileTest, aDatestampThatEqualsABoundIsInside) {
    ConvertFile::startDatestamp = "2020-05-01 08:00:00.5";
    ConvertFile::endDatestamp = "2020-05-01 08:00:00.5";
    EXPECT_TRUE(inside("2020-05-01", "08:00:00.5"));
    EXPECT_FALSE(inside("2020-05-01", "08:00:00.4"));
    EXPECT_FALSE(inside("2020-05-01", "08:00:00.6"));
}

TEST_F(ConvertFileTest, theDefaultBoundsAdmitTheFirstOf2016AndNotTheLastOf2099) {
    EXPECT_FALSE(inside("2015-12-31", "23:59:59.999"));
    EXPECT_TRUE(inside("2016-01-01", "00:00:00"));
    EXPECT_TRUE(inside("2016-01-01", "00:00:00.0"));
    EXPECT_TRUE(inside("2099-12-30", "23:59:59.999"));
    EXPECT_FALSE(inside("2099-12-31", "00:00:00"));
    EXPECT_FALSE(inside("2099-12-31", "00:00:00.0"));
    EXPECT_FALSE(inside("2163-06-05", "00:00:00.0"));
}

TEST_F(ConvertFileTest, aDateAloneAdmitsItsDayAsTheStartAndExcludesItAsTheEnd) {
    ConvertFile::startDatestamp = ConvertFile::endDatestamp = "2020-05-01";
    EXPECT_FALSE(inside("2020-04-30", "23:59:59.999"));
    EXPECT_FALSE(inside("2020-05-01", "00:00:00.0"));
    ConvertFile::endDatestamp = "2020-05-02";
    EXPECT_TRUE(inside("2020-05-01", "00:00:00.0"));
    EXPECT_TRUE(inside("2020-05-01", "23:59:59.999"));
    EXPECT_FALSE(inside("2020-05-02", "00:00:00.0"));
}

TEST_F(ConvertFileTest, anEmptyBoundRemovesThatSideOfTheRange) {
    ConvertFile::startDatestamp = "";
    EXPECT_TRUE(inside("1984-01-01", "00:00:00.0"));
    EXPECT_FALSE(inside("2163-06-05", "00:00:00.0"));
    ConvertFile::endDatestamp = "";
    EXPECT_TRUE(inside("2163-06-05", "1193:02:47.295"));
    ConvertFile::startDatestamp = "2016-01-01";
    EXPECT_FALSE(inside("1984-01-01", "00:00:00.0"));
    EXPECT_TRUE(inside("2163-06-05", "1193:02:47.295"));
}

// Neither side knows of numbers: 50 ms stand before 9 ms, and hour 100 before hour 11.
TEST_F(ConvertFileTest, boundsAreComparedAsText) {
    ConvertFile::startDatestamp = "2020-05-01 11:00:00.50";
    EXPECT_TRUE(inside("2020-05-01", "11:00:00.9"));
    EXPECT_FALSE(inside("2020-05-01", "11:00:00.5"));
    EXPECT_FALSE(inside("2020-05-01", "100:00:00.0"));
    ConvertFile::startDatestamp = "2020-5-01";
    EXPECT_FALSE(inside("2020-12-31", "00:00:00.0"));
    ConvertFile::startDatestamp = "--all";
    EXPECT_TRUE(inside("1984-01-01", "00:00:00.0"));
}

TEST_F(ConvertFileTest, month13StandsBetweenDecemberAndTheSecondOfJanuary) {
    ConvertFile::startDatestamp = "2018-12-31";
    ConvertFile::endDatestamp = "2019-01-02";
    EXPECT_TRUE(inside("2018-13-01", "12:00:00.0"));
    ConvertFile::startDatestamp = "2019-01-01";
    EXPECT_FALSE(inside("2018-13-01", "12:00:00.0"));
}

// -------------------------------------------------------------------------------------------------
// Opening the files that collect the rows of all logs
// -------------------------------------------------------------------------------------------------

TEST_F(ConvertFileTest, existsTellsWhetherAFileCanBeRead) {
    directory.write("there", "");
    EXPECT_TRUE(ConvertFile::exists(directory.path() / "there"));
    EXPECT_FALSE(ConvertFile::exists(directory.path() / "missing"));
    EXPECT_FALSE(ConvertFile::exists(directory.path() / "missing/there"));
    EXPECT_FALSE(ConvertFile::exists(""));
}

struct GlobalFile {
    const char* word;
    void (*open)(const std::string&);
    const char* name;
    std::string header;
};

const GlobalFile globalFiles[] = {
    {"--dynamicInfo", ConvertFile::openGlobalDynamicInfoStream, "dynamicInfo.csv",
     dynamicInfoHeader},
    {"--soc", ConvertFile::openGlobalSocStream, "soc.csv", socHeader},
    {"--wide", ConvertFile::openGlobalWideStream, "wide.csv", wideHeader},
    {"--detail", ConvertFile::openGlobalDetailStream, "detail.csv", ""},
};

TEST_F(ConvertFileTest, aggregateOpensWhatIsEnabledAndWritesItsHeader) {
    for (const GlobalFile& output : globalFiles) {
        const TemporaryDirectory target;
        inItsOwnProcess([&] {
            ConvertFile::enable(output.word);
            ConvertFile::aggregate(target.path());
        });
        EXPECT_EQ(target.files(), (Files{{output.name, output.header}})) << output.word;
    }
}

TEST_F(ConvertFileTest, aggregateOpensNothingWhenNothingIsEnabled) {
    inItsOwnProcess([&] { ConvertFile::aggregate(directory.path()); });
    EXPECT_EQ(directory.files(), Files());
}

TEST_F(ConvertFileTest, aggregateOpensAllFour) {
    inItsOwnProcess([&] {
        ConvertFile::enable("--all");
        ConvertFile::aggregate(directory.path());
    });
    EXPECT_EQ(directory.files(), (Files{{"dynamicInfo.csv", dynamicInfoHeader},
                                        {"soc.csv", socHeader},
                                        {"wide.csv", wideHeader},
                                        {"detail.csv", ""}}));
}

TEST_F(ConvertFileTest, eachOpeningOpensItsOwnFileOnlyAndReplacesIt) {
    for (const GlobalFile& output : globalFiles) {
        const TemporaryDirectory target;
        target.write(output.name, "of an earlier run");
        inItsOwnProcess([&] {
            ConvertFile::enable("--all");
            output.open(target.path());
        });
        EXPECT_EQ(target.files(), (Files{{output.name, output.header}})) << output.word;
    }
}

TEST_F(ConvertFileTest, eachOpeningDoesNothingUnlessItsOutputIsEnabled) {
    for (const GlobalFile& output : globalFiles) {
        inItsOwnProcess([&] {
            for (const GlobalFile& other : globalFiles) {
                if (other.word != output.word) {
                    ConvertFile::enable(other.word);
                }
            }
            output.open(directory.path());
        });
        EXPECT_EQ(directory.files(), Files()) << output.word;
    }
}

TEST_F(ConvertFileTest, openStreamsAreLeftAsTheyAre) {
    const TemporaryDirectory other;
    inItsOwnProcess([&] {
        const DataFile file = logOf(LogBuilder().powerMode(when, 51));
        ConvertFile::enable("--detail");
        ConvertFile(file).convert(); // opens nothing but the log's own detail file
        ConvertFile::aggregate(directory.path());
        ConvertFile(file).convert();
        ConvertFile::aggregate(directory.path());
        ConvertFile::aggregate(other.path());
        ConvertFile(file).convert();
    });
    const std::string block = powerModeHeader + whenText + ",dormant\n";
    EXPECT_EQ(outputs(), (Files{{"X.LOG.detail.csv", block}, {"detail.csv", block + block}}));
    EXPECT_EQ(other.files(), Files());
}

// An output that could not be opened is tried again when something is due in it.
TEST_F(ConvertFileTest, aHeaderOpensTheFileOfAllDetailsAgain) {
    const DataFile file = logOf(LogBuilder().message(when, "a").powerMode(later, 51));
    std::filesystem::create_directory(directory.path() / "detail.csv");
    inItsOwnProcess([&] {
        ConvertFile::enable("--detail");
        ConvertFile::aggregate(directory.path());
        std::filesystem::remove(directory.path() / "detail.csv");
        EXPECT_EQ(ConvertFile(file).convert(), 0);
    });
    const std::string rows = messageHeader + whenText + ",a,\n" + //
                             powerModeHeader + laterText + ",dormant\n";
    EXPECT_EQ(outputs(), (Files{{"X.LOG.detail.csv", rows}, {"detail.csv", rows}}));
}

// -------------------------------------------------------------------------------------------------
// Conversion
// -------------------------------------------------------------------------------------------------

TEST_F(ConvertFileTest, convertPrintsOneLine) {
    const DataFile file = logOf(LogBuilder().shock(when, 1, 2, 3));
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    ConvertFile(file).convert();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Converting: " + file.name() + "\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(ConvertFileTest, consecutiveRecordsOfOneTypeShareAHeader) {
    EXPECT_EQ(detailOf(LogBuilder().message(when, "a").message(later, "b")),
              messageHeader + whenText + ",a,\n" + laterText + ",b,\n");
}

TEST_F(ConvertFileTest, aRecordOfAnotherTypeInBetweenCausesTwoFurtherHeaders) {
    EXPECT_EQ(detailOf(LogBuilder().message(when, "a").powerMode(when, 17).message(when, "b")),
              messageHeader + whenText + ",a,\n" +            //
                  powerModeHeader + whenText + ",reserve\n" + //
                  messageHeader + whenText + ",b,\n");
}

TEST_F(ConvertFileTest, aRecordOutsideTheRangeInBetweenCausesNoHeader) {
    EXPECT_EQ(detailOf(LogBuilder().message(when, "a").powerMode(tooEarly, 17).message(when, "b")),
              messageHeader + whenText + ",a,\n" + whenText + ",b,\n");
}

// No header is due for the type that a file begins with, and only a header opens the log's own
// detail file: rows before the first header reach the file of all logs alone.
TEST_F(ConvertFileTest, aFirstRecordOfType0HasNoHeader) {
    inItsOwnProcess([&] {
        ConvertFile::enable("--detail");
        ConvertFile::aggregate(directory.path());
        const DataFile file =
            logOf(LogBuilder().message(tooEarly, "").record(0, when, "\xAB").message(when, "a"));
        ConvertFile(file).convert();
    });
    // 08:00 is 28800000 ms, 0x01B77400; 3 March 2019 is day 12845, 0x322D.
    const std::string unknownRow = whenText + "00 01 b7 74 00 32 2d ab \n";
    const std::string messages = messageHeader + whenText + ",a,\n";
    EXPECT_EQ(outputs(),
              (Files{{"detail.csv", unknownRow + messages}, {"X.LOG.detail.csv", messages}}));
}

TEST_F(ConvertFileTest, aLogOfRecordsOfType0AloneHasNoDetailFileOfItsOwn) {
    inItsOwnProcess([&] {
        ConvertFile::enable("--detail");
        ConvertFile::aggregate(directory.path());
        const DataFile file = logOf(LogBuilder().record(0, when, "").record(0, when, ""));
        ConvertFile(file).convert();
    });
    const std::string row = whenText + "00 01 b7 74 00 32 2d \n";
    EXPECT_EQ(outputs(), (Files{{"detail.csv", row + row}}));
}

TEST_F(ConvertFileTest, aLaterRecordOfType0HasAHeader) {
    EXPECT_EQ(detailOf(LogBuilder().message(when, "a").record(0, when, "")),
              messageHeader + whenText + ",a,\n" + unknownHeader + whenText +
                  "00 01 b7 74 00 32 2d \n");
}

TEST_F(ConvertFileTest, eachUnknownTypeHasAHeaderOfItsOwn) {
    EXPECT_EQ(detailOf(LogBuilder()
                           .record(201, when, "")
                           .record(200, when, "")
                           .record(200, when, "")
                           .record(201, when, "")),
              unknownHeader + whenText + "c9 01 b7 74 00 32 2d \n" +     //
                  unknownHeader + whenText + "c8 01 b7 74 00 32 2d \n" + //
                  whenText + "c8 01 b7 74 00 32 2d \n" +                 //
                  unknownHeader + whenText + "c9 01 b7 74 00 32 2d \n");
}

// The plain type and the one with module address have the same columns, yet are different types.
TEST_F(ConvertFileTest, theTypesWithModuleAddressHaveHeadersOfTheirOwn) {
    EXPECT_EQ(detailOf(LogBuilder()
                           .advancedSoc(when, 1, 2, 0.5F, 0.25F)
                           .advancedSoc(when, 2, 3, 4, 0.5F, 0.25F)),
              socHeader + whenText + ",1,1,2,0.5,0.25\n" + //
                  socHeader + whenText + ",2,3,4,0.5,0.25\n");
}

TEST_F(ConvertFileTest, decimalRowsFollowHexadecimalRows) {
    EXPECT_EQ(
        detailOf(
            LogBuilder().record(200, when, "").measuredCurrent(when, -255).shock(when, 16, -1, 10)),
        unknownHeader + whenText + "c8 01 b7 74 00 32 2d \n" +          //
            "Datestamp,measuredCurrent (mA)\n" + whenText + ",-255\n" + //
            "Datestamp,x (g),y (g),z (g)\n" + whenText + ",16,-1,10\n");
}

// Bounds can be so that the record after the last frame, stamped 1984, is inside.
TEST_F(ConvertFileTest, theExtraLastRecordIsWrittenWhenItIsInsideTheRange) {
    ConvertFile::startDatestamp = "";
    EXPECT_EQ(detailOf(LogBuilder().message(when, "a")),
              messageHeader + whenText + ",a,\n" + //
                  unknownHeader + "1984-01-01 00:00:00.0ff \n");
}

TEST_F(ConvertFileTest, theDetailFileReplacesThatOfAnEarlierRun) {
    directory.write("X.LOG.detail.csv", std::string(1000, 'x'));
    EXPECT_EQ(detailOf(LogBuilder().message(when, "a")), messageHeader + whenText + ",a,\n");
}

TEST_F(ConvertFileTest, thereIsNoDetailFileUnlessDetailIsEnabled) {
    inItsOwnProcess([&] {
        ConvertFile::enable("--soc");
        ConvertFile::enable("--dynamicInfo");
        ConvertFile::enable("--wide");
        const DataFile file = logOf(LogBuilder().message(when, "a").dynamicInfo(when, {}));
        EXPECT_EQ(ConvertFile(file).convert(), 0);
    });
    EXPECT_EQ(outputs(), Files());
}

TEST_F(ConvertFileTest, thereIsNoDetailFileWhenNoRecordIsInsideTheRange) {
    inItsOwnProcess([&] {
        ConvertFile::enable("--all");
        const DataFile file = logOf(LogBuilder().message(tooEarly, "a"));
        EXPECT_EQ(ConvertFile(file).convert(), 0);
    });
    EXPECT_EQ(outputs(), Files());
}

TEST_F(ConvertFileTest, withoutAggregateTheDetailFileIsAllThatIsWritten) {
    inItsOwnProcess([&] {
        ConvertFile::enable("--all");
        const DataFile file = logOf(
            LogBuilder().message(when, "a").advancedSoc(when, 1, 2, 1, 1).powerMode(when, 17));
        EXPECT_EQ(ConvertFile(file).convert(), 0);
    });
    EXPECT_EQ(outputs(),
              (Files{{"X.LOG.detail.csv", messageHeader + whenText + ",a,\n" +        //
                                              socHeader + whenText + ",1,1,2,1,1\n" + //
                                              powerModeHeader + whenText + ",reserve\n"}}));
}

// The files are compared while their streams are still open.
TEST_F(ConvertFileTest, everyLineIsFlushedAtOnce) {
    inItsOwnProcess([&] {
        ConvertFile::enable("--all");
        const DataFile file = logOf(
            LogBuilder().message(when, "systemState=+5").advancedSoc(when, 1, 2, 0.5F, 0.25F));
        ConvertFile::aggregate(directory.path());
        ConvertFile(file).convert();
        const std::string detail = messageHeader + whenText + ",systemState=+5,5\n" + //
                                   socHeader + whenText + ",1,1,2,0.5,0.25\n";
        WideRow row = {whenText};
        row.states = ",5,";
        EXPECT_EQ(outputs(), (Files{{"X.LOG.detail.csv", detail},
                                    {"detail.csv", detail},
                                    {"dynamicInfo.csv", dynamicInfoHeader},
                                    {"soc.csv", socHeader + whenText + ",1,1,2,0.5,0.25\n"},
                                    {"wide.csv", wideHeader + row.line()}}));
    });
}

// A record that reads its values while it is written has them for the first open stream only.
TEST_F(ConvertFileTest, theGlobalDetailRowIsWrittenBeforeTheOneOfTheLog) {
    inItsOwnProcess([&] {
        ConvertFile::enable("--detail");
        const DataFile file = logOf(LogBuilder().ambientTemperature(when, 288, 300, 294));
        ConvertFile::aggregate(directory.path());
        ConvertFile(file).convert();
    });
    const std::string header = "Datestamp,minimum (K),maximum (K),average (K)\n" + whenText;
    EXPECT_EQ(outputs(), (Files{{"detail.csv", header + ",288,300,294\n"},
                                {"X.LOG.detail.csv", header + ",0,0,0\n"}}));
}

TEST_F(ConvertFileTest, aStreamThatIsNotOpenTakesNoValuesFromARecord) {
    EXPECT_EQ(detailOf(LogBuilder().ambientTemperature(when, 288, 300, 294)),
              "Datestamp,minimum (K),maximum (K),average (K)\n" + whenText + ",288,300,294\n");
}

TEST_F(ConvertFileTest, aFileWithoutRecordsIsConvertedToNothing) {
    inItsOwnProcess([&] {
        ConvertFile::enable("--all");
        const DataFile file(directory.path() / "missing.LOG");
        EXPECT_EQ(ConvertFile(file).convert(), 0);
    });
    EXPECT_EQ(directory.files(), Files());
}

// -------------------------------------------------------------------------------------------------
// The row of the combined state
// -------------------------------------------------------------------------------------------------

TEST_F(ConvertFileTest, writeCSVWideOpensTheStreamAndWritesTheHeaderOnce) {
    inItsOwnProcess([&] {
        ConvertFile::enable("--wide");
        const DataFile file = logOf(LogBuilder());
        ConvertFile converter(file);
        std::ofstream stream;
        converter.writeCSVWide(stream, directory.path() / "w.csv");
        EXPECT_TRUE(stream.is_open());
        converter.writeCSVWide(stream, directory.path() / "unused.csv");
    });
    EXPECT_EQ(outputs(), (Files{{"w.csv", wideHeader}}));
}

TEST_F(ConvertFileTest, writeCSVWideWritesARowOnceTheCombinedStateHasADatestamp) {
    inItsOwnProcess([&] {
        ConvertFile::enable("--wide");
        const DataFile file = logOf(LogBuilder().message(when, "a").powerMode(when, 34));
        ConvertFile converter(file);
        std::ofstream stream;
        converter.writeCSVWide(stream, directory.path() / "w.csv");
        converter.convert();
        converter.writeCSVWide(stream, directory.path() / "w.csv");
    });
    WideRow row = {whenText};
    row.powerMode = ",manual-travel";
    EXPECT_EQ(outputs(), (Files{{"w.csv", wideHeader + row.line()}}));
}

TEST_F(ConvertFileTest, writeCSVWideOpensNothingUnlessWideIsEnabled) {
    inItsOwnProcess([&] {
        ConvertFile::enable("--soc");
        const DataFile file = logOf(LogBuilder().powerMode(when, 34));
        ConvertFile converter(file);
        converter.convert();
        std::ofstream stream;
        converter.writeCSVWide(stream, directory.path() / "w.csv");
        EXPECT_FALSE(stream.is_open());
    });
    EXPECT_EQ(outputs(), Files());
}

// -------------------------------------------------------------------------------------------------
// Period starts: a message's row reports them when it reaches a stream
// -------------------------------------------------------------------------------------------------

/// The synopsis line after the messages were converted and a sample was decoded.
std::string periodAfter(const DataFile& messages) {
    ConvertFile(messages).convert();
    synopsis.dynamicInfo("2019-03-03 10:00:00.0", 50, 60);
    std::ostringstream os;
    synopsis.write(os);
    return os.str();
}

TEST_F(ConvertFileTest, messageRowsReportPeriodStartsWhenDetailIsEnabled) {
    inItsOwnProcess([&] {
        ConvertFile::enable("--detail");
        EXPECT_EQ(periodAfter(logOf(LogBuilder().message(when, "systemState=+ST_CHARGE"))),
                  whenText + ",2019-03-03 10:00:00.0,charge,60,60,50,50,1\n");
    });
}

TEST_F(ConvertFileTest, messageRowsReportNoPeriodStartsWhenDetailIsNotEnabled) {
    inItsOwnProcess([&] {
        ConvertFile::enable("--wide");
        ConvertFile::enable("--soc");
        ConvertFile::enable("--dynamicInfo");
        ConvertFile::aggregate(directory.path());
        EXPECT_EQ(periodAfter(logOf(LogBuilder().message(when, "systemState=+ST_CHARGE"))), "");
    });
}

TEST_F(ConvertFileTest, messageRowsReportNoPeriodStartsOutsideTheRange) {
    inItsOwnProcess([&] {
        ConvertFile::enable("--detail");
        EXPECT_EQ(periodAfter(logOf(LogBuilder().message(tooEarly, "systemState=+ST_CHARGE"))), "");
    });
}

// -------------------------------------------------------------------------------------------------
// Records that are not what their type code says
// -------------------------------------------------------------------------------------------------

/// A record with the given type code and of a class that only unknown codes promise.
class Impostor : public UnknownDataRecord {
public:
    explicit Impostor(unsigned code) {
        const uint8_t data[] = {static_cast<uint8_t>(code), 0x01, 0xB7, 0x74, 0x00, 0x32, 0x2D};
        bytes.append(data);
        interpret();
    }
};

const std::set<unsigned> typesWithFurtherOutput = {1, 2, 3, 5, 6, 7, 9, 13, 14, 15};

TEST_F(ConvertFileTest, aRecordOfTheWrongClassForItsTypeCodeThrowsBadCast) {
    inItsOwnProcess([&] {
        ConvertFile::enable("--wide");
        DataFile file = logOf(LogBuilder());
        for (const unsigned code : typesWithFurtherOutput) {
            file[0] = std::make_shared<Impostor>(code);
            ConvertFile converter(file);
            EXPECT_THROW(converter.convert(), std::bad_cast) << code;
        }
    });
}

TEST_F(ConvertFileTest, typesWithoutFurtherOutputAreNotCast) {
    inItsOwnProcess([&] {
        ConvertFile::enable("--wide");
        DataFile file = logOf(LogBuilder());
        for (unsigned code = 0; code < 256; ++code) {
            if (typesWithFurtherOutput.contains(code)) {
                continue;
            }
            file[0] = std::make_shared<Impostor>(code);
            ConvertFile converter(file);
            EXPECT_EQ(converter.convert(), 0) << code;
        }
    });
}

TEST_F(ConvertFileTest, aRecordOfTheWrongClassOutsideTheRangeIsSkipped) {
    inItsOwnProcess([&] {
        ConvertFile::startDatestamp = "2020-01-01";
        DataFile file = logOf(LogBuilder());
        file[0] = std::make_shared<Impostor>(5U);
        EXPECT_EQ(ConvertFile(file).convert(), 0);
    });
}

TEST_F(ConvertFileTest, theRowsOfARecordOfTheWrongClassAreWrittenBeforeTheCast) {
    inItsOwnProcess([&] {
        ConvertFile::enable("--all");
        DataFile file = logOf(LogBuilder());
        file[0] = std::make_shared<Impostor>(7U);
        ConvertFile::aggregate(directory.path());
        ConvertFile converter(file);
        EXPECT_THROW(converter.convert(), std::bad_cast);
        const std::string row = whenText + "07 01 b7 74 00 32 2d \n";
        EXPECT_EQ(directory.read("detail.csv"), unknownHeader + row);
        EXPECT_EQ(directory.read("X.LOG.detail.csv"), unknownHeader + row);
        EXPECT_EQ(directory.read("soc.csv"), socHeader + row);
        EXPECT_EQ(directory.read("wide.csv"), wideHeader);
    });
}

} // namespace
