// Icon families, taken apart. The elements are those of IconFamily.h and their older and younger
// relations; their sizes are as icnsutils has them.
#include "ondrel/platform/Icons.h"

#include <algorithm>
#include <iterator>
#include <new>

#include "ondrel/platform/BigEndian.h"

namespace Ondrel {
namespace {

struct Kind {
    FourCC type;
    int width;
    int height;
};

constexpr Kind kKinds[] = {
    {MakeFourCC("ICON"), 32, 32},   {MakeFourCC("ICN#"), 32, 32},
    {MakeFourCC("icm#"), 16, 12},   {MakeFourCC("icm4"), 16, 12},
    {MakeFourCC("icm8"), 16, 12},   {MakeFourCC("ics#"), 16, 16},
    {MakeFourCC("ics4"), 16, 16},   {MakeFourCC("ics8"), 16, 16},
    {MakeFourCC("is32"), 16, 16},   {MakeFourCC("icl4"), 32, 32},
    {MakeFourCC("icl8"), 32, 32},   {MakeFourCC("il32"), 32, 32},
    {MakeFourCC("ich#"), 48, 48},   {MakeFourCC("ich4"), 48, 48},
    {MakeFourCC("ich8"), 48, 48},   {MakeFourCC("ih32"), 48, 48},
    {MakeFourCC("it32"), 128, 128}, {MakeFourCC("icp4"), 16, 16},
    {MakeFourCC("icp5"), 32, 32},   {MakeFourCC("icp6"), 48, 48},
    {MakeFourCC("ic04"), 16, 16},   {MakeFourCC("ic05"), 32, 32},
    {MakeFourCC("ic07"), 128, 128}, {MakeFourCC("ic08"), 256, 256},
    {MakeFourCC("ic09"), 512, 512}, {MakeFourCC("ic10"), 1024, 1024},
    {MakeFourCC("ic11"), 32, 32},   {MakeFourCC("ic12"), 64, 64},
    {MakeFourCC("ic13"), 256, 256}, {MakeFourCC("ic14"), 512, 512},
};

constexpr std::size_t kHead = 8;  // type and length
constexpr std::uint32_t kMostPngSide = 0x7FFFFFFF;

// A PNG file tells its size itself: its first chunk is IHDR, whose first two words are the sides.
bool ReadPngSize(std::string_view data, IconElement* element) {
    constexpr std::string_view kStart("\x89PNG\r\n\x1A\n\0\0\0\rIHDR", 16);
    if (data.size() < kStart.size() + 8 || !data.starts_with(kStart)) return false;
    const std::uint32_t width = Get32(data, kStart.size());
    const std::uint32_t height = Get32(data, kStart.size() + 4);
    if (width == 0 || height == 0 || width > kMostPngSide || height > kMostPngSide) return false;
    element->width = static_cast<int>(width);
    element->height = static_cast<int>(height);
    return true;
}

IconElement ElementOf(FourCC type, std::string_view data) {
    IconElement element;
    element.type = type;
    element.size = static_cast<std::uint32_t>(data.size());
    if (ReadPngSize(data, &element)) return element;
    const auto* const kind = std::find_if(std::begin(kKinds), std::end(kKinds),
                                          [&](const Kind& k) { return k.type == type; });
    if (kind == std::end(kKinds)) return element;
    element.width = kind->width;
    element.height = kind->height;
    return element;
}

OSErr List(std::string_view family, std::vector<IconElement>* elements) {
    if (family.size() < kHead || Get32(family, 0) != kIconFamilyType) return mapReadErr;
    const std::size_t whole = Get32(family, 4);
    if (whole < kHead || whole > family.size()) return mapReadErr;
    for (std::size_t at = kHead; at < whole;) {
        if (whole - at < kHead) return mapReadErr;
        const std::size_t length = Get32(family, at + 4);
        if (length < kHead || length > whole - at) return mapReadErr;
        elements->push_back(
            ElementOf(Get32(family, at), family.substr(at + kHead, length - kHead)));
        at += length;
    }
    return noErr;
}

}  // namespace

OSErr ListIconElements(std::string_view family, std::vector<IconElement>* elements) {
    elements->clear();
    try {
        return List(family, elements);
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

}  // namespace Ondrel
