#pragma once

#include <cstdio>
#include <cstdlib>

// A broken property must stop the fuzzer with the input that broke it, in every build type
// (Q_ASSERT is compiled out of release builds, and libFuzzer saves the input on abort).
#define FUZZ_CHECK(condition)                                                              \
    do {                                                                                   \
        if (!(condition)) {                                                                \
            std::fprintf(stderr, "%s:%d: property broken: %s\n", __FILE__, __LINE__,      \
                         #condition);                                                      \
            std::abort();                                                                  \
        }                                                                                  \
    } while (false)
