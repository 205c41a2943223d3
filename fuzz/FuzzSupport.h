#pragma once
// Shared by the fuzzing harnesses.

#include <cstdio>
#include <cstdlib>

// A broken expectation says which one before the fuzzer takes the abort as a find.
#define Require(condition)                                                                         \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "%s:%d: expected %s\n", __FILE__, __LINE__, #condition);          \
            std::abort();                                                                          \
        }                                                                                          \
    } while (false)
