// Documents with links.
#include "tests/tools/LinkedDocument.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "ondrel/core/Unicode.h"
#include "ondrel/core/Volumes.h"

namespace OndrelTool::Testing {

using namespace Ondrel;

std::string Big16(std::size_t number) {
    return {static_cast<char>(number >> 8), static_cast<char>(number)};
}

std::string Big32(std::size_t number) {
    return Big16(number >> 16) + Big16(number & 0xFFFF);
}

std::string AbsoluteRecord(std::string_view path) {
    return "\x02" + Big16(path.size() + 1) + std::string(path) + std::string(1, '\0');
}

std::string RelativeRecord(int shared, int up, std::string_view stored) {
    return "\x03" + Big16(static_cast<std::size_t>(shared)) + Big16(static_cast<std::size_t>(up)) +
           Big16(stored.size() + 1) + std::string(stored) + std::string(1, '\0');
}

std::string Block16(const std::string& content) {
    return Big16(content.size()) + content;
}

std::string Block32(const std::string& content) {
    return Big32(content.size()) + content;
}

LinkedDocuments::LinkedDocuments() {
    EXPECT_TRUE(MountVolume("Vol", scratch_.Path().c_str()));
}

LinkedDocuments::~LinkedDocuments() {
    UnmountVolume("Vol");
}

FileSpec LinkedDocuments::Spec(std::string_view name) const {
    return FileSpec(UTF8ToUni16String(scratch_.Path(name)));
}

std::vector<std::string> LinkedDocuments::NamesIn(std::string_view folder) const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(scratch_.Path(folder)))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

Layout ParsedLayout(std::string_view text) {
    Layout layout;
    LayoutFault fault;
    EXPECT_TRUE(ParseLayout(text, &layout, &fault)) << fault.what;
    return layout;
}

}  // namespace OndrelTool::Testing
