// The entry points: from a reference to a search, and from what was found back to the reference.
#include "ondrel/search/search.h"

#include <array>
#include <utility>
#include <vector>

#include "ondrel/core/Unicode.h"
#include "ondrel/filref/operations.h"
#include "ondrel/platform/Catalog.h"
#include "ondrel/search/treewalk.h"

namespace Ondrel {
namespace {

constexpr std::size_t kBatch = 100;       // items that one call of the catalog search delivers
constexpr std::size_t kPathUnits = 256;   // of a path, of which only the volume's name is used
constexpr std::uint16_t kFolders = 0x10;  // node flags: the item is a folder
constexpr std::uint16_t kForkOpen = 0x04;

// --- filsea -------------------------------------------------------------------------------------

// The folder where a reference says that its file lies. It is made of the text, for of a file that
// is an alias the whole reference would lead to the target's folder.
FileSpec FolderOf(const filref& ref) {
    filref part;
    FileSpec folder;
    folderfromfilref(&ref, &part);
    part.convertToFileSpec(folder);
    return folder;
}

// The item that a reference is to name: of several that bear the name, the one spelt in this way.
FileSpec ItemToName(FileSpec folder, const std::string& name, const FileSpec& match,
                    const unsigned int* types, unsigned long typeCount) {
    folder.ToFile(name);
    const bool fits = folder.IsFolder() || HasOneOfTypes(folder, types, typeCount);
    return fits ? folder : match;
}

// Whether a reference can hold the whole path of an item: a cut one would name another file.
bool FitsReference(const FileSpec& item) {
    Uni16String path;
    item.GetHFSPath(path);
    if (path.empty() || path.size() >= kFilrefSize) return false;
    std::array<unsigned short, kFilrefSize> text;
    Uni16CharCopy(text.data(), path.c_str(), text.size());
    Uni16CharMakePreComposed(text.data(), text.size());
    return Uni16StringToUTF8(text.data()).size() < kFilrefSize;
}

// --- SearchVolume -------------------------------------------------------------------------------

// An open iterator, closed whatever the callback raises.
class CatalogIterator {
 public:
    CatalogIterator() = default;
    ~CatalogIterator() {
        if (iterator_ != nullptr) (void)FSCloseIterator(iterator_);
    }
    CatalogIterator(const CatalogIterator&) = delete;
    CatalogIterator& operator=(const CatalogIterator&) = delete;

    OSErr Open(const FileSpec& folder) {
        const FSRef& ref = folder;
        return FSOpenIterator(&ref, kFSIterateFlat, &iterator_);
    }
    FSIterator Get() const { return iterator_; }

 private:
    FSIterator iterator_ = nullptr;
};

// The root folder of a reference's volume. False for a reference without a path.
bool VolumeOf(const filref& ref, FileSpec* volume) {
    std::string path;
    ref.getFullPathAsUtf8(path, filRefMac);
    std::array<unsigned short, kPathUnits> text{};
    UTF8ToUni16Char(path.c_str(), text.data(), text.size());
    if (text[0] == 0) return false;
    const Uni16String whole(text.data());
    volume->ToPartition(whole.substr(0, whole.find(':')));
    return true;
}

std::vector<unsigned short> NameOf(const filref& ref) {
    const std::string name = ref.getNameAsUtf8(filRefMac);
    std::vector<unsigned short> text(name.size() + 1);
    const int units = UTF8ToUni16Char(name.c_str(), text.data(), text.size());
    text.resize(units > 0 ? static_cast<std::size_t>(units) : 0);
    return text;
}

bool HasGone(const FSRef& ref) {
    std::string path;
    const OSErr code = FSRefMakePath(&ref, &path);
    return code == fnfErr || code == dirNFErr;
}

// Hands the items of a batch out. One that has gone since is passed over; false when the path of
// another one could not be had.
bool HandOut(const FSRef* refs, std::size_t count,
             const std::function<int(const std::string&)>& callback) {
    bool complete = true;
    for (std::size_t i = 0; i < count; ++i) {
        std::string path;
        if (FileSpec(refs[i]).GetFullPath(path))
            callback(path);
        else
            complete = HasGone(refs[i]) && complete;
    }
    return complete;
}

}  // namespace

// The callbacks are arguments by value, as the interface has them.
// NOLINTBEGIN(performance-unnecessary-value-param)

int filsea(filref& ref, const unsigned int* types, unsigned long typeCount, bool deep,
           std::function<int(const FileSpec*, const std::string&)> callback) {
    const std::string name = ref.getNameAsUtf8(filRefMac);
    FileSpec folder = FolderOf(ref);
    TreeWalk walk(name, types, typeCount);
    const bool found = deep ? walk.FindInTree(folder, callback) : walk.FindInFolder(folder);
    if (!found) return 0;
    const FileSpec item = ItemToName(folder, name, walk.Match(), types, typeCount);
    if (!FitsReference(item)) return 0;
    ref.convertFromFileSpec(item);
    return 1;
}

int filsea(filref& ref, unsigned int typeId, bool deep) {
    return filsea(ref, typeId != 0 ? &typeId : nullptr, typeId != 0 ? 1 : 0, deep, {});
}

int SearchVolume(filref& ref, std::function<int(const std::string&)> callback) {
    FileSpec volume;
    if (!VolumeOf(ref, &volume)) return -1;
    if (!volume.DoesExist()) return 1;
    CatalogIterator iterator;
    if (const OSErr code = iterator.Open(volume); code != noErr) return code;

    const std::vector<unsigned short> name = NameOf(ref);
    const FSCatalogInfo least{0};
    const FSCatalogInfo most{kFolders | kForkOpen};
    FSSearchParams params{};
    params.searchBits = fsSBFullName;
    params.searchNameLength = name.size();
    params.searchName = name.data();
    params.searchInfo1 = &least;
    params.searchInfo2 = &most;
    std::array<FSRef, kBatch> refs;
    FSCatalogBulkParam block{};
    block.iteratorFlags = kFSIterateSubtree;
    block.iterator = iterator.Get();
    block.maximumItems = refs.size();
    block.refs = refs.data();
    block.searchParams = &params;

    OSErr code = noErr;
    bool complete = true;
    while (code == noErr) {
        code = PBCatalogSearchSync(&block);
        complete = HandOut(refs.data(), block.actualItems, callback) && complete;
    }
    return complete && code == errFSNoMoreItems ? 0 : -2;
}

// NOLINTEND(performance-unnecessary-value-param)

}  // namespace Ondrel
