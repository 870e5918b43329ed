// Nobody sees a new version or a sidecar, not even for a moment, who may not see the document.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "ondrel/core/FileSpecFunctions.h"
#include "ondrel/core/Volumes.h"
#include "ondrel/fil/safesave.h"
#include "ondrel/platform/FileCodes.h"
#include "ondrel/platform/Syscalls.h"
#include "tests/core/SpecHelpers.h"
#include "tests/faults/DocumentSteps.h"
#include "tests/faults/StreamSteps.h"

namespace Ondrel::Testing {
namespace {

namespace fs = std::filesystem;

mode_t ModeOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

mode_t allowed = 0;
int seen = 0;
int wider = 0;

// The owner's own reading and writing is nobody else's looking.
void LookAt(int fd) {
    struct stat status {};
    if (kHostSyscalls.fstat(fd, &status) != 0) return;
    ++seen;
    if ((status.st_mode & 0777 & ~(allowed | 0600)) != 0) ++wider;
}

// Watches every file that is made or written to.
void WatchFiles(mode_t mode) {
    allowed = mode;
    seen = 0;
    wider = 0;
    syscalls.openat = [](int folder, const char* path, int flags, mode_t bits) {
        const int fd = kHostSyscalls.openat(folder, path, flags, bits);
        if (fd != -1 && (flags & O_CREAT) != 0) LookAt(fd);
        return fd;
    };
    syscalls.pwrite = [](int fd, const void* bytes, size_t size, off_t offset) {
        LookAt(fd);
        return kHostSyscalls.pwrite(fd, bytes, size, offset);
    };
    syscalls.pwritev2 = [](int fd, const iovec* parts, int count, off_t offset, int flags) {
        LookAt(fd);
        return kHostSyscalls.pwritev2(fd, parts, count, offset, flags);
    };
}

// Under a name of the caller's and not a made-up one.
void SaveUnderAName(const Scratch& scratch, Answer* answer) {
    const filref document = RefTo("doc");
    fil f;
    EXPECT_EQ(filsavtem(&f, nullptr, &document, DocumentType().identifier, "named"), 0);
    EXPECT_EQ(filwri32(&f, 0x6E657721), 0);
    EXPECT_EQ(filclo(&f), 0);
    FileSpecFunctions functions;
    functions.ReplaceFile(SpecOf(scratch.Path("named")), SpecOf(scratch.Path("doc")));
    TellCode(functions.errorCode, answer);
}

void SetCodes(const Scratch& scratch, Answer* answer) {
    FileCodes codes;
    codes.type = kDataType;
    TellCode(SetFileCodes(scratch.Path("doc").c_str(), codes), answer);
}

class Permission : public ::testing::Test {
 protected:
    Permission() : mask_(umask(0)) {
        RegisterFileType(DocumentType());
        MountVolume("Test", scratch_.Path().c_str());
    }
    ~Permission() override {
        syscalls = kHostSyscalls;
        umask(mask_);
        UnmountVolume("Test");
    }

    // A document with a sidecar, both of that permission, and a finished new version.
    void MakeDocument(mode_t mode) const {
        for (const auto& item : fs::directory_iterator(scratch_.Path()))
            fs::remove(item.path());
        DocumentAndFinished(scratch_);
        for (const char* name : {"doc", "._doc", "finished"})
            ASSERT_EQ(chmod(scratch_.Path(name).c_str(), mode), 0);
    }

    const Scratch scratch_;
    const mode_t mask_;
};

struct Change {
    const char* name;
    void (*run)(const Scratch& scratch, Answer* answer);
};

const Change kChanges[] = {
    {"save safely", SaveSafely},  {"save under a name", SaveUnderAName},
    {"set codes", SetCodes},      {"write a preview", WritePreview},
    {"write an icon", WriteIcon}, {"swap", Swap},
};

TEST_F(Permission, NothingIsEverMadeOrWrittenThatMoreMaySeeThanTheDocument) {
    for (const mode_t mode : {mode_t{0600}, mode_t{0640}, mode_t{0604}, mode_t{0644}}) {
        for (const Change& change : kChanges) {
            MakeDocument(mode);
            WatchFiles(mode);
            Answer answer;
            change.run(scratch_, &answer);
            syscalls = kHostSyscalls;
            EXPECT_TRUE(answer.succeeded) << change.name << ", code " << answer.code;
            EXPECT_GT(seen, change.run == Swap ? -1 : 0) << change.name;
            EXPECT_EQ(wider, 0) << change.name << std::oct << ", mode " << mode;
            EXPECT_EQ(ModeOf(scratch_.Path("doc")), mode) << change.name;
            EXPECT_EQ(ModeOf(scratch_.Path("._doc")) & ~mode, mode_t{0}) << change.name;
        }
    }
}

TEST_F(Permission, TheWatchSeesWhatIsWiderThanTheDocument) {
    MakeDocument(0600);
    WatchFiles(0600);
    fil f;
    const filref folder = RefTo("nobody's name");
    ASSERT_EQ(filsavtem(&f, nullptr, &folder, 0, nullptr), 0);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_GT(wider, 0);
    EXPECT_GE(seen, wider);
}

TEST_F(Permission, ANewVersionHasTheDocumentsUntilItIsSwapped) {
    MakeDocument(0640);
    fil f;
    FileSpec finished;
    const filref document = RefTo("doc");
    ASSERT_EQ(filsavtem(&f, nullptr, &document, DocumentType().identifier, nullptr), 0);
    f.GetFileSpec(finished);
    EXPECT_EQ(filclo(&f), 0);
    std::string path;
    std::string name;
    ASSERT_TRUE(finished.GetFullPath(path));
    ASSERT_TRUE(finished.GetName(name));
    EXPECT_EQ(ModeOf(path), mode_t{0640});
    EXPECT_EQ(ModeOf(scratch_.Path("._" + name)), mode_t{0640});
}

TEST_F(Permission, WhereNoDocumentIsNamedTheUsersOwnHolds) {
    MakeDocument(0600);
    umask(027);
    for (const char* place : {"x", "new document"}) {
        fil f;
        const filref folder = RefTo(place);
        ASSERT_EQ(filsavtem(&f, nullptr, &folder, 0, "fresh"), 0);
        EXPECT_EQ(filclo(&f), 0);
        EXPECT_EQ(ModeOf(scratch_.Path("fresh")), mode_t{0640}) << place;
    }
}

}  // namespace
}  // namespace Ondrel::Testing
