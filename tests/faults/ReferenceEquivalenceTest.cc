// Random operations on references against plain lists of names: made from Mac paths, through the
// other syntaxes and back, named and compared.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "ondrel/filref/genericpath.h"
#include "ondrel/filref/operations.h"
#include "tests/faults/LongForm.h"

namespace Ondrel::Testing {
namespace {

// A reference as a list of names, the volume first.
class Names {
 public:
    std::vector<std::string> names{"Disk", "Docs", "doc"};

    std::string Text() const {
        std::string text;
        for (const std::string& name : names)
            text += text.empty() && &name == names.data() ? name : ":" + name;
        return text;
    }
};

class ReferenceWalk {
 public:
    explicit ReferenceWalk(unsigned seed) : random_(seed) {}

    void Run(int steps) {
        ref_.ConvertFromMacPath(model_.Text().c_str());
        for (int i = 0; i < steps && !::testing::Test::HasFailure(); ++i) {
            Step();
            ASSERT_STREQ(ref_.path, model_.Text().c_str()) << "step " << i;
        }
    }

 private:
    std::size_t Below(std::size_t limit) { return random_() % limit; }

    std::string AnyName() {
        static const char* const kPieces[] = {"a",  "B", "doc", ".txt", "Zo\xC3\xAB",  "-", "9",
                                              "%2", " ", "&",   "x y",  "\xE6\x97\xA5"};
        std::string name = "n";
        for (std::size_t i = Below(4); i > 0; --i)
            name += kPieces[Below(std::size(kPieces))];
        return name;
    }

    // Replaces what follows the folder by other names.
    void Append(std::size_t kept, const std::vector<std::string>& names) {
        model_.names.resize(kept);
        model_.names.insert(model_.names.end(), names.begin(), names.end());
    }

    void Take(const std::string& text) {
        filref made;
        ASSERT_EQ(filrefnew(&made, &ref_, text.c_str(), true), 0);
        ref_ = made;
    }

    void Step() {
        const std::size_t folder = model_.names.size() - 1;
        const std::string one = AnyName();
        const std::string two = AnyName();
        switch (Below(8)) {
            case 0:
                Take(one);
                return Append(folder, {one});
            case 1:
                if (folder > 6) return;
                Take(":" + one + ":" + two);
                return Append(folder, {one, two});
            case 2:
                if (folder < 2) return;
                Take("::" + one);
                return Append(folder - 1, {one});
            case 3:
                Take(one + ":" + two);
                return Append(0, {one, two});
            case 4: {
                filref made;
                ASSERT_EQ(folderfromfilref(&ref_, &made), 0);
                ref_ = made;
                return Append(folder, {"x"});
            }
            case 5:
                return ThroughOtherSyntaxes();
            case 6:
                return CheckNames();
            default:
                return CheckOrder();
        }
    }

    void ThroughOtherSyntaxes() {
        std::string generic;
        filref back;
        if (model_.names.back() == "x") return;  // the mark of a folder is none of its name
        ASSERT_TRUE(filrefToGeneric(ref_, generic));
        ASSERT_TRUE(GenericPathToFilref(generic, back)) << generic;
        ASSERT_TRUE(back == ref_) << generic;
        std::uint16_t units[kFilrefSize];
        filref again;
        ASSERT_EQ(ref_.ToUnicode(units, 0, filRefMac), 0);
        ASSERT_EQ(again.FromUnicode(units, filRefMac), 0);
        ASSERT_TRUE(again == ref_);
    }

    void CheckNames() {
        ASSERT_EQ(ref_.getNameAsUtf8(filRefMac), model_.names.back());
        std::vector<std::string> parts;
        ASSERT_GT(breakFilePath(ref_.path, parts, filRefMac), 0);
    }

    void CheckOrder() {
        const std::string text = model_.Text();
        ASSERT_EQ(ref_ == other_, text == otherText_);
        ASSERT_EQ(other_ < ref_, other_.path == nullptr || otherText_ < text);
        other_ = ref_;
        otherText_ = text;
    }

    std::mt19937 random_;
    Names model_;
    filref ref_;
    filref other_;
    std::string otherText_ = "(none)";
};

TEST(ReferenceEquivalence, ReferencesAgreeWithListsOfNames) {
    for (unsigned seed = 1; seed <= 4; ++seed)
        ReferenceWalk(seed).Run(ShortOrLong(5000, 250000));
}

}  // namespace
}  // namespace Ondrel::Testing
