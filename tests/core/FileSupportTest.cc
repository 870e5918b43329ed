// Predefined folders.
#include "ondrel/core/FileSupport.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "tests/core/SpecHelpers.h"
#include "tests/support/Scratch.h"

namespace Ondrel {
namespace {

namespace fs = std::filesystem;
using Testing::PathOf;
using Testing::Scratch;
using Testing::SpecOf;

// Sets $TMPDIR for as long as it lives.
class TemporaryRoot {
 public:
    explicit TemporaryRoot(const std::string& folder) {
        const char* before = std::getenv("TMPDIR");
        wasSet_ = before != nullptr;
        if (wasSet_) before_ = before;
        setenv("TMPDIR", folder.c_str(), 1);
    }
    ~TemporaryRoot() {
        if (wasSet_)
            setenv("TMPDIR", before_.c_str(), 1);
        else
            unsetenv("TMPDIR");
    }
    TemporaryRoot(const TemporaryRoot&) = delete;
    TemporaryRoot& operator=(const TemporaryRoot&) = delete;

 private:
    bool wasSet_ = false;
    std::string before_;
};

std::string TemporaryName() {
    return "TemporaryItems-" + std::to_string(geteuid());
}

OSErr GetTemporaryItems(FileSpec* folder, bool create) {
    return FileSupport::GetPredefinedFolder(*folder, FileSupportBase::kTemporaryItems, create);
}

TEST(PredefinedFolders, TheKindOfTemporaryItemsIsItsFourCharacterCode) {
    EXPECT_EQ(static_cast<unsigned int>(FileSupportBase::kTemporaryItems), 1952804208U);
}

TEST(PredefinedFolders, TheTemporaryItemsFolderIsCreatedWhenAskedTo) {
    const Scratch scratch;
    const TemporaryRoot root(scratch.Path());
    FileSpec folder = SpecOf("/before");
    EXPECT_EQ(GetTemporaryItems(&folder, false), fnfErr);
    EXPECT_FALSE(folder.IsValid());
    EXPECT_EQ(Testing::Listing(scratch.Path()), "");

    EXPECT_EQ(GetTemporaryItems(&folder, true), noErr);
    EXPECT_EQ(PathOf(folder), scratch.Path(TemporaryName()));
    EXPECT_TRUE(folder.IsFolder());
    EXPECT_EQ(fs::status(scratch.Path(TemporaryName())).permissions(), fs::perms(0700));

    FileSpec again;
    EXPECT_EQ(GetTemporaryItems(&again, true), noErr);
    EXPECT_EQ(GetTemporaryItems(&again, false), noErr);
    EXPECT_EQ(PathOf(again), PathOf(folder));
}

TEST(PredefinedFolders, ATemporaryItemsFolderThatIsNotOursIsRefusedAndLeftAlone) {
    const Scratch scratch;
    const TemporaryRoot root(scratch.Path());
    FileSpec folder = SpecOf("/before");
    scratch.Write(TemporaryName(), "a file");
    EXPECT_EQ(GetTemporaryItems(&folder, true), permErr);
    EXPECT_FALSE(folder.IsValid());
    EXPECT_EQ(Testing::ReadAll(scratch.Path(TemporaryName())), "a file");
}

TEST(PredefinedFolders, ATemporaryItemsFolderInAPlaceThatIsNotUtf8HasNoSpecification) {
    const Scratch scratch;
    const TemporaryRoot root(scratch.MakeFolder("\xFF"));
    FileSpec folder = SpecOf("/before");
    EXPECT_EQ(GetTemporaryItems(&folder, true), fnfErr);
    EXPECT_FALSE(folder.IsValid());
}

TEST(PredefinedFolders, AnotherKindGivesMinus50) {
    FileSpec folder = SpecOf("/before");
    const auto kind = static_cast<FileSupportBase::EFolderType>(MakeFourCC("docs"));
    EXPECT_EQ(FileSupport::GetPredefinedFolder(folder, kind, true), -50);
    EXPECT_FALSE(folder.IsValid());
}

TEST(ApplicationFolder, IsTheRunningProgramsUnlessSet) {
    const std::string program = fs::read_symlink("/proc/self/exe").parent_path().string();
    FileSpec folder;
    EXPECT_EQ(FileSupport::GetApplicationFolder(folder), noErr);
    EXPECT_EQ(PathOf(folder), program);

    const Scratch scratch;
    SetApplicationFolder(SpecOf(scratch.Path()));
    EXPECT_EQ(FileSupport::GetApplicationFolder(folder), noErr);
    EXPECT_EQ(PathOf(folder), scratch.Path());

    SetApplicationFolder(FileSpec());
    EXPECT_EQ(FileSupport::GetApplicationFolder(folder), noErr);
    EXPECT_EQ(PathOf(folder), program);
}

}  // namespace
}  // namespace Ondrel
