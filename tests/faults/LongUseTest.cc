// Long use and load: after thousands of cycles no memory and no descriptor has been kept, a
// thousand streams are open at once, documents are as large as a position can tell, and disks are
// full, read-only or of another kind.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>

#include "ondrel/core/FileSpecFunctions.h"
#include "ondrel/core/Volumes.h"
#include "ondrel/fil/safesave.h"
#include "ondrel/platform/FileManager.h"
#include "tests/core/SpecHelpers.h"
#include "tests/faults/DocumentSteps.h"
#include "tests/faults/LongForm.h"
#include "tests/faults/Memory.h"
#include "tests/faults/StreamSteps.h"

namespace Ondrel::Testing {
namespace {

// What of this process is in memory.
long ResidentKiB() {
    std::ifstream status("/proc/self/statm");
    long all = 0;
    long resident = 0;
    status >> all >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

class LongUse : public ::testing::Test {
 protected:
    LongUse() { MountVolume("Test", scratch_.Path().c_str()); }
    ~LongUse() override { UnmountVolume("Test"); }

    // Runs `step` so often that what is kept once is there, and then `times` times more: nothing
    // has been kept since.
    template <class Step>
    void ExpectNoGrowth(int warmUp, int times, const Step& step) {
        for (int i = 0; i < warmUp; ++i)
            step(i);
        const long blocks = OutstandingBlocks();
        const long bytes = OutstandingBytes();
        const int descriptors = OpenDescriptors();
        const long resident = ResidentKiB();
        for (int i = 0; i < times && !HasFailure(); ++i)
            step(warmUp + i);
        EXPECT_EQ(OpenDescriptors(), descriptors);
        EXPECT_EQ(OutstandingBlocks(), blocks);
        EXPECT_LT(OutstandingBytes() - bytes, 4096) << "names in tables may have grown a little";
        // The allocator may lay things out anew; what each time would take shows in the long form.
        // A sanitizer's own keeps what was freed.
        const bool isOwn = bytes != 0;
        EXPECT_LT(isOwn ? ResidentKiB() - resident : 0, 1024);
        std::printf("%d times: %d descriptors, %ld blocks of %ld bytes, %ld and then %ld KiB\n",
                    times, descriptors, blocks, bytes, resident, ResidentKiB());
    }

    const Scratch scratch_;
};

TEST_F(LongUse, OpeningWritingAndReadingAgainAndAgainKeepsNothing) {
    const filref ref = RefTo("doc");
    ExpectNoGrowth(3000, ShortOrLong(2000, 100000), [&](int i) {
        fil f;
        ASSERT_EQ(filsav(&f, nullptr, &ref, 0), 0);
        ASSERT_EQ(filwri32(&f, i), 0);
        ASSERT_EQ(filclo(&f), 0);
        ASSERT_EQ(filope(&f, nullptr, ref), 0);
        ASSERT_EQ(filrea32(&f), i);
        ASSERT_EQ(filclo(&f), 0);
    });
}

TEST_F(LongUse, PreviewAfterPreviewKeepsNothing) {
    WholeDocument(scratch_);
    const std::string document = ReadAll(scratch_.Path("doc"));
    const auto write = [&](int) {
        Answer answer;
        WritePreview(scratch_, &answer);
        ASSERT_TRUE(answer.succeeded) << answer.code;
    };
    write(0);
    const std::string sidecar = ReadAll(scratch_.Path("._doc"));
    ASSERT_GT(sidecar.size(), SidecarBytes(SmallFork()).size());
    ExpectNoGrowth(5, ShortOrLong(60, 10000), write);
    EXPECT_TRUE(ReadAll(scratch_.Path("._doc")) == sidecar) << "the same preview, the same bytes";
    EXPECT_EQ(ReadAll(scratch_.Path("doc")), document);
}

TEST_F(LongUse, AThousandStreamsAreOpenAtOnce) {
    constexpr int kStreams = 1000;
    struct rlimit limit {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    const struct rlimit before = limit;
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 4096);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    if (limit.rlim_cur < kStreams + 50) GTEST_SKIP() << "the host allows too few descriptors";
    std::vector<std::unique_ptr<fil>> streams;
    for (int i = 0; i < kStreams; ++i) {
        streams.push_back(std::make_unique<fil>());
        const filref ref = RefTo("s" + std::to_string(i));
        ASSERT_EQ(filsav(streams.back().get(), nullptr, &ref, 0), 0) << i;
        ASSERT_EQ(filwri32(streams.back().get(), i), 0);
    }
    for (int round = 0; round < 2; ++round)
        for (int i = 0; i < kStreams; ++i)
            ASSERT_EQ(filwri16(streams[static_cast<std::size_t>(i)].get(), i * 3), 0);
    for (const auto& f : streams)
        ASSERT_EQ(filclo(f.get()), 0);
    for (int i = 0; i < kStreams; ++i) {
        fil& f = *streams[static_cast<std::size_t>(i)];
        ASSERT_EQ(filope(&f, nullptr, RefTo("s" + std::to_string(i))), 0) << i;
    }
    for (int i = 0; i < kStreams; ++i) {
        fil& f = *streams[static_cast<std::size_t>(i)];
        ASSERT_EQ(filrea32(&f), i);
        ASSERT_EQ(filrea16(&f), (i * 3) & 0xFFFF);
        ASSERT_EQ(filclo(&f), 0);
    }
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
}

// --- Large documents ----------------------------------------------------------------------------

constexpr int kHuge = 2136746229;  // 1.99 GiB

unsigned ByteAt(int position) {
    const auto at = static_cast<unsigned>(position);
    return (at * 7 + at / 251) & 255;
}

// The ends and the middle are written, and what lies between is a hole; or, in the long form, every
// byte.
TEST_F(LongUse, ADocumentOf199GiBIsWrittenAndRead) {
    const filref ref = RefTo("doc");
    constexpr int kPiece = 40000;
    std::vector<int> places = {0, 1 << 30, kHuge - kPiece};
    if (IsLongForm()) {
        places.clear();
        for (int at = 0; at < kHuge - kPiece; at += kPiece)
            places.push_back(at);
    }
    std::string piece(kPiece, '\0');
    const auto fill = [&](int at) {
        for (int i = 0; i < kPiece; ++i)
            piece[static_cast<std::size_t>(i)] = static_cast<char>(ByteAt(at + i));
        return reinterpret_cast<const unsigned char*>(piece.data());
    };
    fil f;
    ASSERT_EQ(filsav(&f, nullptr, &ref, 0), 0);
    for (const int at : places) {
        if (filpos(&f) != at) {
            ASSERT_EQ(filpos(&f, at), 0);
        }
        ASSERT_EQ(filwri(&f, fill(at), kPiece), 0) << at;
        ASSERT_EQ(filpos(&f), at + kPiece);
    }
    ASSERT_EQ(filclo(&f), 0);

    ASSERT_EQ(filope(&f, nullptr, ref), 0);
    ASSERT_EQ(filgetsiz(&f), places.back() + kPiece);
    std::string read(kPiece, '\0');
    for (const int at : places) {
        if (filpos(&f) != at) {
            ASSERT_EQ(filpos(&f, at), 0);
        }
        ASSERT_EQ(filrea(&f, reinterpret_cast<unsigned char*>(read.data()), kPiece), 0) << at;
        fill(at);
        ASSERT_TRUE(read == piece) << at;
    }
    EXPECT_TRUE(fileof(&f));
    ASSERT_EQ(filclo(&f), 0);
}

// --- Other disks --------------------------------------------------------------------------------

// Runs a look in a child with mounts of its own; false where the host does not allow that.
bool WithMounts(const std::function<bool()>& mount, const std::function<void()>& look) {
    constexpr int kNotAllowed = 77;
    const pid_t child = fork();
    if (child == 0) {
        const bool isAlone = unshare(CLONE_NEWNS) == 0 &&
                             ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
        if (!isAlone || !mount()) _exit(kNotAllowed);
        look();
        _exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == kNotAllowed) return false;
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    return true;
}

constexpr const char* kNoMounts = "mounts of one's own need root";

TEST_F(LongUse, ADocumentOnAFullDiskKeepsItsOldVersion) {
    const std::string disk = scratch_.MakeFolder("disk");
    const bool done = WithMounts(
        [&] { return mount("none", disk.c_str(), "tmpfs", 0, "size=256k") == 0; },
        [&] {
            WriteAll(disk + "/doc", std::string(100000, 'o'));
            const filref folder = RefTo("disk:x");
            const std::string text(200000, 'n');
            fil f;
            ASSERT_EQ(filsavtem(&f, nullptr, &folder, 0, nullptr), 0);
            FileSpec finished;
            f.GetFileSpec(finished);
            int result = filwri(&f, reinterpret_cast<const unsigned char*>(text.data()), 200000);
            if (result == 0) result = filflu(&f);
            EXPECT_EQ(result, -1);
            EXPECT_EQ(f.sys->error, dskFulErr);
            EXPECT_NE(GetFileErrorMessage(&f).find("Disk full error (#-34)"), std::string::npos);
            filclo(&f);
            EXPECT_TRUE(FileSpecFunctions().DeleteFile(finished, false));
            EXPECT_EQ(ReadAll(disk + "/doc"), std::string(100000, 'o'));
            // With room again the same save succeeds.
            ASSERT_EQ(mount("none", disk.c_str(), nullptr, MS_REMOUNT, "size=1m"), 0);
            ASSERT_EQ(filsavtem(&f, nullptr, &folder, 0, nullptr), 0);
            f.GetFileSpec(finished);
            ASSERT_EQ(filwri(&f, reinterpret_cast<const unsigned char*>(text.data()), 200000), 0);
            ASSERT_EQ(filflu(&f), 0);
            ASSERT_EQ(filclo(&f), 0);
            EXPECT_TRUE(FileSpecFunctions().ReplaceFile(finished, SpecOf(disk + "/doc")));
            EXPECT_EQ(ReadAll(disk + "/doc"), text);
        });
    if (!done) GTEST_SKIP() << kNoMounts;
}

TEST_F(LongUse, ADocumentOnAReadOnlyDiskCanBeReadAndNothingElse) {
    const std::string disk = scratch_.MakeFolder("disk");
    WholeDocument(scratch_);
    const bool done = WithMounts(
        [&] {
            if (mount("none", disk.c_str(), "tmpfs", 0, "size=256k") != 0) return false;
            WriteAll(disk + "/doc", "text");
            return mount("none", disk.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) == 0;
        },
        [&] {
            const filref ref = RefTo("disk:doc");
            fil f;
            ASSERT_EQ(filope(&f, nullptr, ref), 0);
            EXPECT_EQ(filrea32(&f), 0x74657874);
            EXPECT_EQ(filclo(&f), 0);
            EXPECT_EQ(filsavmod(&f, nullptr, ref), -1);
            EXPECT_EQ(f.sys->error, wPrErr);
            filclo(&f);
            EXPECT_EQ(filsav(&f, nullptr, &ref, 0), -1);
            EXPECT_EQ(f.sys->error, wPrErr);
            filclo(&f);
            FileSpecFunctions functions;
            const FileSpec document = SpecOf(disk + "/doc");
            EXPECT_FALSE(functions.DeleteFile(document, false));
            EXPECT_EQ(functions.errorCode, wPrErr);
            EXPECT_FALSE(functions.ReplaceFile(SpecOf(scratch_.Path("doc")), document));
            EXPECT_EQ(functions.errorCode, wPrErr);
            Answer ignored;
            WritePreview(scratch_, &ignored);
            EXPECT_EQ(ReadAll(disk + "/doc"), "text");
        });
    if (!done) GTEST_SKIP() << kNoMounts;
}

// A whole document's life, wherever it lies.
void LiveOn(const std::string& disk) {
    MountVolume("Disk", disk.c_str());
    filref ref;
    ref.ConvertFromMacPath("Disk:doc");
    const std::string text(50000, 't');
    fil f;
    EXPECT_EQ(filsav(&f, nullptr, &ref, 0), 0);
    EXPECT_EQ(filwri(&f, reinterpret_cast<const unsigned char*>(text.data()), 50000), 0);
    EXPECT_EQ(filflu(&f), 0);
    EXPECT_EQ(filclo(&f), 0);
    FileSpec finished;
    RegisterFileType(DocumentType());
    EXPECT_EQ(filsavtem(&f, nullptr, &ref, DocumentType().identifier, nullptr), 0);
    f.GetFileSpec(finished);
    EXPECT_EQ(filwri32(&f, 0x6E657721), 0);
    EXPECT_EQ(filflu(&f), 0);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_TRUE(FileSpecFunctions().ReplaceFile(finished, SpecOf(disk + "/doc")));
    EXPECT_EQ(ReadAll(disk + "/doc"), "new!");
    EXPECT_TRUE(Exists(disk + "/._doc")) << "the codes";
    EXPECT_EQ(filope(&f, nullptr, ref), 0);
    EXPECT_EQ(filrea32(&f), 0x6E657721);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(fildel(ref), 0);
    EXPECT_TRUE(std::filesystem::is_empty(disk));
    UnmountVolume("Disk");
}

TEST_F(LongUse, ADocumentLivesOnDisksOfOtherKinds) {
    int lived = 0;
    for (const char* place : {"/tmp", "/dev/shm", "/var/tmp"}) {
        std::string folder = std::string(place) + "/ondrel-disk-XXXXXX";
        if (mkdtemp(folder.data()) == nullptr) continue;
        SCOPED_TRACE(place);
        LiveOn(folder);
        std::filesystem::remove_all(folder);
        ++lived;
    }
    EXPECT_GT(lived, 0);
}

// A file system in user space; bindfs of Debian serves, where it is installed and allowed.
TEST_F(LongUse, ADocumentLivesOnAFileSystemInUserSpace) {
    const std::string behind = scratch_.MakeFolder("behind");
    const std::string disk = scratch_.MakeFolder("disk");
    const std::string command = "bindfs '" + behind + "' '" + disk + "' 2>/dev/null";
    if (system(command.c_str()) != 0) GTEST_SKIP() << "bindfs is not installed, or not allowed";
    LiveOn(disk);
    EXPECT_EQ(system(("fusermount -u '" + disk + "'").c_str()), 0);
}

}  // namespace
}  // namespace Ondrel::Testing
