// Finding a file by its name: in one folder, or in a folder and all folders below it. search.h has
// the calls that find a lost file of a reference again; these classes are what they are made of.
//
// Names compare ignoring case and composition by full Unicode rules. A list of types (null or of
// length 0: any) keeps files of other known types out; it never keeps out a file whose type cannot
// be told, nor a folder. So a folder that bears the name is found, and so is a link. Links are
// never followed but at the start. What cannot be read is passed over, and so are names that are
// not UTF-8.
//
// An object serves for one search; whether it found something is in its field `found`.
#ifndef ONDREL_SEARCH_FILESEARCH_H
#define ONDREL_SEARCH_FILESEARCH_H

#include <functional>
#include <string>

#include "ondrel/core/FileSpec.h"
#include "ondrel/platform/Export.h"

namespace Ondrel {

// Hands the items of a folder to an operation.
class ONDREL_EXPORT FileSearch {
 public:
    virtual ~FileSearch();

    // Searches a folder; `types` is a list of `typeCount` type identifiers. Here it is searchFile.
    virtual int searchForFile(FileSpec& folder, const unsigned int* types, unsigned long typeCount);

    // Takes one item: 0 to go on, -2 to stop.
    virtual int handleFile(const FileSpec& item) = 0;

    // Calls handleFile for the folder's items in the order of the host, until it stops. With a list
    // of types: only for folders, and for files that have one of them (fileHasType). 0: done, also
    // when it was stopped; -1: there is no such folder; -3: it has no first item, or cannot be
    // read.
    int searchFile(const FileSpec& folder, const unsigned int* types, unsigned long typeCount);
};

// Looks for a name among the items of one folder.
class ONDREL_EXPORT FolderSearch : public FileSearch {
 public:
    explicit FolderSearch(const std::string& soughtName);
    ~FolderSearch() override;

    // -2 when the item bears the name, else 0.
    int handleFile(const FileSpec& item) override;

    std::string name;  // UTF-8
    bool found = false;
};

// Looks for a name in a folder and in the folders below it: in each folder first among all its
// items, then in its folders one by one, in the order of the host. The first match ends the search.
class ONDREL_EXPORT TreeSearch : public FileSearch {
 public:
    // Called for each item that a walk meets, with the folder that holds it and its name, after the
    // name was looked for in that folder. 0: do not enter it. It may be empty.
    using Callback = std::function<int(const FileSpec*, const std::string&)>;

    TreeSearch(const std::string& soughtName, Callback itemCallback);
    ~TreeSearch() override;

    // 1 when found, else 0. The folder becomes the one that directly holds the match, and stays as
    // it is when there is none. Before a folder is entered, cancel(0, 0) is asked: while that is
    // not 0 none is.
    int searchForFile(FileSpec& folder, const unsigned int* types,
                      unsigned long typeCount) override;

    // Searches the tree of an item that is a folder. -2 when that holds the match, else 0.
    int handleFile(const FileSpec& item) override;

    std::string name;  // UTF-8
    Callback callback;
    bool found = false;
    const unsigned int* types = nullptr;  // of searchForFile, as are the next two
    unsigned long typeCount = 0;
    FileSpec* result = nullptr;
};

}  // namespace Ondrel

#endif
