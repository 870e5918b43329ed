// The registry of file types, and telling whether a file is of a type.
#include "ondrel/core/FileType.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <vector>

#include "ondrel/core/FileEnumeration.h"
#include "ondrel/platform/Sidecar.h"
#include "tests/core/SpecHelpers.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/Scratch.h"

namespace Ondrel {
namespace {

using Testing::Scratch;
using Testing::SpecOf;

// The types that these tests know. Their identifiers are far from those of other tests, for the
// registry lives as long as the process.
enum : unsigned int {
    kText = 7001,       // TEXT by anyone, .txt
    kDraw = 7002,       // DRAW by drwr, .drw
    kOtherDraw = 7003,  // DRAW by othr, no extension
    kArchive = 7004,    // no codes, tar.gz
    kUmlaut = 7005,     // no codes, a letter beyond ASCII
    kUnknown = 7999,    // registered never
};

void RegisterTypes() {
    RegisterFileType({kText, 0, MakeFourCC("TEXT"), ".txt"});
    RegisterFileType({kDraw, MakeFourCC("drwr"), MakeFourCC("DRAW"), "drw"});
    RegisterFileType({kOtherDraw, MakeFourCC("othr"), MakeFourCC("DRAW"), ""});
    RegisterFileType({kArchive, 0, 0, ".tar.gz"});
    RegisterFileType({kUmlaut, 0, 0, ".m\xC3\xA4p"});
}

void SetCodes(const std::string& path, FourCC type, FourCC creator) {
    FinderInfo info;
    info.SetType(type);
    info.SetCreator(creator);
    ASSERT_EQ(Host::WriteFinderInfo(path.c_str(), info), noErr);
}

// "match", "no match" or "undecided".
std::string Judge(const std::string& path, unsigned int typeId,
                  FileType::TypeCheckingMethod method) {
    bool determined = false;
    const bool match = IsFileSpecOfThisTypeID(SpecOf(path), typeId, method, &determined);
    if (!determined) return match ? "a match that is not determined" : "undecided";
    return match ? "match" : "no match";
}

TEST(FileTypes, ARegisteredTypeIsFoundByItsIdentifier) {
    RegisterTypes();
    const FileType* type = GetFileTypeForIdentifier(kDraw);
    ASSERT_NE(type, nullptr);
    EXPECT_EQ(type->identifier, kDraw);
    EXPECT_EQ(type->creator, MakeFourCC("drwr"));
    EXPECT_EQ(type->type, MakeFourCC("DRAW"));
    EXPECT_EQ(type->extension, "drw");
    EXPECT_EQ(GetFileTypeForIdentifier(kUnknown), nullptr);
}

TEST(FileTypes, APointerStaysValidWhileOthersAreRegisteredAndShowsWhatReplacesItsType) {
    constexpr unsigned int kFirst = 8000;
    RegisterFileType({kFirst, 1, 2, "one"});
    const FileType* type = GetFileTypeForIdentifier(kFirst);
    ASSERT_NE(type, nullptr);
    for (unsigned int i = 1; i < 1000; ++i)
        RegisterFileType({kFirst + i, 1, 2, ""});
    EXPECT_EQ(GetFileTypeForIdentifier(kFirst), type);
    RegisterFileType({kFirst, 3, 4, "two"});
    EXPECT_EQ(GetFileTypeForIdentifier(kFirst), type);
    EXPECT_EQ(type->creator, 3U);
    EXPECT_EQ(type->type, 4U);
    EXPECT_EQ(type->extension, "two");
}

TEST(FileTypes, MethodsDifferInWhetherCodesOrTheExtensionComeFirst) {
    RegisterTypes();
    const FourCC text = MakeFourCC("TEXT");
    const FourCC draw = MakeFourCC("DRAW");
    const FourCC nobody = MakeFourCC("nobd");
    const struct {
        const char* reason;
        const char* name;
        FourCC type;
        FourCC creator;
        unsigned int asked;
        const char* byCodes;
        const char* byExtension;
    } kRows[] = {
        {"codes alone decide", "plain", text, nobody, kText, "match", "match"},
        {"another type code", "plain", text, nobody, kDraw, "no match", "no match"},
        {"the creators are equal", "plain", draw, MakeFourCC("drwr"), kDraw, "match", "match"},
        {"the creators differ", "plain", draw, MakeFourCC("othr"), kDraw, "no match", "no match"},
        {"the file has no creator", "plain", draw, 0, kDraw, "match", "match"},
        {"the type has no creator", "plain", text, MakeFourCC("drwr"), kText, "match", "match"},
        {"only a creator", "plain", 0, MakeFourCC("drwr"), kDraw, "no match", "no match"},
        {"a code of no type", "plain", nobody, nobody, kText, "no match", "no match"},
        {"codes against extension", "a.txt", draw, 0, kDraw, "match", "no match"},
        {"codes against extension", "a.txt", draw, 0, kText, "no match", "match"},
        {"a code of no type, a known extension", "a.txt", nobody, 0, kText, "no match", "match"},
        {"an extension of no type", "a.xyz", draw, 0, kDraw, "match", "match"},
        {"the extension alone decides", "a.txt", 0, 0, kText, "match", "match"},
        {"the extension of another type", "a.txt", 0, 0, kDraw, "no match", "no match"},
        {"a type without extension", "a.txt", 0, 0, kOtherDraw, "no match", "no match"},
        {"registered without its dot", "a.drw", 0, 0, kDraw, "match", "match"},
        {"the case is ignored", "a.TXT", 0, 0, kText, "match", "match"},
        {"of two parts", "a.tar.GZ", 0, 0, kArchive, "match", "match"},
        {"half of two parts", "a.gz", 0, 0, kArchive, "undecided", "undecided"},
        {"beyond ASCII, decomposed", "a.MA\xCC\x88P", 0, 0, kUmlaut, "match", "match"},
        {"the last extension counts", "a.drw.txt", 0, 0, kDraw, "no match", "no match"},
        {"a longer one is another", "a.txts", 0, 0, kText, "undecided", "undecided"},
        {"neither code nor extension", "plain", 0, 0, kText, "undecided", "undecided"},
        {"a known extension's letters", "txt", 0, 0, kText, "undecided", "undecided"},
        {"a hidden file's name", ".txt", 0, 0, kText, "undecided", "undecided"},
        {"a dot at the end", "a.", 0, 0, kText, "undecided", "undecided"},
        {"codes, but no registered type", "plain", text, 0, kUnknown, "undecided", "undecided"},
        {"codes, but a type without", "a.tar.gz", text, 0, kArchive, "no match", "match"},
    };
    for (const auto& row : kRows) {
        const Scratch scratch;
        const std::string path = scratch.Write(row.name, "");
        if (row.type != 0 || row.creator != 0) SetCodes(path, row.type, row.creator);
        EXPECT_EQ(Judge(path, row.asked, FileType::kByCodes), row.byCodes) << row.reason;
        EXPECT_EQ(Judge(path, row.asked, FileType::kByExtension), row.byExtension) << row.reason;
    }
}

TEST(FileTypes, WhatIsNotThereIsUndecidedEvenWithAKnownExtension) {
    RegisterTypes();
    const Scratch scratch;
    EXPECT_EQ(Judge(scratch.Path("a.txt"), kText, FileType::kByCodes), "undecided");
    EXPECT_EQ(Judge(scratch.Path("a.txt"), kText, FileType::kByExtension), "undecided");
    EXPECT_EQ(Judge("", kText, FileType::kByCodes), "undecided");
}

TEST(FileTypes, ASidecarThatIsNoneCountsAsNoCodes) {
    RegisterTypes();
    const Scratch scratch;
    scratch.Write("a.txt", "");
    scratch.Write("._a.txt", "no AppleDouble file");
    scratch.Write("plain", "");
    scratch.Write("._plain", "");
    EXPECT_EQ(Judge(scratch.Path("a.txt"), kText, FileType::kByCodes), "match");
    EXPECT_EQ(Judge(scratch.Path("plain"), kText, FileType::kByCodes), "undecided");
}

TEST(FileTypes, ASidecarThatCannotBeReadCountsAsNoCodes) {
    RegisterTypes();
    const Scratch scratch;
    const std::string path = scratch.Write("a.txt", "");
    SetCodes(path, MakeFourCC("DRAW"), 0);
    const FileSpec spec = SpecOf(path);
    const Testing::FaultPlan plan(1, EIO, "openat");
    bool determined = false;
    EXPECT_TRUE(IsFileSpecOfThisTypeID(spec, kText, FileType::kByCodes, &determined));
    EXPECT_TRUE(determined);
    EXPECT_TRUE(plan.Fired());
}

TEST(FileTypes, CodesAreFoundOnAFileOfAnotherComposition) {
    RegisterTypes();
    const Scratch scratch;
    SetCodes(scratch.Write(Testing::kDecomposed, ""), MakeFourCC("TEXT"), 0);
    EXPECT_EQ(Judge(scratch.Path(Testing::kComposed), kText, FileType::kByCodes), "match");
}

TEST(FileTypes, TheAnswerMayBeLeftUnasked) {
    RegisterTypes();
    const Scratch scratch;
    const FileSpec spec = SpecOf(scratch.Write("a.txt", ""));
    EXPECT_TRUE(IsFileSpecOfThisTypeID(spec, kText, FileType::kByCodes, nullptr));
    EXPECT_FALSE(IsFileSpecOfThisTypeID(spec, kDraw, FileType::kByCodes, nullptr));
}

TEST(FileTypes, AnUndecidedItemLeavesTheAnswerAlone) {
    RegisterTypes();
    const Scratch scratch;
    const FileSpec spec = SpecOf(scratch.Write("plain", ""));
    bool determined = true;
    EXPECT_FALSE(IsFileSpecOfThisTypeID(spec, kText, FileType::kByCodes, &determined));
    EXPECT_TRUE(determined);
}

TEST(FileTypes, AnEnumeratedItemWithAKnownExtensionIsJudgedByItWithoutASystemCall) {
    RegisterTypes();
    const Scratch scratch;
    scratch.Write("a.txt", "");
    FileEnumeration items(SpecOf(scratch.Path()));
    ASSERT_TRUE(items.First());
    const FileSpec item = items.GetItemSpecification();
    const Testing::FaultPlan all(1000000, EIO);
    EXPECT_TRUE(IsFileSpecOfThisTypeID(item, kText, FileType::kByExtension, nullptr));
    EXPECT_EQ(all.Calls(), 0);
}

}  // namespace
}  // namespace Ondrel
