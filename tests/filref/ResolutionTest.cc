// Resolving colon paths on real folders and links, and the ways from and to specifications.
#include <gtest/gtest.h>

#include <cerrno>

#include "ondrel/core/FileSupport.h"
#include "ondrel/core/Volumes.h"
#include "ondrel/filref/macspec.h"
#include "tests/filref/Support.h"
#include "tests/platform/AliasRecords.h"
#include "tests/support/FaultPlan.h"

namespace Ondrel {
namespace {

using namespace Testing;

// "code text" of refToMacSpec.
std::string Resolve(const std::string& ref, int flags = filRefResolve) {
    unsigned short out[kFilrefSize] = {'b', 0};
    const int code = refToMacSpec(UTF8ToUni16String(ref).c_str(), out, flags);
    return std::to_string(code) + " " + Uni16StringToUTF8(out);
}

// The POSIX path that a reference is converted to.
std::string PosixPath(const filref& ref) {
    FileSpec spec;
    EXPECT_EQ(ref.convertToFileSpec(spec), 0);
    std::string path;
    spec.GetPOSIXPathUtf8(path);
    return path;
}

class MacSpec : public testing::Test {
 protected:
    MacSpec() {
        disk_.Write("Docs/a.txt", "a");
        disk_.Write("Real/sub/f", "f");
        disk_.Write("Docs/x/f", "f");
        disk_.Write("App/own.txt", "own");
        disk_.Write("App/sub/f", "f");
        disk_.Link("Alias", "Real");
        disk_.Link("AliasOfAlias", "Alias");
        disk_.Link("AliasOfFile", "Docs/a.txt");
        disk_.Link("Broken", "Nowhere");
        disk_.Link("Loop", "Loop");
        disk_.Link("Real/up", "../Docs");
    }

    Disk disk_;
};

struct Resolution {
    const char* ref;
    const char* result;
    const char* why;
};

constexpr Resolution kResolutions[] = {
    {"Disk:Docs:a.txt", "0 Disk:Docs:a.txt", "there"},
    {"Disk:Docs:", "0 Disk:Docs:", "a folder by its colon"},
    {"Disk:Docs:x", "0 Disk:Docs:", "a folder by its mark"},
    {"Disk:Docs", "0 Disk:Docs:", "a folder without either"},
    {"Disk:", "0 Disk:", "a volume"},
    {"Disk:x", "0 Disk:", "a volume with the folder mark"},
    {"Disk:Docs:missing", "0 Disk:Docs:missing", "the last component need not exist"},
    {"Disk:Docs:xyz", "0 Disk:Docs:xyz", "a name that begins as the mark does"},
    {"Disk:Docs:x:f", "0 Disk:Docs:x:f", "a folder of the mark's name"},
    {"Disk:docs:a.txt", "-1 Disk:docs:a.txt", "case is not folded"},
    {"Disk:Nowhere:a.txt", "-1 Disk:Nowhere:a.txt", "no such folder"},
    {"Disk:Nowhere:", "-1 Disk:Nowhere:", "no such folder at the end"},
    {"Disk:Nowhere:x", "-1 Disk:Nowhere:x", "the mark stays when nothing is found"},
    {"No such disk:a", "-1 No such disk:a", "no such volume"},
    {"Disk::f", "0 Disk:", "an empty component ends the walk"},
    {"Disk:Docs::f", "0 Disk:Docs:", "an empty component ends the walk below"},
    {"Disk:Docs:a.txt:", "-1 Disk:Docs:a.txt:", "a file is no folder"},
    {"Disk:Docs:a.txt:x", "-1 Disk:Docs:a.txt:x", "a file has no folder mark"},
    {"Disk:Docs:a.txt:b", "-1 Disk:Docs:a.txt:b", "a file holds nothing"},
    {"Disk:Docs:a.txt::b", "-1 Disk:Docs:a.txt::b", "nor does a walk end at it"},
    {"own.txt", "0 Disk:App:own.txt", "a bare name"},
    {"missing", "0 Disk:App:missing", "a bare name of nothing"},
    {":own.txt", "0 Disk:App:own.txt", "relative"},
    {":sub:f", "0 Disk:App:sub:f", "relative, deeper"},
    {":sub:x", "0 Disk:App:sub:", "relative, a folder"},
    {":none:f", "-1 Disk:App:none:f", "relative, nowhere: the full text"},
    {":", "0 Disk:App:", "the application folder"},
    {":x", "0 Disk:App:", "the application folder with the mark"},
    {"::f", "0 Disk:App:", "an empty component behind it"},
    {"Disk:Alias:sub:f", "0 Disk:Real:sub:f", "through an alias of a folder"},
    {"Disk:AliasOfAlias:sub:f", "0 Disk:Real:sub:f", "through a chain"},
    {"Disk:Alias:up:a.txt", "0 Disk:Docs:a.txt", "through two aliases"},
    {"Disk:Alias:missing", "0 Disk:Real:missing", "through an alias to nothing"},
    {"Disk:Alias:none:f", "-1 Disk:Alias:none:f", "through an alias, nowhere"},
    {"Disk:Alias", "0 Disk:Real:", "an alias at the end"},
    {"Disk:Alias:", "0 Disk:Real:", "an alias as a folder"},
    {"Disk:Alias:x", "0 Disk:Real:", "an alias with the mark"},
    {"Disk:AliasOfFile", "0 Disk:Docs:a.txt", "an alias of a file"},
    {"Disk:AliasOfFile:b", "-1 Disk:AliasOfFile:b", "an alias of a file is no folder"},
    {"Disk:AliasOfFile:x", "-1 Disk:AliasOfFile:x", "nor can it be marked as one"},
    {"Disk:Broken", "0 Disk:Broken", "an alias of nothing is what the path names"},
    {"Disk:Broken:f", "-1 Disk:Broken:f", "but nothing lies behind it"},
    {"Disk:Broken:sub:f", "-1 Disk:Broken:sub:f", "at any depth"},
    {"Disk:Broken:x", "-1 Disk:Broken:x", "and it is no folder"},
    {"Disk:Broken::f", "-1 Disk:Broken::f", "nor where a walk ends"},
    {"Disk:Loop", "0 Disk:Loop", "an alias of itself"},
    {"Disk:Loop:f", "-1 Disk:Loop:f", "leads nowhere"},
};

TEST_F(MacSpec, ResolvesAPathComponentByComponent) {
    for (const Resolution& row : kResolutions)
        EXPECT_EQ(Resolve(row.ref), row.result) << row.why;
}

TEST_F(MacSpec, FollowsAliasFilesAsItFollowsLinks) {
    const auto makeAlias = [&](const char* name, const char* target) {
        MakeAliasFile(disk_.Write(name, ""), AliasVersion2("Disk", "target", 99, Part(2, target)));
    };
    makeAlias("FinderAlias", "Disk:Real");
    makeAlias("FinderAliasOfFile", "Disk:Docs:a.txt");
    makeAlias("FinderBroken", "Disk:Nowhere");
    const Resolution rows[] = {
        {"Disk:FinderAlias:sub:f", "0 Disk:Real:sub:f", "through a folder"},
        {"Disk:FinderAlias:x", "0 Disk:Real:", "as a folder"},
        {"Disk:FinderAlias", "0 Disk:Real:", "at the end"},
        {"Disk:FinderAliasOfFile", "0 Disk:Docs:a.txt", "of a file"},
        {"Disk:FinderAliasOfFile:f", "-1 Disk:FinderAliasOfFile:f", "through a file"},
        {"Disk:FinderBroken", "0 Disk:FinderBroken", "of nothing"},
        {"Disk:FinderBroken:f", "-1 Disk:FinderBroken:f", "through nothing"},
        {"Disk:FinderBroken:x", "-1 Disk:FinderBroken:x", "of no folder"},
    };
    for (const Resolution& row : rows)
        EXPECT_EQ(Resolve(row.ref), row.result) << row.why;
    EXPECT_EQ(PosixPath(Ref("Disk:FinderBroken:f")), disk_.Path("FinderBroken/f"));
}

TEST_F(MacSpec, WithoutTheFlagOnlyTheFolderMarkIsCut) {
    EXPECT_EQ(Resolve("Disk:Folder:x", 0), "0 Disk:Folder:");
    EXPECT_EQ(Resolve(":x", 0), "0 :x");
    EXPECT_EQ(Resolve("a:x", 0), "0 a:");
    EXPECT_EQ(Resolve("own.txt", 0), "0 own.txt");
    EXPECT_EQ(Resolve("Disk:Alias:sub:f", filRefResourceFork), "0 Disk:Alias:sub:f");
}

TEST_F(MacSpec, OfNullIs1AndLeavesTheOutputAlone) {
    for (const int flags : {0, filRefResolve}) {
        unsigned short out[kFilrefSize] = {'b', 0};
        EXPECT_EQ(refToMacSpec(nullptr, out, flags), 1);
        EXPECT_EQ(Uni16StringToUTF8(out), "b");
    }
}

TEST_F(MacSpec, ATextThatIsTooLongIsCutToTheBuffer) {
    EXPECT_EQ(Resolve(Times(1100, "a"), 0), "0 " + Times(1023, "a"));
    EXPECT_EQ(Resolve(":none:" + Times(1020, "b")), "-1 Disk:App:none:" + Times(1009, "b"));
}

TEST_F(MacSpec, AMissingApplicationFolderIsStillWhatPathsAreRelativeTo) {
    SetApplicationFolder(disk_.Spec("no such folder"));
    EXPECT_EQ(Resolve("own.txt"), "-1 Disk:no such folder:own.txt");
    EXPECT_EQ(Resolve(":own.txt"), "-1 Disk:no such folder:own.txt");
}

TEST_F(MacSpec, WhereTheApplicationFolderIsUnknownPathsStayRelative) {
    SetApplicationFolder(FileSpec());
    const FaultPlan plan(1, ENOENT, "readlinkat", -1);  // the host does not tell
    EXPECT_EQ(Resolve("own.txt"), "-1 :own.txt");
    EXPECT_EQ(Resolve(":Disk:Docs"), "-1 :Disk:Docs");
    FileSpec spec = disk_.Spec("Docs");
    EXPECT_EQ(Ref(":Disk:Docs").convertToFileSpec(spec), 0);
    EXPECT_FALSE(spec.IsValid());
}

TEST_F(MacSpec, TheApplicationFolderIsAnsweredPrecomposed) {
    disk_.MakeFolder("e\xCC\x81");
    SetApplicationFolder(disk_.Spec("e\xCC\x81"));
    EXPECT_EQ(Resolve(":none:f"), "-1 Disk:\xC3\xA9:none:f");
    EXPECT_EQ(Resolve("f"), "0 Disk:\xC3\xA9:f");
}

TEST_F(MacSpec, TheRootOfAVolumeMayBeALink) {
    ASSERT_TRUE(MountVolume("Linked", disk_.Path("Alias").c_str()));
    EXPECT_EQ(Resolve("Linked:sub:f"), "0 Linked:sub:f");
    EXPECT_EQ(PosixPath(Ref("Linked:sub:f")), disk_.Path("Alias/sub/f"));
    ASSERT_TRUE(UnmountVolume("Linked"));
}

TEST_F(MacSpec, ADecomposedNameOnDiskIsFoundAndAnsweredPrecomposed) {
    disk_.Write("Docs/e\xCC\x81.txt", "decomposed");
    EXPECT_EQ(Resolve("Disk:Docs:\xC3\xA9.txt"), "0 Disk:Docs:\xC3\xA9.txt");
    EXPECT_EQ(Resolve("Disk:Docs:e\xCC\x81.txt"), "0 Disk:Docs:\xC3\xA9.txt");
    FileSpec spec;
    EXPECT_EQ(Ref("Disk:Docs:\xC3\xA9.txt").convertToFileSpec(spec), 0);
    EXPECT_TRUE(spec.DoesExist());
}

TEST_F(MacSpec, ASlashInANameIsAColonOnDisk) {
    disk_.Write("Docs/1:2.txt", "slash");
    EXPECT_EQ(Resolve("Disk:Docs:1/2.txt"), "0 Disk:Docs:1/2.txt");
    EXPECT_EQ(PosixPath(Ref("Disk:Docs:1/2.txt")), disk_.Path("Docs/1:2.txt"));
}

TEST_F(MacSpec, ToUnicodeAnswersZeroWhetherOrNotItResolves) {
    unsigned short out[kFilrefSize];
    EXPECT_EQ(Ref("missing").ToUnicode(out, filRefResolve, filRefMac), 0);
    EXPECT_EQ(Uni16StringToUTF8(out), "Disk:App:missing");
    EXPECT_EQ(Ref(":none:f").ToUnicode(out, filRefResolve, filRefMac), 0);
    EXPECT_EQ(Uni16StringToUTF8(out), "Disk:App:none:f");
    EXPECT_EQ(Ref("Disk:Alias:sub:f").ToUnicode(out, filRefResolve, filRefMac), 0);
    EXPECT_EQ(Uni16StringToUTF8(out), "Disk:Real:sub:f");
}

TEST_F(MacSpec, AReferenceIsConvertedToTheSpecificationOfWhatItLeadsTo) {
    EXPECT_EQ(PosixPath(Ref("Disk:Docs:a.txt")), disk_.Path("Docs/a.txt"));
    EXPECT_EQ(PosixPath(Ref("Disk:Docs:x")), disk_.Path("Docs"));
    EXPECT_EQ(PosixPath(Ref("Disk:Alias:sub:f")), disk_.Path("Real/sub/f"));
    EXPECT_EQ(PosixPath(Ref("own.txt")), disk_.Path("App/own.txt"));
    EXPECT_EQ(PosixPath(Ref("Disk:Docs:missing")), disk_.Path("Docs/missing"));
    EXPECT_EQ(PosixPath(Ref("Disk:Broken")), disk_.Path("Broken"));
}

TEST_F(MacSpec, AReferenceThatLeadsNowhereIsConvertedAsItStands) {
    EXPECT_EQ(PosixPath(Ref("Disk:Nowhere:sub:f")), disk_.Path("Nowhere/sub/f"));
    EXPECT_EQ(PosixPath(Ref("Disk:Broken:f")), disk_.Path("Broken/f"));
    EXPECT_EQ(PosixPath(Ref(":none:f")), disk_.Path("App/none/f"));
}

TEST_F(MacSpec, ThereIsNoSpecificationOfAReferenceWithoutReadableText) {
    const filref refs[] = {filref(), Ref(""), Ref("Disk:Docs:a\xFF.txt"), Ref("\xFF")};
    for (const filref& ref : refs) {
        FileSpec spec = disk_.Spec("Docs/a.txt");
        EXPECT_EQ(ref.convertToFileSpec(spec), -1);
        std::string path;
        EXPECT_TRUE(spec.GetFullPath(path));
        EXPECT_EQ(path, disk_.Path("Docs/a.txt"));
    }
}

TEST_F(MacSpec, AReferenceTakesThePrecomposedColonPathOfASpecification) {
    disk_.Write("Docs/e\xCC\x81.txt", "decomposed");
    const struct {
        const char* item;
        const char* text;
    } rows[] = {
        {"Docs/a.txt", "Disk:Docs:a.txt"},     {"Docs", "Disk:Docs:"},
        {"Docs/missing", "Disk:Docs:missing"}, {"Docs/e\xCC\x81.txt", "Disk:Docs:\xC3\xA9.txt"},
        {"Docs/1:2", "Disk:Docs:1/2"},
    };
    for (const auto& row : rows) {
        filref ref = Ref("before");
        lasterror = 7;
        EXPECT_EQ(ref.convertFromFileSpec(disk_.Spec(row.item)), 0);
        EXPECT_EQ(TextOf(ref), row.text);
        EXPECT_EQ(lasterror, 7);
    }
}

TEST_F(MacSpec, AReferenceToAnEmptySpecificationHasAnEmptyText) {
    filref ref;
    EXPECT_EQ(ref.convertFromFileSpec(FileSpec()), 0);
    EXPECT_EQ(TextOf(ref), "");
}

TEST_F(MacSpec, ASpecificationWithALongPathIsCutBetweenCharacters) {
    std::string item = "Paper";
    for (int i = 0; i < 10; ++i)
        item += "/" + Times(100, "\xC3\xA9");
    filref ref;
    EXPECT_EQ(ref.convertFromFileSpec(disk_.Spec(item)), 0);
    const std::string text = TextOf(ref);
    EXPECT_EQ(text.size(), 1022U);
    EXPECT_EQ(text.substr(0, 13), "Disk:Paper:\xC3\xA9");
    EXPECT_EQ(text.substr(1020), "\xC3\xA9");
}

}  // namespace
}  // namespace Ondrel
