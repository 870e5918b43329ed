// Pictures of the corpus with damage: cut at every byte, with random bytes written over them. What
// was drawn is opaque, and the rest was left alone.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "ondrel/platform/Pictures.h"
#include "ondrel/platform/quickdraw/PictureHead.h"
#include "ondrel/platform/quickdraw/Player.h"
#include "tests/support/Corpus.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {
namespace {

constexpr std::size_t kMostPixels = std::size_t{1} << 17;
constexpr std::uint64_t kWork = 3'000'000;  // more than any of these pictures takes

// Draws what can be drawn of a picture at the size of its frame. The number of pixels that were
// drawn; -1 where it is refused. Every pixel is opaque afterwards or was not touched.
int DrawWhatThereIs(std::string_view bytes) {
    using namespace QuickDraw;
    const std::size_t start = FindPicture(bytes);
    PictureHead head;
    if (start == std::string_view::npos || !ReadPictureHead(bytes.substr(start), &head)) return -1;
    Canvas canvas(std::min(head.frame.Width(), 1000), std::min(head.frame.Height(), 1000), kWork);
    PlayPicture(bytes.substr(start), head, canvas);
    int drawn = 0;
    for (int y = 0; y < canvas.Height(); ++y) {
        for (int x = 0; x < canvas.Width(); ++x) {
            const Pixel pixel = canvas.Row(y)[x];
            if (pixel == 0) continue;
            EXPECT_GE(pixel, kOpaque);
            ++drawn;
        }
    }
    return drawn;
}

bool IsSmall(const std::string& bytes, std::size_t mostBytes) {
    Picture picture;
    if (bytes.size() > mostBytes || picture.Read(bytes) != noErr) return false;
    return static_cast<std::size_t>(picture.Width()) * static_cast<std::size_t>(picture.Height()) <=
           kMostPixels;
}

// One of each kind, small enough to be drawn many times.
std::vector<CorpusFile> OneOfEachKind(std::size_t mostBytes) {
    std::vector<CorpusFile> chosen;
    for (const CorpusFile& file : CorpusFiles("pict/")) {
        const bool isOther =
            std::none_of(chosen.begin(), chosen.end(),
                         [&](const CorpusFile& other) { return other.kind == file.kind; });
        if (isOther && IsSmall(ReadAll(file.path), mostBytes)) chosen.push_back(file);
    }
    return chosen;
}

// Draws the picture cut to every `step`-th length; no cut one has more in it than the whole.
void CutEverywhere(const CorpusFile& file, std::size_t step) {
    const std::string bytes = ReadAll(file.path);
    const int whole = DrawWhatThereIs(bytes);
    for (std::size_t length = 0; length < bytes.size(); length += step) {
        const int touched = DrawWhatThereIs(std::string_view(bytes).substr(0, length));
        ASSERT_LE(touched, whole) << file.name << ' ' << length;
    }
}

TEST(DamagedPictures, CutAtEveryByteAreDrawnAsFarAsTheyGo) {
    const auto files = OneOfEachKind(1400);
    if (files.empty()) GTEST_SKIP() << "the corpus is not there";
    for (const CorpusFile& file : files)
        CutEverywhere(file, 1);
}

TEST(DamagedPictures, LargerOnesCutHereAndThereAreDrawnAsFarAsTheyGo) {
    const auto files = OneOfEachKind(30000);
    if (files.empty()) GTEST_SKIP() << "the corpus is not there";
    for (const CorpusFile& file : files)
        CutEverywhere(file, 211);
}

TEST(DamagedPictures, RandomBytesInThemDoNoHarm) {
    const auto files = OneOfEachKind(4000);
    if (files.empty()) GTEST_SKIP() << "the corpus is not there";
    std::mt19937 random(7);
    for (const CorpusFile& file : files) {
        const std::string bytes = ReadAll(file.path);
        for (int round = 0; round < 60; ++round) {
            std::string damaged = bytes;
            for (int i = 0; i < 1 + round / 4; ++i)
                damaged[random() % damaged.size()] = static_cast<char>(random());
            (void)DrawWhatThereIs(damaged);
        }
    }
}

}  // namespace
}  // namespace Ondrel::Testing
