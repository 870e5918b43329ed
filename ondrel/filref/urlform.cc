// The URL form of a reference: its generic components, percent-encoded.
#include <cstring>
#include <utility>
#include <vector>

#include "ondrel/core/FileSpec.h"
#include "ondrel/core/Unicode.h"
#include "ondrel/filref/filref.h"
#include "ondrel/filref/genericpath.h"

namespace Ondrel {
namespace {

void AppendEncoded(const std::string& segment, std::string& url) {
    const std::size_t start = url.size();
    const std::size_t most = 3 * segment.size() + 1;
    url.resize(start + most);
    UTF8ToURLEncoding(segment.c_str(), url.data() + start, most);
    url.resize(start + std::strlen(url.data() + start));
}

}  // namespace

int filref::ConvertToFileSpecURL(FileSpecURL& url) const {
    std::string text;
    getFullPathAsUtf8(text, filRefMac);
    std::vector<std::string> parts;
    breakFilePath(text, parts, filRefMac);
    if (parts.empty()) return -1;
    url.Clear();
    const std::string leaf = std::move(parts.back());
    parts.pop_back();

    // An empty first component marks a relative path and is no part of it.
    std::string result;
    if (!parts.empty() && !parts.front().empty()) result = "/";
    for (const std::string& folder : parts) {
        if (folder.empty()) continue;
        AppendEncoded(folder, result);
        result += '/';
    }
    AppendEncoded(leaf, result);
    url = result.c_str();
    return 0;
}

}  // namespace Ondrel
