// The PackBits encoder. A row is cut into runs of equal bytes and the stretches between them by
// masks that tell where neighbours are equal (equalruns.h); the codes depend on nothing but the
// row, wherever the buffer happens to be full.
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

// The runs of a row, found in increasing order. A stretch is what a literal takes in one go: single
// bytes, and runs of two that have single bytes on both sides. What ends one is a break: a longer
// run, or one of two that is followed by another run or the row's end. (A run of two that two masks
// share counts as a break as well, for it is not seen whole.)
class Runs {
 public:
    // `repeatsLast`: copies of the last byte follow, so that it is not single.
    Runs(const unsigned char* row, int length, bool repeatsLast)
        : row_(row), length_(length), least_(repeatsLast ? 4 : 3) {
        Load(0);
    }

    // The first break from the start of a run on; the length of the row where there is none.
    int NextBreak(int at) {
        return Find(at, [this] { return Breaks(); });
    }

    // The last byte of a run, from one of its bytes on.
    int EndOfRun(int at) {
        return Find(at, [this] { return ~equal_; });
    }

 private:
    // The first place from `at` on that has its bit set.
    template <class GetMask>
    int Find(int at, GetMask getMask) {
        int place = at - start_;
        for (;;) {
            if (place < EqualRuns::kPlaces) {
                const std::uint64_t ahead = getMask() >> place;
                if (ahead != 0) return start_ + place + std::countr_zero(ahead);
                place = EqualRuns::kPlaces;
            }
            if (length_ - start_ <= EqualRuns::kPlaces) return length_;
            place -= EqualRuns::kPlaces;
            Load(start_ + EqualRuns::kPlaces);
        }
    }

    void Load(int start) {
        start_ = start;
        const int left = length_ - start;
        if (left > EqualRuns::kPlaces) {
            equal_ = EqualRuns::Mask(row_ + start);
            followed_ = EqualRuns::kPlaces - 2;
            return;
        }
        // The end of the row: what lies behind it may not be read.
        unsigned char end[EqualRuns::kPlaces + 1] = {};
        std::memcpy(end, row_ + start, static_cast<std::size_t>(left));
        equal_ = EqualRuns::Mask(end) & LowBits(left - 1);
        followed_ = left - least_ + 1;
    }

    // The bits of `equal_` that belong to no stretch.
    std::uint64_t Breaks() const {
        if (equal_ == 0) return 0;
        const std::uint64_t pairs = equal_ & ~(equal_ << 1) & ~(equal_ >> 1) & ~(equal_ >> 2);
        return equal_ & ~(pairs & LowBits(followed_));
    }

    static std::uint64_t LowBits(int n) { return n < 1 ? 0 : (std::uint64_t{1} << n) - 1; }

    const unsigned char* row_;
    int length_;
    int least_;  // bytes from a run of two to the end of the row, if a single byte is to follow it
    int start_ = 0;
    std::uint64_t equal_ = 0;  // bit i: this byte equals the next one
    int followed_ = 0;  // so many of the first places are followed by two more that the mask covers
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

    // A stretch of at least one byte.
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
    Runs runs(data, length, extra > 0);
    // The copies make a run of the last byte, also where it stands alone.
    const int endOfStretches = extra > 0 ? length - 1 : length;
    for (int at = 0; at < length;) {
        const int run = std::min(runs.NextBreak(at), endOfStretches);
        if (run > at) packer.AddStretch(data + at, run - at);
        if (run == length) break;
        at = std::min(runs.EndOfRun(run), length - 1) + 1;
        const std::int64_t copies = at == length ? std::max(extra, 0) : 0;
        packer.AddRun(data[run], at - run + copies);
    }
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
