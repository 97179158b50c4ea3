// Runs a program, without its standard output, and prints what it took:
//
//   timed PROGRAM [ARGUMENTS]
//
// The line has the wall, user and system time in seconds and the peak memory in bytes. This is a
// program of its own because the peak that the system reports for a program is never below that of
// the program which started it: started by an interpreter, small runs would look like large ones.

#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

double seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

} // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount < 2) {
        std::fputs("usage: timed PROGRAM [ARGUMENTS]\n", stderr);
        return 1;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);

    const auto start = std::chrono::steady_clock::now();
    pid_t child = 0;
    int status = 0;
    rusage usage = {};
    if (posix_spawn(&child, arguments[1], &actions, nullptr, arguments + 1, environ) != 0 ||
        wait4(child, &status, 0, &usage) != child || status != 0) {
        std::fprintf(stderr, "%s failed\n", arguments[1]);
        return 1;
    }
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
    std::printf("%.6f %.6f %.6f %ld\n", wall.count(), seconds(usage.ru_utime),
                seconds(usage.ru_stime), usage.ru_maxrss * 1024);
    return 0;
}
