// The first program: writes a small document at the path that it is given, and reads it back. The
// README shows its heart.
#include <cstdio>
#include <string>

#include "ondrel/core/FileSpec.h"
#include "ondrel/core/Unicode.h"
#include "ondrel/fil/fil.h"
#include "ondrel/records/strings.h"

using namespace Ondrel;

// README begins
int WriteAndRead(fil* f, const FileSpec& spec) {
    if (const int code = saveFile(f, nullptr, spec, 0)) return code;
    filwri16(f, 7);            // 00 07
    filwristring(f, "seven");  // 00 00 00 05 73 65 76 65 6E
    f->Close();

    if (const int code = openFile(f, nullptr, spec)) return code;
    const int number = filrea16(f);
    if (number < 0) return number;  // the file is shorter than that
    std::printf("%d is %s\n", number, filreastring(f).c_str());
    return 0;
}
// README ends

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: first PATH\n");
        return 2;
    }
    fil f;
    const int result = WriteAndRead(&f, FileSpec(UTF8ToUni16String(argv[1])));
    if (result != 0) std::fprintf(stderr, "%s\n", GetFileErrorMessage(&f).c_str());
    f.Close();
    return result == 0 ? 0 : 1;
}
