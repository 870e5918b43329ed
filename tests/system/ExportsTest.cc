// What the built libraries show to the linker, and what they need.
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <string>
#include <vector>

#include "tests/system/CommandLines.h"

namespace Ondrel::Testing {
namespace {

// The names that a library exports, readable: "Ondrel::filpos(Ondrel::fil*)".
std::vector<std::string> ExportsOf(const std::string& library) {
    static const std::regex kSymbol("^[0-9a-f]* . (.*)$");
    std::vector<std::string> names;
    for (const std::string& line : LinesOf("nm -DC --defined-only '" + library + "'")) {
        std::smatch match;
        if (std::regex_match(line, match, kSymbol)) names.push_back(match[1]);
    }
    return names;
}

// Names of the library proper, and what compilers make for its classes.
bool IsOurs(const std::string& name) {
    static const std::regex kOurs(
        "((vtable|typeinfo|typeinfo name|VTT) for |(non-virtual|virtual) thunk to |"
        "TLS (wrapper|init) function for )?Ondrel::.*|drapixallcou\\(.*");
    return std::regex_match(name, kOurs);
}

bool HasPrefix(const std::vector<std::string>& names, const std::string& prefix) {
    return std::any_of(names.begin(), names.end(),
                       [&](const std::string& name) { return name.starts_with(prefix); });
}

TEST(Exports, TheLibrariesShowNamesOfTheirOwnOnly) {
    for (const char* library : {CORE_LIBRARY, OLD_LIBRARY}) {
        const std::vector<std::string> names = ExportsOf(library);
        ASSERT_FALSE(names.empty()) << library;
        for (const std::string& name : names)
            EXPECT_TRUE(IsOurs(name)) << library << ": " << name;
    }
}

TEST(Exports, WhatIsInternalStaysHidden) {
    EXPECT_FALSE(HasPrefix(ExportsOf(CORE_LIBRARY), "Ondrel::Host::"));
}

TEST(Exports, EachLibraryShowsItsOwnLayers) {
    const std::vector<std::string> core = ExportsOf(CORE_LIBRARY);
    const std::vector<std::string> old = ExportsOf(OLD_LIBRARY);
    for (const char* name : {"Ondrel::FSOpenFork(", "Ondrel::FileSpec::DoesExist() const",
                             "Ondrel::UTF8ToUni16Char(", "Ondrel::OutputStream::~OutputStream()"}) {
        EXPECT_TRUE(HasPrefix(core, name)) << name;
        EXPECT_FALSE(HasPrefix(old, name)) << name;
    }
    for (const char* name : {"Ondrel::filope(", "Ondrel::fil::Close()", "Ondrel::lasterror",
                             "Ondrel::filref::clear()", "Ondrel::filreastring"}) {
        EXPECT_TRUE(HasPrefix(old, name)) << name;
        EXPECT_FALSE(HasPrefix(core, name)) << name;
    }
}

TEST(Exports, TheLibrariesCarryAVersionedName) {
    static const std::regex kSoname(".*\\(SONAME\\).*\\[libOndrel(Old)?\\.so\\.[0-9]+\\]");
    for (const char* library : {CORE_LIBRARY, OLD_LIBRARY}) {
        const std::vector<std::string> lines = LinesOf("readelf -d '" + std::string(library) + "'");
        EXPECT_EQ(
            std::count_if(lines.begin(), lines.end(),
                          [](const std::string& line) { return std::regex_match(line, kSoname); }),
            1)
            << library;
    }
}

TEST(Exports, OtherLibrariesAreNeededByTheCoreLibraryAlone) {
    static const std::regex kNeeded(".*\\(NEEDED\\).*\\[(lib[^\\]]*)\\]");
    static const std::regex kAllowed(
        "lib(Ondrel|stdc\\+\\+|c\\+\\+|m|gcc_s|c|asan|ubsan)\\.so\\..*");
    for (const std::string& line : LinesOf("readelf -d '" + std::string(OLD_LIBRARY) + "'")) {
        std::smatch match;
        if (std::regex_match(line, match, kNeeded)) {
            const std::string needed = match[1];
            EXPECT_TRUE(std::regex_match(needed, kAllowed)) << needed;
        }
    }
}

}  // namespace
}  // namespace Ondrel::Testing
