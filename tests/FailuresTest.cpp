// What the tool does when the system fails it: full disks, files that can't be opened or read,
// streams that are closed or that nobody reads, interrupted and refused system calls, limits and
// signals. Every test runs the built tool.
//
// The rule behind all of them: a log that can't be opened or read costs its own records and one
// line on standard error; an output that can't be opened or written lacks what it could not take,
// without a word; everything else comes out as if nothing had happened, with exit status 0.

#include "LogBuilder.h"
#include "ProgramRun.h"
#include "RecordCatalogue.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

#ifdef __SANITIZE_ADDRESS__
constexpr bool sanitized = true;
#else
constexpr bool sanitized = false;
#endif

Stamp second(unsigned number) {
    return stamp(2020, 5, 1, 8, number / 60 % 60, number % 60);
}

DynamicInfo someDynamicInfo() {
    DynamicInfo info;
    info.millivolts = 25200;
    info.deciAmperes = -123;
    info.soc = 80;
    info.dsoc = 81;
    info.cellMillivolts = std::vector<unsigned>(cellsPerModule, 3600);
    info.deciKelvin = 2982;
    return info;
}

/// A log with a record of every type in which every output gets rows.
std::string mixedLog() {
    LogBuilder log;
    log.message(second(0), "systemState=+6");
    log.staticInfo(second(1), StaticInfo());
    log.dynamicInfo(second(2), someDynamicInfo());
    log.dynamicInfo(second(3), 2, someDynamicInfo());
    log.advancedSoc(second(4), 1000, 2000, 99, 80);
    log.fault(second(5), 2, 3);
    log.ambientTemperature(second(6), 290, 300, 295);
    log.warranty(second(7), 1);
    log.shock(second(8), 1, 2, 3);
    log.firmwareVersion(second(9), "BMC version 1.2.3");
    log.measuredCurrent(second(10), -5);
    log.powerMode(second(11), 1);
    log.humidity(second(12), 4000, 3000, 5000, 4500);
    appendMissingTypes(log, second(13));
    log.dynamicInfo(second(14), someDynamicInfo());
    return log.bytes();
}

/// A log of many short records of two types.
std::string longLog(unsigned records) {
    LogBuilder log;
    for (unsigned number = 0; number < records; number += 2) {
        log.dynamicInfo(second(number), someDynamicInfo());
        log.message(second(number + 1), "interlock=+" + std::to_string(number % 4 / 2));
    }
    return log.bytes();
}

/// A log of few records, whose rows are shorter than, as long as, and longer than what an output's
/// stream takes into its buffer.
std::string logOfLongTexts() {
    LogBuilder log;
    unsigned number = 0;
    for (const size_t length : {100U, 1023U, 1024U, 1025U, 8191U, 8192U, 100000U}) {
        log.message(second(number), "systemState=+" + std::string(length - 13, 's'));
        log.firmwareVersion(second(number + 1), std::string(length, 'v'));
        log.dynamicInfo(second(number + 2), someDynamicInfo());
        number += 3;
    }
    return log.bytes();
}

/// What a run leaves behind.
struct Outcome {
    ProgramResult result;
    std::map<std::string, std::string> files; // the CSV files, by name
};

/// A directory of logs in which the tool is run with all outputs wanted, first undisturbed and then
/// disturbed. Both runs see the same directory, so that the logs are listed in the same order.
class Failures : public testing::Test {
protected:
    /// Removes what earlier runs have left.
    void removeOutputs() const {
        for (const auto& [name, bytes] : directory.files()) {
            if (name.ends_with(".csv")) {
                fs::remove(path(name));
            }
        }
    }

    Outcome outcome(const ProgramResult& result) const {
        Outcome outcome{result, directory.files()};
        std::erase_if(outcome.files,
                      [](const auto& file) { return !file.first.ends_with(".csv"); });
        return outcome;
    }

    /// Runs the tool after a prefix such as "prlimit --nofile=5", after removing old outputs.
    Outcome convert(std::vector<std::string> prefix = {},
                    const std::string& tool = toolPath()) const {
        removeOutputs();
        prefix.push_back(tool);
        prefix.emplace_back("--all");
        return outcome(runProgram(prefix, directory.path()));
    }

    fs::path path(const std::string& name) const { return directory.path() / name; }

    TemporaryDirectory directory;
};

void expectUndisturbed(const Outcome& disturbed, const Outcome& undisturbed) {
    EXPECT_EQ(disturbed.result.status, 0);
    EXPECT_EQ(disturbed.result.out, undisturbed.result.out);
    EXPECT_EQ(disturbed.result.err, "");
    EXPECT_EQ(disturbed.files, undisturbed.files);
}

/// Every file is as long as it got, and nothing in it is different from the undisturbed run.
void expectPrefixes(const Outcome& disturbed, const Outcome& undisturbed) {
    for (const auto& [name, bytes] : disturbed.files) {
        ASSERT_TRUE(undisturbed.files.contains(name)) << name;
        EXPECT_TRUE(undisturbed.files.at(name).starts_with(bytes)) << name << ":\n" << bytes;
    }
}

/// The files, with their sizes in place of their contents, which may be long.
std::map<std::string, size_t> namesAndSizes(const Outcome& outcome) {
    std::map<std::string, size_t> sizes;
    for (const auto& [name, bytes] : outcome.files) {
        sizes[name] = bytes.size();
    }
    return sizes;
}

/// How many lines all files have together.
size_t linesIn(const Outcome& outcome) {
    size_t count = 0;
    for (const auto& [name, bytes] : outcome.files) {
        count += linesOf(bytes).size();
    }
    return count;
}

/// The row of an ambient temperature record reads its fields while it is written, so that only the
/// first of the two detail outputs gets them. That is the detail file beside the log as soon as
/// "detail.csv" can't be written.
std::string withAmbientTemperature(std::string detail) {
    const std::string lost = "2020-05-01 08:00:06.0,0,0,0\n";
    const size_t found = detail.find(lost);
    if (found == std::string::npos) {
        ADD_FAILURE() << "no such row";
        return detail;
    }
    return detail.replace(found, lost.size(), "2020-05-01 08:00:06.0,290,300,295\n");
}

// =================================================================================================
// Outputs that can't be opened or written
// =================================================================================================

/// What stands in the place of an output or a log.
struct Obstacle {
    const char* name;
    void (*put)(const fs::path& where);
};

void PrintTo(const Obstacle& obstacle, std::ostream* os) {
    *os << obstacle.name;
}

const Obstacle obstacles[] = {
    {"fullDisk", [](const fs::path& output) { fs::create_symlink("/dev/full", output); }},
    {"directory", [](const fs::path& output) { fs::create_directory(output); }},
    {"linkLoop", [](const fs::path& output) { fs::create_symlink(output.filename(), output); }},
    {"linkIntoNowhere", [](const fs::path& output) { fs::create_symlink("no/where", output); }},
};

const std::string outputs[] = {
    "synopsis.csv", "detail.csv", "dynamicInfo.csv", "soc.csv", "wide.csv", "A.LOG.detail.csv",
};

class BlockedOutput : public Failures,
                      public testing::WithParamInterface<std::tuple<Obstacle, std::string>> {};

TEST_P(BlockedOutput, isLostWithoutAWordAndTheOthersAreComplete) {
    const auto& [obstacle, output] = GetParam();
    directory.write("A.LOG", mixedLog());
    directory.write("B.LOG", mixedLog());
    const Outcome undisturbed = convert();
    Outcome expected = undisturbed;
    ASSERT_EQ(expected.files.erase(output), 1U);
    if (output == "detail.csv") {
        for (const char* name : {"A.LOG.detail.csv", "B.LOG.detail.csv"}) {
            expected.files[name] = withAmbientTemperature(expected.files[name]);
        }
    }

    removeOutputs();
    obstacle.put(path(output));
    const Outcome disturbed = convert();
    std::error_code ignored;
    fs::remove(path(output), ignored);

    expectUndisturbed(disturbed, expected);
}

std::string nameOf(const testing::TestParamInfo<BlockedOutput::ParamType>& info) {
    std::string name = std::get<1>(info.param);
    std::erase_if(name, [](char character) { return character == '.'; });
    return std::get<0>(info.param).name + ("_" + name);
}

INSTANTIATE_TEST_SUITE_P(, BlockedOutput,
                         testing::Combine(testing::ValuesIn(obstacles), testing::ValuesIn(outputs)),
                         nameOf);

TEST_F(Failures, fullDiskUnderStandardOutputLeavesTheFilesComplete) {
    directory.write("A.LOG", mixedLog());
    const Outcome undisturbed = convert();
    const Outcome disturbed = convert({"sh", "-c", "exec \"$@\" >/dev/full", "sh"});
    EXPECT_EQ(disturbed.result.status, 0);
    EXPECT_EQ(disturbed.result.err, "");
    EXPECT_EQ(disturbed.files, undisturbed.files);
}

TEST_F(Failures, closedStandardStreamsLeaveTheFilesComplete) {
    directory.write("A.LOG", mixedLog());
    fs::create_symlink("nowhere", path("B.LOG")); // has something to say on standard error
    const Outcome undisturbed = convert();
    const Outcome disturbed =
        convert({"sh", "-c", "exec \"$@\" </dev/full >/dev/full 2>/dev/full", "sh"});
    EXPECT_EQ(disturbed.result.status, 0);
    EXPECT_EQ(disturbed.files, undisturbed.files);
}

/// The standard streams that are closed when the tool starts, as a bit each.
class ClosedStreams : public Failures, public testing::WithParamInterface<unsigned> {};

// A file that got the descriptor of a standard stream would take the lines that are meant for it.
TEST_P(ClosedStreams, loseTheirLinesOnly) {
    directory.write("A.LOG", mixedLog());
    fs::create_symlink("nowhere", path("B.LOG")); // has something to say on standard error
    std::string closing = "exec \"$@\"";
    for (unsigned descriptor = 0; descriptor < 3; ++descriptor) {
        if ((GetParam() >> descriptor & 1) != 0) {
            closing += ' ' + std::to_string(descriptor) + ">&-";
        }
    }
    const std::vector<std::vector<std::string>> modes = {
        {}, {"--all"}, {"--soc", "--dynamicInfo"}, {"A.LOG", "--detail"}, {"B.LOG"}, {"--help"}};
    for (const std::vector<std::string>& mode : modes) {
        SCOPED_TRACE(testing::PrintToString(mode));
        std::vector<std::string> command = {toolPath()};
        command.insert(command.end(), mode.begin(), mode.end());
        removeOutputs();
        Outcome expected = outcome(runProgram(command, directory.path()));
        EXPECT_EQ(expected.result.status, 0);
        if ((GetParam() & 2) != 0) {
            expected.result.out.clear();
        }
        if ((GetParam() & 4) != 0) {
            expected.result.err.clear();
        }

        removeOutputs();
        command.insert(command.begin(), {"sh", "-c", closing, "sh"});
        const Outcome disturbed = outcome(runProgram(command, directory.path()));
        EXPECT_EQ(disturbed.result.status, 0);
        EXPECT_EQ(disturbed.result.out, expected.result.out);
        EXPECT_EQ(disturbed.result.err, expected.result.err);
        EXPECT_EQ(disturbed.files, expected.files);
    }
}

INSTANTIATE_TEST_SUITE_P(, ClosedStreams, testing::Range(0U, 8U), [](const auto& test) {
    std::string name = "closed";
    for (unsigned descriptor = 0; descriptor < 3; ++descriptor) {
        if ((test.param >> descriptor & 1) != 0) {
            name += std::to_string(descriptor);
        }
    }
    return name;
});

// =================================================================================================
// Readers that leave
// =================================================================================================

TEST_F(Failures, standardStreamsWithoutAReaderLeaveTheFilesComplete) {
    directory.write("A.LOG", mixedLog());
    fs::create_symlink("nowhere", path("B.LOG")); // has something to say on standard error
    const Outcome undisturbed = convert();
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    // The pipe can be opened for writing while somebody has it open for reading, who then leaves.
    const Outcome disturbed =
        convert({"sh", "-c", "exec 3<>pipe >pipe 2>pipe 3>&-; exec \"$@\"", "sh"});
    EXPECT_EQ(disturbed.result.status, 0);
    EXPECT_EQ(disturbed.files, undisturbed.files);
}

TEST_F(Failures, readerOfTheProgressLinesMayLeaveAtAnyTime) {
    for (char name = 'A'; name <= 'F'; ++name) {
        directory.write(std::string{name} + ".LOG", mixedLog());
    }
    const Outcome undisturbed = convert();
    for (unsigned lines = 0; lines <= 18; ++lines) {
        SCOPED_TRACE(lines);
        const Outcome disturbed = convert(
            {"sh", "-c", R"({ "$@"; echo $? >status; } | head -n )" + std::to_string(lines), "sh"});
        EXPECT_EQ(directory.read("status"), "0\n");
        EXPECT_TRUE(undisturbed.result.out.starts_with(disturbed.result.out));
        EXPECT_EQ(linesOf(disturbed.result.out).size(), lines);
        EXPECT_EQ(disturbed.result.err, "");
        EXPECT_EQ(disturbed.files, undisturbed.files);
    }
}

TEST_F(Failures, readerOfAnOutputMayLeaveAtAnyTime) {
    directory.write("A.LOG", longLog(4000));
    const Outcome undisturbed = convert();
    Outcome expected = undisturbed;
    expected.files.erase("wide.csv");
    removeOutputs();
    ASSERT_EQ(mkfifo(path("wide.csv").c_str(), 0600), 0);

    RunningProgram tool({toolPath(), "--all"}, directory.path());
    char part[1000];
    std::ifstream(path("wide.csv")).read(part, sizeof part);
    expectUndisturbed(outcome(tool.wait()), expected);
}

// =================================================================================================
// Small disks
// =================================================================================================

TEST_F(Failures, smallDiskHoldsABeginningOfEachFile) {
    if (runProgram({"unshare", "-rm", "mount", "-t", "tmpfs", "none", "/mnt"}, "/").status != 0) {
        GTEST_SKIP() << "a file system can't be mounted in a user namespace here";
    }
    directory.write("A.LOG", longLog(1000));
    const Outcome undisturbed = convert();
    fs::create_directory(path("disk"));

    // The outputs leave the namespace with its disk as copies.
    const Outcome disturbed = convert({"unshare", "-rm", "sh", "-euc", R"(
        mount -t tmpfs -o size=$(($(stat -c %s A.LOG) / 4096 * 4096 + 65536)) none disk
        cp A.LOG disk
        cd disk
        "$@"
        cp ./*.csv ..)",
                                       "sh"});

    EXPECT_EQ(disturbed.result.status, 0);
    EXPECT_EQ(disturbed.result.out, undisturbed.result.out);
    EXPECT_EQ(disturbed.result.err, "");
    expectPrefixes(disturbed, undisturbed);
    size_t sizeOfAll = 0;
    for (const auto& [name, bytes] : disturbed.files) {
        sizeOfAll += bytes.size();
    }
    EXPECT_GT(sizeOfAll, 32768U);
    EXPECT_LE(sizeOfAll, 65536U + 4096U);
    EXPECT_LT(disturbed.files.at("wide.csv").size(), undisturbed.files.at("wide.csv").size());
}

// =================================================================================================
// Permissions. Root may do everything, so that the tool then runs as nobody.
// =================================================================================================

class OrdinaryUser : public Failures {
protected:
    void SetUp() override {
        if (geteuid() != 0) {
            return;
        }
        if (runProgram({"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", "true"}, "/")
                .status != 0) {
            GTEST_SKIP() << "setpriv can't drop root's privileges here";
        }
        // The build directory may lie where nobody may not look.
        fs::permissions(bin.path(), fs::perms(0755));
        fs::copy_file(toolPath(), bin.path() / "tool");
        tool = bin.path() / "tool";
        prefix = {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
        EXPECT_EQ(chown(directory.path().c_str(), 65534, 65534), 0);
    }

    Outcome convertAsOrdinaryUser() const { return convert(prefix, tool); }

    TemporaryDirectory bin;
    std::string tool = toolPath();
    std::vector<std::string> prefix;
};

TEST_F(OrdinaryUser, getsALineAboutAnUnreadableLogAndTheOtherLogs) {
    directory.write("A.LOG", mixedLog());
    directory.write("B.LOG", "");
    const Outcome undisturbed = convertAsOrdinaryUser();
    Outcome expected = undisturbed;
    expected.files.erase("B.LOG.detail.csv");

    fs::permissions(path("B.LOG"), fs::perms::none);
    const Outcome disturbed = convertAsOrdinaryUser();
    fs::permissions(path("B.LOG"), fs::perms(0600));

    EXPECT_EQ(disturbed.result.status, 0);
    EXPECT_EQ(disturbed.result.err, "Unable to open ./B.LOG for reading.\n");
    EXPECT_THAT(disturbed.result.out, HasSubstr("Reading: ./B.LOG\n"));
    EXPECT_THAT(disturbed.result.out, HasSubstr("Sorting ./B.LOG\n"));
    EXPECT_TRUE(disturbed.result.out.ends_with("Converting: ./A.LOG\nConverting: ./B.LOG\n"));
    EXPECT_EQ(disturbed.files, expected.files);
}

TEST_F(OrdinaryUser, getsNoOutputInAReadOnlyDirectoryAndNoWordAboutIt) {
    directory.write("A.LOG", mixedLog());
    const Outcome undisturbed = convertAsOrdinaryUser();
    removeOutputs();
    EXPECT_EQ(chown(directory.path().c_str(), geteuid(), getegid()), 0);
    fs::permissions(directory.path(), fs::perms(0555));
    fs::permissions(path("A.LOG"), fs::perms(0444));

    const Outcome disturbed = convertAsOrdinaryUser();
    fs::permissions(directory.path(), fs::perms(0755));

    EXPECT_EQ(disturbed.result.status, 0);
    EXPECT_EQ(disturbed.result.out, undisturbed.result.out);
    EXPECT_EQ(disturbed.result.err, "");
    EXPECT_TRUE(disturbed.files.empty());
}

TEST_F(OrdinaryUser, endsSilentlyWithStatus1InADirectoryThatCantBeListed) {
    directory.write("A.LOG", mixedLog());
    fs::permissions(directory.path(), fs::perms(0300));
    const Outcome disturbed = convertAsOrdinaryUser();
    fs::permissions(directory.path(), fs::perms(0755));
    EXPECT_EQ(disturbed.result.status, 1);
    EXPECT_EQ(disturbed.result.out, "");
    EXPECT_EQ(disturbed.result.err, "");
}

// =================================================================================================
// Logs that are no regular files
// =================================================================================================

class LogThatCantBeOpened : public Failures, public testing::WithParamInterface<Obstacle> {};

void makeSocket(const fs::path& where) {
    // A socket's address is short, and the directory's path may be long.
    const fs::path before = fs::current_path();
    fs::current_path(where.parent_path());
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    where.filename().string().copy(address.sun_path, sizeof(address.sun_path) - 1);
    const int descriptor = socket(AF_UNIX, SOCK_STREAM, 0);
    EXPECT_EQ(bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    close(descriptor);
    fs::current_path(before);
}

TEST_P(LogThatCantBeOpened, costsOneLineAndTheOthersAreConverted) {
    directory.write("A.LOG", mixedLog());
    const Outcome undisturbed = convert();
    GetParam().put(path("B.LOG"));

    const Outcome disturbed = convert();

    EXPECT_EQ(disturbed.result.status, 0);
    EXPECT_EQ(disturbed.result.err, "Unable to open ./B.LOG for reading.\n");
    EXPECT_TRUE(disturbed.result.out.ends_with("Converting: ./A.LOG\nConverting: ./B.LOG\n"));
    EXPECT_EQ(disturbed.files, undisturbed.files);
}

const Obstacle logsThatCantBeOpened[] = {
    {"socket", makeSocket},
    {"linkLoop", [](const fs::path& log) { fs::create_symlink("B.LOG", log); }},
    {"linkIntoNowhere", [](const fs::path& log) { fs::create_symlink("no/where", log); }},
};

INSTANTIATE_TEST_SUITE_P(, LogThatCantBeOpened, testing::ValuesIn(logsThatCantBeOpened),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(Failures, nullDeviceIsALogOfNoBytes) {
    directory.write("A.LOG", mixedLog());
    directory.write("B.LOG", "");
    const Outcome empty = convert();
    fs::remove(path("B.LOG"));
    fs::create_symlink("/dev/null", path("B.LOG"));
    expectUndisturbed(convert(), empty);
}

TEST_F(Failures, pipeIsALogOfTheBytesThatCameThroughIt) {
    directory.write("A.LOG", mixedLog());
    const Outcome undisturbed = convert();
    fs::remove(path("A.LOG"));
    ASSERT_EQ(mkfifo(path("A.LOG").c_str(), 0600), 0);

    // The tool waits at the pipe until somebody writes, and reads until the writer closes it: the
    // opening below returns once the tool has opened the other end.
    removeOutputs();
    RunningProgram tool({toolPath(), "--all"}, directory.path());
    std::ofstream(path("A.LOG"), std::ios::binary) << mixedLog();

    expectUndisturbed(outcome(tool.wait()), undisturbed);
}

TEST_F(Failures, pipeGivenAsTheOnlyLogIsReadToo) {
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    RunningProgram tool({toolPath(), "pipe", "--detail"}, directory.path());
    std::ofstream(path("pipe"), std::ios::binary)
        << LogBuilder().message(second(0), "hello").bytes();
    const Outcome disturbed = outcome(tool.wait());
    EXPECT_EQ(disturbed.result.status, 0);
    EXPECT_EQ(disturbed.result.out, "Reading: pipe\nConverting: pipe\n");
    EXPECT_EQ(disturbed.result.err, "");
    EXPECT_EQ(disturbed.files.at("pipe.detail.csv"),
              "Datestamp,message\n2020-05-01 08:00:00.0,hello,\n");
}

// A socket's mode has the bit by which the tool knows a directory, so that it is taken for one in
// which no log can be listed.
TEST_F(Failures, socketGivenAsThePathEndsSilentlyWithStatus1) {
    makeSocket(path("socket"));
    const ProgramResult result = runTool({"socket"}, directory.path());
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
}

// =================================================================================================
// System calls that fail, by strace
// =================================================================================================

class SystemCalls : public Failures {
protected:
    void SetUp() override {
        if (runProgram({"strace", "-qqq", "-o", "/dev/null", "true"}, "/").status != 0) {
            GTEST_SKIP() << "strace is missing or may not trace here";
        }
    }

    /// A call that was traced: the name of its file and how many bytes went through, or -1.
    struct Call {
        std::string file;
        long result;
    };

    /// Converts with a failure injected into the calls that touch one of the files; the empty name
    /// is the directory. A wrapper is a program that starts the tool.
    Outcome convertWith(const std::string& injection, const std::vector<std::string>& files,
                        const std::vector<std::string>& wrapper = {}) {
        // strace and the leak detection can't both trace the tool.
        std::vector<std::string> prefix = {"env",    "ASAN_OPTIONS=detect_leaks=0",
                                           "strace", "-f",
                                           "-qqq",   "-y",
                                           "-s",     "0",
                                           "-o",     traces.path() / "calls",
                                           "-e",     "trace=read,readv,write,writev,getdents64",
                                           "-e",     "inject=" + injection};
        const fs::path canonical = fs::canonical(directory.path());
        for (const std::string& file : files) {
            prefix.emplace_back("-P");
            prefix.push_back(file.empty() ? canonical : canonical / file);
        }
        prefix.emplace_back("--");
        prefix.insert(prefix.end(), wrapper.begin(), wrapper.end());
        return convert(prefix);
    }

    /// The reads and writes of the run before, in their order. strace writes a line such as
    /// 123 write(5</tmp/directory/wide.csv>, ""..., 83) = -1 ENOSPC (No space left on device)
    std::vector<Call> calls() const {
        std::vector<Call> result;
        for (const std::string& line : linesOf(traces.read("calls"))) {
            const fs::path file = line.substr(0, line.find('>')).substr(line.find('/'));
            result.push_back({file.filename(), std::stol(line.substr(line.rfind(" = ") + 3))});
        }
        return result;
    }

    bool injected() const { return traces.read("calls").find("(INJECTED)") != std::string::npos; }

    std::vector<std::string> outputNames(const Outcome& undisturbed) const {
        std::vector<std::string> names;
        for (const auto& [name, bytes] : undisturbed.files) {
            names.push_back(name);
        }
        return names;
    }

    TemporaryDirectory traces;
};

TEST_F(SystemCalls, interruptedReadsChangeNothing) {
    directory.write("A.LOG", longLog(2000));
    const Outcome undisturbed = convert();
    expectUndisturbed(convertWith("read,readv:error=EINTR:when=1+2", {"A.LOG"}), undisturbed);
    EXPECT_TRUE(injected());
    expectUndisturbed(convertWith("read,readv:error=EINTR:when=2+2", {"A.LOG"}), undisturbed);
    EXPECT_TRUE(injected());
}

TEST_F(SystemCalls, interruptedWritesChangeNothing) {
    directory.write("A.LOG", mixedLog());
    // A cell that is longer than a stream's buffer.
    directory.write("B.LOG", LogBuilder().message(second(0), std::string(50000, 'x')).bytes());
    const Outcome undisturbed = convert();
    const std::vector<std::string> files = outputNames(undisturbed);
    expectUndisturbed(convertWith("write,writev:error=EINTR:when=1+2", files), undisturbed);
    EXPECT_TRUE(injected());
    expectUndisturbed(convertWith("write,writev:error=EINTR:when=2+2", files), undisturbed);
    EXPECT_TRUE(injected());
}

TEST_F(SystemCalls, interruptedWritesToTheStandardStreamsChangeNothing) {
    directory.write("A.LOG", mixedLog());
    fs::create_symlink("nowhere", path("B.LOG")); // has something to say on standard error
    const Outcome undisturbed = convert();
    const std::vector<std::string> wrapper = {"sh", "-c", "exec \"$@\" >progress 2>errors", "sh"};
    for (const char* which : {"1+2", "2+2"}) {
        SCOPED_TRACE(which);
        directory.write("progress", "");
        directory.write("errors", "");
        convertWith(std::string("write,writev:error=EINTR:when=") + which, {"progress", "errors"},
                    wrapper);
        EXPECT_TRUE(injected());
        EXPECT_EQ(directory.read("progress"), undisturbed.result.out);
        EXPECT_EQ(directory.read("errors"), undisturbed.result.err);
    }
}

// Whichever read fails: the log ends in front of it, as a log does that was cut off there.
TEST_F(SystemCalls, failedReadEndsItsLogThereAndHarmsNoOther) {
    const std::string bytes = longLog(4000);
    directory.write("B.LOG", mixedLog());
    unsigned failures = 0;
    for (unsigned number = 1; number < 200; ++number) {
        SCOPED_TRACE("read " + std::to_string(number));
        directory.write("A.LOG", bytes);
        const Outcome disturbed =
            convertWith("read,readv:error=EIO:when=" + std::to_string(number), {"A.LOG"});
        if (!injected()) {
            break;
        }
        ++failures;
        size_t length = 0;
        for (const Call& call : calls()) {
            length += call.result > 0 ? static_cast<size_t>(call.result) : 0;
        }
        directory.write("A.LOG", std::string_view(bytes).substr(0, length));
        const Outcome cutOff = convert();
        EXPECT_EQ(disturbed.result.status, 0);
        EXPECT_EQ(disturbed.result.out, cutOff.result.out);
        EXPECT_EQ(disturbed.result.err, "Unable to read ./A.LOG to its end.\n");
        EXPECT_EQ(disturbed.files, cutOff.files);
    }
    EXPECT_GE(failures, 2U); // the first read and the one that would have met the end
    EXPECT_LT(failures, 199U);
}

// One write that fails for once: its file ends at that line or after it, since what a stream holds
// back is written when it is closed; the others are complete.
TEST_F(SystemCalls, writeThatFailsOnceCostsTheRestOfItsFileOnly) {
    directory.write("A.LOG", mixedLog());
    const Outcome undisturbed = convert();
    const std::vector<std::string> files = outputNames(undisturbed);
    const size_t ambientTemperatureRow =
        undisturbed.files.at("detail.csv").find("2020-05-01 08:00:06.0");
    unsigned failures = 0;
    for (unsigned number = 1; number < 500; ++number) {
        SCOPED_TRACE("write " + std::to_string(number));
        const Outcome disturbed =
            convertWith("write:error=ENOSPC:when=" + std::to_string(number), files);
        if (!injected()) {
            break;
        }
        ++failures;
        EXPECT_EQ(disturbed.result.status, 0);
        EXPECT_EQ(disturbed.result.out, undisturbed.result.out);
        EXPECT_EQ(disturbed.result.err, "");

        const std::vector<Call> all = calls();
        const auto failed =
            std::find_if(all.begin(), all.end(), [](const Call& call) { return call.result < 0; });
        size_t before = 0; // what the file held before the failure
        for (auto call = all.begin(); call != failed; ++call) {
            before += call->file == failed->file ? static_cast<size_t>(call->result) : 0;
        }
        for (const auto& [name, bytes] : undisturbed.files) {
            ASSERT_TRUE(disturbed.files.contains(name)) << name;
            const std::string& got = disturbed.files.at(name);
            if (name == failed->file) {
                EXPECT_TRUE(bytes.starts_with(got)) << name << ":\n" << got;
                EXPECT_GE(got.size(), before) << name;
                EXPECT_TRUE(got.empty() || got.ends_with('\n')) << name;
            } else if (name == "A.LOG.detail.csv" && failed->file == "detail.csv" &&
                       before < ambientTemperatureRow) {
                EXPECT_EQ(got, withAmbientTemperature(bytes));
            } else {
                EXPECT_EQ(got, bytes) << name;
            }
        }
    }
    EXPECT_GE(failures, 60U); // 17 rows and their headers in each detail file alone
    EXPECT_LT(failures, 499U);
}

// A disk that stays full from some write on: every file holds what was written before.
TEST_F(SystemCalls, diskThatStaysFullKeepsWhatWasWrittenBefore) {
    directory.write("A.LOG", mixedLog());
    const Outcome undisturbed = convert();
    const std::vector<std::string> files = outputNames(undisturbed);
    unsigned failures = 0;
    for (unsigned number = 1; number < 500; ++number) {
        SCOPED_TRACE("write " + std::to_string(number));
        const Outcome disturbed =
            convertWith("write,writev:error=ENOSPC:when=" + std::to_string(number) + "+", files);
        if (!injected()) {
            break;
        }
        ++failures;
        EXPECT_EQ(disturbed.result.status, 0);
        EXPECT_EQ(disturbed.result.out, undisturbed.result.out);
        EXPECT_EQ(disturbed.result.err, "");
        std::map<std::string, size_t> written;
        for (const Call& call : calls()) {
            written[call.file] += call.result > 0 ? static_cast<size_t>(call.result) : 0;
        }
        for (const auto& [name, bytes] : disturbed.files) {
            EXPECT_EQ(bytes, undisturbed.files.at(name).substr(0, written[name])) << name;
        }
    }
    EXPECT_GE(failures, 60U);
    EXPECT_LT(failures, 499U);
}

// A write that fails for once, of a line of any length: its file ends with whole lines, the others
// are complete. A stream that could not write a line of less than 1024 bytes still has it, and
// writes it when it is closed.
TEST_F(SystemCalls, writeOfALongLineThatFailsOnceCostsTheRestOfItsFileOnly) {
    directory.write("A.LOG", logOfLongTexts());
    const Outcome undisturbed = convert();
    const std::vector<std::string> files = outputNames(undisturbed);
    size_t failures = 0;
    for (const std::string call : {"write", "writev"}) { // strace counts them separately
        for (unsigned number = 1; number < 500; ++number) {
            SCOPED_TRACE(call + " " + std::to_string(number));
            const Outcome disturbed =
                convertWith(call + ":error=ENOSPC:when=" + std::to_string(number), files);
            if (!injected()) {
                break;
            }
            ++failures;
            EXPECT_EQ(disturbed.result.status, 0);
            EXPECT_EQ(disturbed.result.out, undisturbed.result.out);
            EXPECT_EQ(disturbed.result.err, "");

            const std::vector<Call> all = calls();
            const auto failed = std::find_if(all.begin(), all.end(),
                                             [](const Call& made) { return made.result < 0; });
            Outcome expected = undisturbed;
            std::string& bytes = expected.files.at(failed->file);
            size_t length = 0; // of what the file held before the failure
            for (auto before = all.begin(); before != failed; ++before) {
                length += before->file == failed->file ? static_cast<size_t>(before->result) : 0;
            }
            const size_t line = bytes.find('\n', length) + 1 - length;
            bytes.resize(line < 1024 ? length + line : length);
            EXPECT_EQ(namesAndSizes(disturbed), namesAndSizes(expected));
            EXPECT_TRUE(disturbed.files == expected.files);
        }
    }
    EXPECT_EQ(failures, linesIn(undisturbed));
}

// Whoever ends the run between two writes, and with whatever signal: no line is there in part.
TEST_F(SystemCalls, killAtAnyWriteLeavesWholeLines) {
    directory.write("A.LOG", logOfLongTexts());
    const Outcome undisturbed = convert();
    const std::vector<std::string> files = outputNames(undisturbed);
    size_t kills = 0;
    for (const std::string call : {"write", "writev"}) { // strace counts them separately
        for (unsigned number = 1; number < 500; ++number) {
            SCOPED_TRACE(call + " " + std::to_string(number));
            const Outcome disturbed =
                convertWith(call + ":signal=SIGKILL:when=" + std::to_string(number), files);
            if (disturbed.result.status == 0) {
                break;
            }
            ++kills;
            EXPECT_EQ(disturbed.result.status, 128 + SIGKILL);
            for (const auto& [name, bytes] : disturbed.files) {
                EXPECT_TRUE(undisturbed.files.at(name).starts_with(bytes)) << name;
                EXPECT_TRUE(bytes.empty() || bytes.ends_with('\n'))
                    << name << " holds " << bytes.size() << " bytes";
            }
        }
    }
    EXPECT_EQ(kills, linesIn(undisturbed));
}

// Whichever part of the listing fails: the logs listed before it are converted.
TEST_F(SystemCalls, failedListingEndsThereAndTheLogsBeforeItAreConverted) {
    // Long names: the system hands them out in portions of 32 KB.
    const std::string filler(200, 'x');
    for (unsigned number = 0; number < 400; ++number) {
        directory.write(filler + std::to_string(number) + (number % 40 == 0 ? ".LOG" : ""),
                        number % 40 == 0 ? mixedLog() : "");
    }
    const Outcome undisturbed = convert();
    std::vector<size_t> converted; // logs, by the portion that failed
    for (unsigned number = 1; number < 50; ++number) {
        SCOPED_TRACE("portion " + std::to_string(number));
        const Outcome disturbed =
            convertWith("getdents64:error=EIO:when=" + std::to_string(number), {""});
        if (!injected()) {
            expectUndisturbed(disturbed, undisturbed);
            break;
        }
        EXPECT_EQ(disturbed.result.err, "Unable to list . to its end.\n");
        const size_t logs = linesOf(disturbed.result.out).size() / 3;
        converted.push_back(logs);
        EXPECT_EQ(disturbed.result.status, logs == 0 ? 1 : 0);

        // The same logs come out, in the same order, as in a run in which the others are none.
        fs::create_directory(path("away"));
        std::set<std::string> listed;
        for (const std::string& line : linesOf(disturbed.result.out)) {
            listed.insert(line.substr(line.rfind('/') + 1));
        }
        for (unsigned other = 0; other < 400; other += 40) {
            const std::string name = filler + std::to_string(other) + ".LOG";
            if (!listed.contains(name)) {
                fs::rename(path(name), path("away/" + name));
            }
        }
        const Outcome withoutTheOthers = convert();
        EXPECT_EQ(disturbed.result.out, withoutTheOthers.result.out);
        EXPECT_EQ(disturbed.files, withoutTheOthers.files);
        for (const auto& entry : fs::directory_iterator(path("away"))) {
            fs::rename(entry.path(), path(entry.path().filename()));
        }
        fs::remove(path("away"));
    }
    ASSERT_GE(converted.size(), 3U);
    EXPECT_EQ(converted.front(), 0U);
    EXPECT_EQ(converted.back(), 10U); // the portion that would have been empty
    EXPECT_TRUE(std::ranges::is_sorted(converted));
}

// =================================================================================================
// Limits
// =================================================================================================

// The files are opened in the order of this list and stay open, next to the three standard streams
// and, from the start on, "synopsis.csv". One more descriptor is needed for a moment to list the
// directory and to read each log.
TEST_F(Failures, limitOnOpenFilesCostsTheOutputsThatAreOpenedLast) {
    if (sanitized) {
        GTEST_SKIP() << "the sanitizers themselves need more descriptors than the limit";
    }
    directory.write("A.LOG", mixedLog());
    const Outcome undisturbed = convert();
    const char* const inTheOrderOfOpening[] = {"dynamicInfo.csv", "soc.csv", "wide.csv",
                                               "detail.csv", "A.LOG.detail.csv"};
    Outcome expected = undisturbed;
    expected.files = {{"synopsis.csv", undisturbed.files.at("synopsis.csv")}};
    unsigned limit = 5;
    for (const char* name : inTheOrderOfOpening) {
        SCOPED_TRACE("limit " + std::to_string(limit));
        expected.files[name] = undisturbed.files.at(name);
        expectUndisturbed(convert({"prlimit", "--nofile=" + std::to_string(limit)}), expected);
        ++limit;
    }
}

TEST_F(Failures, limitOnOpenFilesThatForbidsToListTheDirectoryEndsSilentlyWithStatus1) {
    if (sanitized) {
        GTEST_SKIP() << "the sanitizers themselves need more descriptors than the limit";
    }
    directory.write("A.LOG", mixedLog());
    const Outcome disturbed = convert({"prlimit", "--nofile=4"});
    EXPECT_EQ(disturbed.result.status, 1);
    EXPECT_EQ(disturbed.result.out, "");
    EXPECT_EQ(disturbed.result.err, "");
}

// A limit is a full disk for each file by itself, the progress lines included if a file takes them.
TEST_F(Failures, limitOnFileSizeCutsEachFileThere) {
    directory.write("A.LOG", longLog(20));
    const Outcome undisturbed = convert();
    size_t longest = 0;
    for (const auto& [name, size] : namesAndSizes(undisturbed)) {
        longest = std::max(longest, size);
    }
    for (size_t limit = 0; limit <= longest; limit += limit < 200 ? 1 : 61) {
        SCOPED_TRACE(limit);
        Outcome expected = undisturbed;
        expected.result.out = expected.result.out.substr(0, limit);
        for (auto& [name, bytes] : expected.files) {
            bytes = bytes.substr(0, limit);
        }
        expectUndisturbed(convert({"prlimit", "--fsize=" + std::to_string(limit), "--core=0"}),
                          expected);
    }
}

TEST_F(Failures, limitOnFileSizeCutsLongLinesThere) {
    directory.write("A.LOG", logOfLongTexts());
    const Outcome undisturbed = convert();
    for (const size_t limit : {512U, 1024U, 4096U, 8192U, 50000U, 131072U}) {
        SCOPED_TRACE(limit);
        Outcome expected = undisturbed;
        for (auto& [name, bytes] : expected.files) {
            bytes = bytes.substr(0, limit);
        }
        const Outcome disturbed =
            convert({"prlimit", "--fsize=" + std::to_string(limit), "--core=0"});
        EXPECT_EQ(disturbed.result.status, 0);
        EXPECT_EQ(namesAndSizes(disturbed), namesAndSizes(expected));
        EXPECT_TRUE(disturbed.files == expected.files);
    }
}

// All logs are read before the first output is opened, so that a run without enough memory for them
// leaves the outputs of the run before.
TEST_F(Failures, limitOnMemoryEndsTheRunAndLeavesTheOutputsOfTheRunBefore) {
    if (sanitized) {
        GTEST_SKIP() << "the sanitizers themselves need more memory than the limit";
    }
    directory.write("A.LOG", mixedLog());
    const Outcome before = convert();
    fs::create_symlink("/dev/zero", path("Z.LOG"));

    const Outcome after = outcome(runProgram(
        {"prlimit", "--as=100000000", "--core=0", toolPath(), "--all"}, directory.path()));

    EXPECT_EQ(after.result.status, 128 + SIGABRT);
    EXPECT_EQ(after.files, before.files);
    EXPECT_THAT(after.result.out, Not(HasSubstr("Converting")));
}

// =================================================================================================
// Signals
// =================================================================================================

// Whoever starts the tests may ignore signals, as a shell does for what runs in the background.
TEST(RunningProgram, hasEverySignalAtItsDefault) {
    std::signal(SIGINT, SIG_IGN);
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    sigprocmask(SIG_BLOCK, &blocked, nullptr);
    for (const int number : {SIGINT, SIGTERM, SIGPIPE, SIGXFSZ}) {
        const std::string kill = "kill -" + std::to_string(number) + " $$";
        EXPECT_EQ(runProgram({"prlimit", "--core=0", "sh", "-c", kill}, "/").status, 128 + number);
    }
    sigprocmask(SIG_UNBLOCK, &blocked, nullptr);
    std::signal(SIGINT, SIG_DFL);
}

class Signals : public Failures, public testing::WithParamInterface<int> {};

// "wide.csv" is a pipe here, so that the run can't get further than the test reads.
TEST_P(Signals, inTheMiddleOfTheRunLeaveEveryLineThatWasWritten) {
    directory.write("A.LOG", longLog(4000));
    const Outcome undisturbed = convert();
    removeOutputs();
    ASSERT_EQ(mkfifo(path("wide.csv").c_str(), 0600), 0);

    RunningProgram tool({toolPath(), "--all"}, directory.path());
    std::string wide;
    const int pipe = open(path("wide.csv").c_str(), O_RDONLY);
    ASSERT_GE(pipe, 0);
    while (wide.size() < 20000) {
        char part[1000];
        const ssize_t count = read(pipe, part, sizeof(part));
        ASSERT_GT(count, 0);
        wide.append(part, static_cast<size_t>(count));
    }
    tool.sendSignal(GetParam());
    Outcome disturbed = outcome(tool.wait());
    close(pipe);
    fs::remove(path("wide.csv"));

    EXPECT_EQ(disturbed.result.status, 128 + GetParam());
    EXPECT_EQ(disturbed.result.out, undisturbed.result.out);
    EXPECT_TRUE(undisturbed.files.at("wide.csv").starts_with(wide));
    expectPrefixes(disturbed, undisturbed);
    // Each row of the wide file comes after those of its record elsewhere, so those are there. Both
    // record types of this log give a wide row, and one of them a row here.
    const size_t wideRows = linesOf(wide).size() - 2; // without the header and a last, short line
    EXPECT_GE(linesOf(disturbed.files.at("dynamicInfo.csv")).size(), wideRows / 2 + 1);
    EXPECT_GE(linesOf(disturbed.files.at("detail.csv")).size(), wideRows * 2);
    EXPECT_GE(linesOf(disturbed.files.at("A.LOG.detail.csv")).size(), wideRows * 2);
    EXPECT_LT(disturbed.files.at("detail.csv").size(), undisturbed.files.at("detail.csv").size());
}

TEST_P(Signals, whileTheLogsAreReadLeaveTheOutputsOfTheRunBefore) {
    directory.write("A.LOG", mixedLog());
    const Outcome before = convert();
    ASSERT_EQ(mkfifo(path("B.LOG").c_str(), 0600), 0);

    RunningProgram tool({toolPath(), "--all"}, directory.path());
    const int pipe = open(path("B.LOG").c_str(), O_WRONLY); // returns once the tool reads
    ASSERT_GE(pipe, 0);
    tool.sendSignal(GetParam());
    const Outcome after = outcome(tool.wait());
    close(pipe);

    EXPECT_EQ(after.result.status, 128 + GetParam());
    EXPECT_EQ(after.files, before.files);
}

INSTANTIATE_TEST_SUITE_P(, Signals, testing::Values(SIGINT, SIGTERM, SIGKILL),
                         [](const auto& test) { return std::string(sigabbrev_np(test.param)); });

} // namespace
