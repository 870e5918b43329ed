// ondrel find, as users run it.
#include <filesystem>

#include "tests/system/tool/ToolFixture.h"

namespace OndrelTool::Testing {
namespace {

namespace fs = std::filesystem;

class TheSearch : public ToolTest {
 protected:
    TheSearch() {
        Write("here/other.txt", "");
        Write("here/in/pic.tif", "");
        Write("here/in/deep/Pic.TIF", "");
        Write("there/pic.tif", "");
    }
    std::string Lines(const std::vector<std::string>& names) const {
        std::string text;
        for (const std::string& name : names)
            text += Path(name) + "\n";
        return text;
    }
};

TEST_F(TheSearch, LooksInTheReferencesFolder) {
    ExpectRun({"find", "there/pic.tif"}, 0, Lines({"there/pic.tif"}), "");
    ExpectRun({"find", "here/pic.tif"}, 1, "", "ondrel: here/pic.tif: was not found\n");
    ExpectRun({"find", "--from", "mac", "Vol:there:PIC.tif"}, 0, Lines({"there/pic.tif"}), "");
}

TEST_F(TheSearch, GoesDeepAndFindsAllOrTheFirst) {
    ExpectRun({"find", "--deep", "here/pic.tif"}, 0,
              Lines({"here/in/pic.tif", "here/in/deep/Pic.TIF"}), "");
    ExpectRun({"find", "--deep", "--first", "here/pic.tif"}, 0, Lines({"here/in/pic.tif"}), "");
    ExpectRun({"find", "--deep", "--json", "here/pic.tif"}, 0,
              "[\n  \"" + Path("here/in/pic.tif") + "\",\n  \"" + Path("here/in/deep/Pic.TIF") +
                  "\"\n]\n",
              "");
    ExpectRun({"find", "--deep", "--json", "here/gone"}, 1, "[]\n",
              "ondrel: here/gone: was not found\n");
    ExpectRun({"find", "--deep", "--first", "here/gone"}, 1, "",
              "ondrel: here/gone: was not found\n");
}

TEST_F(TheSearch, OfAVolumeMindsCase) {
    const ProgramResult all = Ondrel({"find", "--volume", "here/pic.tif"}).Run();
    EXPECT_EQ(all.status, 0);
    EXPECT_TRUE(all.output == Lines({"here/in/pic.tif", "there/pic.tif"}) ||
                all.output == Lines({"there/pic.tif", "here/in/pic.tif"}))
        << all.output;
    const ProgramResult first = Ondrel({"find", "--volume", "--first", "here/pic.tif"}).Run();
    EXPECT_TRUE(first.output == Lines({"here/in/pic.tif"}) ||
                first.output == Lines({"there/pic.tif"}))
        << first.output;
    ExpectRun({"find", "--volume", "gone"}, 1, "", "ondrel: gone: was not found\n");
    ExpectRun({"find", "--volume", "--from", "mac", "Nope:x"}, 1, "",
              "ondrel: Nope: no volume of that name is mounted\n");
    ExpectRun({"find", "--volume", "--deep", "x"}, 2, "",
              "ondrel: --volume searches all of the volume; --deep adds nothing to it\n");
}

TEST_F(TheSearch, KeepsOtherTypesOut) {
    Write("typed/a/doc", "");
    Write("typed/a/._doc", SidecarOf("TEXTttxt", ""));
    Write("typed/b/doc", "");
    Write("typed/b/._doc", SidecarOf("PNTGMPNT", ""));
    Write("typed/c/doc", "");
    const std::string text = Lines({"typed/a/doc"});
    const std::string paint = Lines({"typed/b/doc"});
    const std::string plain = Lines({"typed/c/doc"});
    const auto found = [&](const std::vector<std::string>& more) {
        std::vector<std::string> words = {"find", "--deep", "typed/doc"};
        words.insert(words.end(), more.begin(), more.end());
        return Ondrel(words).Run().output;
    };
    const std::string all = found({});
    EXPECT_EQ(all.size(), text.size() + paint.size() + plain.size());
    const std::string texts = found({"--type", "TEXT"});
    EXPECT_NE(texts.find(text), std::string::npos);
    EXPECT_EQ(texts.find(paint), std::string::npos);
    EXPECT_NE(texts.find(plain), std::string::npos) << "its type cannot be told";
    EXPECT_EQ(found({"--type", "TEXT", "--type=PNTG"}).size(), all.size());
    EXPECT_EQ(found({"--type", "TEXT", "--type=PNTG", "--first"}),
              all.substr(0, all.find('\n') + 1));
    ExpectRun({"find", "x", "--type", "TEX"}, 2, "",
              "ondrel: --type takes a code or an extension, not 'TEX'\n");
}

TEST_F(TheSearch, FindsDecomposedNames) {
    Write("here/in/Re\xCC\x81sume\xCC\x81", "");
    ExpectRun({"find", "--deep", "here/R\xC3\xA9sum\xC3\xA9"}, 0,
              Lines({"here/in/Re\xCC\x81sume\xCC\x81"}), "");
    EXPECT_EQ(Ondrel({"find", "--volume", "R\xC3\xA9sum\xC3\xA9"}).Run().output,
              Lines({"here/in/Re\xCC\x81sume\xCC\x81"}));
}

TEST_F(TheSearch, BelowAFolderThatIsGoneOrClosedFindsNothing) {
    ExpectRun({"find", "--deep", "gone/pic.tif"}, 1, "", "ondrel: gone/pic.tif: was not found\n");
    fs::permissions(Path("here/in"), fs::perms::none);
    Expect(Ondrel({"find", "--deep", "here/pic.tif"}).AsNobody().Run(), 1, "",
           "ondrel: here/pic.tif: was not found\n");
    fs::permissions(Path("here/in"), fs::perms(0755));
}

TEST_F(TheSearch, AClosedPipeEndsIt) {
    Expect(Ondrel({"find", "--deep", "here/pic.tif"}).WithClosedPipe().Run(), 3, "",
           "ondrel: standard output: its reader has gone\n");
    Expect(Ondrel({"find", "--volume", "here/pic.tif"}).WithClosedPipe().Run(), 3, "",
           "ondrel: standard output: its reader has gone\n");
}

}  // namespace
}  // namespace OndrelTool::Testing
