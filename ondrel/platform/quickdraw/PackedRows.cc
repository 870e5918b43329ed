#include "ondrel/platform/quickdraw/PackedRows.h"

#include <algorithm>
#include <cstring>

namespace Ondrel::QuickDraw {
namespace {

constexpr std::uint8_t kNothing = 128;
constexpr int kRowsTried = 2;
constexpr std::size_t kMostPadding = 1;  // bytes behind the last run of a row

static_assert(kRowSlack == 16, "the blocks that are moved");

// Copies in blocks, which may go on behind the end by less than one; `from` has to have room for
// that as well.
void CopyBlocks(std::uint8_t* to, const std::uint8_t* from, std::size_t size) {
    for (std::size_t done = 0; done < size; done += kRowSlack)
        std::memcpy(to + done, from + done, kRowSlack);
}

// The same with a unit that is repeated.
template <std::size_t kUnit>
void FillBlocks(std::uint8_t* to, const std::uint8_t* unit, std::size_t size) {
    std::uint8_t block[kRowSlack];
    for (std::size_t at = 0; at < kRowSlack; at += kUnit)
        std::memcpy(block + at, unit, kUnit);
    for (std::size_t done = 0; done < size; done += kRowSlack)
        std::memcpy(to + done, block, kRowSlack);
}

const std::uint8_t* Start(std::string_view bytes) {
    return reinterpret_cast<const std::uint8_t*>(bytes.data());
}

// Units of kUnit bytes. The loop holds on to: at <= end, made <= size.
template <std::size_t kUnit>
Unpacked UnpackUnits(std::string_view packed, std::uint8_t* row, std::size_t size) {
    const std::uint8_t* at = Start(packed);
    const std::uint8_t* const end = at + packed.size();
    std::size_t made = 0;
    while (made < size && at < end) {
        const std::uint8_t code = *at++;
        if (code == kNothing) continue;
        const std::size_t length = (code < kNothing ? code + 1U : 257U - code) * kUnit;
        const std::size_t stored = code < kNothing ? length : kUnit;
        const auto left = static_cast<std::size_t>(end - at);
        const std::size_t taken = std::min(length, size - made);
        if (stored > left && (code > kNothing || taken > left)) {  // the bytes end within the run
            const std::size_t rest = code < kNothing ? std::min(taken, left) : 0;
            std::memcpy(row + made, at, rest);
            return {packed.size(), made + rest, false};
        }
        if (code > kNothing) {
            FillBlocks<kUnit>(row + made, at, taken);
        } else if (left >= taken + kRowSlack) {
            CopyBlocks(row + made, at, taken);
        } else {
            std::memcpy(row + made, at, taken);
        }
        at += std::min(stored, left);
        made += taken;
        if (taken < length) return {static_cast<std::size_t>(at - Start(packed)), made, false};
    }
    return {static_cast<std::size_t>(at - Start(packed)), made, made == size};
}

}  // namespace

Unpacked UnpackBytes(std::string_view packed, std::uint8_t* row, std::size_t size) {
    return UnpackUnits<1>(packed, row, size);
}

Unpacked UnpackWords(std::string_view packed, std::uint8_t* row, std::size_t size) {
    return UnpackUnits<2>(packed, row, size);
}

Unpacked PackedRows::Unpack(std::string_view packed) {
    return packing_ == Packing::kWords ? UnpackWords(packed, row_.data(), size_)
                                       : UnpackBytes(packed, row_.data(), size_);
}

// Whether the rows come out full that way, and what was stored of their lengths agrees. The bytes
// are a copy: none are used up.
bool PackedRows::Fits(PictureBytes bytes, int rows, Form form) {
    for (int i = 0; i < rows; ++i) {
        const std::size_t count = form.countSize == 2 ? bytes.U16() : bytes.U8();
        PictureBytes rest = bytes;
        const std::string_view packed = rest.Take(form.isCountTrue ? count : rest.Left());
        const Unpacked unpacked = Unpack(packed);
        const bool isCount = form.isCountTrue
                                 ? packed.size() - unpacked.used <= kMostPadding
                                 : (unpacked.used & (form.countSize == 2 ? 0xFFFF : 0xFF)) == count;
        if (!unpacked.isWhole || !isCount) return false;
        bytes.Skip(form.isCountTrue ? packed.size() : unpacked.used);
    }
    return true;
}

void PackedRows::Explore(const PictureBytes& bytes, int rows) {
    if (packing_ == Packing::kNone) return;
    const std::size_t other = 3 - countSize_;
    for (const Form form :
         {Form{countSize_, true}, Form{other, true}, Form{countSize_, false}, Form{other, false}}) {
        if (!Fits(bytes, std::min(rows, kRowsTried), form)) continue;
        countSize_ = form.countSize;
        isCountTrue_ = form.isCountTrue;
        return;
    }
}

const std::uint8_t* PackedRows::Next(PictureBytes& bytes) {
    if (packing_ == Packing::kNone) {
        const std::string_view row = bytes.Take(size_);
        return bytes.HasFailed() ? nullptr : Start(row);
    }
    const std::size_t count = countSize_ == 2 ? bytes.U16() : bytes.U8();
    PictureBytes rest = bytes;
    const std::string_view packed = isCountTrue_ ? bytes.Take(count) : rest.Take(rest.Left());
    const Unpacked unpacked = Unpack(packed);
    if (!isCountTrue_) bytes.Skip(unpacked.used);
    return unpacked.made < size_ ? nullptr : row_.data();
}

}  // namespace Ondrel::QuickDraw
