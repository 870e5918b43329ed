#include "tests/filref/Support.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <new>

#include "ondrel/core/FileSupport.h"
#include "ondrel/core/Process.h"
#include "ondrel/core/Volumes.h"

namespace {

std::atomic<bool> g_no_memory = false;

}  // namespace

// The one form of allocation that references make, and nothing else in these programs.
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    if (g_no_memory) return nullptr;
    try {
        return ::operator new[](size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

namespace Ondrel::Testing {

namespace {

std::vector<std::string> g_messages;

void KeepMessage(const char* message) {
    g_messages.emplace_back(message);
}

DebugHandler g_handler_before = nullptr;

}  // namespace

Uni16String Units(std::u16string_view text) {
    Uni16String units;
    for (const char16_t unit : text)
        units += static_cast<unsigned short>(unit);
    return units;
}

filref Ref(std::string_view text) {
    filref ref;
    ref.allocate();
    EXPECT_LT(text.size(), std::size_t{kFilrefSize});
    std::memcpy(ref.path, text.data(), text.size());
    ref.path[text.size()] = 0;
    return ref;
}

std::string TextOf(const filref& ref) {
    return ref.path == nullptr ? "(null)" : ref.path;
}

std::string ToText(const filref& ref, int flags, filRefFormat format) {
    unsigned short text[kFilrefSize];
    ref.ToUnicode(text, flags, format);
    return Uni16StringToUTF8(text);
}

std::string Times(std::size_t n, std::string_view text) {
    std::string result;
    while (n-- > 0)
        result += text;
    return result;
}

CapturedMessages::CapturedMessages() {
    g_messages.clear();
    g_handler_before = SetDebugHandler(KeepMessage);
}

CapturedMessages::~CapturedMessages() {
    SetDebugHandler(g_handler_before);
}

const std::vector<std::string>& CapturedMessages::All() const {
    return g_messages;
}

Disk::Disk() {
    EXPECT_TRUE(MountVolume("Disk", Path().c_str()));
    MakeFolder("App");
    SetApplicationFolder(Spec("App"));
}

Disk::~Disk() {
    SetApplicationFolder(FileSpec());
    EXPECT_TRUE(UnmountVolume("Disk"));
}

void Disk::Link(std::string_view name, std::string_view target) const {
    std::filesystem::create_symlink(target, Path(name));
}

FileSpec Disk::Spec(std::string_view name) const {
    return FileSpec(UTF8ToUni16String(Path(name)));
}

NoMemory::NoMemory() {
    g_no_memory = true;
}

NoMemory::~NoMemory() {
    g_no_memory = false;
}

}  // namespace Ondrel::Testing
