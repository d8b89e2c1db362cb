#pragma once

#include <cstdio>
#include <cstdlib>

// An invariant the program relies on did not hold: report it and stop, so
// libFuzzer keeps the input as a crash.
#define FUZZ_CHECK(condition)                                                                                \
    do {                                                                                                     \
        if (!(condition)) {                                                                                  \
            std::fprintf(stderr, "invariant failed: %s (%s:%d)\n", #condition, __FILE__, __LINE__);          \
            std::abort();                                                                                    \
        }                                                                                                    \
    } while (false)
