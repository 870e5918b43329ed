// The Resource Manager: the resources of resource forks, read by type and ID. Resource files are
// opened with FSOpenResourceFile (FileManager.h), and are forks: both share one number space.
//
// Each thread has a current resource file, which the calls with a 1 in their name look in, and an
// error of its last call here, which ResError answers. The file opened last is current until
// another is made so; when it is closed, there is none.
#ifndef ONDREL_PLATFORM_RESOURCEMANAGER_H
#define ONDREL_PLATFORM_RESOURCEMANAGER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ondrel/platform/Errors.h"
#include "ondrel/platform/Export.h"
#include "ondrel/platform/Types.h"

namespace Ondrel {

// The bytes of a resource: a pointer to a pointer to them. A resource file owns the handles of its
// resources, and frees them when it is closed, until DetachResource gives them to the caller.
using Handle = char**;

// The code of the calling thread's last call of this header; noErr after a success. ResError
// itself, CurResFile, GetHandleSize and DisposeHandle leave it alone.
ONDREL_EXPORT OSErr ResError();

// The calling thread's current resource file; 0 when there is none.
ONDREL_EXPORT short CurResFile();

// Makes an open resource file current; 0: none is. resFNotFound: no resource file has that number,
// and the current one stays.
ONDREL_EXPORT void UseResFile(short refNum);

// The resource of that type and ID in the current file; the same handle each time, until it is
// detached. Null after a failure. resFNotFound: there is no current file. resNotFound: it has no
// such resource. CantDecompress: the resource is stored compressed. mapReadErr: its bytes are not
// where the map says. memFullErr.
ONDREL_EXPORT Handle Get1Resource(FourCC type, short id);

// Gives a handle of a resource file to the caller, who frees it with DisposeHandle; the file makes
// a new one when the resource is asked for again. resNotFound: the handle is not an open file's.
ONDREL_EXPORT void DetachResource(Handle resource);

// Closes the resource file of that number, as FSCloseFork, whose code ResError then answers. A
// number that is not open changes nothing else.
ONDREL_EXPORT void CloseResFile(short refNum);

// The length in bytes of what a handle holds; 0 for null.
ONDREL_EXPORT std::size_t GetHandleSize(Handle handle);

// Frees a detached handle. Null, and a handle that a resource file owns, are left alone.
ONDREL_EXPORT void DisposeHandle(Handle handle);

// --- Listing ------------------------------------------------------------------------------------

// What a resource file says of one resource. `name` is as it is stored, in MacRoman.
struct ResourceInfo {
    FourCC type = 0;
    short id = 0;
    std::uint8_t attributes = 0;
    bool hasName = false;
    bool isCompressed = false;  // Get1Resource refuses it with CantDecompress
    bool isDamaged = false;     // its bytes are not where the map says; refused with mapReadErr
    std::string name;
    std::uint32_t size = 0;  // bytes, as stored; 0 of a damaged one
};

// The resources of an open resource file in the order of its map, the types together.
// resFNotFound: no resource file has that number.
ONDREL_EXPORT OSErr ListResources(short refNum, std::vector<ResourceInfo>* resources);

// The same of a resource fork in memory. resFNotFound: it is empty. mapReadErr: it is none, or its
// map is damaged. ResError does not tell of this call, which has nothing to do with open files.
ONDREL_EXPORT OSErr ListForkResources(std::string_view fork, std::vector<ResourceInfo>* resources);

}  // namespace Ondrel

#endif
