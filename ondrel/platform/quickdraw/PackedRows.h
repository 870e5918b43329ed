// The rows of a stored image, unpacked one by one. Internal to libOndrel.
//
// Packed rows are runs: a code below 128 says how many units less one follow as they are, one above
// 128 that the next unit stands 257 less the code times, 128 means nothing. A unit is a byte, or a
// pixel where 16-bit pixels are packed. A packed row has its length in front of it, in one byte, or
// in two where the rows as such are longer than 250 bytes.
//
// Not everyone kept to that: there are pictures with one-byte lengths in front of long rows, and
// lengths that were cut to one byte. So the first rows are tried: when the lengths by the rule do
// not lead from row to row, the other size does, or rows that are followed until they are full do,
// that is taken.
#ifndef ONDREL_PLATFORM_QUICKDRAW_PACKEDROWS_H
#define ONDREL_PLATFORM_QUICKDRAW_PACKEDROWS_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "ondrel/platform/quickdraw/PictureBytes.h"

namespace Ondrel::QuickDraw {

// What became of packed bytes.
struct Unpacked {
    std::size_t used = 0;  // of the packed bytes
    std::size_t made = 0;  // of the row
    bool isWhole = false;  // the row is full, and no run would have gone on
};

// Unpacks until the row of `size` bytes is full or the bytes end.
Unpacked UnpackBytes(std::string_view packed, std::uint8_t* row, std::size_t size);

// The same for units of two bytes; `size` is even.
Unpacked UnpackWords(std::string_view packed, std::uint8_t* row, std::size_t size);

// How rows are stored.
enum class Packing : std::uint8_t { kNone, kBytes, kWords };

class PackedRows {
 public:
    // `size`: bytes of a row as unpacked. `countedBytes`: the length of rows that decides about the
    // size of their packed lengths. Throws std::bad_alloc. An odd byte of rows of words is left
    // out.
    PackedRows(Packing packing, std::size_t size, std::size_t countedBytes)
        : packing_(packing),
          size_(packing == Packing::kWords ? size / 2 * 2 : size),
          countSize_(countedBytes > 250 ? 2 : 1),
          row_(packing == Packing::kNone ? 0 : size) {}

    // Looks at the next rows, at most `rows`, to find out how their lengths are stored.
    void Explore(const PictureBytes& bytes, int rows);

    // The next row, valid until the next call. Null when it ends early; `bytes` has failed then or
    // stands behind the row. What is longer than a row is passed over.
    const std::uint8_t* Next(PictureBytes& bytes);

 private:
    struct Form {
        std::size_t countSize;
        bool isCountTrue;  // otherwise it was cut, and a row goes on until it is full
    };

    bool Fits(PictureBytes bytes, int rows, Form form);
    Unpacked Unpack(std::string_view packed);

    Packing packing_;
    std::size_t size_;
    std::size_t countSize_;
    bool isCountTrue_ = true;  // see Form
    std::vector<std::uint8_t> row_;
};

}  // namespace Ondrel::QuickDraw

#endif
