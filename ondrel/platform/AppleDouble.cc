// AppleDouble bytes. Offsets and lengths come from files of anyone's making: the table is checked
// once, when it is read, and every later access stands on that check.
#include "ondrel/platform/AppleDouble.h"

#include <algorithm>

#include "ondrel/platform/BigEndian.h"

namespace Ondrel {
namespace {

constexpr std::uint32_t kMagic = 0x00051607;
constexpr std::uint32_t kVersion1 = 0x00010000;
constexpr std::uint32_t kVersion2 = 0x00020000;
constexpr std::string_view kHomeText = "Mac OS X        ";

constexpr std::size_t kCountOffset = 24;
constexpr std::size_t kTableOffset = 26;
constexpr std::size_t kEntrySize = 12;

// Room is left in the count for the two entries that we may add.
constexpr std::size_t kMostEntries = 0xFFFF - 2;

// Likewise in the 32-bit offsets for a grown Finder Info and the two places in the table.
constexpr std::uint64_t kLargestFile = 0xFFFFFFFF - 2 * kEntrySize - kFinderInfoSize;

std::size_t TableEnd(std::size_t count) {
    return kTableOffset + count * kEntrySize;
}

std::size_t End(const AppleDoubleEntry& entry) {
    return std::size_t{entry.offset} + entry.length;
}

bool LiesIn(const AppleDoubleEntry& entry, std::size_t tableEnd, std::uint64_t fileSize) {
    if (entry.length == 0) return true;
    return entry.offset >= tableEnd && entry.offset <= fileSize &&
           entry.length <= fileSize - entry.offset;
}

std::uint32_t Number(const std::array<unsigned char, 32>& bytes, std::size_t at, std::size_t size) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < size; ++i)
        value = (value << 8) | bytes[at + i];
    return value;
}

void SetNumber(std::array<unsigned char, 32>& bytes, std::size_t at, std::size_t size,
               std::uint32_t value) {
    for (std::size_t i = size; i-- > 0; value >>= 8)
        bytes[at + i] = static_cast<unsigned char>(value & 0xFF);
}

std::string_view AsText(const FinderInfo& info) {
    return {reinterpret_cast<const char*>(info.bytes.data()), info.bytes.size()};
}

std::string EmptyFile() {
    std::string bytes(TableEnd(2) + kFinderInfoSize, '\0');
    Put32(bytes, 0, kMagic);
    Put32(bytes, 4, kVersion2);
    bytes.replace(8, kHomeText.size(), kHomeText);
    Put16(bytes, kCountOffset, 2);
    return bytes;
}

}  // namespace

FourCC FinderInfo::Type() const {
    return Number(bytes, 0, 4);
}

FourCC FinderInfo::Creator() const {
    return Number(bytes, 4, 4);
}

std::uint16_t FinderInfo::Flags() const {
    return static_cast<std::uint16_t>(Number(bytes, 8, 2));
}

void FinderInfo::SetType(FourCC type) {
    SetNumber(bytes, 0, 4, type);
}

void FinderInfo::SetCreator(FourCC creator) {
    SetNumber(bytes, 4, 4, creator);
}

void FinderInfo::SetFlags(std::uint16_t flags) {
    SetNumber(bytes, 8, 2, flags);
}

bool FinderInfo::IsEmpty() const {
    return std::all_of(bytes.begin(), bytes.end(), [](unsigned char byte) { return byte == 0; });
}

std::optional<std::vector<AppleDoubleEntry>> ReadAppleDoubleTable(std::string_view start,
                                                                  std::uint64_t fileSize) {
    if (start.size() < kTableOffset || fileSize > kLargestFile) return {};
    const std::uint32_t version = Get32(start, 4);
    if (Get32(start, 0) != kMagic || (version != kVersion1 && version != kVersion2)) return {};
    const std::size_t count = Get16(start, kCountOffset);
    if (count > kMostEntries || count > (start.size() - kTableOffset) / kEntrySize) return {};
    std::vector<AppleDoubleEntry> entries(count);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t at = TableEnd(i);
        entries[i] = {Get32(start, at), Get32(start, at + 4), Get32(start, at + 8)};
        if (!LiesIn(entries[i], TableEnd(count), fileSize)) return {};
    }
    return entries;
}

const AppleDoubleEntry* FindEntry(std::span<const AppleDoubleEntry> entries, std::uint32_t id) {
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [id](const AppleDoubleEntry& entry) { return entry.id == id; });
    return found == entries.end() ? nullptr : &*found;
}

AppleDouble::AppleDouble()
    : bytes_(EmptyFile()),
      entries_{{kEntryFinderInfo, static_cast<std::uint32_t>(TableEnd(2)), kFinderInfoSize},
               {kEntryResourceFork, static_cast<std::uint32_t>(TableEnd(2) + kFinderInfoSize), 0}} {
    StoreEntry(0);
    StoreEntry(1);
}

std::optional<AppleDouble> AppleDouble::Parse(std::string bytes) {
    auto entries = ReadAppleDoubleTable(bytes, bytes.size());
    if (!entries) return {};
    return AppleDouble(std::move(bytes), std::move(*entries));
}

std::optional<std::size_t> AppleDouble::StartOfLastFork(std::span<const AppleDoubleEntry> entries) {
    const AppleDoubleEntry* const fork = FindEntry(entries, kEntryResourceFork);
    if (fork == nullptr) return {};
    std::size_t end = TableEnd(entries.size());
    for (const AppleDoubleEntry& entry : entries) {
        if (&entry != fork && entry.length != 0) end = std::max(end, End(entry));
    }
    if (fork->offset != end) return {};
    return end;
}

std::optional<AppleDouble> AppleDouble::ParseWithoutFork(std::string start,
                                                         std::uint64_t fileSize) {
    auto entries = ReadAppleDoubleTable(start, fileSize);
    if (!entries || StartOfLastFork(*entries) != start.size()) return {};
    AppleDouble file(std::move(start), std::move(*entries));
    const std::size_t fork = file.IndexOrAdded(kEntryResourceFork);
    file.entries_[fork].length = 0;
    file.StoreEntry(fork);
    return file;
}

std::string_view AppleDouble::View(std::uint32_t id) const {
    const AppleDoubleEntry* entry = FindEntry(entries_, id);
    if (entry == nullptr || entry->length == 0) return {};
    return std::string_view(bytes_).substr(entry->offset, entry->length);
}

FinderInfo AppleDouble::GetFinderInfo() const {
    FinderInfo info;
    const std::string_view stored = View(kEntryFinderInfo).substr(0, kFinderInfoSize);
    std::copy(stored.begin(), stored.end(), info.bytes.begin());
    return info;
}

std::string_view AppleDouble::GetResourceFork() const {
    return View(kEntryResourceFork);
}

void AppleDouble::StoreEntry(std::size_t index) {
    const std::size_t at = TableEnd(index);
    Put32(bytes_, at, entries_[index].id);
    Put32(bytes_, at + 4, entries_[index].offset);
    Put32(bytes_, at + 8, entries_[index].length);
}

// The index of a kind's entry, which is added where it is missing, empty and at the end.
std::size_t AppleDouble::IndexOrAdded(std::uint32_t id) {
    if (const AppleDoubleEntry* entry = FindEntry(entries_, id))
        return static_cast<std::size_t>(entry - entries_.data());
    const std::size_t tableEnd = TableEnd(entries_.size());
    const bool hasRoom =
        bytes_.size() - tableEnd >= kEntrySize &&
        std::all_of(entries_.begin(), entries_.end(), [&](const AppleDoubleEntry& entry) {
            return entry.length == 0 || entry.offset - tableEnd >= kEntrySize;
        });
    if (!hasRoom) {
        bytes_.insert(tableEnd, kEntrySize, '\0');
        for (std::size_t i = 0; i < entries_.size(); ++i) {
            if (entries_[i].length != 0) entries_[i].offset += kEntrySize;
            StoreEntry(i);
        }
    }
    entries_.push_back({id, static_cast<std::uint32_t>(bytes_.size()), 0});
    Put16(bytes_, kCountOffset, static_cast<std::uint16_t>(entries_.size()));
    StoreEntry(entries_.size() - 1);
    return entries_.size() - 1;
}

// Where the table and all entries but this one have ended.
std::size_t AppleDouble::EndOfOthers(std::size_t index) const {
    std::size_t end = TableEnd(entries_.size());
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        if (i != index && entries_[i].length != 0) end = std::max(end, End(entries_[i]));
    }
    return end;
}

bool AppleDouble::IsLast(std::size_t index) const {
    return entries_[index].length == 0 || entries_[index].offset >= EndOfOthers(index);
}

// True when no other entry has one of the first `size` bytes of this one.
bool AppleDouble::IsAlone(std::size_t index, std::size_t size) const {
    const AppleDoubleEntry& entry = entries_[index];
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        if (i == index || entries_[i].length == 0) continue;
        if (entries_[i].offset < entry.offset + size && End(entries_[i]) > entry.offset)
            return false;
    }
    return true;
}

// Ends the bytes where those of the entry are to begin. It stays where it is when it is the last
// one; otherwise it goes behind all others, and its old place, which may have been inside the file,
// is blanked.
void AppleDouble::CutAtPlaceOf(std::size_t index) {
    const AppleDoubleEntry& entry = entries_[index];
    const bool isLast = IsLast(index);
    if (!isLast && IsAlone(index, entry.length))
        std::fill_n(bytes_.begin() + entry.offset, entry.length, '\0');
    const bool staysThere = isLast && entry.length != 0;
    bytes_.resize(staysThere ? entry.offset : EndOfOthers(index));
}

// Gives the entry a place and a length at the end of the file, and takes empty entries along that
// would lie behind it.
void AppleDouble::PlaceEntry(std::size_t index, std::size_t place, std::size_t size) {
    entries_[index].offset = static_cast<std::uint32_t>(place);
    entries_[index].length = static_cast<std::uint32_t>(size);
    StoreEntry(index);
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        if (entries_[i].length != 0 || entries_[i].offset <= place + size) continue;
        entries_[i].offset = static_cast<std::uint32_t>(place);
        StoreEntry(i);
    }
}

// Makes `data` the bytes of the entry, at the end.
void AppleDouble::PlaceAtEnd(std::size_t index, std::string_view data) {
    CutAtPlaceOf(index);
    const std::size_t place = bytes_.size();
    bytes_.append(data);
    PlaceEntry(index, place, data.size());
}

void AppleDouble::SetFinderInfo(const FinderInfo& info) {
    const std::size_t index = IndexOrAdded(kEntryFinderInfo);
    const AppleDoubleEntry entry = entries_[index];
    if (entry.length >= kFinderInfoSize && IsAlone(index, kFinderInfoSize)) {
        bytes_.replace(entry.offset, kFinderInfoSize, AsText(info));
        return;
    }
    std::string data(View(kEntryFinderInfo));
    data.replace(0, std::min(data.size(), kFinderInfoSize), AsText(info));
    const std::size_t fork = IndexOrAdded(kEntryResourceFork);
    const bool forkIsLast = IsLast(fork);
    const std::string forkBytes(forkIsLast ? GetResourceFork() : std::string_view());
    if (forkIsLast) PlaceAtEnd(fork, {});
    PlaceAtEnd(index, data);
    if (forkIsLast) PlaceAtEnd(fork, forkBytes);
}

bool AppleDouble::HasRoomForFork(std::size_t size) const {
    if (size > kMaxResourceFork) return false;
    return size <= kLargestFile - std::min<std::uint64_t>(bytes_.size(), kLargestFile) ||
           size <= GetResourceFork().size();
}

bool AppleDouble::SetResourceFork(std::string_view fork) {
    if (!HasRoomForFork(fork.size())) return false;
    PlaceAtEnd(IndexOrAdded(kEntryResourceFork), fork);
    return true;
}

bool AppleDouble::AnnounceResourceFork(std::size_t size) {
    if (!HasRoomForFork(size)) return false;
    const std::size_t index = IndexOrAdded(kEntryResourceFork);
    CutAtPlaceOf(index);
    PlaceEntry(index, bytes_.size(), size);
    return true;
}

bool AppleDouble::IsEmpty() const {
    return entries_.size() == 2 && View(kEntryFinderInfo).size() == kFinderInfoSize &&
           GetFinderInfo().IsEmpty() && FindEntry(entries_, kEntryResourceFork) != nullptr &&
           GetResourceFork().empty();
}

}  // namespace Ondrel
