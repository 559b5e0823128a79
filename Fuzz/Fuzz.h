#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// The program stops where what must hold does not.
inline void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}
