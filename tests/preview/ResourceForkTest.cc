// The writer of resource forks: whole forks against the bytes that they must have.
#include "ondrel/preview/ResourceFork.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "ondrel/core/FileSpec.h"
#include "ondrel/platform/ResourceManager.h"
#include "ondrel/platform/Types.h"
#include "tests/preview/ForkBytes.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {
namespace {

constexpr FourCC kTypeA = MakeFourCC("AAAA");
constexpr FourCC kTypeB = MakeFourCC("BBBB");

// A header, `data` from byte 256 on, and `map` behind them.
std::string Fork(const std::string& header, const std::string& data, const std::string& map) {
    return Bytes(header) + std::string(240, '\0') + Bytes(data) + Bytes(map);
}

void Add(ResourceFork* fork, FourCC type, int id, const char* name, const std::string& bytes) {
    fork->NewResource(type, id, name);
    fork->Append(bytes.data(), bytes.size());
    fork->CloseResource();
}

template <class Work>
std::string Thrown(Work work) {
    try {
        work();
    } catch (const char* text) {
        return text;
    }
    return "nothing";
}

TEST(ResourceFork, WithoutResourcesTheMapListsNothing) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "data");
    { const ResourceFork fork(Wide(path)); }
    EXPECT_EQ(Hex(ForkBytes(path)),
              Hex(Fork("00000100 00000100 00000000 0000001E", "",
                       "00000100 00000100 00000000 0000001E 00000000 0000 0000 001C 001E FFFF")));
    EXPECT_EQ(ReadAll(path), "data");
}

TEST(ResourceFork, AMissingFileIsMade) {
    const Scratch scratch;
    { const ResourceFork fork(Wide(scratch.Path("new"))); }
    EXPECT_EQ(ReadAll(scratch.Path("new")), "");
    EXPECT_EQ(ForkBytes(scratch.Path("new")).size(), 286U);
}

TEST(ResourceFork, DataOfAnOddLengthIsFilledUpAndTheByteCounted) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    {
        ResourceFork fork(Wide(path));
        Add(&fork, kTypeA, 128, nullptr, "xyz");
    }
    EXPECT_EQ(Hex(ForkBytes(path)),
              Hex(Fork("00000100 00000108 00000008 00000032", "00000004 78797A00",
                       "00000100 00000108 00000008 00000032 00000000 0000 0000 001C 0032 0000"
                       "41414141 0000 000A"
                       "0080 FFFF 00000000 00000000")));
}

TEST(ResourceFork, TypesStandInTheOrderOfTheirFirstResourcesAndIdsAscend) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    {
        ResourceFork fork(Wide(path));
        Add(&fork, kTypeA, 300, "late", "1");
        Add(&fork, kTypeB, -2, nullptr, "2222");
        Add(&fork, kTypeA, 5, "early", "");
        Add(&fork, kTypeA, -7, "", "33");
    }
    EXPECT_EQ(Hex(ForkBytes(path)),
              Hex(Fork("00000100 00000118 00000018 0000006A",
                       "00000002 3100  00000004 32323232  00000000  00000002 3333",
                       "00000100 00000118 00000018 0000006A 00000000 0000 0000 001C 005E 0001"
                       "41414141 0002 0012"
                       "42424242 0000 0036"
                       "FFF9 0000 00000012 00000000"
                       "0005 0001 0000000E 00000000"
                       "012C 0007 00000000 00000000"
                       "FFFE FFFF 00000006 00000000"
                       "00  05 6561726C79  04 6C617465")));
}

TEST(ResourceFork, NumbersAreBigEndian) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    {
        ResourceFork fork(Wide(path));
        fork.NewResource(kTypeA, 1, nullptr);
        EXPECT_EQ(fork.ResourceSize(), 0);
        fork.AppendShort(0x1234);
        EXPECT_EQ(fork.ResourceSize(), 2);
        fork.AppendShort(-2);
        fork.AppendLong(0x01020304);
        fork.AppendLong(-3);
        fork.Append("abc", 0);
        fork.Append("abc", 3);
        EXPECT_EQ(fork.ResourceSize(), 15);
        fork.CloseResource();
    }
    EXPECT_EQ(Hex(ForkBytes(path).substr(256, 20)),
              "00 00 00 10 12 34 FF FE 01 02 03 04 FF FF FF FD 61 62 63 00");
}

TEST(ResourceFork, ALongNameIsCutTo255Bytes) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    {
        ResourceFork fork(Wide(path));
        Add(&fork, kTypeA, 1, std::string(300, 'n').c_str(), "");
        Add(&fork, kTypeA, 2, std::string(255, 'm').c_str(), "");
        Add(&fork, kTypeA, 3, "x", "");
    }
    const std::string fork = ForkBytes(path);
    const std::string names =
        "\xFF" + std::string(255, 'n') + "\xFF" + std::string(255, 'm') + "\x01x";
    EXPECT_EQ(fork.substr(fork.size() - names.size()), names);
    // The third name's place.
    EXPECT_EQ(Hex(fork.substr(fork.size() - names.size() - 12, 4)), "00 03 02 00");
}

TEST(ResourceFork, IdsAreToldApartBy32BitsAndStoredIn16) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    {
        ResourceFork fork(Wide(path));
        Add(&fork, kTypeA, 65537, nullptr, "late");
        Add(&fork, kTypeA, 1, nullptr, "soon");
    }
    const std::string fork = ForkBytes(path);
    EXPECT_EQ(Hex(fork.substr(fork.size() - 24)),
              "00 01 FF FF 00 00 00 08 00 00 00 00 00 01 FF FF 00 00 00 00 00 00 00 00");
}

TEST(ResourceFork, MisuseIsThrownAsAText) {
    const Scratch scratch;
    ResourceFork fork(Wide(scratch.Write("a", "")));
    EXPECT_EQ(Thrown([&] { fork.Append("a", 1); }), "Resource not open");
    EXPECT_EQ(Thrown([&] { fork.AppendShort(1); }), "Resource not open");
    EXPECT_EQ(Thrown([&] { fork.AppendLong(1); }), "Resource not open");
    EXPECT_EQ(Thrown([&] { fork.ResourceSize(); }), "Resource not open");
    EXPECT_EQ(Thrown([&] { fork.CloseResource(); }), "Resource not open");
    fork.NewResource(kTypeA, 1, nullptr);
    EXPECT_EQ(Thrown([&] { fork.NewResource(kTypeA, 2, nullptr); }), "Resource already open");
    fork.Append("a", 1);
    EXPECT_EQ(fork.ResourceSize(), 1);
    fork.CloseResource();
    EXPECT_EQ(Thrown([&] { fork.CloseResource(); }), "Resource not open");
}

TEST(ResourceFork, ADuplicateIsThrownAndItsBytesStayWithoutAnEntry) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    {
        ResourceFork fork(Wide(path));
        Add(&fork, kTypeA, 1, nullptr, "11");
        EXPECT_EQ(Thrown([&] { Add(&fork, kTypeA, 1, nullptr, "22"); }), "Duplicate Resource");
        EXPECT_EQ(Thrown([&] { fork.ResourceSize(); }), "Resource not open");
        Add(&fork, kTypeB, 1, nullptr, "33");
    }
    EXPECT_EQ(Hex(ForkBytes(path)),
              Hex(Fork("00000100 00000112 00000012 00000046",
                       "00000002 3131  00000002 3232  00000002 3333",
                       "00000100 00000112 00000012 00000046 00000000 0000 0000 001C 0046 0001"
                       "41414141 0000 0012"
                       "42424242 0000 001E"
                       "0001 FFFF 00000000 00000000"
                       "0001 FFFF 0000000C 00000000")));
}

TEST(ResourceFork, AResourceThatIsStillOpenIsClosedAtTheEnd) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    {
        ResourceFork fork(Wide(path));
        fork.NewResource(kTypeA, 1, nullptr);
        fork.Append("x", 1);
    }
    EXPECT_EQ(Hex(ForkBytes(path).substr(256, 6)), "00 00 00 02 78 00");
    EXPECT_EQ(ForkBytes(path).size(), 262U + 30 + 8 + 12);
}

TEST(ResourceForkDeathTest, ADuplicateThatIsStillOpenEndsTheProgram) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    const auto leaveOpen = [&] {
        ResourceFork fork(Wide(path));
        Add(&fork, kTypeA, 1, nullptr, "");
        fork.NewResource(kTypeA, 1, nullptr);
    };
    EXPECT_DEATH(leaveOpen(), "");
}

TEST(ResourceFork, TheMapHasRoomForATypeOfZero) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    {
        ResourceFork fork(Wide(path));
        Add(&fork, 0, 1, nullptr, "00");
        Add(&fork, kTypeA, 1, nullptr, "11");
    }
    EXPECT_EQ(Hex(ForkBytes(path).substr(256 + 12)),
              Hex(Bytes("00000100 0000010C 0000000C 00000046 00000000 0000 0000 001C 0046 0001"
                        "00000000 0000 0012"
                        "41414141 0000 001E"
                        "0001 FFFF 00000000 00000000"
                        "0001 FFFF 00000006 00000000")));
}

TEST(ResourceFork, AForkThatWasThereIsWrittenOverFromItsStart) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    {
        ResourceFork fork(Wide(path));
        Add(&fork, kTypeA, 1, "old", std::string(1000, 'o'));
    }
    const std::string old = ForkBytes(path);
    {
        ResourceFork fork(Wide(path));
        Add(&fork, kTypeB, 2, nullptr, "new!");
    }
    const std::string fork = ForkBytes(path);
    const std::string expected =
        Fork("00000100 00000108 00000008 00000032", "00000004 6E657721",
             "00000100 00000108 00000008 00000032 00000000 0000 0000 001C 0032 0000"
             "42424242 0000 000A"
             "0002 FFFF 00000000 00000000");
    EXPECT_EQ(Hex(fork.substr(0, expected.size())), Hex(expected));
    EXPECT_EQ(fork.substr(expected.size()), old.substr(expected.size()));
}

TEST(ResourceFork, TheResourceManagerReadsWhatWasWritten) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    {
        ResourceFork fork(Wide(path));
        Add(&fork, kTypeA, 7, "seven", "7777");
        Add(&fork, kTypeB, 1, nullptr, "1");
        Add(&fork, kTypeA, 5, nullptr, "");
    }
    const FileSpec spec(Wide(path));
    HFSUniStr255 name;
    ASSERT_EQ(FSGetResourceForkName(&name), noErr);
    short file = 0;
    ASSERT_EQ(FSOpenResourceFile(spec, name.length, name.unicode, fsRdPerm, &file), noErr);
    std::vector<ResourceInfo> list;
    ASSERT_EQ(ListResources(file, &list), noErr);
    ASSERT_EQ(list.size(), 3U);
    EXPECT_EQ(list[0].id, 5);
    EXPECT_EQ(list[1].name, "seven");
    EXPECT_EQ(list[1].size, 4U);
    EXPECT_EQ(list[2].type, kTypeB);
    CloseResFile(file);
}

TEST(ResourceFork, WhereTheForkCannotBeOpenedNothingIsWritten) {
    const Scratch scratch;
    scratch.MakeFolder("folder");
    for (const std::string& path :
         {scratch.Path("folder"), scratch.Path("missing/a"), std::string("relative")}) {
        ResourceFork fork(Wide(path));
        fork.NewResource(kTypeA, 1, nullptr);
        fork.Append("abc", 3);
        EXPECT_EQ(fork.ResourceSize(), -4) << path;
        fork.CloseResource();
    }
    EXPECT_FALSE(Exists(scratch.Path("._folder")));
    EXPECT_FALSE(Exists(scratch.Path("missing")));
}

TEST(ResourceFork, AForkThatAnotherWritesIsLeftAlone) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    ResourceFork first(Wide(path));
    {
        ResourceFork second(Wide(path));
        Add(&second, kTypeB, 1, nullptr, "2");
    }
    Add(&first, kTypeA, 1, nullptr, "1");
    EXPECT_LE(ForkBytes(path).size(), 286U);
}

// Whatever call fails: the sidecar is the old one or the new one, and no descriptor is lost.
TEST(ResourceFork, AFailureLeavesTheOldForkOrTheNewOne) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "data");
    {
        ResourceFork fork(Wide(path));
        Add(&fork, kTypeA, 1, nullptr, "old");
    }
    const std::string old = ReadAll(SidecarOf(path));
    const int descriptors = OpenDescriptors();
    bool finished = false;
    for (int n = 1; !finished; ++n) {
        ASSERT_LT(n, 500);
        {
            const FaultPlan plan(n, ENOSPC);
            {
                ResourceFork fork(Wide(path));
                Add(&fork, kTypeA, 1, nullptr, "new");
            }
            finished = !plan.Fired();
        }
        const std::string now = ReadAll(SidecarOf(path));
        EXPECT_EQ(now.size(), old.size()) << n;
        EXPECT_TRUE(now == old || now.find("new") != std::string::npos) << n;
        EXPECT_EQ(ReadAll(path), "data") << n;
        EXPECT_EQ(OpenDescriptors(), descriptors) << n;
        WriteAll(SidecarOf(path), old);
    }
}

}  // namespace
}  // namespace Ondrel::Testing
