// The walk along a colon path. A place that is a folder is known to be no alias at the cost of one
// look; only other places are asked for the target of an alias.
#include "ondrel/filref/macwalk.h"

#include "ondrel/core/FileSpec.h"
#include "ondrel/core/FileSupport.h"
#include "ondrel/core/Unicode.h"
#include "ondrel/filref/filref.h"
#include "ondrel/platform/FileManager.h"

namespace Ondrel {
namespace {

// The application folder's colon path, ':' at its end. Where it is unknown that is all there is, so
// that what is put behind it stays relative.
void CopyApplicationFolder(std::uint16_t* out) {
    FileSpec folder;
    FileSupport::GetApplicationFolder(folder);
    Uni16String text;
    folder.GetHFSPath(text);
    if (text.empty() || text.back() != ':') text += std::uint16_t{':'};
    Uni16CharCopy(out, text.c_str(), kFilrefSize);
    Uni16CharMakePreComposed(out, kFilrefSize);
}

const std::uint16_t* EndOfComponent(const std::uint16_t* text) {
    while (*text != 0 && *text != ':')
        ++text;
    return text;
}

// If the place is an alias that leads somewhere, it becomes the target.
void FollowAlias(FileSpec& spec) {
    const FSRef* item = spec;
    if (item == nullptr) return;
    FSRef target = *item;
    bool isFolder = false;
    bool wasAliased = false;
    const OSErr code = FSResolveAliasFile(&target, true, &isFolder, &wasAliased);
    if (code == noErr && wasAliased) spec = target;
}

// Goes down to a folder; what is not there makes `spec` empty.
void StepToFolder(FileSpec& spec, const Uni16String& name) {
    spec.ToChildFolder(name, false);
    if (spec.IsFolder()) return;
    FollowAlias(spec);
    if (!spec.IsFolder()) spec = FileSpec();
}

void StepToLast(FileSpec& spec, const Uni16String& name) {
    spec.ToChildFile(name);
    FollowAlias(spec);
}

// True when the rest of a path, behind a colon, says that the path has ended with a folder.
bool IsEndMark(const std::uint16_t* rest) {
    return rest[0] == 0 || (rest[0] == 'x' && rest[1] == 0);
}

}  // namespace

void MakeFullMacText(const std::uint16_t* ref, std::uint16_t* full) {
    const std::uint16_t* colon = EndOfComponent(ref);
    if (*colon == ':' && colon != ref) {
        Uni16CharCopy(full, ref, kFilrefSize);
        return;
    }
    CopyApplicationFolder(full);
    Uni16CharAppend(full, *ref == ':' ? ref + 1 : ref, kFilrefSize);
}

bool WalkMacPath(const std::uint16_t* path, FileSpec& spec) {
    const std::uint16_t* end = EndOfComponent(path);
    Uni16String name(path, end);
    spec.ToPartition(name);
    while (*end == ':' && !IsEndMark(end + 1) && spec.IsValid()) {
        const std::uint16_t* start = end + 1;
        end = EndOfComponent(start);
        if (end == start) break;
        name.assign(start, end);
        if (*end == ':')
            StepToFolder(spec, name);
        else
            StepToLast(spec, name);
    }
    return spec.IsValid();
}

}  // namespace Ondrel
