// Every fork that others wrote, opened and listed through the public calls, against all that the
// manifest says of it.
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>

#include "ondrel/platform/BigEndian.h"
#include "ondrel/platform/ResourceMap.h"
#include "tests/platform/ResourceHelpers.h"
#include "tests/support/Corpus.h"

namespace Ondrel {
namespace {

using Testing::CorpusFile;
using Testing::ReadAll;
using Testing::Scratch;

// The fork inside an AppleSingle file, whose table is that of AppleDouble.
std::string ForkOfAppleSingle(const std::string& bytes) {
    EXPECT_EQ(Get32(bytes, 0), 0x00051600U);
    for (std::size_t i = 0; i < Get16(bytes, 24); ++i) {
        const std::size_t at = 26 + 12 * i;
        if (Get32(bytes, at) == 2) return bytes.substr(Get32(bytes, at + 4), Get32(bytes, at + 8));
    }
    return {};
}

// Makes the file's fork that of a file "a" in the scratch folder, as the container has it.
std::string Place(const Scratch& scratch, const CorpusFile& file) {
    const std::string bytes = ReadAll(file.path);
    const std::string kind = file.name.substr(0, file.name.find('_'));
    if (kind == "forks/ad")
        scratch.Write("._a", bytes);
    else if (kind == "forks/as")
        scratch.Write("._a", Testing::SidecarWith("", ForkOfAppleSingle(bytes)));
    else
        scratch.Write("._a", Testing::SidecarWith("", bytes));
    return scratch.Write("a", "");
}

// What the manifest says, or what a listing has. Types with characters beyond ASCII count as "?".
struct Content {
    std::map<std::string, int> types;
    int named = 0;
    int compressed = 0;
    std::set<std::string> attributes;
    std::set<std::string> known;  // "PICT -5694 (398 B)", of the resources that the manifest names

    bool operator==(const Content&) const = default;
};

std::string TypeText(const std::string& text) {
    for (const char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80) return "?";
    }
    return text;
}

Content ContentOf(const CorpusFile& file) {
    Content content;
    std::smatch match;
    const std::string& text = file.content;
    static const std::regex kParts(
        "types: (.*?) ; named ([0-9]+) comp ([0-9]+) attrs \\[(.*?)\\](.*)");
    if (!std::regex_search(text, match, kParts)) {
        ADD_FAILURE() << text;
        return content;
    }
    content.named = std::stoi(match[2]);
    content.compressed = std::stoi(match[3]);
    static const std::regex kType("(.{4,6}?):([0-9]+)(?: |$)");
    const std::string types = match[1];
    for (std::sregex_iterator at(types.begin(), types.end(), kType), end; at != end; ++at)
        content.types[TypeText((*at)[1])] += std::stoi((*at)[2]);
    static const std::regex kAttribute("[0-9a-f]{2}");
    const std::string attributes = match[4];
    for (std::sregex_iterator at(attributes.begin(), attributes.end(), kAttribute), end; at != end;
         ++at)
        content.attributes.insert((*at)[0]);
    static const std::regex kKnown("(PICT|pnot|icns) (-?[0-9]+) \\(([0-9]+) B\\)");
    const std::string known = match[5];
    for (std::sregex_iterator at(known.begin(), known.end(), kKnown), end; at != end; ++at)
        content.known.insert((*at)[0]);
    return content;
}

std::string CodeText(FourCC code) {
    std::string text(4, '\0');
    Put32(text, 0, code);
    return text;
}

Content ContentOf(const std::vector<ResourceInfo>& list, const Content& expected) {
    Content content;
    for (const ResourceInfo& info : list) {
        ++content.types[TypeText(CodeText(info.type))];
        content.named += info.hasName ? 1 : 0;
        content.compressed += info.isCompressed ? 1 : 0;
        std::string byte = Testing::Hex(std::string(1, static_cast<char>(info.attributes)));
        for (char& c : byte)
            c = static_cast<char>(std::tolower(c));
        content.attributes.insert(byte);
        const std::string text = CodeText(info.type) + " " + std::to_string(info.id) + " (" +
                                 std::to_string(info.size) + " B)";
        const bool isNamed = expected.known.contains(text);
        if (isNamed) content.known.insert(text);
        EXPECT_FALSE(info.isDamaged) << text;
    }
    return content;
}

void ExpectSame(const Content& found, const Content& expected, const std::string& name) {
    EXPECT_EQ(found.types, expected.types) << name;
    EXPECT_EQ(found.named, expected.named) << name;
    EXPECT_EQ(found.compressed, expected.compressed) << name;
    EXPECT_EQ(found.attributes, expected.attributes) << name;
    EXPECT_EQ(found.known, expected.known) << name;
}

// Every resource of the current file comes, whole, or is refused because it is compressed.
void ExpectAllReadable(const std::vector<ResourceInfo>& list, const std::string& name) {
    for (const ResourceInfo& info : list) {
        const Handle handle = Get1Resource(info.type, info.id);
        EXPECT_EQ(ResError(), info.isCompressed ? -186 : 0) << name;
        EXPECT_EQ(handle == nullptr, info.isCompressed) << name;
        if (handle != nullptr) {
            EXPECT_EQ(GetHandleSize(handle), info.size) << name << " " << info.id;
        }
    }
}

TEST(ResourceCorpus, EveryForkIsListedAsTheManifestSays) {
    if (Testing::CorpusFolder().empty()) GTEST_SKIP() << "the corpus is not here";
    int listed = 0;
    int empty = 0;
    int refused = 0;
    for (const CorpusFile& file : Testing::CorpusFiles("forks/")) {
        const Scratch scratch;
        const std::string path = Place(scratch, file);
        short number = 0;
        const OSErr code = Testing::OpenResourceFile(path, fsRdPerm, &number);
        if (file.content.find("types:") == std::string::npos) {
            const bool hasNone = file.content.find("no-rsrc") != std::string::npos;
            EXPECT_EQ(code, hasNone ? -193 : -199) << file.name;
            ++(hasNone ? empty : refused);
            continue;
        }
        ASSERT_EQ(code, noErr) << file.name;
        std::vector<ResourceInfo> list;
        EXPECT_EQ(ListResources(number, &list), noErr) << file.name;
        const Content expected = ContentOf(file);
        ExpectSame(ContentOf(list, expected), expected, file.name);
        ExpectAllReadable(list, file.name);
        CloseResFile(number);
        ++listed;
    }
    EXPECT_GE(listed, 58);
    EXPECT_GE(empty, 8);
    EXPECT_GE(refused, 5);
}

TEST(ResourceCorpus, MapsHaveTheAttributesOfTheManifest) {
    if (Testing::CorpusFolder().empty()) GTEST_SKIP() << "the corpus is not here";
    int maps = 0;
    for (const CorpusFile& file : Testing::CorpusFiles("forks/rsrc_")) {
        const std::size_t at = file.content.find("fattr=");
        if (at == std::string::npos) continue;
        const std::string fork = ReadAll(file.path);
        ResourceMap map;
        ASSERT_EQ(map.Read(fork), noErr) << file.name;
        EXPECT_EQ(map.Attributes(), std::stoi(file.content.substr(at + 6, 4), nullptr, 16))
            << file.name;
        ++maps;
    }
    EXPECT_GE(maps, 29);
}

}  // namespace
}  // namespace Ondrel
