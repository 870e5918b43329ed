// The protections that the built libraries and programs carry, as the linker and the compiler left
// them in the files.
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "tests/system/CommandLines.h"

namespace Ondrel::Testing {
namespace {

const std::vector<std::string> kLibraries = {CORE_LIBRARY, OLD_LIBRARY};

std::vector<std::string> EveryFile() {
    std::vector<std::string> files = kLibraries;
#ifdef TOOL_PROGRAM
    files.insert(files.end(), {TOOL_PROGRAM, THUMBNAILER_PROGRAM});
#endif
    return files;
}

// How many lines of what the command prints of the file have the pattern in them.
int Count(const std::string& command, const std::string& file, const char* pattern) {
    const std::regex kPattern(pattern);
    int count = 0;
    const std::string whole = command + " '" + file + "'";
    for (const std::string& line : LinesOf(whole))
        count += std::regex_search(line, kPattern) ? 1 : 0;
    return count;
}

TEST(Hardening, CodeAndDataAreLoadedWhereverTheSystemLikes) {
    for (const std::string& file : EveryFile())
        EXPECT_EQ(Count("readelf -Wh", file, "Type: +DYN"), 1) << file;
}

TEST(Hardening, TheTableOfCallsIsFilledAtTheStartAndThenReadOnly) {
    for (const std::string& file : EveryFile()) {
        EXPECT_EQ(Count("readelf -Wl", file, "GNU_RELRO"), 1) << file;
        EXPECT_EQ(Count("readelf -Wd", file, "FLAGS_1.*NOW"), 1) << file;
    }
}

TEST(Hardening, NothingIsBothWritableAndCode) {
    for (const std::string& file : EveryFile()) {
        EXPECT_EQ(Count("readelf -Wl", file, "GNU_STACK.* RW "), 1) << file;
        EXPECT_EQ(Count("readelf -Wl", file, " RWE "), 0) << file;
    }
}

TEST(Hardening, BuffersOnTheStackAreGuarded) {
    for (const std::string& file : EveryFile())
        EXPECT_EQ(Count("nm -D", file, "__stack_chk_fail"), 1) << file;
}

TEST(Hardening, CallsThatFillBuffersKnowTheirSizes) {
    for (const std::string& file : kLibraries)
        EXPECT_GT(Count("nm -D", file, " __(memcpy|v?snprintf|memset)_chk"), 0) << file;
}

TEST(Hardening, IndirectCallsLandAtMarkedPlacesOnly) {
#ifdef __x86_64__
    for (const std::string& file : EveryFile())
        EXPECT_GT(Count("objdump -d --no-show-raw-insn", file, "\tendbr64"), 20) << file;
#else
    GTEST_SKIP() << "looks at the code of x86-64 only";
#endif
}

}  // namespace
}  // namespace Ondrel::Testing
