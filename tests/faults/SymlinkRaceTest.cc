// Somebody else changes the folder between a look and the step that follows it: links that appear
// at the temporary-items folder, at a new file or at the swap lead nowhere.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <functional>

#include "ondrel/core/FileSpecFunctions.h"
#include "ondrel/core/FileSupport.h"
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

// What somebody else does, once, right before the library's call.
std::function<void()> intrusion;

void Intrude() {
    if (intrusion) std::exchange(intrusion, nullptr)();
}

mode_t ModeOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

class SymlinkRaces : public ::testing::Test {
 protected:
    SymlinkRaces() { MountVolume("Test", scratch_.Path().c_str()); }
    ~SymlinkRaces() override {
        syscalls = kHostSyscalls;
        intrusion = nullptr;
        UnmountVolume("Test");
    }

    std::string Path(const std::string& name) const { return scratch_.Path(name); }

    // A file of ours that is not to be touched, outside of the folder that others can change.
    std::string Victim() const {
        std::string path = other_.Write("victim", "private");
        EXPECT_EQ(chmod(path.c_str(), 0600), 0);
        return path;
    }

    void ExpectUntouched(const std::string& victim) const {
        EXPECT_EQ(ReadAll(victim), "private");
        EXPECT_EQ(ModeOf(victim), mode_t{0600});
    }

    const Scratch scratch_;
    const Scratch other_;
};

TEST_F(SymlinkRaces, ALinkThatAppearsAtTheTemporaryItemsFolderIsRefused) {
    const std::string before = fs::temp_directory_path();
    setenv("TMPDIR", scratch_.Path().c_str(), 1);
    const std::string name = Path("TemporaryItems-" + std::to_string(geteuid()));
    intrusion = [&] { fs::create_directory_symlink(other_.Path(), name); };
    syscalls.mkdirat = [](int folder, const char* path, mode_t mode) {
        Intrude();
        return kHostSyscalls.mkdirat(folder, path, mode);
    };
    FileSpec folder;
    EXPECT_EQ(FileSupport::GetPredefinedFolder(folder, FileSupport::kTemporaryItems, true),
              permErr);
    EXPECT_FALSE(folder.IsValid());
    fil f;
    EXPECT_EQ(filsavtem(&f, nullptr, nullptr, 0, nullptr), -1);
    EXPECT_EQ(f.sys->error, permErr);
    filclo(&f);
    EXPECT_TRUE(fs::is_empty(other_.Path()));
    setenv("TMPDIR", before.c_str(), 1);
}

TEST_F(SymlinkRaces, ALinkInThePlaceOfTheFinishedFileGivesNoAttributesAway) {
    const std::string victim = Victim();
    scratch_.Write("doc", "old");
    ASSERT_EQ(chmod(Path("doc").c_str(), 0666), 0);
    scratch_.Write("finished", "new");
    intrusion = [&] {
        fs::remove(Path("finished"));
        fs::create_symlink(victim, Path("finished"));
    };
    // The document's links are followed after the finished file was looked at.
    syscalls.readlinkat = [](int folder, const char* path, char* buffer, size_t size) {
        Intrude();
        return kHostSyscalls.readlinkat(folder, path, buffer, size);
    };
    FileSpecFunctions functions;
    EXPECT_FALSE(functions.ReplaceFile(SpecOf(Path("finished")), SpecOf(Path("doc"))));
    EXPECT_FALSE(intrusion) << "nobody intruded";
    ExpectUntouched(victim);
    EXPECT_EQ(ReadAll(Path("doc")), "old");
}

TEST_F(SymlinkRaces, ALinkInThePlaceOfTheSidecarIsNotWrittenThrough) {
    const std::string victim = Victim();
    scratch_.Write("doc", "text");
    fs::create_symlink(victim, Path("._doc"));
    FileCodes codes;
    codes.type = kDataType;
    EXPECT_NE(SetFileCodes(Path("doc").c_str(), codes), noErr);
    Answer ignored;
    WritePreview(scratch_, &ignored);
    WriteIcon(scratch_, &ignored);
    ExpectUntouched(victim);
    EXPECT_EQ(ReadAll(Path("doc")), "text");
}

TEST_F(SymlinkRaces, ATemporaryFileIsNeverMadeThroughALink) {
    const std::string victim = Victim();
    scratch_.Write("doc", "text");
    static std::string place;
    place = victim;
    static int made;
    made = 0;
    // Wherever a file is to be made, somebody has put a link the moment before.
    syscalls.openat = [](int folder, const char* path, int flags, mode_t mode) {
        if ((flags & O_CREAT) != 0 && symlink(place.c_str(), path) == 0) ++made;
        return kHostSyscalls.openat(folder, path, flags, mode);
    };
    FileCodes codes;
    codes.type = kDataType;
    EXPECT_NE(SetFileCodes(Path("doc").c_str(), codes), noErr);
    fil f;
    const filref folder = RefTo("doc");
    EXPECT_EQ(filsavtem(&f, nullptr, &folder, 0, nullptr), -1);
    filclo(&f);
    EXPECT_GE(made, 2);
    ExpectUntouched(victim);
}

TEST_F(SymlinkRaces, ALinkInThePlaceOfAFileJustMadeIsNotWrittenThrough) {
    const filref document = RefTo("doc");
    for (const bool safely : {true, false}) {
        const std::string victim = Victim();
        static std::string place;
        place = victim;
        static int made;
        made = 0;
        // Whoever may write to the folder puts a link there the moment after.
        syscalls.openat = [](int folder, const char* path, int flags, mode_t mode) {
            const int fd = kHostSyscalls.openat(folder, path, flags, mode);
            if (fd != -1 && (flags & O_CREAT) != 0 && unlink(path) == 0 &&
                symlink(place.c_str(), path) == 0)
                ++made;
            return fd;
        };
        fil f;
        EXPECT_EQ(safely ? filsavtem(&f, nullptr, &document, 0, nullptr)
                         : filsav(&f, nullptr, &document, 0),
                  -1);
        syscalls = kHostSyscalls;
        EXPECT_EQ(f.sys->error, fnfErr);
        filclo(&f);
        EXPECT_EQ(made, 1);
        ExpectUntouched(victim);
    }
    EXPECT_TRUE(fs::is_empty(scratch_.Path())) << "what was made is taken away again";
}

}  // namespace
}  // namespace Ondrel::Testing
