// Documents and streams of the record tests.
#include "tests/records/Streams.h"

#include <cstring>
#include <vector>

namespace Ondrel::Testing {
namespace {

FileSpec SpecOf(const std::string& path) {
    return FileSpec(UTF8ToUni16String(path));
}

}  // namespace

void Document::Open(fil* f, int skip) const {
    ASSERT_EQ(openFile(f, nullptr, SpecOf(path_)), 0);
    std::vector<unsigned char> dropped(static_cast<std::size_t>(skip) + 1);
    ASSERT_EQ(filrea(f, dropped.data(), skip), 0);
}

void Document::Save(fil* f, int skip) const {
    ASSERT_EQ(saveFile(f, nullptr, SpecOf(path_), 0), 0);
    const std::vector<unsigned char> filler(static_cast<std::size_t>(skip) + 1, 'p');
    ASSERT_EQ(filwri(f, filler.data(), skip), 0);
}

filref Reference(std::string_view text) {
    filref ref;
    ref.allocate();
    EXPECT_LT(text.size(), static_cast<std::size_t>(kFilrefSize));
    std::memcpy(ref.path, text.data(), text.size());
    ref.path[text.size()] = 0;
    return ref;
}

std::string TextOf(const filref& ref) {
    return ref.path == nullptr ? "(null)" : ref.path;
}

}  // namespace Ondrel::Testing
