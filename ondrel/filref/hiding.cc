// Keeping a reference's file out of the system's index: in the temporary-items folder, which is not
// indexed, or under a name with a '.' before it. This source stands on streams, for it makes the
// file in that folder.
#include <string>

#include "ondrel/core/CString.h"
#include "ondrel/fil/safesave.h"
#include "ondrel/filref/filref.h"
#include "ondrel/filref/operations.h"

namespace Ondrel {
namespace {

// Makes an empty file of the reference's name in the temporary-items folder and the reference its.
void MoveToTemporaryItems(filref& ref) {
    const std::string name = ref.getNameAsUtf8(filRefMac);
    // Without a name a fresh one would be made up, and the reference would name another file.
    if (name.empty()) return;
    fil stream;
    filsavtem(&stream, nullptr, nullptr, 0, name.c_str());
    filrefnew(&ref, &stream);
}

// Puts a '.' before the last place where the name stands, and cuts what follows the name there.
void HideName(filref& ref) {
    std::string text;
    ref.getFullPathAsUtf8(text, filRefMac);
    const std::string name = ref.getNameAsUtf8(filRefMac);
    text.replace(text.rfind(name), std::string::npos, "." + name);
    ref.clear();
    ref.allocate();
    if (ref.path != nullptr) strmovlen(text.c_str(), ref.path, kFilrefSize);
}

}  // namespace

void filref::hideFromSpotlight(bool useTemporaryFolder) {
    if (path == nullptr) return;
    if (useTemporaryFolder)
        MoveToTemporaryItems(*this);
    else
        HideName(*this);
}

}  // namespace Ondrel
