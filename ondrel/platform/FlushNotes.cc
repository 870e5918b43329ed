// A short list of files, the oldest of which gives way to the next.
#include "ondrel/platform/FlushNotes.h"

#include <algorithm>
#include <array>
#include <mutex>

#include "ondrel/platform/HoldAcrossFork.h"

namespace Ondrel::Host {
namespace {

struct Note {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;  // 0: no file
    std::int64_t size = 0;
    std::int64_t changedSeconds = 0;
    std::int64_t changedNanoseconds = 0;

    bool operator==(const Note&) const = default;
};

constinit std::mutex notesMutex;
constinit std::array<Note, 8> notes{};
constinit std::size_t oldest = 0;

Note NoteOf(const struct stat& status) {
    return {status.st_dev, status.st_ino, status.st_size, status.st_ctim.tv_sec,
            status.st_ctim.tv_nsec};
}

void Forget(std::uint64_t device, std::uint64_t inode) {
    for (Note& note : notes)
        if (note.device == device && note.inode == inode) note = {};
}

}  // namespace

void RememberFlush(const struct stat& status) {
    HoldAcrossFork<notesMutex>();
    const std::lock_guard lock(notesMutex);
    Forget(status.st_dev, status.st_ino);
    notes[oldest] = NoteOf(status);
    oldest = (oldest + 1) % notes.size();
}

bool WasFlushed(const struct stat& status) {
    HoldAcrossFork<notesMutex>();
    const std::lock_guard lock(notesMutex);
    return std::find(notes.begin(), notes.end(), NoteOf(status)) != notes.end();
}

void ForgetFlush(std::uint64_t device, std::uint64_t inode) {
    HoldAcrossFork<notesMutex>();
    const std::lock_guard lock(notesMutex);
    Forget(device, inode);
}

}  // namespace Ondrel::Host
