// A picture of 1000 by 750 pixels of 32 bits, packed in rows of planes, from its file to pixels in
// memory: drawn in this process, and by programs that know such pictures, whose times hold their
// start. The picture is half smooth and half noise. Every contender's pixels have to be the right
// ones. The floor is to copy as many pixels as there are.
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
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

bool Floor() {
    static std::vector<unsigned char> copy(kPixels * 4);
    static const std::vector<unsigned char> pixels(kPixels * 4, 7);
    std::memcpy(copy.data(), pixels.data(), pixels.size());
    return copy[kPixels] == 7;
}

bool Library() {
    std::ifstream file(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    Ondrel::Picture picture;
    std::vector<unsigned char> pixels(kPixels * 4);
    if (picture.Read(bytes) != Ondrel::noErr) return false;
    if (picture.Render({pixels.data(), kWidth, kHeight, std::size_t{kWidth} * 4}) != Ondrel::noErr)
        return false;
    for (std::size_t i = 0; i < kPixels; ++i)
        if (std::memcmp(&pixels[4 * i + 1], &rgb[3 * i], 3) != 0) return false;
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
