#include "Options.h"
#include "ConvertFile.h"
#include "ExpectedCsv.h"
#include "ProgramRun.h"

#include <gmock/gmock.h>

namespace {

using Arguments = std::vector<std::string>;

/// The four outputs, as a text that shows in a failed expectation.
std::string enabledOutputs() {
    std::string outputs;
    outputs += ConvertFile::detailEnabled ? "detail " : "";
    outputs += ConvertFile::socEnabled ? "soc " : "";
    outputs += ConvertFile::dynamicInfoEnabled ? "dynamicInfo " : "";
    outputs += ConvertFile::wideEnabled ? "wide " : "";
    return outputs;
}

const std::string allOutputs = "detail soc dynamicInfo wide ";

/// What command lines that are accepted set. Each test starts from the settings of a fresh process.
class OptionsTest : public testing::Test {
protected:
    OptionsTest() {
        ConvertFile::detailEnabled = false;
        ConvertFile::socEnabled = false;
        ConvertFile::dynamicInfoEnabled = false;
        ConvertFile::wideEnabled = false;
        ConvertFile::startDatestamp = "2016-01-01";
        ConvertFile::endDatestamp = "2099-12-31";
    }

    /// Parses the arguments after a program name.
    void parse(const Arguments& arguments) {
        std::vector<const char*> pointers = {"convertquorvlogs"};
        for (const std::string& argument : arguments) {
            pointers.push_back(argument.c_str());
        }
        options.parseArguments(static_cast<int>(pointers.size()), pointers.data());
    }

    Options options;
};

TEST_F(OptionsTest, everyOutputOptionOfTheTableSetsAFlag) {
    for (const Option& option : allOptions()) {
        for (const std::string_view name : {option.name, option.shortName}) {
            ConvertFile::detailEnabled = ConvertFile::socEnabled = false;
            ConvertFile::dynamicInfoEnabled = ConvertFile::wideEnabled = false;
            ConvertFile::enable(std::string(name));
            const bool isOutput = option.action == Option::Action::output && !name.empty();
            EXPECT_EQ(ConvertFile::anyEnabled(), isOutput) << name;
        }
    }
}

TEST_F(OptionsTest, noArgumentsChangeNothing) {
    parse({});
    EXPECT_EQ(options.path(), ".");
    EXPECT_EQ(enabledOutputs(), "");
    EXPECT_EQ(ConvertFile::startDatestamp, "2016-01-01");
    EXPECT_EQ(ConvertFile::endDatestamp, "2099-12-31");
}

TEST_F(OptionsTest, notEvenAProgramNameIsNeeded) {
    options.parseArguments(0, nullptr);
    EXPECT_EQ(options.path(), ".");
    EXPECT_EQ(enabledOutputs(), "");
}

TEST_F(OptionsTest, theFirstArgumentIsTheProgramName) {
    const char* arguments[] = {"--all", "-s"};
    options.parseArguments(2, arguments);
    EXPECT_EQ(enabledOutputs(), "soc ");
}

TEST_F(OptionsTest, anArgumentWithoutLeadingDashIsThePath) {
    parse({"logs/a.LOG"});
    EXPECT_EQ(options.path(), "logs/a.LOG");
}

TEST_F(OptionsTest, anEmptyArgumentIsThePath) {
    parse({""});
    EXPECT_EQ(options.path(), "");
}

TEST_F(OptionsTest, aPathMayHoldDashesAndBlanks) {
    parse({" --all -s"});
    EXPECT_EQ(options.path(), " --all -s");
    EXPECT_EQ(enabledOutputs(), "");
}

TEST_F(OptionsTest, optionsAndPathMixInAnyOrder) {
    parse({"-s", "--startdate", "2020-05-01", "logs", "--enddate", "2020-06-01", "-d"});
    EXPECT_EQ(options.path(), "logs");
    EXPECT_EQ(enabledOutputs(), "soc dynamicInfo ");
    EXPECT_EQ(ConvertFile::startDatestamp, "2020-05-01");
    EXPECT_EQ(ConvertFile::endDatestamp, "2020-06-01");
}

struct OutputOption {
    const char* word;
    std::string outputs;
};

void PrintTo(const OutputOption& option, std::ostream* os) {
    *os << option.word;
}

class OutputOptionTest : public OptionsTest, public testing::WithParamInterface<OutputOption> {};

TEST_P(OutputOptionTest, enablesItsOutputs) {
    parse({GetParam().word});
    EXPECT_EQ(enabledOutputs(), GetParam().outputs);
    EXPECT_EQ(options.path(), ".");
    EXPECT_EQ(ConvertFile::startDatestamp, "2016-01-01");
    EXPECT_EQ(ConvertFile::endDatestamp, "2099-12-31");
}

TEST_P(OutputOptionTest, takesNothingBackThatAnotherEnabled) {
    parse({"--all", GetParam().word});
    EXPECT_EQ(enabledOutputs(), allOutputs);
}

INSTANTIATE_TEST_SUITE_P(Words, OutputOptionTest,
                         testing::Values(OutputOption{"--all", allOutputs},
                                         OutputOption{"-a", allOutputs},
                                         OutputOption{"--detail", "detail "},
                                         OutputOption{"--dynamicInfo", "dynamicInfo "},
                                         OutputOption{"-d", "dynamicInfo "},
                                         OutputOption{"--soc", "soc "}, OutputOption{"-s", "soc "},
                                         OutputOption{"--wide", "wide "},
                                         OutputOption{"-w", "wide "}),
                         [](const auto& tested) {
                             const std::string word = tested.param.word;
                             return word.substr(word.find_first_not_of('-'));
                         });

TEST_F(OptionsTest, dashDEnablesDynamicInfoAndNotDetail) {
    parse({"-d"});
    EXPECT_TRUE(ConvertFile::dynamicInfoEnabled);
    EXPECT_FALSE(ConvertFile::detailEnabled);
}

TEST_F(OptionsTest, enablingIsCumulative) {
    parse({"--detail", "-s"});
    EXPECT_EQ(enabledOutputs(), "detail soc ");
    parse({"-w"});
    EXPECT_EQ(enabledOutputs(), "detail soc wide ");
}

TEST_F(OptionsTest, unknownOptionsAreIgnored) {
    parse({"-x", "-", "--", "--al", "--alls", "-as", "-detail", "--all=1", "--all "});
    EXPECT_EQ(enabledOutputs(), "");
    EXPECT_EQ(options.path(), ".");
}

TEST_F(OptionsTest, aKnownOptionInAnotherLetterCaseIsUnknown) {
    parse({"-A", "--All", "--Detail", "-D", "--dynamicinfo", "-S", "--SOC", "-W", "--Wide", "-H",
           "--Help", "-V", "--VERSION"});
    EXPECT_EQ(enabledOutputs(), "");
}

// The argument after it is then no value.
TEST_F(OptionsTest, aDateOptionInAnotherLetterCaseTakesNoValue) {
    parse({"--StartDate", "2020-05-01"});
    EXPECT_EQ(ConvertFile::startDatestamp, "2016-01-01");
    EXPECT_EQ(options.path(), "2020-05-01");
}

TEST_F(OptionsTest, startDateReplacesTheStartBound) {
    parse({"--startdate", "2020-05-01"});
    EXPECT_EQ(ConvertFile::startDatestamp, "2020-05-01");
    EXPECT_EQ(ConvertFile::endDatestamp, "2099-12-31");
}

TEST_F(OptionsTest, endDateReplacesTheEndBound) {
    parse({"--enddate", "2020-05-01"});
    EXPECT_EQ(ConvertFile::startDatestamp, "2016-01-01");
    EXPECT_EQ(ConvertFile::endDatestamp, "2020-05-01");
}

TEST_F(OptionsTest, startTimeIsAppendedToTheStartDate) {
    parse({"--startdate", "2020-05-01", "--starttime", "08:00:00"});
    EXPECT_EQ(ConvertFile::startDatestamp, "2020-05-01 08:00:00");
    EXPECT_EQ(ConvertFile::endDatestamp, "2099-12-31");
}

TEST_F(OptionsTest, endTimeIsAppendedToTheEndDate) {
    parse({"--enddate", "2020-05-01", "--endtime", "08:00:00"});
    EXPECT_EQ(ConvertFile::startDatestamp, "2016-01-01");
    EXPECT_EQ(ConvertFile::endDatestamp, "2020-05-01 08:00:00");
}

TEST_F(OptionsTest, startTimeAloneIsAppendedToTheDefault) {
    parse({"--starttime", "08:00:00"});
    EXPECT_EQ(ConvertFile::startDatestamp, "2016-01-01 08:00:00");
}

TEST_F(OptionsTest, endTimeAloneIsAppendedToTheDefault) {
    parse({"--endtime", "08:00:00"});
    EXPECT_EQ(ConvertFile::endDatestamp, "2099-12-31 08:00:00");
}

TEST_F(OptionsTest, aTimeBeforeItsDateIsLost) {
    parse({"--starttime", "08:00:00", "--startdate", "2020-05-01"});
    EXPECT_EQ(ConvertFile::startDatestamp, "2020-05-01");
    parse({"--endtime", "08:00:00", "--enddate", "2020-06-01"});
    EXPECT_EQ(ConvertFile::endDatestamp, "2020-06-01");
}

TEST_F(OptionsTest, aTimeGivenTwiceIsAppendedTwice) {
    parse({"--starttime", "08", "--starttime", "09", "--endtime", "10", "--endtime", "11"});
    EXPECT_EQ(ConvertFile::startDatestamp, "2016-01-01 08 09");
    EXPECT_EQ(ConvertFile::endDatestamp, "2099-12-31 10 11");
}

TEST_F(OptionsTest, valuesAreTakenAsTheyStand) {
    parse({"--startdate", "yesterday, or so", "--starttime", "", "--enddate", " ", "--endtime",
           "noon"});
    EXPECT_EQ(ConvertFile::startDatestamp, "yesterday, or so ");
    EXPECT_EQ(ConvertFile::endDatestamp, "  noon");
}

TEST_F(OptionsTest, anEmptyDateEmptiesTheBound) {
    parse({"--startdate", "", "--enddate", ""});
    EXPECT_EQ(ConvertFile::startDatestamp, "");
    EXPECT_EQ(ConvertFile::endDatestamp, "");
}

TEST_F(OptionsTest, valuesThatBeginWithADashAreValues) {
    parse({"--startdate", "--help", "--starttime", "-v", "--enddate", "--all", "--endtime", "-x"});
    EXPECT_EQ(ConvertFile::startDatestamp, "--help -v");
    EXPECT_EQ(ConvertFile::endDatestamp, "--all -x");
    EXPECT_EQ(enabledOutputs(), "");
}

TEST_F(OptionsTest, aValueIsNoPath) {
    parse({"--startdate", "a.LOG", "b.LOG", "--enddate", "c.LOG"});
    EXPECT_EQ(options.path(), "b.LOG");
}

TEST_F(OptionsTest, pathReturnsACopy) {
    options.path() = "changed";
    EXPECT_EQ(options.path(), ".");
}

const std::string helpText = //
    "Usage: convertquorvlogs [ <filename> | <directory> ] [ <options> ]\n"
    "\n"
    "When <filename> is provided, only the specified file is processed.\n"
    "When <directory> is provided, all *.LOG files in the specified directory are processed.\n"
    "When neither <filename> or <directory> is provided, the current working directory is "
    "assumed.\n"
    "\n"
    "Options:\n"
    "--all (-a)    => produce all output files\n"
    "--detail      => produce the detailed output file(s)\n"
    "--dynamicInfo => produce the dynamicInfo output file(s)\n"
    "--soc (-s)    => produce the advanced soc output file(s)\n"
    "--wide (-w)   => produce the wide output file (dynamicInfo combined with soc)\n"
    "--startdate   => set the starting date (YYYY-MM-DD)\n"
    "--starttime   => set the starting time (HH:MM:SS)\n"
    "--enddate     => set the ending date (YYYY-MM-DD)\n"
    "--endtime     => set the ending time (HH:MM:SS)\n"
    "--help        => Display help\n"
    "--version     => Display version\n";
const std::string versionText = "convertquorvlogs version 0.0.7\n";

TEST_F(OptionsTest, displayHelpWritesTheHelpText) {
    testing::internal::CaptureStdout();
    options.displayHelp();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), helpText);
}

/// Command lines that end the process, tried with the program itself in an empty directory. A run
/// that got as far as looking for logs would end with status 1 and print nothing.
class EndingOptionsTest : public testing::Test {
protected:
    void expectEnd(const Arguments& arguments, int status, const std::string& out,
                   const std::string& err) const {
        const ProgramResult result = runTool(arguments, directory.path());
        EXPECT_EQ(result.status, status) << testing::PrintToString(arguments);
        EXPECT_EQ(result.out, out) << testing::PrintToString(arguments);
        EXPECT_EQ(result.err, err) << testing::PrintToString(arguments);
    }

    TemporaryDirectory directory;
};

TEST_F(EndingOptionsTest, helpPrintsTheHelpTextAndEndsWithStatus0) {
    expectEnd({"--help"}, 0, helpText, "");
    expectEnd({"-h"}, 0, helpText, "");
}

TEST_F(EndingOptionsTest, versionPrintsTheVersionAndEndsWithStatus0) {
    expectEnd({"--version"}, 0, versionText, "");
    expectEnd({"-v"}, 0, versionText, "");
}

TEST_F(EndingOptionsTest, twoPathsEndWithStatus1) {
    expectEnd({"a.LOG", "b.LOG"}, 1, "", "Cannot process both a.LOG and b.LOG\n");
}

TEST_F(EndingOptionsTest, theSamePathTwiceIsTwoPaths) {
    expectEnd({".", "--all", "."}, 1, "", "Cannot process both . and .\n");
}

TEST_F(EndingOptionsTest, anEmptyArgumentCountsAsAPath) {
    expectEnd({"", "b.LOG"}, 1, "", "Cannot process both  and b.LOG\n");
    expectEnd({"a.LOG", ""}, 1, "", "Cannot process both a.LOG and \n");
}

TEST_F(EndingOptionsTest, startTimeBehindAnEmptyStartDateEndsWithStatus0) {
    expectEnd({"--startdate", "", "--starttime", "08:00:00"}, 0, "",
              "--starttime must be used with --startdate\n");
}

TEST_F(EndingOptionsTest, endTimeBehindAnEmptyEndDateEndsWithStatus0) {
    expectEnd({"--enddate", "", "--endtime", "08:00:00"}, 0, "",
              "--endtime must be used with --enddate\n");
}

TEST_F(EndingOptionsTest, aTimeDoesNotMindTheOtherBoundBeingEmpty) {
    expectEnd({"--startdate", "", "--endtime", "08:00:00"}, 1, "", "");
    expectEnd({"--enddate", "", "--starttime", "08:00:00"}, 1, "", "");
}

TEST_F(EndingOptionsTest, aDateOrTimeOptionWithoutAValueEndsWithStatus1) {
    for (const std::string option : {"--startdate", "--starttime", "--enddate", "--endtime"}) {
        expectEnd({option}, 1, "", option + " needs a value\n");
        expectEnd({"--all", "logs", option}, 1, "", option + " needs a value\n");
    }
}

TEST_F(EndingOptionsTest, anOptionThatWasTakenAsAValueLacksNone) {
    expectEnd({"--startdate", "--enddate"}, 1, "", "");
    expectEnd({"--starttime", "--endtime", "--endtime"}, 1, "", "--endtime needs a value\n");
}

TEST_F(EndingOptionsTest, anEmptyDateIsReportedBeforeAMissingTime) {
    expectEnd({"--startdate", "", "--starttime"}, 0, "",
              "--starttime must be used with --startdate\n");
    expectEnd({"--enddate", "", "--endtime"}, 0, "", "--endtime must be used with --enddate\n");
}

TEST_F(EndingOptionsTest, theFirstReasonToEndIsTheOnlyOne) {
    expectEnd({"--version", "--help"}, 0, versionText, "");
    expectEnd({"--help", "--version"}, 0, helpText, "");
    expectEnd({"a.LOG", "--help", "b.LOG"}, 0, helpText, "");
    expectEnd({"a.LOG", "b.LOG", "--help"}, 1, "", "Cannot process both a.LOG and b.LOG\n");
    expectEnd({"-v", "--startdate"}, 0, versionText, "");
    expectEnd({"--startdate", "", "--starttime", "8", "-h"}, 0, "",
              "--starttime must be used with --startdate\n");
}

TEST_F(EndingOptionsTest, unknownOptionsPrintNothingAndTheRunGoesOn) {
    expectEnd({"-x", "--HELP", "-V"}, 1, "", "");
}

TEST_F(EndingOptionsTest, endingEarlyStillMakesTheSynopsisAndNothingElse) {
    directory.write("A.LOG", "");
    for (const Arguments& arguments :
         {Arguments{"--help", "--all"}, Arguments{"--all", "-v"}, Arguments{"--all", ".", "."},
          Arguments{"--all", "--startdate"}}) {
        directory.write("synopsis.csv", "what an earlier run left");
        runTool(arguments, directory.path());
        EXPECT_EQ(directory.files(), (std::map<std::string, std::string>{
                                         {"A.LOG", ""},
                                         {"synopsis.csv", synopsisHeader},
                                     }));
    }
}

} // namespace
