// Pictures of the corpus with damage: cut at every byte, with random bytes written over them. What
// is drawn stays whole or untouched, and the time is bounded.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "ondrel/platform/Pictures.h"
#include "tests/support/Corpus.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {
namespace {

constexpr std::size_t kPixelBytes = 4;
constexpr unsigned char kUntouched[kPixelBytes] = {0, 9, 8, 7};

// Draws what can be drawn of a picture at the size of its frame. The number of pixels that were
// touched; -1 where it is refused. Every pixel is opaque afterwards or as it was.
int DrawWhatThereIs(std::string_view bytes) {
    Picture picture;
    if (picture.Read(bytes) != noErr) return -1;
    const std::size_t count =
        static_cast<std::size_t>(picture.Width()) * static_cast<std::size_t>(picture.Height());
    if (count > (std::size_t{1} << 22)) return 0;
    std::vector<unsigned char> pixels;
    pixels.reserve(count * kPixelBytes);
    for (std::size_t i = 0; i < count; ++i)
        pixels.insert(pixels.end(), std::begin(kUntouched), std::end(kUntouched));
    const auto rowBytes = static_cast<std::size_t>(picture.Width()) * kPixelBytes;
    EXPECT_EQ(picture.Render({pixels.data(), picture.Width(), picture.Height(), rowBytes}), noErr);
    int touched = 0;
    for (std::size_t i = 0; i < pixels.size(); i += kPixelBytes) {
        const bool isUntouched = std::equal(std::begin(kUntouched), std::end(kUntouched),
                                            pixels.begin() + static_cast<std::ptrdiff_t>(i));
        if (!isUntouched) {
            EXPECT_EQ(pixels[i], 255);
            ++touched;
        }
    }
    return touched;
}

// One of each kind, small enough to be drawn many times.
std::vector<CorpusFile> OneOfEachKind(std::size_t mostBytes) {
    std::vector<CorpusFile> chosen;
    for (const CorpusFile& file : CorpusFiles("pict/")) {
        const bool isOther =
            std::none_of(chosen.begin(), chosen.end(),
                         [&](const CorpusFile& other) { return other.kind == file.kind; });
        if (isOther && ReadAll(file.path).size() <= mostBytes) chosen.push_back(file);
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

TEST(DamagedPictures, RandomBytesInThemAreDrawnInBoundedTime) {
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
