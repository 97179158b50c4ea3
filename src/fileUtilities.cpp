#include "fileUtilities.h"

#include <cerrno>
#include <csignal>
#include <dirent.h>
#include <fcntl.h>
#include <iostream>
#include <sys/stat.h>
#include <unistd.h>

void prepareOutputs() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) < 0) {
            open("/dev/null", O_RDWR); // gets the lowest number that is free, which is this one
        }
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

bool isDirectory(const std::string& path) {
    constexpr mode_t directoryBit = 0x4000;
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        return false;
    }
    return (status.st_mode & directoryBit) != 0;
}

bool isLogFile(const std::string& filename) {
    return filename.ends_with(".LOG");
}

std::vector<std::string> allLogFilesIn(const std::string& path) {
    std::vector<std::string> result;
    DIR* d = opendir(path.c_str());
    if (d == nullptr) {
        return result;
    }
    // Only errno tells a listing that failed from one that came to its end.
    const auto nextEntry = [d] {
        errno = 0;
        return readdir(d);
    };
    while (const dirent* dir = nextEntry()) {
        if (isLogFile(dir->d_name)) {
            result.push_back(path + "/" + dir->d_name);
        }
    }
    if (errno != 0) {
        std::cerr << "Unable to list " << path << " to its end." << std::endl;
    }
    closedir(d);
    return result;
}
