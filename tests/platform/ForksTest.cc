// Opening, closing and measuring forks; numbers, permissions, and one writer at a time.
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <set>
#include <vector>

#include "ondrel/platform/ForkTable.h"
#include "ondrel/platform/ResourceManager.h"
#include "tests/platform/ForkHelpers.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {
namespace {

// --- Opening ------------------------------------------------------------------------------------

TEST(FileForks, TheDataForkHasTheEmptyName) {
    HFSUniStr255 name;
    name.length = 7;
    EXPECT_EQ(FSGetDataForkName(&name), noErr);
    EXPECT_EQ(name.length, 0);
    EXPECT_EQ(FSGetDataForkName(nullptr), -50);
}

TEST(FileForks, AFileOpensUnderAPositiveNumber) {
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "hello"), fsRdPerm);
    EXPECT_GT(fork, 0);
    std::int64_t size = -1;
    EXPECT_EQ(FSGetForkSize(fork, &size), noErr);
    EXPECT_EQ(size, 5);
    EXPECT_EQ(FSGetForkSize(fork, nullptr), -50);
}

TEST(FileForks, ASizeFollowsTheFile) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "hello");
    const OpenedFork fork(path, fsRdPerm);
    WriteAll(path, "hello world");
    std::int64_t size = -1;
    EXPECT_EQ(FSGetForkSize(fork, &size), noErr);
    EXPECT_EQ(size, 11);
}

TEST(FileForks, OpeningNeverCutsAFile) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "hello");
    for (const signed char permission : {fsRdPerm, fsWrPerm, fsRdWrPerm})
        const OpenedFork fork(path, permission);
    EXPECT_EQ(ReadAll(path), "hello");
}

TEST(FileForks, OtherForksAndPermissionsAreRefusedWithMinus50) {
    const Scratch scratch;
    FSRef ref;
    ASSERT_EQ(FSPathMakeRef(scratch.Write("a", "").c_str(), &ref), noErr);
    short number = 77;
    for (const std::u16string name : {u"R", u"RESOURCE_FOR", u"RESOURCE_FORKS", u"resource_fork"}) {
        const std::vector<UniChar> units(name.begin(), name.end());
        EXPECT_EQ(FSOpenFork(&ref, units.size(), units.data(), fsRdPerm, &number), -50);
    }
    EXPECT_EQ(FSOpenFork(&ref, 13, nullptr, fsRdPerm, &number), -50);
    for (const int permission : {-1, 0, 4, 127})
        EXPECT_EQ(FSOpenFork(&ref, 0, nullptr, static_cast<signed char>(permission), &number), -50);
    EXPECT_EQ(FSOpenFork(nullptr, 0, nullptr, fsRdPerm, &number), -50);
    EXPECT_EQ(FSOpenFork(&ref, 0, nullptr, fsRdPerm, nullptr), -50);
    EXPECT_EQ(number, 77);
}

TEST(FileForks, OnlyARegularFileHasAFork) {
    const Scratch scratch;
    const std::string folder = scratch.MakeFolder("folder");
    const std::string fifo = scratch.Path("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const std::string socketPath = scratch.Path("socket");
    const int server = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(socketPath.size(), sizeof address.sun_path);
    socketPath.copy(address.sun_path, socketPath.size());
    ASSERT_EQ(bind(server, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    const std::string link = scratch.Path("link");
    ASSERT_EQ(symlink(folder.c_str(), link.c_str()), 0);

    const int descriptors = OpenDescriptors();
    for (const std::string& path : {folder, fifo, socketPath, link, std::string("/dev/null")}) {
        for (const signed char permission : {fsRdPerm, fsWrPerm, fsRdWrPerm}) {
            short number = 77;
            EXPECT_EQ(OpenFork(path, permission, &number), -43) << path << " " << int{permission};
            EXPECT_EQ(number, 77);
        }
    }
    EXPECT_EQ(OpenDescriptors(), descriptors);
    close(server);
}

TEST(FileForks, ALinkOpensItsTarget) {
    const Scratch scratch;
    const std::string target = scratch.Write("target", "hello");
    const std::string link = scratch.Path("link");
    ASSERT_EQ(symlink("target", link.c_str()), 0);
    const OpenedFork fork(link, fsRdPerm);
    OSErr code = 1;
    EXPECT_EQ(Read(fork, 0, 5, &code), "hello");
    EXPECT_EQ(code, noErr);
}

TEST(FileForks, ALinkItselfIsNoFile) {
    const Scratch scratch;
    const std::string file = scratch.Write("a", "xyz");
    ASSERT_EQ(symlink("a", scratch.Path("link").c_str()), 0);
    for (const signed char permission : {fsRdPerm, fsWrPerm, fsRdWrPerm}) {
        const auto itself = static_cast<signed char>(permission | fsItselfPerm);
        short number = 0;
        EXPECT_EQ(OpenFork(scratch.Path("link"), itself, &number), fnfErr);
        ASSERT_EQ(OpenFork(file, itself, &number), noErr);
        EXPECT_EQ(FSWriteFork(number, fsFromStart, 0, 1, "X", nullptr),
                  permission == fsRdPerm ? permErr : noErr);
        EXPECT_EQ(FSCloseFork(number), noErr);
    }
    short number = 0;
    EXPECT_EQ(OpenFork(file, fsItselfPerm, &number), paramErr);
}

TEST(FileForks, ALinkToNothingIsMinus43) {
    const Scratch scratch;
    const std::string link = scratch.Path("link");
    ASSERT_EQ(symlink("nowhere", link.c_str()), 0);
    short number = 0;
    EXPECT_EQ(OpenFork(link, fsRdPerm, &number), -43);
}

TEST(FileForks, AFileThatIsGoneIsMinus43) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    FSRef ref;
    ASSERT_EQ(FSPathMakeRef(path.c_str(), &ref), noErr);
    unlink(path.c_str());
    short number = 0;
    EXPECT_EQ(FSOpenFork(&ref, 0, nullptr, fsRdPerm, &number), -43);
}

TEST(FileForks, AFileOfOthersIsRefusedWithMinus54) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    ASSERT_EQ(chmod(scratch.Path().c_str(), 0755), 0);
    ASSERT_EQ(chmod(path.c_str(), 0000), 0);
    const int code = InAnotherProcess([&] {
        if (geteuid() == 0 && setresuid(65534, 65534, 65534) != 0) return 1;
        for (const signed char permission : {fsRdPerm, fsWrPerm, fsRdWrPerm}) {
            short number = 0;
            if (const OSErr result = OpenFork(path, permission, &number); result != permErr)
                return AsByte(result);
        }
        return AsByte(permErr);
    });
    EXPECT_EQ(code, AsByte(-54));
}

TEST(FileForks, AReadOnlyVolumeIsRefusedForWritingWithMinus44) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    const FaultPlan plan(1, EROFS, "openat");
    short number = 0;
    EXPECT_EQ(OpenFork(path, fsWrPerm, &number), -44);
}

TEST(FileForks, ALeaseOfAnotherProgramOnlyDelaysOpening) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    const FaultPlan plan(1, EWOULDBLOCK, "openat");
    const OpenedFork fork(path, fsRdPerm);
    EXPECT_EQ(plan.Calls(), 2);
}

// --- Numbers ------------------------------------------------------------------------------------

TEST(FileForks, EveryCallRefusesANumberThatIsNotOpenWithMinus51) {
    const Scratch scratch;
    OpenedFork closed(scratch.Write("a", ""), fsRdWrPerm);
    const short closedNumber = closed;
    ASSERT_EQ(closed.Close(), noErr);
    for (const short number : {closedNumber, short{0}, short{-1}, short{-32768}, short{32767}}) {
        std::int64_t value = 7;
        std::size_t count = 7;
        char byte = 0;
        FSForkIOParam request = Request(number, 0, 1, &byte);
        EXPECT_EQ(FSCloseFork(number), -51) << number;
        EXPECT_EQ(FSGetForkSize(number, &value), -51) << number;
        EXPECT_EQ(FSSetForkPosition(number, fsFromStart, 0), -51) << number;
        EXPECT_EQ(FSGetForkPosition(number, &value), -51) << number;
        EXPECT_EQ(FSWriteFork(number, fsFromStart, 0, 1, &byte, &count), -51) << number;
        EXPECT_EQ(count, 0u);
        EXPECT_EQ(PBReadForkAsync(&request), -51) << number;
        EXPECT_EQ(PBForkResult(&request), -51) << number;
        EXPECT_EQ(PBWriteForkAsync(&request), -51) << number;
        EXPECT_EQ(PBWaitFork(&request), -51) << number;
        EXPECT_EQ(value, 7);
    }
}

TEST(FileForks, ANumberIsReusedLate) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    std::set<short> numbers;
    for (int i = 0; i < 200; ++i) {
        const OpenedFork fork(path, fsRdPerm);
        EXPECT_TRUE(numbers.insert(fork).second) << "number " << fork << " came back after " << i;
    }
}

TEST(FileForks, TheTableHoldsEveryPositiveShortAndThenRefusesWithMinus42) {
    const Syscalls before = syscalls;
    syscalls.close = [](int) { return 0; };  // the descriptors below are none
    constexpr int kFirst = 1000000;
    std::set<short> numbers;
    OSErr code = noErr;
    for (int i = 0; code == noErr; ++i) {
        Host::Descriptor file(kFirst + i);
        Host::ForkFacts facts;
        facts.inode = static_cast<std::uint64_t>(i);
        short number = 0;
        code = Host::AddFork(&file, facts, &number);
        if (code == noErr) numbers.insert(number);
        EXPECT_EQ(file.IsOpen(), code != noErr);
    }
    EXPECT_EQ(code, -42);
    EXPECT_EQ(numbers.size(), 32767u);
    EXPECT_EQ(*numbers.begin(), 1);

    // One that becomes free can be had again.
    (void)Host::RemoveFork(12345);
    Host::Descriptor file(kFirst);
    short number = 0;
    EXPECT_EQ(Host::AddFork(&file, {}, &number), noErr);
    EXPECT_EQ(number, 12345);
    for (const short open : numbers)
        (void)Host::RemoveFork(open);
    syscalls = before;
}

TEST(FileForks, RunningOutOfDescriptorsIsMinus42) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    FSRef ref;
    ASSERT_EQ(FSPathMakeRef(path.c_str(), &ref), noErr);
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlimit few{3, limit.rlim_max};
    short number = 0;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    const OSErr code = FSOpenFork(&ref, 0, nullptr, fsRdPerm, &number);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_EQ(code, -42);
}

TEST(FileForks, CloseResFileClosesTheForkOfThatNumber) {
    const Scratch scratch;
    OpenedFork fork(scratch.Write("a", ""), fsRdPerm);
    CloseResFile(fork);
    EXPECT_EQ(fork.Close(), -51);
    CloseResFile(0);
    CloseResFile(-5);
}

TEST(FileForks, AFailingCloseIsReportedAndFreesTheNumber) {
    const Scratch scratch;
    OpenedFork fork(scratch.Write("a", ""), fsRdPerm);
    const short number = fork;
    {
        const FaultPlan plan(1, EIO, "close");
        EXPECT_EQ(fork.Close(), -36);
    }
    EXPECT_EQ(FSCloseFork(number), -51);
}

// --- One writer ---------------------------------------------------------------------------------

TEST(FileForks, ASecondWriterIsRefusedWithMinus49) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    const std::string otherName = scratch.Path("hard link");
    ASSERT_EQ(link(path.c_str(), otherName.c_str()), 0);
    for (const signed char first : {fsWrPerm, fsRdWrPerm}) {
        const OpenedFork writer(path, first);
        for (const signed char second : {fsWrPerm, fsRdWrPerm}) {
            short number = 77;
            EXPECT_EQ(OpenFork(path, second, &number), -49);
            EXPECT_EQ(OpenFork(otherName, second, &number), -49);
            EXPECT_EQ(number, 77);
        }
    }
    const OpenedFork afterwards(path, fsWrPerm);
}

TEST(FileForks, ASecondWriterIsRefusedAlsoWhereFilesHaveNoLocks) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    for (const int error : {ENOLCK, EOPNOTSUPP, EINVAL}) {
        const FaultPlan plan(1, error, "fcntl_lock", -1);
        const OpenedFork writer(path, fsWrPerm);
        short number = 0;
        EXPECT_EQ(OpenFork(path, fsWrPerm, &number), -49);
    }
}

TEST(FileForks, AWriterInAnotherProcessIsRefusedWithMinus49) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    int ready[2];
    int done[2];
    ASSERT_EQ(pipe(ready), 0);
    ASSERT_EQ(pipe(done), 0);
    const pid_t child = fork();
    if (child == 0) {
        close(done[1]);
        short number = 0;
        char byte = static_cast<char>(OpenFork(path, fsWrPerm, &number));
        if (write(ready[1], &byte, 1) != 1 || read(done[0], &byte, 1) != 0) _exit(1);
        _exit(0);  // as a program that dies: without closing
    }
    close(done[0]);
    char byte = 1;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    EXPECT_EQ(byte, 0) << "the child could not open the file";

    short number = 0;
    EXPECT_EQ(OpenFork(path, fsWrPerm, &number), -49);
    EXPECT_EQ(OpenFork(path, fsRdWrPerm, &number), -49);
    EXPECT_TRUE(Host::IsWrittenElsewhere(path.c_str()));
    { const OpenedFork reader(path, fsRdPerm); }

    close(done[1]);
    int status = 1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_FALSE(Host::IsWrittenElsewhere(path.c_str()));
    { const OpenedFork writer(path, fsWrPerm); }
    close(ready[0]);
    close(ready[1]);
}

TEST(FileForks, AReaderIsNeverRefusedAndHindersNoWriter) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    const OpenedFork reader1(path, fsRdPerm);
    const OpenedFork writer(path, fsRdWrPerm);
    const OpenedFork reader2(path, fsRdPerm);
    EXPECT_EQ(InAnotherProcess([&] {
                  short number = 0;
                  return AsByte(OpenFork(path, fsRdPerm, &number));
              }),
              0);
}

TEST(FileForks, LookingForAWriterKeepsNobodyFromOpening) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    const int descriptors = OpenDescriptors();
    EXPECT_FALSE(Host::IsWrittenElsewhere(path.c_str()));
    {
        const OpenedFork reader(path, fsRdPerm);
        EXPECT_FALSE(Host::IsWrittenElsewhere(path.c_str()));
    }
    {
        const OpenedFork writer(path, fsWrPerm);
        EXPECT_TRUE(Host::IsWrittenElsewhere(path.c_str()));
        EXPECT_TRUE(Host::IsWrittenElsewhere(path.c_str()));
    }
    EXPECT_FALSE(Host::IsWrittenElsewhere(scratch.Path("nothing").c_str()));
    EXPECT_FALSE(Host::IsWrittenElsewhere(scratch.Path().c_str()));
    EXPECT_EQ(OpenDescriptors(), descriptors);
}

TEST(FileForks, AnOpenForkIsKnownByTheIdentityOfItsFile) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    struct stat status;
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_FALSE(Host::HasOpenFork(status.st_dev, status.st_ino));
    {
        const OpenedFork reader(path, fsRdPerm);
        EXPECT_TRUE(Host::HasOpenFork(status.st_dev, status.st_ino));
        EXPECT_FALSE(Host::HasOpenFork(status.st_dev, status.st_ino + 1));
        EXPECT_FALSE(Host::HasOpenFork(status.st_dev + 1, status.st_ino));
    }
    EXPECT_FALSE(Host::HasOpenFork(status.st_dev, status.st_ino));
}

// --- Positions ----------------------------------------------------------------------------------

TEST(FileForks, APositionCountsFromTheStartTheEndOrItself) {
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "0123456789"), fsRdPerm);
    struct Move {
        unsigned short mode;
        std::int64_t offset;
        OSErr code;
        std::int64_t position;
    };
    constexpr std::int64_t kMost = 0x7FFFFFFFFFFFFFFF;
    constexpr Move kMoves[] = {
        {fsFromStart, 4, 0, 4},
        {fsFromMark, 3, 0, 7},
        {fsFromMark, -7, 0, 0},
        {fsFromMark, -1, -40, 0},
        {fsFromLEOF, -2, 0, 8},
        {fsAtMark, 5, 0, 8},
        {fsFromLEOF, 5, 0, 15},
        {fsFromLEOF, -11, -40, 15},
        {fsFromStart, -1, -40, 15},
        {fsFromStart, kMost, 0, kMost},
        {fsFromMark, 1, -40, kMost},
        {fsFromMark, -kMost, 0, 0},
        {fsFromLEOF, kMost, -40, 0},
        {33, 6, 0, 6},
        {35, -2, 0, 4},
        {4, 0, -50, 4},
        {16, 0, -50, 4},
        {0x101, 0, -50, 4},
    };
    for (const Move& move : kMoves) {
        EXPECT_EQ(FSSetForkPosition(fork, move.mode, move.offset), move.code)
            << move.mode << " " << move.offset;
        std::int64_t position = -1;
        EXPECT_EQ(FSGetForkPosition(fork, &position), noErr);
        EXPECT_EQ(position, move.position) << move.mode << " " << move.offset;
    }
    EXPECT_EQ(FSGetForkPosition(fork, nullptr), -50);
}

// --- Failures -----------------------------------------------------------------------------------

TEST(FileForks, EachSystemCallOfOpeningAndClosingCanFailOnceAndNothingLeaks) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "hello");
    const int descriptors = OpenDescriptors();
    bool failed = false;
    for (int n = 1;; ++n) {
        const FaultPlan plan(n, EIO);
        short number = 0;
        OSErr code = OpenFork(path, fsRdWrPerm, &number);
        std::int64_t size = 0;
        if (code == noErr) {
            code = FSGetForkSize(number, &size);
            const OSErr closed = FSCloseFork(number);
            if (code == noErr) code = closed;
        }
        EXPECT_EQ(OpenDescriptors(), descriptors) << plan.Where();
        if (!plan.Fired()) {
            EXPECT_EQ(code, noErr);
            break;
        }
        // A file system whose locks fail keeps nobody from writing.
        EXPECT_EQ(code, plan.Where() == "fcntl_lock" ? 0 : -36) << plan.Where();
        failed = true;
    }
    EXPECT_TRUE(failed);
    EXPECT_EQ(ReadAll(path), "hello");
}

TEST(Forks, ADataForkIsCutAndMadeLonger) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "0123456789");
    const OpenedFork fork(path, fsRdWrPerm);
    EXPECT_EQ(FSSetForkSize(fork, fsFromStart, 4), noErr);
    EXPECT_EQ(ReadAll(path), "0123");
    EXPECT_EQ(FSSetForkSize(fork, fsFromLEOF, 2), noErr);
    EXPECT_EQ(ReadAll(path), std::string("0123\0\0", 6));
    EXPECT_EQ(FSSetForkSize(fork, fsFromStart, -1), posErr);
    EXPECT_EQ(FSSetForkSize(fork, 9, 0), paramErr);
    const FaultPlan plan(1, ENOSPC, "ftruncate");
    EXPECT_EQ(FSSetForkSize(fork, fsFromStart, 1), dskFulErr);
    EXPECT_EQ(ReadAll(path).size(), 6U);
}

TEST(Forks, OnlyAWriterSetsTheSize) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "0123456789");
    OpenedFork fork(path, fsRdPerm);
    EXPECT_EQ(FSSetForkSize(fork, fsFromStart, 4), permErr);
    const short number = fork;
    EXPECT_EQ(fork.Close(), noErr);
    EXPECT_EQ(FSSetForkSize(number, fsFromStart, 4), rfNumErr);
    EXPECT_EQ(ReadAll(path), "0123456789");
}

}  // namespace
}  // namespace Ondrel::Testing
