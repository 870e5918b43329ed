#include "ondrel/platform/quickdraw/codecs/Codecs.h"

namespace Ondrel::QuickDraw {
namespace {

struct Entry {
    FourCC codec;
    Decoder decoder;
};

constexpr Entry kDecoders[] = {
    {MakeFourCC("jpeg"), DecodeJpeg},     {MakeFourCC("png "), DecodePng},
    {MakeFourCC("raw "), DecodeRaw},      {MakeFourCC("rle "), DecodeAnimation},
    {MakeFourCC("smc "), DecodeGraphics}, {MakeFourCC("rpza"), DecodeVideo},
    {MakeFourCC("cvid"), DecodeCinepak},  {MakeFourCC("8BPS"), DecodePlanar},
    {MakeFourCC("qdrw"), DecodeDrawing},
};

}  // namespace

Decoder DecoderOf(FourCC codec) {
    for (const Entry& entry : kDecoders) {
        if (entry.codec == codec) return entry.decoder;
    }
    return nullptr;
}

}  // namespace Ondrel::QuickDraw
