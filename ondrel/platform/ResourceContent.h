// The bytes of an open resource fork: read whole from the sidecar when the fork is opened, changed
// in memory, and stored in one step when it is closed. Internal to platform/.
//
// Invariants: the sidecar is not touched before Store; after a write that failed it is never
// touched, so that no fork is stored with a hole in it; what Share handed out never changes.
#ifndef ONDREL_PLATFORM_RESOURCECONTENT_H
#define ONDREL_PLATFORM_RESOURCECONTENT_H

#include <cstdint>
#include <memory>
#include <string>

#include "ondrel/platform/Errors.h"
#include "ondrel/platform/FileManager.h"

namespace Ondrel::Host {

class ResourceFile;

class ResourceContent {
 public:
    ResourceContent();
    ~ResourceContent();
    ResourceContent(const ResourceContent&) = delete;
    ResourceContent& operator=(const ResourceContent&) = delete;

    // Reads the fork of the file at a path that leads through no link; empty where it has none.
    // mapReadErr: its sidecar is none.
    OSErr Load(const std::string& path);

    std::size_t Size() const { return bytes_->size(); }

    // Copies up to `size` bytes at `start`, and answers how many there were.
    std::size_t Read(std::int64_t start, void* buffer, std::size_t size) const;

    // Puts bytes there; a gap before them is filled with zeros. All arrive, or none: then this and
    // every later write gives the code. dskFulErr, memFullErr.
    OSErr Write(std::int64_t start, const void* buffer, std::size_t size);

    // Cuts the bytes off there, or adds zeros up to there. Fails as Write does.
    OSErr Resize(std::int64_t size);

    // Other bytes for the whole fork, and flags to be set in the Finder Info with them.
    void Replace(std::string bytes, std::uint16_t finderFlags);

    // Makes the sidecar hold what was written, beside everything else that it holds now. noErr
    // without a change; the code of the write that failed, if one did. fnfErr: the file is gone.
    OSErr Store() const;

    // The bytes as they are now, for whoever keeps views into them.
    std::shared_ptr<const std::string> Share() const { return bytes_; }

    // What the Resource Manager has of the fork; null when it was not opened as a resource file.
    std::unique_ptr<ResourceFile> resources;

 private:
    void MakeOwn();

    FSRef file_{};
    std::shared_ptr<std::string> bytes_;
    bool changed_ = false;
    OSErr failure_ = noErr;  // of the first write that failed
    std::uint16_t finderFlags_ = 0;
};

}  // namespace Ondrel::Host

#endif
