// The floor: the least work that leaves the outputs which a run of the tool leaves, one write per
// line.
//
//   floor PLAN DIRECTORY
//
// It reads every ".LOG" file of the directory with large reads and drops the bytes, then writes as
// many lines as the tool wrote, of the same lengths, in the same order, to files of the same names
// in the directory. The text of the lines comes from a small buffer that stays in the processor's
// cache: a floor that brought rendered text along would wait for memory and flatter the tool.
//
// The plan (see recordPlan.cpp) is read in the same way as the logs. It has four bytes per line, of
// which the tool needs none: this is all that the floor does in excess of the least.

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr size_t blockSize = 256 * 1024;
constexpr size_t longestLine = 64 * 1024;

[[noreturn]] void fail(const std::string& path) {
    std::perror(path.c_str());
    std::exit(1);
}

int opened(const std::string& path, int flags) {
    const int file = open(path.c_str(), flags | O_CLOEXEC, 0666);
    if (file < 0) {
        fail(path);
    }
    return file;
}

/// Hands the file to the function block by block.
template <typename Function>
void forEachBlock(const std::string& path, Function function) {
    alignas(uint32_t) static std::array<char, blockSize> block;
    const int file = opened(path, O_RDONLY);
    ssize_t size = 0;
    while ((size = read(file, block.data(), block.size())) > 0) {
        function(block.data(), static_cast<size_t>(size));
    }
    if (size < 0) {
        fail(path);
    }
    close(file);
}

std::vector<int> openedOutputs(const std::string& plan, const std::string& directory) {
    std::ifstream names(plan + ".files");
    std::vector<int> files;
    for (std::string name; std::getline(names, name);) {
        files.push_back(opened(directory + '/' + name, O_WRONLY | O_CREAT | O_TRUNC));
    }
    return files;
}

} // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 3) {
        std::fputs("usage: floor PLAN DIRECTORY\n", stderr);
        return 1;
    }
    const std::string plan = arguments[1];
    const std::string directory = arguments[2];

    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        if (entry.path().extension() == ".LOG") {
            forEachBlock(entry.path(), [](const char*, size_t) {});
        }
    }

    // Every line is the end of this text, so that the lines share their cache lines.
    std::vector<char> text(longestLine, 'x');
    text.back() = '\n';
    const char* const textEnd = text.data() + text.size();
    const std::vector<int> files = openedOutputs(plan, directory);
    forEachBlock(plan, [&](const char* block, size_t size) {
        const auto* const lines = reinterpret_cast<const uint32_t*>(block);
        for (size_t line = 0; line < size / sizeof(uint32_t); ++line) {
            const size_t length = lines[line] & 0xFFFFFF;
            const size_t file = lines[line] >> 24;
            if (write(files[file], textEnd - length, length) != static_cast<ssize_t>(length)) {
                fail("write");
            }
        }
    });
    return 0;
}
