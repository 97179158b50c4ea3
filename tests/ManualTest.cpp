// The ranges of time that the manual page shows as examples.

#include "LogBuilder.h"
#include "ProgramRun.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using Datestamps = std::vector<std::string>;

/// 1 January, which the controller's calendar takes for month 13 of the year before: the day
/// behind 31 December.
Stamp firstDayOf(unsigned year) {
    Stamp day = stamp(year - 1, 12, 31);
    ++day.day;
    return day;
}

/// The datestamps of the messages that the tool converts, of those at the given times.
Datestamps converted(const std::vector<Stamp>& times, std::vector<std::string> options) {
    LogBuilder log;
    for (const Stamp& time : times) {
        log.message(time, "text");
    }
    const TemporaryDirectory directory;
    directory.write("A.LOG", log.bytes());
    options.insert(options.end(), {"A.LOG", "--detail"});
    EXPECT_EQ(runTool(options, directory.path()).status, 0);
    Datestamps datestamps;
    for (const std::string& line : linesOf(directory.read("A.LOG.detail.csv"))) {
        if (!line.starts_with("Datestamp,")) {
            datestamps.push_back(line.substr(0, line.find(',')));
        }
    }
    return datestamps;
}

TEST(ManualTest, aMonthEndsWithTheFirstDayOfTheNext) {
    EXPECT_THAT(converted({stamp(2020, 4, 30, 23, 59, 59, 999), stamp(2020, 5, 1),
                           stamp(2020, 5, 31, 23, 59, 59, 999), stamp(2020, 6, 1)},
                          {"--startdate", "2020-05-01", "--enddate", "2020-06-01"}),
                ElementsAre("2020-05-01 00:00:00.0", "2020-05-31 23:59:59.999"));
}

TEST(ManualTest, aMorningMayBeGivenInHours) {
    EXPECT_THAT(converted({stamp(2022, 3, 14, 5, 59, 59, 999), stamp(2022, 3, 14, 6),
                           stamp(2022, 3, 14, 11, 59, 59, 999), stamp(2022, 3, 14, 12)},
                          {"--startdate", "2022-03-14", "--starttime", "06", "--enddate",
                           "2022-03-14", "--endtime", "12"}),
                ElementsAre("2022-03-14 06:00:00.0", "2022-03-14 11:59:59.999"));
}

TEST(ManualTest, theFirstOfJanuaryIsLeftOutByItsDateAndTakenInAsMonth13) {
    const std::vector<Stamp> times = {stamp(2019, 12, 31, 23), firstDayOf(2020), stamp(2020, 1, 2)};
    EXPECT_THAT(converted(times, {"--startdate", "2020-01-01"}),
                ElementsAre("2020-01-02 00:00:00.0"));
    EXPECT_THAT(converted(times, {"--startdate", "2019-13-01"}),
                ElementsAre("2019-13-01 00:00:00.0", "2020-01-02 00:00:00.0"));
    EXPECT_THAT(converted(times, {"--enddate", "2020-01-01"}),
                ElementsAre("2019-12-31 23:00:00.0", "2019-13-01 00:00:00.0"));
    EXPECT_THAT(converted(times, {"--enddate", "2019-13"}), ElementsAre("2019-12-31 23:00:00.0"));
}

TEST(ManualTest, aYearIsTakenWithItsFirstAndLastDay) {
    EXPECT_THAT(
        converted({stamp(2018, 12, 31, 23), firstDayOf(2019), stamp(2019, 1, 2),
                   stamp(2019, 12, 31, 23), firstDayOf(2020), stamp(2020, 1, 2)},
                  {"--startdate", "2018-13-01", "--enddate", "2019-13"}),
        ElementsAre("2018-13-01 00:00:00.0", "2019-01-02 00:00:00.0", "2019-12-31 23:00:00.0"));
}

TEST(ManualTest, anEmptyStartDateTakesTheEndOfTheFileIn) {
    EXPECT_THAT(
        converted({stamp(1984, 6, 1), stamp(2020, 6, 1)}, {"--startdate", ""}),
        ElementsAre("1984-06-01 00:00:00.0", "2020-06-01 00:00:00.0", "1984-01-01 00:00:00.0ff "));
}

} // namespace
