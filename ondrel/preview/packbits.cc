// The PackBits encoder. A row is cut into runs of equal bytes and the stretches between them by
// masks that tell where items start (rowitems.h); the codes depend on nothing but the
// row, wherever the buffer happens to be full. Items that one code holds, which are nearly all of a
// photograph's, are written without a branch that depends on the bytes: what a processor guesses
// wrong costs more than copying too much.
#include <algorithm>
#include <bit>
#include <climits>
#include <cstdint>
#include <cstring>

#include "ondrel/preview/encoders.h"
#include "ondrel/preview/rowitems.h"

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

// The end of a row with room behind it, so that items there can be copied as all others are.
class RowEnd {
 public:
    // Moves what is left of the row, from the current item on, unless that is done; the block then
    // counts from Bytes(). False, and all stays as it is: the item is a long one.
    bool TakeOver(const unsigned char* row, int length, ItemStarts* block, Item* item) {
        if (!IsUsed()) {
            start_ = item->bytes - row;
            if (block->place - start_ > kMostInCode) return false;
            const std::int64_t size = length - start_;
            std::memcpy(bytes_, item->bytes, static_cast<std::size_t>(size));
            std::memset(bytes_ + size, 0, kMostInCode);
            item->bytes = bytes_;
            end_ = bytes_ + size;
        }
        block->place -= start_;
        return true;
    }

    bool IsUsed() const { return end_ != nullptr; }
    const unsigned char* Bytes() const { return bytes_; }
    const unsigned char* End() const { return end_; }

 private:
    unsigned char bytes_[kMostInCode + kReadAhead + kMostInCode];
    const unsigned char* end_ = nullptr;
    std::int64_t start_ = 0;
};

// The blocks that have kReadAhead bytes of the row from their places on.
int CountFar(const ItemStarts* blocks, int count, int length) {
    while (count > 0 && blocks[count - 1].place > length - kReadAhead)
        --count;
    return count;
}

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

    // Adds the items that end in so many blocks. The row has kReadAhead bytes from the last one on.
    void AddBlocks(const unsigned char* row, ItemStarts* blocks, int count, Item* item) {
        Short now{item->bytes, item->isRun, cursor_};
        for (ItemStarts* block = blocks; block < blocks + count; ++block) {
            const unsigned char* const place = row + block->place;
            if (MayCopy() && limit_ - now.out >= kMostOfBlock && AddShort(place, block, &now))
                continue;
            *item = {now.bytes, now.isRun};
            cursor_ = now.out;
            AddEach(place, *block, item);
            now = {item->bytes, item->isRun, cursor_};
        }
        *item = {now.bytes, now.isRun};
        cursor_ = now.out;
    }

    // Adds an item, and so many copies of its last byte.
    void AddItem(const Item& item, const unsigned char* end, int copies) {
        if (item.isRun || copies > 0)
            AddRun(*item.bytes, std::int64_t{end - item.bytes} + copies);
        else
            AddStretch(item.bytes, static_cast<int>(end - item.bytes));
    }

    // Adds the items that end in a block, of any length.
    [[gnu::noinline]] void AddEach(const unsigned char* place, const ItemStarts& block,
                                   Item* item) {
        for (std::uint64_t starts = block.runs | block.ends; starts != 0; starts &= starts - 1) {
            const int bit = std::countr_zero(starts);
            AddItem(*item, place + bit, 0);
            *item = {place + bit, (block.runs >> bit & 1) != 0};
        }
    }

    // A stretch of at least one byte, behind the row's start or a run.
    void AddStretch(const unsigned char* bytes, int n) {
        if (foldable_) JoinOrClose(bytes, n);
        while (n > 0) {
            const int part = AddPart(bytes, n);
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
    // Takes the lowest bit that is set, and answers its place.
    static std::int64_t TakeFirst(std::uint64_t* bits) {
        const auto bit = static_cast<unsigned>(std::countr_zero(*bits));
        *bits &= *bits - 1;
        return bit;
    }

    // A literal of up to 128 bytes, or nothing; answers where it ends. Writes on behind it.
    static unsigned char* PutStretch(const unsigned char* bytes, std::int64_t n,
                                     unsigned char* out) {
        *out = static_cast<unsigned char>(n - 1);
        std::memcpy(out + 1, bytes, kCopied);
        if (n > kCopied) [[unlikely]]
            std::memcpy(out + 1 + kCopied, bytes + kCopied, kCopied);
        const std::int64_t hasCode = (n + 127) >> 7;  // 0 or 1
        return out + n + hasCode;
    }

    // Where the adding of short items stands: the current item, and where its code goes.
    struct Short {
        const unsigned char* bytes;
        bool isRun;
        unsigned char* out;
    };

    // No literal is open, and bytes are stored as they are. The literal of a short stretch counts
    // as closed: the item behind it is a run, which has room for its code and joins no literal.
    bool MayCopy() const { return literal_ == nullptr && !reversed_; }

    // Adds the items that end in a block. False: up to the first that is long, and they are taken
    // out of the block.
    static bool AddShort(const unsigned char* place, ItemStarts* block, Short* now) {
        if (now->isRun && (block->ends & ~block->runs) == 0) return AddShortRuns(place, block, now);
        return AddShortItems(place, block, now);
    }

    // A block with nothing else.
    static bool AddShortRuns(const unsigned char* place, ItemStarts* block, Short* now) {
        std::uint64_t ends = block->ends;
        std::int64_t start = now->bytes - place;
        unsigned char* out = now->out;
        for (; ends != 0; ends &= ends - 1) {
            const auto end = static_cast<unsigned>(std::countr_zero(ends));
            if (end - start > kMostInCode) break;
            out[0] = RepeatCount(end - start);
            out[1] = place[start];
            out += 2;
            start = end;
        }
        *now = {place + start, true, out};
        return ends == 0 || TakeOut(start, block);
    }

    // Each run with the stretch before it, which may be empty, in one go: but for their ends there
    // is no branch on what they are.
    static bool AddShortItems(const unsigned char* place, ItemStarts* block, Short* now) {
        std::uint64_t runs = block->runs;
        std::uint64_t ends = block->ends;
        std::int64_t start = now->bytes - place;
        std::int64_t run = now->isRun ? start : TakeFirst(&runs);
        unsigned char* out = now->out;
        for (;;) {
            const std::int64_t stretch = run - start;
            if (ends == 0) {
                // The run goes on behind the block.
                if (stretch >= kMostInCode) break;
                *now = {place + run, true, PutStretch(place + start, stretch, out)};
                return true;
            }
            const std::int64_t end = TakeFirst(&ends);
            if ((stretch | (end - run)) >= kMostInCode) break;
            out = PutStretch(place + start, stretch, out);
            out[0] = RepeatCount(end - run);
            out[1] = place[run];
            out += 2;
            start = end;
            if (runs == 0) {
                *now = {place + start, false, out};
                return true;
            }
            run = TakeFirst(&runs);
        }
        *now = {place + start, run == start, out};
        return TakeOut(start, block);
    }

    // Leaves what lies behind the start of the current item.
    static bool TakeOut(std::int64_t start, ItemStarts* block) {
        const std::uint64_t kept = start < 0 ? ~std::uint64_t{0} : ~std::uint64_t{1} << start;
        block->runs &= kept;
        block->ends &= kept;
        return false;
    }

    // Literals of the longest size, as long as none is to begin or to end within two equal bytes;
    // answers how many bytes that are. The last byte is left over.
    int AddWholeLiterals(const unsigned char* bytes, int n) {
        if (!MayCopy()) return 0;
        int done = 0;
        for (; n - done > kMostInCode && limit_ - cursor_ > kMostInCode; done += kMostInCode) {
            const unsigned char* const from = bytes + done;
            if (from[0] == from[1] || from[kMostInCode - 1] == from[kMostInCode]) break;
            *cursor_ = LiteralCount(kMostInCode);
            std::memcpy(cursor_ + 1, from, kMostInCode);
            cursor_ += 1 + kMostInCode;
        }
        return done;
    }

    // Adds the start of a stretch; answers how much of it.
    int AddPart(const unsigned char* bytes, int n) {
        if (const int whole = AddWholeLiterals(bytes, n); whole > 0) return whole;
        if (literal_ == nullptr && StartsWithPair(bytes, n)) {
            WriteCode(RepeatCount(2), Stored(*bytes));
            return 2;
        }
        OpenLiteral();
        return AddToLiteral(bytes, n);
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
    RowItems items(data, length, extra > 0);
    Item item = items.First();
    RowEnd rowEnd;
    ItemStarts blocks[RowItems::kMostBlocks];
    while (const int count = items.Next(blocks)) {
        const int far = CountFar(blocks, count, length);
        packer.AddBlocks(data, blocks, far, &item);
        for (ItemStarts* block = blocks + far; block < blocks + count; ++block) {
            if (rowEnd.TakeOver(data, length, block, &item))
                packer.AddBlocks(rowEnd.Bytes(), block, 1, &item);
            else
                packer.AddEach(data + block->place, *block, &item);
        }
    }
    const unsigned char* const end = rowEnd.IsUsed() ? rowEnd.End() : data + length;
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
