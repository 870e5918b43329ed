// Writers of resource forks: what they do not write anew is read when it is needed.
#include <gtest/gtest.h>

#include <cerrno>

#include "tests/platform/ResourceHelpers.h"
#include "tests/support/FaultPlan.h"

namespace Ondrel {
namespace {

using Testing::FaultPlan;
using Testing::Hex;
using Testing::OpenResourceFork;
using Testing::Read;
using Testing::ReadAll;
using Testing::Scratch;
using Testing::SidecarWith;

OSErr Write(short fork, std::int64_t offset, std::string_view bytes) {
    return FSWriteFork(fork, fsFromStart, offset, bytes.size(), bytes.data(), nullptr);
}

struct Part {
    std::int64_t offset;
    const char* bytes;
};

TEST(ResourceWriters, WhatIsNotWrittenStaysAndAGapIsZero) {
    const struct {
        std::vector<Part> parts;
        const char* fork;
        const char* why;
    } cases[] = {
        {{{0, "ab"}}, "ab23456789", "the start"},
        {{{0, "ab"}, {2, "cd"}}, "abcd456789", "one part behind the other"},
        {{{4, "ab"}}, "0123ab6789", "the middle"},
        {{{4, "ab"}, {1, "c"}}, "0c23ab6789", "the middle, and a place before it"},
        {{{8, "abcd"}}, "01234567abcd", "over the end"},
        {{{10, "a"}}, "0123456789a", "at the end"},
        {{{12, "a"}}, "0123456789..a", "behind a gap"},
        {{{0, "abcdefghij"}}, "abcdefghij", "all of it"},
        {{{0, "abcdefghijk"}}, "abcdefghijk", "and more"},
    };
    for (const auto& c : cases) {
        const Scratch scratch;
        const std::string path = scratch.Write("a", "data");
        scratch.Write("._a", SidecarWith("TEXTttxt", "0123456789"));
        std::string expected = c.fork;
        for (char& byte : expected)
            if (byte == '.') byte = '\0';
        short fork = 0;
        ASSERT_EQ(OpenResourceFork(path, fsRdWrPerm, &fork), noErr);
        for (const Part& part : c.parts)
            ASSERT_EQ(Write(fork, part.offset, part.bytes), noErr) << c.why;
        std::int64_t size = 0;
        EXPECT_EQ(FSGetForkSize(fork, &size), noErr);
        EXPECT_EQ(size, static_cast<std::int64_t>(expected.size())) << c.why;
        OSErr code = noErr;
        EXPECT_EQ(Hex(Read(fork, 0, expected.size(), &code)), Hex(expected)) << c.why;
        EXPECT_EQ(code, noErr);
        EXPECT_EQ(Hex(Read(fork, 3, 4, &code)), Hex(expected.substr(3, 4))) << c.why;
        ASSERT_EQ(FSCloseFork(fork), noErr);
        EXPECT_EQ(Hex(ReadAll(scratch.Path("._a"))), Hex(SidecarWith("TEXTttxt", expected)))
            << c.why;
    }
}

TEST(ResourceWriters, WhatIsNeverReadIsStoredAsItWas) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "data");
    scratch.Write("._a", SidecarWith("TEXTttxt", "0123456789"));
    short fork = 0;
    ASSERT_EQ(OpenResourceFork(path, fsRdWrPerm, &fork), noErr);
    ASSERT_EQ(Write(fork, 0, "ab"), noErr);
    ASSERT_EQ(FSCloseFork(fork), noErr);
    EXPECT_EQ(Hex(ReadAll(scratch.Path("._a"))), Hex(SidecarWith("TEXTttxt", "ab23456789")));
}

TEST(ResourceWriters, ASidecarThatIsCutMeanwhileIsMinus199AndIsNotReplaced) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "data");
    scratch.Write("._a", SidecarWith("TEXTttxt", "0123456789"));
    short fork = 0;
    ASSERT_EQ(OpenResourceFork(path, fsRdWrPerm, &fork), noErr);
    const std::string cut = SidecarWith("TEXTttxt", "0123456789").substr(0, 85);
    Testing::WriteAll(scratch.Path("._a"), cut);
    OSErr code = noErr;
    EXPECT_EQ(Read(fork, 0, 10, &code), "");
    EXPECT_EQ(code, -199);
    EXPECT_EQ(Write(fork, 0, "ab"), noErr) << "needs nothing of it";
    EXPECT_EQ(FSCloseFork(fork), -199);
    EXPECT_EQ(Hex(ReadAll(scratch.Path("._a"))), Hex(cut));
}

TEST(ResourceWriters, AReadThatFailsIsTheCodeOfTheWriteThatNeedsIt) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "data");
    const std::string before = SidecarWith("TEXTttxt", "0123456789");
    scratch.Write("._a", before);
    short fork = 0;
    ASSERT_EQ(OpenResourceFork(path, fsRdWrPerm, &fork), noErr);
    {
        const FaultPlan plan(1, EIO, "pread");
        EXPECT_EQ(Write(fork, 5, "ab"), -36);
    }
    EXPECT_EQ(Write(fork, 0, "ab"), -36) << "nothing may be stored with a hole in it";
    EXPECT_EQ(FSCloseFork(fork), -36);
    EXPECT_EQ(Hex(ReadAll(scratch.Path("._a"))), Hex(before));
}

}  // namespace
}  // namespace Ondrel
