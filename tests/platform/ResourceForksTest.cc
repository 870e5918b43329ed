// Resource forks as forks: opened by name, read and written at positions, stored in one step.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <limits>
#include <vector>

#include "ondrel/platform/ForkTable.h"
#include "ondrel/platform/HostFiles.h"
#include "tests/platform/ResourceHelpers.h"
#include "tests/support/FaultPlan.h"

namespace Ondrel {
namespace {

using Testing::Exists;
using Testing::Hex;
using Testing::OpenedFork;
using Testing::OpenResourceFork;
using Testing::Read;
using Testing::ReadAll;
using Testing::Scratch;
using Testing::SidecarWith;
using Testing::WriteAll;

std::string ForkOf(const std::string& path) {
    short number = 0;
    OSErr code = OpenResourceFork(path, fsRdPerm, &number);
    EXPECT_EQ(code, noErr) << path;
    std::int64_t size = 0;
    EXPECT_EQ(FSGetForkSize(number, &size), noErr);
    std::string bytes = Read(number, 0, static_cast<std::size_t>(size), &code);
    EXPECT_EQ(code, noErr);
    EXPECT_EQ(FSCloseFork(number), noErr);
    return bytes;
}

OSErr Write(short fork, std::int64_t offset, std::string_view bytes) {
    return FSWriteFork(fork, fsFromStart, offset, bytes.size(), bytes.data(), nullptr);
}

TEST(ResourceForks, TheForkHasItsName) {
    HFSUniStr255 name{};
    ASSERT_EQ(FSGetResourceForkName(&name), noErr);
    EXPECT_EQ(std::u16string(name.unicode, name.unicode + name.length), u"RESOURCE_FORK");
    EXPECT_EQ(FSGetResourceForkName(nullptr), -50);
}

TEST(ResourceForks, AFileWithoutOneHasAnEmptyOneAndGetsNoSidecar) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "data");
    for (const signed char permission : {fsRdPerm, fsWrPerm, fsRdWrPerm}) {
        short number = 0;
        ASSERT_EQ(OpenResourceFork(path, permission, &number), noErr);
        std::int64_t size = -1;
        EXPECT_EQ(FSGetForkSize(number, &size), noErr);
        EXPECT_EQ(size, 0);
        EXPECT_EQ(FSCloseFork(number), noErr);
    }
    EXPECT_FALSE(Exists(scratch.Path("._a")));
    EXPECT_EQ(ReadAll(path), "data");
}

TEST(ResourceForks, WhatIsWrittenStandsInTheSidecarOnceTheForkIsClosed) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "data");
    short number = 0;
    ASSERT_EQ(OpenResourceFork(path, fsRdWrPerm, &number), noErr);
    EXPECT_EQ(Write(number, 0, "hello"), noErr);
    EXPECT_FALSE(Exists(scratch.Path("._a")));
    EXPECT_EQ(FSCloseFork(number), noErr);
    EXPECT_EQ(Hex(ReadAll(scratch.Path("._a"))), Hex(SidecarWith("", "hello")));
    EXPECT_EQ(ReadAll(path), "data");
    EXPECT_EQ(FSCloseFork(number), -51);
}

TEST(ResourceForks, PositionsAndSizesAreThoseOfTheFork) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "a longer data fork");
    scratch.Write("._a", SidecarWith("", "0123456789"));
    short number = 0;
    ASSERT_EQ(OpenResourceFork(path, fsRdWrPerm, &number), noErr);
    std::int64_t value = 0;
    std::size_t actual = 0;
    EXPECT_EQ(FSSetForkPosition(number, fsFromLEOF, -2), noErr);
    EXPECT_EQ(FSGetForkPosition(number, &value), noErr);
    EXPECT_EQ(value, 8);
    EXPECT_EQ(FSWriteFork(number, fsAtMark, 0, 4, "ABCD", &actual), noErr);
    EXPECT_EQ(actual, 4U);
    EXPECT_EQ(FSGetForkPosition(number, &value), noErr);
    EXPECT_EQ(value, 12);
    EXPECT_EQ(FSGetForkSize(number, &value), noErr);
    EXPECT_EQ(value, 12);
    EXPECT_EQ(FSSetForkPosition(number, fsFromMark, -13), -40);
    EXPECT_EQ(FSSetForkPosition(number, fsFromStart, 15), noErr);
    EXPECT_EQ(FSWriteFork(number, fsAtMark, 0, 1, "!", nullptr), noErr);
    OSErr code = noErr;
    EXPECT_EQ(Read(number, 0, 16, &code), std::string("01234567ABCD\0\0\0!", 16));
    EXPECT_EQ(code, noErr);
    EXPECT_EQ(FSWriteFork(number, fsFromStart, 99, 0, nullptr, nullptr), noErr);
    EXPECT_EQ(FSCloseFork(number), noErr);
    EXPECT_EQ(ForkOf(path), std::string("01234567ABCD\0\0\0!", 16));
}

TEST(ResourceForks, TransfersAreFinishedInTheCall) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    scratch.Write("._a", SidecarWith("", "0123456789"));
    short number = 0;
    ASSERT_EQ(OpenResourceFork(path, fsRdWrPerm, &number), noErr);
    char buffer[20] = {};
    FSForkIOParam request = Testing::Request(number, 4, 20, buffer);
    request.readAhead = true;
    EXPECT_EQ(PBReadForkAsync(&request), -39);
    EXPECT_EQ(request.ioResult, -39);
    EXPECT_EQ(request.actualCount, 6U);
    EXPECT_EQ(std::string(buffer, 6), "456789");
    request = Testing::Request(number, 10, 5, buffer);
    EXPECT_EQ(PBReadForkAsync(&request), -39);
    EXPECT_EQ(request.actualCount, 0U);
    request = Testing::Request(number, 3, 0, nullptr);
    EXPECT_EQ(PBReadForkAsync(&request), noErr);
    char bytes[] = "xyz";
    request = Testing::Request(number, 1, 3, bytes, fsFromStart | pleaseSpareCacheMask);
    EXPECT_EQ(PBWriteForkAsync(&request), noErr);
    EXPECT_EQ(request.ioResult, noErr);
    EXPECT_EQ(request.actualCount, 3U);
    EXPECT_EQ(PBWaitFork(&request), noErr);
    EXPECT_EQ(FSCloseFork(number), noErr);
    EXPECT_EQ(ForkOf(path), "0xyz456789");
}

TEST(ResourceForks, PermissionsAreKept) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    scratch.Write("._a", SidecarWith("", "0123456789"));
    short number = 0;
    ASSERT_EQ(OpenResourceFork(path, fsRdPerm, &number), noErr);
    EXPECT_EQ(Write(number, 0, "x"), -54);
    EXPECT_EQ(FSCloseFork(number), noErr);
    ASSERT_EQ(OpenResourceFork(path, fsWrPerm, &number), noErr);
    OSErr code = noErr;
    EXPECT_EQ(Read(number, 0, 1, &code), "");
    EXPECT_EQ(code, -54);
    EXPECT_EQ(FSCloseFork(number), noErr);
    EXPECT_EQ(ForkOf(path), "0123456789");
}

TEST(ResourceForks, EveryOtherByteOfTheSidecarStays) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    // Three entries: the fork first, then a Finder Info with more behind it, then a comment.
    const std::string before = Testing::Bytes("00 05 16 07 00 01 00 00") + std::string(16, 'h') +
                               Testing::Bytes("00 03") +
                               Testing::Bytes("00 00 00 02 00 00 00 3E 00 00 00 04") +
                               Testing::Bytes("00 00 00 09 00 00 00 42 00 00 00 24") +
                               Testing::Bytes("00 00 00 04 00 00 00 66 00 00 00 07") + "fork" +
                               "TEXTttxt************************attr" + "comment";
    scratch.Write("._a", before);
    EXPECT_EQ(ForkOf(path), "fork");
    short number = 0;
    ASSERT_EQ(OpenResourceFork(path, fsRdWrPerm, &number), noErr);
    EXPECT_EQ(Write(number, 4, "s of others"), noErr);
    EXPECT_EQ(FSCloseFork(number), noErr);
    std::string after = before + "forks of others";
    after.replace(26, 12, Testing::Bytes("00 00 00 02 00 00 00 6D 00 00 00 0F"));
    after.replace(62, 4, std::string(4, '\0'));
    EXPECT_EQ(Hex(ReadAll(scratch.Path("._a"))), Hex(after));
}

TEST(ResourceForks, ReadersHaveTheForkAsItWasWhenTheyOpenedIt) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    scratch.Write("._a", SidecarWith("", "old fork"));
    short reader = 0;
    short writer = 0;
    ASSERT_EQ(OpenResourceFork(path, fsRdPerm, &reader), noErr);
    ASSERT_EQ(OpenResourceFork(path, fsRdWrPerm, &writer), noErr);
    EXPECT_EQ(Write(writer, 0, "new"), noErr);
    EXPECT_EQ(ForkOf(path), "old fork");
    EXPECT_EQ(FSCloseFork(writer), noErr);
    OSErr code = noErr;
    EXPECT_EQ(Read(reader, 0, 8, &code), "old fork");
    EXPECT_EQ(FSCloseFork(reader), noErr);
    EXPECT_EQ(ForkOf(path), "new fork");
}

TEST(ResourceForks, CodesThatChangeMeanwhileAreKept) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    short number = 0;
    ASSERT_EQ(OpenResourceFork(path, fsRdWrPerm, &number), noErr);
    EXPECT_EQ(Write(number, 0, "fork"), noErr);
    scratch.Write("._a", SidecarWith("TEXTttxt", ""));
    EXPECT_EQ(FSCloseFork(number), noErr);
    EXPECT_EQ(Hex(ReadAll(scratch.Path("._a"))), Hex(SidecarWith("TEXTttxt", "fork")));
}

TEST(ResourceForks, ASecondWriterIsRefusedWithMinus49AndTheForksOfAFileAreApart) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    short first = 0;
    short second = 77;
    ASSERT_EQ(OpenResourceFork(path, fsWrPerm, &first), noErr);
    EXPECT_EQ(OpenResourceFork(path, fsWrPerm, &second), -49);
    EXPECT_EQ(OpenResourceFork(path, fsRdWrPerm, &second), -49);
    EXPECT_EQ(second, 77);
    {
        const OpenedFork data(path, fsRdWrPerm);
        EXPECT_GT(data, 0);
    }
    EXPECT_EQ(OpenResourceFork(path, fsRdPerm, &second), noErr);
    EXPECT_EQ(FSCloseFork(second), noErr);
    EXPECT_EQ(FSCloseFork(first), noErr);
    EXPECT_EQ(OpenResourceFork(path, fsWrPerm, &first), noErr);
    EXPECT_EQ(FSCloseFork(first), noErr);
}

TEST(ResourceForks, AWriterInAnotherProcessIsRefusedWithMinus49) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    short number = 0;
    ASSERT_EQ(OpenResourceFork(path, fsRdWrPerm, &number), noErr);
    EXPECT_EQ(Testing::InAnotherProcess([&] {
                  // The table of this process is inherited: a program of its own has only the lock.
                  (void)Host::RemoveFork(number).Release();
                  short other = 0;
                  return Testing::AsByte(OpenResourceFork(path, fsWrPerm, &other));
              }),
              Testing::AsByte(-49));
    EXPECT_EQ(Testing::InAnotherProcess([&] {
                  short other = 0;
                  return Testing::AsByte(Testing::OpenFork(path, fsRdWrPerm, &other));
              }),
              Testing::AsByte(0));
    EXPECT_EQ(FSCloseFork(number), noErr);
}

TEST(ResourceForks, AFileWhoseResourceForkIsOpenIsNotDeleted) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    for (const signed char permission : {fsRdPerm, fsRdWrPerm}) {
        short number = 0;
        ASSERT_EQ(OpenResourceFork(path, permission, &number), noErr);
        EXPECT_EQ(Host::DeleteFile(path.c_str()), -47);
        EXPECT_EQ(FSCloseFork(number), noErr);
    }
    EXPECT_EQ(Host::DeleteFile(path.c_str()), noErr);
}

TEST(ResourceForks, AFileIsNotDeletedWhileAnotherProcessWritesItsResourceFork) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    short number = 0;
    ASSERT_EQ(OpenResourceFork(path, fsRdWrPerm, &number), noErr);
    EXPECT_EQ(Testing::InAnotherProcess([&] {
                  (void)Host::RemoveFork(number).Release();
                  return Testing::AsByte(Host::DeleteFile(path.c_str()));
              }),
              Testing::AsByte(-47));
    EXPECT_EQ(FSCloseFork(number), noErr);
}

TEST(ResourceForks, ALinkOpensTheForkOfItsTarget) {
    const Scratch scratch;
    const std::string path = scratch.Write("folder/a", "");
    const std::string link = scratch.Path("link");
    std::filesystem::create_symlink("folder/a", link);
    short number = 0;
    ASSERT_EQ(OpenResourceFork(link, fsRdWrPerm, &number), noErr);
    EXPECT_EQ(Write(number, 0, "fork"), noErr);
    EXPECT_EQ(FSCloseFork(number), noErr);
    EXPECT_EQ(Hex(ReadAll(scratch.Path("folder/._a"))), Hex(SidecarWith("", "fork")));
    EXPECT_FALSE(Exists(scratch.Path("._link")));
}

TEST(ResourceForks, AFileThatWasRenamedMeanwhileGetsItsFork) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    short number = 0;
    ASSERT_EQ(OpenResourceFork(path, fsRdWrPerm, &number), noErr);
    EXPECT_EQ(Write(number, 0, "fork"), noErr);
    ASSERT_EQ(
        Host::RenameItem(path.c_str(), scratch.Path("b").c_str(), Host::WhenTargetExists::kRefuse),
        noErr);
    EXPECT_EQ(FSCloseFork(number), noErr);
    EXPECT_EQ(ForkOf(scratch.Path("b")), "fork");
    EXPECT_FALSE(Exists(scratch.Path("._a")));
}

TEST(ResourceForks, AFileThatIsGoneMeanwhileIsMinus43) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    short number = 0;
    ASSERT_EQ(OpenResourceFork(path, fsRdWrPerm, &number), noErr);
    EXPECT_EQ(Write(number, 0, "fork"), noErr);
    std::filesystem::remove(path);
    EXPECT_EQ(FSCloseFork(number), -43);
    EXPECT_FALSE(Exists(scratch.Path("._a")));
    EXPECT_EQ(FSCloseFork(number), -51);
}

TEST(ResourceForks, WhatIsNoSidecarIsRefusedAndLeftAlone) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    for (const char* bytes : {"", "text", "\x00\x05\x16\x07"}) {
        WriteAll(scratch.Path("._a"), bytes);
        short number = 77;
        for (const signed char permission : {fsRdPerm, fsWrPerm, fsRdWrPerm})
            EXPECT_EQ(OpenResourceFork(path, permission, &number), -199) << bytes;
        EXPECT_EQ(number, 77);
        EXPECT_EQ(ReadAll(scratch.Path("._a")), bytes);
    }
}

TEST(ResourceForks, OnlyARegularFileHasOne) {
    const Scratch scratch;
    short number = 77;
    EXPECT_EQ(OpenResourceFork(scratch.MakeFolder("folder"), fsRdPerm, &number), -43);
    const std::string pipe = scratch.Path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(OpenResourceFork(pipe, fsRdPerm, &number), -43);
    EXPECT_EQ(OpenResourceFork(pipe, fsRdWrPerm, &number), -43);
    std::filesystem::create_symlink("nothing", scratch.Path("link"));
    EXPECT_EQ(OpenResourceFork(scratch.Path("link"), fsRdPerm, &number), -43);
    EXPECT_EQ(number, 77);
}

// --- Failures -----------------------------------------------------------------------------------

TEST(ResourceForks, AForkLongerThanAMacCanCountIsMinus34AndTheOldOneStays) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    const std::string before = SidecarWith("TEXTttxt", "old");
    scratch.Write("._a", before);
    for (const std::int64_t start : {std::int64_t{0x7FFFFFFF}, std::int64_t{1} << 40,
                                     std::numeric_limits<std::int64_t>::max()}) {
        short number = 0;
        std::size_t actual = 9;
        ASSERT_EQ(OpenResourceFork(path, fsRdWrPerm, &number), noErr);
        EXPECT_EQ(Write(number, 0, "new"), noErr);
        EXPECT_EQ(FSWriteFork(number, fsFromStart, start, 1, "x", &actual), -34) << start;
        EXPECT_EQ(actual, 0U);
        EXPECT_EQ(Write(number, 0, "more"), -34);
        EXPECT_EQ(FSCloseFork(number), -34);
        EXPECT_EQ(ReadAll(scratch.Path("._a")), before);
    }
}

// Opens, writes and closes; the first code that is not noErr.
OSErr WriteFork(const std::string& path, std::string_view bytes) {
    short number = 0;
    OSErr code = OpenResourceFork(path, fsRdWrPerm, &number);
    if (code != noErr) return code;
    code = Write(number, 0, bytes);
    const OSErr closed = FSCloseFork(number);
    EXPECT_EQ(FSCloseFork(number), -51);
    return code != noErr ? code : closed;
}

TEST(ResourceForks, AfterAnyFailedCallTheOldSidecarIsWholeAndNothingIsOpen) {
    const std::string before = SidecarWith("TEXTttxt", "the old fork");
    const std::string after = SidecarWith("TEXTttxt", "THE NEW fork");
    for (const int error : {ENOSPC, EIO, EACCES, ENOMEM}) {
        for (int n = 1;; ++n) {
            const Scratch scratch;
            const std::string path = scratch.Write("a", "data");
            scratch.Write("._a", before);
            const int descriptors = Testing::OpenDescriptors();
            OSErr code = noErr;
            bool fired = false;
            std::string where;
            {
                const Testing::FaultPlan plan(n, error);
                code = WriteFork(path, "THE NEW");
                fired = plan.Fired();
                where = plan.Where();
            }
            const std::string what = where + ", call " + std::to_string(n);
            EXPECT_EQ(Testing::OpenDescriptors(), descriptors) << what;
            EXPECT_EQ(ReadAll(path), "data") << what;
            const std::string sidecar = ReadAll(scratch.Path("._a"));
            // The last close comes after the fork is stored.
            EXPECT_TRUE(sidecar == before || sidecar == after) << what;
            if (code == noErr) {
                EXPECT_EQ(sidecar, after) << what;
            }
            if (code != noErr && where != "close") {
                EXPECT_EQ(sidecar, before) << what;
            }
            if (!fired) {
                EXPECT_EQ(code, noErr);
                break;
            }
        }
    }
}

TEST(ResourceForks, AFullDiskIsMinus34AndLeavesNothingBehind) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "data");
    {
        const Testing::FaultPlan plan(1, ENOSPC, "pwrite", -1);
        EXPECT_EQ(WriteFork(path, "fork"), -34);
    }
    EXPECT_FALSE(Exists(scratch.Path("._a")));
    int items = 0;
    for (const auto& item : std::filesystem::directory_iterator(scratch.Path())) {
        EXPECT_EQ(item.path().filename(), "a");
        ++items;
    }
    EXPECT_EQ(items, 1);
}

TEST(ResourceForks, ShortWritesAreContinued) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    {
        const Testing::ShortTransfers few(7);
        EXPECT_EQ(WriteFork(path, "a fork that takes several writes"), noErr);
        EXPECT_EQ(ForkOf(path), "a fork that takes several writes");
    }
    EXPECT_EQ(ForkOf(path), "a fork that takes several writes");
}

TEST(ResourceForks, AForkIsCutAndMadeLongerAndStoredSoWhenItIsClosed) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "data");
    scratch.Write("._a", SidecarWith("TEXTttxt", "0123456789"));
    short number = 0;
    ASSERT_EQ(OpenResourceFork(path, fsRdWrPerm, &number), noErr);
    EXPECT_EQ(FSSetForkSize(number, fsFromStart, 4), noErr);
    EXPECT_EQ(FSSetForkSize(number, fsFromLEOF, 2), noErr);
    EXPECT_EQ(FSSetForkSize(number, fsFromStart, -1), posErr);
    EXPECT_EQ(ForkOf(path), "0123456789");
    EXPECT_EQ(FSCloseFork(number), noErr);
    EXPECT_EQ(ReadAll(scratch.Path("._a")), SidecarWith("TEXTttxt", std::string("0123\0\0", 6)));
}

TEST(ResourceForks, AForkCutToNothingIsGone) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "data");
    scratch.Write("._a", SidecarWith("", "0123456789"));
    short number = 0;
    ASSERT_EQ(OpenResourceFork(path, fsRdWrPerm, &number), noErr);
    EXPECT_EQ(FSSetForkSize(number, fsFromStart, 0), noErr);
    EXPECT_EQ(FSCloseFork(number), noErr);
    EXPECT_FALSE(Exists(scratch.Path("._a")));
    EXPECT_EQ(ReadAll(path), "data");
}

TEST(ResourceForks, TheSizeOfAForkIsForWritersAndBelowTheLimit) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "data");
    scratch.Write("._a", SidecarWith("", "0123456789"));
    short number = 0;
    ASSERT_EQ(OpenResourceFork(path, fsRdPerm, &number), noErr);
    EXPECT_EQ(FSSetForkSize(number, fsFromStart, 4), permErr);
    EXPECT_EQ(FSCloseFork(number), noErr);
    EXPECT_EQ(FSSetForkSize(number, fsFromStart, 4), rfNumErr);
    ASSERT_EQ(OpenResourceFork(path, fsRdWrPerm, &number), noErr);
    EXPECT_EQ(FSSetForkSize(number, fsFromStart, std::int64_t{1} << 31), dskFulErr);
    EXPECT_EQ(Write(number, 0, "x"), dskFulErr);
    EXPECT_EQ(FSCloseFork(number), dskFulErr);
    EXPECT_EQ(ForkOf(path), "0123456789");
}

}  // namespace
}  // namespace Ondrel
