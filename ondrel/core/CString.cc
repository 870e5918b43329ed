// C-string services that look at bytes only; the search that ignores case is CaseSearch.cc.
#include "ondrel/core/CString.h"

#include <algorithm>
#include <cstring>

namespace Ondrel {

int strcom(const char* a, const char* b) {
    return std::strcmp(a, b);
}

int strmovlen(const char* src, char* dst, int size) {
    if (size < 1) return 0;
    const std::size_t length = strnlen(src, static_cast<std::size_t>(size) - 1);
    std::memmove(dst, src, length);
    dst[length] = 0;
    return static_cast<int>(length);
}

}  // namespace Ondrel
