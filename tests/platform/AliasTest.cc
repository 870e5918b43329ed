// Following symbolic links and alias files, one step or all.
#include "ondrel/platform/Alias.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "ondrel/platform/FileManager.h"
#include "ondrel/platform/MountTable.h"
#include "tests/platform/AliasRecords.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Host {
namespace {

using Testing::AliasVersion2;
using Testing::AliasVersion3;
using Testing::MakeAliasFile;
using Testing::Part;
using Testing::Scratch;
using Testing::Utf16Part;

constexpr std::uint32_t kElsewhere = 99;  // some folder
constexpr std::uint32_t kRootFolder = 2;

struct Outcome {
    OSErr error;
    std::string target;
    bool isFolder;
    bool wasAliased;

    bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* out) {
    *out << outcome.error << " \"" << outcome.target << "\" folder " << outcome.isFolder
         << " aliased " << outcome.wasAliased;
}

// Outputs start as what no call gives, so that one that is left alone shows.
Outcome Resolve(const std::string& path, bool chains = true) {
    Outcome outcome{0, "untouched", false, false};
    outcome.wasAliased = true;
    outcome.error =
        ResolveAlias(path, chains, &outcome.target, &outcome.isFolder, &outcome.wasAliased);
    return outcome;
}

const Outcome kMissing{fnfErr, "untouched", false, false};
const Outcome kDeadEnd{fnfErr, "untouched", false, true};

// A scratch folder that is the volume "Vol".
class Volume : public Scratch {
 public:
    Volume() { EXPECT_TRUE(AddMount("Vol", Path())); }
    ~Volume() { EXPECT_TRUE(RemoveMount("Vol")); }
    using Scratch::Path;

    void Link(const char* name, const std::string& target) const {
        ASSERT_EQ(symlink(target.c_str(), Path(name).c_str()), 0);
    }
    void Alias(const char* name, const std::string& record) const {
        MakeAliasFile(Write(name, ""), record);
    }
};

// --- Links --------------------------------------------------------------------------------------

TEST(Aliases, WhatIsNoAliasIsItsOwnTarget) {
    const Volume volume;
    const std::string file = volume.Write("file", "");
    const std::string folder = volume.MakeFolder("folder");
    for (const bool chains : {false, true}) {
        EXPECT_EQ(Resolve(file, chains), (Outcome{noErr, file, false, false}));
        EXPECT_EQ(Resolve(folder, chains), (Outcome{noErr, folder, true, false}));
        EXPECT_EQ(Resolve(volume.Path("missing"), chains), kMissing);
    }
}

TEST(Aliases, ALinkLeadsToItsTarget) {
    const Volume volume;
    const std::string file = volume.Write("folder/file", "");
    volume.Link("relative", "folder/file");
    volume.Link("absolute", file);
    volume.Link("folder/up", "../folder");
    volume.Link("folder/dot", ".");
    volume.Link("slash", "folder/");
    const std::string folder = volume.Path("folder");
    for (const bool chains : {false, true}) {
        EXPECT_EQ(Resolve(volume.Path("relative"), chains), (Outcome{noErr, file, false, true}));
        EXPECT_EQ(Resolve(volume.Path("absolute"), chains), (Outcome{noErr, file, false, true}));
        EXPECT_EQ(Resolve(volume.Path("folder/up"), chains), (Outcome{noErr, folder, true, true}));
        EXPECT_EQ(Resolve(volume.Path("folder/dot"), chains), (Outcome{noErr, folder, true, true}));
        EXPECT_EQ(Resolve(volume.Path("slash"), chains), (Outcome{noErr, folder, true, true}));
    }
}

TEST(Aliases, WithoutChainsOneStepIsTaken) {
    const Volume volume;
    const std::string folder = volume.MakeFolder("folder");
    volume.Link("second", "folder");
    volume.Link("first", "second");
    EXPECT_EQ(Resolve(volume.Path("first"), false),
              (Outcome{noErr, volume.Path("second"), false, true}));
    EXPECT_EQ(Resolve(volume.Path("first"), true), (Outcome{noErr, folder, true, true}));
}

TEST(Aliases, AnAliasThatLeadsNowhereIsToldFromAMissingItem) {
    const Volume volume;
    volume.Write("file", "");
    volume.Link("dangling", "nowhere");
    volume.Link("further", "dangling");
    volume.Link("noFolder", "missing/file");
    volume.Link("through", "file/x");
    for (const bool chains : {false, true}) {
        for (const char* name : {"dangling", "noFolder", "through"})
            EXPECT_EQ(Resolve(volume.Path(name), chains), kDeadEnd) << name;
    }
    EXPECT_EQ(Resolve(volume.Path("further"), true), kDeadEnd);
    EXPECT_EQ(Resolve(volume.Path("further"), false),
              (Outcome{noErr, volume.Path("dangling"), false, true}));
}

TEST(Aliases, LoopsEndAsDeadEnds) {
    const Volume volume;
    volume.Link("a", "b");
    volume.Link("b", "a");
    volume.Link("self", "self");
    volume.Link("below", "below/x");
    volume.Alias("alias", AliasVersion2("Vol", "", kElsewhere, Part(18, "/alias")));
    for (const char* name : {"a", "self", "below", "alias"})
        EXPECT_EQ(Resolve(volume.Path(name)), kDeadEnd) << name;
}

TEST(Aliases, AChainOfFortyStepsIsFollowedAndOneMoreIsNot) {
    const Volume volume;
    const std::string file = volume.Write("0", "");
    for (int i = 1; i <= 41; ++i)
        volume.Link(std::to_string(i).c_str(), std::to_string(i - 1));
    EXPECT_EQ(Resolve(volume.Path("40")), (Outcome{noErr, file, false, true}));
    EXPECT_EQ(Resolve(volume.Path("41")), kDeadEnd);
}

// --- Alias files --------------------------------------------------------------------------------

TEST(Aliases, AnAliasFileLeadsToThePosixPathOnItsVolume) {
    const Volume volume;
    const std::string file = volume.Write("folder/file", "");
    const std::string folder = volume.Path("folder");
    volume.Alias("1", AliasVersion2("Vol", "file", kElsewhere, Part(18, "/folder/file")));
    volume.Alias("2", AliasVersion2("Vol", "file", kElsewhere, Part(18, "folder/file")));
    volume.Alias("3", AliasVersion3(kElsewhere, Utf16Part(15, u"Vol") + Part(18, "/folder/")));
    volume.Alias("4", AliasVersion3(kElsewhere, Part(18, "/folder") + Part(19, "/Volumes/Vol")));
    volume.Alias("5", AliasVersion2("Vol", "Vol", 1, Part(18, "/")));
    for (const bool chains : {false, true}) {
        EXPECT_EQ(Resolve(volume.Path("1"), chains), (Outcome{noErr, file, false, true}));
        EXPECT_EQ(Resolve(volume.Path("2"), chains), (Outcome{noErr, file, false, true}));
        EXPECT_EQ(Resolve(volume.Path("3"), chains), (Outcome{noErr, folder, true, true}));
        EXPECT_EQ(Resolve(volume.Path("4"), chains), (Outcome{noErr, folder, true, true}));
        EXPECT_EQ(Resolve(volume.Path("5"), chains), (Outcome{noErr, volume.Path(), true, true}));
    }
}

TEST(Aliases, TheColonPathIsTheSecondWayAndTheRootOfTheVolumeTheThird) {
    const Volume volume;
    const std::string file = volume.Write("folder/file", "");
    const std::string top = volume.Write("top:1", "");
    volume.Alias("colon", AliasVersion2("Gone", "file", kElsewhere, Part(2, "Vol:folder:file")));
    volume.Alias("stale", AliasVersion2("Vol", "file", kElsewhere,
                                        Part(18, "/old/file") + Part(2, "Vol:folder:file")));
    volume.Alias("slash", AliasVersion2("Vol", "?", kElsewhere, Part(2, "Vol:top/1")));
    volume.Alias("volume", AliasVersion2("Vol", "Vol", 1, Part(2, "Vol:")));
    volume.Alias("root", AliasVersion2("Vol", "top/1", kRootFolder, ""));
    volume.Alias("deeper", AliasVersion2("Vol", "top/1", kElsewhere, ""));
    EXPECT_EQ(Resolve(volume.Path("colon")), (Outcome{noErr, file, false, true}));
    EXPECT_EQ(Resolve(volume.Path("stale")), (Outcome{noErr, file, false, true}));
    EXPECT_EQ(Resolve(volume.Path("slash")), (Outcome{noErr, top, false, true}));
    EXPECT_EQ(Resolve(volume.Path("volume")), (Outcome{noErr, volume.Path(), true, true}));
    EXPECT_EQ(Resolve(volume.Path("root")), (Outcome{noErr, top, false, true}));
    EXPECT_EQ(Resolve(volume.Path("deeper")), kDeadEnd);
}

TEST(Aliases, NamesAreFoundComposedAndDecomposed) {
    const Volume volume;
    const std::string decomposed = volume.Write("Re\u0301sume\u0301/file", "");
    const std::string composed = volume.Write("Cafe\u0301/x", "");
    const std::string other = volume.Write("CAF\u00C9/x", "");
    volume.Alias("1", AliasVersion2("Vol", "", kElsewhere, Part(18, "/R\u00E9sum\u00E9/file")));
    volume.Alias("2", AliasVersion2("Vol", "", kElsewhere, Part(18, "/Caf\u00E9/x")));
    volume.Alias("3", AliasVersion2("Vol", "", kElsewhere, Part(18, "/CAFE\u0301/x")));
    volume.Alias("4", AliasVersion2("Vol", "", kElsewhere, Part(18, "/caf\u00E9/x")));
    EXPECT_EQ(Resolve(volume.Path("1")), (Outcome{noErr, decomposed, false, true}));
    EXPECT_EQ(Resolve(volume.Path("2")), (Outcome{noErr, composed, false, true}));
    EXPECT_EQ(Resolve(volume.Path("3")), (Outcome{noErr, other, false, true}));
    EXPECT_EQ(Resolve(volume.Path("4")), kDeadEnd) << "case is never folded";
}

TEST(Aliases, PathsOutOfTheVolumeAreRefused) {
    const Volume volume;
    volume.Write("file", "");
    const std::string up = "/../" + std::string(volume.Path().substr(volume.Path().rfind('/') + 1));
    for (const std::string& path :
         {up, "/./file" + std::string(), std::string("//file"), std::string("/..")}) {
        volume.Alias("alias", AliasVersion2("Vol", "", kElsewhere, Part(18, path)));
        EXPECT_EQ(Resolve(volume.Path("alias")), kDeadEnd) << path;
    }
    for (const char* path : {"Vol:..", "Vol::file", "Vol:.:file", "Gone:file", ":", ""}) {
        volume.Alias("alias", AliasVersion2("Gone", "", kElsewhere, Part(2, path)));
        EXPECT_EQ(Resolve(volume.Path("alias")), kDeadEnd) << path;
    }
}

TEST(Aliases, AVolumeThatIsNotMountedIsADeadEndThatMayComeBack) {
    const Scratch scratch;
    const std::string file = scratch.Write("file", "");
    const std::string alias = scratch.Write("alias", "");
    MakeAliasFile(alias, AliasVersion2("Later", "file", kRootFolder, Part(18, "/file")));
    EXPECT_EQ(Resolve(alias), kDeadEnd);
    ASSERT_TRUE(AddMount("Later", scratch.Path()));
    EXPECT_EQ(Resolve(alias), (Outcome{noErr, file, false, true}));
    EXPECT_TRUE(RemoveMount("Later"));
}

TEST(Aliases, LinksAndAliasFilesMayFollowEachOther) {
    const Volume volume;
    const std::string file = volume.Write("file", "");
    volume.Alias("alias", AliasVersion2("Vol", "", kElsewhere, Part(18, "/link")));
    volume.Link("link", "inner");
    volume.Alias("inner", AliasVersion2("Vol", "", kElsewhere, Part(18, "/file")));
    EXPECT_EQ(Resolve(volume.Path("alias")), (Outcome{noErr, file, false, true}));
    EXPECT_EQ(Resolve(volume.Path("alias"), false),
              (Outcome{noErr, volume.Path("link"), false, true}));
    EXPECT_EQ(Resolve(volume.Path("link"), false),
              (Outcome{noErr, volume.Path("inner"), false, true}));
}

TEST(Aliases, FlagAndRecordMakeAnAliasFileTogether) {
    const Volume volume;
    const std::string path = volume.Write("file", "");
    const Outcome isPlain{noErr, path, false, false};
    FinderInfo info;
    info.SetFlags(kFinderFlagIsAlias);
    ASSERT_EQ(WriteFinderInfo(path.c_str(), info), noErr);
    EXPECT_EQ(Resolve(path), isPlain) << "the flag without a fork";
    MakeAliasFile(path, AliasVersion2("Vol", "", kElsewhere, Part(18, "/file")));
    ASSERT_EQ(WriteFinderInfo(path.c_str(), FinderInfo()), noErr);
    EXPECT_EQ(Resolve(path), isPlain) << "a record without the flag";
    AppleDouble sidecar;
    ASSERT_EQ(ReadSidecar(path.c_str(), &sidecar), noErr);
    sidecar.SetFinderInfo(info);
    sidecar.SetResourceFork("no resource fork at all");
    ASSERT_EQ(WriteSidecar(path.c_str(), sidecar), noErr);
    EXPECT_EQ(Resolve(path), isPlain) << "a damaged fork";
    volume.Write("._file", "no sidecar at all");
    EXPECT_EQ(Resolve(path), isPlain) << "a foreign file";
    volume.Write("._file", "");
    MakeAliasFile(volume.Write("other", ""), "damaged");
    EXPECT_EQ(Resolve(volume.Path("other")), kDeadEnd) << "a damaged record";
}

TEST(Aliases, AFailureOfTheHostIsReportedAsItIs) {
    const Volume volume;
    const std::string file = volume.Write("folder/file", "");
    volume.Alias("alias", AliasVersion2("Vol", "", kElsewhere, Part(18, "/folder/file")));
    (void)Resolve(volume.Path("alias"));  // the table of volumes is there
    for (int n = 1;; ++n) {
        const int descriptors = Testing::OpenDescriptors();
        bool fired = false;
        Outcome outcome{};
        {
            const Testing::FaultPlan plan(n, EIO);
            outcome = Resolve(volume.Path("alias"));
            fired = plan.Fired();
        }
        EXPECT_EQ(Testing::OpenDescriptors(), descriptors);
        if (outcome.error == noErr) {
            EXPECT_EQ(outcome.target, file) << "call " << n;
        } else {
            EXPECT_EQ(outcome.error, ioErr) << "call " << n;
            EXPECT_EQ(outcome.target, "untouched") << "call " << n;
        }
        if (!fired) {
            EXPECT_EQ(outcome.error, noErr);
            break;
        }
    }
}

TEST(Aliases, AReferenceToAnAliasFileBecomesItsTarget) {
    const Volume volume;
    const std::string folder = volume.MakeFolder("folder");
    volume.Alias("alias", AliasVersion2("Vol", "", kElsewhere, Part(18, "/folder")));
    FSRef ref;
    ASSERT_EQ(FSPathMakeRef(volume.Path("alias").c_str(), &ref), noErr);
    bool isFolder = false;
    bool wasAliased = false;
    ASSERT_EQ(FSResolveAliasFile(&ref, true, &isFolder, &wasAliased), noErr);
    EXPECT_TRUE(isFolder);
    EXPECT_TRUE(wasAliased);
    std::string path;
    ASSERT_EQ(FSRefMakePath(&ref, &path), noErr);
    EXPECT_EQ(path, folder);

    volume.Alias("dead", AliasVersion2("Vol", "", kElsewhere, Part(18, "/gone")));
    ASSERT_EQ(FSPathMakeRef(volume.Path("dead").c_str(), &ref), noErr);
    wasAliased = false;
    EXPECT_EQ(FSResolveAliasFile(&ref, true, &isFolder, &wasAliased), fnfErr);
    EXPECT_TRUE(wasAliased);
    ASSERT_EQ(FSRefMakePath(&ref, &path), noErr);
    EXPECT_EQ(path, volume.Path("dead")) << "the reference still names the alias";
}

}  // namespace
}  // namespace Ondrel::Host
