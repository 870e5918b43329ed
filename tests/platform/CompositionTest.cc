// Composition of names in UTF-8.
#include "ondrel/platform/Composition.h"

#include <gtest/gtest.h>

namespace Ondrel::Host {
namespace {

TEST(Composition, NamesComeOutPrecomposed) {
    struct Case {
        std::string_view text;
        std::string_view composed;
    };
    const Case kCases[] = {
        {"", ""},
        {"Disk 1", "Disk 1"},
        {"Cafe\xCC\x81", "Caf\xC3\xA9"},               // e, acute
        {"Caf\xC3\xA9", "Caf\xC3\xA9"},                // composed already
        {"\xE3\x81\x8B\xE3\x82\x99", "\xE3\x81\x8C"},  // ka, voiced mark
        {"\xE0\xA5\x98", "\xE0\xA4\x95\xE0\xA4\xBC"},  // never composed: it grows
        {"\xF0\x9D\x85\xA0", "\xF0\x9D\x85\x98\xF0\x9D\x85\xA5\xF0\x9D\x85\xAE"},  // so does this
    };
    for (const Case& one : kCases) {
        std::string composed = "before";
        EXPECT_TRUE(ComposeUtf8(one.text, &composed)) << one.text;
        EXPECT_EQ(composed, one.composed);
    }
}

TEST(Composition, WhatIsNotUtf8IsRefusedAndNothingIsStored) {
    const std::string tooLong = std::string(65536, 'a') + "\xC3\xA9";
    for (const std::string_view text :
         {std::string_view("a\xFF"), std::string_view("\xC3"), std::string_view("\xED\xA0\x80"),
          std::string_view("\xC0\xAF"), std::string_view(tooLong)}) {
        std::string composed = "before";
        EXPECT_FALSE(ComposeUtf8(text, &composed));
        EXPECT_EQ(composed, "before");
    }
}

}  // namespace
}  // namespace Ondrel::Host
