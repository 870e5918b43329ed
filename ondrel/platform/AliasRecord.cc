// Reading alias records.
#include "ondrel/platform/AliasRecord.h"

#include <unicode/ucnv.h>

#include <algorithm>

#include "ondrel/platform/BigEndian.h"

namespace Ondrel {
namespace {

constexpr std::size_t kVersion2Size = 150;
constexpr std::size_t kVersion3Size = 58;

constexpr std::uint32_t kRootFolderNumber = 2;

constexpr const char* kMacRoman = "macintosh";
constexpr const char* kUtf16 = "UTF-16BE";
constexpr const char* kUtf8 = "UTF-8";

enum Tag : std::uint16_t {
    kTagColonPath = 2,
    kTagTargetName = 14,
    kTagVolumeName = 15,
    kTagPosixPath = 18,
    kTagMountPoint = 19,
    kTagEnd = 0xFFFF,
};

// The text in UTF-8, without the NULs that some records have between or behind names. Empty when it
// cannot be converted.
std::string ToUtf8(const char* encoding, std::string_view bytes) {
    std::string text(bytes.size() * 3 + 1, '\0');
    UErrorCode error = U_ZERO_ERROR;
    const std::int32_t size =
        ucnv_convert(kUtf8, encoding, text.data(), static_cast<std::int32_t>(text.size()),
                     bytes.data(), static_cast<std::int32_t>(bytes.size()), &error);
    text.resize(U_FAILURE(error) ? 0 : static_cast<std::size_t>(size));
    std::erase(text, '\0');
    return text;
}

// A text of a length byte and MacRoman characters in a field of fixed size.
std::string CountedText(std::string_view bytes, std::size_t at, std::size_t fieldSize) {
    const std::size_t length = static_cast<unsigned char>(bytes[at]);
    return ToUtf8(kMacRoman, bytes.substr(at + 1, std::min(length, fieldSize - 1)));
}

// A text of a 16-bit length in units and UTF-16.
std::string UnicodeText(std::string_view part) {
    if (part.size() < 2) return {};
    const std::size_t size = std::size_t{Get16(part, 0)} * 2;
    return ToUtf8(kUtf16, part.substr(2, std::min(size, (part.size() - 2) & ~std::size_t{1})));
}

void ReadPart(std::uint16_t tag, std::string_view part, AliasRecord* record) {
    switch (tag) {
        case kTagColonPath:
            record->colonPath = ToUtf8(kMacRoman, part);
            break;
        case kTagTargetName:
            record->targetName = UnicodeText(part);
            break;
        case kTagVolumeName:
            record->volumeName = UnicodeText(part);
            break;
        case kTagPosixPath:
            record->posixPath = part.substr(0, part.find('\0'));
            break;
        case kTagMountPoint:
            record->mountPoint = part.substr(0, part.find('\0'));
            break;
        default:
            break;
    }
}

OSErr ReadParts(std::string_view parts, AliasRecord* record) {
    while (parts.size() >= 4) {
        const std::uint16_t tag = Get16(parts, 0);
        if (tag == kTagEnd) return noErr;
        const std::size_t length = Get16(parts, 2);
        parts.remove_prefix(4);
        if (length > parts.size()) return mapReadErr;
        ReadPart(tag, parts.substr(0, length), record);
        parts.remove_prefix(std::min(length + length % 2, parts.size()));
    }
    return noErr;
}

}  // namespace

OSErr ReadAliasRecord(std::string_view bytes, AliasRecord* record) {
    *record = {};
    if (bytes.size() < kVersion3Size || Get16(bytes, 4) > bytes.size()) return mapReadErr;
    const std::string_view whole = bytes.substr(0, Get16(bytes, 4));
    const std::uint16_t version = Get16(bytes, 6);
    AliasRecord read;
    std::size_t start = 0;
    if (version == 2 && whole.size() >= kVersion2Size) {
        start = kVersion2Size;
        read.volumeName = CountedText(whole, 10, 28);
        read.isInVolumeRoot = Get32(whole, 46) == kRootFolderNumber;
        read.targetName = CountedText(whole, 50, 64);
    } else if (version == 3 && whole.size() >= kVersion3Size) {
        start = kVersion3Size;
        read.isInVolumeRoot = Get32(whole, 24) == kRootFolderNumber;
    } else {
        return mapReadErr;
    }
    read.isFolder = Get16(whole, 8) != 0;
    const OSErr error = ReadParts(whole.substr(start), &read);
    if (error == noErr) *record = std::move(read);
    return error;
}

}  // namespace Ondrel
