// Colon paths to POSIX paths and back, over the mount table.
//
// The way to POSIX is taken for every file that is opened. A path of usual length without parent
// steps is put together on the stack, and the result is the only memory that is asked for.
#include "ondrel/core/MacPaths.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ondrel/core/Separators.h"
#include "ondrel/core/Utf8.h"
#include "ondrel/platform/MountTable.h"

namespace Ondrel {
namespace {

constexpr unsigned short kColon = ':';
constexpr unsigned short kSlash = '/';
constexpr std::size_t kLongestOnStack = 1024;

using Units = std::basic_string_view<unsigned short, Core::uni16char_traits>;

// A colon path taken apart: the volume, and what stands behind its colon. A relative path has no
// volume, and `rest` is behind its leading colon.
struct ColonPath {
    bool isRelative;
    Units volume;
    Units rest;
};

ColonPath TakeApart(const Uni16String& path) {
    const Units text(path);
    const std::size_t colon = text.find(kColon);
    if (colon == text.npos) return {true, {}, text};
    return {colon == 0, text.substr(0, colon), text.substr(colon + 1)};
}

std::shared_ptr<const Host::Mount> FindVolume(Units name) {
    std::array<char, 256> bytes;
    const Core::Transcoded encoded =
        Core::EncodeUtf8(name.data(), name.size(), bytes.data(), bytes.size());
    if (encoded.stop == Core::TranscodeStop::kEnd)
        return Host::FindMount(std::string_view(bytes.data(), encoded.written));
    if (encoded.stop == Core::TranscodeStop::kFault) return nullptr;
    return Host::FindMount(Uni16StringToUTF8(Uni16String(name)));
}

void AppendExchanged(Units name, Uni16String* out) {
    const std::size_t at = out->size();
    out->resize(at + name.size());
    bool wasColon = false;
    (void)Core::CopyExchanged(name.data(), name.size(), out->data() + at, &wasColon);
}

// Writes the folder that a colon path starts from, which has at most StartSize units: its volume's
// root; nothing for a relative path. Answers the length.
std::size_t WriteStart(const ColonPath& path, const Host::Mount* mount, unsigned short* to) {
    if (path.isRelative) return 0;
    const std::string_view root = mount != nullptr ? mount->root : Host::kUnmountedVolumesFolder;
    const std::size_t length = Core::DecodeUtf8(root.data(), root.size(), to, root.size()).written;
    if (mount != nullptr) return length;
    bool wasColon = false;
    (void)Core::CopyExchanged(path.volume.data(), path.volume.size(), to + length, &wasColon);
    return length + path.volume.size();
}

std::size_t StartSize(const ColonPath& path, const Host::Mount* mount) {
    if (path.isRelative) return 0;
    return mount != nullptr ? mount->root.size()
                            : Host::kUnmountedVolumesFolder.size() + path.volume.size();
}

// The components of a path after its parent steps. A relative path keeps those that lead above its
// start, as empty components; on a volume they end at its root.
std::vector<Units> WalkComponents(Units rest, bool isRelative) {
    std::vector<Units> components;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(kColon), rest.size());
        const bool canStepBack = !components.empty() && !components.back().empty();
        if (end == 0 && canStepBack)
            components.pop_back();
        else if (end != 0 || isRelative)
            components.push_back(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return components;
}

// Any path, component by component.
Uni16String JoinPath(const ColonPath& path, const Host::Mount* mount) {
    Uni16String result(StartSize(path, mount), 0);
    result.resize(WriteStart(path, mount, result.data()));
    for (const Units component : WalkComponents(path.rest, path.isRelative)) {
        if (!result.empty() && result.back() != kSlash) result += kSlash;
        if (component.empty())
            result.append(2, '.');
        else
            AppendExchanged(component, &result);
    }
    if (result.empty()) result.assign(1, '.');
    return result;
}

// A path of usual length without parent steps. False, and nothing done, for any other.
bool JoinPlainPath(const ColonPath& path, const Host::Mount* mount, Uni16String* result) {
    std::size_t rest = path.rest.size();
    if (path.isRelative && rest == 0) return false;
    if (StartSize(path, mount) + 1 + rest > kLongestOnStack) return false;
    std::array<unsigned short, kLongestOnStack> units;
    std::size_t length = WriteStart(path, mount, units.data());
    if (rest != 0) {
        if (length != 0 && units[length - 1] != kSlash) units[length++] = kSlash;
        bool wasColon = true;
        if (Core::CopyExchanged(path.rest.data(), rest, units.data() + length, &wasColon))
            return false;
        if (path.rest[rest - 1] == kColon) --rest;
    }
    result->assign(units.data(), length + rest);
    return true;
}

// UTF-8 of a full path with one slash between components and none at its end; empty when the path
// is not full, or holds half a surrogate pair, which no name on a disk can.
std::string CleanPath(const Uni16String& path) {
    std::string bytes(path.size() * 3, '\0');
    const Core::Transcoded encoded =
        Core::EncodeUtf8(path.data(), path.size(), bytes.data(), bytes.size());
    bytes.resize(encoded.written);
    if (encoded.stop != Core::TranscodeStop::kEnd || !bytes.starts_with('/')) return {};

    std::string clean;
    std::string_view rest = bytes;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('/'), rest.size());
        const std::string_view name = rest.substr(0, end);
        if (!name.empty() && name != ".") clean.append("/").append(name);
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return clean.empty() ? "/" : clean;
}

}  // namespace

Uni16String MacPaths::HFSToPOSIX(const Uni16String& path) {
    if (path.empty()) return {};
    const ColonPath parts = TakeApart(path);
    const auto mount = parts.isRelative ? nullptr : FindVolume(parts.volume);
    Uni16String result;
    if (JoinPlainPath(parts, mount.get(), &result)) return result;
    return JoinPath(parts, mount.get());
}

Uni16String MacPaths::POSIXToHFS(const Uni16String& path) {
    const std::string clean = CleanPath(path);
    if (clean.empty()) return {};
    const Host::Mount mount = Host::MountOfPath(clean);
    std::string_view rest = std::string_view(clean).substr(mount.root.size());
    if (rest.starts_with('/')) rest.remove_prefix(1);
    Uni16String result = UTF8ToUni16String(mount.name);
    result += kColon;
    AppendExchanged(UTF8ToUni16String(std::string(rest)), &result);
    return result;
}

}  // namespace Ondrel
