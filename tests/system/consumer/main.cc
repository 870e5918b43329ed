// The smallest application: writes a document at the path that it is given and reads it back.
#include <cstdio>
#include <string>

#include "ondrel/core/FileSpec.h"
#include "ondrel/core/Unicode.h"
#include "ondrel/fil/fil.h"
#include "ondrel/records/strings.h"

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const Ondrel::FileSpec spec(Ondrel::UTF8ToUni16String(argv[1]));
    {
        Ondrel::fil f;
        if (Ondrel::saveFile(&f, nullptr, spec, 0) != 0) return 3;
        Ondrel::filwri32(&f, 0x12345678);
        Ondrel::filwristring(&f, "hello");
        if (f.Close() != 0) return 4;
    }
    Ondrel::fil f;
    if (Ondrel::openFile(&f, nullptr, spec) != 0) return 5;
    const int number = Ondrel::filrea32(&f);
    const std::string text = Ondrel::filreastring(&f);
    std::printf("%08x %s\n", static_cast<unsigned int>(number), text.c_str());
    return f.Close() == 0 ? 0 : 6;
}
