// What the tests of the tool's commands share: a scratch folder that is the volume "Vol", the tool
// run in it, and the things that files are made of there.
#ifndef TESTS_SYSTEM_TOOL_TOOLFIXTURE_H
#define TESTS_SYSTEM_TOOL_TOOLFIXTURE_H

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/Program.h"
#include "tests/support/Scratch.h"

namespace OndrelTool::Testing {

using Ondrel::Testing::Bytes;
using Ondrel::Testing::Exists;
using Ondrel::Testing::Hex;
using Ondrel::Testing::Program;
using Ondrel::Testing::ProgramResult;
using Ondrel::Testing::ReadAll;

class ToolTest : public ::testing::Test {
 protected:
    ToolTest();

    const Ondrel::Testing::Scratch& Folder() const { return scratch_; }
    std::string Path(std::string_view name) const { return scratch_.Path(name); }
    std::string Write(std::string_view name, std::string_view bytes) const {
        return scratch_.Write(name, bytes);
    }

    // "ondrel" with these words, in the scratch folder.
    Program Ondrel(const std::vector<std::string>& words) const;

    // The same for a whole run.
    static void Expect(const ProgramResult& result, int status, const std::string& output,
                       const std::string& errors);
    void ExpectRun(const std::vector<std::string>& words, int status, const std::string& output,
                   const std::string& errors) const {
        Expect(Ondrel(words).Run(), status, output, errors);
    }

    // The names in the scratch folder, or in one below it, sorted, a blank between two.
    std::string Names(std::string_view folder = "") const;

 private:
    Ondrel::Testing::Scratch scratch_;
};

// A sidecar: Finder Info whose first bytes are given, and a resource fork.
std::string SidecarOf(std::string_view finderInfo, std::string_view fork);

// Two resources: TEXT 128 "hello" named "One", and 'PICT' 300 of two bytes.
std::string SmallFork();

// A sidecar with codes and that fork.
inline std::string SmallSidecar() {
    return SidecarOf("TEXTttxt", SmallFork());
}

// Whatever bytes, the same each time.
std::string RandomBytes(std::size_t size);

// A PNG file of one colour, four bytes: alpha, red, green, blue.
std::string PngOfColour(int width, int height, std::string_view colour);

// A small file system at a folder, gone with the object; where none can be mounted the test says so
// and is skipped.
class SmallDisk {
 public:
    SmallDisk(std::string folder, int kibibytes);
    ~SmallDisk();
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    bool IsThere() const { return isThere_; }
    void Fill() const;  // leaves no room in it

 private:
    std::string folder_;
    bool isThere_ = false;
};

}  // namespace OndrelTool::Testing

#endif
