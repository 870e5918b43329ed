// Sidecars and resource forks that other programs wrote, against what the manifest says of them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>

#include "ondrel/platform/AliasRecord.h"
#include "ondrel/platform/AppleDouble.h"
#include "ondrel/platform/ResourceMap.h"
#include "tests/support/Corpus.h"
#include "tests/support/Scratch.h"

namespace Ondrel {
namespace {

using Testing::CorpusFile;
using Testing::CorpusFiles;
using Testing::ReadAll;

// The text between two others; empty when they are not there.
std::string Between(const std::string& text, const std::string& from, const std::string& to) {
    const std::size_t start = text.find(from);
    if (start == std::string::npos) return {};
    const std::size_t end = text.find(to, start + from.size());
    if (end == std::string::npos) return {};
    return text.substr(start + from.size(), end - start - from.size());
}

// "entries=finder@50+32,rsrc@82+286 ": the length of the entry of that name; -1 without one.
long EntryLength(const CorpusFile& file, const std::string& name) {
    const std::string entries = "," + Between(file.content + " ", "entries=", " ");
    const std::string length = Between(entries + ",", "," + name + "@", ",");
    const std::size_t plus = length.find('+');
    return plus == std::string::npos ? -1 : std::atol(length.c_str() + plus + 1);
}

// "types: ICN#:18 STR :1 ; ": types with plain names, and how many resources they have.
std::map<std::string, int> Types(const CorpusFile& file) {
    std::map<std::string, int> types;
    std::string text = Between(file.content, "types: ", " ;");
    while (text.size() > 5 && text[4] == ':') {
        const std::size_t end = std::min(text.find(' ', 5), text.size());
        types[text.substr(0, 4)] = std::atoi(text.c_str() + 5);
        text.erase(0, std::min(end + 1, text.size()));
    }
    return types;
}

FourCC Code(const std::string& text) {
    FourCC code = 0;
    for (const char c : text.substr(0, 4))
        code = (code << 8) | static_cast<unsigned char>(c);
    return code;
}

void ExpectTypes(const CorpusFile& file, const ResourceMap& map) {
    for (const auto& [type, count] : Types(file)) {
        const auto found = std::count_if(
            map.Resources().begin(), map.Resources().end(),
            [code = Code(type)](const Resource& resource) { return resource.type == code; });
        EXPECT_EQ(found, count) << type << " in " << file.name;
    }
    for (const Resource& resource : map.Resources()) {
        std::string_view data;
        EXPECT_EQ(map.Data(resource, &data), noErr) << resource.id << " in " << file.name;
    }
}

TEST(Corpus, SidecarsOfOthersAreReadAsTheManifestSays) {
    if (Testing::CorpusFolder().empty()) GTEST_SKIP() << "the corpus is not here";
    int withCodes = 0;
    for (const CorpusFile& file : CorpusFiles("forks/ad_")) {
        const std::string bytes = ReadAll(file.path);
        const auto sidecar = AppleDouble::Parse(bytes);
        ASSERT_TRUE(sidecar.has_value()) << file.name;
        EXPECT_EQ(static_cast<long>(sidecar->GetResourceFork().size()),
                  std::max(EntryLength(file, "rsrc"), 0L))
            << file.name;
        const std::string codes = Between(file.content, "finder='", "'");
        if (codes.size() != 8 || codes.find('\\') != std::string::npos) continue;
        ++withCodes;
        EXPECT_EQ(sidecar->GetFinderInfo().Type(), Code(codes)) << file.name;
        EXPECT_EQ(sidecar->GetFinderInfo().Creator(), Code(codes.substr(4))) << file.name;
    }
    EXPECT_GE(withCodes, 20);
}

TEST(Corpus, AChangedSidecarKeepsEveryOtherByteOfItsEntries) {
    if (Testing::CorpusFolder().empty()) GTEST_SKIP() << "the corpus is not here";
    for (const CorpusFile& file : CorpusFiles("forks/ad_")) {
        const std::string bytes = ReadAll(file.path);
        const auto before = ReadAppleDoubleTable(bytes, bytes.size());
        auto sidecar = AppleDouble::Parse(bytes);
        ASSERT_TRUE(before && sidecar) << file.name;
        FinderInfo info;
        info.SetType(MakeFourCC("ABCD"));
        sidecar->SetFinderInfo(info);
        ASSERT_TRUE(sidecar->SetResourceFork("a new fork")) << file.name;
        const std::string& changed = sidecar->Bytes();
        const auto after = ReadAppleDoubleTable(changed, changed.size());
        ASSERT_TRUE(after && after->size() >= before->size()) << file.name;
        // An entry that is added takes twelve bytes of the table; nothing else moves the others.
        const std::size_t moved = 12 * (after->size() - before->size());
        for (std::size_t i = 0; i < before->size(); ++i) {
            const AppleDoubleEntry& was = (*before)[i];
            const AppleDoubleEntry& is = (*after)[i];
            EXPECT_EQ(is.id, was.id) << file.name;
            if (was.id == kEntryResourceFork || was.length == 0) continue;
            const std::size_t skip = was.id == kEntryFinderInfo ? kFinderInfoSize : 0;
            EXPECT_EQ(is.offset, was.offset + moved) << file.name << ": entry " << was.id;
            EXPECT_EQ(changed.substr(is.offset + skip, is.length - skip),
                      bytes.substr(was.offset + skip, was.length - skip))
                << file.name << ": entry " << was.id;
        }
        EXPECT_EQ(sidecar->GetFinderInfo().Type(), MakeFourCC("ABCD")) << file.name;
        EXPECT_EQ(sidecar->GetResourceFork(), "a new fork") << file.name;
    }
}

TEST(Corpus, ResourceForksOfOthersHaveTheResourcesOfTheManifest) {
    if (Testing::CorpusFolder().empty()) GTEST_SKIP() << "the corpus is not here";
    std::vector<CorpusFile> files = CorpusFiles("forks/rsrc_");
    const std::size_t plainForks = files.size();
    const std::vector<CorpusFile> sidecars = CorpusFiles("forks/ad_");
    files.insert(files.end(), sidecars.begin(), sidecars.end());
    int refused = 0;
    for (std::size_t i = 0; i < files.size(); ++i) {
        std::string fork = ReadAll(files[i].path);
        if (i >= plainForks) fork = std::string(AppleDouble::Parse(fork)->GetResourceFork());
        ResourceMap map;
        const OSErr error = map.Read(fork);
        if (files[i].content.find("types:") == std::string::npos) {
            EXPECT_EQ(error, fork.empty() ? resFNotFound : mapReadErr) << files[i].name;
            refused += fork.empty() ? 0 : 1;
            continue;
        }
        EXPECT_EQ(error, noErr) << files[i].name;
        ExpectTypes(files[i], map);
    }
    EXPECT_GE(refused, 3);
}

TEST(Corpus, AliasRecordsOfOthersNameTheirTargets) {
    if (Testing::CorpusFolder().empty()) GTEST_SKIP() << "the corpus is not here";
    int records = 0;
    for (const CorpusFile& file : CorpusFiles("forks/ad_")) {
        const auto sidecar = AppleDouble::Parse(ReadAll(file.path));
        ASSERT_TRUE(sidecar.has_value()) << file.name;
        ResourceMap map;
        if (map.Read(sidecar->GetResourceFork()) != noErr) continue;
        for (const Resource& resource : map.Resources()) {
            std::string_view data;
            if (resource.type != MakeFourCC("alis") || map.Data(resource, &data) != noErr) continue;
            ++records;
            AliasRecord record;
            ASSERT_EQ(ReadAliasRecord(data, &record), noErr) << file.name;
            EXPECT_FALSE(record.volumeName.empty()) << file.name;
            ASSERT_FALSE(record.targetName.empty()) << file.name;
            EXPECT_TRUE(record.colonPath.empty() || record.colonPath.ends_with(record.targetName))
                << file.name << ": " << record.colonPath << " and " << record.targetName;
            EXPECT_TRUE(record.posixPath.empty() || record.posixPath.ends_with(record.targetName))
                << file.name << ": " << record.posixPath << " and " << record.targetName;
        }
    }
    EXPECT_GE(records, 5);
}

}  // namespace
}  // namespace Ondrel
