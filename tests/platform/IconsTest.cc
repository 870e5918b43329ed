// Icon families, taken apart.
#include "ondrel/platform/Icons.h"

#include <gtest/gtest.h>

#include "ondrel/platform/IconFamily.h"
#include "tests/support/Corpus.h"
#include "tests/support/Scratch.h"

namespace Ondrel {
namespace {

using Testing::Bytes;
using Testing::Hex;

// "is32 16x16 5" for each element, or the code.
std::string Listed(const std::string& family) {
    std::vector<IconElement> elements;
    const OSErr error = ListIconElements(family, &elements);
    std::string text;
    for (const IconElement& element : elements) {
        for (int shift = 24; shift >= 0; shift -= 8)
            text += static_cast<char>(element.type >> shift);
        if (element.width != 0)
            text += " " + std::to_string(element.width) + "x" + std::to_string(element.height);
        text += " " + std::to_string(element.size) + "; ";
    }
    return text + std::to_string(error);
}

struct Row {
    const char* reason;
    std::string bytes;
    std::string listed;
};

const Row kRows[] = {
    {"empty", "", "-199"},
    {"seven bytes", "69 63 6E 73 00 00 00", "-199"},
    {"another file", "50 49 43 54 00 00 00 08", "-199"},
    {"no element", "69 63 6E 73 00 00 00 08", "0"},
    {"a picture and its mask",
     "69 63 6E 73 00 00 00 1B  69 73 33 32 00 00 00 0A AA BB  73 38 6D 6B 00 00 00 09 FF",
     "is32 16x16 2; s8mk 1; 0"},
    {"bytes behind the family are none of it", "69 63 6E 73 00 00 00 08 FF FF", "0"},
    {"longer than the bytes", "69 63 6E 73 00 00 00 09", "-199"},
    {"shorter than its head", "69 63 6E 73 00 00 00 07 00", "-199"},
    {"an element cut in its head", "69 63 6E 73 00 00 00 0F 69 73 33 32 00 00 00", "-199"},
    {"an element longer than the family", "69 63 6E 73 00 00 00 10 69 73 33 32 00 00 00 09",
     "-199"},
    {"an element of length 0", "69 63 6E 73 00 00 00 10 69 73 33 32 00 00 00 00", "-199"},
    {"an element of length 2^32 - 1", "69 63 6E 73 00 00 00 10 69 73 33 32 FF FF FF FF", "-199"},
    {"what comes before damage is listed",
     "69 63 6E 73 00 00 00 18  69 63 30 38 00 00 00 08  69 73 33 32 00 00 00 09",
     "ic08 256x256 0; -199"},
    {"a kind that nobody knows", "69 63 6E 73 00 00 00 10 3F 3F 3F 3F 00 00 00 08", "???? 0; 0"},
    {"a kind that is not square", "69 63 6E 73 00 00 00 10 69 63 6D 38 00 00 00 08",
     "icm8 16x12 0; 0"},
    {"a PNG file of 2 by 3 pixels",
     "69 63 6E 73 00 00 00 28  69 63 70 36 00 00 00 20"
     "89 50 4E 47 0D 0A 1A 0A 00 00 00 0D 49 48 44 52 00 00 00 02 00 00 00 03",
     "icp6 2x3 24; 0"},
    {"a PNG file cut in its head",
     "69 63 6E 73 00 00 00 27  69 63 30 37 00 00 00 1F"
     "89 50 4E 47 0D 0A 1A 0A 00 00 00 0D 49 48 44 52 00 00 00 02 00 00 00",
     "ic07 128x128 23; 0"},
    {"a PNG file that claims 2^31 pixels",
     "69 63 6E 73 00 00 00 28  69 63 30 37 00 00 00 20"
     "89 50 4E 47 0D 0A 1A 0A 00 00 00 0D 49 48 44 52 80 00 00 00 00 00 00 03",
     "ic07 128x128 24; 0"},
};

TEST(Icons, TheElementsOfAFamilyAreListedWithTheirSizes) {
    for (const Row& row : kRows)
        EXPECT_EQ(Listed(Bytes(row.bytes)), row.listed) << row.reason;
}

TEST(Icons, AFamilyOfOursHasTheSizesThatItWasMadeFor) {
    std::vector<unsigned char> pixels(std::size_t{300} * 300 * 4, 0x80);
    std::string family;
    ASSERT_EQ(ComposeIconFamily({pixels.data(), 300, 300, 1200}, &family), noErr);
    std::vector<IconElement> elements;
    ASSERT_EQ(ListIconElements(family, &elements), noErr);
    std::vector<int> widths;
    for (const IconElement& element : elements)
        if (element.width != 0) widths.push_back(element.width);
    EXPECT_EQ(widths, (std::vector<int>{16, 32, 128, 256}));
}

TEST(Icons, FilesOfOthersAreListedToTheirEnd) {
    const auto files = Testing::CorpusFiles("icns/");
    if (files.empty()) GTEST_SKIP() << "there is no corpus beside the checkout";
    for (const auto& file : files) {
        std::vector<IconElement> elements;
        EXPECT_EQ(ListIconElements(Testing::ReadAll(file.path), &elements), noErr) << file.name;
        EXPECT_FALSE(elements.empty()) << file.name;
    }
}

}  // namespace
}  // namespace Ondrel
