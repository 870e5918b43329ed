// Scratch folders and byte helpers of the tests.
#include "tests/support/Scratch.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

namespace Ondrel::Testing {

namespace fs = std::filesystem;

Scratch::Scratch() {
    std::string pattern = (fs::temp_directory_path() / "ondrel-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        ADD_FAILURE() << "no scratch folder could be made at " << pattern;
        return;
    }
    path_ = fs::canonical(pattern).string();
}

Scratch::~Scratch() {
    if (path_.empty()) return;
    std::error_code ignored;
    for (auto i = fs::recursive_directory_iterator(path_, ignored);
         i != fs::recursive_directory_iterator(); i.increment(ignored)) {
        if (i->is_directory(ignored) && !i->is_symlink(ignored))
            fs::permissions(i->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
    }
    fs::remove_all(path_, ignored);
}

std::string Scratch::Write(std::string_view name, std::string_view bytes) const {
    const std::string path = Path(name);
    fs::create_directories(fs::path(path).parent_path());
    WriteAll(path, bytes);
    return path;
}

std::string Scratch::MakeFolder(std::string_view name) const {
    const std::string path = Path(name);
    fs::create_directories(path);
    return path;
}

std::string ReadAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in.good()) << "cannot read " << path;
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return std::move(bytes).str();
}

void WriteAll(const std::string& path, std::string_view bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    EXPECT_TRUE(out.good()) << "cannot write " << path;
}

bool Exists(const std::string& path) {
    return fs::symlink_status(path).type() != fs::file_type::not_found;
}

std::string Hex(std::string_view bytes) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (!text.empty()) text += ' ';
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

std::string Bytes(std::string_view hex) {
    std::string bytes;
    std::string digits;
    for (const char c : hex) {
        if (c == ' ' || c == '\n') continue;
        digits += c;
        if (digits.size() == 2) {
            bytes += static_cast<char>(std::stoi(digits, nullptr, 16));
            digits.clear();
        }
    }
    EXPECT_TRUE(digits.empty()) << "an odd number of digits: " << hex;
    return bytes;
}

int OpenDescriptors() {
    return static_cast<int>(std::distance(fs::directory_iterator("/proc/self/fd"), {}));
}

}  // namespace Ondrel::Testing
