// Resources by type and ID: the current file, handles and who owns them, codes, listing.
#include "ondrel/platform/ResourceManager.h"

#include <gtest/gtest.h>

#include <thread>

#include "ondrel/platform/BigEndian.h"
#include "tests/platform/ResourceHelpers.h"
#include "tests/support/FaultPlan.h"

namespace Ondrel {
namespace {

using Testing::Bytes;
using Testing::OpenResourceFile;
using Testing::Scratch;
using Testing::SidecarWith;
using Testing::SmallFork;

constexpr FourCC kText = MakeFourCC("TEXT");
constexpr FourCC kIcns = MakeFourCC("icns");

// A file with a resource fork, open as a resource file.
class OpenedFile {
 public:
    explicit OpenedFile(const Scratch& scratch, std::string_view fork = SmallFork(),
                        const std::string& name = "a", signed char permission = fsRdPerm) {
        const std::string path = scratch.Write(name, "");
        scratch.Write("._" + name, SidecarWith("", fork));
        EXPECT_EQ(OpenResourceFile(path, permission, &number_), noErr);
    }
    ~OpenedFile() { CloseResFile(number_); }
    OpenedFile(const OpenedFile&) = delete;
    OpenedFile& operator=(const OpenedFile&) = delete;
    operator short() const { return number_; }

 private:
    short number_ = 0;
};

std::string TextOf(Handle handle) {
    return handle == nullptr ? "none" : std::string(*handle, GetHandleSize(handle));
}

TEST(ResourceFiles, TheFileOpenedLastIsCurrent) {
    const Scratch scratch;
    UseResFile(0);
    EXPECT_EQ(CurResFile(), 0);
    const OpenedFile first(scratch);
    EXPECT_EQ(ResError(), noErr);
    EXPECT_EQ(CurResFile(), first);
    {
        const OpenedFile second(scratch, Testing::EmptyForkBytes(), "b");
        EXPECT_EQ(CurResFile(), second);
        EXPECT_EQ(Get1Resource(kText, 128), nullptr);
        EXPECT_EQ(ResError(), -192);
        UseResFile(first);
        EXPECT_EQ(CurResFile(), first);
        EXPECT_EQ(TextOf(Get1Resource(kText, 128)), "hello");
        UseResFile(second);
    }
    EXPECT_EQ(CurResFile(), 0);
    EXPECT_EQ(Get1Resource(kText, 128), nullptr);
    EXPECT_EQ(ResError(), -193);
    UseResFile(first);
    EXPECT_EQ(ResError(), noErr);
    UseResFile(0);
    EXPECT_EQ(CurResFile(), 0);
    EXPECT_EQ(ResError(), noErr);
}

TEST(ResourceFiles, OnlyAResourceFileCanBeMadeCurrent) {
    const Scratch scratch;
    const OpenedFile file(scratch);
    short fork = 0;
    ASSERT_EQ(Testing::OpenResourceFork(scratch.Path("a"), fsRdPerm, &fork), noErr);
    const Testing::OpenedFork data(scratch.Path("a"), fsRdPerm);
    for (const int other : {int{fork}, int{data}, -1, 32767}) {
        UseResFile(static_cast<short>(other));
        EXPECT_EQ(ResError(), -193) << other;
        EXPECT_EQ(CurResFile(), file);
    }
    EXPECT_EQ(FSCloseFork(fork), noErr);
}

TEST(ResourceFiles, EachThreadHasItsOwnCurrentFileAndError) {
    const Scratch scratch;
    const OpenedFile file(scratch);
    EXPECT_EQ(Get1Resource(kText, 9), nullptr);
    short current = 77;
    OSErr error = 77;
    std::thread([&] {
        current = CurResFile();
        error = ResError();
        UseResFile(file);
    }).join();
    EXPECT_EQ(current, 0);
    EXPECT_EQ(error, noErr);
    EXPECT_EQ(ResError(), -192);
    EXPECT_EQ(CurResFile(), file);
}

TEST(ResourceFiles, TheCallsOfForksWorkOnThem) {
    const Scratch scratch;
    const OpenedFile file(scratch, SmallFork(), "a", fsRdWrPerm);
    std::int64_t size = 0;
    EXPECT_EQ(FSGetForkSize(file, &size), noErr);
    EXPECT_EQ(size, static_cast<std::int64_t>(SmallFork().size()));
    OSErr code = noErr;
    EXPECT_EQ(Testing::Read(file, 260, 5, &code), "hello");
    EXPECT_EQ(FSWriteFork(file, fsFromStart, 260, 5, "HELLO", nullptr), noErr);
    EXPECT_EQ(TextOf(Get1Resource(kText, 128)), "hello") << "the file as it was opened";
    EXPECT_EQ(FSCloseFork(file), noErr);
    EXPECT_EQ(CurResFile(), 0);
    const OpenedFile again(scratch, Testing::ReadAll(scratch.Path("._a")).substr(82));
    EXPECT_EQ(TextOf(Get1Resource(kText, 128)), "HELLO");
}

struct BadFork {
    std::string fork;
    OSErr code;
    const char* why;
};

std::string Changed(std::size_t at, char byte) {
    std::string fork = SmallFork();
    fork[at] = byte;
    return fork;
}

TEST(ResourceFiles, ForksThatCannotBeReadAreRefused) {
    const BadFork cases[] = {
        {"", -193, "empty"},
        {"text", -199, "no fork at all"},
        {std::string(500, '\0'), -199, "its map would be its header"},
        {SmallFork().substr(0, SmallFork().size() - 5), -199, "cut"},
        {Changed(4, 0x7F), -199, "the map lies outside"},
        {Changed(8, 0x7F), -199, "the data are longer than the fork"},
        {Changed(0x113 + 24, 0x7F), -199, "the type list lies outside of the map"},
        {Changed(0x113 + 29, 0x7F), -199, "more types than there are"},
        {Changed(0x113 + 34, 0x7F), -199, "more resources than there are"},
        {Changed(0x113 + 36, 0x7F), -199, "a reference list lies outside of the map"},
        {Bytes("00 01 00 00") + std::string(400, '\0'), -199, "a fork of another system"},
    };
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    for (const BadFork& bad : cases) {
        const std::string sidecar = SidecarWith("TEXTttxt", bad.fork);
        scratch.Write("._a", sidecar);
        const int descriptors = Testing::OpenDescriptors();
        for (const signed char permission : {fsRdPerm, fsRdWrPerm}) {
            short number = 77;
            EXPECT_EQ(OpenResourceFile(path, permission, &number), bad.code) << bad.why;
            EXPECT_EQ(ResError(), bad.code) << bad.why;
            EXPECT_EQ(number, -1) << bad.why;
        }
        EXPECT_EQ(Testing::OpenDescriptors(), descriptors) << bad.why;
        EXPECT_EQ(Testing::ReadAll(scratch.Path("._a")), sidecar) << bad.why;
    }
}

TEST(ResourceFiles, AFileWithoutForkIsMinus193AndAFileThatIsNoneMinus43) {
    const Scratch scratch;
    short number = 77;
    EXPECT_EQ(OpenResourceFile(scratch.Write("a", ""), fsRdPerm, &number), -193);
    EXPECT_EQ(number, -1);
    EXPECT_EQ(OpenResourceFile(scratch.MakeFolder("f"), fsRdPerm, &number), -43);
    FSRef nothing{};
    const HFSUniStr255 name = Testing::ResourceForkName();
    number = 77;
    EXPECT_EQ(FSOpenResourceFile(&nothing, name.length, name.unicode, fsRdPerm, &number), -43);
    EXPECT_EQ(number, -1);
    EXPECT_EQ(FSOpenResourceFile(&nothing, name.length, name.unicode, fsRdPerm, nullptr), -50);
    EXPECT_EQ(ResError(), -50);
    FSRef ref;
    ASSERT_EQ(FSPathMakeRef(scratch.Path("a").c_str(), &ref), noErr);
    EXPECT_EQ(FSOpenResourceFile(&ref, 0, nullptr, fsRdPerm, &number), -50);
    EXPECT_EQ(FSOpenResourceFile(&ref, name.length, name.unicode, 0, &number), -50);
}

TEST(ResourceFiles, ASecondWriterIsRefusedWithMinus49) {
    const Scratch scratch;
    const OpenedFile file(scratch, SmallFork(), "a", fsRdWrPerm);
    short number = 0;
    EXPECT_EQ(OpenResourceFile(scratch.Path("a"), fsRdWrPerm, &number), -49);
    EXPECT_EQ(number, -1);
    EXPECT_EQ(CurResFile(), file);
}

TEST(ResourceFiles, ClosingOneThatIsNotOpenChangesNothing) {
    const Scratch scratch;
    const OpenedFile file(scratch);
    for (const int number : {-1, 0, 32767}) {
        CloseResFile(static_cast<short>(number));
        EXPECT_EQ(ResError(), -51);
    }
    EXPECT_EQ(CurResFile(), file);
}

TEST(ResourceFiles, ANumberThatIsTakenAgainIsNotTheOldFile) {
    const Scratch scratch;
    short number = 0;
    {
        const OpenedFile file(scratch);
        number = file;
    }
    FSRef ref;
    ASSERT_EQ(FSPathMakeRef(scratch.Path("a").c_str(), &ref), noErr);
    short again = 0;
    for (;;) {  // numbers come back late
        ASSERT_EQ(FSOpenFork(&ref, 0, nullptr, fsRdPerm, &again), noErr);
        if (again == number) break;
        ASSERT_EQ(FSCloseFork(again), noErr);
    }
    EXPECT_EQ(CurResFile(), 0);
    EXPECT_EQ(FSCloseFork(again), noErr);
}

// --- Handles ------------------------------------------------------------------------------------

TEST(Handles, AResourceHasOneHandleUntilItIsDetached) {
    const Scratch scratch;
    const OpenedFile file(scratch);
    const Handle hello = Get1Resource(kText, 128);
    EXPECT_EQ(TextOf(hello), "hello");
    EXPECT_EQ(ResError(), noErr);
    EXPECT_EQ(Get1Resource(kText, 128), hello);
    EXPECT_EQ(TextOf(Get1Resource(kText, -5)), "");
    EXPECT_EQ(TextOf(Get1Resource(kIcns, 7)), "XY");
    DetachResource(hello);
    EXPECT_EQ(ResError(), noErr);
    const Handle other = Get1Resource(kText, 128);
    EXPECT_NE(other, hello);
    (*hello)[0] = 'j';
    EXPECT_EQ(TextOf(hello), "jello");
    EXPECT_EQ(TextOf(other), "hello");
    DisposeHandle(hello);
}

TEST(Handles, ADetachedHandleOutlivesItsFile) {
    const Scratch scratch;
    Handle hello = nullptr;
    {
        const OpenedFile file(scratch);
        hello = Get1Resource(kText, 128);
        DetachResource(hello);
        EXPECT_NE(Get1Resource(kText, 128), nullptr);  // the file frees this one
    }
    EXPECT_EQ(TextOf(hello), "hello");
    DisposeHandle(hello);
}

TEST(Handles, WhatAFileOwnsIsNotDisposedOf) {
    const Scratch scratch;
    const OpenedFile file(scratch);
    const Handle hello = Get1Resource(kText, 128);
    DisposeHandle(hello);
    EXPECT_EQ(TextOf(hello), "hello");
    DisposeHandle(nullptr);
    EXPECT_EQ(GetHandleSize(nullptr), 0U);
}

TEST(Handles, OnlyAFilesHandleIsDetached) {
    const Scratch scratch;
    const OpenedFile file(scratch);
    DetachResource(nullptr);
    EXPECT_EQ(ResError(), -192);
    const Handle hello = Get1Resource(kText, 128);
    DetachResource(hello);
    DetachResource(hello);
    EXPECT_EQ(ResError(), -192);
    DisposeHandle(hello);
}

TEST(Handles, AMissingResourceIsMinus192) {
    const Scratch scratch;
    const OpenedFile file(scratch);
    const std::pair<FourCC, short> missing[] = {
        {kText, 127}, {kText, 7}, {kIcns, 128}, {MakeFourCC("text"), 128}, {0, 0}};
    for (const auto& [type, id] : missing) {
        EXPECT_EQ(Get1Resource(type, id), nullptr);
        EXPECT_EQ(ResError(), -192);
    }
}

TEST(Handles, BytesThatAreNotWhereTheMapSaysAreMinus199) {
    for (const auto& [at, byte] : {std::pair<std::size_t, char>{0x113 + 46 + 7, 0x7F},
                                   {0x113 + 46 + 5, 0x01},
                                   {0x100, 0x7F},
                                   {0x103, 0x14}}) {
        const Scratch scratch;
        const OpenedFile file(scratch, Changed(at, byte));
        EXPECT_EQ(Get1Resource(kText, 128), nullptr) << at;
        EXPECT_EQ(ResError(), -199) << at;
        EXPECT_EQ(TextOf(Get1Resource(kIcns, 7)), "XY") << "the others are there";
        std::vector<ResourceInfo> list;
        EXPECT_EQ(ListResources(file, &list), noErr);
        EXPECT_TRUE(list.at(0).isDamaged);
        EXPECT_EQ(list.at(0).size, 0U);
        EXPECT_FALSE(list.at(2).isDamaged);
    }
}

TEST(Handles, ACompressedResourceIsRefusedWithMinus186) {
    std::string fork = SmallFork();
    fork.replace(0x104, 4, Bytes("A8 9F 65 72"));
    struct Case {
        char attributes;
        bool isCompressed;
    };
    for (const Case& one : {Case{0x00, false}, {0x01, true}, {0x21, true}, {0x20, false}}) {
        fork[0x113 + 46 + 4] = one.attributes;
        const Scratch scratch;
        const OpenedFile file(scratch, fork);
        const Handle handle = Get1Resource(kText, 128);
        EXPECT_EQ(handle == nullptr, one.isCompressed) << int{one.attributes};
        EXPECT_EQ(ResError(), one.isCompressed ? -186 : 0);
        std::vector<ResourceInfo> list;
        EXPECT_EQ(ListResources(file, &list), noErr);
        EXPECT_EQ(list.at(0).isCompressed, one.isCompressed);
        EXPECT_EQ(list.at(0).size, 5U);
    }
    fork = SmallFork();
    fork[0x113 + 46 + 4] = 0x01;  // the bit alone
    const Scratch scratch;
    const OpenedFile file(scratch, fork);
    EXPECT_EQ(TextOf(Get1Resource(kText, 128)), "hello");
}

// --- Listing ------------------------------------------------------------------------------------

TEST(ResourceLists, ResourcesAreListedInTheOrderOfTheMap) {
    const Scratch scratch;
    const OpenedFile file(scratch);
    std::vector<ResourceInfo> list;
    ASSERT_EQ(ListResources(file, &list), noErr);
    ASSERT_EQ(list.size(), 3U);
    EXPECT_EQ(list[0].type, kText);
    EXPECT_EQ(list[0].id, 128);
    EXPECT_EQ(list[0].attributes, 0);
    EXPECT_TRUE(list[0].hasName);
    EXPECT_EQ(list[0].name, "One");
    EXPECT_EQ(list[0].size, 5U);
    EXPECT_EQ(list[1].id, -5);
    EXPECT_EQ(list[1].attributes, 0x24);
    EXPECT_FALSE(list[1].hasName);
    EXPECT_EQ(list[1].size, 0U);
    EXPECT_EQ(list[2].type, kIcns);
    EXPECT_EQ(list[2].id, 7);
    EXPECT_EQ(list[2].size, 2U);
}

TEST(ResourceLists, OnlyAResourceFileIsListed) {
    const Scratch scratch;
    const OpenedFile file(scratch, Testing::EmptyForkBytes());
    std::vector<ResourceInfo> list(1);
    EXPECT_EQ(ListResources(file, nullptr), -50);
    EXPECT_EQ(ListResources(0, &list), -193);
    EXPECT_EQ(list.size(), 1U);
    EXPECT_EQ(ListResources(file, &list), noErr);
    EXPECT_TRUE(list.empty());
}

TEST(ResourceManager, AForkInMemoryIsListedAsAFileIs) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    scratch.Write("._a", SidecarWith("", SmallFork()));
    short number = 0;
    ASSERT_EQ(OpenResourceFile(path, fsRdPerm, &number), noErr);
    std::vector<ResourceInfo> ofFile;
    ASSERT_EQ(ListResources(number, &ofFile), noErr);
    CloseResFile(number);
    std::vector<ResourceInfo> ofBytes;
    ASSERT_EQ(ListForkResources(SmallFork(), &ofBytes), noErr);
    ASSERT_EQ(ofBytes.size(), 3U);
    ASSERT_EQ(ofFile.size(), 3U);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(ofBytes[i].type, ofFile[i].type);
        EXPECT_EQ(ofBytes[i].id, ofFile[i].id);
        EXPECT_EQ(ofBytes[i].name, ofFile[i].name);
        EXPECT_EQ(ofBytes[i].size, ofFile[i].size);
    }
    EXPECT_EQ(ofBytes[0].name, "One");
    EXPECT_EQ(ofBytes[1].id, -5);
}

TEST(ResourceManager, BytesThatAreNoForkAreNotListed) {
    std::vector<ResourceInfo> list(1);
    EXPECT_EQ(ListForkResources("", &list), resFNotFound);
    EXPECT_EQ(ListForkResources("random bytes that are no fork", &list), mapReadErr);
    EXPECT_EQ(ListForkResources(SmallFork().substr(0, 300), &list), mapReadErr);
    EXPECT_EQ(ListForkResources(SmallFork(), nullptr), paramErr);
    EXPECT_EQ(list.size(), 1U);
}

}  // namespace
}  // namespace Ondrel
