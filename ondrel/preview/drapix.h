// Pixel maps: the pictures in memory that the previews exchange with the application.
//
//   drapix* map = drapixall(height, width);          // every pixel 00 FF FF FF
//   unsigned char* row = drabufbas(map, y);
//   drapixdea(map);
//
// A map is a header that owns a storage record that owns the pixels. Rows run from top to bottom
// without gaps; row y begins at base + y * rowBytes. A 32-bit pixel is four bytes: one unused, then
// red, green, blue. A one-bit buffer (`draenv`) has its leftmost pixel in the most significant bit,
// and rows of a multiple of 32 pixels.
//
// Sizes are cut to 16 bits wherever they come from: a height of 65536 is 0. Nothing here throws or
// sets an error; what cannot be had is null.
#ifndef ONDREL_PREVIEW_DRAPIX_H
#define ONDREL_PREVIEW_DRAPIX_H

#include <cstddef>

#include "ondrel/platform/Export.h"

namespace Ondrel {

// The pixels and their true size, which may be wider than what was asked for.
struct drastorage {
    unsigned short width;   // pixels a row
    unsigned short height;  // rows
    unsigned short depth;   // bits a pixel: 1, 8 or 32
    unsigned char* pixels;  // owned
};

// A pixel map.
struct drapix {
    drastorage* storage;  // owned
    short height;         // rows
    short width;          // pixels a row, as asked for
    unsigned char* base;  // the storage's pixels: row 0
    int rowBytes;         // storage width * depth / 8
    int depth;            // bits a pixel
};

// A drawing buffer; one bit a pixel. The same fields.
struct draenv {
    drastorage* storage;
    short height;
    short width;
    unsigned char* base;
    int rowBytes;
    int depth;
};
static_assert(sizeof(draenv) == sizeof(drapix) &&
              offsetof(draenv, rowBytes) == offsetof(drapix, rowBytes));

// --- Making and releasing -----------------------------------------------------------------------

// A one-bit buffer, its width rounded up to a multiple of 32 pixels; the pixels are not cleared.
ONDREL_EXPORT draenv* draall(int height, int width);

// A map of 32 or 8 bits a pixel, filled with the bytes 00 FF FF FF again and again: white in 32
// bits, and the same bytes in 8. The last one to three bytes of an 8-bit map that do not make up
// four are not set. Null also for a map of 512 MiB or more.
ONDREL_EXPORT drapix* drapixall(int height, int width);
ONDREL_EXPORT drapix* drapix8all(int height, int width);

// Release the pixels, the storage and the header; null is ignored.
ONDREL_EXPORT void dradea(draenv* buffer);
ONDREL_EXPORT void drapixdea(drapix* map);

// --- Looking at the pixels ----------------------------------------------------------------------

// A bracket around drawing: drabuf takes base, rowBytes and depth anew from the storage, drabufend
// does nothing. Null is ignored.
ONDREL_EXPORT void drabuf(draenv* buffer);
ONDREL_EXPORT void drabufend(draenv* buffer);

// The storage's pixels as words, also in `*base`, and the pixels of a row in `*rowPixels`. The
// buffer must not be null.
ONDREL_EXPORT unsigned int* drabufloc(draenv* buffer, unsigned int** base, int* rowPixels);

// The start of row y, not checked against the height; null for no map or one without pixels.
ONDREL_EXPORT unsigned char* drabufbas(drapix* map, int y);

}  // namespace Ondrel

// A map of any depth, filled as above unless the depth is 1. Null where its size cannot be held in
// 29 bits. Its name stands outside of the namespace, where its other callers look for it.
ONDREL_EXPORT Ondrel::drapix* drapixallcou(int height, int width, int depth);

#endif
