// The hot loops, one at a time and a given number of times, for counting their instructions
// (bench/instructions): nothing here depends on the clock or on where memory happens to lie.
//
//   loops NAME COUNT    runs the loop
//   loops               prints the names
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "ondrel/core/FileSpec.h"
#include "ondrel/core/MacPaths.h"
#include "ondrel/core/Unicode.h"
#include "ondrel/fil/fil.h"
#include "ondrel/preview/encoders.h"
#include "ondrel/records/filerefs.h"
#include "ondrel/records/strings.h"

namespace {

using Ondrel::fil;
using Ondrel::filref;

volatile unsigned sink;  // keeps results from being left out

std::string path;

filref Document() {
    filref ref;
    ref.convertFromFileSpec(Ondrel::FileSpec(Ondrel::UTF8ToUni16String(path)));
    return ref;
}

void OpenToWrite(fil* f) {
    const filref ref = Document();
    if (Ondrel::filsav(f, nullptr, &ref, 0) != 0) std::abort();
}

void OpenToRead(fil* f) {
    if (Ondrel::filope(f, nullptr, Document()) != 0) std::abort();
}

template <class Put>
void Write(int count, Put put) {
    fil f;
    OpenToWrite(&f);
    for (int i = 0; i < count; ++i)
        put(&f, i);
    f.Close();
}

// The file holds `count` times what was put.
template <class Put, class Get>
void Read(int count, Put put, Get get) {
    Write(count, put);
    fil f;
    OpenToRead(&f);
    unsigned sum = 0;
    for (int i = 0; i < count; ++i)
        sum += static_cast<unsigned>(get(&f));
    sink = sum;
    f.Close();
}

// --- The loops ----------------------------------------------------------------------------------

void Write8(int count) {
    Write(count, [](fil* f, int i) { Ondrel::filwri8(f, i); });
}

void Write32(int count) {
    Write(count, [](fil* f, int i) { Ondrel::filwri32(f, i); });
}

void Read8(int count) {
    Read(
        count, [](fil* f, int i) { Ondrel::filwri8(f, i); }, [](fil* f) { return filrea8(f); });
}

void Read32(int count) {
    Read(
        count, [](fil* f, int i) { Ondrel::filwri32(f, i); }, [](fil* f) { return filrea32(f); });
}

void Blocks(int count) {
    static unsigned char block[1024];
    Read(
        count, [](fil* f, int) { Ondrel::filwri(f, block, sizeof block); },
        [](fil* f) { return Ondrel::filrea(f, block, sizeof block); });
}

void NearMoves(int count) {
    Write(4096, [](fil* f, int i) { Ondrel::filwri8(f, i); });
    fil f;
    OpenToRead(&f);
    for (int i = 0; i < count; ++i) {
        Ondrel::filpos(&f, i * 577 % 4000 + 1);
        sink = static_cast<unsigned>(Ondrel::filrea32(&f));
    }
    f.Close();
}

void CountedStrings(int count) {
    const std::string text(40, 'x');
    Read(
        count, [&text](fil* f, int) { Ondrel::filwristring(f, text); },
        [](fil* f) { return Ondrel::filreastring(f).size(); });
}

void Lines(int count) {
    const std::string text = std::string(40, 'x') + "\n";
    Read(
        count,
        [&text](fil* f, int) {
            Ondrel::filwri(f, reinterpret_cast<const unsigned char*>(text.data()),
                           static_cast<int>(text.size()));
        },
        [](fil* f) {
            char line[64];
            return Ondrel::filreastr(f, line, sizeof line);
        });
}

void StringsWithNul(int count) {
    const std::string text(40, 'x');
    Read(
        count, [&text](fil* f, int) { Ondrel::filwristrnul(f, text.c_str()); },
        [](fil* f) {
            char string[64];
            return Ondrel::filreastrnul(f, string, sizeof string);
        });
}

void ShortBlocks(int count) {
    static unsigned char block[16];
    Read(
        count, [](fil* f, int) { Ondrel::filwri(f, block, sizeof block); },
        [](fil* f) { return Ondrel::filrea(f, block, sizeof block); });
}

void References(int count) {
    filref base;
    filref target;
    base.ConvertFromMacPath("HD:Docs:Project:document");
    target.ConvertFromMacPath("HD:Docs:Project:Folder:Picture.tif");
    filref found;
    Read(
        count, [&](fil* f, int) { Ondrel::filwrirefrel(f, base, target, 1); },
        [&](fil* f) { return Ondrel::filrearefrel(f, base, found, nullptr); });
}

template <class Fill>
void Pack(int count, Fill fill) {
    constexpr int kRow = 3000;
    std::vector<unsigned char> row(kRow);
    unsigned state = 1;
    for (int i = 0; i < kRow; ++i) {
        state = state * 1664525U + 1013904223U;
        row[static_cast<std::size_t>(i)] = static_cast<unsigned char>(fill(i, state >> 24));
    }
    Ondrel::PackBitsBuff area(new unsigned char[4096], 4096);
    unsigned char* const start = area.position;
    Ondrel::KesPackBitsEncode encoder(kRow, 8, false, &area);
    for (int i = 0; i < count; ++i) {
        area.position = start;
        encoder.EncodeRecord(row.data(), kRow);
        encoder.Flush();
    }
    sink = static_cast<unsigned>(area.position - start);
}

void PackNoise(int count) {
    Pack(count, [](int, unsigned random) { return random; });
}

void PackPhotograph(int count) {
    Pack(count, [](int x, unsigned random) { return static_cast<unsigned>(x) / 5 + random % 6; });
}

void PackRuns(int count) {
    Pack(count, [](int x, unsigned) { return static_cast<unsigned>(x) / 5; });
}

const char* const kText =
    "Kap\xC3\xA4llchen na\xC3\xAFve, \xE6\x97\xA5\xE6\x9C\xAC and plain words";

void ToUtf16(int count) {
    unsigned short units[128];
    for (int i = 0; i < count; ++i)
        sink = static_cast<unsigned>(Ondrel::UTF8ToUni16Char(kText, units, 128));
}

void ToUtf8(int count) {
    const Ondrel::Uni16String text = Ondrel::UTF8ToUni16String(kText);
    char bytes[256];
    for (int i = 0; i < count; ++i)
        sink = static_cast<unsigned>(Ondrel::Uni16CharToUTF8(text.c_str(), bytes, 256));
}

void ColonPaths(int count) {
    const Ondrel::Uni16String colons = Ondrel::UTF8ToUni16String("Root:home:folder:document.txt");
    for (int i = 0; i < count; ++i)
        sink = static_cast<unsigned>(Ondrel::MacPaths::HFSToPOSIX(colons).size());
}

struct Loop {
    const char* name;
    void (*run)(int count);
};

constexpr Loop kLoops[] = {
    {"write-8-bit", Write8},
    {"write-32-bit", Write32},
    {"read-8-bit", Read8},
    {"read-32-bit", Read32},
    {"blocks-of-16-bytes", ShortBlocks},
    {"blocks-of-1-KiB", Blocks},
    {"near-moves", NearMoves},
    {"counted-strings", CountedStrings},
    {"lines", Lines},
    {"strings-with-NUL", StringsWithNul},
    {"references", References},
    {"pack-noise", PackNoise},
    {"pack-photograph", PackPhotograph},
    {"pack-runs", PackRuns},
    {"to-UTF-16", ToUtf16},
    {"to-UTF-8", ToUtf8},
    {"colon-paths", ColonPaths},
};

}  // namespace

int main(int argc, char** argv) {
    if (argc == 1)
        for (const Loop& loop : kLoops)
            std::puts(loop.name);
    if (argc != 3) return argc == 1 ? 0 : 2;
    path = (std::filesystem::temp_directory_path() / ("ondrel-loops-" + std::to_string(getpid())))
               .string();
    for (const Loop& loop : kLoops) {
        if (std::strcmp(loop.name, argv[1]) != 0) continue;
        loop.run(std::atoi(argv[2]));
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
        return 0;
    }
    return 2;
}
