// The AppleDouble format, as bytes in memory: parsing what anyone wrote, and composing what macOS
// itself writes on foreign volumes. Internal to libOndrel; Sidecar.h keeps these bytes beside
// files.
//
// Origin: "AppleSingle/AppleDouble Formats for Foreign Files, Developer's Note" (1990), and for the
// padded home text the files of macOS. All integers are big-endian.
//
//   offset  size  meaning
//        0     4  magic 0x00051607
//        4     4  version 0x00010000 or 0x00020000
//        8    16  home file system ("Mac OS X        " in what we write)
//       24     2  number of entries
//       26    12  per entry: id, offset from the start of the file, length
//
// What we write has two entries, Finder Info (id 9) of 32 bytes at 50 and the resource fork (id 2)
// at 82 to the end. A file with type TEXT, creator ttxt and no fork is
//   00 05 16 07 00 02 00 00  4D 61 63 20 4F 53 20 58  20 20 20 20 20 20 20 20  00 02
//   00 00 00 09 00 00 00 32  00 00 00 20   00 00 00 02 00 00 00 52  00 00 00 00
//   54 45 58 54 74 74 78 74  and 24 zero bytes.
#ifndef ONDREL_PLATFORM_APPLEDOUBLE_H
#define ONDREL_PLATFORM_APPLEDOUBLE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ondrel/platform/FileCodes.h"
#include "ondrel/platform/Types.h"

namespace Ondrel {

// The 32 bytes that the Finder keeps of a file.
//
//   offset  size  meaning
//        0     4  type
//        4     4  creator
//        8     2  Finder flags
//       10    22  place in the window, and more that we keep as it is
struct FinderInfo {
    std::array<unsigned char, 32> bytes{};

    FourCC Type() const;
    FourCC Creator() const;
    std::uint16_t Flags() const;
    void SetType(FourCC type);
    void SetCreator(FourCC creator);
    void SetFlags(std::uint16_t flags);
    bool IsEmpty() const;  // all bytes 0
};

// One entry of the table: where the bytes of one kind lie. An empty one may have any offset.
struct AppleDoubleEntry {
    std::uint32_t id;
    std::uint32_t offset;
    std::uint32_t length;
};

inline constexpr std::uint32_t kEntryResourceFork = 2;
inline constexpr std::uint32_t kEntryFinderInfo = 9;

inline constexpr std::size_t kFinderInfoSize = 32;

// Reads the entry table from the start of a file of `fileSize` bytes. Nothing when the bytes are
// no AppleDouble file, when the table does not lie in `start`, or when an entry that is not empty
// lies outside of the file or on the table.
std::optional<std::vector<AppleDoubleEntry>> ReadAppleDoubleTable(std::string_view start,
                                                                  std::uint64_t fileSize);

// The first entry of a kind; null where there is none.
const AppleDoubleEntry* FindEntry(std::span<const AppleDoubleEntry> entries, std::uint32_t id);

// A parsed AppleDouble file. It holds the bytes; what it answers are views into them, valid until
// the object is changed. Where a kind has more than one entry, the first counts.
//
// The other entries never move, because the extended attributes that macOS keeps behind the Finder
// Info count from the start of the file: what grows goes to the end, and the fork behind it. Only
// when an entry has to be added, and the table has no room, do all move, by the twelve bytes of its
// place in the table. macOS writes its attributes with both entries there.
class AppleDouble {
 public:
    // The longest resource fork: what a Mac can count.
    static constexpr std::size_t kMaxResourceFork = 0x7FFFFFFF;

    // An empty Finder Info and an empty resource fork, as we write them.
    AppleDouble();

    // Reads bytes of anyone's making: versions 1 and 2, entries in any order and of any kind, a
    // Finder Info longer than 32 bytes, no Finder Info, no fork. Nothing when the bytes are no
    // AppleDouble file or an entry lies outside of them.
    static std::optional<AppleDouble> Parse(std::string bytes);

    // For who wants all but the fork: the number of bytes before the fork, where it stands behind
    // everything else without a gap; nothing where it does not. Such a start is parsed as a file
    // with an empty fork.
    static std::optional<std::size_t> StartOfLastFork(std::span<const AppleDoubleEntry> entries);
    static std::optional<AppleDouble> ParseWithoutFork(std::string start, std::uint64_t fileSize);

    const std::string& Bytes() const { return bytes_; }

    FinderInfo GetFinderInfo() const;          // empty where there is none
    std::string_view GetResourceFork() const;  // empty where there is none

    // Change one part; every other byte of every entry stays as it was. A missing entry is added.
    // False, and nothing is changed: the fork is longer than kMaxResourceFork, or the file would be
    // longer than the format can count. `fork` is no view into this object.
    void SetFinderInfo(const FinderInfo& info);
    bool SetResourceFork(std::string_view fork);

    // SetResourceFork for who has the fork elsewhere: afterwards the file is Bytes() with `size`
    // bytes of fork behind them, and this object is good for nothing else.
    bool AnnounceResourceFork(std::size_t size);

    // Nothing in it that anyone would miss: no entry but an empty Finder Info of 32 bytes and an
    // empty fork.
    bool IsEmpty() const;

 private:
    explicit AppleDouble(std::string bytes, std::vector<AppleDoubleEntry> entries)
        : bytes_(std::move(bytes)), entries_(std::move(entries)) {}

    std::string_view View(std::uint32_t id) const;
    std::size_t IndexOrAdded(std::uint32_t id);
    std::size_t EndOfOthers(std::size_t index) const;
    bool IsLast(std::size_t index) const;
    bool IsAlone(std::size_t index, std::size_t size) const;
    bool HasRoomForFork(std::size_t size) const;
    void StoreEntry(std::size_t index);
    void CutAtPlaceOf(std::size_t index);
    void PlaceEntry(std::size_t index, std::size_t place, std::size_t size);
    void PlaceAtEnd(std::size_t index, std::string_view data);

    std::string bytes_;
    std::vector<AppleDoubleEntry> entries_;  // the table in bytes_, read
};

}  // namespace Ondrel

#endif
