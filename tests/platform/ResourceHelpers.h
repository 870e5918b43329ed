// What the tests of resource forks share: opening by path, and forks written out by hand.
#ifndef TESTS_PLATFORM_RESOURCEHELPERS_H
#define TESTS_PLATFORM_RESOURCEHELPERS_H

#include <string>
#include <string_view>

#include "ondrel/platform/FileManager.h"
#include "ondrel/platform/ResourceManager.h"
#include "tests/platform/ForkHelpers.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {

inline HFSUniStr255 ResourceForkName() {
    HFSUniStr255 name{};
    EXPECT_EQ(FSGetResourceForkName(&name), noErr);
    return name;
}

inline OSErr OpenResourceFork(const std::string& path, signed char permissions, short* number) {
    FSRef ref;
    if (const OSErr code = FSPathMakeRef(path.c_str(), &ref); code != noErr) return code;
    const HFSUniStr255 name = ResourceForkName();
    return FSOpenFork(&ref, name.length, name.unicode, permissions, number);
}

inline OSErr OpenResourceFile(const std::string& path, signed char permissions, short* number) {
    FSRef ref;
    if (const OSErr code = FSPathMakeRef(path.c_str(), &ref); code != noErr) return code;
    const HFSUniStr255 name = ResourceForkName();
    return FSOpenResourceFile(&ref, name.length, name.unicode, permissions, number);
}

// The empty fork: its data and its map at 256, 0 and 30 bytes, the type list at 28, no type.
inline std::string EmptyForkBytes() {
    const std::string header = Bytes("00 00 01 00 00 00 01 00 00 00 00 00 00 00 00 1E");
    return header + std::string(240, '\0') + header +
           Bytes("00 00 00 00 00 00 00 00 00 1C 00 1E FF FF");
}

// A sidecar of ours: Finder Info whose first bytes are given, and a fork.
inline std::string SidecarWith(std::string_view finderInfo, std::string_view fork) {
    std::string size(4, '\0');
    for (int i = 0; i < 4; ++i)
        size[static_cast<std::size_t>(i)] = static_cast<char>(fork.size() >> (24 - 8 * i));
    std::string info(finderInfo);
    info.resize(32);
    return Bytes("00 05 16 07 00 02 00 00") + "Mac OS X        " + Bytes("00 02") +
           Bytes("00 00 00 09 00 00 00 32 00 00 00 20") + Bytes("00 00 00 02 00 00 00 52") + size +
           info + std::string(fork);
}

// Three resources: TEXT 128 "hello" named "One", TEXT -5 "" with attributes 24, and 'icns' 7 "XY".
inline std::string SmallFork() {
    const std::string header = Bytes("00 00 01 00 00 00 01 13 00 00 00 13 00 00 00 56");
    return header + std::string(240, '\0') +
           Bytes(
               // data
               "00 00 00 05 68 65 6C 6C 6F  00 00 00 00  00 00 00 02 58 59") +
           header +
           Bytes(
               "00 00 00 00 00 00 01 80 00 1C 00 52"
               // types: TEXT with 2 at 18, icns with 1 at 42
               "00 01 54 45 58 54 00 01 00 12 69 63 6E 73 00 00 00 2A"
               // references
               "00 80 00 00 00 00 00 00 00 00 00 00"
               "FF FB FF FF 24 00 00 09 00 00 00 00"
               "00 07 FF FF 00 00 00 0D 00 00 00 00"
               // names
               "03 4F 6E 65");
}

}  // namespace Ondrel::Testing

#endif
