// The Mac form of a reference's text, as it stands or resolved.
#include "ondrel/filref/macspec.h"

#include "ondrel/core/FileSpec.h"
#include "ondrel/core/Unicode.h"
#include "ondrel/filref/filref.h"
#include "ondrel/filref/macwalk.h"

namespace Ondrel {
namespace {

void CopyWithoutFolderMark(const std::uint16_t* ref, std::uint16_t* out) {
    const unsigned long length = Uni16CharCopy(out, ref, kFilrefSize);
    if (length >= 3 && out[length - 2] == ':' && out[length - 1] == 'x') out[length - 1] = 0;
}

}  // namespace

int refToMacSpec(const std::uint16_t* ref, std::uint16_t* out, int flags) {
    if (ref == nullptr) return 1;
    if ((flags & filRefResolve) == 0) {
        CopyWithoutFolderMark(ref, out);
        return 0;
    }
    MakeFullMacText(ref, out);
    FileSpec spec;
    if (!WalkMacPath(out, spec)) return -1;
    Uni16String reached;
    spec.GetHFSPath(reached);
    Uni16CharCopy(out, reached.c_str(), kFilrefSize);
    Uni16CharMakePreComposed(out, kFilrefSize);
    return 0;
}

}  // namespace Ondrel
