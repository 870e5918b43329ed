// Internal to preview/: a row of bytes as a sequence of items, of which PackBits codes are made.
//
// Items are runs of two or more equal bytes, and the stretches between them, which a literal takes
// in one go. A stretch is made of single bytes, and of runs of two that stand behind one of its
// single bytes and before another: those stay literal. No stretch follows another. Where items
// start is told 64 places of the row at a time, as bits of a word.
#ifndef ONDREL_PREVIEW_ROWITEMS_H
#define ONDREL_PREVIEW_ROWITEMS_H

#include <cstdint>
#include <cstring>

#include "ondrel/preview/equalruns.h"

namespace Ondrel {

// A run, or a stretch.
struct Item {
    const unsigned char* bytes;
    bool isRun;
};

// 64 places of a row in which an item starts, from `place` on, as bits. One starts where a run does
// and where one has ended, and another item ends there; the row's start does not count, and nothing
// starts behind the row.
struct ItemStarts {
    std::int64_t place;
    std::uint64_t runs;  // a run starts here
    std::uint64_t ends;  // a run has ended before
};

class RowItems {
 public:
    // `repeatsLast`: copies of the last byte follow, so that it is not single.
    RowItems(const unsigned char* row, int length, bool repeatsLast)
        : row_(row), length_(length), repeatsLast_(repeatsLast), ahead_(Load(0)) {}

    Item First() const { return {row_, (ahead_ & 1) != 0}; }

    static constexpr int kMostBlocks = 64;

    // The next blocks, from left to right; answers how many, 0 behind the last.
    int Next(ItemStarts blocks[kMostBlocks]) {
        RowItems items = *this;  // values of its own, which no block stored could change
        int count = 0;
        while (count < kMostBlocks && items.place_ < length_ - kLookedAhead)
            count += items.FindWithin(&blocks[count]);
        while (count < kMostBlocks && items.place_ < length_)
            count += items.FindAtEnd(&blocks[count]);
        *this = items;
        return count;
    }

 private:
    static constexpr int kPlaces = EqualRuns::kPlaces;
    static constexpr std::int64_t kLookedAhead = 2 * kPlaces + 2;  // bytes from a block's start on
    static constexpr std::uint64_t kAll = ~std::uint64_t{0};

    // One block each, where the one ahead is whole and more stands behind that, and where not.
    // Answer 0 where nothing starts in it, 1 otherwise.
    int FindWithin(ItemStarts* starts) {
        return Find(EqualRuns::Mask(row_ + place_ + kPlaces), kAll, starts) ? 1 : 0;
    }

    int FindAtEnd(ItemStarts* starts) {
        const std::int64_t left = length_ - place_;
        if (!Find(Load(place_ + kPlaces), LowBits(left - 2), starts)) return 0;
        starts->runs &= LowBits(left);
        starts->ends &= LowBits(left);
        return (starts->runs | starts->ends) != 0 ? 1 : 0;
    }

    // `mayBeLiteral`: bytes with two more behind them.
    bool Find(std::uint64_t nextAhead, std::uint64_t mayBeLiteral, ItemStarts* starts) {
        const std::uint64_t behind = equal_;
        equal_ = ahead_;
        ahead_ = nextAhead;
        const std::int64_t place = place_;
        place_ += kPlaces;
        if (equal_ == behind && (equal_ == 0 || equal_ == kAll)) {
            // Within single bytes, or within one run, which may end behind the block's last bit.
            endsBehind_ = equal_ & (~ahead_ << 63);
            return false;
        }

        const std::uint64_t up1 = equal_ << 1 | behind >> 63;
        const std::uint64_t up2 = equal_ << 2 | behind >> 62;
        const std::uint64_t down1 = equal_ >> 1 | ahead_ << 63;
        const std::uint64_t down2 = equal_ >> 2 | ahead_ << 62;
        const std::uint64_t first = equal_ & ~up1;
        const std::uint64_t last = equal_ & ~down1;
        // Two bytes, with a single one before and behind them.
        const std::uint64_t literal = first & last & ~(up2 | down2) & mayBeLiteral;
        const std::uint64_t ends = last & ~literal;
        const std::uint64_t rowStart = place == 0 ? 1 : 0;
        *starts = {place, first & ~literal & ~rowStart, ends << 2 | endsBehind_ >> 62};
        endsBehind_ = ends;
        return (starts->runs | starts->ends) != 0;
    }

    // Bit i: the byte there equals the next one.
    std::uint64_t Load(std::int64_t place) const {
        const std::int64_t left = length_ - place;
        if (left > kPlaces) return EqualRuns::Mask(row_ + place);
        if (left < 1) return 0;
        // The end of the row: what lies behind it may not be read.
        unsigned char end[kPlaces + 1] = {};
        std::memcpy(end, row_ + place, static_cast<std::size_t>(left));
        const std::uint64_t beforeLast = EqualRuns::Mask(end) & LowBits(left - 1);
        return repeatsLast_ ? beforeLast | std::uint64_t{1} << (left - 1) : beforeLast;
    }

    static std::uint64_t LowBits(std::int64_t n) {
        if (n >= kPlaces) return kAll;
        return n < 1 ? 0 : (std::uint64_t{1} << n) - 1;
    }

    const unsigned char* row_;
    std::int64_t length_;
    bool repeatsLast_;
    std::int64_t place_ = 0;  // of the block that comes next
    // Of the block before that one. No byte before the row's first is single.
    std::uint64_t equal_ = std::uint64_t{1} << 62;
    std::uint64_t ahead_;
    std::uint64_t endsBehind_ = 0;
};

}  // namespace Ondrel

#endif
