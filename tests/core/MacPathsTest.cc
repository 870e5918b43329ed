// Colon paths and POSIX paths, over volumes that the tests mount.
#include "ondrel/core/MacPaths.h"

#include <gtest/gtest.h>

#include <random>

#include "ondrel/core/Separators.h"
#include "ondrel/core/Volumes.h"

namespace Ondrel {
namespace {

std::string ToPosix(const std::string& path) {
    return Uni16StringToUTF8(MacPaths::HFSToPOSIX(UTF8ToUni16String(path)));
}

std::string ToColon(const std::string& path) {
    return Uni16StringToUTF8(MacPaths::POSIXToHFS(UTF8ToUni16String(path)));
}

class MacPathsTest : public testing::Test {
 protected:
    void SetUp() override {
        EXPECT_TRUE(MountVolume("Disk", "/srv/mac"));
        EXPECT_TRUE(MountVolume("Caf\xC3\xA9", "/srv/caf\xC3\xA9"));
        EXPECT_TRUE(MountVolume("a/b", "/srv/slash"));
    }
    void TearDown() override {
        EXPECT_TRUE(UnmountVolume("Disk"));
        EXPECT_TRUE(UnmountVolume("Caf\xC3\xA9"));
        EXPECT_TRUE(UnmountVolume("a/b"));
    }
};

struct Pair {
    std::string colon;
    std::string posix;
};

TEST_F(MacPathsTest, PathsGoThereAndBack) {
    const Pair kPairs[] = {
        {"Root:", "/"},
        {"Root:etc", "/etc"},
        {"Root:etc:hosts", "/etc/hosts"},
        {"Root:a/b", "/a:b"},
        {"Root:a/b/:c/d", "/a:b:/c:d"},
        {"Disk:", "/srv/mac"},
        {"Disk:Docs:a.txt", "/srv/mac/Docs/a.txt"},
        {"Disk:a\\b", "/srv/mac/a\\b"},
        {"Caf\xC3\xA9:\xE6\x97\xA5\xE6\x9C\xAC", "/srv/caf\xC3\xA9/\xE6\x97\xA5\xE6\x9C\xAC"},
        {"a/b:c", "/srv/slash/c"},
        {"Disk:\xF0\x9F\x98\x80", "/srv/mac/\xF0\x9F\x98\x80"},
        {"No such disk:", "/Volumes/No such disk"},
        {"No such disk:a:b", "/Volumes/No such disk/a/b"},
        {"No/such:a", "/Volumes/No:such/a"},
    };
    for (const auto& [colon, posix] : kPairs) {
        EXPECT_EQ(ToPosix(colon), posix);
        EXPECT_EQ(ToColon(posix), colon);
    }
}

TEST_F(MacPathsTest, AColonAtTheEndLeavesNoSlash) {
    EXPECT_EQ(ToPosix("Disk:Docs:"), "/srv/mac/Docs");
    EXPECT_EQ(ToPosix("Root:etc:"), "/etc");
    EXPECT_EQ(ToPosix("No such disk:a:"), "/Volumes/No such disk/a");
}

TEST_F(MacPathsTest, FurtherColonsAreParentStepsAndEndAtTheVolumesRoot) {
    const Pair kPairs[] = {
        {"Disk:a::b", "/srv/mac/b"},
        {"Disk:a::", "/srv/mac"},
        {"Disk:a:b:::c", "/srv/mac/c"},
        {"Disk::", "/srv/mac"},
        {"Disk:::::", "/srv/mac"},
        {"Disk::a", "/srv/mac/a"},
        {"Disk:a:b::::::c", "/srv/mac/c"},
        {"Root::a", "/a"},
        {"Root:::", "/"},
        {"Disk:a:b::c::d:", "/srv/mac/a/d"},
        {"Gone:a::b", "/Volumes/Gone/b"},
        {"Gone::", "/Volumes/Gone"},
    };
    for (const auto& [colon, posix] : kPairs)
        EXPECT_EQ(ToPosix(colon), posix) << colon;
}

TEST_F(MacPathsTest, ARelativePathStaysRelative) {
    const Pair kPairs[] = {
        {":a", "a"},    {":a:b", "a/b"},    {":a:b:", "a/b"}, {":a/b", "a:b"},
        {"a", "a"},     {"a/b", "a:b"},     {"::a", "../a"},  {":::a:b", "../../a/b"},
        {":a::b", "b"}, {":a:::b", "../b"}, {":", "."},       {"::", ".."},
        {":a::", "."},  {"Disk", "Disk"},
    };
    for (const auto& [colon, posix] : kPairs)
        EXPECT_EQ(ToPosix(colon), posix) << colon;
}

TEST_F(MacPathsTest, AnEmptyPathStaysEmpty) {
    EXPECT_EQ(ToPosix(""), "");
    EXPECT_EQ(ToColon(""), "");
}

TEST_F(MacPathsTest, APosixPathThatIsNotFullGivesNothing) {
    EXPECT_EQ(ToColon("a"), "");
    EXPECT_EQ(ToColon("a/b"), "");
    EXPECT_EQ(ToColon("./a"), "");
    const unsigned short kLoneSurrogate[] = {'/', 0xD800, 'a', 0};
    EXPECT_TRUE(MacPaths::POSIXToHFS(Uni16String(kLoneSurrogate)).empty());
}

TEST_F(MacPathsTest, SuperfluousSlashesOfAPosixPathDoNotCount) {
    EXPECT_EQ(ToColon("//"), "Root:");
    EXPECT_EQ(ToColon("/etc/"), "Root:etc");
    EXPECT_EQ(ToColon("//srv///mac//a/"), "Disk:a");
    EXPECT_EQ(ToColon("/srv/./mac/./a/."), "Disk:a");
    EXPECT_EQ(ToColon("/srv/mac/"), "Disk:");
}

TEST_F(MacPathsTest, AVolumesNameIsFoundComposedAndDecomposed) {
    EXPECT_EQ(ToPosix("Cafe\xCC\x81:a"), "/srv/caf\xC3\xA9/a");
    EXPECT_EQ(ToPosix("cafe:a"), "/Volumes/cafe/a");
}

TEST_F(MacPathsTest, AVolumeThatIsMountedLaterIsUsedAtOnce) {
    EXPECT_EQ(ToPosix("Late:a"), "/Volumes/Late/a");
    EXPECT_TRUE(MountVolume("Late", "/srv/late"));
    EXPECT_EQ(ToPosix("Late:a"), "/srv/late/a");
    EXPECT_EQ(ToColon("/Volumes/Late/a"), "Root:Volumes:Late:a") << "Late is elsewhere now";
    EXPECT_TRUE(UnmountVolume("Late"));
    EXPECT_EQ(ToPosix("Late:a"), "/Volumes/Late/a");
}

TEST_F(MacPathsTest, NamesAreNotChangedOnTheWay) {
    const Uni16String decomposed = UTF8ToUni16String("Disk:Cafe\xCC\x81");
    EXPECT_EQ(Uni16StringToUTF8(MacPaths::HFSToPOSIX(decomposed)), "/srv/mac/Cafe\xCC\x81");
    const unsigned short kLoneSurrogate[] = {'D', 'i', 's', 'k', ':', 0xD800, 0};
    EXPECT_EQ(MacPaths::HFSToPOSIX(Uni16String(kLoneSurrogate)).back(), 0xD800);
    const unsigned short kLoneInVolume[] = {0xDC00, ':', 'a', 0};
    EXPECT_EQ(Uni16StringToUTF8(MacPaths::HFSToPOSIX(Uni16String(kLoneInVolume))),
              "/Volumes/\xEF\xBF\xBD/a");
}

TEST_F(MacPathsTest, PathsMayBeLong) {
    for (const std::size_t length : {500U, 1000U, 1013U, 1014U, 1015U, 1016U, 1024U, 5000U}) {
        const std::string name(length, 'n');
        EXPECT_EQ(ToPosix("Disk:" + name + ":"), "/srv/mac/" + name);
        EXPECT_EQ(ToPosix(name + ":a/b"), "/Volumes/" + name + "/a:b");
        EXPECT_EQ(ToColon("/srv/mac/" + name + "/a:b"), "Disk:" + name + ":a/b");
    }
}

TEST(Separators, AreExchangedTheSameInRegistersAndWithout) {
    std::mt19937 random(3);
    for (int i = 0; i < 50000; ++i) {
        std::vector<unsigned short> from(random() % 40);
        for (unsigned short& unit : from)
            unit = static_cast<unsigned short>(":/ax"[random() % 4] + 256 * (random() % 8 == 0));
        std::vector<unsigned short> to(from.size());
        std::vector<unsigned short> toPlain(from.size());
        bool wasColon = random() % 2 == 0;
        bool wasColonPlain = wasColon;
        ASSERT_EQ(
            Core::CopyExchanged(from.data(), from.size(), to.data(), &wasColon),
            Core::CopyExchangedPlain(from.data(), from.size(), toPlain.data(), &wasColonPlain));
        ASSERT_EQ(to, toPlain);
        ASSERT_EQ(wasColon, wasColonPlain);
    }
}

// The rules once more, a component at a time, without regard to speed.
std::string SlowToPosix(const std::string& path) {
    const std::size_t colon = path.find(':');
    const bool isRelative = colon == 0 || colon == std::string::npos;
    std::string rest = colon == std::string::npos ? path : path.substr(colon + 1);
    std::vector<std::string> names;
    if (!isRelative)
        names = path.substr(0, colon) == "D"
                    ? std::vector<std::string>{"", "d"}
                    : std::vector<std::string>{"", "Volumes", path.substr(0, colon)};
    const std::size_t floor = names.size();
    while (!rest.empty()) {
        const std::size_t end = rest.find(':');
        std::string name = rest.substr(0, end);
        rest = end == std::string::npos ? "" : rest.substr(end + 1);
        if (!name.empty())
            names.push_back(name);
        else if (names.size() > floor && names.back() != "..")
            names.pop_back();
        else if (isRelative)
            names.push_back("..");
    }
    std::string posix;
    for (std::size_t i = 0; i < names.size(); ++i)
        posix += (i == 0 ? "" : "/") + names[i];
    if (posix.empty()) return path.empty() ? "" : ".";
    return posix;
}

TEST_F(MacPathsTest, RandomPathsFollowTheRulesOfTheSlowTwin) {
    EXPECT_TRUE(MountVolume("D", "/d"));
    std::mt19937 random(20240611);
    for (int i = 0; i < 20000; ++i) {
        std::string path;
        for (auto units = random() % 12; units > 0; --units)
            path += "D:a:b:"[random() % 6];
        EXPECT_EQ(ToPosix(path), SlowToPosix(path)) << path;
    }
    EXPECT_TRUE(UnmountVolume("D"));
}

}  // namespace
}  // namespace Ondrel
