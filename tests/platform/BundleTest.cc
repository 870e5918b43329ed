// The application's codes.
#include "ondrel/platform/Bundle.h"

#include <gtest/gtest.h>

namespace Ondrel {
namespace {

TEST(Bundle, TheCodesAreQuestionMarksUntilGiven) {
    FourCC type = 0;
    FourCC creator = 0;
    GetMainBundlePackageInfo(&type, &creator);
    EXPECT_EQ(type, 0x3F3F3F3Fu);
    EXPECT_EQ(creator, 0x3F3F3F3Fu);

    SetMainBundlePackageInfo(MakeFourCC("APPL"), MakeFourCC("Ondr"));
    GetMainBundlePackageInfo(&type, &creator);
    EXPECT_EQ(type, 0x4150504Cu);
    EXPECT_EQ(creator, 0x4F6E6472u);
    GetMainBundlePackageInfo(nullptr, nullptr);
    SetMainBundlePackageInfo(0x3F3F3F3F, 0x3F3F3F3F);
}

}  // namespace
}  // namespace Ondrel
