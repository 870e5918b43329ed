// The texts of full POSIX paths and of the names in them.
#include "ondrel/core/PosixPaths.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "ondrel/core/Utf8.h"

namespace Ondrel::Core {
namespace {

std::string Exchanged(std::string_view name, char from, char to) {
    std::string text(name);
    std::replace(text.begin(), text.end(), from, to);
    return text;
}

}  // namespace

bool IsAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool IsUtf8(std::string_view text) {
    if (IsAscii(text)) return true;
    // One unit per byte always suffices.
    const std::string bytes(text);
    std::vector<unsigned short> units(bytes.size());
    return DecodeUtf8(bytes.c_str(), bytes.size(), units.data(), units.size()).stop ==
           TranscodeStop::kEnd;
}

bool ToUtf8Exactly(const Uni16String& text, std::string* utf8) {
    if (text.find(static_cast<unsigned short>(0)) != Uni16String::npos) return false;
    std::string bytes(3 * text.size(), '\0');
    const Transcoded done = EncodeUtf8(text.data(), text.size(), bytes.data(), bytes.size());
    if (done.stop != TranscodeStop::kEnd) return false;
    bytes.resize(done.written);
    *utf8 = std::move(bytes);
    return true;
}

std::string JoinPath(std::string_view folder, std::string_view name) {
    std::string path(folder);
    if (path != "/") path += '/';
    path += name;
    return path;
}

std::string_view ParentOf(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return path.substr(0, slash == 0 ? 1 : slash);
}

std::string_view LastComponent(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

bool MacNameToPosix(std::string_view macName, std::string* posixName) {
    using namespace std::string_view_literals;
    if (macName.empty() || macName == "." || macName == "..") return false;
    if (macName.find_first_of(":\0"sv) != std::string_view::npos) return false;
    if (!IsUtf8(macName)) return false;
    *posixName = Exchanged(macName, '/', ':');
    return true;
}

std::string PosixNameToMac(std::string_view posixName) {
    return Exchanged(posixName, ':', '/');
}

std::string PreComposed(std::string_view name) {
    if (IsAscii(name)) return std::string(name);
    // The composed form of a few characters is longer; none grows beyond three times its units.
    Uni16String text = UTF8ToUni16String(std::string(name));
    const std::size_t length = text.size();
    text.resize(3 * length + 1);
    text.resize(Uni16CharMakePreComposed(text.data(), text.size()));
    return Uni16StringToUTF8(text);
}

}  // namespace Ondrel::Core
