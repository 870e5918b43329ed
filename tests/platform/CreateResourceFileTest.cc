// Making the resource fork of a file that has none, and the file where there is none.
#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include "tests/platform/ResourceHelpers.h"
#include "tests/support/FaultPlan.h"

namespace Ondrel {
namespace {

using Testing::Exists;
using Testing::Hex;
using Testing::OpenResourceFork;
using Testing::ReadAll;
using Testing::Scratch;
using Testing::SidecarWith;

OSErr Create(const std::string& folder, const std::u16string& name, FSRef* made = nullptr) {
    FSRef ref;
    if (const OSErr code = FSPathMakeRef(folder.c_str(), &ref); code != noErr) return code;
    const std::vector<UniChar> units(name.begin(), name.end());
    const HFSUniStr255 fork = Testing::ResourceForkName();
    return FSCreateResourceFile(&ref, units.size(), units.data(), kFSCatInfoNone, nullptr,
                                fork.length, fork.unicode, made, nullptr);
}

TEST(CreateResourceFile, AFileWithoutForkGetsTheEmptyOne) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "data");
    FSRef made;
    ASSERT_EQ(Create(scratch.Path(), u"a", &made), noErr);
    EXPECT_EQ(ReadAll(path), "data");
    EXPECT_EQ(Hex(ReadAll(scratch.Path("._a"))), Hex(SidecarWith("", Testing::EmptyForkBytes())));
    std::string where;
    EXPECT_EQ(FSRefMakePath(&made, &where), noErr);
    EXPECT_EQ(where, path);
}

TEST(CreateResourceFile, AMissingFileIsMade) {
    const Scratch scratch;
    ASSERT_EQ(Create(scratch.Path(), u"a"), noErr);
    EXPECT_EQ(ReadAll(scratch.Path("a")), "");
    EXPECT_EQ(Hex(ReadAll(scratch.Path("._a"))), Hex(SidecarWith("", Testing::EmptyForkBytes())));
}

TEST(CreateResourceFile, AFileWithAForkIsRefusedWithMinus48) {
    const Scratch scratch;
    scratch.Write("a", "");
    for (const std::string& fork : {Testing::EmptyForkBytes(), std::string("no fork at all")}) {
        const std::string before = SidecarWith("", fork);
        scratch.Write("._a", before);
        EXPECT_EQ(Create(scratch.Path(), u"a"), -48);
        EXPECT_EQ(ReadAll(scratch.Path("._a")), before);
    }
}

TEST(CreateResourceFile, CodesStayBesideTheNewFork) {
    const Scratch scratch;
    scratch.Write("a", "");
    scratch.Write("._a", SidecarWith("TEXTttxt", ""));
    ASSERT_EQ(Create(scratch.Path(), u"a"), noErr);
    EXPECT_EQ(Hex(ReadAll(scratch.Path("._a"))),
              Hex(SidecarWith("TEXTttxt", Testing::EmptyForkBytes())));
}

TEST(CreateResourceFile, NamesAreAMacs) {
    const Scratch scratch;
    ASSERT_EQ(Create(scratch.Path(), u"1/2"), noErr);
    EXPECT_TRUE(Exists(scratch.Path("1:2")));
    const std::u16string tooLong(256, u'x');
    for (const std::u16string& name :
         {std::u16string(), std::u16string(u"a:b"), std::u16string(u"."), std::u16string(u".."),
          std::u16string(1, u'\0'), std::u16string(1, 0xD800), tooLong,
          std::u16string(200, u'\u3042')})
        EXPECT_EQ(Create(scratch.Path(), name), -37) << name.size();
    EXPECT_TRUE(Exists(scratch.Path("._1:2")));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(scratch.Path()), {}), 2);
}

TEST(CreateResourceFile, AFileIsFoundUnderAnEquivalentName) {
    const Scratch scratch;
    const std::string decomposed = "cafe\xCC\x81";
    scratch.Write(decomposed, "data");
    ASSERT_EQ(Create(scratch.Path(), u"caf\u00E9"), noErr);
    EXPECT_TRUE(Exists(scratch.Path("._" + decomposed)));
    EXPECT_FALSE(Exists(scratch.Path("caf\xC3\xA9")));
    ASSERT_EQ(Create(scratch.Path(), u"u\u0308ber"), noErr);
    EXPECT_TRUE(
        Exists(scratch.Path("\xC3\xBC"
                            "ber")));
    scratch.Write("\xE2\x84\xAA", "kelvin");
    ASSERT_EQ(Create(scratch.Path(), u"K"), noErr);
    EXPECT_FALSE(Exists(scratch.Path("K")));
}

TEST(CreateResourceFile, WhatIsNoFileIsRefused) {
    const Scratch scratch;
    scratch.MakeFolder("folder");
    EXPECT_EQ(Create(scratch.Path(), u"folder"), -48);
    EXPECT_EQ(Create(scratch.Write("file", ""), u"a"), -120);
    std::filesystem::create_symlink("nothing", scratch.Path("link"));
    EXPECT_EQ(Create(scratch.Path(), u"link"), -43);
    EXPECT_FALSE(Exists(scratch.Path("nothing")));
    std::filesystem::create_symlink("file", scratch.Path("good"));
    EXPECT_EQ(Create(scratch.Path(), u"good"), noErr);
    EXPECT_TRUE(Exists(scratch.Path("._file")));
}

TEST(CreateResourceFile, AForkThatIsWrittenIsRefusedWithMinus49) {
    const Scratch scratch;
    short number = 0;
    ASSERT_EQ(OpenResourceFork(scratch.Write("a", ""), fsRdWrPerm, &number), noErr);
    EXPECT_EQ(Create(scratch.Path(), u"a"), -49);
    EXPECT_EQ(FSCloseFork(number), noErr);
}

TEST(CreateResourceFile, OtherArgumentsAreRefusedWithMinus50) {
    const Scratch scratch;
    FSRef ref;
    ASSERT_EQ(FSPathMakeRef(scratch.Path().c_str(), &ref), noErr);
    const UniChar name[] = {'a'};
    const HFSUniStr255 fork = Testing::ResourceForkName();
    int other = 0;
    EXPECT_EQ(FSCreateResourceFile(nullptr, 1, name, 0, nullptr, fork.length, fork.unicode, nullptr,
                                   nullptr),
              -50);
    EXPECT_EQ(FSCreateResourceFile(&ref, 1, name, 1, nullptr, fork.length, fork.unicode, nullptr,
                                   nullptr),
              -50);
    EXPECT_EQ(
        FSCreateResourceFile(&ref, 1, name, 0, &other, fork.length, fork.unicode, nullptr, nullptr),
        -50);
    EXPECT_EQ(FSCreateResourceFile(&ref, 1, name, 0, nullptr, 0, nullptr, nullptr, nullptr), -50);
    EXPECT_EQ(
        FSCreateResourceFile(&ref, 1, name, 0, nullptr, fork.length, fork.unicode, nullptr, &other),
        -50);
    EXPECT_FALSE(Exists(scratch.Path("a")));
}

TEST(CreateResourceFile, AfterAnyFailedCallThereIsNoNewFileAndNoHalfFork) {
    for (const bool isThere : {false, true}) {
        for (int n = 1;; ++n) {
            const Scratch scratch;
            if (isThere) scratch.Write("a", "data");
            const int descriptors = Testing::OpenDescriptors();
            OSErr code = noErr;
            bool fired = false;
            std::string where;
            {
                const Testing::FaultPlan plan(n, ENOSPC);
                code = Create(scratch.Path(), u"a");
                fired = plan.Fired();
                where = plan.Where();
            }
            EXPECT_EQ(Testing::OpenDescriptors(), descriptors) << where;
            const bool isMade = Exists(scratch.Path("._a"));
            if (code == noErr) {
                EXPECT_TRUE(isMade) << where;
            } else {
                EXPECT_EQ(code, -34) << where;
                EXPECT_EQ(Exists(scratch.Path("a")), isThere) << where << n;
            }
            if (isMade) {
                EXPECT_EQ(ReadAll(scratch.Path("._a")), SidecarWith("", Testing::EmptyForkBytes()));
            }
            if (!fired) break;
        }
    }
}

}  // namespace
}  // namespace Ondrel
