#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the process with the broken rule on standard error, which a fuzzer and a replay alike count
/// as a finding.
inline void require(bool holds, const char* rule) {
    if (!holds) {
        std::fprintf(stderr, "Broken: %s\n", rule);
        std::abort();
    }
}
