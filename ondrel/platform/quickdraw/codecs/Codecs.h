// The decoders of compressed images. Internal to libOndrel.
//
// Each fills in the pixels of a frame, whose size the picture gives, as far as the data go. False
// when nothing could be made of the data; the frame then is not to be drawn. They take time in
// proportion to the data and the frame, and throw nothing but std::bad_alloc.
#ifndef ONDREL_PLATFORM_QUICKDRAW_CODECS_CODECS_H
#define ONDREL_PLATFORM_QUICKDRAW_CODECS_CODECS_H

#include "ondrel/platform/quickdraw/codecs/Frame.h"

namespace Ondrel::QuickDraw {

bool DecodeAnimation(const CompressedImage& image, Frame* frame);  // 'rle '
bool DecodeCinepak(const CompressedImage& image, Frame* frame);    // 'cvid'
bool DecodeDrawing(const CompressedImage& image, Frame* frame);    // 'qdrw'
bool DecodeGraphics(const CompressedImage& image, Frame* frame);   // 'smc '
bool DecodeJpeg(const CompressedImage& image, Frame* frame);       // 'jpeg'
bool DecodePlanar(const CompressedImage& image, Frame* frame);     // '8BPS'
bool DecodePng(const CompressedImage& image, Frame* frame);        // 'png '
bool DecodeRaw(const CompressedImage& image, Frame* frame);        // 'raw '
bool DecodeVideo(const CompressedImage& image, Frame* frame);      // 'rpza'

// The decoder of a compressor; null when it is not known.
using Decoder = bool (*)(const CompressedImage& image, Frame* frame);
Decoder DecoderOf(FourCC codec);

}  // namespace Ondrel::QuickDraw

#endif
