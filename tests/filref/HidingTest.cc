// Keeping references out of the system's index.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <stdexcept>

#include "tests/filref/Support.h"

namespace Ondrel {
namespace {

using namespace Testing;

std::string Hidden(const char* text) {
    filref ref = Ref(text);
    ref.hideFromSpotlight(false);
    return TextOf(ref);
}

TEST(HidingByName, PutsADotBeforeTheName) {
    EXPECT_EQ(Hidden("Disk:Dir:doc"), "Disk:Dir:.doc");
    EXPECT_EQ(Hidden("Disk:doc:doc"), "Disk:doc:.doc");
    EXPECT_EQ(Hidden("doc"), ".doc");
    EXPECT_EQ(Hidden("Disk:Dir:\xC3\xA9"), "Disk:Dir:.\xC3\xA9");
}

TEST(HidingByName, TwiceGivesTwoDots) {
    filref ref = Ref("Disk:Dir:doc");
    ref.hideFromSpotlight(false);
    ref.hideFromSpotlight(false);
    EXPECT_EQ(TextOf(ref), "Disk:Dir:..doc");
}

TEST(HidingByName, AFolderWithoutANameGetsADotForOne) {
    EXPECT_EQ(Hidden("Disk:Dir:"), "Disk:Dir:.");
}

TEST(HidingByName, AFolderMarkIsLookedForInThePathWithoutIt) {
    EXPECT_EQ(Hidden("Box:Dir:x"), "Bo.x");
    EXPECT_THROW(Hidden("Disk:Dir:x"), std::out_of_range);
}

TEST(HidingByName, ClearsLasterror) {
    lasterror = -43;
    Hidden("Disk:Dir:doc");
    EXPECT_EQ(lasterror, 0);
}

TEST(HidingByName, AResultThatIsTooLongIsCutAndTerminated) {
    filref ref = Ref("Disk:" + Times(1018, "a"));
    ref.hideFromSpotlight(false);
    EXPECT_EQ(TextOf(ref), "Disk:." + Times(1017, "a"));
}

TEST(HidingByName, WithoutMemoryTheReferenceIsLeftWithoutStorage) {
    filref ref = Ref("Disk:Dir:doc");
    const NoMemory none;
    ref.hideFromSpotlight(false);
    EXPECT_EQ(ref.path, nullptr);
}

TEST(Hiding, OfANullReferenceDoesNothing) {
    filref ref;
    ref.hideFromSpotlight(false);
    EXPECT_EQ(ref.path, nullptr);
    ref.hideFromSpotlight(true);
    EXPECT_EQ(ref.path, nullptr);
}

// The temporary-items folder lies on the disk of the test.
class HidingInTemporaryItems : public testing::Test {
 protected:
    HidingInTemporaryItems() {
        const char* before = getenv("TMPDIR");
        if (before != nullptr) before_ = before;
        setenv("TMPDIR", disk_.Path().c_str(), 1);
    }
    ~HidingInTemporaryItems() override {
        if (before_.empty())
            unsetenv("TMPDIR");
        else
            setenv("TMPDIR", before_.c_str(), 1);
    }

    // The POSIX path that the reference names.
    static std::string PathOf(const filref& ref) {
        FileSpec spec;
        EXPECT_EQ(ref.convertToFileSpec(spec), 0);
        std::string path;
        EXPECT_TRUE(spec.GetFullPath(path));
        return path;
    }

    Disk disk_;

 private:
    std::string before_;
};

TEST_F(HidingInTemporaryItems, MakesAnEmptyFileOfTheNameThere) {
    filref ref = Ref("Disk:Dir:doc.txt");
    ref.hideFromSpotlight(true);
    const std::string text = TextOf(ref);
    EXPECT_EQ(text.substr(0, 20), "Disk:TemporaryItems-");
    EXPECT_EQ(ref.getNameAsUtf8(filRefMac), "doc.txt");
    EXPECT_TRUE(Exists(PathOf(ref)));
    EXPECT_EQ(ReadAll(PathOf(ref)), "");
    EXPECT_FALSE(Exists(disk_.Path("Dir")));
}

TEST_F(HidingInTemporaryItems, TakesTheNameOfADocumentOnly) {
    filref ref = Ref("Disk:Dir:a/b");
    const int descriptors = OpenDescriptors();
    ref.hideFromSpotlight(true);
    EXPECT_EQ(ref.getNameAsUtf8(filRefMac), "a/b");
    EXPECT_TRUE(PathOf(ref).ends_with("/a:b"));
    EXPECT_EQ(OpenDescriptors(), descriptors);
}

TEST_F(HidingInTemporaryItems, WithoutANameChangesNothing) {
    for (const char* text : {"Disk:Dir:", ""}) {
        filref ref = Ref(text);
        ref.hideFromSpotlight(true);
        EXPECT_EQ(TextOf(ref), text);
    }
}

}  // namespace
}  // namespace Ondrel
