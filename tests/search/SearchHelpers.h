// A volume to be searched, and what the tests of searches look at.
#ifndef TESTS_SEARCH_SEARCHHELPERS_H
#define TESTS_SEARCH_SEARCHHELPERS_H

#include <string>

#include "ondrel/core/FileType.h"
#include "ondrel/filref/filref.h"
#include "tests/core/SpecHelpers.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {

// A scratch folder that is the volume "Test".
struct SearchedVolume : Scratch {
    TestVolume volume{"Test", Path()};
};

inline filref Ref(const std::string& colonPath) {
    filref ref;
    ref.ConvertFromMacPath(colonPath.c_str());
    return ref;
}

inline std::string TextOf(const filref& ref) {
    return ref.path == nullptr ? "(null)" : ref.path;
}

// Two types, told by extension.
inline constexpr unsigned int kText = 7001;
inline constexpr unsigned int kPicture = 7002;

inline void RegisterTypes() {
    RegisterFileType({kText, 0, 0, "stext"});
    RegisterFileType({kPicture, 0, 0, "spict"});
}

}  // namespace Ondrel::Testing

#endif
