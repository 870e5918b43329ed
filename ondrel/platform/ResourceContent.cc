// Resource forks in memory, and their way into the sidecar.
#include "ondrel/platform/ResourceContent.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

#include "ondrel/platform/ResourceFile.h"
#include "ondrel/platform/Sidecar.h"

namespace Ondrel::Host {
namespace {

constexpr std::size_t kMostBytes = AppleDouble::kMaxResourceFork;

// Makes what may run out of memory answer a code.
template <class Work>
OSErr OrMemFull(Work work) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return memFullErr;
    } catch (const std::length_error&) {
        return memFullErr;
    }
}

}  // namespace

ResourceContent::ResourceContent() : bytes_(std::make_shared<std::string>()) {}

ResourceContent::~ResourceContent() = default;

OSErr ResourceContent::Load(const std::string& path) {
    return OrMemFull([&] {
        if (const OSErr error = FSPathMakeRef(path.c_str(), &file_); error != noErr) return error;
        return ReadResourceFork(path.c_str(), bytes_.get());
    });
}

std::size_t ResourceContent::Read(std::int64_t start, void* buffer, std::size_t size) const {
    const auto at = static_cast<std::uint64_t>(start);
    if (at >= bytes_->size()) return 0;
    const std::size_t count = std::min<std::size_t>(size, bytes_->size() - at);
    std::memcpy(buffer, bytes_->data() + at, count);
    return count;
}

// Gives those who share the bytes theirs, and us a copy to change.
void ResourceContent::MakeOwn() {
    if (bytes_.use_count() > 1) bytes_ = std::make_shared<std::string>(*bytes_);
}

OSErr ResourceContent::Write(std::int64_t start, const void* buffer, std::size_t size) {
    if (failure_ != noErr || size == 0) return failure_;
    const auto at = static_cast<std::uint64_t>(start);
    if (at > kMostBytes || size > kMostBytes - at) return failure_ = dskFulErr;
    failure_ = OrMemFull([&] {
        MakeOwn();
        if (bytes_->size() < at + size) bytes_->resize(at + size);
        std::memcpy(bytes_->data() + at, buffer, size);
        changed_ = true;
        return noErr;
    });
    return failure_;
}

OSErr ResourceContent::Resize(std::int64_t size) {
    if (failure_ != noErr) return failure_;
    const auto wanted = static_cast<std::uint64_t>(size);
    if (wanted == bytes_->size()) return noErr;
    if (wanted > kMostBytes) return failure_ = dskFulErr;
    failure_ = OrMemFull([&] {
        MakeOwn();
        bytes_->resize(wanted);
        changed_ = true;
        return noErr;
    });
    return failure_;
}

void ResourceContent::Replace(std::string bytes, std::uint16_t finderFlags) {
    bytes_ = std::make_shared<std::string>(std::move(bytes));
    finderFlags_ = finderFlags;
    changed_ = true;
}

OSErr ResourceContent::Store() const {
    if (failure_ != noErr || !changed_) return failure_;
    return OrMemFull([&] {
        std::string path;
        const OSErr error = FSRefMakePath(&file_, &path);
        if (error != noErr) return error;
        return WriteResourceFork(path.c_str(), *bytes_, finderFlags_);
    });
}

}  // namespace Ondrel::Host
