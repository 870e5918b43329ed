// The catalog search: a walk over a tree that stops whenever a batch is full.
#include "ondrel/platform/Catalog.h"

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

#include "ondrel/platform/FolderTree.h"
#include "ondrel/platform/HostFiles.h"
#include "ondrel/platform/MountTable.h"
#include "ondrel/platform/NameMatch.h"

namespace Ondrel {

struct OpaqueFSIterator {
    FolderTree tree;
    std::uint64_t device = 0;                    // of the start
    std::vector<FolderIdentity> foreignFolders;  // roots of other volumes on it
};

namespace {

// A folder that is gone, replaced or not for us is passed over; a failure of the host is not.
bool IsPassedOver(OSErr code) {
    return code == fnfErr || code == dirNFErr || code == permErr;
}

bool IsBelow(const std::string& root, const std::string& folder) {
    return root.starts_with(folder) && root.size() > folder.size() &&
           (folder == "/" || root[folder.size()] == '/');
}

// The roots of the volumes that lie in a folder and are reached by a name of their own.
std::vector<FolderIdentity> VolumesBelow(const std::string& folder) {
    std::vector<FolderIdentity> roots;
    for (const Host::Mount& mount : Host::Mounts()) {
        if (!IsBelow(mount.root, folder)) continue;
        Host::ItemStatus status;
        if (Host::MountOfPath(mount.root).root == mount.root &&
            Host::GetTargetStatus(mount.root.c_str(), &status) == noErr)
            roots.push_back({status.device, status.inode});
    }
    return roots;
}

OSErr Start(const FSRef* container, OpaqueFSIterator* search) {
    std::string path;
    if (const OSErr code = FSRefMakePath(container, &path); code != noErr) return code;
    if (const OSErr code = search->tree.Open(path.c_str()); code != noErr) return code;
    FolderIdentity start{};
    if (const OSErr code = search->tree.GetIdentity(&start); code != noErr) return code;
    search->device = start.device;
    search->foreignFolders = VolumesBelow(path);
    std::erase(search->foreignFolders, start);
    return noErr;
}

// Goes into the current entry if it is a folder of the volume.
OSErr Enter(OpaqueFSIterator& search) {
    if (const OSErr code = search.tree.Enter(); code != noErr)
        return IsPassedOver(code) ? OSErr{noErr} : code;
    FolderIdentity folder{};
    const OSErr code = search.tree.GetIdentity(&folder);
    const bool isForeign = code != noErr || folder.device != search.device ||
                           std::find(search.foreignFolders.begin(), search.foreignFolders.end(),
                                     folder) != search.foreignFolders.end();
    if (isForeign) (void)search.tree.Leave();
    return code;
}

// Puts the current entry into the batch. One that goes at this moment is passed over.
OSErr Deliver(const FolderTree& tree, FSCatalogBulkParam* block) {
    std::string path = tree.Path();
    if (path.back() != '/') path += '/';
    path += tree.Name();
    const OSErr code = FSPathMakeRef(path.c_str(), &block->refs[block->actualItems]);
    if (code == noErr) ++block->actualItems;
    return IsPassedOver(code) ? OSErr{noErr} : code;
}

// Takes the walk one entry on, or out of a folder that has ended.
OSErr Step(OpaqueFSIterator& search, const SoughtName& name, FSCatalogBulkParam* block) {
    FolderTree& tree = search.tree;
    if (!tree.Next()) {
        OSErr code = tree.Error();
        if (IsPassedOver(code)) code = noErr;
        if (!tree.Leave()) return code == noErr ? OSErr{errFSNoMoreItems} : code;
        if (code == noErr && !IsPassedOver(tree.Error())) code = tree.Error();
        return code;
    }
    const bool mayBeFolder = tree.GetKind() != FolderTree::Kind::kOther;
    const bool matches = name.Matches(tree.Name());
    if ((!matches && !mayBeFolder) || !tree.IsItem()) return noErr;
    OSErr code = matches ? Deliver(tree, block) : OSErr{noErr};
    if (mayBeFolder) {
        const OSErr entered = Enter(search);
        if (code == noErr) code = entered;
    }
    return code;
}

bool IsServed(const FSCatalogBulkParam& block) {
    const FSSearchParams* params = block.searchParams;
    return block.iterator != nullptr && params != nullptr && block.ioCompletion == nullptr &&
           block.iteratorFlags == kFSIterateSubtree && block.maximumItems > 0 &&
           block.refs != nullptr && block.whichInfo == 0 && block.catalogInfo == nullptr &&
           block.specs == nullptr && block.names == nullptr && params->searchTime == 0 &&
           params->searchBits == fsSBFullName &&
           (params->searchName != nullptr || params->searchNameLength == 0);
}

}  // namespace

OSErr FSOpenIterator(const FSRef* container, std::uint32_t iteratorFlags, FSIterator* iterator) {
    if (container == nullptr || iterator == nullptr || iteratorFlags != kFSIterateFlat)
        return paramErr;
    std::unique_ptr<OpaqueFSIterator> search(new (std::nothrow) OpaqueFSIterator);
    if (!search) return memFullErr;
    const OSErr code = OrMemFull([&] { return Start(container, search.get()); });
    if (code == noErr) *iterator = search.release();
    return code;
}

OSErr PBCatalogSearchSync(FSCatalogBulkParam* block) {
    if (block == nullptr) return paramErr;
    block->actualItems = 0;
    if (!IsServed(*block)) return paramErr;
    const FSSearchParams& params = *block->searchParams;
    const SoughtName name(params.searchName, params.searchNameLength, SoughtName::Case::kExact);
    if (!name.IsName()) return errFSNoMoreItems;
    OSErr code = noErr;
    while (code == noErr && block->actualItems < block->maximumItems)
        code = Step(*block->iterator, name, block);
    return code;
}

OSErr FSCloseIterator(FSIterator iterator) {
    delete iterator;
    return iterator == nullptr ? OSErr{paramErr} : OSErr{noErr};
}

}  // namespace Ondrel
