#include "fileUtilities.h"

#include <dirent.h>
#include <sys/stat.h>

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
    while (const dirent* dir = readdir(d)) {
        if (isLogFile(dir->d_name)) {
            result.push_back(path + "/" + dir->d_name);
        }
    }
    closedir(d);
    return result;
}
