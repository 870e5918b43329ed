// Codes and Finder flags by path.
#include "ondrel/platform/FileCodes.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>

#include "ondrel/platform/HostFiles.h"
#include "tests/platform/ResourceHelpers.h"
#include "tests/support/FaultPlan.h"

namespace Ondrel {
namespace {

using Testing::Bytes;
using Testing::Exists;
using Testing::FaultPlan;
using Testing::Hex;
using Testing::ReadAll;
using Testing::Scratch;
using Testing::SidecarWith;

constexpr FileCodes kCodes = {MakeFourCC("TEXT"), MakeFourCC("ttxt"), 0x4002};
constexpr FileCodes kUntouched = {1, 2, 3};

TEST(FileCodes, AFileWithoutASidecarHasNone) {
    const Scratch scratch;
    FileCodes codes = kUntouched;
    EXPECT_EQ(GetFileCodes(scratch.Write("a", "x").c_str(), &codes), noErr);
    EXPECT_EQ(codes, FileCodes{});
}

TEST(FileCodes, WhatIsStoredStandsInTheSidecarAndIsReadBack) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "x");
    ASSERT_EQ(SetFileCodes(path.c_str(), kCodes), noErr);
    EXPECT_EQ(Hex(ReadAll(scratch.Path("._a"))), Hex(SidecarWith("TEXTttxt\x40\x02", "")));
    FileCodes codes;
    EXPECT_EQ(GetFileCodes(path.c_str(), &codes), noErr);
    EXPECT_EQ(codes, kCodes);
}

TEST(FileCodes, ForkAndTheRestOfTheFinderInfoStay) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "x");
    scratch.Write("._a", SidecarWith("oldToldC\x01\x02place", "fork"));
    ASSERT_EQ(SetFileCodes(path.c_str(), kCodes), noErr);
    EXPECT_EQ(Hex(ReadAll(scratch.Path("._a"))), Hex(SidecarWith("TEXTttxt\x40\x02place", "fork")));
}

TEST(FileCodes, WithoutCodesAndForkTheSidecarGoes) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "x");
    ASSERT_EQ(SetFileCodes(path.c_str(), kCodes), noErr);
    ASSERT_EQ(SetFileCodes(path.c_str(), {}), noErr);
    EXPECT_FALSE(Exists(scratch.Path("._a")));
}

TEST(FileCodes, ALinkHasThoseOfItsTarget) {
    const Scratch scratch;
    scratch.Write("folder/a", "x");
    ASSERT_EQ(symlink("folder/a", scratch.Path("link").c_str()), 0);
    ASSERT_EQ(SetFileCodes(scratch.Path("link").c_str(), kCodes), noErr);
    EXPECT_TRUE(Exists(scratch.Path("folder/._a")));
    EXPECT_FALSE(Exists(scratch.Path("._link")));
    FileCodes codes;
    EXPECT_EQ(GetFileCodes(scratch.Path("link").c_str(), &codes), noErr);
    EXPECT_EQ(codes, kCodes);
}

TEST(FileCodes, WhatIsNoFileHasNone) {
    const Scratch scratch;
    scratch.Write("file", "");
    scratch.MakeFolder("folder");
    ASSERT_EQ(symlink("gone", scratch.Path("link").c_str()), 0);
    const std::string kNone[] = {scratch.Path("missing"), scratch.Path("folder"),
                                 scratch.Path("link"), "relative", ""};
    for (const std::string& path : kNone) {
        FileCodes codes = kUntouched;
        EXPECT_EQ(GetFileCodes(path.c_str(), &codes), fnfErr) << path;
        EXPECT_EQ(codes, kUntouched);
        EXPECT_EQ(SetFileCodes(path.c_str(), kCodes), fnfErr) << path;
    }
    EXPECT_EQ(GetFileCodes(scratch.Path("file/below").c_str(), nullptr), paramErr);
    EXPECT_EQ(GetFileCodes(nullptr, std::make_unique<FileCodes>().get()), fnfErr);
    EXPECT_EQ(SetFileCodes(scratch.Path("file/below").c_str(), kCodes), dirNFErr);
}

TEST(FileCodes, ADamagedSidecarIsToldOfAndLeftAlone) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "x");
    const std::string damaged = SidecarWith("TEXTttxt", "fork").substr(0, 60);
    scratch.Write("._a", damaged);
    FileCodes codes = kUntouched;
    EXPECT_EQ(GetFileCodes(path.c_str(), &codes), mapReadErr);
    EXPECT_EQ(codes, kUntouched);
    EXPECT_EQ(SetFileCodes(path.c_str(), kCodes), mapReadErr);
    EXPECT_EQ(Hex(ReadAll(scratch.Path("._a"))), Hex(damaged));
}

TEST(FileCodes, WhicheverCallFailsTheSidecarIsTheOldOrTheNew) {
    const std::string before = SidecarWith("oldToldC", "fork");
    const std::string after = SidecarWith("TEXTttxt\x40\x02", "fork");
    for (int n = 1;; ++n) {
        const Scratch scratch;
        const std::string path = scratch.Write("a", "x");
        scratch.Write("._a", before);
        OSErr code = noErr;
        bool fired = false;
        {
            const FaultPlan plan(n, ENOSPC);
            code = SetFileCodes(path.c_str(), kCodes);
            fired = plan.Fired();
        }
        EXPECT_EQ(Hex(ReadAll(scratch.Path("._a"))), Hex(code == noErr ? after : before)) << n;
        if (!fired) {
            EXPECT_EQ(code, noErr);
            EXPECT_GT(n, 3);
            break;
        }
    }
}

}  // namespace
}  // namespace Ondrel
