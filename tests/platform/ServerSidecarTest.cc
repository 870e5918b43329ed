// Sidecars that a file server keeps in its folder ".AppleDouble": read, changed and taken along
// where they are, and never shown.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>

#include "ondrel/platform/HostFiles.h"
#include "ondrel/platform/Sidecar.h"
#include "tests/platform/ResourceHelpers.h"
#include "tests/support/Corpus.h"
#include "tests/support/FaultPlan.h"

namespace Ondrel::Host {
namespace {

using Testing::Bytes;
using Testing::Exists;
using Testing::Hex;
using Testing::ReadAll;
using Testing::Scratch;
using Testing::SidecarWith;

// As the server writes it: version 2 without a home, a comment, Finder Info, an entry of its own,
// and the fork last.
std::string ServerFile(std::string_view type, std::string_view fork) {
    std::string bytes = Bytes("00 05 16 07 00 02 00 00") + std::string(16, '\0') + Bytes("00 04") +
                        Bytes("00 00 00 04 00 00 00 4A 00 00 00 07") +
                        Bytes("00 00 00 09 00 00 00 51 00 00 00 20") +
                        Bytes("80 44 45 56 00 00 00 71 00 00 00 08") +
                        Bytes("00 00 00 02 00 00 00 79 00 00 00 00");
    bytes[73] = static_cast<char>(fork.size());
    std::string info(type);
    info.resize(32);
    return bytes + "comment" + info + "DEVICENO" + std::string(fork);
}

FourCC TypeOf(const std::string& path) {
    FinderInfo info;
    EXPECT_EQ(ReadFinderInfo(path.c_str(), &info), noErr);
    return info.Type();
}

std::string ForkOf(const std::string& path) {
    AppleDouble sidecar;
    EXPECT_EQ(ReadSidecar(path.c_str(), &sidecar), noErr);
    return std::string(sidecar.GetResourceFork());
}

TEST(ServerSidecars, TheyStandInAFolderBesideTheFile) {
    EXPECT_EQ(ServerSidecarPath("/a/b"), "/a/.AppleDouble/b");
    EXPECT_EQ(ServerSidecarPath("/b"), "/.AppleDouble/b");
}

TEST(ServerSidecars, CodesAndForkAreReadWhereThereIsNoSidecarOfOurs) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    scratch.Write(".AppleDouble/a", ServerFile("TEXTttxt", "fork"));
    EXPECT_EQ(TypeOf(path), MakeFourCC("TEXT"));
    EXPECT_EQ(ForkOf(path), "fork");
    scratch.Write("._a", SidecarWith("PICTppic", "other"));
    EXPECT_EQ(TypeOf(path), MakeFourCC("PICT"));
    EXPECT_EQ(ForkOf(path), "other");
}

TEST(ServerSidecars, WhatIsNoAppleDoubleFileThereIsNoSidecar) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    scratch.Write(".AppleDouble/a", "text");
    EXPECT_EQ(TypeOf(path), 0U);
    const std::string inFile = scratch.Write("folder/a", "");
    scratch.Write("folder/.AppleDouble", "no folder");
    EXPECT_EQ(TypeOf(inFile), 0U);
    EXPECT_EQ(DeleteFile(path.c_str()), noErr);
    EXPECT_EQ(ReadAll(scratch.Path(".AppleDouble/a")), "text");
}

TEST(ServerSidecars, AChangeGoesWhereTheSidecarIsAndKeepsTheRest) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    scratch.Write(".AppleDouble/a", ServerFile("TEXTttxt", "old"));
    short number = 0;
    ASSERT_EQ(Testing::OpenResourceFork(path, fsRdWrPerm, &number), noErr);
    EXPECT_EQ(FSWriteFork(number, fsFromStart, 0, 4, "FORK", nullptr), noErr);
    EXPECT_EQ(FSCloseFork(number), noErr);
    EXPECT_EQ(Hex(ReadAll(scratch.Path(".AppleDouble/a"))), Hex(ServerFile("TEXTttxt", "FORK")));
    EXPECT_FALSE(Exists(scratch.Path("._a")));
    FinderInfo none;
    ASSERT_EQ(WriteFinderInfo(path.c_str(), none), noErr);
    EXPECT_EQ(Hex(ReadAll(scratch.Path(".AppleDouble/a"))), Hex(ServerFile("", "FORK")));
}

TEST(ServerSidecars, AFileWithoutOneGetsOneOfOurs) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    scratch.Write(".AppleDouble/b", ServerFile("TEXTttxt", ""));
    FinderInfo info;
    info.SetType(MakeFourCC("TEXT"));
    ASSERT_EQ(WriteFinderInfo(path.c_str(), info), noErr);
    EXPECT_TRUE(Exists(scratch.Path("._a")));
    EXPECT_FALSE(Exists(scratch.Path(".AppleDouble/a")));
}

TEST(ServerSidecars, TheirFolderIsNotShown) {
    const Scratch scratch;
    scratch.Write("a", "");
    scratch.Write(".AppleDouble/a", ServerFile("TEXTttxt", ""));
    scratch.Write("folder/.AppleDouble", "a file of that name");
    std::vector<std::string> names;
    FolderReader reader;
    ASSERT_EQ(reader.Open(scratch.Path().c_str()), noErr);
    while (reader.Next())
        names.emplace_back(reader.Name());
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"a", "folder"}));
    ASSERT_EQ(reader.Open(scratch.Path("folder").c_str()), noErr);
    ASSERT_TRUE(reader.Next());
    EXPECT_EQ(reader.Name(), ".AppleDouble");
}

// --- Taking along -------------------------------------------------------------------------------

using Files = std::map<std::string, std::string>;

Files Contents(const Scratch& scratch) {
    Files files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(scratch.Path())) {
        if (entry.is_regular_file())
            files[std::filesystem::relative(entry.path(), scratch.Path()).string()] =
                ReadAll(entry.path().string());
    }
    return files;
}

const std::string kOwn = ServerFile("OWN ", "own");
const std::string kOld = ServerFile("OLD ", "old");
const std::string kBeside = SidecarWith("SIDE", "beside");

struct Operation {
    const char* name;
    Files before;
    Files after;
    std::function<OSErr(const Scratch&)> run;
};

std::function<OSErr(const Scratch&)> Rename(const char* to, WhenTargetExists policy) {
    return [=](const Scratch& scratch) {
        return RenameItem(scratch.Path("a").c_str(), scratch.Path(to).c_str(), policy);
    };
}

constexpr WhenTargetExists kRefuse = WhenTargetExists::kRefuse;
constexpr WhenTargetExists kReplace = WhenTargetExists::kReplace;

const Operation kOperations[] = {
    {"create beside a stale one",
     {{".AppleDouble/a", kOld}},
     {{"a", ""}},
     [](const Scratch& scratch) { return CreateFile(scratch.Path("a").c_str(), 0, 0); }},
    {"create with codes beside a stale one",
     {{".AppleDouble/a", kOld}},
     {{"a", ""}, {"._a", SidecarWith(std::string("\0\0\0\7", 4), "")}},
     [](const Scratch& scratch) { return CreateFile(scratch.Path("a").c_str(), 0, 7); }},
    {"rename",
     {{"a", "A"}, {".AppleDouble/a", kOwn}},
     {{"b", "A"}, {".AppleDouble/b", kOwn}},
     Rename("b", kRefuse)},
    {"rename over a stale one",
     {{"a", "A"}, {".AppleDouble/a", kOwn}, {".AppleDouble/b", kOld}},
     {{"b", "A"}, {".AppleDouble/b", kOwn}},
     Rename("b", kRefuse)},
    {"rename without one over stale ones",
     {{"a", "A"}, {"._b", kBeside}, {".AppleDouble/b", kOld}},
     {{"b", "A"}},
     Rename("b", kRefuse)},
    {"rename with both",
     {{"a", "A"}, {"._a", kBeside}, {".AppleDouble/a", kOwn}},
     {{"b", "A"}, {"._b", kBeside}, {".AppleDouble/b", kOwn}},
     Rename("b", kRefuse)},
    {"move to where the server has no folder",
     {{"a", "A"}, {".AppleDouble/a", kOwn}, {"folder/c", ""}},
     {{"folder/b", "A"}, {"folder/._b", kOwn}, {"folder/c", ""}},
     Rename("folder/b", kRefuse)},
    {"replace",
     {{"a", "A"}, {".AppleDouble/a", kOwn}, {"b", "B"}, {".AppleDouble/b", kOld}},
     {{"b", "A"}, {".AppleDouble/b", kOwn}},
     Rename("b", kReplace)},
    {"replace without one",
     {{"a", "A"}, {"b", "B"}, {"._b", kBeside}, {".AppleDouble/b", kOld}},
     {{"b", "A"}},
     Rename("b", kReplace)},
    {"delete",
     {{"a", "A"}, {"._a", kBeside}, {".AppleDouble/a", kOwn}, {".AppleDouble/b", kOld}},
     {{".AppleDouble/b", kOld}},
     [](const Scratch& scratch) { return DeleteFile(scratch.Path("a").c_str()); }},
    {"write",
     {{"a", "A"}, {".AppleDouble/a", kOwn}},
     {{"a", "A"}, {".AppleDouble/a", ServerFile("NEW ", "own")}},
     [](const Scratch& scratch) {
         FinderInfo info;
         info.SetType(MakeFourCC("NEW "));
         return WriteFinderInfo(scratch.Path("a").c_str(), info);
     }},
};

void Prepare(const Scratch& scratch, const Operation& operation) {
    for (const auto& [name, content] : operation.before)
        scratch.Write(name, content);
}

TEST(ServerSidecars, CreateRenameAndDeleteTakeThemAlong) {
    for (const Operation& operation : kOperations) {
        const Scratch scratch;
        Prepare(scratch, operation);
        EXPECT_EQ(operation.run(scratch), noErr) << operation.name;
        EXPECT_EQ(Contents(scratch), operation.after) << operation.name;
    }
}

// After a failure the file has the codes that it had, or after a success the new ones; what cannot
// be cleaned up is only a temporary file.
TEST(ServerSidecars, EveryFailedCallLeavesTheOldStateOrTheNewOne) {
    for (const Operation& operation : kOperations) {
        for (int n = 1;; ++n) {
            const Scratch scratch;
            Prepare(scratch, operation);
            const int descriptors = Testing::OpenDescriptors();
            OSErr result = noErr;
            std::string where;
            bool fired = false;
            {
                const Testing::FaultPlan plan(n, EIO);
                result = operation.run(scratch);
                where = plan.Where();
                fired = plan.Fired();
            }
            const std::string what =
                std::string(operation.name) + ", call " + std::to_string(n) + " (" + where + ")";
            EXPECT_EQ(Testing::OpenDescriptors(), descriptors) << what;
            Files files = Contents(scratch);
            if (result == noErr) {
                const bool isDelete = std::string(operation.name) == "delete";
                std::erase_if(files, [&](const auto& file) {
                    return file.first.find("._.tmp") != std::string::npos ||
                           (isDelete && file.first != "a" && file.first != ".AppleDouble/b");
                });
                EXPECT_EQ(files, operation.after) << what;
            } else {
                EXPECT_EQ(result, ioErr) << what;
                EXPECT_EQ(files, operation.before) << what;
            }
            if (!fired) break;
        }
    }
}

TEST(ServerSidecars, FilesOfARealServerAreRead) {
    if (Testing::CorpusFolder().empty()) GTEST_SKIP() << "the corpus is not here";
    const Scratch scratch;
    const std::string path = scratch.Write("Perl.com", "");
    for (const Testing::CorpusFile& file : Testing::CorpusFiles("forks/ad_masd_perl"))
        scratch.Write(".AppleDouble/Perl.com", ReadAll(file.path));
    EXPECT_EQ(TypeOf(path), MakeFourCC("URL "));
    const std::string photo = scratch.Write("photo.jpg", "");
    for (const Testing::CorpusFile& file : Testing::CorpusFiles("forks/ad_dz_2e"))
        scratch.Write(".AppleDouble/photo.jpg", ReadAll(file.path));
    EXPECT_EQ(TypeOf(photo), 0U);
    EXPECT_EQ(ForkOf(photo), "");
}

}  // namespace
}  // namespace Ondrel::Host
