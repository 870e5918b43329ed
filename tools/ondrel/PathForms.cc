// From texts to references and back.
#include "tools/ondrel/PathForms.h"

#include <fmt/format.h>

#include "ondrel/core/FileSpec.h"
#include "ondrel/core/MacPaths.h"
#include "ondrel/core/Unicode.h"
#include "ondrel/filref/genericpath.h"
#include "tools/ondrel/Failure.h"
#include "tools/ondrel/FileArgument.h"
#include "tools/ondrel/Text.h"

namespace OndrelTool {

using namespace Ondrel;

namespace {

// The library cuts what does not fit; a command must not act on a cut path.
constexpr std::size_t kMostBytes = kFilrefSize - 1;

filref FromText16(const std::string& text, filRefFormat format) {
    filref reference;
    const Uni16String units = UTF8ToUni16String(text);
    if (reference.FromUnicode(units.c_str(), format) != 0) Fail(text, Explain(memFullErr));
    return reference;
}

std::optional<std::string> NonEmpty(std::string text) {
    if (text.empty()) return std::nullopt;
    return text;
}

std::optional<std::string> UrlOf(const filref& reference) {
    FileSpecURL url;
    if (reference.ConvertToFileSpecURL(url) != 0) return std::nullopt;
    return url.GetText();
}

std::string FullText(const filref& reference, filRefFormat format) {
    std::string text;
    reference.getFullPathAsUtf8(text, format);
    return text;
}

}  // namespace

const std::vector<std::string>& AllForms() {
    static const std::vector<std::string> kForms = {"mac", "windows", "generic", "posix", "url"};
    return kForms;
}

const std::vector<std::string>& ReadableForms() {
    static const std::vector<std::string> kForms(AllForms().begin(), AllForms().end() - 1);
    return kForms;
}

std::string_view NameOf(PathForm form) {
    return AllForms()[static_cast<std::size_t>(form)];
}

PathForm FormOfName(std::string_view name) {
    for (std::size_t i = 0; i < AllForms().size(); ++i)
        if (AllForms()[i] == name) return static_cast<PathForm>(i);
    FailUsage(fmt::format("'{}' is no form of a path", name));
}

filref ReadPath(const std::string& text, PathForm form) {
    if (form == PathForm::kPosix) return ReferenceOf(text);
    if (text.empty()) Fail("''", "an empty text is no path");
    if (ValidUtf8(text) != text) Fail(text, "is not UTF-8");
    if (text.size() > kMostBytes - 2)  // a form may be two bytes longer than another
        Fail(text, fmt::format("is longer than the {} bytes that a reference holds", kMostBytes));
    filref reference;
    switch (form) {
        case PathForm::kMac:
            reference = FromText16(text, filRefMac);
            break;
        case PathForm::kWindows:
            reference = FromText16(text, filRefWindows);
            break;
        default:
            if (!GenericPathToFilref(text, reference)) reference.clear();
            break;
    }
    if (reference.path == nullptr || *reference.path == '\0')
        Fail(text, fmt::format("is no {} path", NameOf(form)));
    return reference;
}

std::optional<std::string> ShowPath(const filref& reference, PathForm form) {
    std::string text;
    switch (form) {
        case PathForm::kMac:
            return NonEmpty(FullText(reference, filRefMac));
        case PathForm::kWindows:
            return NonEmpty(FullText(reference, filRefWindows));
        case PathForm::kGeneric:
            if (!filrefToGeneric(reference, text)) return std::nullopt;
            return NonEmpty(text);
        case PathForm::kPosix:
            return NonEmpty(Uni16StringToUTF8(
                MacPaths::HFSToPOSIX(UTF8ToUni16String(FullText(reference, filRefMac)))));
        case PathForm::kUrl:
            return UrlOf(reference);
    }
    return std::nullopt;
}

}  // namespace OndrelTool
