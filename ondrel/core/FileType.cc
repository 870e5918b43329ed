// File types: the registry, and telling whether a file is of a type.
#include "ondrel/core/FileType.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <string_view>

#include "ondrel/core/PosixPaths.h"
#include "ondrel/platform/Sidecar.h"

namespace Ondrel {
namespace {

struct Registry {
    std::mutex mutex;
    std::map<unsigned int, FileType> types;  // its elements never move
};

// Never destroyed: pointers into it stay valid for the life of the process.
Registry& TheRegistry() {
    static Registry& registry = *new Registry;
    return registry;
}

enum class Verdict { kUndecided, kMatch, kNoMatch };

Verdict Decided(bool match) {
    return match ? Verdict::kMatch : Verdict::kNoMatch;
}

char AsciiLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool AreEqualIgnoringCase(std::string_view a, std::string_view b) {
    if (Core::IsAscii(a) && Core::IsAscii(b)) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                          [](char x, char y) { return AsciiLower(x) == AsciiLower(y); });
    }
    return Uni16CharCompareWithOptions(UTF8ToUni16String(std::string(a)).c_str(),
                                       UTF8ToUni16String(std::string(b)).c_str(),
                                       kCompareIgnoreCase | kCompareCanonical) == 0;
}

// Registered with or without its dot, perhaps of several parts ("tar.gz"). A dot at the start of a
// name hides the file and starts no extension.
bool HasExtension(std::string_view name, std::string_view extension) {
    if (!extension.empty() && extension.front() == '.') extension.remove_prefix(1);
    if (extension.empty()) return false;
    for (std::size_t dot = name.find('.', 1); dot < name.size(); dot = name.find('.', dot + 1)) {
        if (AreEqualIgnoringCase(name.substr(dot + 1), extension)) return true;
    }
    return false;
}

bool HasKnownExtension(std::string_view name) {
    Registry& registry = TheRegistry();
    const std::lock_guard lock(registry.mutex);
    return std::any_of(registry.types.begin(), registry.types.end(), [&](const auto& entry) {
        return HasExtension(name, entry.second.extension);
    });
}

Verdict JudgeByExtension(const FileSpec& spec, const FileType& type) {
    std::string path;
    spec.GetFullPath(path);
    const std::string_view name = Core::LastComponent(path);
    return HasKnownExtension(name) ? Decided(HasExtension(name, type.extension))
                                   : Verdict::kUndecided;
}

// A sidecar that cannot be read counts as no codes.
Verdict JudgeByCodes(const FileSpec& spec, const FileType& type) {
    FinderInfo info;
    if (Host::ReadFinderInfo(spec, &info) != noErr) return Verdict::kUndecided;
    if (info.Type() == 0 && info.Creator() == 0) return Verdict::kUndecided;
    const bool creatorFits =
        info.Creator() == 0 || type.creator == 0 || info.Creator() == type.creator;
    return Decided(info.Type() == type.type && creatorFits);
}

}  // namespace

void RegisterFileType(const FileType& type) {
    Registry& registry = TheRegistry();
    const std::lock_guard lock(registry.mutex);
    registry.types[type.identifier] = type;
}

const FileType* GetFileTypeForIdentifier(unsigned int typeId) {
    Registry& registry = TheRegistry();
    const std::lock_guard lock(registry.mutex);
    const auto entry = registry.types.find(typeId);
    return entry == registry.types.end() ? nullptr : &entry->second;
}

bool IsFileSpecOfThisTypeID(const FileSpec& spec, unsigned int typeId,
                            FileType::TypeCheckingMethod method, bool* determined) {
    const FileType* type = GetFileTypeForIdentifier(typeId);
    if (type == nullptr || !spec.IsPresent()) return false;
    const bool codesFirst = method == FileType::kByCodes;
    Verdict verdict = codesFirst ? JudgeByCodes(spec, *type) : JudgeByExtension(spec, *type);
    if (verdict == Verdict::kUndecided)
        verdict = codesFirst ? JudgeByExtension(spec, *type) : JudgeByCodes(spec, *type);
    if (verdict == Verdict::kUndecided) return false;
    if (determined != nullptr) *determined = true;
    return verdict == Verdict::kMatch;
}

}  // namespace Ondrel
