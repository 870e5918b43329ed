// The Resource Manager's calls. A resource file is an open resource fork with a map; the current
// one is remembered by its number and by which opening of that number it was.
#include "ondrel/platform/ResourceManager.h"

#include <memory>
#include <new>

#include "ondrel/platform/FileManager.h"
#include "ondrel/platform/ForkTable.h"
#include "ondrel/platform/ResourceContent.h"
#include "ondrel/platform/ResourceFile.h"

namespace Ondrel {
namespace {

struct Current {
    short number = 0;
    std::uint32_t serial = 0;
};

thread_local Current current;
thread_local OSErr lastError = noErr;

OSErr Latch(OSErr code) {
    return lastError = code;
}

Host::ResourceFile* FileOfFork(const Host::Fork* fork) {
    return fork == nullptr || fork->content == nullptr ? nullptr : fork->content->resources.get();
}

// The current file; null when there is none, or it was closed.
Host::ResourceFile* CurrentFile() {
    const Host::Fork* const fork = Host::FindFork(current.number);
    return fork != nullptr && fork->serial == current.serial ? FileOfFork(fork) : nullptr;
}

void MakeCurrent(short number, const Host::Fork& fork) {
    current = {number, fork.serial};
}

// Reads the map of a fork that has just been opened.
OSErr ReadMap(const Host::Fork& fork) {
    try {
        auto file = std::make_unique<Host::ResourceFile>();
        const OSErr error = file->Open(fork.content->Stored());
        if (error == noErr) fork.content->resources = std::move(file);
        return error;
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

OSErr OpenResourceFile(const FSRef* ref, UniCharCount nameLength, const UniChar* name,
                       signed char permissions, short* number) {
    short opened = 0;
    OSErr code = FSOpenFork(ref, nameLength, name, permissions, &opened);
    if (code != noErr) return code;
    const Host::Fork* const fork = Host::FindFork(opened);
    code = fork->content == nullptr ? paramErr : ReadMap(*fork);
    if (code != noErr) {
        (void)FSCloseFork(opened);
        return code;
    }
    MakeCurrent(opened, *fork);
    *number = opened;
    return noErr;
}

}  // namespace

OSErr FSOpenResourceFile(const FSRef* ref, UniCharCount forkNameLength, const UniChar* forkName,
                         signed char permissions, short* refNum) {
    if (refNum == nullptr) return Latch(paramErr);
    *refNum = -1;
    return Latch(OpenResourceFile(ref, forkNameLength, forkName, permissions, refNum));
}

OSErr ResError() {
    return lastError;
}

short CurResFile() {
    return CurrentFile() == nullptr ? short{0} : current.number;
}

void UseResFile(short refNum) {
    const Host::Fork* const fork = Host::FindFork(refNum);
    Latch(noErr);
    if (refNum == 0)
        current = {};
    else if (FileOfFork(fork) == nullptr)
        Latch(resFNotFound);
    else
        MakeCurrent(refNum, *fork);
}

Handle Get1Resource(FourCC type, short id) {
    Host::ResourceFile* const file = CurrentFile();
    Handle resource = nullptr;
    Latch(file == nullptr ? resFNotFound : file->Get(type, id, &resource));
    return resource;
}

void DetachResource(Handle resource) {
    Latch(Host::ResourceFile::Detach(resource) ? noErr : resNotFound);
}

void CloseResFile(short refNum) {
    Latch(FSCloseFork(refNum));
}

OSErr ListResources(short refNum, std::vector<ResourceInfo>* resources) {
    if (resources == nullptr) return Latch(paramErr);
    Host::ResourceFile* const file = FileOfFork(Host::FindFork(refNum));
    if (file == nullptr) return Latch(resFNotFound);
    try {
        return Latch(file->List(resources));
    } catch (const std::bad_alloc&) {
        return Latch(memFullErr);
    }
}

OSErr ListForkResources(std::string_view fork, std::vector<ResourceInfo>* resources) {
    if (resources == nullptr) return paramErr;
    try {
        ResourceMap map;
        if (const OSErr error = map.Read(fork); error != noErr) return error;
        *resources = Host::ResourceFile::List(map);
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
    return noErr;
}

}  // namespace Ondrel
