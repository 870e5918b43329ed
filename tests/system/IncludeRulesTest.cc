// The rules between folders, over the project and over sources that break them.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "tests/support/Scratch.h"
#include "tests/system/IncludeRules.h"

namespace Ondrel::Testing {
namespace {

namespace fs = std::filesystem;

Sources ProjectSources() {
    const fs::path root = SOURCE_FOLDER;
    Sources sources;
    for (const auto& entry : fs::recursive_directory_iterator(root / "ondrel")) {
        const std::string extension = entry.path().extension().string();
        if (extension == ".cc" || extension == ".h")
            sources[fs::relative(entry.path(), root).string()] = ReadAll(entry.path().string());
    }
    return sources;
}

PublicHeaders ProjectHeaders() {
    std::istringstream lines(ReadAll(PUBLIC_HEADER_LIST));
    PublicHeaders headers;
    for (std::string line; std::getline(lines, line);)
        headers.insert(line);
    return headers;
}

TEST(IncludeRules, TheProjectBreaksNone) {
    const Sources sources = ProjectSources();
    ASSERT_GT(sources.size(), 30U);
    for (const std::string& broken : BrokenRules(sources, ProjectHeaders()))
        ADD_FAILURE() << broken;
}

TEST(IncludeRules, EveryPublicHeaderIsThere) {
    const Sources sources = ProjectSources();
    for (const std::string& header : ProjectHeaders())
        EXPECT_TRUE(sources.contains(header)) << header;
}

// One file that is added to a small sound project, and what is said of it.
struct Fault {
    std::string path;
    std::string text;
    std::string said;
};

const Fault kFaults[] = {
    {"ondrel/core/a.cc", "#include \"ondrel/fil/fil.h\"\n", "which lies above it"},
    {"ondrel/filref/a.cc", "#include \"ondrel/fil/fil.h\"\n", "which lies above it"},
    {"ondrel/fil/a.cc", "#include \"ondrel/records/strings.h\"\n", "which lies above it"},
    {"ondrel/platform/a.cc", "#include \"ondrel/core/FileSpec.h\"\n", "which lies above it"},
    {"ondrel/fil/a.cc", "#include \"ondrel/platform/HostFiles.h\"\n", "internal to another folder"},
    {"ondrel/core/a.cc", "#include \"ondrel/platform/HostCalls.h\"\n",
     "internal to another folder"},
    {"ondrel/fil/a.cc", "#include \"fil.h\"\n", "which is no header of the project"},
    {"ondrel/fil/a.cc", "#include <ondrel/fil/fil.h>\n", "in angle brackets"},
    {"ondrel/core/a.cc", "#include <unistd.h>\n", "includes the system's unistd.h"},
    {"ondrel/fil/a.cc", "#  include <sys/stat.h>\n", "includes the system's sys/stat.h"},
    {"ondrel/core/a.cc", "#include <cerrno>\n", "includes the system's cerrno"},
    {"ondrel/fil/a.cc", "int e() { return errno; }\n", "reads errno"},
    {"ondrel/filref/a.cc", "#include <unicode/unorm2.h>\n", "includes a library's"},
    {"ondrel/fil/a.h", "// Things.\n#ifndef A\n#endif\n", "is neither public nor says"},
    {"ondrel/fil/fil.h", "// Internal to fil/.\n#ifndef A\n#endif\n", "says that it is internal"},
    {"ondrel/fil/fil.h", "#include \"ondrel/fil/own.h\"\n", "is public and includes"},
    {"ondrel/core/FileSpec.h", "#include \"ondrel/core/FileSpec.h\"\n", "reaches itself again"},
    {"ondrel/odd/a.cc", "", "lies in no known folder"},
};

Sources SoundSources() {
    return {
        {"ondrel/platform/HostFiles.h",
         "// Files. Internal to\n// libOndrel.\n#ifndef A\n#endif\n"},
        {"ondrel/platform/HostCalls.h", "// Calls. Internal to platform/.\n#ifndef A\n#endif\n"},
        {"ondrel/platform/Calls.cc",
         "#include \"ondrel/platform/HostCalls.h\"\n#include <unistd.h>\nint e() { return errno; "
         "}"},
        {"ondrel/core/FileSpec.h", "#ifndef B\n#endif\n"},
        {"ondrel/core/FileSpec.cc",
         "#include \"ondrel/platform/HostFiles.h\"\n#include <unicode/unorm2.h>\n"},
        {"ondrel/filref/hiding.cc", "#include \"ondrel/fil/fil.h\"\n"},
        {"ondrel/fil/fil.h", "#include \"ondrel/core/FileSpec.h\"\n"},
        {"ondrel/fil/own.h", "// Internal to fil/.\n#ifndef C\n#endif\n"},
        {"ondrel/fil/fil.cc",
         "#include \"ondrel/fil/own.h\"  // not errno\n/* #include <unistd.h>\n errno */\n"},
        {"ondrel/records/strings.h", "#include \"ondrel/fil/fil.h\"\n"},
    };
}

const PublicHeaders kSoundHeaders = {"ondrel/core/FileSpec.h", "ondrel/fil/fil.h",
                                     "ondrel/records/strings.h"};

TEST(IncludeRules, ASoundProjectPasses) {
    EXPECT_EQ(BrokenRules(SoundSources(), kSoundHeaders), std::vector<std::string>());
}

TEST(IncludeRules, EachFaultIsFound) {
    for (const Fault& fault : kFaults) {
        Sources sources = SoundSources();
        sources[fault.path] = fault.text;
        const std::vector<std::string> broken = BrokenRules(sources, kSoundHeaders);
        EXPECT_TRUE(std::any_of(broken.begin(), broken.end(),
                                [&](const std::string& sentence) {
                                    return sentence.starts_with(fault.path + " ") &&
                                           sentence.find(fault.said) != std::string::npos;
                                }))
            << fault.path << ": " << fault.text;
    }
}

}  // namespace
}  // namespace Ondrel::Testing
