// What a target says of its parser: a condition that holds whatever the input is. A broken one is
// reported as a crash is.
#ifndef FUZZ_REQUIRE_H
#define FUZZ_REQUIRE_H

#include <cstdlib>

namespace OndrelFuzz {

inline void Require(bool condition) {
    if (!condition) std::abort();
}

}  // namespace OndrelFuzz

#endif
