// File operations by specification.
#include "ondrel/core/FileSpecFunctions.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

#include "tests/core/SpecHelpers.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/Scratch.h"

namespace Ondrel {
namespace {

namespace fs = std::filesystem;
using Testing::FaultPlan;
using Testing::kComposed;
using Testing::kDecomposed;
using Testing::Listing;
using Testing::ReadAll;
using Testing::Scratch;
using Testing::SpecOf;

constexpr FileSpecFunctionsBase::OverwriteMode kRefuse = FileSpecFunctionsBase::kRefuse;
constexpr FileSpecFunctionsBase::OverwriteMode kReplace = FileSpecFunctionsBase::kReplace;

const FileType kDocument{1, MakeFourCC("ttxt"), MakeFourCC("TEXT"), ".txt"};

// The sidecar of an empty file of that type, byte for byte.
const std::string kSidecar =
    "00 05 16 07 00 02 00 00 4D 61 63 20 4F 53 20 58 20 20 20 20 20 20 20 20 00 02 "
    "00 00 00 09 00 00 00 32 00 00 00 20 00 00 00 02 00 00 00 52 00 00 00 00 "
    "54 45 58 54 74 74 78 74 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
    "00";

OSErr Delete(const FileSpec& spec) {
    FileSpecFunctions functions;
    functions.errorCode = paramErr;
    const bool done = functions.DeleteFile(spec, false);
    EXPECT_EQ(done, functions.errorCode == noErr);
    return functions.errorCode;
}

OSErr Rename(const FileSpec& from, const FileSpec& to,
             FileSpecFunctionsBase::OverwriteMode mode = kRefuse) {
    FileSpecFunctions functions;
    functions.errorCode = paramErr;
    const bool done = functions.RenameFile(from, to, mode);
    EXPECT_EQ(done, functions.errorCode == noErr);
    return functions.errorCode;
}

OSErr Create(const FileSpec& spec, const FileType* type = nullptr) {
    FileSpecFunctions functions;
    functions.errorCode = paramErr;
    const bool done = functions.CreateFileWithType(spec, type);
    EXPECT_EQ(done, functions.errorCode == noErr);
    return functions.errorCode;
}

TEST(FileSpecFunctionsTest, TheErrorCodeIsThatOfTheLastOperation) {
    const Scratch scratch;
    FileSpecFunctions functions;
    EXPECT_EQ(functions.errorCode, 0);
    EXPECT_FALSE(functions.DeleteFile(SpecOf(scratch.Path("missing")), false));
    EXPECT_EQ(functions.errorCode, -43);
    EXPECT_TRUE(functions.CreateFileWithType(SpecOf(scratch.Path("new")), nullptr));
    EXPECT_EQ(functions.errorCode, 0);
}

TEST(FileSpecFunctionsTest, EmptySpecificationsGiveMinus43) {
    const Scratch scratch;
    const FileSpec file = SpecOf(scratch.Write("file", ""));
    EXPECT_EQ(Delete(FileSpec()), -43);
    EXPECT_EQ(Create(FileSpec()), -43);
    EXPECT_EQ(Rename(FileSpec(), SpecOf(scratch.Path("b"))), -43);
    EXPECT_EQ(Rename(file, FileSpec()), -43);
    EXPECT_EQ(Listing(scratch.Path()), "file");
}

// --- Deleting -----------------------------------------------------------------------------------

TEST(DeletingFiles, TakesTheFileAndItsSidecarAway) {
    const Scratch scratch;
    scratch.Write("file", "bytes");
    scratch.Write("._file", Testing::Bytes(kSidecar));
    scratch.Write("other", "");
    EXPECT_EQ(Delete(SpecOf(scratch.Path("file"))), noErr);
    EXPECT_EQ(Listing(scratch.Path()), "other");
}

TEST(DeletingFiles, FindsTheFileInAnotherComposition) {
    const Scratch scratch;
    scratch.Write(kDecomposed, "");
    EXPECT_EQ(Delete(SpecOf(scratch.Path(kComposed))), noErr);
    EXPECT_EQ(Listing(scratch.Path()), "");
}

TEST(DeletingFiles, TakesALinkAwayAndLeavesItsTarget) {
    const Scratch scratch;
    scratch.Write("target", "");
    fs::create_symlink("target", scratch.Path("link"));
    fs::create_symlink("nowhere", scratch.Path("dangling"));
    EXPECT_EQ(Delete(SpecOf(scratch.Path("link"))), noErr);
    EXPECT_EQ(Delete(SpecOf(scratch.Path("dangling"))), noErr);
    EXPECT_EQ(Listing(scratch.Path()), "target");
}

TEST(DeletingFiles, OfAFolderGivesMinus43AndItStays) {
    const Scratch scratch;
    scratch.MakeFolder("folder");
    EXPECT_EQ(Delete(SpecOf(scratch.Path("folder"))), -43);
    EXPECT_EQ(Listing(scratch.Path()), "folder");
}

TEST(DeletingFiles, OfWhatIsNotThereTellsWhy) {
    const Scratch scratch;
    scratch.Write("file", "");
    EXPECT_EQ(Delete(SpecOf(scratch.Path("missing"))), -43);
    EXPECT_EQ(Delete(SpecOf(scratch.Path("no folder/missing"))), -43);
    EXPECT_EQ(Delete(SpecOf(scratch.Path("file/inside"))), -120);
    EXPECT_EQ(Delete(SpecOf(scratch.Path(std::string(256, 'x')))), -37);
}

TEST(DeletingFiles, OfAnOpenFileGivesMinus47UntilItIsClosed) {
    const Scratch scratch;
    const FileSpec file = SpecOf(scratch.Write("file", "bytes"));
    short fork = 0;
    ASSERT_EQ(FSOpenFork(file, 0, nullptr, fsRdPerm, &fork), noErr);
    EXPECT_EQ(Delete(file), -47);
    EXPECT_EQ(Listing(scratch.Path()), "file");
    EXPECT_EQ(FSCloseFork(fork), noErr);
    EXPECT_EQ(Delete(file), noErr);
    EXPECT_EQ(Listing(scratch.Path()), "");
}

TEST(DeletingFiles, InAFolderThatMayNotBeChangedGivesMinus54) {
    const Scratch scratch;
    scratch.Write("closed/file", "");
    fs::permissions(scratch.Path(), fs::perms(0755));
    fs::permissions(scratch.Path("closed"), fs::perms(0555));
    EXPECT_TRUE(Testing::AsOrdinaryUser(
        [&] { return Delete(SpecOf(scratch.Path("closed/file"))) == permErr; }));
    EXPECT_EQ(Listing(scratch.Path("closed")), "file");
    fs::permissions(scratch.Path("closed"), fs::perms(0700));
}

// --- Renaming -----------------------------------------------------------------------------------

TEST(RenamingFiles, MovesTheItemWithItsSidecar) {
    const Scratch scratch;
    scratch.Write("file", "bytes");
    scratch.Write("._file", Testing::Bytes(kSidecar));
    scratch.MakeFolder("folder");
    EXPECT_EQ(Rename(SpecOf(scratch.Path("file")), SpecOf(scratch.Path("folder/new"))), noErr);
    EXPECT_EQ(Listing(scratch.Path()), "folder");
    EXPECT_EQ(Listing(scratch.Path("folder")), "._new new");
    EXPECT_EQ(ReadAll(scratch.Path("folder/new")), "bytes");
    EXPECT_EQ(Testing::Hex(ReadAll(scratch.Path("folder/._new"))), kSidecar);
}

TEST(RenamingFiles, MovesFoldersAndLinks) {
    const Scratch scratch;
    scratch.Write("folder/inner", "");
    fs::create_symlink("nowhere", scratch.Path("link"));
    EXPECT_EQ(Rename(SpecOf(scratch.Path("folder")), SpecOf(scratch.Path("b"))), noErr);
    EXPECT_EQ(Rename(SpecOf(scratch.Path("link")), SpecOf(scratch.Path("c"))), noErr);
    EXPECT_EQ(Listing(scratch.Path()), "b c");
    EXPECT_EQ(Listing(scratch.Path("b")), "inner");
}

TEST(RenamingFiles, RefusesAnExistingTargetWithMinus48AndChangesNothing) {
    const Scratch scratch;
    scratch.Write("from", "new");
    scratch.Write(kDecomposed, "old");
    scratch.MakeFolder("folder");
    fs::create_symlink("nowhere", scratch.Path("dangling"));
    const std::string before = Listing(scratch.Path());
    for (const std::string& target :
         {kDecomposed, kComposed, std::string("folder"), std::string("dangling")})
        EXPECT_EQ(Rename(SpecOf(scratch.Path("from")), SpecOf(scratch.Path(target))), -48);
    EXPECT_EQ(Listing(scratch.Path()), before);
    EXPECT_EQ(ReadAll(scratch.Path("from")), "new");
    EXPECT_EQ(ReadAll(scratch.Path(kDecomposed)), "old");
}

TEST(RenamingFiles, ReplacesAnExistingTargetWhenAskedTo) {
    const Scratch scratch;
    scratch.Write("from", "new");
    scratch.Write("to", "old");
    scratch.Write("._to", Testing::Bytes(kSidecar));
    EXPECT_EQ(Rename(SpecOf(scratch.Path("from")), SpecOf(scratch.Path("to")), kReplace), noErr);
    EXPECT_EQ(Listing(scratch.Path()), "to");
    EXPECT_EQ(ReadAll(scratch.Path("to")), "new");
}

TEST(RenamingFiles, ReplacesATargetOfAnotherCompositionInsteadOfStandingBesideIt) {
    const Scratch scratch;
    scratch.Write("from", "new");
    scratch.Write(kDecomposed, "old");
    EXPECT_EQ(Rename(SpecOf(scratch.Path("from")), SpecOf(scratch.Path(kComposed)), kReplace),
              noErr);
    EXPECT_EQ(Listing(scratch.Path()), kDecomposed);
    EXPECT_EQ(ReadAll(scratch.Path(kDecomposed)), "new");
}

TEST(RenamingFiles, ToTheSameItemSucceedsAndLeavesIt) {
    const Scratch scratch;
    scratch.Write("folder/" + kDecomposed, "bytes");
    fs::create_directory_symlink("folder", scratch.Path("link"));
    const FileSpec from = SpecOf(scratch.Path("folder/" + kDecomposed));
    for (const auto mode : {kRefuse, kReplace}) {
        EXPECT_EQ(Rename(from, from, mode), noErr);
        EXPECT_EQ(Rename(from, SpecOf(scratch.Path("folder/" + kComposed)), mode), noErr);
        EXPECT_EQ(Rename(from, SpecOf(scratch.Path("link/" + kComposed)), mode), noErr);
        EXPECT_EQ(Listing(scratch.Path("folder")), kDecomposed);
        EXPECT_EQ(ReadAll(scratch.Path("folder/" + kDecomposed)), "bytes");
    }
}

TEST(RenamingFiles, AnotherHardLinkIsAnotherItem) {
    const Scratch scratch;
    scratch.Write("a", "bytes");
    fs::create_hard_link(scratch.Path("a"), scratch.Path("b"));
    EXPECT_EQ(Rename(SpecOf(scratch.Path("a")), SpecOf(scratch.Path("b"))), -48);
    EXPECT_EQ(Listing(scratch.Path()), "a b");
}

TEST(RenamingFiles, ChangesTheCaseOfAName) {
    const Scratch scratch;
    scratch.Write("file", "");
    EXPECT_EQ(Rename(SpecOf(scratch.Path("file")), SpecOf(scratch.Path("FILE"))), noErr);
    EXPECT_EQ(Listing(scratch.Path()), "FILE");
}

TEST(RenamingFiles, GivesThePrecomposedName) {
    const Scratch scratch;
    scratch.Write("file", "");
    EXPECT_EQ(Rename(SpecOf(scratch.Path("file")), SpecOf(scratch.Path(kDecomposed))), noErr);
    EXPECT_EQ(Listing(scratch.Path()), kComposed);
}

TEST(RenamingFiles, OfWhatIsNotThereOrToWhereNothingCanBeTellsWhy) {
    const Scratch scratch;
    scratch.Write("file", "");
    const FileSpec file = SpecOf(scratch.Path("file"));
    EXPECT_EQ(Rename(SpecOf(scratch.Path("missing")), SpecOf(scratch.Path("b"))), -43);
    EXPECT_EQ(Rename(SpecOf(scratch.Path("file/x")), SpecOf(scratch.Path("b"))), -120);
    EXPECT_EQ(Rename(file, SpecOf(scratch.Path("no folder/b"))), -43);
    EXPECT_EQ(Rename(file, SpecOf(scratch.Path("file/b"))), -120);
    EXPECT_EQ(Rename(file, SpecOf(scratch.Path(std::string(256, 'x')))), -37);
    EXPECT_EQ(Listing(scratch.Path()), "file");
}

// --- Creating -----------------------------------------------------------------------------------

TEST(CreatingFiles, MakesAPlainFileWithoutASidecar) {
    const Scratch scratch;
    const FileType withoutCodes{2, 0, 0, ".txt"};
    EXPECT_EQ(Create(SpecOf(scratch.Path("a")), nullptr), noErr);
    EXPECT_EQ(Create(SpecOf(scratch.Path("b")), &withoutCodes), noErr);
    EXPECT_EQ(Listing(scratch.Path()), "a b");
    EXPECT_EQ(ReadAll(scratch.Path("a")), "");
}

TEST(CreatingFiles, StoresTheCodesOfTheTypeInASidecar) {
    const Scratch scratch;
    EXPECT_EQ(Create(SpecOf(scratch.Path("a")), &kDocument), noErr);
    EXPECT_EQ(Listing(scratch.Path()), "._a a");
    EXPECT_EQ(ReadAll(scratch.Path("a")), "");
    EXPECT_EQ(Testing::Hex(ReadAll(scratch.Path("._a"))), kSidecar);
}

TEST(CreatingFiles, LeavesAnExistingItemAloneWithMinus48) {
    const Scratch scratch;
    scratch.Write("file", "bytes");
    scratch.Write(kDecomposed, "");
    scratch.MakeFolder("folder");
    fs::create_symlink("nowhere", scratch.Path("dangling"));
    const std::string before = Listing(scratch.Path());
    for (const std::string& name : {std::string("file"), kDecomposed, kComposed,
                                    std::string("folder"), std::string("dangling")})
        EXPECT_EQ(Create(SpecOf(scratch.Path(name)), &kDocument), -48) << name;
    EXPECT_EQ(Listing(scratch.Path()), before);
    EXPECT_EQ(ReadAll(scratch.Path("file")), "bytes");
}

TEST(CreatingFiles, GivesThePrecomposedNameInTheFolderFound) {
    const Scratch scratch;
    scratch.MakeFolder(kDecomposed);
    EXPECT_EQ(Create(SpecOf(scratch.Path(kComposed + "/" + kDecomposed))), noErr);
    EXPECT_EQ(Listing(scratch.Path()), kDecomposed);
    EXPECT_EQ(Listing(scratch.Path(kDecomposed)), kComposed);
}

TEST(CreatingFiles, WhereNothingCanBeTellsWhy) {
    const Scratch scratch;
    scratch.Write("file", "");
    EXPECT_EQ(Create(SpecOf(scratch.Path("no folder/a"))), -43);
    EXPECT_EQ(Create(SpecOf(scratch.Path("file/a"))), -120);
    EXPECT_EQ(Create(SpecOf(scratch.Path(std::string(256, 'x')))), -37);
    fs::permissions(scratch.Path(), fs::perms(0555));
    EXPECT_TRUE(Testing::AsOrdinaryUser(
        [&] { return Create(SpecOf(scratch.Path("a")), &kDocument) == permErr; }));
    fs::permissions(scratch.Path(), fs::perms(0700));
    EXPECT_EQ(Listing(scratch.Path()), "file");
}

// --- Failures of the host -----------------------------------------------------------------------

// Runs an operation with the first, second, ... system call failing until none does, each time on a
// tree made anew by `prepare`, and hands the tree, the code and whether a call failed to `look`.
template <class Prepare, class Operation, class Look>
void FailEachCall(Prepare prepare, Operation operation, Look look) {
    const int before = Testing::OpenDescriptors();
    for (int n = 1;; ++n) {
        const Scratch scratch;
        prepare(scratch);
        OSErr code = noErr;
        bool failed = false;
        {
            const FaultPlan plan(n, ENOSPC);
            code = operation(scratch);
            failed = plan.Fired();
        }
        SCOPED_TRACE("call " + std::to_string(n) + ", code " + std::to_string(code));
        look(scratch, code, failed);
        EXPECT_EQ(Testing::OpenDescriptors(), before);
        if (!failed) {
            EXPECT_EQ(code, noErr);
            EXPECT_GT(n, 1);
            return;
        }
    }
}

TEST(FailuresOfTheHost, LeaveADeletionDoneOrUndone) {
    FailEachCall(
        [](const Scratch& scratch) {
            scratch.Write("file", "bytes");
            scratch.Write("._file", Testing::Bytes(kSidecar));
        },
        [](const Scratch& scratch) { return Delete(SpecOf(scratch.Path("file"))); },
        [](const Scratch& scratch, OSErr code, bool failed) {
            if (code != noErr) {
                EXPECT_EQ(Listing(scratch.Path()), "._file file");
            } else {
                EXPECT_FALSE(Testing::Exists(scratch.Path("file")));
            }
            if (!failed) {
                EXPECT_EQ(Listing(scratch.Path()), "");
            }
        });
}

TEST(FailuresOfTheHost, LeaveARenameDoneOrUndone) {
    for (const auto mode : {kRefuse, kReplace}) {
        FailEachCall(
            [](const Scratch& scratch) {
                scratch.Write("a", "bytes");
                scratch.Write("._a", Testing::Bytes(kSidecar));
            },
            [mode](const Scratch& scratch) {
                return Rename(SpecOf(scratch.Path("a")), SpecOf(scratch.Path("b")), mode);
            },
            [](const Scratch& scratch, OSErr code, bool) {
                const std::string name = code == noErr ? "b" : "a";
                EXPECT_EQ(Listing(scratch.Path()), code == noErr ? "._b b" : "._a a");
                EXPECT_EQ(ReadAll(scratch.Path(name)), "bytes");
                EXPECT_EQ(Testing::Hex(ReadAll(scratch.Path("._" + name))), kSidecar);
            });
    }
}

TEST(FailuresOfTheHost, LeaveACreationDoneOrUndone) {
    FailEachCall([](const Scratch& scratch) { scratch.MakeFolder(kDecomposed); },
                 [](const Scratch& scratch) {
                     return Create(SpecOf(scratch.Path(kComposed + "/" + kComposed)), &kDocument);
                 },
                 [](const Scratch& scratch, OSErr code, bool) {
                     EXPECT_EQ(Listing(scratch.Path()), kDecomposed);
                     EXPECT_EQ(Listing(scratch.Path(kDecomposed)),
                               code == noErr ? "._" + kComposed + " " + kComposed : "");
                 });
}

TEST(FailuresOfTheHost, NeverMakeASecondItemOfAnEquivalentName) {
    const Scratch scratch;
    scratch.Write("from", "new");
    scratch.Write(kDecomposed, "old");
    const std::string before = Listing(scratch.Path());
    const FileSpec target = SpecOf(scratch.Path(kComposed));
    const FileSpec from = SpecOf(scratch.Path("from"));
    bool failed = true;
    for (int n = 1; failed; ++n) {
        {
            const FaultPlan plan(n, EIO);
            EXPECT_NE(Create(target), noErr);
            failed = plan.Fired();
        }
        EXPECT_EQ(Listing(scratch.Path()), before);
        {
            const FaultPlan plan(n, EIO);
            EXPECT_NE(Rename(from, target), noErr);
            failed = failed || plan.Fired();
        }
        EXPECT_EQ(Listing(scratch.Path()), before);
    }
}

}  // namespace
}  // namespace Ondrel
