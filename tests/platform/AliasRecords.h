// Alias records and alias files for tests, put together field by field.
#ifndef TESTS_PLATFORM_ALIASRECORDS_H
#define TESTS_PLATFORM_ALIASRECORDS_H

#include <gtest/gtest.h>

#include <string>

#include "ondrel/platform/BigEndian.h"
#include "ondrel/platform/Sidecar.h"

namespace Ondrel::Testing {

inline std::string Short(std::size_t value) {
    std::string bytes(2, '\0');
    Put16(bytes, 0, static_cast<std::uint16_t>(value));
    return bytes;
}

// A tagged part, padded to an even number of bytes.
inline std::string Part(std::size_t tag, const std::string& bytes) {
    return Short(tag) + Short(bytes.size()) + bytes + std::string(bytes.size() % 2, '\0');
}

inline std::string Utf16Part(std::size_t tag, const std::u16string& text) {
    std::string bytes = Short(text.size());
    for (const char16_t unit : text)
        bytes += Short(unit);
    return Part(tag, bytes);
}

// A record of version 2 for a file; names in MacRoman.
inline std::string AliasVersion2(const std::string& volume, const std::string& name,
                                 std::uint32_t parentNumber, const std::string& parts) {
    std::string bytes(150, '\0');
    Put16(bytes, 6, 2);
    bytes[10] = static_cast<char>(volume.size());
    bytes.replace(11, volume.size(), volume);
    Put32(bytes, 46, parentNumber);
    bytes[50] = static_cast<char>(name.size());
    bytes.replace(51, name.size(), name);
    bytes += parts + Short(0xFFFF) + Short(0);
    Put16(bytes, 4, static_cast<std::uint16_t>(bytes.size()));
    return bytes;
}

// The same of version 3, which has its names in the parts alone.
inline std::string AliasVersion3(std::uint32_t parentNumber, const std::string& parts) {
    std::string bytes(58, '\0');
    Put16(bytes, 6, 3);
    Put32(bytes, 24, parentNumber);
    bytes += parts + Short(0xFFFF) + Short(0);
    Put16(bytes, 4, static_cast<std::uint16_t>(bytes.size()));
    return bytes;
}

// A fork of one resource of type 'alis' and ID 0.
inline std::string AliasFork(const std::string& record) {
    std::string fork(16, '\0');
    Put32(fork, 0, 16);
    Put32(fork, 4, static_cast<std::uint32_t>(20 + record.size()));
    Put32(fork, 8, static_cast<std::uint32_t>(4 + record.size()));
    Put32(fork, 12, 50);
    std::string length(4, '\0');
    Put32(length, 0, static_cast<std::uint32_t>(record.size()));
    fork += length + record + std::string(24, '\0') + Short(28) + Short(50);
    fork += Short(0) + "alis" + Short(0) + Short(10) + Short(0) + Short(0xFFFF);
    return fork + std::string(8, '\0');
}

// Makes the file at `path` an alias file of that record.
inline void MakeAliasFile(const std::string& path, const std::string& record) {
    AppleDouble sidecar;
    FinderInfo info;
    info.SetFlags(kFinderFlagIsAlias);
    sidecar.SetFinderInfo(info);
    sidecar.SetResourceFork(AliasFork(record));
    EXPECT_EQ(Host::WriteSidecar(path.c_str(), sidecar), noErr) << path;
}

}  // namespace Ondrel::Testing

#endif
