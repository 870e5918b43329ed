// Short ways from texts to specifications and back.
#include "tests/core/SpecHelpers.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <set>

#include "ondrel/core/Volumes.h"

namespace Ondrel::Testing {

std::string PathOf(const FileSpec& spec) {
    std::string path;
    spec.GetFullPath(path);
    return path;
}

std::string HFSPathOf(const FileSpec& spec) {
    Uni16String path;
    spec.GetHFSPath(path);
    return Uni16StringToUTF8(path);
}

std::string NameOf(const FileSpec& spec) {
    std::string name;
    return spec.GetName(name) ? name : "(none)";
}

std::string FolderNameOf(const FileSpec& spec) {
    std::string name;
    return spec.GetFolderName(name) ? name : "(none)";
}

std::string Listing(const std::string& folder) {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.insert(entry.path().filename().string());
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : " ") + name;
    return text;
}

TestVolume::TestVolume(const std::string& name, const std::string& folder) : name_(name) {
    EXPECT_TRUE(MountVolume(name.c_str(), folder.c_str()));
}

TestVolume::~TestVolume() {
    UnmountVolume(name_.c_str());
}

bool AsOrdinaryUser(const std::function<bool()>& look) {
    if (geteuid() != 0) return look();
    constexpr unsigned int kNobody = 65534;
    const pid_t child = fork();
    if (child == 0) {
        const bool dropped =
            setresgid(kNobody, kNobody, kNobody) == 0 && setresuid(kNobody, kNobody, kNobody) == 0;
        _exit(dropped && look() ? 0 : 1);
    }
    int status = 0;
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

}  // namespace Ondrel::Testing
