// The folder for temporary items: made once, and used only when nobody else may enter it.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <optional>

#include "ondrel/platform/HostFiles.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Host {
namespace {

using Testing::Exists;
using Testing::Scratch;

// Sets $TMPDIR, and sets it back.
class TemporaryRoot {
 public:
    explicit TemporaryRoot(const std::string& path) {
        if (const char* old = getenv("TMPDIR")) old_ = old;
        setenv("TMPDIR", path.c_str(), 1);
    }
    ~TemporaryRoot() {
        if (old_)
            setenv("TMPDIR", old_->c_str(), 1);
        else
            unsetenv("TMPDIR");
    }
    TemporaryRoot(const TemporaryRoot&) = delete;
    TemporaryRoot& operator=(const TemporaryRoot&) = delete;

 private:
    std::optional<std::string> old_;
};

std::string FolderName() {
    return "TemporaryItems-" + std::to_string(geteuid());
}

TEST(TemporaryItems, TheFolderIsMadeForItsUserAlone) {
    const Scratch scratch;
    const TemporaryRoot root(scratch.Path());
    std::string path;
    ASSERT_EQ(TemporaryItemsFolder(true, &path), noErr);
    EXPECT_EQ(path, scratch.Path(FolderName()));
    struct stat status {};
    ASSERT_EQ(lstat(path.c_str(), &status), 0);
    EXPECT_TRUE(S_ISDIR(status.st_mode));
    EXPECT_EQ(status.st_mode & 07777, mode_t{0700});
    path.clear();
    EXPECT_EQ(TemporaryItemsFolder(true, &path), noErr);
    EXPECT_EQ(TemporaryItemsFolder(false, &path), noErr);
    EXPECT_EQ(path, scratch.Path(FolderName()));
}

TEST(TemporaryItems, WithoutCreateAMissingFolderStaysMissing) {
    const Scratch scratch;
    const TemporaryRoot root(scratch.Path() + "/");
    std::string path = "old";
    EXPECT_EQ(TemporaryItemsFolder(false, &path), fnfErr);
    EXPECT_EQ(path, "old");
    EXPECT_FALSE(Exists(scratch.Path(FolderName())));
    ASSERT_EQ(TemporaryItemsFolder(true, &path), noErr);
    EXPECT_EQ(path, scratch.Path(FolderName()));
}

TEST(TemporaryItems, AFolderThatOthersMayEnterIsRefusedAndLeftAlone) {
    const Scratch scratch;
    const TemporaryRoot root(scratch.Path());
    const std::string folder = scratch.MakeFolder(FolderName());
    for (const mode_t mode : {mode_t{0701}, mode_t{0710}, mode_t{0755}, mode_t{0777}}) {
        ASSERT_EQ(chmod(folder.c_str(), mode), 0);
        std::string path = "old";
        EXPECT_EQ(TemporaryItemsFolder(true, &path), permErr);
        EXPECT_EQ(path, "old");
        struct stat status {};
        ASSERT_EQ(lstat(folder.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, mode);
    }
}

TEST(TemporaryItems, ALinkOrFileInItsPlaceIsRefused) {
    const Scratch scratch;
    const TemporaryRoot root(scratch.Path());
    const std::string elsewhere = scratch.MakeFolder("elsewhere");
    ASSERT_EQ(chmod(elsewhere.c_str(), 0700), 0);
    const std::string name = scratch.Path(FolderName());
    ASSERT_EQ(symlink(elsewhere.c_str(), name.c_str()), 0);
    std::string path;
    EXPECT_EQ(TemporaryItemsFolder(true, &path), permErr);
    ASSERT_EQ(unlink(name.c_str()), 0);
    scratch.Write(FolderName(), "");
    ASSERT_EQ(chmod(name.c_str(), 0600), 0);
    EXPECT_EQ(TemporaryItemsFolder(true, &path), permErr);
}

TEST(TemporaryItems, TheFolderOfSomebodyElseIsRefused) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can make a folder of somebody else";
    const Scratch scratch;
    const TemporaryRoot root(scratch.Path());
    const std::string folder = scratch.MakeFolder(FolderName());
    ASSERT_EQ(chmod(folder.c_str(), 0700), 0);
    ASSERT_EQ(chown(folder.c_str(), 12345, 12345), 0);
    std::string path;
    EXPECT_EQ(TemporaryItemsFolder(true, &path), permErr);
}

TEST(TemporaryItems, ARelativeVariableMeansTmp) {
    const Scratch scratch;
    const std::string folder = scratch.MakeFolder("relative/" + FolderName());
    ASSERT_EQ(chmod(folder.c_str(), 0700), 0);
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(scratch.Path());
    const TemporaryRoot root("relative");
    std::string path = "/tmp/" + FolderName();
    (void)TemporaryItemsFolder(false, &path);  // there may be none
    std::filesystem::current_path(before);
    EXPECT_EQ(path, "/tmp/" + FolderName());
}

}  // namespace
}  // namespace Ondrel::Host
