// The contact sheet as a page.
#include <fmt/format.h>

#include <filesystem>

#include "tools/ondrel/Sheet.h"
#include "tools/ondrel/Text.h"

namespace OndrelTool {
namespace {

constexpr const char* kHead = R"(<!DOCTYPE html>
<html lang="en">
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<title>{0}</title>
<style>
:root {{ color-scheme: light dark; font: 14px/1.4 system-ui, sans-serif; }}
body {{ margin: 2rem; background: Canvas; color: CanvasText; }}
h1 {{ font-size: 1.25rem; font-weight: 600; overflow-wrap: anywhere; }}
p {{ opacity: .7; }}
main {{ display: grid; gap: 1.25rem; grid-template-columns: repeat(auto-fill, minmax(176px, 1fr)); }}
a {{ color: inherit; text-decoration: none; display: block; }}
a:hover figcaption {{ text-decoration: underline; }}
figure {{ margin: 0; }}
.picture {{ height: 176px; display: flex; align-items: center; justify-content: center;
  background: #8882; border-radius: 6px; }}
.picture img {{ max-width: 160px; max-height: 160px; background: #fff; box-shadow: 0 1px 4px #0006; }}
.none {{ opacity: .5; font-size: 1.1rem; }}
figcaption {{ margin-top: .4rem; overflow-wrap: anywhere; }}
small {{ opacity: .6; }}
</style>
<h1>{0}</h1>
<p>{1}</p>
<main>
)";

std::string Escaped(std::string_view text) {
    std::string out;
    for (const char c : ValidUtf8(text)) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

// The path as a relative URL: every byte but the plainest is written as a number. The step at the
// start keeps a colon in the first name from being taken for a scheme.
std::string RelativeUrl(const std::string& path, const std::string& folder) {
    std::string url = "./";
    for (const char c : std::filesystem::path(path).lexically_relative(folder).string()) {
        const auto byte = static_cast<unsigned char>(c);
        const bool isPlain = (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
                             (byte >= 'a' && byte <= 'z') || byte == '/' || byte == '.' ||
                             byte == '-' || byte == '_';
        url += isPlain ? std::string(1, c) : fmt::format("%{:02X}", byte);
    }
    return url;
}

std::string Base64(std::string_view bytes) {
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        unsigned group = 0;
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - at);
        for (std::size_t i = 0; i < 3; ++i)
            group = group << 8 | (i < count ? static_cast<unsigned char>(bytes[at + i]) : 0U);
        for (std::size_t i = 0; i < 4; ++i)
            text += i <= count ? kDigits[group >> (18 - 6 * i) & 63] : '=';
    }
    return text;
}

std::string Kind(const std::string& name) {
    const std::string extension = std::filesystem::path(name).extension().string();
    return extension.size() > 1 ? extension.substr(1) : "no picture";
}

std::string FigureOf(const Card& card, const std::string& folder) {
    std::string figure = fmt::format("<figure><a href=\"{}\"><div class=\"picture\">",
                                     RelativeUrl(card.path, folder));
    std::string size;
    if (card.picture) {
        figure += fmt::format("<img alt=\"\" src=\"data:image/png;base64,{}\">",
                              Base64(PngOf(*card.picture, card.path)));
        size = fmt::format("<br><small>{} &times; {}</small>", card.width, card.height);
    } else {
        figure += fmt::format("<span class=\"none\">{}</span>", Escaped(Kind(card.name)));
    }
    return figure + fmt::format("</div><figcaption>{}{}</figcaption></a></figure>\n",
                                Escaped(card.name), size);
}

}  // namespace

std::string SheetAsHtml(const Sheet& sheet, const std::string& pageFolder) {
    const std::string count =
        fmt::format("{} document{}", sheet.cards.size(), sheet.cards.size() == 1 ? "" : "s");
    std::string page = fmt::format(kHead, Escaped(sheet.title), count);
    for (const Card& card : sheet.cards)
        page += FigureOf(card, pageFolder);
    return page + "</main>\n</html>\n";
}

}  // namespace OndrelTool
