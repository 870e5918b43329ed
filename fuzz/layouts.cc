// The layout language and the walk by it: the bytes up to the first NUL are a layout, those behind
// it a document. The values that are handed out follow one another without gap or overlap, and a
// walk without a fault has handed out the whole document.
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "ondrel/core/FileSpec.h"
#include "ondrel/core/Unicode.h"
#include "tools/ondrel/layout/Layout.h"
#include "tools/ondrel/layout/Walk.h"

using namespace OndrelTool;

namespace {

// A document that is written anew for each input, and gone with the process.
class DocumentFile {
 public:
    DocumentFile()
        : path_(std::filesystem::temp_directory_path() /
                ("ondrel-fuzz-" + std::to_string(getpid()))) {}
    ~DocumentFile() { std::filesystem::remove(path_); }
    DocumentFile(const DocumentFile&) = delete;
    DocumentFile& operator=(const DocumentFile&) = delete;

    Ondrel::FileSpec Write(std::string_view bytes) const {
        std::ofstream(path_, std::ios::binary | std::ios::trunc) << bytes;
        return Ondrel::FileSpec(Ondrel::UTF8ToUni16String(path_.string()));
    }

 private:
    std::filesystem::path path_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const DocumentFile file;
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t nul = std::min(input.find('\0'), size);
    Layout layout;
    LayoutFault layoutFault;
    if (!ParseLayout(input.substr(0, nul), &layout, &layoutFault)) {
        if (layoutFault.offset > nul || layoutFault.what.empty()) std::abort();
        return 0;
    }
    const std::string_view bytes = input.substr(std::min(nul + 1, size));
    int at = 0;
    const auto fault = WalkDocument(file.Write(bytes), layout, {}, [&](const Value& value) {
        if (value.begin != at || value.end < value.begin) std::abort();
        at = value.end;
    });
    if (at > static_cast<int>(bytes.size())) std::abort();
    if (!fault && at != static_cast<int>(bytes.size())) std::abort();
    return 0;
}
