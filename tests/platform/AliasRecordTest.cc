// Alias records of both versions, whole and damaged.
#include "ondrel/platform/AliasRecord.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/platform/AliasRecords.h"
#include "tests/support/Scratch.h"

namespace Ondrel {
namespace {

using Testing::AliasVersion2;
using Testing::AliasVersion3;
using Testing::Bytes;
using Testing::Part;
using Testing::Short;
using Testing::Utf16Part;

// A record of version 2: the file "Résumé" in the root of "Data", both names in MacRoman.
std::string Literal2() {
    return Bytes(
               // user type, length 0xD8, version 2, a file
               "00 00 00 00 00 D8 00 02 00 00"
               // volume name
               "04 44 61 74 61") +
           std::string(23, '\0') +
           Bytes(
               // volume date, 'H+', fixed disk, parent folder 2
               "B4 00 00 00 48 2B 00 00 00 00 00 02"
               // target name
               "06 52 8E 73 75 6D 8E") +
           std::string(57, '\0') +
           Bytes(
               // number, date, type, creator
               "00 00 12 34 B4 00 00 00 54 45 58 54 74 74 78 74"
               // levels, volume attributes, file system, reserved
               "FF FF FF FF 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
               // 0: parent folder "Data"
               "00 00 00 04 44 61 74 61"
               // 2: "Data:R\x8Esum\x8E", padded
               "00 02 00 0B 44 61 74 61 3A 52 8E 73 75 6D 8E 00"
               // 14: six units
               "00 0E 00 0E 00 06 00 52 00 E9 00 73 00 75 00 6D 00 E9"
               // 18: the POSIX path in UTF-8, padded
               "00 12 00 09 2F 52 C3 A9 73 75 6D C3 A9 00"
               // 19: the mount point, "/Volumes" cut for the test to "/V"
               "00 13 00 02 2F 56"
               // the end
               "FF FF 00 00");
}

TEST(AliasRecord, NamesAndPathsOfVersion2AreRead) {
    const std::string bytes = Literal2();
    ASSERT_EQ(bytes.size(), 0xD8U) << "the literal's own length";
    AliasRecord record;
    ASSERT_EQ(ReadAliasRecord(bytes, &record), noErr);
    EXPECT_FALSE(record.isFolder);
    EXPECT_TRUE(record.isInVolumeRoot);
    EXPECT_EQ(record.volumeName, "Data");
    EXPECT_EQ(record.targetName, "R\u00E9sum\u00E9");
    EXPECT_EQ(record.colonPath, "Data:R\u00E9sum\u00E9");
    EXPECT_EQ(record.posixPath, "/R\u00E9sum\u00E9");
    EXPECT_EQ(record.mountPoint, "/V");
}

TEST(AliasRecord, NamesAndPathsOfVersion3AreRead) {
    const std::string bytes = Bytes(
        // user type, length 0x60, version 3, a folder, volume date
        "00 00 00 00 00 60 00 03 00 01 00 00 00 00 00 00 00 00"
        // 'H+' and file system, fixed disk, parent folder 77, target and date
        "48 2B 00 00 00 00 00 00 00 4D 00 00 12 34 00 00 00 00 00 00 00 00"
        // volume flags, reserved
        "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
        // 14: "A", 15: "Vol", 18: "x/A", 19: "/"
        "00 0E 00 04 00 01 00 41  00 0F 00 08 00 03 00 56 00 6F 00 6C"
        "00 12 00 03 78 2F 41 00  00 13 00 01 2F 00"
        // the end, and bytes behind the record
        "FF FF 00 00 EE EE");
    AliasRecord record;
    ASSERT_EQ(ReadAliasRecord(bytes, &record), noErr);
    EXPECT_TRUE(record.isFolder);
    EXPECT_FALSE(record.isInVolumeRoot);
    EXPECT_EQ(record.volumeName, "Vol");
    EXPECT_EQ(record.targetName, "A");
    EXPECT_EQ(record.posixPath, "x/A");
    EXPECT_EQ(record.mountPoint, "/");
    EXPECT_EQ(record.colonPath, "");
}

TEST(AliasRecord, UnicodeNamesGoBeforeMacRomanOnes) {
    AliasRecord record;
    ASSERT_EQ(
        ReadAliasRecord(AliasVersion2("Vol?", "Name?", 9,
                                      Utf16Part(14, u"\u540D\u524D") + Utf16Part(15, u"\u672C")),
                        &record),
        noErr);
    EXPECT_EQ(record.targetName, "\u540D\u524D");
    EXPECT_EQ(record.volumeName, "\u672C");
}

TEST(AliasRecord, NulsBetweenAndBehindNamesAreNoPartOfThem) {
    AliasRecord record;
    ASSERT_EQ(ReadAliasRecord(AliasVersion2("V", "n", 9,
                                            Part(2, std::string("V:\0a:\0n\0", 8)) +
                                                Part(18, std::string("/a/n\0\0", 6))),
                              &record),
              noErr);
    EXPECT_EQ(record.colonPath, "V:a:n");
    EXPECT_EQ(record.posixPath, "/a/n");
}

TEST(AliasRecord, CountsOfNamesStayInTheirFields) {
    std::string bytes =
        AliasVersion2("V", "n", 9, Part(14, Short(4000) + std::string("\0A\0B", 4)));
    bytes[10] = '\xFF';
    bytes[50] = '\xFF';
    AliasRecord record;
    ASSERT_EQ(ReadAliasRecord(bytes, &record), noErr);
    EXPECT_EQ(record.volumeName.substr(0, 1), "V");
    EXPECT_LE(record.volumeName.size(), 27U * 3);
    ASSERT_EQ(ReadAliasRecord(AliasVersion2("V", "n", 9, Part(14, "\x01") + Part(15, "")), &record),
              noErr);
    EXPECT_EQ(record.targetName, "");
}

TEST(AliasRecord, EveryTruncationIsRefused) {
    const std::string bytes = Literal2();
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        AliasRecord record;
        record.volumeName = "old";
        EXPECT_EQ(ReadAliasRecord(bytes.substr(0, size), &record), mapReadErr) << size;
        EXPECT_EQ(record.volumeName, "");
    }
}

TEST(AliasRecord, ALengthThatLiesIsRefusedOrEndsTheRecord) {
    AliasRecord record;
    for (const std::size_t length : {0U, 8U, 57U, 149U, 0xD9U, 0xFFFFU}) {
        std::string bytes = Literal2();
        bytes.replace(4, 2, Short(length));
        EXPECT_EQ(ReadAliasRecord(bytes, &record), mapReadErr) << length;
    }
    std::string bytes = Literal2();
    bytes.replace(4, 2, Short(150));
    EXPECT_EQ(ReadAliasRecord(bytes, &record), noErr) << "no tagged part at all";
    EXPECT_EQ(record.colonPath, "");
    bytes.replace(4, 2, Short(0xA8));
    EXPECT_EQ(ReadAliasRecord(bytes, &record), mapReadErr) << "in the middle of a part";
}

TEST(AliasRecord, OtherVersionsAreRefused) {
    for (const std::size_t version : {0U, 1U, 4U, 0x200U, 0xFFFFU}) {
        std::string bytes = Literal2();
        bytes.replace(6, 2, Short(version));
        AliasRecord record;
        EXPECT_EQ(ReadAliasRecord(bytes, &record), mapReadErr) << version;
    }
}

TEST(AliasRecord, DamagedRecordsAreReadOrRefusedWithoutHarm) {
    std::mt19937 random(19910513);
    int read = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string bytes = Literal2();
        for (int changes = 1 + static_cast<int>(random() % 4); changes > 0; --changes)
            bytes[random() % bytes.size()] = static_cast<char>(random());
        AliasRecord record;
        if (ReadAliasRecord(bytes, &record) == noErr) ++read;
        EXPECT_LE(record.targetName.size() + record.colonPath.size(), 6 * bytes.size());
    }
    EXPECT_GT(read, 1000);
}

}  // namespace
}  // namespace Ondrel
