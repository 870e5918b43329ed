// The swap at the end of a safe save: what stays of the old document, what is refused, and that
// either the old document or the new one is there whatever fails.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <vector>

#include "ondrel/core/FileSpecFunctions.h"
#include "ondrel/platform/HostFiles.h"
#include "ondrel/platform/Sidecar.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {
namespace {

namespace fs = std::filesystem;

class ReplaceFileTest : public ::testing::Test {
 protected:
    static FileSpec Spec(const std::string& path) { return FileSpec(UTF8ToUni16String(path)); }

    std::string Path(const std::string& name) const { return scratch_.Path(name); }

    OSErr Replace(const std::string& finished, const std::string& document) const {
        FileSpecFunctions functions;
        const bool replaced = functions.ReplaceFile(Spec(finished), Spec(document));
        EXPECT_EQ(replaced, functions.errorCode == noErr);
        return functions.errorCode;
    }

    static void SetFork(const std::string& path, FourCC type, const std::string& fork) {
        AppleDouble sidecar;
        FinderInfo info;
        info.SetType(type);
        info.SetCreator(MakeFourCC("Ondr"));
        sidecar.SetFinderInfo(info);
        ASSERT_TRUE(sidecar.SetResourceFork(fork));
        ASSERT_EQ(Host::WriteSidecar(path.c_str(), sidecar), noErr);
    }

    // Names in the scratch folder, in order.
    std::vector<std::string> Names(const std::string& folder = "") const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(Path(folder)))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    Scratch scratch_;
};

TEST_F(ReplaceFileTest, TheFinishedFileTakesTheDocumentsPlace) {
    scratch_.Write("doc", "old");
    scratch_.Write("new", "new text");
    EXPECT_EQ(Replace(Path("new"), Path("doc")), noErr);
    EXPECT_EQ(ReadAll(Path("doc")), "new text");
    EXPECT_EQ(Names(), std::vector<std::string>{"doc"});
}

TEST_F(ReplaceFileTest, ADocumentThatIsNotThereYetIsMadeWithItsCodes) {
    scratch_.Write("new", "text");
    SetFork(Path("new"), MakeFourCC("TEXT"), "fork");
    EXPECT_EQ(Replace(Path("new"), Path("doc")), noErr);
    EXPECT_EQ(ReadAll(Path("doc")), "text");
    AppleDouble sidecar;
    ASSERT_EQ(Host::ReadSidecar(Path("doc").c_str(), &sidecar), noErr);
    EXPECT_EQ(sidecar.GetFinderInfo().Type(), MakeFourCC("TEXT"));
    EXPECT_EQ(sidecar.GetResourceFork(), "fork");
    EXPECT_EQ(Names(), (std::vector<std::string>{"._doc", "doc"}));
}

TEST_F(ReplaceFileTest, CodesAndForkOfTheDocumentStayByteForByte) {
    scratch_.Write("doc", "old");
    SetFork(Path("doc"), MakeFourCC("MyDc"), "the old fork");
    const std::string before = ReadAll(Path("._doc"));
    scratch_.Write("new", "new");
    SetFork(Path("new"), MakeFourCC("Othr"), "");
    EXPECT_EQ(Replace(Path("new"), Path("doc")), noErr);
    EXPECT_EQ(ReadAll(Path("doc")), "new");
    EXPECT_EQ(ReadAll(Path("._doc")), before);
    EXPECT_EQ(Names(), (std::vector<std::string>{"._doc", "doc"}));
}

TEST_F(ReplaceFileTest, AForkThatCameWithTheFinishedFileReplacesTheOld) {
    scratch_.Write("doc", "old");
    SetFork(Path("doc"), MakeFourCC("MyDc"), "the old fork");
    scratch_.Write("new", "new");
    SetFork(Path("new"), MakeFourCC("Othr"), "the new fork");
    EXPECT_EQ(Replace(Path("new"), Path("doc")), noErr);
    AppleDouble sidecar;
    ASSERT_EQ(Host::ReadSidecar(Path("doc").c_str(), &sidecar), noErr);
    EXPECT_EQ(sidecar.GetFinderInfo().Type(), MakeFourCC("MyDc"));
    EXPECT_EQ(sidecar.GetResourceFork(), "the new fork");
}

TEST_F(ReplaceFileTest, ADocumentWithoutCodesGetsThoseOfTheFinishedFile) {
    scratch_.Write("doc", "old");
    scratch_.Write("new", "new");
    SetFork(Path("new"), MakeFourCC("TEXT"), "");
    EXPECT_EQ(Replace(Path("new"), Path("doc")), noErr);
    FinderInfo info;
    ASSERT_EQ(Host::ReadFinderInfo(Path("doc").c_str(), &info), noErr);
    EXPECT_EQ(info.Type(), MakeFourCC("TEXT"));
    EXPECT_EQ(info.Creator(), MakeFourCC("Ondr"));
}

TEST_F(ReplaceFileTest, WhatStandsAtTheSidecarsNameAndIsNoneStays) {
    scratch_.Write("doc", "old");
    scratch_.Write("._doc", "no sidecar at all");
    scratch_.Write("new", "new");
    SetFork(Path("new"), MakeFourCC("TEXT"), "fork");
    EXPECT_EQ(Replace(Path("new"), Path("doc")), noErr);
    EXPECT_EQ(ReadAll(Path("doc")), "new");
    EXPECT_EQ(ReadAll(Path("._doc")), "no sidecar at all");
}

TEST_F(ReplaceFileTest, PermissionAndAttributesStay) {
    scratch_.Write("doc", "old");
    scratch_.Write("new", "new");
    ASSERT_EQ(chmod(Path("doc").c_str(), 0751), 0);
    ASSERT_EQ(chmod(Path("new").c_str(), 0600), 0);
    const bool attributes = setxattr(Path("doc").c_str(), "user.note", "kept", 4, 0) == 0;
    if (geteuid() == 0) {
        ASSERT_EQ(chown(Path("doc").c_str(), 1234, 4321), 0);
    }
    EXPECT_EQ(Replace(Path("new"), Path("doc")), noErr);
    struct stat status;
    ASSERT_EQ(stat(Path("doc").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0751U);
    if (geteuid() == 0) {
        EXPECT_EQ(status.st_uid, 1234U);
        EXPECT_EQ(status.st_gid, 4321U);
    }
    if (!attributes) GTEST_SKIP() << "no extended attributes on this file system";
    char value[8];
    ASSERT_EQ(getxattr(Path("doc").c_str(), "user.note", value, sizeof value), 4);
    EXPECT_EQ(std::string(value, 4), "kept");
}

// A list that lets user 1234 read and write: owner rw, that user rw, group r, mask rw, others none.
constexpr unsigned char kList[] = {2,   0,   0,   0,   1,   0,    6,  0,   255, 255, 255,
                                   255, 2,   0,   6,   0,   0xD2, 4,  0,   0,   4,   0,
                                   4,   0,   255, 255, 255, 255,  16, 0,   6,   0,   255,
                                   255, 255, 255, 32,  0,   0,    0,  255, 255, 255, 255};
constexpr char kListName[] = "system.posix_acl_access";

TEST_F(ReplaceFileTest, TheAccessControlListStays) {
    scratch_.Write("doc", "old");
    scratch_.Write("new", "new");
    if (setxattr(Path("doc").c_str(), kListName, kList, sizeof kList, 0) != 0)
        GTEST_SKIP() << "no access control lists on this file system";
    EXPECT_EQ(Replace(Path("new"), Path("doc")), noErr);
    unsigned char list[100];
    ASSERT_EQ(getxattr(Path("doc").c_str(), kListName, list, sizeof list),
              static_cast<ssize_t>(sizeof kList));
    EXPECT_TRUE(std::equal(std::begin(kList), std::end(kList), list));
}

TEST_F(ReplaceFileTest, AListThatTheFinishedFileInheritedIsTakenFromIt) {
    scratch_.Write("doc", "old");
    scratch_.Write("new", "new");
    ASSERT_EQ(chmod(Path("doc").c_str(), 0640), 0);
    if (setxattr(Path("new").c_str(), kListName, kList, sizeof kList, 0) != 0)
        GTEST_SKIP() << "no access control lists on this file system";
    EXPECT_EQ(Replace(Path("new"), Path("doc")), noErr);
    EXPECT_EQ(getxattr(Path("doc").c_str(), kListName, nullptr, 0), -1);
    struct stat status;
    ASSERT_EQ(stat(Path("doc").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640U);
}

TEST_F(ReplaceFileTest, LinksStayAndTheirFileIsReplaced) {
    scratch_.Write("far/real", "old");
    fs::create_symlink("far/real", Path("link"));
    fs::create_symlink(Path("link"), Path("link to it"));
    scratch_.Write("new", "new");
    EXPECT_EQ(Replace(Path("new"), Path("link to it")), noErr);
    EXPECT_TRUE(fs::is_symlink(Path("link")));
    EXPECT_TRUE(fs::is_symlink(Path("link to it")));
    EXPECT_EQ(ReadAll(Path("far/real")), "new");
    EXPECT_FALSE(fs::is_symlink(Path("far/real")));
}

TEST_F(ReplaceFileTest, ALinkToAFileThatIsNotThereYetStays) {
    scratch_.MakeFolder("far");
    fs::create_symlink("far/real", Path("link"));
    scratch_.Write("new", "new");
    EXPECT_EQ(Replace(Path("new"), Path("link")), noErr);
    EXPECT_TRUE(fs::is_symlink(Path("link")));
    EXPECT_EQ(ReadAll(Path("far/real")), "new");
}

TEST_F(ReplaceFileTest, ACircleOfLinksIsRefused) {
    fs::create_symlink("b", Path("a"));
    fs::create_symlink("a", Path("b"));
    scratch_.Write("new", "new");
    EXPECT_EQ(Replace(Path("new"), Path("a")), ioErr);
    EXPECT_EQ(ReadAll(Path("new")), "new");
}

TEST_F(ReplaceFileTest, WhatMayNotBeReplacedIsRefused) {
    scratch_.Write("doc", "old");
    scratch_.Write("new", "new");
    scratch_.MakeFolder("folder");
    EXPECT_EQ(Replace(Path("missing"), Path("doc")), fnfErr);
    EXPECT_EQ(Replace(Path("folder"), Path("doc")), fnfErr);
    EXPECT_EQ(Replace(Path("new"), Path("folder")), fnfErr);
    EXPECT_EQ(Replace(Path("new"), Path("no/doc")), fnfErr);
    EXPECT_EQ(Replace(Path("new"), ""), fnfErr);
    EXPECT_EQ(Replace("", Path("doc")), fnfErr);
    EXPECT_EQ(Replace(Path("doc"), Path("doc")), paramErr);
    ASSERT_EQ(chmod(Path("doc").c_str(), 0444), 0);
    // Root may open it, and is refused because its owner has locked it.
    EXPECT_EQ(Replace(Path("new"), Path("doc")), geteuid() == 0 ? fLckdErr : permErr);
    EXPECT_EQ(ReadAll(Path("doc")), "old");
    EXPECT_EQ(ReadAll(Path("new")), "new");
    EXPECT_EQ(Names(), (std::vector<std::string>{"doc", "folder", "new"}));
}

TEST_F(ReplaceFileTest, WhatSomebodyWritesToIsRefused) {
    scratch_.Write("doc", "old");
    scratch_.Write("new", "new");
    for (const char* busy : {"doc", "new"}) {
        FSRef ref;
        ASSERT_EQ(FSPathMakeRef(Path(busy).c_str(), &ref), noErr);
        short fork = 0;
        ASSERT_EQ(FSOpenFork(&ref, 0, nullptr, fsWrPerm, &fork), noErr);
        EXPECT_EQ(Replace(Path("new"), Path("doc")), fBsyErr) << busy;
        EXPECT_EQ(FSCloseFork(fork), noErr);
    }
    EXPECT_EQ(ReadAll(Path("doc")), "old");
    EXPECT_EQ(ReadAll(Path("new")), "new");
}

TEST_F(ReplaceFileTest, AReaderOfTheDocumentGoesOnReadingTheOldOne) {
    scratch_.Write("doc", "old");
    scratch_.Write("new", "new");
    const int fd = open(Path("doc").c_str(), O_RDONLY);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(Replace(Path("new"), Path("doc")), noErr);
    char bytes[3];
    EXPECT_EQ(read(fd, bytes, 3), 3);
    EXPECT_EQ(std::string(bytes, 3), "old");
    close(fd);
}

TEST_F(ReplaceFileTest, DecomposedNamesOnDiskAreReplacedInPlace) {
    scratch_.Write("e\xCC\x81", "old");
    scratch_.Write("new", "new");
    EXPECT_EQ(Replace(Path("new"), Path("\xC3\xA9")), noErr);
    EXPECT_EQ(Names(), std::vector<std::string>{"e\xCC\x81"});
}

// --- Across file systems ------------------------------------------------------------------------

// Another file system than the scratch folder's: a tmpfs of 1 MiB mounted for the test where we
// may, else /dev/shm where that is one.
class OtherFileSystem {
 public:
    OtherFileSystem() {
        root_ = scratch_.Path();
        isMounted_ = mount("none", root_.c_str(), "tmpfs", 0, "size=1m") == 0;
    }
    ~OtherFileSystem() {
        if (isMounted_) umount2(root_.c_str(), MNT_DETACH);
    }
    OtherFileSystem(const OtherFileSystem&) = delete;
    OtherFileSystem& operator=(const OtherFileSystem&) = delete;

    bool IsThere() const { return isMounted_; }
    std::string Path(const std::string& name) const { return root_ + "/" + name; }

 private:
    Scratch scratch_;
    std::string root_;
    bool isMounted_;
};

constexpr char kNoOther[] = "no second file system can be mounted here";

TEST_F(ReplaceFileTest, AFinishedFileComesAcrossFileSystems) {
    const OtherFileSystem other;
    if (!other.IsThere()) GTEST_SKIP() << kNoOther;
    scratch_.Write("doc", "old");
    SetFork(Path("doc"), MakeFourCC("MyDc"), "fork");
    ASSERT_EQ(chmod(Path("doc").c_str(), 0640), 0);
    const std::string text(700000, 't');
    WriteAll(other.Path("new"), text);
    SetFork(other.Path("new"), MakeFourCC("Othr"), "");
    EXPECT_EQ(Replace(other.Path("new"), Path("doc")), noErr);
    EXPECT_EQ(ReadAll(Path("doc")), text);
    struct stat status;
    ASSERT_EQ(stat(Path("doc").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640U);
    FinderInfo info;
    ASSERT_EQ(Host::ReadFinderInfo(Path("doc").c_str(), &info), noErr);
    EXPECT_EQ(info.Type(), MakeFourCC("MyDc"));
    EXPECT_FALSE(Exists(other.Path("new")));
    EXPECT_FALSE(Exists(other.Path("._new")));
    EXPECT_EQ(Names(), (std::vector<std::string>{"._doc", "doc"}));
}

TEST_F(ReplaceFileTest, ANewDocumentComesAcrossFileSystemsWithItsCodes) {
    const OtherFileSystem other;
    if (!other.IsThere()) GTEST_SKIP() << kNoOther;
    WriteAll(other.Path("new"), "text");
    SetFork(other.Path("new"), MakeFourCC("TEXT"), "fork");
    EXPECT_EQ(Replace(other.Path("new"), Path("doc")), noErr);
    AppleDouble sidecar;
    ASSERT_EQ(Host::ReadSidecar(Path("doc").c_str(), &sidecar), noErr);
    EXPECT_EQ(sidecar.GetFinderInfo().Type(), MakeFourCC("TEXT"));
    EXPECT_EQ(sidecar.GetResourceFork(), "fork");
    EXPECT_EQ(Names(), (std::vector<std::string>{"._doc", "doc"}));
}

TEST_F(ReplaceFileTest, AFullFileSystemKeepsTheOldDocument) {
    const OtherFileSystem other;
    if (!other.IsThere()) GTEST_SKIP() << kNoOther;
    WriteAll(other.Path("doc"), "old");
    scratch_.Write("new", std::string(3 << 20, 'n'));
    EXPECT_EQ(Replace(Path("new"), other.Path("doc")), dskFulErr);
    EXPECT_EQ(ReadAll(other.Path("doc")), "old");
    EXPECT_EQ(ReadAll(Path("new")).size(), std::size_t{3} << 20);
    EXPECT_EQ(std::distance(fs::directory_iterator(other.Path(".")), {}), 1);
}

// --- Whatever fails -----------------------------------------------------------------------------

class Scenario {
 public:
    Scenario(const Scratch& scratch, bool exists, std::string finished)
        : scratch_(scratch), exists_(exists), finished_(std::move(finished)) {}

    void Prepare() const {
        std::error_code ignored;
        for (const char* name : {"doc", "._doc"})
            fs::remove(scratch_.Path(name), ignored);
        WriteAll(finished_, "the new text");
        if (exists_) {
            scratch_.Write("doc", "the old text");
            chmod(scratch_.Path("doc").c_str(), 0640);
            AppleDouble sidecar;
            sidecar.SetResourceFork("fork");
            ASSERT_EQ(Host::WriteSidecar(scratch_.Path("doc").c_str(), sidecar), noErr);
        }
    }

    void CheckOldOrNew(bool mustBeNew, const std::string& where) const {
        const std::string document = scratch_.Path("doc");
        const std::string text = Exists(document) ? ReadAll(document) : "none";
        const std::string old = exists_ ? "the old text" : "none";
        EXPECT_TRUE(text == "the new text" || (text == old && !mustBeNew)) << where << ": " << text;
        if (text == old) {
            EXPECT_EQ(ReadAll(finished_), "the new text") << where;
        }
        if (!exists_) return;
        AppleDouble sidecar;
        ASSERT_EQ(Host::ReadSidecar(document.c_str(), &sidecar), noErr);
        EXPECT_EQ(sidecar.GetResourceFork(), "fork") << where;
    }

 private:
    const Scratch& scratch_;
    bool exists_;
    std::string finished_;
};

void FailEveryCall(const Scratch& scratch, bool exists, const std::string& finished) {
    const Scenario scenario(scratch, exists, finished);
    for (const int error : {EIO, ENOSPC, EINTR, EACCES, EMFILE, ENOMEM}) {
        for (int n = 1;; ++n) {
            scenario.Prepare();
            if (::testing::Test::HasFatalFailure()) return;
            const int before = OpenDescriptors();
            FileSpecFunctions functions;
            const FileSpec from(UTF8ToUni16String(finished));
            const FileSpec to(UTF8ToUni16String(scratch.Path("doc")));
            std::string where;
            bool fired = false;
            {
                FaultPlan plan(n, error);
                functions.ReplaceFile(from, to);
                fired = plan.Fired();
                where = plan.Where() + " " + std::to_string(error);
            }
            EXPECT_EQ(OpenDescriptors(), before) << where;
            scenario.CheckOldOrNew(functions.errorCode == noErr, where);
            int copies = 0;
            for (const auto& entry : fs::directory_iterator(scratch.Path()))
                copies += entry.path().filename().string().ends_with("doc") ? 0 : 1;
            EXPECT_LE(copies, 1) << "a temporary was left behind: " << where;
            if (!fired) {
                EXPECT_EQ(functions.errorCode, noErr);
                break;
            }
            ASSERT_LT(n, 1000);
        }
    }
}

TEST_F(ReplaceFileTest, WhicheverCallFailsAcrossFileSystemsTheOldOrTheNewIsThere) {
    const OtherFileSystem other;
    if (!other.IsThere()) GTEST_SKIP() << kNoOther;
    FailEveryCall(scratch_, true, other.Path("new"));
    FailEveryCall(scratch_, false, other.Path("new"));
}

}  // namespace
}  // namespace Ondrel::Testing
