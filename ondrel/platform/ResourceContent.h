// The bytes of an open resource fork: changed in memory, and stored in one step when it is closed.
// Internal to platform/.
//
// A reader has them read at once. A writer has them read when they are needed: it keeps all other
// writers away, and who writes the whole fork anew never needs them.
//
// Invariants: the sidecar is not touched before Store; after a write that failed it is never
// touched, so that no fork is stored with a hole in it; what Stored answers never changes.
#ifndef ONDREL_PLATFORM_RESOURCECONTENT_H
#define ONDREL_PLATFORM_RESOURCECONTENT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "ondrel/platform/Errors.h"
#include "ondrel/platform/FileManager.h"
#include "ondrel/platform/Sidecar.h"

namespace Ondrel::Host {

class ResourceFile;

class ResourceContent {
 public:
    ResourceContent();
    ~ResourceContent();
    ResourceContent(const ResourceContent&) = delete;
    ResourceContent& operator=(const ResourceContent&) = delete;

    // Opens the fork of the file at a path that leads through no link; empty where it has none.
    // mapReadErr: its sidecar is none.
    OSErr Load(const std::string& path, bool mayWrite);

    std::size_t Size() const { return std::max(bytes_.size(), kept_); }

    // Copies up to `size` bytes at `start`; `*got` is how many there were.
    OSErr Read(std::int64_t start, void* buffer, std::size_t size, std::size_t* got);

    // Puts bytes there; a gap before them is filled with zeros. All arrive, or none: then this and
    // every later write gives the code. dskFulErr, memFullErr, or the host's failure to read what
    // stands before.
    OSErr Write(std::int64_t start, const void* buffer, std::size_t size);

    // Cuts the bytes off there, or adds zeros up to there. Fails as Write does.
    OSErr Resize(std::int64_t size);

    // Puts a resource into the fork (see PutResource), and flags to be set in the Finder Info with
    // it. After a failure nothing has changed.
    OSErr AddResource(FourCC type, std::int16_t id, std::string_view data,
                      std::uint16_t finderFlags);

    // Makes the sidecar hold what was written, beside everything else that it holds now. noErr
    // without a change; the code of the write that failed, if one did. fnfErr: the file is gone.
    OSErr Store();

    // The fork as it was when it was opened.
    std::shared_ptr<const StoredFork> Stored() const { return stored_; }

    // What the Resource Manager has of the fork; null when it was not opened as a resource file.
    std::unique_ptr<ResourceFile> resources;

 private:
    OSErr ReadUpTo(std::size_t end);

    FSRef file_{};
    std::shared_ptr<StoredFork> stored_;
    std::string bytes_;     // the fork's first bytes as they are now
    std::size_t kept_ = 0;  // up to here the bytes behind them are still those that are stored
    bool changed_ = false;
    OSErr failure_ = noErr;  // of the first write that failed
    std::uint16_t finderFlags_ = 0;
};

}  // namespace Ondrel::Host

#endif
