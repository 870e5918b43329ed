// The folder part of a colon path: its text up to and including its last ':'. Internal to filref/.
#ifndef ONDREL_FILREF_FOLDERPART_H
#define ONDREL_FILREF_FOLDERPART_H

#include <cstddef>
#include <cstring>

namespace Ondrel {

inline std::size_t FolderPartLength(const char* text) {
    const char* last = std::strrchr(text, ':');
    return last == nullptr ? 0 : static_cast<std::size_t>(last + 1 - text);
}

}  // namespace Ondrel

#endif
