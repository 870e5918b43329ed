#include "ondrel/platform/quickdraw/PackedRows.h"

#include <algorithm>
#include <cstring>

namespace Ondrel::QuickDraw {
namespace {

constexpr std::uint8_t kNothing = 128;
constexpr int kRowsTried = 2;
constexpr std::size_t kMostPadding = 1;  // bytes behind the last run of a row

constexpr std::size_t kBlock = 16;

// Where the unpacking stands: the bytes that are left, and the room that is left in the row.
struct Place {
    const std::uint8_t* at;
    const std::uint8_t* end;
    std::uint8_t* to;
    std::size_t room;
};

// What a code stands for.
struct Run {
    std::size_t length;  // in bytes, of the row
    std::size_t stored;  // of the packed bytes
    bool isRepeated;
};

template <std::size_t kUnit>
Run RunOf(std::uint8_t code) {
    const bool isRepeated = code > kNothing;
    const std::size_t length = (isRepeated ? 257U - code : code + 1U) * kUnit;
    return {length, isRepeated ? kUnit : length, isRepeated};
}

// Eight bytes of a unit repeated.
template <std::size_t kUnit>
std::uint64_t Repeated(const std::uint8_t* unit) {
    if constexpr (kUnit == 1) return *unit * UINT64_C(0x0101010101010101);
    std::uint16_t word = 0;
    std::memcpy(&word, unit, sizeof word);
    return word * UINT64_C(0x0001000100010001);
}

// Moves a run in blocks; what is read and written may go on behind its end, by less than a block.
// What a short run is decides nothing but what is in its one block, for it cannot be foretold.
template <std::size_t kUnit>
void MoveRun(const Run& run, const std::uint8_t* from, std::uint8_t* to) {
    const std::uint64_t repeated = Repeated<kUnit>(from);
    const std::uint64_t mask = run.isRepeated ? ~UINT64_C(0) : 0;
    std::uint64_t block[kBlock / sizeof(std::uint64_t)];
    std::memcpy(block, from, kBlock);
    block[0] = (block[0] & ~mask) | (repeated & mask);
    block[1] = (block[1] & ~mask) | (repeated & mask);
    std::memcpy(to, block, kBlock);
    for (std::size_t done = kBlock; done < run.length; done += kBlock) {
        if (!run.isRepeated) std::memcpy(block, from + done, kBlock);
        std::memcpy(to + done, block, kBlock);
    }
}

// Runs as long as the longest there are would fit, in the bytes and in the row.
template <std::size_t kUnit>
void UnpackFarFromTheEnds(Place& place) {
    constexpr std::size_t kLongest = 128 * kUnit;
    static_assert(kLongest % kBlock == 0, "the last block of a run ends where the longest does");
    while (place.room >= kLongest &&
           static_cast<std::size_t>(place.end - place.at) > kLongest + kBlock) {
        const std::uint8_t code = *place.at++;
        if (code == kNothing) continue;
        const Run run = RunOf<kUnit>(code);
        MoveRun<kUnit>(run, place.at, place.to);
        place.at += run.stored;
        place.to += run.length;
        place.room -= run.length;
    }
}

template <std::size_t kUnit>
void Fill(std::uint8_t* to, const std::uint8_t* unit, std::size_t size) {
    for (std::size_t done = 0; done < size; done += kUnit)
        std::memcpy(to + done, unit, kUnit);
}

// One run; false when it goes on behind the bytes or the row, of which then none is left.
template <std::size_t kUnit>
bool UnpackRun(Place& place) {
    const std::uint8_t code = *place.at++;
    if (code == kNothing) return true;
    const Run run = RunOf<kUnit>(code);
    const std::size_t stored = std::min(run.stored, static_cast<std::size_t>(place.end - place.at));
    if (run.isRepeated && stored < kUnit) {
        place.at = place.end;
        return false;
    }
    const std::size_t length = std::min(run.isRepeated ? run.length : stored, place.room);
    if (run.isRepeated) {
        Fill<kUnit>(place.to, place.at, length);
    } else {
        std::memcpy(place.to, place.at, length);
    }
    place.at += stored;
    place.to += length;
    place.room -= length;
    return length == run.length;
}

template <std::size_t kUnit>
Unpacked UnpackUnits(std::string_view packed, std::uint8_t* row, std::size_t size) {
    const auto* const start = reinterpret_cast<const std::uint8_t*>(packed.data());
    Place place{start, start + packed.size(), row, size};
    UnpackFarFromTheEnds<kUnit>(place);
    bool isWhole = true;
    while (isWhole && place.room > 0 && place.at < place.end)
        isWhole = UnpackRun<kUnit>(place);
    return {static_cast<std::size_t>(place.at - start), size - place.room,
            isWhole && place.room == 0};
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
        return bytes.HasFailed() ? nullptr : reinterpret_cast<const std::uint8_t*>(row.data());
    }
    const std::size_t count = countSize_ == 2 ? bytes.U16() : bytes.U8();
    PictureBytes rest = bytes;
    const std::string_view packed = isCountTrue_ ? bytes.Take(count) : rest.Take(rest.Left());
    const Unpacked unpacked = Unpack(packed);
    if (!isCountTrue_) bytes.Skip(unpacked.used);
    return unpacked.made < size_ ? nullptr : row_.data();
}

}  // namespace Ondrel::QuickDraw
