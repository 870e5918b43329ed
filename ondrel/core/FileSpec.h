// File specifications: values that name one file or folder, there or not yet, by its full POSIX
// path.
//
// A specification keeps the path that it was given. Where an item of exactly that path exists, it
// is meant, at the cost of one system call; otherwise the components that are missing are looked up
// by canonical equivalence in their folders (never by case), so that precomposed paths find the
// decomposed names of a disk that came from a Mac. What is not there is looked for anew at every
// question. A path that is not full, not UTF-8 or empty makes an empty specification, and so does
// one with a NUL or half a surrogate pair in it.
//
// Of a path that is given, repeated slashes, "." and a slash at the end are dropped, and ".." is
// resolved as the host does it: behind a link to a folder it is the parent of the link's target.
// All other links stay in the path: a link is an item of its own, and children resolve through it.
//
// Names are Mac names: a ':' of the POSIX name is a '/' in them.
#ifndef ONDREL_CORE_FILESPEC_H
#define ONDREL_CORE_FILESPEC_H

#include <string>

#include "ondrel/core/Unicode.h"
#include "ondrel/platform/Export.h"
#include "ondrel/platform/FileManager.h"

namespace Ondrel {

// What specifications know of names.
class ONDREL_EXPORT FileSpecBase {
 public:
    virtual ~FileSpecBase();

    // The item's own name; a volume's root has the name of its volume, unless it comes from an
    // enumeration, which gives the name that its folder knows. False, and the text unchanged, for
    // an empty specification.
    bool GetName(std::string& name) const;
    bool GetName(Uni16String& name) const;

    // The name of the folder that this denotes. False, and the text unchanged, where
    // it denotes no existing folder.
    bool GetFolderName(std::string& name) const;
    bool GetFolderName(Uni16String& name) const;

    // Makes a folder's specification denote the item of that name inside it: the item of exactly
    // that name, else one of a canonically equivalent name, else one whose name is equal ignoring
    // case, else the name as it is given. A specification that leads to a file becomes empty, and
    // so does one given what cannot be a name: an empty text, one that is not UTF-8 or holds a ':'
    // or a NUL, "." and "..".
    void ToFile(const std::string& name);

 protected:
    // What an enumeration saw of an item: its name byte for byte, and perhaps its kind.
    enum class Seen : unsigned char { kNothing, kName, kFolder, kOther };

    FileSpecBase() = default;
    FileSpecBase(const FileSpecBase&) = default;
    FileSpecBase& operator=(const FileSpecBase&) = default;

    void SetPath(std::string cleanPath, Seen seen = Seen::kNothing);
    bool IsExistingFolder() const;

    std::string path_;  // full POSIX path in UTF-8, no slash at its end but in "/"; empty for none
    Seen seen_ = Seen::kNothing;
};

class ONDREL_EXPORT FileSpec : public FileSpecBase {
 public:
    FileSpec();
    FileSpec(const FileSpec& other);
    explicit FileSpec(const Uni16String& posixPath);
    explicit FileSpec(const FSRef& ref);
    ~FileSpec() override;

    FileSpec& operator=(const FileSpec& other);
    FileSpec& operator=(const FSRef& ref);
    FileSpec& operator=(const unsigned short* posixPath);  // null counts as empty

    // The platform reference of an existing item. Where there is none the pointer form is null, and
    // the reference form is all zero bytes, which name nothing. Both stay valid until the
    // specification is changed, asked again, or gone.
    operator const FSRef&() const;
    operator const FSRef*() const;

    // The item's path on disk as a C text, for platform calls that take one; empty, never null, for
    // an empty specification. Valid as long as the references above.
    operator const char*() const;

    // The colon path, volume first; that of an existing folder ends with ':'. False, and the text
    // empty, for an empty specification.
    bool GetHFSPath(Uni16String& path) const;

    // The full POSIX path in UTF-8. False, and the text empty, for an empty specification.
    bool GetFullPath(std::string& path) const;

    using FileSpecBase::GetName;
    // The name in a buffer of `capacity` units, cut and terminated. False, and the text empty, for
    // an empty specification.
    bool GetName(unsigned short* buffer, unsigned int capacity) const;

    bool IsValid() const;    // names something, there or not
    bool DoesExist() const;  // the item exists; a link does even where its target is gone

    // Denotes the root folder of the mounted volume of that name; empty when there is none.
    void ToPartition(const Uni16String& volumeName);

    // Denotes the folder that holds the item. The root folder has none: it makes it empty.
    void ToEnclosingFolderOfFile();

    // Names a file that can be opened: an existing plain file, links followed. Folders, devices and
    // pipes are none.
    virtual bool IsUsable() const;

    // The same as DoesExist, for walks over folders. Of an item that an enumeration handed out,
    // this call and IsFolder tell what the folder told then, at no cost.
    virtual bool IsPresent() const;

    // The item itself is a folder; a link to one is none.
    virtual bool IsFolder() const;

    // Makes a folder's specification, or that of a link to a folder, denote a file inside it, there
    // or not, without creating it. A specification that leads to no folder becomes empty, and so
    // does one given what cannot be a name (see ToFile). Case is never folded.
    virtual void ToChildFile(const Uni16String& name);

    // The same for a folder, or any other item that is there: it may be an alias that leads to one.
    // What does not exist is created when `create` is set, and makes this one empty
    // otherwise, or when it cannot be created.
    virtual void ToChildFolder(const Uni16String& name, bool create);

    // The full POSIX path as FileSpec(const Uni16String&) accepts it back. False, and the text
    // empty, for an empty specification.
    virtual bool GetPathUni16(Uni16String& path) const;
    virtual bool GetPOSIXPathUtf8(std::string& path) const;

 private:
    friend class FileEnumeration;
    friend class FileSupport;

    // What was answered last, so that it can be handed out by pointer; no cache, and not copied.
    mutable FSRef ref_{};
    mutable std::string diskPath_;
};

// A URL text.
class ONDREL_EXPORT FileSpecURL {
 public:
    FileSpecURL();
    ~FileSpecURL();
    FileSpecURL(const FileSpecURL& other);
    FileSpecURL& operator=(const FileSpecURL& other);
    FileSpecURL& operator=(const char* text);  // null counts as empty

    void Clear();
    const std::string& GetText() const { return text_; }

 private:
    std::string text_;
};

}  // namespace Ondrel

#endif
