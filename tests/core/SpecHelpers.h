// Short ways from texts to specifications and back, for the tests of specifications.
#ifndef TESTS_CORE_SPECHELPERS_H
#define TESTS_CORE_SPECHELPERS_H

#include <functional>
#include <string>

#include "ondrel/core/FileSpec.h"
#include "ondrel/platform/HostFiles.h"

namespace Ondrel::Testing {

// One name in its two compositions: "Zoe" with a diaeresis, as bytes.
inline const std::string kComposed = "Zo\xC3\xAB";
inline const std::string kDecomposed = "Zoe\xCC\x88";

inline Uni16String U(const std::string& utf8) {
    return UTF8ToUni16String(utf8);
}

inline FileSpec SpecOf(const std::string& posixPath) {
    return FileSpec(U(posixPath));
}

// Empty for an empty specification.
std::string PathOf(const FileSpec& spec);
std::string HFSPathOf(const FileSpec& spec);
std::string NameOf(const FileSpec& spec);        // "(none)" where there is none
std::string FolderNameOf(const FileSpec& spec);  // "(none)" where there is none

// The names of a folder's items as they are stored, sorted, sidecars included.
std::string Listing(const std::string& folder);

// Mounts a folder as a volume for as long as it lives.
class TestVolume {
 public:
    TestVolume(const std::string& name, const std::string& folder);
    ~TestVolume();
    TestVolume(const TestVolume&) = delete;
    TestVolume& operator=(const TestVolume&) = delete;

 private:
    std::string name_;
};

// Runs a look at the world as an ordinary user, in a child process where the tests run as root, and
// answers what it answered. Tests of permission mean nothing to root.
bool AsOrdinaryUser(const std::function<bool()>& look);

}  // namespace Ondrel::Testing

#endif
