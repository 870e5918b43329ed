// Pictures: any bytes are read and drawn as one, with less work allowed than a whole picture may
// ask for, so that more of them can be tried. What was drawn is opaque. The pictures of the corpus
// are good seeds.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "ondrel/platform/quickdraw/PictureHead.h"
#include "ondrel/platform/quickdraw/Player.h"

using namespace Ondrel::QuickDraw;

namespace {

constexpr int kMostSide = 256;  // larger frames are scaled
constexpr std::uint64_t kWork = 1'000'000;

void Draw(std::string_view bytes, const PictureHead& head) {
    Canvas canvas(std::min(head.frame.Width(), kMostSide), std::min(head.frame.Height(), kMostSide),
                  kWork);
    PlayPicture(bytes, head, canvas);
    for (int y = 0; y < canvas.Height(); ++y)
        for (int x = 0; x < canvas.Width(); ++x)
            if (canvas.Row(y)[x] != 0 && canvas.Row(y)[x] < kOpaque) std::abort();
}

}  // namespace

// fontconfig packs some of its pointers, so that what it still holds seems to be lost.
extern "C" const char* __lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier)
    return "leak:libfontconfig";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const std::size_t start = FindPicture(bytes);
    if (start == std::string_view::npos) return 0;
    PictureHead head;
    if (ReadPictureHead(bytes.substr(start), &head)) Draw(bytes.substr(start), head);
    return 0;
}
