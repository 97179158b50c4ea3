// The tool with a recorder of its output lines: linked with the tool's own main, it stands between
// the tool and the C library's write functions. It takes the tool's arguments, does what the tool
// does and writes the plan that the floor follows to the path that the environment names:
//
//   PLAN=path recordPlan [the tool's arguments]
//
// The plan has four bytes per line, in the order in which the lines were ended: the number of the
// file in the highest byte, the line's length (its line feed included) in the others. "path.files"
// has the names of the files, a line each in the order of their numbers, without their directories.
//
// What counts is the line, in however many pieces it was written, so that a tool which wrote
// several lines at once, or one line in pieces, would be compared with the same floor.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>
#include <utility>

namespace {

/// Never destroyed, since the tool still writes while the process ends; the C library flushes the
/// two streams at the very end, and doesn't pass through the functions below to do so.
class Recorder {
public:
    Recorder() {
        const char* const path = std::getenv("PLAN");
        plan = path == nullptr ? nullptr : std::fopen(path, "wb");
        names = path == nullptr ? nullptr : std::fopen((std::string(path) + ".files").c_str(), "w");
        if (plan == nullptr || names == nullptr) {
            std::fputs("PLAN must name a file that can be written\n", stderr);
            std::exit(1);
        }
    }

    void take(int descriptor, const char* data, size_t size) {
        struct stat status = {};
        if (descriptor <= STDERR_FILENO || fstat(descriptor, &status) != 0) {
            return;
        }
        // By inode, since the descriptor of a closed file is used for the next one.
        const auto [entry, isNew] =
            outputs.try_emplace({status.st_dev, status.st_ino}, Output{outputs.size(), 0});
        if (isNew) {
            const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
            std::fprintf(names, "%s\n", std::filesystem::read_symlink(link).filename().c_str());
        }
        Output& output = entry->second;
        for (size_t index = 0; index < size; ++index) {
            ++output.lengthSoFar;
            if (data[index] == '\n') {
                const auto line = static_cast<uint32_t>(output.number << 24U | output.lengthSoFar);
                std::fwrite(&line, sizeof line, 1, plan);
                output.lengthSoFar = 0;
            }
        }
    }

private:
    struct Output {
        size_t number;
        size_t lengthSoFar; // of the line that has begun
    };

    std::FILE* plan;
    std::FILE* names;
    std::map<std::pair<dev_t, ino_t>, Output> outputs;
};

Recorder& recorder() {
    static auto* const theRecorder = new Recorder;
    return *theRecorder;
}

} // namespace

extern "C" ssize_t write(int descriptor, const void* data, size_t size) {
    const ssize_t written = syscall(SYS_write, descriptor, data, size);
    if (written > 0) {
        recorder().take(descriptor, static_cast<const char*>(data), static_cast<size_t>(written));
    }
    return written;
}

extern "C" ssize_t writev(int descriptor, const iovec* pieces, int count) {
    ssize_t total = 0;
    for (int index = 0; index < count; ++index) {
        const ssize_t written = write(descriptor, pieces[index].iov_base, pieces[index].iov_len);
        if (written < 0) {
            return total > 0 ? total : -1;
        }
        total += written;
    }
    return total;
}
