// Preloaded into a program, lets its memory run out: the allocations from the FAIL_FROMth to the
// FAIL_TOth, counted from 1, fail. When the program ends by itself, the file COUNT_FILE gets the
// number of allocations.

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

// What the C library itself allocates with.
extern "C" void* __libc_malloc(size_t size);
extern "C" void* __libc_calloc(size_t count, size_t size);
extern "C" void* __libc_realloc(void* block, size_t size);

static unsigned long allocations = 0;

static unsigned long numberOf(const char* name) {
    const char* const text = getenv(name);
    return text != nullptr ? strtoul(text, nullptr, 10) : 0;
}

static bool fails() {
    static const unsigned long from = numberOf("FAIL_FROM");
    static const unsigned long to = numberOf("FAIL_TO");
    ++allocations;
    if (allocations < from || allocations > to) {
        return false;
    }
    errno = ENOMEM;
    return true;
}

extern "C" void* malloc(size_t size) {
    return fails() ? nullptr : __libc_malloc(size);
}

extern "C" void* calloc(size_t count, size_t size) {
    return fails() ? nullptr : __libc_calloc(count, size);
}

extern "C" void* realloc(void* block, size_t size) {
    return fails() ? nullptr : __libc_realloc(block, size);
}

__attribute__((destructor)) static void writeCount() {
    if (const char* const name = getenv("COUNT_FILE")) {
        char text[32];
        const int length = snprintf(text, sizeof text, "%lu", allocations);
        const int file = open(name, O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (write(file, text, static_cast<size_t>(length)) != length) {
            _exit(125);
        }
        close(file);
    }
}
