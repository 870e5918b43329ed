// The file reference: a value that names a file or folder by its path, there or not, open or not.
// Every operation of the library that takes a file takes one of these.
//
// The text it holds is a colon path in UTF-8, the internal path:
//
//   Disk:Docs:a.txt    absolute: the volume's name first
//   :Docs:a.txt        relative to the application folder
//   a.txt              relative in the same way
//   Disk:Docs:x        ":x" at the end marks a folder
//
// Every other syntax is made from it or read into it. Texts are cut to their buffers, never
// refused: 1023 bytes and the terminator here, 1024 16-bit units with the terminator at the
// boundary.
#ifndef ONDREL_FILREF_FILREF_H
#define ONDREL_FILREF_FILREF_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "ondrel/filref/lasterror.h"
#include "ondrel/platform/Export.h"

namespace Ondrel {

class FileSpec;
class FileSpecURL;

// Path syntaxes.
enum filRefFormat : int {
    filRefMac = 0,       // colons, the internal path itself
    filRefWindows = 1,   // drive letters, '\', "\\server"
    filRefGenericA = 2,  // text that is generic already (genericpath.h)
    filRefGenericB = 3,
};

// Flags of filref::ToUnicode.
inline constexpr int filRefResolve = 1;  // Mac syntax: make a relative text full, follow aliases
inline constexpr int filRefResourceFork = 2;  // Windows syntax: name the resource fork

// The size of a reference's storage in bytes, and of the 16-bit buffers that its texts go through
// in units; both count the terminator.
inline constexpr int kFilrefSize = 1024;

// Null or empty: no file. Only the comparisons tell the two apart.
struct ONDREL_EXPORT filref {
    char* path = nullptr;  // owned, kFilrefSize bytes, NUL-terminated; or null

    filref() = default;
    filref(const filref& other);
    filref(filref&& other) noexcept;
    ~filref();
    filref& operator=(const filref& other);  // keeps its text when it cannot allocate storage
    filref& operator=(filref&& other) noexcept;

    // Makes sure that there is storage, with an empty text when it is new; a text stays. Where
    // there is no memory `path` stays null, and nothing is reported.
    void allocate();

    // Gives the storage back; `path` becomes null.
    void clear();

    // Equal texts; a null reference is equal to nothing, not even to another null reference.
    bool operator==(const filref& other) const;

    // By unsigned byte values of the texts, the shorter first on a tie; null before everything
    // else.
    bool operator<(const filref& other) const;

    // From the colon path of a specification, precomposed. 0, or -1 with lasterror -108.
    int convertFromFileSpec(const FileSpec& spec);

    // To a specification; relative texts are taken against the application folder and aliases are
    // followed. 0, or -1, `spec` unchanged, for a null or empty reference or a text that is not
    // UTF-8. What leads nowhere gives 0 and a specification of the text as it stands.
    int convertToFileSpec(FileSpec& spec) const;

    // From 16-bit text in Mac or Windows syntax; any other format stores an empty text. 0, or -1
    // with lasterror -108.
    int FromUnicode(const std::uint16_t* text, filRefFormat format);

    // To 16-bit text in Mac or Windows syntax; `out` holds kFilrefSize units. 0, also when it could
    // not be resolved, or -1, `out` empty, for a null or empty reference. Any other format leaves
    // `out` empty, and so does a text that is not UTF-8.
    int ToUnicode(std::uint16_t* out, int flags, filRefFormat format) const;

    // The unresolved path as UTF-8, with ":x" at its end cut to ":". lasterror becomes 0.
    void getFullPathAsUtf8(char* out, std::size_t size, filRefFormat format) const;
    void getFullPathAsUtf8(std::string& out, filRefFormat format) const;

    // The text after the last separator: ':' for filRefMac, '/' and '\' for any other format. The
    // first form answers the units written to `out`, which holds kFilrefSize of them, or -1 where
    // the name is not UTF-8; the second writes up to kFilrefSize bytes to `out`.
    int getName(std::uint16_t* out, filRefFormat format) const;
    void getNameAsUtf8(char* out, filRefFormat format) const;
    void getNameAsUtf8(std::string& out, filRefFormat format) const;
    std::string getNameAsUtf8(filRefFormat format) const;

    // From an internal path, unchecked. 0, or -1 with lasterror -108.
    int ConvertFromMacPath(const char* macPath);

    // Does nothing; callers invoke it before they use a path.
    void ResolveNetworkDriveLetter();

    // Makes the reference one that indexing passes over: an empty file of its name in the
    // temporary-items folder, which is created (in place of an older one); or its own name with a
    // '.' before it, which is not. A reference without a name stays as it is in the first way, and
    // gets "." for a name in the second. With a folder mark the '.' goes before the last 'x' of the
    // path without it, the rest is lost, and std::out_of_range is thrown where there is none.
    void hideFromSpotlight(bool useTemporaryFolder);

    // The percent-encoded URL path: "/Disk/Dir/a%20b.txt". 0, or -1, `url` unchanged, when there is
    // nothing to split.
    int ConvertToFileSpecURL(FileSpecURL& url) const;
};
static_assert(sizeof(filref) == sizeof(char*));

// A key order for containers that only need to find equal references: equal texts are equivalent,
// and all others are ordered by where their storage lies. Only for references that hold storage.
struct ONDREL_EXPORT FilrefCompare {
    bool operator()(const filref& a, const filref& b) const;
};

}  // namespace Ondrel

#endif
