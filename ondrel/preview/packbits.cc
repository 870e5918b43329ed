// The PackBits encoder. A row is cut into runs of equal bytes and the stretches between them by
// masks that tell where neighbours are equal (equalruns.h); the codes depend on nothing but the
// row, wherever the buffer happens to be full. Items that one code holds, which are nearly all of a
// photograph's, are written without a branch that depends on the bytes: what a processor guesses
// wrong costs more than copying too much.
#include <algorithm>
#include <bit>
#include <climits>
#include <cstdint>
#include <cstring>

#include "ondrel/preview/encoders.h"
#include "ondrel/preview/equalruns.h"

namespace Ondrel {
namespace {

constexpr int kMostInCode = 128;  // bytes that one code can stand for
constexpr int kCopied = 64;       // bytes that are copied in one go
constexpr int kReadAhead = EqualRuns::kPlaces + kMostInCode;
constexpr int kMostOfBlock = 3 * kReadAhead;  // codes of its short items, and what they copy
constexpr unsigned char kEndMark = 0x80;

constexpr std::array<unsigned char, 256> MakeIdentity() {
    std::array<unsigned char, 256> table{};
    for (unsigned i = 0; i < 256; ++i)
        table[i] = static_cast<unsigned char>(i);
    return table;
}

constexpr unsigned char LiteralCount(int bytes) {
    return static_cast<unsigned char>(bytes - 1);
}

constexpr unsigned char RepeatCount(std::int64_t bytes) {
    return static_cast<unsigned char>(1 - bytes);
}

// A run, or a stretch.
struct Item {
    const unsigned char* bytes;
    bool isRun;
};

// A row as a sequence of items: runs of two or more equal bytes, and the stretches between them,
// which a literal takes in one go. A stretch is made of single bytes, and of runs of two that stand
// behind one of its single bytes and before another: those stay literal. No stretch follows
// another.
class Items {
 public:
    // Bits of 64 places of the row.
    struct Block {
        std::uint64_t starts;  // an item starts here, and another one ends; not at the row's start
        std::uint64_t runs;    // a run starts here
    };

    // `repeatsLast`: copies of the last byte follow, so that it is not single.
    Items(const unsigned char* row, int length, bool repeatsLast)
        : row_(row), length_(length), repeatsLast_(repeatsLast), ahead_(Load(0)) {}

    // The next block, from the first one on. Nothing starts behind the row.
    Block Next() {
        const std::uint64_t behind = equal_;
        equal_ = ahead_;
        const int place = place_;
        place_ += EqualRuns::kPlaces;
        ahead_ = Load(place_);
        if (equal_ == behind && (equal_ == 0 || equal_ == ~std::uint64_t{0})) {
            // Within single bytes, or within one run, which may end behind the block's last bit.
            endsBehind_ = equal_ & (~ahead_ << 63);
            return {0, 0};
        }

        const std::uint64_t up1 = equal_ << 1 | behind >> 63;
        const std::uint64_t up2 = equal_ << 2 | behind >> 62;
        const std::uint64_t down1 = equal_ >> 1 | ahead_ << 63;
        const std::uint64_t down2 = equal_ >> 2 | ahead_ << 62;
        const std::uint64_t first = equal_ & ~up1;
        const std::uint64_t last = equal_ & ~down1;
        // Two bytes, and a single one behind them.
        const std::uint64_t pairs = first & last & ~down2 & LowBits(length_ - 2 - place);
        const std::uint64_t rowStart = place == 0 ? 1 : 0;
        const std::uint64_t runs = first & (~pairs | up2 | rowStart);
        const std::uint64_t ends = last & ~(pairs & ~runs);
        const std::uint64_t behindEnds = ends << 2 | endsBehind_ >> 62;
        endsBehind_ = ends;
        return {(runs | behindEnds) & ~rowStart & LowBits(length_ - place), runs};
    }

    // Before the first block.
    bool StartsWithRun() const { return (ahead_ & 1) != 0; }

 private:
    // Bit i: the byte there equals the next one.
    std::uint64_t Load(int place) const {
        const int left = length_ - place;
        if (left > EqualRuns::kPlaces) return EqualRuns::Mask(row_ + place);
        if (left < 1) return 0;
        // The end of the row: what lies behind it may not be read.
        unsigned char end[EqualRuns::kPlaces + 1] = {};
        std::memcpy(end, row_ + place, static_cast<std::size_t>(left));
        const std::uint64_t beforeLast = EqualRuns::Mask(end) & LowBits(left - 1);
        return repeatsLast_ ? beforeLast | std::uint64_t{1} << (left - 1) : beforeLast;
    }

    static std::uint64_t LowBits(int n) {
        if (n >= EqualRuns::kPlaces) return ~std::uint64_t{0};
        return n < 1 ? 0 : (std::uint64_t{1} << n) - 1;
    }

    const unsigned char* row_;
    int length_;
    bool repeatsLast_;
    int place_ = 0;  // of the block that comes next
    std::uint64_t equal_ = 0;
    std::uint64_t ahead_;
    std::uint64_t endsBehind_ = 0;
};

// The end of a row with room behind it, so that items there can be copied as all others are.
class RowEnd {
 public:
    bool IsUsed() const { return isUsed_; }

    // Moves what is left of the row, from the current item on; the pointers then lead here. Leaves
    // all as it is when that is done, or the item is a long one.
    void TakeOver(Item* item, const unsigned char** at, const unsigned char** end) {
        if (isUsed_ || *at - item->bytes > kMostInCode) return;
        const std::ptrdiff_t size = *end - item->bytes;
        std::memcpy(bytes_, item->bytes, static_cast<std::size_t>(size));
        std::memset(bytes_ + size, 0, kMostInCode);
        *at = bytes_ + (*at - item->bytes);
        *end = bytes_ + size;
        item->bytes = bytes_;
        isUsed_ = true;
    }

 private:
    unsigned char bytes_[kMostInCode + kReadAhead + kMostInCode];
    bool isUsed_ = false;
};

}  // namespace

constinit const std::array<unsigned char, 256> KesPackBitsEncode::mNoRevTab = MakeIdentity();

// Writes the codes of one call. It stands on values of its own and not on the encoder's members,
// which every byte stored could change for all that the compiler knows.
class KesPackBitsEncode::Packer {
 public:
    explicit Packer(KesPackBitsEncode* encoder)
        : encoder_(encoder),
          cursor_(encoder->cursor_),
          limit_(encoder->buffer_ + encoder->bufferSize_),
          reversed_(encoder->table_ != mNoRevTab.data()) {}

    unsigned char* Cursor() const { return cursor_; }

    // Adds the short items that end in a block, from the current one up to the first that is long;
    // answers the ends that are left. The row has kReadAhead bytes from the block on. The literal
    // of a stretch counts as closed: the item behind it is a run, which has room for its code and
    // joins no literal.
    std::uint64_t AddShort(const unsigned char* place, const Items::Block& block, Item* item) {
        if (literal_ != nullptr || reversed_ || limit_ - cursor_ < kMostOfBlock)
            return block.starts;
        if (item->isRun && (block.starts & ~block.runs) == 0)
            return AddShortRuns(place, block, item);
        return AddShortItems(place, block, item);
    }

    // Adds an item, and so many copies of its last byte.
    void AddItem(const Item& item, const unsigned char* end, int copies) {
        if (item.isRun || copies > 0)
            AddRun(*item.bytes, std::int64_t{end - item.bytes} + copies);
        else
            AddStretch(item.bytes, static_cast<int>(end - item.bytes));
    }

    // Adds the items that end in a block, of any length.
    [[gnu::noinline]] void AddEach(const unsigned char* place, const Items::Block& block,
                                   Item* item) {
        for (std::uint64_t starts = block.starts; starts != 0; starts &= starts - 1) {
            const int bit = std::countr_zero(starts);
            AddItem(*item, place + bit, 0);
            *item = {place + bit, (block.runs >> bit & 1) != 0};
        }
    }

    // A stretch of at least one byte, behind the row's start or a run.
    void AddStretch(const unsigned char* bytes, int n) {
        if (foldable_) JoinOrClose(bytes, n);
        while (n > 0) {
            int part = 2;
            if (literal_ == nullptr && StartsWithPair(bytes, n)) {
                WriteCode(RepeatCount(2), Stored(*bytes));
            } else {
                OpenLiteral();
                part = AddToLiteral(bytes, n);
            }
            bytes += part;
            n -= part;
        }
    }

    // `n` equal bytes, at least two.
    void AddRun(unsigned char byte, std::int64_t n) {
        if (foldable_) CloseLiteral();
        const unsigned char stored = Stored(byte);
        if (literal_ != nullptr) {
            const std::int64_t part = std::min<std::int64_t>(n, kMostInCode);
            WriteCode(RepeatCount(part), stored);
            if (n == 2 && size_ + 2 <= kMostInCode) {
                foldable_ = true;
                return;
            }
            CloseLiteral();
            n -= part;
        }
        for (; n > kMostInCode; n -= kMostInCode)
            WriteCode(RepeatCount(kMostInCode), stored);
        if (n > 1)
            WriteCode(RepeatCount(n), stored);
        else if (n == 1)
            AddStretch(&byte, 1);
    }

 private:
    // A block with nothing else.
    std::uint64_t AddShortRuns(const unsigned char* place, const Items::Block& block, Item* item) {
        std::uint64_t starts = block.starts;
        const unsigned char* bytes = item->bytes;
        unsigned char* out = cursor_;
        for (; starts != 0; starts &= starts - 1) {
            const unsigned char* const end = place + std::countr_zero(starts);
            if (end - bytes > kMostInCode) break;
            out[0] = RepeatCount(end - bytes);
            out[1] = *bytes;
            out += 2;
            bytes = end;
        }
        cursor_ = out;
        item->bytes = bytes;
        return starts;
    }

    // In one go each.
    std::uint64_t AddShortItems(const unsigned char* place, const Items::Block& block, Item* item) {
        std::uint64_t starts = block.starts;
        const std::uint64_t runs = block.runs;
        const unsigned char* bytes = item->bytes;
        unsigned char* out = cursor_;
        // All bits set for a run: no branch depends on what it is.
        std::int64_t run = item->isRun ? -1 : 0;
        for (; starts != 0; starts &= starts - 1) {
            const std::int64_t bit = std::countr_zero(starts);
            const std::int64_t more = place + bit - bytes - 1;
            if (more >= kMostInCode) break;
            *out = static_cast<unsigned char>((more ^ run) - run);
            std::memcpy(out + 1, bytes, kCopied);
            if (more >= kCopied) [[unlikely]]
                std::memcpy(out + 1 + kCopied, bytes + kCopied, kCopied);
            out += 2 + (more & ~run);
            bytes += more + 1;
            run = -static_cast<std::int64_t>(runs >> bit & 1);
        }
        cursor_ = out;
        *item = {bytes, run != 0};
        return starts;
    }

    void MakeRoom(int bytes) {
        if (limit_ - cursor_ < bytes) Spill();
    }

    // Hands over what is finished. A literal that is open stays, at the start of the buffer: its
    // count is not known yet.
    void Spill() {
        unsigned char* const buffer = encoder_->buffer_;
        unsigned char* const keep = literal_ != nullptr ? literal_ : cursor_;
        const std::ptrdiff_t kept = cursor_ - keep;
        encoder_->output_->WriteEncoded(buffer, static_cast<unsigned long>(keep - buffer));
        std::memmove(buffer, keep, static_cast<std::size_t>(kept));
        if (literal_ != nullptr) literal_ = buffer;
        cursor_ = buffer + kept;
    }

    void WriteCode(unsigned char count, unsigned char stored) {
        MakeRoom(2);
        cursor_[0] = count;
        cursor_[1] = stored;
        cursor_ += 2;
    }

    unsigned char Stored(unsigned char byte) const { return encoder_->table_[byte]; }

    static bool StartsWithPair(const unsigned char* bytes, int n) {
        return n > 1 && bytes[0] == bytes[1];
    }

    // There is a literal then, and room for one more byte in it.
    void OpenLiteral() {
        MakeRoom(literal_ == nullptr ? 2 : 1);
        if (literal_ != nullptr) return;
        literal_ = cursor_++;
        size_ = 0;
    }

    // As many bytes of a stretch as the literal and the buffer have room for; answers how many. Two
    // equal bytes of which the literal would take only the first are a repeat behind it.
    int AddToLiteral(const unsigned char* bytes, int n) {
        const auto room = static_cast<int>(std::min<std::ptrdiff_t>(limit_ - cursor_, kMostInCode));
        const int part = std::min({n, kMostInCode - size_, room});
        if (size_ + part < kMostInCode || part == n || bytes[part - 1] != bytes[part]) {
            CopyToLiteral(bytes, part);
            return part;
        }
        CopyToLiteral(bytes, part - 1);
        WriteCode(RepeatCount(2), Stored(bytes[part]));
        CloseLiteral();
        return part + 1;
    }

    void CloseLiteral() {
        literal_ = nullptr;
        foldable_ = false;
    }

    void CopyToLiteral(const unsigned char* bytes, int n) {
        if (reversed_)
            BitInversion(bytes, n, cursor_);
        else if (n == kMostInCode)
            std::memcpy(cursor_, bytes, kMostInCode);  // a size that the compiler knows
        else
            std::memcpy(cursor_, bytes, static_cast<std::size_t>(n));
        cursor_ += n;
        GrowLiteral(n);
    }

    void GrowLiteral(int n) {
        size_ += n;
        *literal_ = LiteralCount(size_);
        if (size_ == kMostInCode) CloseLiteral();
    }

    // The two equal bytes behind the literal join it when a single one follows: the repeat's count
    // becomes the first of them.
    void JoinOrClose(const unsigned char* bytes, int n) {
        if (StartsWithPair(bytes, n)) return CloseLiteral();
        cursor_[-2] = cursor_[-1];
        foldable_ = false;
        GrowLiteral(2);
    }

    KesPackBitsEncode* encoder_;
    unsigned char* cursor_;
    unsigned char* limit_;
    unsigned char* literal_ = nullptr;  // the count byte of the open literal
    int size_ = 0;                      // bytes in it
    bool foldable_ = false;             // behind it stands a repeat of two that may join it
    bool reversed_;
};

KesPackBitsEncode::KesPackBitsEncode(int width, int depth, bool endMark, KesEncoderOutput* output)
    : KesEncoder(static_cast<unsigned>(width), static_cast<unsigned>(depth), output, 0),
      endMark_(endMark),
      cursor_(buffer_),
      table_(depth == 1 ? mBitRevTab.data() : mNoRevTab.data()) {}

KesPackBitsEncode::~KesPackBitsEncode() = default;

void KesPackBitsEncode::Encode(const unsigned char* data, int length, int extra) {
    if (length < 1) return;
    Packer packer(this);
    Items items(data, length, extra > 0);
    Item item{data, items.StartsWithRun()};
    RowEnd rowEnd;
    const unsigned char* at = data;
    const unsigned char* end = data + length;
    for (int left = length; left > 0; left -= EqualRuns::kPlaces, at += EqualRuns::kPlaces) {
        Items::Block block = items.Next();
        if (block.starts == 0) continue;
        if (left < kReadAhead) rowEnd.TakeOver(&item, &at, &end);
        if (left >= kReadAhead || rowEnd.IsUsed()) block.starts = packer.AddShort(at, block, &item);
        if (block.starts != 0) packer.AddEach(at, block, &item);
    }
    packer.AddItem(item, end, std::max(extra, 0));
    cursor_ = packer.Cursor();
}

void KesPackBitsEncode::EncodeRaw(const unsigned char* data, int length) {
    Encode(data, length, 0);
}

void KesPackBitsEncode::EncodeRecord(const unsigned char* row, int pixels) {
    const std::int64_t bytes = (std::int64_t{pixels} * depth_ + 7) / 8;
    if (pixels < 1 || bytes > INT_MAX) return;
    Encode(row, static_cast<int>(bytes),
           static_cast<int>(std::clamp<std::int64_t>(rowBytes_ - bytes, 0, INT_MAX)));
}

void KesPackBitsEncode::Flush() {
    if (cursor_ != buffer_) {
        const auto length = static_cast<unsigned long>(cursor_ - buffer_);
        cursor_ = buffer_;
        output_->WriteEncoded(buffer_, length);
    }
    if (endMark_) output_->WriteEncoded(&kEndMark, 1);
}

}  // namespace Ondrel
