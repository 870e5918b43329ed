// The bytes of a resource fork, taken out of the sidecar without the library's help.
#ifndef TESTS_PREVIEW_FORKBYTES_H
#define TESTS_PREVIEW_FORKBYTES_H

#include <string>

#include "ondrel/core/Unicode.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {

inline std::string SidecarOf(const std::string& path) {
    const std::size_t name = path.rfind('/') + 1;
    return path.substr(0, name) + "._" + path.substr(name);
}

// It lies behind 82 bytes in the sidecars that we write; empty without a sidecar.
inline std::string ForkBytes(const std::string& path) {
    if (!Exists(SidecarOf(path))) return "";
    const std::string sidecar = ReadAll(SidecarOf(path));
    return sidecar.size() > 82 ? sidecar.substr(82) : "";
}

inline Uni16String Wide(const std::string& path) {
    return UTF8ToUni16String(path);
}

}  // namespace Ondrel::Testing

#endif
