// The catalog search: every item of a volume, or of any folder's tree, that bears a name.
//
// An iterator keeps where a search stands between the calls; its memory grows with the depth of the
// tree and not with the number of items. Files, folders, links and whatever else bears the name are
// found, under the conditions that names are canonically equivalent, with case. Links are not
// followed. Folders of other mounted volumes are not entered, nor are those that are folders of the
// same file system but volumes of their own (core/Volumes.h). Folders that may not be read, or that
// go while the search is under way, are passed over, and so are names that are not UTF-8.
#ifndef ONDREL_PLATFORM_CATALOG_H
#define ONDREL_PLATFORM_CATALOG_H

#include "ondrel/platform/FileManager.h"

namespace Ondrel {

// A search under way. It belongs to one thread at a time.
struct OpaqueFSIterator;
using FSIterator = OpaqueFSIterator*;

// Iterator flags. An iterator is opened with kFSIterateFlat; a search goes through it with
// kFSIterateSubtree.
inline constexpr std::uint32_t kFSIterateFlat = 0;
inline constexpr std::uint32_t kFSIterateSubtree = 1;

// Search bits: what an item is found by. The whole name is the only one that is served.
inline constexpr std::uint32_t fsSBFullName = 2;

// What is known of an item. Read only where a search bit asks for it, which none does.
struct FSCatalogInfo {
    std::uint16_t nodeFlags;
};

struct FSSearchParams {
    std::int32_t searchTime;  // 0: no limit; the only one that is served
    std::uint32_t searchBits;
    UniCharCount searchNameLength;  // units
    const UniChar* searchName;
    const FSCatalogInfo* searchInfo1;
    const FSCatalogInfo* searchInfo2;
};

// One call of a search. What is named as not served must be zero or null.
struct FSCatalogBulkParam {
    void (*ioCompletion)(FSCatalogBulkParam*);  // not served
    std::uint32_t iteratorFlags;
    FSIterator iterator;
    const FSRef* container;      // not used: the iterator knows its folder
    std::size_t maximumItems;    // at least 1
    std::size_t actualItems;     // out: how many were found by this call
    std::uint32_t whichInfo;     // not served
    FSCatalogInfo* catalogInfo;  // not served
    FSRef* refs;                 // out: room for `maximumItems`
    void* specs;                 // not served
    HFSUniStr255* names;         // not served
    const FSSearchParams* searchParams;
};

// Starts at a folder, or a link to one. dirNFErr: it is no folder; permErr: it may not be read.
ONDREL_EXPORT OSErr FSOpenIterator(const FSRef* container, std::uint32_t iteratorFlags,
                                   FSIterator* iterator);

// Finds the next items. noErr: as many as were asked for, and there may be more. errFSNoMoreItems:
// the search has come to its end, with as many as `actualItems` tells. paramErr: the block asks for
// what is not served. After any other code, which is the host's, `actualItems` have been found all
// the same, and a further call goes on behind the folder that failed.
ONDREL_EXPORT OSErr PBCatalogSearchSync(FSCatalogBulkParam* block);

// Gives the iterator back.
ONDREL_EXPORT OSErr FSCloseIterator(FSIterator iterator);

}  // namespace Ondrel

#endif
