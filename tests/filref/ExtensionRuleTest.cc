// References from a new name and a rule for its extension.
#include <gtest/gtest.h>

#include "ondrel/filref/operations.h"
#include "tests/filref/Support.h"

namespace Ondrel {
namespace {

using namespace Testing;

struct RuleRow {
    const char* old;     // null: without storage
    const char* folder;  // null: a null pointer
    const char* name;
    const char* rule;
    const char* result;  // null: -1, `out` unchanged
};

constexpr RuleRow kRuleRows[] = {
    {"Disk:Dir:doc.txt", nullptr, nullptr, nullptr, "Disk:Dir:doc"},
    {"Disk:Dir:doc.txt", nullptr, nullptr, ".txt", "Disk:Dir:doc"},
    {"Disk:Dir:doc.txt", nullptr, nullptr, ".TXT+.bak", "Disk:Dir:doc.bak"},
    {"Disk:Dir:doc.TXT", nullptr, nullptr, ".txt+.bak", "Disk:Dir:doc.bak"},
    {"Disk:Dir:doc.txt", nullptr, nullptr, ".pdf", "Disk:Dir:doc.txt"},
    {"Disk:Dir:doc.txt", nullptr, nullptr, "", "Disk:Dir:doc.txt"},
    {"Disk:Dir:doc.txt", nullptr, nullptr, "+.bak", "Disk:Dir:doc.txt"},
    {"Disk:Dir:doc.txt", nullptr, nullptr, ".txt+", "Disk:Dir:doc"},
    {"Disk:Dir:doc.txt", nullptr, nullptr, ".txt rest", "Disk:Dir:doc"},
    {"Disk:Dir:doc.txt", nullptr, nullptr, ".txt+.bak rest", "Disk:Dir:doc.bak"},
    {"Disk:Dir:doc.txt", nullptr, nullptr, ".txt +.bak", "Disk:Dir:doc"},
    {"Disk:Dir:doc.txt", nullptr, nullptr, ".tx", "Disk:Dir:doc.txt"},
    {"Disk:Dir:doc.txt", nullptr, nullptr, ".txtt", "Disk:Dir:doc.txt"},
    {"Disk:Dir:doc.txt", nullptr, nullptr, ".pdf+.bak", "Disk:Dir:doc.txt"},
    {"Disk:Dir:doc", nullptr, nullptr, ".txt", "Disk:Dir:doc"},
    {"Disk:Dir:doc", nullptr, nullptr, nullptr, "Disk:Dir:doc"},
    {"Disk:Dir:a.tar.gz", nullptr, nullptr, ".gz", "Disk:Dir:a.tar"},
    {"Disk:Dir:a.tar.gz", nullptr, nullptr, ".tar", "Disk:Dir:a.tar.gz"},
    {"Disk:Dir:a.tar.gz", nullptr, nullptr, ".tar.gz", "Disk:Dir:a"},
    {"Disk:Dir:a.tar.gz", nullptr, nullptr, ".GZ+.bz2", "Disk:Dir:a.tar.bz2"},
    {"Disk:Dir:a.tar.gz", nullptr, nullptr, ".tar.gz+.tgz", "Disk:Dir:a.tgz"},
    {"Disk:Dir:a.tar.gz", nullptr, nullptr, nullptr, "Disk:Dir:a"},
    {"Disk:Dir:a.tar.gz", nullptr, "b", nullptr, "Disk:Dir:b"},
    {"Disk:Dir:a.tar.gz", nullptr, "b", ".gz", "Disk:Dir:b.tar"},
    {"Disk:Dir:a..", nullptr, nullptr, ".", "Disk:Dir:a."},
    {"Disk:Dir:.hidden", nullptr, nullptr, nullptr, "Disk:Dir:"},
    {"Disk:Dir:.hidden", nullptr, nullptr, ".pdf", "Disk:Dir:.hidden"},
    {"Disk:Dir.d:doc", nullptr, "new", ".d", "Disk:Dir.d:new"},
    {"Disk:Dir:doc.\xC3\xA9", nullptr, nullptr, ".\xC3\xA9", "Disk:Dir:doc"},
    {"Disk:Dir:doc.\xC3\xA9", nullptr, nullptr, ".\xC3\x89", "Disk:Dir:doc.\xC3\xA9"},
    {"Disk:Dir:doc.[a", nullptr, nullptr, ".{A", "Disk:Dir:doc.[a"},
    {"Disk:Dir:doc.txt", nullptr, "new", ".pdf", "Disk:Dir:new.txt"},
    {"Disk:Dir:doc.txt", nullptr, "new", ".txt+.pdf", "Disk:Dir:new.pdf"},
    {"Disk:Dir:doc.txt", nullptr, "new", nullptr, "Disk:Dir:new"},
    {"Disk:Dir:doc.txt", nullptr, "new.odt", nullptr, "Disk:Dir:new.odt"},
    {"Disk:Dir:doc.txt", nullptr, "new.odt", ".pdf", "Disk:Dir:new.odt.txt"},
    {"Disk:Dir:doc.txt", nullptr, "", ".pdf", "Disk:Dir:.txt"},
    {"Disk:Dir:doc.txt", "Vol:F:", "new", ".pdf", "Vol:F:new.txt"},
    {"Disk:Dir:doc.txt", "Vol:F:old.odt", "new", nullptr, "Vol:F:new"},
    {"Disk:Dir:doc.txt", "Vol:F:old.odt", nullptr, ".pdf", "Vol:F:doc.txt"},
    {"Disk:Dir:doc.txt", "bare", "new", nullptr, "new"},
    {"Disk:Dir:", nullptr, nullptr, ".txt", "Disk:Dir:"},
    {"Disk:Dir:", nullptr, "new", ".txt", "Disk:Dir:new"},
    {"bare.txt", nullptr, "new", ".pdf", "new.txt"},
    {"bare.txt", nullptr, nullptr, ".pdf", nullptr},
    {"bare.txt", "Vol:F:", nullptr, ".pdf", nullptr},
    {"", nullptr, nullptr, ".pdf", nullptr},
    {nullptr, nullptr, nullptr, ".pdf", nullptr},
    {nullptr, "Vol:F:", nullptr, nullptr, nullptr},
    {nullptr, "Vol:F:", "new", ".pdf", "Vol:F:new"},
    {nullptr, nullptr, "new", ".pdf", "new"},
    {"", nullptr, "new", ".pdf", "new"},
};

std::string Shown(const char* text) {
    return text != nullptr ? text : "null";
}

TEST(FilrefFromNameAndExtension, FollowsTheRule) {
    for (const RuleRow& row : kRuleRows) {
        SCOPED_TRACE(Shown(row.old) + ", " + Shown(row.folder) + ", " + Shown(row.name) + ", " +
                     Shown(row.rule));
        filref out = row.old != nullptr ? Ref(row.old) : filref();
        const std::string before = TextOf(out);
        const filref folder = row.folder != nullptr ? Ref(row.folder) : filref();
        lasterror = -43;
        EXPECT_EQ(filrefnew(&out, row.folder != nullptr ? &folder : nullptr, row.name, row.rule),
                  row.result != nullptr ? 0 : -1);
        EXPECT_EQ(TextOf(out), row.result != nullptr ? row.result : before);
        EXPECT_EQ(lasterror, -43);
    }
}

TEST(FilrefFromNameAndExtension, AFolderWithoutStorageIsNone) {
    const filref null;
    filref out = Ref("Disk:Dir:doc.txt");
    EXPECT_EQ(filrefnew(&out, &null, "new", ".pdf"), 0);
    EXPECT_EQ(TextOf(out), "Disk:Dir:new.txt");
}

TEST(FilrefFromNameAndExtension, FolderAndNameMayLieInTheOutput) {
    filref ref = Ref("Disk:Dir:doc.txt");
    EXPECT_EQ(filrefnew(&ref, &ref, ref.path + 9, ".pdf"), 0);
    EXPECT_EQ(TextOf(ref), "Disk:Dir:doc.txt.txt");
}

TEST(FilrefFromNameAndExtension, AResultIsCutAt1023Bytes) {
    filref out = Ref("Disk:Dir:doc.txt");
    EXPECT_EQ(filrefnew(&out, nullptr, Times(2000, "a").c_str(), ".pdf"), 0);
    EXPECT_EQ(TextOf(out), "Disk:Dir:" + Times(1014, "a"));
    filref other = Ref("Disk:Dir:doc.txt");
    EXPECT_EQ(filrefnew(&other, nullptr, Times(1012, "a").c_str(), ".txt+.backup"), 0);
    EXPECT_EQ(TextOf(other), "Disk:Dir:" + Times(1012, "a") + ".b");
}

TEST(FilrefFromNameAndExtension, WithoutMemoryIsMinus1WithLasterrorMinus108) {
    filref out;
    const NoMemory none;
    EXPECT_EQ(filrefnew(&out, nullptr, "new", ".pdf"), -1);
    EXPECT_EQ(lasterror, -108);
    EXPECT_EQ(out.path, nullptr);
}

}  // namespace
}  // namespace Ondrel
