// The records that getdents64 delivers, taken out of a transfer one after the other. Internal to
// platform/.
#ifndef ONDREL_PLATFORM_FOLDERENTRIES_H
#define ONDREL_PLATFORM_FOLDERENTRIES_H

#include <dirent.h>
#include <sys/types.h>

#include <cstddef>
#include <cstring>
#include <string_view>

namespace Ondrel::Host {

// Bytes of one transfer: hundreds of entries, and no more than the processor's cache likes.
inline constexpr std::size_t kFolderTransferSize = std::size_t{32} * 1024;

struct HostEntry {
    std::string_view name;  // a NUL stands behind it
    unsigned char type;     // DT_REG and its companions
    std::size_t size;       // of the record; 0: there is none
};

// The record at `at` of a transfer; the kernel pads records, and ends names with a NUL.
inline HostEntry EntryAt(const char* transfer, std::size_t filled, std::size_t at) {
    constexpr std::size_t kNameOffset = offsetof(dirent64, d_name);
    if (filled - at <= kNameOffset) return {};
    unsigned short size;
    std::memcpy(&size, transfer + at + offsetof(dirent64, d_reclen), sizeof size);
    if (size <= kNameOffset || size > filled - at) return {};
    const char* name = transfer + at + kNameOffset;
    return {{name, strnlen(name, size - kNameOffset)},
            static_cast<unsigned char>(transfer[at + offsetof(dirent64, d_type)]),
            size};
}

// The position in the folder behind the record at `at`, for lseek.
inline off_t PositionBehind(const char* transfer, std::size_t at) {
    off64_t position;
    std::memcpy(&position, transfer + at + offsetof(dirent64, d_off), sizeof position);
    return position;
}

// Whether the transfer has an entry of that name.
inline bool HasEntry(const char* transfer, std::size_t filled, std::string_view name) {
    for (std::size_t at = 0; at < filled;) {
        const HostEntry entry = EntryAt(transfer, filled, at);
        if (entry.size == 0) break;
        if (entry.name == name) return true;
        at += entry.size;
    }
    return false;
}

inline bool IsDots(std::string_view name) {
    return name == "." || name == "..";
}

}  // namespace Ondrel::Host

#endif
