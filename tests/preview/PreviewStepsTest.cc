// The steps in which a preview goes to the disk: how many there are, and what is there when one of
// them fails, or is the last that the process makes.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "ondrel/platform/Syscalls.h"
#include "tests/preview/PreviewHelpers.h"
#include "tests/support/FaultPlan.h"

namespace Ondrel::Testing {
namespace {

constexpr const char* kWhole = "PICT 256 Preview; pnot 0 Preview; icns -16455 ; ";

// The times that an entry of the table of system calls is made use of.
int CallsOf(const char* entry, const std::string& path, const OwnedPix& image) {
    const FaultPlan counted(1000000, ENOSPC, entry);
    filpictpreview(FileSpec(Wide(path)), image.get(), 72, nullptr);
    return counted.Calls();
}

TEST(PreviewSteps, PreviewAndIconGoToTheDiskInOneStep) {
    const Scratch scratch;
    const OwnedPix image = NoiseMap(50, 40, 2);
    const std::string path = scratch.Write("document", "data");
    // The first preview finds no fork, and the empty one that it makes is stored as well.
    EXPECT_EQ(CallsOf("renameat2", path, image), 2);
    EXPECT_EQ(CallsOf("renameat2", path, image), 1);
    EXPECT_EQ(CallsOf("fdatasync", path, image), 1);
    EXPECT_EQ(Types(List(path)), kWhole);
}

// A preview without its icon is better than none.
TEST(PreviewSteps, WhereThereIsNoRoomForBothThePreviewIsStoredAlone) {
    const Scratch scratch;
    const std::string path = scratch.Write("document", "data");
    Preview(scratch, NoiseMap(40, 30, 1));
    {
        const FaultPlan full(1, ENOSPC, "fdatasync");  // of the first of three steps
        filpictpreview(FileSpec(Wide(path)), NoiseMap(50, 40, 2).get(), 72, nullptr);
        EXPECT_TRUE(full.Fired());
    }
    EXPECT_EQ(Types(List(path)), kWhole);
    const Scratch other;
    EXPECT_EQ(Hex(PictureOf(path)), Hex(Preview(other, NoiseMap(50, 40, 2))));
}

int callsToLive = 0;

// Ends the process in place of the call that is one too many.
template <auto kEntry>
struct Deadly;
template <class Result, class... Arguments, Result (*Syscalls::*kEntry)(Arguments...)>
struct Deadly<kEntry> {
    static Result Call(Arguments... arguments) {
        if (callsToLive-- == 0) _exit(0);
        return (kHostSyscalls.*kEntry)(arguments...);
    }
    static void Enter() { syscalls.*kEntry = Call; }
};

// Writes a preview in a child that is killed after so many calls. False: it lived to the end.
bool IsKilledInPreview(const std::string& path, const OwnedPix& image, int calls) {
    const pid_t child = fork();
    if (child == 0) {
        callsToLive = calls;
        Deadly<&Syscalls::openat>::Enter();
        Deadly<&Syscalls::pread>::Enter();
        Deadly<&Syscalls::pwrite>::Enter();
        Deadly<&Syscalls::fdatasync>::Enter();
        Deadly<&Syscalls::renameat2>::Enter();
        Deadly<&Syscalls::unlinkat>::Enter();
        Deadly<&Syscalls::fchmod>::Enter();
        Deadly<&Syscalls::close>::Enter();
        filpictpreview(FileSpec(Wide(path)), image.get(), 72, nullptr);
        _exit(1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST(PreviewSteps, KilledAtAnyCallItLeavesTheOldSidecarOrTheNewOneWithItsIcon) {
    const Scratch scratch;
    Preview(scratch, NoiseMap(40, 30, 1));
    const std::string path = scratch.Path("document");
    const std::string old = ReadAll(SidecarOf(path));
    const OwnedPix image = NoiseMap(50, 40, 2);
    Preview(scratch, image);
    const std::string finished = ReadAll(SidecarOf(path));
    int kills = 0;
    for (bool isKilled = true; isKilled; ++kills) {
        ASSERT_LT(kills, 1000);
        WriteAll(SidecarOf(path), old);
        isKilled = IsKilledInPreview(path, image, kills);
        const std::string sidecar = ReadAll(SidecarOf(path));
        EXPECT_TRUE(sidecar == finished || (isKilled && sidecar == old)) << kills;
        EXPECT_EQ(ReadAll(path), "data");
    }
    EXPECT_GT(kills, 10);
}

// Whatever call fails, what is there can be read: the old fork, the new one, or the new one
// without its icon.
TEST(PreviewSteps, AFailureLeavesAForkThatCanBeRead) {
    const Scratch scratch;
    Preview(scratch, NoiseMap(40, 30, 1));
    const std::string path = scratch.Path("document");
    const std::string old = ReadAll(SidecarOf(path));
    const OwnedPix image = NoiseMap(50, 40, 2);
    const int descriptors = OpenDescriptors();
    bool finished = false;
    for (int n = 1; !finished; ++n) {
        ASSERT_LT(n, 1000);
        {
            const FaultPlan plan(n, ENOSPC);
            filpictpreview(FileSpec(Wide(path)), image.get(), 72, nullptr);
            finished = !plan.Fired();
        }
        const std::string types = Types(List(path));
        EXPECT_TRUE(types == kWhole || types == "PICT 256 Preview; pnot 0 Preview; ")
            << n << ": " << types;
        EXPECT_EQ(ReadAll(path), "data") << n;
        EXPECT_EQ(OpenDescriptors(), descriptors) << n;
        WriteAll(SidecarOf(path), old);
    }
}

}  // namespace
}  // namespace Ondrel::Testing
