// Path texts in every syntax: any bytes are converted each way, split and made into URLs, in
// buffers of every size. Nothing may be written behind a buffer, and a text stays terminated.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ondrel/core/FileSpec.h"
#include "ondrel/core/MacPaths.h"
#include "ondrel/core/Process.h"
#include "ondrel/filref/filref.h"
#include "ondrel/filref/genericpath.h"
#include "ondrel/filref/operations.h"

using namespace Ondrel;

namespace {

// Converts in a buffer of exactly `size` bytes, so that a byte behind it is seen.
template <class Convert>
void InPlace(const std::string& text, std::size_t size, filRefFormat format, Convert convert) {
    const std::unique_ptr<char[]> buffer(new char[size]);
    const std::size_t length = std::min(text.size(), size - 1);
    std::memcpy(buffer.get(), text.data(), length);
    buffer[length] = 0;
    (void)convert(buffer.get(), size, format);
    if (std::memchr(buffer.get(), 0, size) == nullptr) std::abort();
}

void ConvertReference(const std::string& text) {
    filref ref;
    filref other;
    (void)ref.ConvertFromMacPath(text.c_str());
    std::uint16_t units[kFilrefSize];
    for (const filRefFormat format : {filRefMac, filRefWindows}) {
        (void)ref.ToUnicode(units, filRefResourceFork, format);
        (void)other.FromUnicode(units, format);
    }
    FileSpecURL url;
    (void)ref.ConvertToFileSpecURL(url);
    for (const bool macOnly : {false, true})
        (void)filrefnew(&other, &ref, text.c_str(), macOnly);
    (void)filrefnew(&other, &ref, text.c_str(), text.c_str());
    std::string generic;
    if (filrefToGeneric(ref, generic)) (void)GenericPathToFilref(generic, other);
    (void)MacPaths::HFSToPOSIX(UTF8ToUni16String(text));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    SetDebugHandler([](const char*) {});
    const std::string text(reinterpret_cast<const char*>(data), size);
    for (int format = -1; format <= 4; ++format) {
        const auto syntax = static_cast<filRefFormat>(format);
        for (const std::size_t room : {std::size_t{1}, size / 2 + 1, size + 1, 2 * size + 8}) {
            InPlace(text, room, syntax, localPathToGeneric);
            InPlace(text, room, syntax, genericPathToLocal);
        }
        std::vector<std::string> parts;
        (void)breakFilePath(text, parts, syntax);
    }
    ConvertReference(text);
    return 0;
}
