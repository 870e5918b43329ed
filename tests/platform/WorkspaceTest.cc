// Icons of files: stored beside what is there, in one step.
#include "ondrel/platform/Workspace.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "ondrel/platform/IconFamily.h"
#include "ondrel/platform/ResourceMap.h"
#include "ondrel/platform/Sidecar.h"
#include "tests/platform/ResourceHelpers.h"
#include "tests/support/Corpus.h"
#include "tests/support/FaultPlan.h"

namespace Ondrel {
namespace {

using Testing::Bytes;
using Testing::Exists;
using Testing::Hex;
using Testing::ReadAll;
using Testing::Scratch;
using Testing::SidecarWith;
using Testing::SmallFork;

constexpr FourCC kIcns = MakeFourCC("icns");
constexpr std::int16_t kCustomIcon = -16455;

const std::string kPixels = [] {
    std::string pixels;
    for (int i = 0; i < 16 * 16; ++i)
        pixels += Bytes("FF 20 40 60");
    return pixels;
}();

Image Picture() {
    return {reinterpret_cast<const unsigned char*>(kPixels.data()), 16, 16, 64, AlphaInfo::kFirst};
}

// The whole family of that picture.
std::string Icon() {
    return "icns" + Bytes("00 00 01 24") + "is32" + Bytes("00 00 00 14") +
           Bytes("FF 20 FB 20 FF 40 FB 40 FF 60 FB 60") + "s8mk" + Bytes("00 00 01 08") +
           std::string(256, '\xFF');
}

// A fork with that icon and nothing else.
std::string IconFork() {
    const std::string header = Bytes("00 00 01 00 00 00 02 28 00 00 01 28 00 00 00 32");
    return header + std::string(240, '\0') + Bytes("00 00 01 24") + Icon() + header +
           Bytes(
               "00 00 00 00 00 00 00 00 00 1C 00 32"
               "00 00 69 63 6E 73 00 00 00 0A"
               "BF B9 FF FF 00 00 00 00 00 00 00 00");
}

TEST(Workspace, AFileGetsItsIconByteForByte) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "data");
    ASSERT_EQ(SetIconForFile(path.c_str(), Picture()), noErr);
    EXPECT_EQ(Hex(ReadAll(scratch.Path("._a"))),
              Hex(SidecarWith(std::string("\0\0\0\0\0\0\0\0\4\0", 10), IconFork())));
    EXPECT_EQ(ReadAll(path), "data");
}

TEST(Workspace, CodesFlagsAndOtherResourcesStay) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    scratch.Write("._a", SidecarWith("TEXTttxt\x80\x0E"
                                     "12345678901234567890",
                                     SmallFork()));
    ASSERT_EQ(SetIconForFile(path.c_str(), Picture()), noErr);
    AppleDouble sidecar;
    ASSERT_EQ(Host::ReadSidecar(path.c_str(), &sidecar), noErr);
    const FinderInfo info = sidecar.GetFinderInfo();
    EXPECT_EQ(std::string(info.bytes.begin(), info.bytes.end()),
              std::string("TEXTttxt\x84\x0E"
                          "12345678901234567890\0\0",
                          32));
    ResourceMap map;
    const std::string fork(sidecar.GetResourceFork());
    ASSERT_EQ(map.Read(fork), noErr);
    ASSERT_EQ(map.Resources().size(), 4U);
    EXPECT_EQ(map.Attributes(), 0x0180);
    EXPECT_EQ(map.Resources()[0].name, "One");
    std::string_view data;
    EXPECT_EQ(map.Data(*map.Find(MakeFourCC("TEXT"), 128), &data), noErr);
    EXPECT_EQ(data, "hello");
    EXPECT_EQ(map.Data(*map.Find(kIcns, 7), &data), noErr);
    EXPECT_EQ(data, "XY");
    EXPECT_EQ(map.Data(*map.Find(kIcns, kCustomIcon), &data), noErr);
    EXPECT_EQ(Hex(data), Hex(Icon()));
}

TEST(Workspace, ASecondIconTakesThePlaceOfTheFirst) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    ASSERT_EQ(SetIconForFile(path.c_str(), Picture()), noErr);
    const std::string before = ReadAll(scratch.Path("._a"));
    ASSERT_EQ(SetIconForFile(path.c_str(), Picture()), noErr);
    EXPECT_EQ(Hex(ReadAll(scratch.Path("._a"))), Hex(before));
}

TEST(Workspace, ALinkGivesItsTargetTheIcon) {
    const Scratch scratch;
    scratch.Write("a", "");
    std::filesystem::create_symlink("a", scratch.Path("link"));
    ASSERT_EQ(SetIconForFile(scratch.Path("link").c_str(), Picture()), noErr);
    EXPECT_TRUE(Exists(scratch.Path("._a")));
    EXPECT_FALSE(Exists(scratch.Path("._link")));
}

TEST(Workspace, WhatIsNoPictureOrNoFileChangesNothing) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    Image empty = Picture();
    empty.width = 0;
    Image negative = Picture();
    negative.height = -1;
    EXPECT_EQ(SetIconForFile(path.c_str(), {}), -50);
    EXPECT_EQ(SetIconForFile(path.c_str(), empty), -50);
    EXPECT_EQ(SetIconForFile(path.c_str(), negative), -50);
    EXPECT_EQ(SetIconForFile(nullptr, Picture()), -50);
    EXPECT_EQ(SetIconForFile(scratch.Path("gone").c_str(), Picture()), -43);
    EXPECT_EQ(SetIconForFile(scratch.MakeFolder("folder").c_str(), Picture()), -43);
    EXPECT_FALSE(Exists(scratch.Path("._a")));
    EXPECT_FALSE(Exists(scratch.Path("._folder")));
}

TEST(Workspace, AForkThatIsWrittenIsRefusedWithMinus49) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    short fork = 0;
    ASSERT_EQ(Testing::OpenResourceFork(path, fsWrPerm, &fork), noErr);
    EXPECT_EQ(SetIconForFile(path.c_str(), Picture()), -49);
    EXPECT_EQ(FSCloseFork(fork), noErr);
    EXPECT_FALSE(Exists(scratch.Path("._a")));
}

struct Damage {
    std::string sidecar;
    OSErr code;
    const char* why;
};

TEST(Workspace, DamagedForksAndSidecarsAreLeftAlone) {
    std::string outside = SmallFork();
    outside[0x113 + 46 + 7] = 0x7F;
    std::string liar = SidecarWith("", SmallFork());
    liar[46] = 0x7F;  // the length of the fork's entry
    const Damage cases[] = {
        {"", -199, "an empty file"},
        {"no sidecar", -199, "another file"},
        {SidecarWith("", SmallFork()).substr(0, 60), -199, "cut"},
        {liar, -199, "lies about its fork"},
        {SidecarWith("TEXTttxt", "text"), -199, "no fork"},
        {SidecarWith("TEXTttxt", outside), -199, "a resource outside of the data"},
        {SidecarWith("TEXTttxt", SmallFork().substr(0, 280)), -199, "a map that is cut"},
    };
    const Scratch scratch;
    const std::string path = scratch.Write("a", "data");
    for (const Damage& damage : cases) {
        Testing::WriteAll(scratch.Path("._a"), damage.sidecar);
        EXPECT_EQ(SetIconForFile(path.c_str(), Picture()), damage.code) << damage.why;
        EXPECT_EQ(ReadAll(scratch.Path("._a")), damage.sidecar) << damage.why;
        EXPECT_EQ(ReadAll(path), "data") << damage.why;
    }
}

TEST(Workspace, AForkOverSixteenMegabytesIsRefusedWithMinus34) {
    // One resource of 16 MiB, as far as a map can tell; the icon would come behind it.
    const std::string data((1 << 24) - 4, 'x');
    std::string fork = Bytes("00 00 01 00 01 00 01 00 01 00 00 00 00 00 00 32");
    const std::string header = fork;
    fork += std::string(240, '\0') + Bytes("00 FF FF FC") + data + header +
            Bytes(
                "00 00 00 00 00 00 00 00 00 1C 00 32"
                "00 00 54 45 58 54 00 00 00 0A"
                "00 01 FF FF 00 00 00 00 00 00 00 00");
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    const std::string before = SidecarWith("TEXTttxt", fork);
    scratch.Write("._a", before);
    EXPECT_EQ(SetIconForFile(path.c_str(), Picture()), -34);
    EXPECT_TRUE(ReadAll(scratch.Path("._a")) == before);
}

TEST(Workspace, AfterAnyFailedCallForkAndFlagAreAsTheyWere) {
    const std::string before = SidecarWith("TEXTttxt", SmallFork());
    std::string after;
    for (const int error : {ENOSPC, EIO, ENOMEM}) {
        for (int n = 1;; ++n) {
            const Scratch scratch;
            const std::string path = scratch.Write("a", "data");
            scratch.Write("._a", before);
            if (after.empty()) {
                ASSERT_EQ(SetIconForFile(path.c_str(), Picture()), noErr);
                after = ReadAll(scratch.Path("._a"));
                Testing::WriteAll(scratch.Path("._a"), before);
            }
            const int descriptors = Testing::OpenDescriptors();
            OSErr code = noErr;
            bool fired = false;
            std::string where;
            {
                const Testing::FaultPlan plan(n, error);
                code = SetIconForFile(path.c_str(), Picture());
                fired = plan.Fired();
                where = plan.Where();
            }
            const std::string what = where + ", call " + std::to_string(n);
            EXPECT_EQ(Testing::OpenDescriptors(), descriptors) << what;
            const std::string sidecar = ReadAll(scratch.Path("._a"));
            EXPECT_TRUE(sidecar == before || sidecar == after) << what;
            if (code == noErr) {
                EXPECT_EQ(sidecar, after) << what;
            } else {
                EXPECT_EQ(code, ErrorFromErrno(error)) << what;
            }
            if (code != noErr && where != "close") {
                EXPECT_EQ(sidecar, before) << what;
            }
            EXPECT_EQ(ReadAll(path), "data") << what;
            if (!fired) break;
        }
    }
}

// --- Icons in an open fork ----------------------------------------------------------------------

TEST(IconsInForks, TheyAreStoredWithTheForkInOneStep) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "data");
    scratch.Write("._a", SidecarWith("TEXTttxt", "an old fork of no use"));
    const std::string old = ReadAll(scratch.Path("._a"));
    std::string icon;
    ASSERT_EQ(ComposeIcon(Picture(), &icon), noErr);
    EXPECT_EQ(Hex(icon), Hex(Icon()));
    short fork = 0;
    ASSERT_EQ(Testing::OpenResourceFork(path, fsRdWrPerm, &fork), noErr);
    const std::string written = Testing::EmptyForkBytes();
    ASSERT_EQ(FSWriteFork(fork, fsFromStart, 0, written.size(), written.data(), nullptr), noErr);
    ASSERT_EQ(SetIconInFork(fork, icon), noErr);
    EXPECT_EQ(ReadAll(scratch.Path("._a")), old) << "stored too early";
    {
        const Testing::FaultPlan counted(1000000, ENOSPC, "renameat2");
        EXPECT_EQ(FSCloseFork(fork), noErr);
        EXPECT_EQ(counted.Calls(), 1);
    }
    std::string expected = SidecarWith("TEXTttxt", IconFork());
    expected[58] = '\x04';  // the flag
    EXPECT_EQ(Hex(ReadAll(scratch.Path("._a"))), Hex(expected));
}

TEST(IconsInForks, AnIconThatDoesNotFitLeavesWhatWasWritten) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "data");
    short fork = 0;
    ASSERT_EQ(Testing::OpenResourceFork(path, fsRdWrPerm, &fork), noErr);
    ASSERT_EQ(FSWriteFork(fork, fsFromStart, 0, 12, "no resources", nullptr), noErr);
    EXPECT_EQ(SetIconInFork(fork, Icon()), -199);
    EXPECT_EQ(FSCloseFork(fork), noErr);
    EXPECT_EQ(Hex(ReadAll(scratch.Path("._a"))), Hex(SidecarWith("", "no resources")));
}

TEST(IconsInForks, OnlyAResourceForkThatIsWrittenTakesOne) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "data");
    EXPECT_EQ(SetIconInFork(12345, Icon()), -51);
    short fork = 0;
    ASSERT_EQ(Testing::OpenResourceFork(path, fsRdPerm, &fork), noErr);
    EXPECT_EQ(SetIconInFork(fork, Icon()), -54);
    EXPECT_EQ(FSCloseFork(fork), noErr);
    FSRef ref;
    ASSERT_EQ(FSPathMakeRef(path.c_str(), &ref), noErr);
    ASSERT_EQ(FSOpenFork(&ref, 0, nullptr, fsRdWrPerm, &fork), noErr);
    EXPECT_EQ(SetIconInFork(fork, Icon()), -50);
    EXPECT_EQ(FSCloseFork(fork), noErr);
    std::string icon;
    EXPECT_EQ(ComposeIcon({}, &icon), -50);
    EXPECT_FALSE(Exists(scratch.Path("._a")));
}

// --- Forks of others ----------------------------------------------------------------------------

TEST(Workspace, SidecarsOfOthersKeepEverythingElse) {
    if (Testing::CorpusFolder().empty()) GTEST_SKIP() << "the corpus is not here";
    int changed = 0;
    for (const Testing::CorpusFile& file : Testing::CorpusFiles("forks/ad_")) {
        const Scratch scratch;
        const std::string path = scratch.Write("a", "");
        const std::string bytes = ReadAll(file.path);
        scratch.Write("._a", bytes);
        const OSErr code = SetIconForFile(path.c_str(), Picture());
        if (code != noErr) {
            EXPECT_EQ(code, -199) << file.name;
            EXPECT_TRUE(ReadAll(scratch.Path("._a")) == bytes) << file.name;
            continue;
        }
        ++changed;
        AppleDouble sidecar;
        ASSERT_EQ(Host::ReadSidecar(path.c_str(), &sidecar), noErr);
        // With the old fork and flags put back, every other byte of every entry is the old one.
        const auto old = AppleDouble::Parse(bytes);
        EXPECT_EQ(sidecar.GetFinderInfo().Flags(), old->GetFinderInfo().Flags() | 0x0400)
            << file.name;
        const std::string now = sidecar.Bytes();
        const auto entries = ReadAppleDoubleTable(now, now.size());
        const auto before = ReadAppleDoubleTable(bytes, bytes.size());
        ASSERT_TRUE(entries && before) << file.name;
        for (const AppleDoubleEntry& was : *before) {
            const AppleDoubleEntry* is = FindEntry(*entries, was.id);
            ASSERT_NE(is, nullptr) << file.name;
            if (was.id == kEntryResourceFork) continue;
            std::string kept = now.substr(is->offset, is->length);
            if (was.id == kEntryFinderInfo) kept.replace(8, 2, bytes, was.offset + 8, 2);
            EXPECT_EQ(kept, bytes.substr(was.offset, was.length)) << file.name << " " << was.id;
        }
    }
    EXPECT_GE(changed, 28);
}

}  // namespace
}  // namespace Ondrel
