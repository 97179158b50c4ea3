#include "ConvertFile.h"
#include "DataFile.h"
#include "Options.h"
#include "fileUtilities.h"

#include <iostream>
#include <iterator>
#include <list>
#include <memory>
#include <string>
#include <vector>

namespace {

using DataFilePtr = std::shared_ptr<DataFile>;

/// The logs of the run. They are never taken apart: the end of the process gives their memory back
/// at once, while it takes time to destroy a million records one by one. A process that runs the
/// tool more than once drops the logs of the run before.
std::vector<DataFilePtr>& runLogs() {
    static auto& logs = *new std::vector<DataFilePtr>;
    return logs;
}

/// Puts a file into the conversion order: between the first two neighbours of which the earlier
/// ends at or after the file's start and the file ends at or after the later one's start, or else
/// at the end.
///
/// This is no sort: nothing is ever put in front of the first file, and files that don't overlap
/// keep the order of the directory. Outputs of different years can only be compared while it stays
/// so.
void insertInOrder(std::list<DataFilePtr>& sorted, const DataFilePtr& file) {
    for (auto a = sorted.begin(); a != sorted.end(); ++a) {
        const auto b = std::next(a);
        if (b != sorted.end() && (*a)->back()->datestamp >= file->front()->datestamp &&
            file->back()->datestamp >= (*b)->front()->datestamp) {
            sorted.insert(b, file);
            return;
        }
    }
    sorted.push_back(file);
}

/// The files in the order in which they are converted. A file that could not be opened has no
/// records to compare: such files follow all others, which are ordered as if they were not there.
std::list<DataFilePtr> conversionOrder(const std::vector<DataFilePtr>& dataFiles) {
    std::list<DataFilePtr> sorted;
    std::list<DataFilePtr> unopened;
    for (const DataFilePtr& file : dataFiles) {
        std::cout << "Sorting " << file->name() << std::endl;
        if (file->empty()) {
            unopened.push_back(file);
        } else {
            insertInOrder(sorted, file);
        }
    }
    sorted.splice(sorted.end(), unopened);
    return sorted;
}

int convertDirectory(const std::string& path) {
    const std::vector<std::string> logFiles = allLogFilesIn(path);
    if (logFiles.empty()) {
        return 1;
    }
    // All files are read before the first is converted: their order depends on their contents.
    for (const std::string& logFile : logFiles) {
        runLogs().push_back(std::make_shared<DataFile>(logFile));
    }
    for (const DataFilePtr& file : conversionOrder(runLogs())) {
        ConvertFile converter(*file);
        ConvertFile::aggregate(path);
        converter.convert();
    }
    return 0;
}

int convertSingleFile(const std::string& path) {
    runLogs().push_back(std::make_shared<DataFile>(path));
    ConvertFile converter(*runLogs().back());
    return converter.convert();
}

} // namespace

int main(int argumentCount, char** arguments) {
    // The C library, through which the streams would write otherwise, gives up a write that a
    // signal interrupts.
    std::ios::sync_with_stdio(false);
    runLogs().clear();
    Options options;
    options.parseArguments(argumentCount, const_cast<const char**>(arguments));
    const std::string path = options.path();
    return isDirectory(path) ? convertDirectory(path) : convertSingleFile(path);
}
