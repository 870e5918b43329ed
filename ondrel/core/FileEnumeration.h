// Enumeration of one folder's direct items, in the order of the host.
//
// Passed over: "." and "..", sidecars whose partner is there, and names that are not UTF-8, for
// they have no name in this library. An item's specification tells whether it is there and a folder
// as the folder told it, so that a walk asks the host for no item by itself.
#ifndef ONDREL_CORE_FILEENUMERATION_H
#define ONDREL_CORE_FILEENUMERATION_H

#include <memory>

#include "ondrel/core/FileSpec.h"
#include "ondrel/platform/Export.h"

namespace Ondrel {

class ONDREL_EXPORT FileEnumeration {
 public:
    explicit FileEnumeration(const FileSpec& folder);
    ~FileEnumeration();
    FileEnumeration(const FileEnumeration&) = delete;
    FileEnumeration& operator=(const FileEnumeration&) = delete;

    // Position on the first, then the next item; false when there is none left. First may be called
    // again to start over. An empty, missing or unreadable folder gives false at once.
    bool First();
    bool Next();

    // The current item; an empty specification when there is none.
    FileSpec GetItemSpecification() const;

 private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace Ondrel

#endif
