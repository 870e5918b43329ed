// Length markers: placeholders that are patched once the length of their block is known.
#include "ondrel/fil/record.h"

namespace Ondrel {

int filwripos(fil* f) {
    const int position = filpos(f);
    (void)filwri32(f, 0);
    return position;
}

int filwrilen(fil* f, int markerPosition) {
    if (HasFailedWriting(f)) return Fail(f->sys->errorContext, -1);
    const int end = filpos(f);
    (void)filpos(f, markerPosition);
    (void)filwri32(f, end - markerPosition - 4);
    return HasFailedWriting(f) ? -1 : filpos(f, end);
}

int filreapos(fil* f) {
    const int length = filrea32(f);
    // The sum of a hostile length wraps instead of overflowing.
    return static_cast<int>(static_cast<unsigned int>(filpos(f)) +
                            static_cast<unsigned int>(length));
}

int filwripos16(fil* f) {
    if (filwri8(f, 0) >= 0) (void)filwri8(f, 0);
    return filpos(f);
}

bool filwrilen16(fil* f, int afterMarker) {
    constexpr int kLongest = 65535;
    const int end = filpos(f);
    const int length = end - afterMarker;
    const bool fits = length <= kLongest;
    const int stored = fits ? length : 0;
    if (HasFailedWriting(f)) {
        (void)Fail(f->sys->errorContext, -1);
        return fits;
    }
    (void)filpos(f, afterMarker - 2);
    if (filwri8(f, stored >> 8) >= 0) (void)filwri8(f, stored);
    if (!HasFailedWriting(f)) (void)filpos(f, fits ? end : afterMarker);
    return fits;
}

}  // namespace Ondrel
