// A picture of 1000 by 750 pixels of 32 bits, packed in rows of planes, from its file to pixels in
// memory: drawn in this process, and by programs that know such pictures, whose times hold their
// start. The picture is half smooth and half noise. Every contender's pixels have to be the right
// ones.
//
// The floor is the least code that does the same: it reads the file, unpacks row by row, a code at
// a time and without a look at where the bytes end, and puts the planes together to pixels.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/Programs.h"
#include "bench/RatioTable.h"
#include "ondrel/platform/Pictures.h"

namespace Bench {
namespace {

constexpr int kWidth = 1000;
constexpr int kHeight = 750;
constexpr std::size_t kPixels = std::size_t{kWidth} * kHeight;

std::string path;                // of the picture's file
std::size_t beforeRows = 0;      // bytes of it
std::vector<unsigned char> rgb;  // what every contender has to make of it

// --- The picture --------------------------------------------------------------------------------

unsigned char Channel(int x, int y, int channel) {
    static unsigned state = 1;
    if (x < kWidth / 2) return static_cast<unsigned char>(x / 8 + y / 16 + 40 * channel);
    state = state * 1664525U + 1013904223U;
    return static_cast<unsigned char>(state >> 24);
}

void MakePixels() {
    rgb.clear();
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x)
            for (int channel = 0; channel < 3; ++channel)
                rgb.push_back(Channel(x, y, channel));
}

void Append16(std::string* bytes, std::size_t value) {
    bytes->push_back(static_cast<char>(value >> 8));
    bytes->push_back(static_cast<char>(value));
}

void AppendRun(std::string* packed, const std::string& row, std::size_t from, std::size_t count) {
    packed->push_back(static_cast<char>(1 - static_cast<int>(count)));
    packed->push_back(row[from]);
}

std::size_t RunAt(const std::string& row, std::size_t from) {
    std::size_t count = 1;
    while (count < 128 && from + count < row.size() && row[from + count] == row[from])
        ++count;
    return count;
}

std::string Packed(const std::string& row) {
    std::string packed;
    for (std::size_t i = 0; i < row.size();) {
        if (const std::size_t run = RunAt(row, i); run > 2) {
            AppendRun(&packed, row, i, run);
            i += run;
            continue;
        }
        const std::size_t start = i;
        while (i < row.size() && i - start < 128 && RunAt(row, i) <= 2)
            ++i;
        packed.push_back(static_cast<char>(i - start - 1));
        packed.append(row, start, i - start);
    }
    return packed;
}

std::string PlanesOf(int y) {
    std::string planes;
    for (std::size_t channel = 0; channel < 3; ++channel)
        for (std::size_t x = 0; x < kWidth; ++x)
            planes.push_back(
                static_cast<char>(rgb[(static_cast<std::size_t>(y) * kWidth + x) * 3 + channel]));
    return planes;
}

void AppendAll(std::string* bytes, std::initializer_list<std::size_t> values) {
    for (const std::size_t value : values)
        Append16(bytes, value);
}

std::string MakePicture() {
    std::string bytes(512, '\0');
    AppendAll(&bytes, {0, 0, 0, kHeight, kWidth, 0x11, 0x2FF});
    AppendAll(&bytes, {0xC00, 0xFFFE, 0, 72, 0, 72, 0, 0, 0, kHeight, kWidth, 0, 0});
    AppendAll(&bytes, {0x1E, 0x01, 10, 0, 0, kHeight, kWidth});
    AppendAll(&bytes, {0x9A, 0, 0xFF, 0x8000 | 4 * kWidth, 0, 0, kHeight, kWidth, 0, 4, 0, 0});
    AppendAll(&bytes, {72, 0, 72, 0, 16, 32, 3, 8, 0, 0, 0, 0, 0, 0});
    AppendAll(&bytes, {0, 0, kHeight, kWidth, 0, 0, kHeight, kWidth, 0});
    beforeRows = bytes.size();
    for (int y = 0; y < kHeight; ++y) {
        const std::string row = Packed(PlanesOf(y));
        Append16(&bytes, row.size());
        bytes += row;
    }
    if (bytes.size() % 2 != 0) bytes.push_back('\0');
    Append16(&bytes, 0xFF);
    return bytes;
}

// --- The contenders -----------------------------------------------------------------------------

std::string FileBytes() {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    std::string bytes(static_cast<std::size_t>(file.tellg()), '\0');
    file.seekg(0);
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

// Of what is drawn in this process.
std::vector<unsigned char> drawn(kPixels * 4);

bool IsDrawn() {
    for (std::size_t i = 0; i < kPixels; ++i)
        if (std::memcmp(&drawn[4 * i + 1], &rgb[3 * i], 3) != 0) return false;
    return true;
}

// Answers where the row's bytes end.
const unsigned char* UnpackRow(const unsigned char* at, unsigned char* to, std::size_t size) {
    for (unsigned char* const end = to + size; to != end;) {
        const unsigned code = *at++;
        if (code < 128) {
            to = std::copy_n(at, code + 1, to);
            at += code + 1;
        } else if (code > 128) {
            to = std::fill_n(to, 257 - code, *at++);
        }
    }
    return at;
}

bool Floor() {
    const std::string bytes = FileBytes();
    const auto* at = reinterpret_cast<const unsigned char*>(bytes.data()) + beforeRows;
    unsigned char* pixel = drawn.data();
    std::array<unsigned char, std::size_t{3} * kWidth> planes;
    for (int y = 0; y < kHeight; ++y) {
        at = UnpackRow(at + 2, planes.data(), planes.size());
        for (std::size_t x = 0; x < kWidth; ++x, pixel += 4) {
            pixel[0] = 0xFF;
            pixel[1] = planes[x];
            pixel[2] = planes[x + kWidth];
            pixel[3] = planes[x + std::size_t{2} * kWidth];
        }
    }
    return true;
}

bool Library() {
    Ondrel::Picture picture;
    return picture.Read(FileBytes()) == Ondrel::noErr &&
           picture.Render({drawn.data(), kWidth, kHeight, std::size_t{kWidth} * 4}) ==
               Ondrel::noErr;
}

// Before they are timed.
bool AreRight() {
    for (bool (*const draw)() : {Floor, Library}) {
        std::fill(drawn.begin(), drawn.end(), static_cast<unsigned char>(0));
        if (!draw() || !IsDrawn()) return false;
    }
    return true;
}

bool IsRight(const std::vector<std::string>& words) {
    const auto output = OutputOf(words);
    return output && output->size() == rgb.size() &&
           std::memcmp(output->data(), rgb.data(), rgb.size()) == 0;
}

// The program's own name: "convert" may be something else's.
bool ImageMagick() {
    return IsRight({"convert-im6", "pict:" + path, "-depth", "8", "rgb:-"});
}

bool GraphicsMagick() {
    return IsRight({"gm", "convert", "pict:" + path, "-depth", "8", "rgb:-"});
}

bool Ffmpeg() {
    return IsRight({"ffmpeg", "-v", "error", "-f", "image2", "-c:v", "qdraw", "-i", path, "-f",
                    "rawvideo", "-pix_fmt", "rgb24", "-"});
}

int Main(int argc, char** argv) {
    argc = TakeProcessorTime(argc, argv);
    MakePixels();
    path = (std::filesystem::temp_directory_path() / "ondrel-bench.pict").string();
    std::ofstream(path, std::ios::binary) << MakePicture();
    if (!AreRight()) {
        std::fputs("drew another picture\n", stderr);
        return 1;
    }
    const std::string work = "G. decode 1000 x 750";
    RegisterTimed(work + "/floor", Floor);
    RegisterTimed(work + "/ondrel", Library);
    std::vector<std::string> skipped;
    const struct {
        const char* program;
        const char* name;
        bool (*draw)();
    } kPrograms[] = {{"convert-im6", "ImageMagick", ImageMagick},
                     {"gm", "GraphicsMagick", GraphicsMagick},
                     {"ffmpeg", "ffmpeg qdraw", Ffmpeg}};
    for (const auto& one : kPrograms) {
        if (IsInstalled(one.program))
            RegisterTimed(work + "/" + one.name, one.draw);
        else
            skipped.emplace_back(one.name);
    }
    const int result = RunAndPrint(
        argc, argv, {"floor", "ondrel", "ImageMagick", "GraphicsMagick", "ffmpeg qdraw"}, skipped);
    std::filesystem::remove(path);
    return result;
}

}  // namespace
}  // namespace Bench

int main(int argc, char** argv) {
    return Bench::Main(argc, argv);
}
