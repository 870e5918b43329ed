// Choosing, drawing and reading the demo's files.
#include "examples/demofiles.h"

#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <initializer_list>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "ondrel/core/FileSpec.h"
#include "ondrel/core/Unicode.h"
#include "ondrel/fil/fil.h"

using namespace Ondrel;

namespace Example {
namespace {

namespace fs = std::filesystem;

constexpr int kMostFilesLookedAt = 20000;
constexpr std::uintmax_t kMostBytes = 4 << 20;

const std::initializer_list<std::string_view> kPictures = {".png", ".jpg", ".jpeg", ".gif",
                                                           ".ppm", ".tif", ".svg"};
const std::initializer_list<std::string_view> kTexts = {".txt", ".md", ".html", ".csv"};

bool IsOneOf(const fs::path& path, std::initializer_list<std::string_view> extensions) {
    return std::find(extensions.begin(), extensions.end(), path.extension().string()) !=
           extensions.end();
}

bool Fits(const fs::directory_entry& entry) {
    std::error_code error;
    if (!IsOneOf(entry.path(), kPictures) && !IsOneOf(entry.path(), kTexts)) return false;
    if (!entry.is_regular_file(error) || entry.path().filename().string().starts_with("."))
        return false;
    const std::uintmax_t size = entry.file_size(error);
    return !error && size > 0 && size <= kMostBytes &&
           std::ifstream(entry.path(), std::ios::binary).good();
}

// Hidden folders and build trees hold nobody's documents.
bool IsWorthEntering(const fs::directory_entry& entry) {
    const std::string name = entry.path().filename().string();
    return !name.starts_with(".") && name != "build";
}

// The first in the order of the alphabet, so that two runs take the same.
void KeepFirst(const fs::path& path, fs::path* first) {
    if (first->empty() || path < *first) *first = path;
}

SourceFiles ChooseFiles(const fs::path& folder) {
    SourceFiles chosen;
    int left = kMostFilesLookedAt;
    std::error_code error;
    auto entry = fs::recursive_directory_iterator(
        folder, fs::directory_options::skip_permission_denied, error);
    for (; entry != fs::recursive_directory_iterator() && left > 0;
         entry.increment(error), --left) {
        if (entry->is_directory(error) && !IsWorthEntering(*entry))
            entry.disable_recursion_pending();
        if (!Fits(*entry)) continue;
        if (IsOneOf(entry->path(), kPictures)) KeepFirst(entry->path(), &chosen.picture);
        if (IsOneOf(entry->path(), kTexts)) KeepFirst(entry->path(), &chosen.text);
    }
    return chosen;
}

// A sunset in the plainest of picture formats.
void DrawPicture(const fs::path& path) {
    constexpr int kWidth = 96;
    constexpr int kHeight = 64;
    std::ofstream out(path, std::ios::binary);
    out << "P6\n" << kWidth << " " << kHeight << "\n255\n";
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const int dx = x - kWidth / 2;
            const int dy = y - kHeight / 2;
            const bool isSun = dx * dx + dy * dy < 256;
            const char pixel[3] = {static_cast<char>(isSun ? 255 : 80 + 2 * y),
                                   static_cast<char>(isSun ? 220 : 40 + y),
                                   static_cast<char>(isSun ? 90 : 120 - y)};
            out.write(pixel, sizeof pixel);
        }
    }
}

}  // namespace

ScratchFolder::ScratchFolder(bool keep) : keep_(keep) {
    std::string pattern = (fs::temp_directory_path() / "ondrel-demo-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("No scratch folder could be made at " + pattern);
    path_ = fs::canonical(pattern);
}

ScratchFolder::~ScratchFolder() {
    if (keep_) {
        std::printf("Kept: %s\n", path_.c_str());
        return;
    }
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

SourceFiles GatherFiles(const fs::path& folder, const fs::path& home) {
    fs::create_directories(home / "Pictures");
    fs::create_directories(home / "Texts");
    SourceFiles chosen = ChooseFiles(folder);
    if (chosen.text.empty())
        throw std::runtime_error(folder.string() + " holds no text file that can be read");
    chosen.pictureIsDrawn = chosen.picture.empty();
    SourceFiles copies = chosen;
    copies.text = home / "Texts" / chosen.text.filename();
    fs::copy_file(chosen.text, copies.text);
    if (chosen.pictureIsDrawn) {
        copies.picture = home / "Pictures" / "sunset.ppm";
        DrawPicture(copies.picture);
    } else {
        copies.picture = home / "Pictures" / chosen.picture.filename();
        fs::copy_file(chosen.picture, copies.picture);
    }
    return copies;
}

filref ReferenceTo(const fs::path& path) {
    filref reference;
    reference.convertFromFileSpec(FileSpec(UTF8ToUni16String(path.string())));
    return reference;
}

fs::path PathOf(const filref& reference) {
    FileSpec spec;
    std::string path;
    if (reference.convertToFileSpec(spec) == 0) spec.GetFullPath(path);
    return path;
}

bool ReadFile(const filref& reference, std::string* bytes, int most) {
    fil f;
    if (filope(&f, nullptr, reference) != 0) return false;
    bytes->resize(static_cast<std::size_t>(std::clamp(filgeteof(&f), 0, most)));
    return filrea(&f, reinterpret_cast<unsigned char*>(bytes->data()),
                  static_cast<int>(bytes->size())) == 0;
}

}  // namespace Example
