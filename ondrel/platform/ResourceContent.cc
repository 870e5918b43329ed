// Resource forks in memory, and their way into the sidecar.
#include "ondrel/platform/ResourceContent.h"

#include <algorithm>
#include <cstring>

#include "ondrel/platform/ComposeFork.h"
#include "ondrel/platform/ResourceFile.h"
#include "ondrel/platform/ResourceMap.h"

namespace Ondrel::Host {
namespace {

constexpr std::size_t kMostBytes = AppleDouble::kMaxResourceFork;
constexpr std::size_t kMostReserved = std::size_t{1} << 24;

// Whether the first bytes of a fork have all that a reader of resources looks at.
bool HoldAllResources(std::string_view start) {
    return ForkHeader::Read(start, start.size()).has_value();
}

}  // namespace

ResourceContent::ResourceContent() : stored_(std::make_shared<StoredFork>()) {}

ResourceContent::~ResourceContent() = default;

OSErr ResourceContent::Load(const std::string& path, bool mayWrite) {
    return OrMemFull([&] {
        OSErr error = FSPathMakeRef(path.c_str(), &file_);
        if (error == noErr) error = stored_->Open(path.c_str());
        if (error != noErr) return error;
        kept_ = stored_->Size();
        return mayWrite ? noErr : ReadUpTo(kept_);
    });
}

// Reads what is still stored alone, up to a place.
OSErr ResourceContent::ReadUpTo(std::size_t end) {
    end = std::min(end, kept_);
    if (end <= bytes_.size()) return noErr;
    return stored_->Read(bytes_.size(), end - bytes_.size(), &bytes_);
}

OSErr ResourceContent::Read(std::int64_t start, void* buffer, std::size_t size, std::size_t* got) {
    const auto at = static_cast<std::uint64_t>(start);
    *got = 0;
    if (at >= Size()) return noErr;
    const std::size_t count = std::min<std::size_t>(size, Size() - at);
    if (const OSErr error = ReadUpTo(at + count); error != noErr) return error;
    std::memcpy(buffer, bytes_.data() + at, count);
    *got = count;
    return noErr;
}

OSErr ResourceContent::Write(std::int64_t start, const void* buffer, std::size_t size) {
    if (failure_ != noErr || size == 0) return failure_;
    const auto at = static_cast<std::uint64_t>(start);
    if (at > kMostBytes || size > kMostBytes - at) return failure_ = dskFulErr;
    failure_ = OrMemFull([&] {
        if (const OSErr error = ReadUpTo(at); error != noErr) return error;
        const auto* const bytes = static_cast<const char*>(buffer);
        // Who writes a fork anew will probably write about as much as there is.
        if (bytes_.capacity() < kept_) bytes_.reserve(std::min(kept_, kMostReserved));
        if (bytes_.size() < at) bytes_.resize(at);
        const std::size_t over = std::min<std::size_t>(size, bytes_.size() - at);
        bytes_.replace(at, over, bytes, size);
        changed_ = true;
        return noErr;
    });
    return failure_;
}

OSErr ResourceContent::Resize(std::int64_t size) {
    if (failure_ != noErr) return failure_;
    const auto wanted = static_cast<std::uint64_t>(size);
    if (wanted == Size()) return noErr;
    if (wanted > kMostBytes) return failure_ = dskFulErr;
    failure_ = OrMemFull([&] {
        if (const OSErr error = ReadUpTo(wanted); error != noErr) return error;
        bytes_.resize(wanted);
        kept_ = 0;
        changed_ = true;
        return noErr;
    });
    return failure_;
}

OSErr ResourceContent::AddResource(FourCC type, std::int16_t id, std::string_view data,
                                   std::uint16_t finderFlags) {
    if (failure_ != noErr) return failure_;
    return OrMemFull([&] {
        OSErr error = HoldAllResources(bytes_) ? noErr : ReadUpTo(kept_);
        if (error == noErr) error = PutResource(type, id, data, &bytes_);
        if (error != noErr) return error;
        kept_ = 0;
        finderFlags_ |= finderFlags;
        changed_ = true;
        return error;
    });
}

OSErr ResourceContent::Store() {
    if (failure_ != noErr || !changed_) return failure_;
    return OrMemFull([&] {
        std::string path;
        OSErr error = FSRefMakePath(&file_, &path);
        if (error == noErr) error = ReadUpTo(kept_);
        return error == noErr ? WriteResourceFork(path.c_str(), bytes_, finderFlags_) : error;
    });
}

}  // namespace Ondrel::Host
