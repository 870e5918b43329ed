// The texts of paths and names, without a look at the disk.
#include "ondrel/core/PosixPaths.h"

#include <gtest/gtest.h>

#include "tests/core/SpecHelpers.h"

namespace Ondrel::Core {
namespace {

using namespace std::string_literals;
using Testing::kComposed;
using Testing::kDecomposed;
using Testing::U;

TEST(PosixPaths, JoinParentAndLastComponentKnowTheRootFolder) {
    EXPECT_EQ(JoinPath("/", "a"), "/a");
    EXPECT_EQ(JoinPath("/a", "b"), "/a/b");
    EXPECT_EQ(ParentOf("/a/b"), "/a");
    EXPECT_EQ(ParentOf("/a"), "/");
    EXPECT_EQ(ParentOf("/"), "/");
    EXPECT_EQ(LastComponent("/a/b"), "b");
    EXPECT_EQ(LastComponent("/"), "");
}

TEST(PosixPaths, AMacNameBecomesAPosixNameWithColonsForSlashes) {
    const struct {
        std::string mac;
        std::string posix;  // empty: cannot be a name
    } kRows[] = {
        {"a.txt", "a.txt"}, {"a/b", "a:b"}, {"/", ":"}, {"...", "..."}, {kDecomposed, kDecomposed},
        {"", ""},           {".", ""},      {"..", ""}, {"a:b", ""},    {"a\0b"s, ""},
        {"a\xFF", ""},
    };
    for (const auto& row : kRows) {
        std::string posix;
        EXPECT_EQ(MacNameToPosix(row.mac, &posix), !row.posix.empty()) << row.mac;
        EXPECT_EQ(posix, row.posix) << row.mac;
        if (!row.posix.empty()) {
            EXPECT_EQ(PosixNameToMac(posix), row.mac);
        }
    }
}

TEST(PosixPaths, Utf8IsCheckedToTheEndOfALongText) {
    const std::string longName(400, 'a');
    EXPECT_TRUE(IsUtf8(longName + kComposed));
    EXPECT_FALSE(IsUtf8(longName + "\xC3"));
    EXPECT_FALSE(IsUtf8("\xC0\xAF"));      // an overlong '/'
    EXPECT_FALSE(IsUtf8("\xED\xA0\x80"));  // half a surrogate pair
    EXPECT_TRUE(IsUtf8(""));
}

TEST(PosixPaths, OnlyTextsThatSurviveBecomeUtf8) {
    std::string text = "before";
    EXPECT_TRUE(ToUtf8Exactly(U("a\xF0\x9F\x98\x80"), &text));
    EXPECT_EQ(text, "a\xF0\x9F\x98\x80");
    const Uni16String kBroken[] = {{0xD83D},           {0xDE00},      {0xDE00, 0xD83D},
                                   {'a', 0xD83D, 'b'}, {'a', 0, 'b'}, {'a', 0}};
    for (const Uni16String& broken : kBroken)
        EXPECT_FALSE(ToUtf8Exactly(broken, &text));
    EXPECT_EQ(text, "a\xF0\x9F\x98\x80");
}

TEST(PosixPaths, PreComposedAlsoMakesRoomForFormsThatGrow) {
    EXPECT_EQ(PreComposed("plain"), "plain");
    EXPECT_EQ(PreComposed(kDecomposed), kComposed);
    EXPECT_EQ(PreComposed(kComposed), kComposed);
    // U+0958 is written as two characters in every normal form.
    EXPECT_EQ(PreComposed("\xE0\xA5\x98"), "\xE0\xA4\x95\xE0\xA4\xBC");
}

}  // namespace
}  // namespace Ondrel::Core
