// The writer of resource forks. Positions are the fork's own: what has been written is where the
// mark stands, and a position that cannot be read counts as 0.
#include "ondrel/preview/ResourceFork.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "ondrel/core/FileSpec.h"
#include "ondrel/platform/FileManager.h"
#include "ondrel/platform/ResourceManager.h"
#include "ondrel/platform/Workspace.h"

namespace Ondrel {
namespace {

constexpr unsigned kDataStart = 256;
constexpr unsigned kHeaderSize = 16;
constexpr unsigned kMapHeadSize = 30;    // of the map, up to the first type
constexpr unsigned kTypeListPlace = 28;  // in the map
constexpr unsigned kTypeCountSize = 2;   // before the first type
constexpr unsigned kTypeEntrySize = 8;
constexpr unsigned kReferenceSize = 12;
constexpr unsigned kNoName = 0xFFFF;

// Big-endian numbers at the end of a text.
void Put16(std::string* out, unsigned value) {
    out->push_back(static_cast<char>(value >> 8 & 255));
    out->push_back(static_cast<char>(value & 255));
}

void Put32(std::string* out, unsigned value) {
    Put16(out, value >> 16);
    Put16(out, value & 0xFFFF);
}

// Makes the fork where the file has none, and opens it; 0 when that fails.
short OpenFork(const Uni16String& path) {
    HFSUniStr255 forkName;
    if (FSGetResourceForkName(&forkName) != noErr) return 0;
    const FileSpec file(path);
    UniChar name[256];
    file.GetName(name, 256);
    FileSpec folder = file;
    folder.ToEnclosingFolderOfFile();
    FSCreateResourceFile(static_cast<const FSRef*>(folder), Uni16CharGetLength(name), name,
                         kFSCatInfoNone, nullptr, forkName.length, forkName.unicode, nullptr,
                         nullptr);
    short forkRef = 0;
    if (FSOpenResourceFile(static_cast<const FSRef*>(file), forkName.length, forkName.unicode,
                           fsRdWrPerm, &forkRef) != noErr)
        return 0;
    return forkRef;
}

// Cuts the name and terminates it.
void CopyName(const char* name, char* out, std::size_t size) {
    const void* const end = std::memchr(name, '\0', size - 1);
    const std::size_t length =
        end == nullptr ? size - 1 : static_cast<std::size_t>(static_cast<const char*>(end) - name);
    std::memcpy(out, name, length);
    out[length] = '\0';
}

}  // namespace

ResourceFork::ResourceFork(const Uni16String& path) : path_(path) {
    Open();
    const unsigned char zero[kDataStart] = {};
    Write(zero, sizeof zero);
}

// NOLINTNEXTLINE(bugprone-exception-escape): a duplicate ends the program, as the header says
ResourceFork::~ResourceFork() {
    Close();
}

void ResourceFork::Open() {
    try {
        forkRef_ = OpenFork(path_);
    } catch (const std::bad_alloc&) {
        forkRef_ = 0;
    }
}

void ResourceFork::NewResource(unsigned type, int id, const char* name) {
    if (open_) throw static_cast<const char*>("Resource already open");
    current_ = Record();
    current_.type = type;
    current_.hasName = name != nullptr;
    if (name != nullptr) CopyName(name, current_.name, sizeof current_.name);
    current_.id = id;
    current_.start = Position();
    const unsigned char length[4] = {};
    Write(length, sizeof length);
    open_ = true;
}

void ResourceFork::Append(const void* data, unsigned long length) {
    RequireOpen();
    Write(data, length);
}

void ResourceFork::AppendShort(short value) {
    std::string bytes;
    Put16(&bytes, static_cast<unsigned short>(value));
    Append(bytes.data(), bytes.size());
}

void ResourceFork::AppendLong(int value) {
    std::string bytes;
    Put32(&bytes, static_cast<unsigned>(value));
    Append(bytes.data(), bytes.size());
}

int ResourceFork::ResourceSize() const {
    RequireOpen();
    return static_cast<int>(Position() - current_.start - 4);
}

void ResourceFork::CloseResource() {
    RequireOpen();
    open_ = false;
    if (Position() % 2 != 0) Write("", 1);
    const unsigned end = Position();
    std::string length;
    Put32(&length, end - current_.start - 4);
    WriteAt(current_.start, length.data(), length.size());
    FSSetForkPosition(forkRef_, fsFromStart, end);
    try {
        File(current_);
    } catch (const std::bad_alloc&) {
        Abandon();
    }
}

void ResourceFork::WriteResourceMap() {
    std::vector<std::pair<unsigned, unsigned>> types;  // each with the number of its resources
    for (const Record& record : resources_) {
        if (types.empty() || types.back().first != record.type) types.push_back({record.type, 0});
        ++types.back().second;
    }
    const auto typeBytes = static_cast<unsigned>(types.size()) * kTypeEntrySize;
    const auto referenceBytes = static_cast<unsigned>(resources_.size()) * kReferenceSize;

    std::string map(8, '\0');
    Put16(&map, kTypeListPlace);
    Put16(&map, kMapHeadSize + typeBytes + referenceBytes);
    Put16(&map, static_cast<unsigned>(types.size()) - 1);
    unsigned references = kTypeCountSize + typeBytes;
    for (const auto& [type, count] : types) {
        Put32(&map, type);
        Put16(&map, count - 1);
        Put16(&map, references);
        references += count * kReferenceSize;
    }
    std::string names;
    for (const Record& record : resources_) {
        Put16(&map, static_cast<unsigned>(record.id));
        Put16(&map, record.hasName ? static_cast<unsigned>(names.size()) : kNoName);
        Put32(&map, record.start - kDataStart);
        Put32(&map, 0);
        if (!record.hasName) continue;
        const std::string name = record.name;
        names += static_cast<char>(name.size());
        names += name;
    }
    map += names;
    Write(map.data(), map.size());
}

// A fork is not stored once a write has failed, and none can be so long.
void ResourceFork::Abandon() {
    constexpr std::int64_t kBehindTheLongest = std::numeric_limits<std::int32_t>::max();
    FSWriteFork(forkRef_, fsFromStart, kBehindTheLongest, 1, "", nullptr);
}

bool ResourceFork::Close(const std::string* icon) {
    if (forkRef_ == 0) return false;
    if (open_) CloseResource();
    try {
        WriteMapAndHeader();
    } catch (const std::bad_alloc&) {
        Abandon();
    }
    if (icon != nullptr) (void)SetIconInFork(forkRef_, *icon);
    return FSCloseFork(std::exchange(forkRef_, short{0})) == noErr;
}

void ResourceFork::WriteMapAndHeader() {
    const unsigned mapStart = Position();
    const unsigned char room[kHeaderSize] = {};
    Write(room, sizeof room);
    WriteResourceMap();
    const unsigned mapEnd = Position();
    std::string header;
    Put32(&header, kDataStart);
    Put32(&header, mapStart);
    Put32(&header, mapStart - kDataStart);
    Put32(&header, mapEnd - mapStart);
    WriteAt(0, header.data(), header.size());
    WriteAt(mapStart, header.data(), header.size());
}

void ResourceFork::RequireOpen() const {
    if (!open_) throw static_cast<const char*>("Resource not open");
}

unsigned ResourceFork::Position() const {
    std::int64_t position = 0;
    if (FSGetForkPosition(forkRef_, &position) != noErr) return 0;
    return static_cast<unsigned>(position);
}

// A failure is not reported: the fork is then stored as it was before, or not at all.
void ResourceFork::Write(const void* data, unsigned long length) {
    FSWriteFork(forkRef_, fsAtMark, 0, length, data, nullptr);
}

void ResourceFork::WriteAt(unsigned position, const void* data, unsigned long length) {
    FSWriteFork(forkRef_, fsFromStart, position, length, data, nullptr);
}

// Among the records of its type, which stand together, by its ID.
void ResourceFork::File(const Record& record) {
    const auto hasType = [&](const Record& other) { return other.type == record.type; };
    auto place = std::find_if(resources_.begin(), resources_.end(), hasType);
    while (place != resources_.end() && hasType(*place) && place->id < record.id)
        ++place;
    if (place != resources_.end() && hasType(*place) && place->id == record.id)
        throw static_cast<const char*>("Duplicate Resource");
    resources_.insert(place, record);
}

}  // namespace Ondrel
