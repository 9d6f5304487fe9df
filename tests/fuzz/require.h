#pragma once

#include <cstdlib>

// What must hold whatever the input is: the fuzzer keeps an input that aborts.
inline void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}
