// The URL form of references.
#include <gtest/gtest.h>

#include "tests/filref/Support.h"

namespace Ondrel {
namespace {

using namespace Testing;

TEST(UrlForm, IsTheGenericPathWithItsComponentsPercentEncoded) {
    const struct {
        const char* path;
        const char* url;
    } rows[] = {
        {"Disk:Dir:a b.txt", "/Disk/Dir/a%20b.txt"},
        {"Disk:Dir:", "/Disk/Dir/"},
        {"Disk:Dir:x", "/Disk/Dir/"},
        {"Disk:", "/Disk/"},
        {":sub:f", "sub/f"},
        {":sub:", "sub/"},
        {"f", "f"},
        {":", ""},
        {"::f", "../f"},
        {"My Disk:D\xC3\xA9:100%", "/My%20Disk/D%C3%A9/100%25"},
        {"Disk:a?b#c;d", "/Disk/a%3Fb%23c;d"},
        {"C:", "/C:/"},
    };
    for (const auto& row : rows) {
        FileSpecURL url;
        url = "before";
        lasterror = -43;
        EXPECT_EQ(Ref(row.path).ConvertToFileSpecURL(url), 0) << row.path;
        EXPECT_EQ(url.GetText(), row.url);
        EXPECT_EQ(lasterror, 0);
    }
}

TEST(UrlForm, OfNoTextIsMinus1AndLeavesTheUrlAlone) {
    const filref refs[] = {filref(), Ref(""), Ref("Disk:\xFF"), Ref(":::a")};
    for (const filref& ref : refs) {
        FileSpecURL url;
        url = "before";
        lasterror = -43;
        EXPECT_EQ(ref.ConvertToFileSpecURL(url), -1);
        EXPECT_EQ(url.GetText(), "before");
        EXPECT_EQ(lasterror, 0);
    }
}

TEST(UrlForm, OfTheLongestTextIsWhole) {
    FileSpecURL url;
    EXPECT_EQ(Ref("Disk:" + Times(1018, " ")).ConvertToFileSpecURL(url), 0);
    EXPECT_EQ(url.GetText(), "/Disk/" + Times(1018, "%20"));
}

}  // namespace
}  // namespace Ondrel
