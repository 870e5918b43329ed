// Writes the whole resource fork of a file: resources one after another, then the map.
//
//   ResourceFork fork(path);
//   fork.NewResource(MakeFourCC("TEXT"), 128, "Notes");
//   fork.Append("Hello", 5);
//   fork.CloseResource();
//
// The fork, all numbers big-endian. Resources of one type stand together, the types in the order in
// which they first came, the IDs of a type ascending.
//
//   0      4        256: where the data begin
//   4      4        where the map begins
//   8      4        length of the data
//   12     4        length of the map
//   16     240      zero
//   256    ...      for each resource: length in 4 bytes, the bytes, and one zero byte, counted in
//                   the length, where that makes it even
//   map    16       the first 16 bytes again
//   +16    8        zero: next map, file number, attributes
//   +24    2        28: the type list, from the map's start
//   +26    2        the name list, from the map's start
//   +28    2        number of types - 1 (FFFF for none)
//   +30    8 each   type, number of its resources - 1, its references from +28
//   ...    12 each  ID, name from the name list or FFFF, attributes and place in the data, zero
//   ...    ...      names: length in 1 byte, the characters
//
// What was in the fork is written over from its start. Failures of the host are not reported: where
// the fork cannot be opened, nothing is written. A fork holds 16 MiB of data: the place of a
// resource behind them cannot be told.
#ifndef ONDREL_PREVIEW_RESOURCEFORK_H
#define ONDREL_PREVIEW_RESOURCEFORK_H

#include <list>
#include <string>

#include "ondrel/core/Unicode.h"
#include "ondrel/platform/Export.h"

namespace Ondrel {

// Misuse throws a C string (const char*), and changes nothing unless a call says otherwise.
class ONDREL_EXPORT ResourceFork {
 public:
    // Opens the fork of the file at a full POSIX path, which is made where it is missing, and
    // writes an empty header. The fork is then the thread's current resource file.
    explicit ResourceFork(const Uni16String& path);

    // Closes the fork unless that is done. A duplicate that comes to light here ends the program.
    ~ResourceFork();  // NOLINT(bugprone-exception-escape): meant
    ResourceFork(const ResourceFork&) = delete;
    ResourceFork& operator=(const ResourceFork&) = delete;

    // Opens the fork of the path given; the constructor's first half.
    void Open();

    // Begins a resource. The name may be null for none; of a longer one 255 bytes are taken.
    // "Resource already open".
    void NewResource(unsigned type, int id, const char* name);

    // Add to the open resource, numbers big-endian. "Resource not open".
    void Append(const void* data, unsigned long length);
    void AppendShort(short value);
    void AppendLong(int value);

    // The bytes added so far. "Resource not open".
    int ResourceSize() const;

    // Ends the open resource. "Resource not open"; "Duplicate Resource" where type and ID are taken
    // already: the resource is closed, and its bytes stay in the fork, but not in the map. IDs are
    // told apart by 32 bits and stored in 16.
    void CloseResource();

    // Writes the map behind its first 16 bytes; a part of Close.
    void WriteResourceMap();

    // Closes a resource that is still open, writes map and header and closes the fork, which is
    // stored in this moment. The file gets an icon (see ComposeIcon) with it, in one step, unless
    // it is null or does not fit. False: the fork is not stored, and is as it was before.
    // "Duplicate Resource".
    bool Close(const std::string* icon = nullptr);

    // Lets go of all that was written, which is then not stored.
    void Abandon();

 private:
    struct Record {
        unsigned type = 0;
        bool hasName = false;
        char name[256] = {};
        int id = 0;
        unsigned start = 0;  // where the length stands in the fork
    };

    void WriteMapAndHeader();
    void RequireOpen() const;
    unsigned Position() const;
    void Write(const void* data, unsigned long length);
    void WriteAt(unsigned position, const void* data, unsigned long length);
    void File(const Record& record);

    Uni16String path_;
    std::list<Record> resources_;
    bool open_ = false;
    Record current_;
    short forkRef_ = 0;  // 0 where the fork could not be opened
};

// Builds a picture (PICT, version 2) in the open resource of a fork, which is not owned.
class ONDREL_EXPORT PICTResource {
 public:
    explicit PICTResource(ResourceFork* fork) : fork_(fork) {}

    // The 54 bytes that every picture of ours begins with.
    //
    //   0   2   50: a size that readers do not look at
    //   2   8   frame: top 0, left 0, bottom, right
    //   10  4   version 2: 0011 02FF
    //   14  26  header: 0C00, version -1, and as 16.16 numbers top 0, left 0, then width and
    //           height, in this order, as bottom and right; 4 bytes zero
    //   40  2   001E: the default highlighting
    //   42  12  clip: 0001, 10, and the frame again
    void WritePICTHeader(int width, int height);

    // The end of the picture (00FF), on an even place.
    void Close();

 private:
    ResourceFork* fork_;
};

}  // namespace Ondrel

#endif
