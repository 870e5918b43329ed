// The small file operations that go with the streams.
#include "ondrel/core/FileSpecFunctions.h"
#include "ondrel/core/FileType.h"
#include "ondrel/core/Process.h"
#include "ondrel/fil/fil.h"

namespace Ondrel {

bool filexist(const filref& ref) {
    fil f;
    const bool exists = filope(&f, nullptr, ref) >= 0;
    (void)filclo(&f);
    return exists;
}

int fildel(const filref& ref) {
    lasterror = OrMemFull([&] {
        FileSpec spec;
        (void)ref.convertToFileSpec(spec);
        FileSpecFunctions functions;
        (void)functions.DeleteFile(spec, false);
        return functions.errorCode;
    });
    if (lasterror == noErr) return 0;
    return lasterror == fBsyErr ? -2 : -1;
}

int fildelwai(const filref& ref) {
    for (const int pause : {100, 300, 1000}) {
        if (fildel(ref) == 0) return 0;
        SleepMillis(pause);
    }
    return fildel(ref);
}

bool fileHasType(const FileSpec& spec, unsigned int typeId, bool flag) {
    bool decided = false;
    const auto method = flag ? FileType::kByExtension : FileType::kByCodes;
    return IsFileSpecOfThisTypeID(spec, typeId, method, &decided) || !decided;
}

Uni16String GetFilePath(const FileSpec& spec) {
    Uni16String path;
    (void)spec.GetHFSPath(path);
    return path;
}

}  // namespace Ondrel
