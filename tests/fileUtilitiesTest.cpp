#include "fileUtilities.h"
#include "ProgramRun.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <iterator>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

/// How many entries of a directory are listed before its listing fails.
static std::optional<unsigned> entriesUntilFailure;

/// Takes the place of the C library's.
extern "C" dirent* readdir(DIR* directory) {
    if (entriesUntilFailure && (*entriesUntilFailure)-- == 0) {
        errno = EIO;
        return nullptr;
    }
    static const auto original = reinterpret_cast<dirent* (*)(DIR*)>(dlsym(RTLD_NEXT, "readdir"));
    return original(directory);
}

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

/// A node of a type that has no data, such as a socket.
void makeNode(const fs::path& path, mode_t type) {
    ASSERT_EQ(mknod(path.c_str(), type | 0600, 0), 0) << path;
}

/// In a process of its own: whether prepareOutputs() opens those standard streams, and no other,
/// that are closed, a bit each.
bool opensClosedStreams(unsigned closed) {
    struct stat null = {};
    struct stat before[3] = {};
    bool right = stat("/dev/null", &null) == 0;
    const auto isOpenTo = [](int descriptor, const struct stat& file) {
        struct stat status = {};
        return fstat(descriptor, &status) == 0 && status.st_dev == file.st_dev &&
               status.st_ino == file.st_ino;
    };
    const int next = dup(0); // the lowest number that is free
    close(next);
    for (int descriptor = 0; descriptor < 3; ++descriptor) {
        right = fstat(descriptor, &before[descriptor]) == 0 && right;
        if ((closed >> descriptor & 1) != 0) {
            close(descriptor);
            before[descriptor] = null;
        }
    }
    prepareOutputs();
    for (int descriptor = 0; descriptor < 3; ++descriptor) {
        right = isOpenTo(descriptor, before[descriptor]) && right;
    }
    return right && fcntl(next, F_GETFD) < 0;
}

TEST(prepareOutputs, opensTheStandardStreamsThatAreClosed) {
    for (unsigned closed = 0; closed < 8; ++closed) {
        const auto inItsOwnProcess = [&] { std::_Exit(opensClosedStreams(closed) ? 0 : 1); };
        EXPECT_EXIT(inItsOwnProcess(), testing::ExitedWithCode(0), "") << closed;
    }
}

TEST(prepareOutputs, ignoresTheSignalsOfOutputsThatCanNotBeWritten) {
    for (const int number : {SIGPIPE, SIGXFSZ}) {
        std::signal(number, SIG_DFL);
    }
    prepareOutputs();
    for (const int number : {SIGPIPE, SIGXFSZ}) {
        EXPECT_EQ(std::signal(number, SIG_IGN), SIG_IGN) << number;
    }
}

TEST(isDirectory, isTrueForADirectoryAndForALinkToOne) {
    const TemporaryDirectory directory;
    fs::create_directory(directory.path() / "logs");
    fs::create_symlink("logs", directory.path() / "link");
    EXPECT_TRUE(isDirectory(directory.path()));
    EXPECT_TRUE(isDirectory(directory.path() / "logs"));
    EXPECT_TRUE(isDirectory(directory.path() / "logs/"));
    EXPECT_TRUE(isDirectory(directory.path() / "link"));
}

TEST(isDirectory, isFalseForARegularFile) {
    const TemporaryDirectory directory;
    directory.write("A.LOG", "");
    EXPECT_FALSE(isDirectory(directory.path() / "A.LOG"));
}

TEST(isDirectory, isFalseForAPathThatCannotBeExamined) {
    const TemporaryDirectory directory;
    directory.write("A.LOG", "");
    fs::create_symlink("missing", directory.path() / "dangling");
    EXPECT_FALSE(isDirectory(""));
    EXPECT_FALSE(isDirectory(directory.path() / "missing"));
    EXPECT_FALSE(isDirectory(directory.path() / "dangling"));
    EXPECT_FALSE(isDirectory(directory.path() / "A.LOG/below"));
}

// The modes of a directory, a block device and a socket share the bit 0x4000, those of a FIFO and a
// character device lack it.
TEST(isDirectory, looksAtTheDirectoryBitAlone) {
    const TemporaryDirectory directory;
    makeNode(directory.path() / "socket", S_IFSOCK);
    makeNode(directory.path() / "fifo", S_IFIFO);
    EXPECT_TRUE(isDirectory(directory.path() / "socket"));
    EXPECT_FALSE(isDirectory(directory.path() / "fifo"));
    EXPECT_FALSE(isDirectory("/dev/null"));
}

TEST(isLogFile, isTrueForNamesThatEndInLOG) {
    EXPECT_TRUE(isLogFile("x.LOG"));
    EXPECT_TRUE(isLogFile("logs/x.LOG"));
    EXPECT_TRUE(isLogFile("x.log.LOG"));
    EXPECT_TRUE(isLogFile("x..LOG"));
    EXPECT_TRUE(isLogFile(" .LOG"));
}

TEST(isLogFile, isTrueForTheBareEnding) {
    EXPECT_TRUE(isLogFile(".LOG"));
}

TEST(isLogFile, isFalseForNamesOfThreeCharactersOrFewer) {
    EXPECT_FALSE(isLogFile(""));
    EXPECT_FALSE(isLogFile("G"));
    EXPECT_FALSE(isLogFile("OG"));
    EXPECT_FALSE(isLogFile("LOG"));
    EXPECT_FALSE(isLogFile(".LO"));
}

TEST(isLogFile, isFalseForTheEndingInLowerOrMixedCase) {
    EXPECT_FALSE(isLogFile("x.log"));
    EXPECT_FALSE(isLogFile("x.Log"));
    EXPECT_FALSE(isLogFile("x.LOg"));
    EXPECT_FALSE(isLogFile("x.lOG"));
}

TEST(isLogFile, isFalseForAnyOtherEnding) {
    EXPECT_FALSE(isLogFile("x.LOG.detail.csv"));
    EXPECT_FALSE(isLogFile("x.LOG "));
    EXPECT_FALSE(isLogFile("x.LOG~"));
    EXPECT_FALSE(isLogFile("xLOG"));
    EXPECT_FALSE(isLogFile("x.LOGS"));
    EXPECT_FALSE(isLogFile(".LOG."));
}

TEST(allLogFilesIn, listsTheEntriesWhoseNamesEndInLOG) {
    const TemporaryDirectory directory;
    for (const char* name : {"A.LOG", ".LOG", "b.log", "LOG", "A.LOG.detail.csv", "wide.csv"}) {
        directory.write(name, "");
    }
    const std::string path = directory.path();
    EXPECT_THAT(allLogFilesIn(path), UnorderedElementsAre(path + "/A.LOG", path + "/.LOG"));
}

TEST(allLogFilesIn, listsEntriesOfEveryType) {
    const TemporaryDirectory directory;
    directory.write("file.LOG", "");
    fs::create_directory(directory.path() / "directory.LOG");
    fs::create_symlink("missing", directory.path() / "dangling.LOG");
    makeNode(directory.path() / "socket.LOG", S_IFSOCK);
    const std::string path = directory.path();
    EXPECT_THAT(allLogFilesIn(path),
                UnorderedElementsAre(path + "/file.LOG", path + "/directory.LOG",
                                     path + "/dangling.LOG", path + "/socket.LOG"));
}

TEST(allLogFilesIn, joinsThePathAsItStandsToTheNameWithOneSlash) {
    const TemporaryDirectory directory;
    directory.write("data/x.LOG", "");
    const fs::path before = fs::current_path();
    fs::current_path(directory.path());
    EXPECT_THAT(allLogFilesIn("data"), ElementsAre("data/x.LOG"));
    EXPECT_THAT(allLogFilesIn("data/"), ElementsAre("data//x.LOG"));
    EXPECT_THAT(allLogFilesIn("./data/."), ElementsAre("./data/./x.LOG"));
    fs::current_path(before);
}

TEST(allLogFilesIn, doesNotDescendIntoSubdirectories) {
    const TemporaryDirectory directory;
    directory.write("below/x.LOG", "");
    directory.write("below.LOG/y.LOG", "");
    const std::string path = directory.path();
    EXPECT_THAT(allLogFilesIn(path), ElementsAre(path + "/below.LOG"));
}

TEST(allLogFilesIn, isEmptyForADirectoryWithoutLogs) {
    const TemporaryDirectory directory;
    EXPECT_THAT(allLogFilesIn(directory.path()), IsEmpty());
}

TEST(allLogFilesIn, isEmptyForAPathThatIsNoReadableDirectory) {
    const TemporaryDirectory directory;
    directory.write("A.LOG", "");
    makeNode(directory.path() / "socket", S_IFSOCK);
    EXPECT_THAT(allLogFilesIn(directory.path() / "missing"), IsEmpty());
    EXPECT_THAT(allLogFilesIn(directory.path() / "A.LOG"), IsEmpty());
    EXPECT_THAT(allLogFilesIn(directory.path() / "socket"), IsEmpty());
    EXPECT_THAT(allLogFilesIn(""), IsEmpty());
}

// Enough names that neither ascending nor descending order comes about by chance.
TEST(allLogFilesIn, keepsTheOrderOfTheDirectory) {
    const TemporaryDirectory directory;
    for (char name = 'A'; name <= 'Z'; ++name) {
        directory.write(std::string{static_cast<char>('A' + (name - 'A') * 7 % 26)} + ".LOG", "");
    }
    std::vector<std::string> listed;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory.path())) {
        listed.push_back(entry.path());
    }
    EXPECT_EQ(listed.size(), 26U);
    EXPECT_EQ(allLogFilesIn(directory.path()), listed);
}

TEST(allLogFilesIn, endsWhereTheListingFailsAndSaysSo) {
    const TemporaryDirectory directory;
    for (const char* name : {"A.LOG", "B.LOG", "c", "D.LOG"}) {
        directory.write(name, "");
    }
    const std::vector<std::string> all = allLogFilesIn(directory.path());
    EXPECT_EQ(all.size(), 3U);
    size_t listed = 0;
    for (unsigned entries = 0; entries <= 6; ++entries) { // with "." and ".."
        entriesUntilFailure = entries;
        testing::internal::CaptureStderr();
        const std::vector<std::string> some = allLogFilesIn(directory.path());
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "Unable to list " + directory.path().string() + " to its end.\n");
        entriesUntilFailure.reset();
        EXPECT_GE(some.size(), listed);
        listed = some.size();
        EXPECT_TRUE(std::equal(some.begin(), some.end(), all.begin()));
    }
    EXPECT_EQ(listed, all.size());
}

TEST(allLogFilesIn, takesNoErrorFromBeforeForAFailure) {
    const TemporaryDirectory directory;
    directory.write("A.LOG", "");
    testing::internal::CaptureStderr();
    errno = EIO;
    EXPECT_EQ(allLogFilesIn(directory.path()).size(), 1U);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(allLogFilesIn, closesTheDirectory) {
    const TemporaryDirectory directory;
    const auto openDescriptors = [] {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    };
    const auto before = openDescriptors();
    allLogFilesIn(directory.path());
    EXPECT_EQ(openDescriptors(), before);
}

} // namespace
