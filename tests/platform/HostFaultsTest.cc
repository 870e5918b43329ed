// Every system call of every changing operation fails once: afterwards the folder is as it was or
// as it should be, nothing lies about, and no descriptor is open.
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <map>

#include "ondrel/platform/HostFiles.h"
#include "ondrel/platform/Sidecar.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Host {
namespace {

using Testing::FaultPlan;
using Testing::ReadAll;
using Testing::Scratch;

using Files = std::map<std::string, std::string>;

Files Contents(const Scratch& scratch) {
    Files files;
    for (const auto& entry : std::filesystem::directory_iterator(scratch.Path()))
        files[entry.path().filename().string()] = ReadAll(entry.path().string());
    return files;
}

std::string SidecarBytes(std::string_view fork, FourCC type = 0) {
    AppleDouble sidecar;
    FinderInfo info;
    info.SetType(type);
    sidecar.SetFinderInfo(info);
    sidecar.SetResourceFork(fork);
    return sidecar.Bytes();
}

const std::string kOwn = SidecarBytes("own");
const std::string kOld = SidecarBytes("old");

// What an operation on a scratch folder makes of `before`. Where a call fails, `after` may come
// all the same: with success when the call was not needed.
struct Operation {
    const char* name;
    Files before;
    Files after;
    std::function<OSErr(const Scratch&)> run;
};

OSErr Rename(const Scratch& scratch, WhenTargetExists policy) {
    return RenameItem(scratch.Path("a").c_str(), scratch.Path("b").c_str(), policy);
}

const Operation kOperations[] = {
    {"create",
     {},
     {{"a", ""}},
     [](const Scratch& scratch) { return CreateFile(scratch.Path("a").c_str(), 0, 0); }},
    {"create with codes",
     {},
     {{"a", ""}, {"._a", SidecarBytes("", 7)}},
     [](const Scratch& scratch) { return CreateFile(scratch.Path("a").c_str(), 0, 7); }},
    {"create like another",
     {{"a", ""}},
     {{"a", ""}, {"b", ""}, {"._b", SidecarBytes("", 7)}},
     [](const Scratch& scratch) {
         return CreateFile(scratch.Path("b").c_str(), 0, 7, scratch.Path("a").c_str());
     }},
    {"create beside a stale sidecar",
     {{"._a", kOld}},
     {{"a", ""}},
     [](const Scratch& scratch) { return CreateFile(scratch.Path("a").c_str(), 0, 0); }},
    {"create with codes beside a stale sidecar",
     {{"._a", kOld}},
     {{"a", ""}, {"._a", SidecarBytes("", 7)}},
     [](const Scratch& scratch) { return CreateFile(scratch.Path("a").c_str(), 0, 7); }},
    {"rename",
     {{"a", "A"}, {"._a", kOwn}},
     {{"b", "A"}, {"._b", kOwn}},
     [](const Scratch& scratch) { return Rename(scratch, WhenTargetExists::kRefuse); }},
    {"rename to a stale sidecar",
     {{"a", "A"}, {"._a", kOwn}, {"._b", kOld}},
     {{"b", "A"}, {"._b", kOwn}},
     [](const Scratch& scratch) { return Rename(scratch, WhenTargetExists::kRefuse); }},
    {"rename without a sidecar to a stale one",
     {{"a", "A"}, {"._b", kOld}},
     {{"b", "A"}},
     [](const Scratch& scratch) { return Rename(scratch, WhenTargetExists::kRefuse); }},
    {"replace",
     {{"a", "A"}, {"._a", kOwn}, {"b", "B"}, {"._b", kOld}},
     {{"b", "A"}, {"._b", kOwn}},
     [](const Scratch& scratch) { return Rename(scratch, WhenTargetExists::kReplace); }},
    {"replace without a sidecar",
     {{"a", "A"}, {"b", "B"}, {"._b", kOld}},
     {{"b", "A"}},
     [](const Scratch& scratch) { return Rename(scratch, WhenTargetExists::kReplace); }},
    {"write a sidecar",
     {{"a", "A"}},
     {{"a", "A"}, {"._a", kOwn}},
     [](const Scratch& scratch) {
         AppleDouble sidecar;
         sidecar.SetResourceFork("own");
         return WriteSidecar(scratch.Path("a").c_str(), sidecar);
     }},
    {"replace a sidecar",
     {{"a", "A"}, {"._a", kOld}},
     {{"a", "A"}, {"._a", kOwn}},
     [](const Scratch& scratch) {
         AppleDouble sidecar;
         sidecar.SetResourceFork("own");
         return WriteSidecar(scratch.Path("a").c_str(), sidecar);
     }},
    {"take a sidecar away",
     {{"a", "A"}, {"._a", kOld}},
     {{"a", "A"}},
     [](const Scratch& scratch) { return WriteSidecar(scratch.Path("a").c_str(), AppleDouble()); }},
    {"write codes",
     {{"a", "A"}, {"._a", kOld}},
     {{"a", "A"}, {"._a", SidecarBytes("old", 7)}},
     [](const Scratch& scratch) {
         FinderInfo info;
         info.SetType(7);
         return WriteFinderInfo(scratch.Path("a").c_str(), info);
     }},
};

constexpr int kErrors[] = {EIO, ENOSPC, EACCES, ENOMEM};

// A leftover in front of the names of an operation, which only a failing clean-up may leave.
void TakeLeftovers(Files* files) {
    std::erase_if(*files, [](const auto& file) { return file.first.starts_with("._.tmp"); });
}

void FailEachCall(const Operation& operation, int error) {
    for (int n = 1;; ++n) {
        const Scratch scratch;
        for (const auto& [name, content] : operation.before)
            scratch.Write(name, content);
        const int descriptors = Testing::OpenDescriptors();
        OSErr result = noErr;
        std::string where;
        bool fired = false;
        {
            const FaultPlan plan(n, error);
            result = operation.run(scratch);
            where = plan.Where();
            fired = plan.Fired();
        }
        const std::string what = std::string(operation.name) + ", call " + std::to_string(n) +
                                 " (" + where + ") with " + std::to_string(error);
        EXPECT_EQ(Testing::OpenDescriptors(), descriptors) << what;
        Files files = Contents(scratch);
        if (result == noErr) {
            if (where == "unlinkat") TakeLeftovers(&files);
            EXPECT_EQ(files, operation.after) << what;
        } else {
            EXPECT_EQ(result, ErrorFromErrno(error)) << what;
            EXPECT_EQ(files, operation.before) << what;
        }
        if (!fired) {
            EXPECT_EQ(result, noErr) << what;
            EXPECT_GT(n, 1) << what;
            return;
        }
    }
}

TEST(HostFaults, EveryFailedCallLeavesTheOldStateOrTheNewOne) {
    for (const Operation& operation : kOperations) {
        for (const int error : kErrors)
            FailEachCall(operation, error);
    }
}

TEST(HostFaults, InterruptedCallsAreMadeAgain) {
    for (const Operation& operation : kOperations) {
        for (int n = 1;; ++n) {
            const Scratch scratch;
            for (const auto& [name, content] : operation.before)
                scratch.Write(name, content);
            OSErr result = noErr;
            bool fired = false;
            {
                const FaultPlan plan(n, EINTR, {}, 3);
                result = operation.run(scratch);
                fired = plan.Fired();
            }
            EXPECT_EQ(result, noErr) << operation.name << ", call " << n;
            EXPECT_EQ(Contents(scratch), operation.after) << operation.name << ", call " << n;
            if (!fired) break;
        }
    }
}

TEST(HostFaults, AShortWriteOfASidecarIsContinued) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    const Testing::ShortTransfers short_(5);
    AppleDouble sidecar;
    sidecar.SetResourceFork("a fork of some bytes");
    ASSERT_EQ(WriteSidecar(path.c_str(), sidecar), noErr);
    EXPECT_EQ(ReadAll(scratch.Path("._a")), sidecar.Bytes());
    AppleDouble read;
    ASSERT_EQ(ReadSidecar(path.c_str(), &read), noErr);
    EXPECT_EQ(read.Bytes(), sidecar.Bytes());
}

// The data file cannot come back: what fails behind its deletion is no failure of it.
TEST(HostFaults, ADeletionFailsBeforeTheFileIsGoneOrSucceeds) {
    for (int n = 1;; ++n) {
        const Scratch scratch;
        const std::string path = scratch.Write("a", "A");
        scratch.Write("._a", kOwn);
        OSErr result = noErr;
        bool fired = false;
        {
            const FaultPlan plan(n, EIO);
            result = DeleteFile(path.c_str());
            fired = plan.Fired();
        }
        if (result != noErr) {
            EXPECT_EQ(result, ioErr) << "call " << n;
            EXPECT_EQ(Contents(scratch), (Files{{"a", "A"}, {"._a", kOwn}})) << "call " << n;
        } else {
            EXPECT_FALSE(Testing::Exists(path)) << "call " << n;
            EXPECT_EQ(CreateFile(path.c_str(), 0, 0), noErr);
            EXPECT_EQ(Contents(scratch), (Files{{"a", ""}})) << "call " << n;
        }
        if (!fired) break;
    }
}

}  // namespace
}  // namespace Ondrel::Host
