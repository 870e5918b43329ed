// Finding items on disk whose names are stored in another composition.
#include "ondrel/core/DiskNames.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

#include "ondrel/core/Unicode.h"
#include "tests/core/SpecHelpers.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Core {
namespace {

using namespace std::string_literals;
using Testing::FaultPlan;
using Testing::kComposed;
using Testing::kDecomposed;
using Testing::Scratch;

constexpr int kNever = 1000000;  // a fault plan that only counts

// The path found, or the error code in brackets before the path to create.
std::string Found(const std::string& path) {
    DiskItem item;
    const OSErr code = FindOnDisk(path, &item);
    return code == noErr ? item.path : "(" + std::to_string(code) + ") " + item.path;
}

TEST(DiskNames, AnExactNameCostsOneSystemCallAndNoListing) {
    const Scratch scratch;
    const std::string kNames[] = {"plain.txt", kComposed, kDecomposed, "K;`"};
    for (const std::string& name : kNames) {
        scratch.Write("folder/" + name, "");
        DiskItem item;
        const FaultPlan all(kNever, EIO);
        EXPECT_EQ(FindOnDisk(scratch.Path("folder/" + name), &item), noErr);
        EXPECT_EQ(all.Calls(), 1) << name;
        EXPECT_EQ(item.path, scratch.Path("folder/" + name));
        EXPECT_EQ(item.status.kind, Host::ItemKind::kFile);
    }
}

TEST(DiskNames, AMissingNameWithoutEquivalentsCostsOneSystemCallToo) {
    DiskItem item;
    const FaultPlan all(kNever, EIO);
    EXPECT_EQ(FindOnDisk("/no such folder/name.txt", &item), fnfErr);
    EXPECT_EQ(all.Calls(), 1);
}

TEST(DiskNames, ComposedPathsFindDecomposedNamesAndTheReverse) {
    const Scratch scratch;
    scratch.Write(kDecomposed + "/inner/" + kDecomposed + ".txt", "");
    scratch.Write("b/" + kComposed, "");
    const struct {
        std::string asked;
        std::string found;
    } kRows[] = {
        {kComposed, kDecomposed},
        {kComposed + "/inner", kDecomposed + "/inner"},
        {kComposed + "/inner/" + kComposed + ".txt",
         kDecomposed + "/inner/" + kDecomposed + ".txt"},
        {kDecomposed + "/inner/" + kComposed + ".txt",
         kDecomposed + "/inner/" + kDecomposed + ".txt"},
        {kComposed + "/inner/" + kDecomposed + ".txt",
         kDecomposed + "/inner/" + kDecomposed + ".txt"},
        {"b/" + kDecomposed, "b/" + kComposed},
    };
    for (const auto& row : kRows)
        EXPECT_EQ(Found(scratch.Path(row.asked)), scratch.Path(row.found)) << row.asked;
}

TEST(DiskNames, SignsThatAreCanonicallyAsciiFindTheAsciiNameAndTheReverse) {
    const struct {
        std::string ascii;
        std::string sign;
    } kRows[] = {{"5 K", "5 \xE2\x84\xAA"},
                 {"a;b",
                  "a\xCD\xBE"
                  "b"},
                 {"a`b",
                  "a\xE1\xBF\xAF"
                  "b"}};
    for (const auto& row : kRows) {
        const Scratch scratch;
        scratch.Write("stored ascii/" + row.ascii, "");
        scratch.Write("stored sign/" + row.sign, "");
        EXPECT_EQ(Found(scratch.Path("stored ascii/" + row.sign)),
                  scratch.Path("stored ascii/" + row.ascii));
        EXPECT_EQ(Found(scratch.Path("stored sign/" + row.ascii)),
                  scratch.Path("stored sign/" + row.sign));
    }
}

TEST(DiskNames, TheExactNameWinsOverAnEquivalentOne) {
    const Scratch scratch;
    scratch.Write(kComposed, "");
    scratch.Write(kDecomposed, "");
    EXPECT_EQ(Found(scratch.Path(kComposed)), scratch.Path(kComposed));
    EXPECT_EQ(Found(scratch.Path(kDecomposed)), scratch.Path(kDecomposed));
}

TEST(DiskNames, OfSeveralEquivalentNamesThePrecomposedOneIsFound) {
    // An A with a ring and a dot below: three spellings of one name.
    const Scratch scratch;
    const std::string best = "\xE1\xBA\xA0\xCC\x8A";  // NFC
    const std::string second = "A\xCC\xA3\xCC\x8A";   // NFD
    const std::string asked = "\xC3\x85\xCC\xA3";     // neither
    scratch.Write(second, "");
    EXPECT_EQ(Found(scratch.Path(asked)), scratch.Path(second));
    scratch.Write(best, "");
    EXPECT_EQ(Found(scratch.Path(asked)), scratch.Path(best));
}

TEST(DiskNames, CaseIsNeverFolded) {
    const Scratch scratch;
    scratch.Write("File.txt", "");
    scratch.Write("zo\xC3\xAB", "");
    EXPECT_EQ(Found(scratch.Path("file.txt")), "(-43) " + scratch.Path("file.txt"));
    EXPECT_EQ(Found(scratch.Path(kComposed)), "(-43) " + scratch.Path(kComposed));
}

TEST(DiskNames, AMissingItemIsToBeCreatedPrecomposedInTheFolderFound) {
    const Scratch scratch;
    scratch.MakeFolder(kDecomposed);
    EXPECT_EQ(Found(scratch.Path(kComposed + "/u\xCC\x88")),
              "(-43) " + scratch.Path(kDecomposed + "/\xC3\xBC"));
    EXPECT_EQ(Found(scratch.Path(kComposed + "/new.txt")),
              "(-43) " + scratch.Path(kDecomposed + "/new.txt"));
    EXPECT_EQ(Found(scratch.Path("no folder/u\xCC\x88")),
              "(-43) " + scratch.Path("no folder/u\xCC\x88"));
    EXPECT_EQ(Found("/\xC3\xBC no such item"), "(-43) /\xC3\xBC no such item");
}

TEST(DiskNames, ANameThatIsTooLongInOneCompositionIsFoundInAnother) {
    std::string composed;
    std::string decomposed;
    for (int i = 0; i < 100; ++i) {  // 200 and 300 bytes; a name on disk holds 255
        composed += "\xC3\xAB";
        decomposed += "e\xCC\x88";
    }
    const Scratch scratch;
    EXPECT_EQ(Found(scratch.Path(decomposed)), "(-37) " + scratch.Path(composed));
    scratch.Write(composed, "");
    EXPECT_EQ(Found(scratch.Path(decomposed)), scratch.Path(composed));
}

TEST(DiskNames, APathLongerThanAnyOnTheHostIsNotSearchedFor) {
    std::string path = "/" + kComposed;
    while (path.size() < 1000000)
        path += "/x";
    DiskItem item;
    const FaultPlan all(kNever, EIO);
    EXPECT_EQ(FindOnDisk(path, &item), bdNamErr);
    EXPECT_EQ(all.Calls(), 1);
}

TEST(DiskNames, AWayThroughAFileIsNoMissingItem) {
    const Scratch scratch;
    scratch.Write("file", "");
    EXPECT_EQ(Found(scratch.Path("file/" + kComposed)),
              "(-120) " + scratch.Path("file/" + kComposed));
    EXPECT_FALSE(IsMissing(dirNFErr));
    EXPECT_TRUE(IsMissing(fnfErr));
    EXPECT_TRUE(IsMissing(bdNamErr));
    EXPECT_FALSE(IsMissing(noErr));
}

TEST(DiskNames, LinksAreFoundThemselvesAndLeadToTheChildrenOfTheirTargets) {
    const Scratch scratch;
    scratch.Write("target/" + kDecomposed, "");
    std::filesystem::create_directory_symlink("target", scratch.Path("link"));
    std::filesystem::create_symlink("nowhere", scratch.Path("dangling"));
    EXPECT_EQ(Found(scratch.Path("link/" + kComposed)), scratch.Path("link/" + kDecomposed));
    DiskItem item;
    EXPECT_EQ(FindOnDisk(scratch.Path("dangling"), &item), noErr);
    EXPECT_EQ(item.status.kind, Host::ItemKind::kLink);
    EXPECT_EQ(Found(scratch.Path("dangling/" + kComposed)),
              "(-43) " + scratch.Path("dangling/" + kComposed));
}

TEST(DiskNames, NamesThatAreNotUtf8ArePassedOver) {
    const Scratch scratch;
    scratch.Write(kDecomposed + "\xFF", "");
    EXPECT_EQ(Found(scratch.Path(kComposed)), "(-43) " + scratch.Path(kComposed));
    scratch.Write("Zo\xEB", "");
    scratch.Write(kDecomposed, "");
    EXPECT_EQ(Found(scratch.Path(kComposed)), scratch.Path(kDecomposed));
}

TEST(DiskNames, FoldingCaseFindsANameInAFolderAsItIsStored) {
    const Scratch scratch;
    scratch.Write("ZOE\xCC\x88.TXT", "");
    std::string found = "before";
    EXPECT_EQ(FindNameInFolder(scratch.Path(), kComposed + ".txt", kCompareCanonical, &found),
              fnfErr);
    EXPECT_EQ(found, "before");
    EXPECT_EQ(FindNameInFolder(scratch.Path(), kComposed + ".txt",
                               kCompareIgnoreCase | kCompareCanonical, &found),
              noErr);
    EXPECT_EQ(found, "ZOE\xCC\x88.TXT");
    EXPECT_EQ(FindNameInFolder(scratch.Path("missing"), "a", kCompareIgnoreCase, &found), fnfErr);
    EXPECT_EQ(FindNameInFolder(scratch.Path(found), "a", kCompareIgnoreCase, &found), fnfErr);
}

TEST(DiskNames, AFolderThatMayNotBeListedHoldsNoNameToFind) {
    const Scratch scratch;
    namespace fs = std::filesystem;
    scratch.Write("closed/" + kDecomposed, "");
    scratch.Write("closed/plain", "");
    fs::permissions(scratch.Path(), fs::perms(0755));
    fs::permissions(scratch.Path("closed"), fs::perms(0311));
    EXPECT_TRUE(Testing::AsOrdinaryUser([&] {
        return Found(scratch.Path("closed/" + kComposed)) ==
                   "(-43) " + scratch.Path("closed/" + kComposed) &&
               Found(scratch.Path("closed/plain")) == scratch.Path("closed/plain");
    }));
    fs::permissions(scratch.Path("closed"), fs::perms(0600));
    EXPECT_TRUE(Testing::AsOrdinaryUser([&] {
        return Found(scratch.Path("closed/plain")) == "(-54) " + scratch.Path("closed/plain");
    }));
    fs::permissions(scratch.Path("closed"), fs::perms(0700));
}

TEST(DiskNames, AFailureOnTheWayIsNotTakenForAMissingItem) {
    const Scratch scratch;
    scratch.Write(kDecomposed + "/" + kDecomposed, "");
    const std::string path = scratch.Path(kComposed + "/" + kComposed);
    const int before = Testing::OpenDescriptors();
    int n = 1;
    for (;; ++n) {
        DiskItem item;
        const FaultPlan plan(n, EIO);
        const OSErr code = FindOnDisk(path, &item);
        if (!plan.Fired()) {
            EXPECT_EQ(code, noErr);
            break;
        }
        // A close that fails has closed, and changes nothing.
        EXPECT_EQ(code, plan.Where() == "close" ? noErr : ioErr) << plan.Where() << " " << n;
        EXPECT_EQ(Testing::OpenDescriptors(), before);
    }
    EXPECT_GT(n, 4);
}

TEST(DiskNames, APathIsCleaned) {
    const struct {
        std::string given;
        std::string clean;
    } kRows[] = {
        {"/", "/"},
        {"//", "/"},
        {"/.", "/"},
        {"/..", "/"},
        {"/a/b", "/a/b"},
        {"//a///b//", "/a/b"},
        {"/a/./b/.", "/a/b"},
        {"/no such folder/b/../c", "/no such folder/c"},
        {"/no such folder/../../c", "/c"},
        {"/a/.../..b", "/a/.../..b"},
        {"", ""},
        {"a/b", ""},
        {"~/b", ""},
        {"/a\0b"s, ""},
        {"/a\xFF/..", ""},
        {"/" + kDecomposed, "/" + kDecomposed},
    };
    for (const auto& row : kRows)
        EXPECT_EQ(CleanPath(row.given), row.clean) << row.given;
}

TEST(DiskNames, AParentThatIsNotUtf8HasNoPath) {
    const Scratch scratch;
    scratch.MakeFolder("\xFF/target");
    std::filesystem::create_directory_symlink("\xFF/target", scratch.Path("link"));
    EXPECT_EQ(CleanPath(scratch.Path("link/../x")), "");
}

TEST(DiskNames, TheParentBehindALinkIsThatOfItsTarget) {
    const Scratch scratch;
    scratch.MakeFolder("real/target");
    scratch.MakeFolder(kDecomposed);
    std::filesystem::create_directory_symlink("real/target", scratch.Path("link"));
    std::filesystem::create_directory_symlink("nowhere", scratch.Path("dangling"));
    std::filesystem::create_directory_symlink("../real/target",
                                              scratch.Path(kDecomposed + "/u\xCC\x88"));
    const struct {
        std::string given;
        std::string clean;
    } kRows[] = {
        {"link/../x", "real/x"},
        {"link/sub/../x", "link/x"},
        {"real/target/../x", "real/x"},
        {"dangling/../x", "x"},
        {kComposed + "/\xC3\xBC/../x", "real/x"},
    };
    for (const auto& row : kRows)
        EXPECT_EQ(CleanPath(scratch.Path(row.given)), scratch.Path(row.clean)) << row.given;
}

}  // namespace
}  // namespace Ondrel::Core
