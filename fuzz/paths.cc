// Path texts in every syntax: any bytes are converted each way, split, joined with a folder and
// made into URLs, in buffers of every size. Nothing is written behind a buffer, a text stays
// terminated, a refused one stays as it was, and a generic form that can be read is the same when
// it is made again.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "fuzz/Require.h"
#include "ondrel/core/FileSpec.h"
#include "ondrel/core/MacPaths.h"
#include "ondrel/core/Process.h"
#include "ondrel/filref/filref.h"
#include "ondrel/filref/genericpath.h"
#include "ondrel/filref/operations.h"

using namespace Ondrel;
using OndrelFuzz::Require;

namespace {

constexpr filRefFormat kFormats[] = {filRefMac,
                                     filRefWindows,
                                     filRefGenericA,
                                     filRefGenericB,
                                     static_cast<filRefFormat>(-1),
                                     static_cast<filRefFormat>(4)};

bool IsKnown(filRefFormat format) {
    return format >= filRefMac && format <= filRefGenericB;
}

// --- Generic and local texts --------------------------------------------------------------------

// Converts in a buffer of exactly `size` bytes, so that a byte behind it is seen.
template <class Convert>
bool InPlace(const std::string& text, std::size_t size, filRefFormat format, Convert convert,
             std::string* result) {
    const std::unique_ptr<char[]> buffer(new char[size]);
    const std::size_t length = std::min(text.size(), size - 1);
    std::memcpy(buffer.get(), text.data(), length);
    buffer[length] = 0;
    const bool converted = convert(buffer.get(), size, format);
    Require(std::memchr(buffer.get(), 0, size) != nullptr);
    *result = buffer.get();
    return converted;
}

void ConvertInBuffers(const std::string& text, filRefFormat format) {
    const std::size_t size = text.size();
    std::string result;
    for (const std::size_t room : {std::size_t{1}, size / 2 + 1, size + 1, 2 * size + 8}) {
        const std::string before = text.substr(0, room - 1);
        if (!InPlace(text, room, format, localPathToGeneric, &result))
            Require(result == (IsKnown(format) ? before : ""));
        if (!InPlace(text, room, format, genericPathToLocal, &result))
            Require(result == before ||
                    (result.empty() && format != filRefMac && format != filRefWindows));
    }
    // A text that is not terminated within its buffer.
    if (size == 0) return;
    const std::unique_ptr<char[]> full(new char[size]);
    std::memcpy(full.get(), text.data(), size);
    if (localPathToGeneric(full.get(), size, format) && format != filRefGenericA &&
        format != filRefGenericB)
        Require(std::memchr(full.get(), 0, size) != nullptr);
    std::memcpy(full.get(), text.data(), size);
    (void)genericPathToLocal(full.get(), size, format);
}

void CheckGenericIsStable(const std::string& text, filRefFormat format) {
    const std::size_t room = 4 * text.size() + 16;
    std::string generic;
    std::string local;
    std::string again;
    if (!InPlace(text, room, format, localPathToGeneric, &generic)) return;
    if (!InPlace(generic, room, format, genericPathToLocal, &local)) return;
    Require(InPlace(local, room, format, localPathToGeneric, &again));
    std::string once;
    Require(InPlace(again, room, format, genericPathToLocal, &once));
    Require(InPlace(once, room, format, localPathToGeneric, &once) && once == again);
}

void Split(const std::string& text, filRefFormat format) {
    std::vector<std::string> parts = {"before"};
    const int count = breakFilePath(text, parts, format);
    Require(count == -1 || count == static_cast<int>(parts.size()));
    for (const std::string& part : parts)
        Require(part.find('/') == std::string::npos);
}

// --- References ---------------------------------------------------------------------------------

void CheckReference(const filref& ref) {
    Require(ref.path == nullptr || std::memchr(ref.path, 0, kFilrefSize) != nullptr);
}

template <std::size_t kSize>
void CheckTerminated(const std::uint16_t (&units)[kSize]) {
    Require(std::find(units, units + kSize, 0) != units + kSize);
}

void ConvertUnits(const filref& ref) {
    std::uint16_t units[kFilrefSize];
    filref other;
    for (const filRefFormat format : kFormats) {
        for (const int flags : {0, filRefResolve, filRefResourceFork}) {
            std::fill_n(units, kFilrefSize, std::uint16_t{'x'});
            (void)ref.ToUnicode(units, flags, format);
            CheckTerminated(units);
            Require(other.FromUnicode(units, format) == 0);
            CheckReference(other);
        }
        std::fill_n(units, kFilrefSize, std::uint16_t{'x'});
        (void)ref.getName(units, format);
        CheckTerminated(units);
        std::string name;
        ref.getNameAsUtf8(name, format);
        Require(name == ref.getNameAsUtf8(format) && name.size() < kFilrefSize);
        std::string path;
        ref.getFullPathAsUtf8(path, format);
        Require(path.size() < kFilrefSize);
    }
}

// Paths that come from outside as 16-bit units, half surrogate pairs and all.
void ReadUnits(const std::string& text) {
    std::vector<std::uint16_t> units;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2)
        units.push_back(static_cast<std::uint16_t>(static_cast<unsigned char>(text[i]) << 8 |
                                                   static_cast<unsigned char>(text[i + 1])));
    units.push_back(0);
    filref ref;
    for (const filRefFormat format : kFormats) {
        Require(ref.FromUnicode(units.data(), format) == 0);
        CheckReference(ref);
    }
    const Uni16String path(units.data());
    (void)MacPaths::HFSToPOSIX(path);
    const Uni16String colons = MacPaths::POSIXToHFS(path);
    if (!colons.empty()) Require(!MacPaths::HFSToPOSIX(colons).empty());
}

// A URL is made of what a URL path can hold, and comes from absolute and relative paths alike.
void MakeUrl(const filref& ref) {
    FileSpecURL url;
    if (ref.ConvertToFileSpecURL(url) != 0) {
        Require(url.GetText().empty());
        return;
    }
    for (const char c : url.GetText())
        Require(c > ' ' && c < 0x7F && std::strchr("\"<>\\^`{|}?#[]", c) == nullptr);
}

void Combine(const std::string& text, const filref& ref) {
    filref folder;
    (void)folder.ConvertFromMacPath("Disk:Dir:Sub:doc.tar.gz");
    for (const bool macOnly : {false, true}) {
        filref other;
        (void)filrefnew(&other, &folder, text.c_str(), macOnly);
        CheckReference(other);
        (void)filrefnew(&other, &ref, text.c_str(), macOnly);
        CheckReference(other);
    }
    const std::size_t half = text.size() / 2;
    for (const filref* const where : {&ref, static_cast<const filref*>(nullptr)}) {
        filref other = folder;
        (void)filrefnew(&other, where, text.substr(0, half).c_str(), text.substr(half).c_str());
        CheckReference(other);
        other = ref;
        (void)filrefnew(&other, where, static_cast<const char*>(nullptr), text.c_str());
        CheckReference(other);
    }
    filref other;
    (void)folderfromfilref(&ref, &other);
    CheckReference(other);
    (void)platformFilRefToUTF8(&ref, &other);
    CheckReference(other);
    (void)utf8FilRefToPlatform(&ref, &other);
    CheckReference(other);
}

// A specification of the path, and the reference of that.
void Specify(const filref& ref) {
    FileSpec spec;
    if (ref.convertToFileSpec(spec) != 0) return;
    filref other;
    Require(other.convertFromFileSpec(spec) == 0);
    CheckReference(other);
    std::string generic;
    if (filrefToGeneric(ref, generic)) (void)GenericPathToFilref(generic, other);
    CheckReference(other);
    std::string path;
    std::string name;
    spec.GetFullPath(path);
    if (spec.GetName(name)) Require(!path.empty() && name.find(':') == std::string::npos);
    spec.ToEnclosingFolderOfFile();
    std::string folder;
    if (spec.GetFullPath(folder)) Require(path.starts_with(folder));
}

// A generic text in a buffer of its own, and in the one that it stands in.
void ToMacPath(const std::string& text) {
    char apart[kFilrefSize + 1];
    char same[kFilrefSize + 1] = {};
    text.copy(same, kFilrefSize - 1);
    const bool converted = GenericPathToMacPath(text.c_str(), apart, sizeof apart);
    Require(GenericPathToMacPath(same, same, sizeof same) == converted);
    Require(std::strcmp(apart, same) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    SetDebugHandler([](const char*) {});
    std::string text(reinterpret_cast<const char*>(data), size);
    ReadUnits(text);
    text.resize(std::strlen(text.c_str()));
    for (const filRefFormat format : kFormats) {
        ConvertInBuffers(text, format);
        Split(text, format);
    }
    CheckGenericIsStable(text, filRefMac);
    CheckGenericIsStable(text, filRefWindows);
    filref ref;
    (void)ref.ConvertFromMacPath(text.c_str());
    ConvertUnits(ref);
    MakeUrl(ref);
    Combine(text, ref);
    Specify(ref);
    ToMacPath(text);
    return 0;
}
