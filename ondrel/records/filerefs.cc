// File reference records. Texts are put together on the stack and handed to a reference when the
// record has been read whole, so that a record that is cut leaves the reference's text alone, and
// the base may be the target itself.
#include "ondrel/records/filerefs.h"

#include <algorithm>
#include <limits>

#include "ondrel/records/streamruns.h"

namespace Ondrel {

using namespace Records;

namespace {

constexpr int kKindAbsolute = 2;
constexpr int kKindRelative = 3;

// Stands for the shared components of a relative-only record, which the reader skips as one.
constexpr char kPlaceholder[] = "dummy:";
constexpr std::size_t kPlaceholderLength = sizeof kPlaceholder - 1;

// The longest text that a relative record gives to a reference.
constexpr int kLongestReference = 1021;

// More components than any text has.
constexpr int kWholeText = std::numeric_limits<int>::max();

// The text, also of a reference that has none.
const char* TextOf(const filref& ref) {
    return ref.path == nullptr ? "" : ref.path;
}

void Store16(unsigned char* out, std::size_t value) {
    out[0] = static_cast<unsigned char>(value >> 8);
    out[1] = static_cast<unsigned char>(value);
}

// A record without text: written, and then reported.
int WriteEmptyRecord(fil* f, int kind) {
    const unsigned char record[] = {static_cast<unsigned char>(kind), 0, 0};
    if (const int failure = WriteRun(f, record, sizeof record); failure < 0) return failure;
    return Fail(f);
}

// Makes sure that the reference has storage: 0, or -1 with -108 latched.
int MakeStorage(fil* f, filref& ref) {
    ref.allocate();
    if (ref.path != nullptr) return 0;
    Latch(f, memFullErr);
    return Fail(f);
}

int SkipBytes(fil* f, int n) {
    unsigned char dropped[kFilrefSize];
    while (n > 0) {
        const int step = std::min(n, kFilrefSize);
        if (const int failure = filrea(f, dropped, step); failure < 0) return failure;
        n -= step;
    }
    return 0;
}

std::size_t CountComponents(const char* text) {
    return 1 + static_cast<std::size_t>(std::count(text, text + std::strlen(text), ':'));
}

struct Relation {
    std::size_t shared;  // leading components that are equal and end in both texts
    std::size_t tail;    // where the component begins in which the texts part
};

bool EndsComponent(char c) {
    return c == ':' || c == 0;
}

// A component ends with ':' or with its text. So the last one of the shorter text is shared when
// one text leads the other, and then it begins the tail too, as the last one of equal texts does.
Relation Compare(const char* base, const char* target) {
    Relation relation = {0, 0};
    std::size_t i = 0;
    for (; base[i] == target[i] && base[i] != 0; ++i)
        if (base[i] == ':') relation = {relation.shared + 1, i + 1};
    if (EndsComponent(base[i]) && EndsComponent(target[i])) ++relation.shared;
    return relation;
}

// A text that is built up to a limit; one that does not fit is empty.
class Builder {
 public:
    bool Fits() const { return fits_; }

    void Add(const void* bytes, std::size_t n) {
        fits_ = fits_ && n <= static_cast<std::size_t>(kLongestReference) - length_;
        if (!fits_) return;
        CopyBounded(text_ + length_, bytes, n);
        length_ += n;
    }

    void StoreIn(filref& ref) const {
        const std::size_t length = fits_ ? length_ : 0;
        CopyBounded(ref.path, text_, length);
        ref.path[length] = 0;
    }

 private:
    std::size_t length_ = 0;
    bool fits_ = true;
    char text_[kLongestReference];
};

// What the head of a relative record says of its text.
struct RelativeHead {
    int shared;
    int up;
    int textLength;  // with the NUL; only 0 has a meaning, a text is read up to its NUL
};

int ReadHead(fil* f, RelativeHead* head) {
    for (int* const count : {&head->shared, &head->up, &head->textLength}) {
        *count = filrea16(f);
        if (*count < 0) return *count;
    }
    return 0;
}

// What of the base begins the rebuilt text, and how many components of the stored text it stands
// for: all of them when the base is kept whole, its NUL included.
struct Kept {
    std::size_t length;
    int skip;
};

// The base loses its last `up` components; one that has no more of them counts for nothing.
Kept KeptOf(const char* base, const RelativeHead& head) {
    if (head.shared == 0) return {0, 0};
    const char* end = base + std::strlen(base);
    if (head.up == 0) return {static_cast<std::size_t>(end - base), kWholeText};
    for (int left = head.up; left > 0;) {
        if (end == base) return {0, 0};
        if (*--end == ':') --left;
    }
    return {static_cast<std::size_t>(end - base) + 1, head.shared};
}

// Passes `skip` components of a text with a NUL behind it; of one that has fewer, all.
const char* PassComponents(const char* text, const char* end, int skip) {
    for (; skip > 0 && text < end; --skip) {
        const void* const colon = std::memchr(text, ':', static_cast<std::size_t>(end - text));
        text = colon == nullptr ? end : static_cast<const char*>(colon) + 1;
    }
    return text;
}

// The whole stored text lies in the stream's buffer, as nearly every one does: the reference's text
// is made where it belongs, from the base's start, which may be its own, and the rest. False, and
// nothing done: it does not, or what it makes would be too long.
bool TakeStoredText(fil* f, const char* base, const RelativeHead& head, char* target) {
    const int length = f->count < 1 ? 0 : FindNul(f->cursor, std::min(f->count, kFilrefSize));
    if (length >= std::min(f->count, kFilrefSize)) return false;
    const Kept kept = KeptOf(base, head);
    const char* const text = reinterpret_cast<const char*>(f->cursor);
    const char* const rest = PassComponents(text, text + length, kept.skip);
    const std::size_t size = static_cast<std::size_t>(text + length - rest);
    constexpr std::size_t kMost = kLongestReference;
    if (kept.length > kMost || size > kMost - kept.length) return false;
    CopyBounded(target, base, kept.length);
    CopyBounded(target + kept.length, rest, size + 1);
    Consume(f, length + 1);
    return true;
}

// Reads the stored text into `stored`, and without its first `skip` components into `rebuilt`.
int ReadStoredText(fil* f, int skip, Builder* rebuilt, Builder* stored) {
    const auto add = [&](const unsigned char* bytes, int n) {
        stored->Add(bytes, static_cast<std::size_t>(n));
        while (skip > 0 && n > 0) {
            const int run = FindByte(bytes, n, ':');
            if (run < n) --skip;
            const int passed = std::min(run + 1, n);
            bytes += passed;
            n -= passed;
        }
        rebuilt->Add(bytes, static_cast<std::size_t>(n));
    };
    return ReadUntil(f, FindNul, add);
}

}  // namespace

int filwriref(fil* f, const filref& target) {
    const char* const text = TextOf(target);
    if (*text == 0) return WriteEmptyRecord(f, kKindAbsolute);
    const std::size_t size = std::strlen(text) + 1;
    unsigned char head[3] = {kKindAbsolute};
    Store16(head + 1, size);
    if (const int failure = WriteRun(f, head, sizeof head); failure < 0) return failure;
    return WriteRun(f, text, size);
}

int filrearef(fil* f, filref& target) {
    const int kind = filrea8(f);
    if (kind < 0 || kind >= 0x80) return static_cast<signed char>(kind);
    if (kind != kKindAbsolute) return Latch(f, paramErr);
    const int size = filrea16(f);
    if (size < 0) return size;
    if (size == 0) {
        target.clear();
        return 0;
    }
    if (size > kFilrefSize) {
        if (const int failure = SkipBytes(f, size); failure < 0) return failure;
        return Latch(f, paramErr);
    }
    if (const int failure = MakeStorage(f, target); failure < 0) return failure;
    unsigned char text[kFilrefSize];
    if (const int failure = filrea(f, text, size); failure < 0) return failure;
    CopyBounded(target.path, text, static_cast<std::size_t>(size));
    target.path[std::min(size, kFilrefSize - 1)] = 0;
    return 0;
}

int filwrirefrel(fil* f, const filref& base, const filref& target, int keepFull) {
    const char* const text = TextOf(target);
    if (*text == 0) return WriteEmptyRecord(f, kKindRelative);
    const char* const baseText = TextOf(base);
    const Relation relation = Compare(baseText, text);

    const std::size_t placeholder = keepFull != 0 ? 0 : kPlaceholderLength;
    const char* const stored = keepFull != 0 ? text : text + relation.tail;
    const std::size_t size = std::strlen(stored) + 1;

    unsigned char head[7 + kPlaceholderLength] = {kKindRelative};
    Store16(head + 1, keepFull != 0 ? relation.shared : 1);
    Store16(head + 3, CountComponents(baseText) - relation.shared);
    Store16(head + 5, placeholder + size);
    std::memcpy(head + 7, kPlaceholder, placeholder);
    if (const int failure = WriteRun(f, head, 7 + placeholder); failure < 0) return failure;
    return WriteRun(f, stored, size);
}

int filrearefrel(fil* f, const filref& base, filref& target, filref* full) {
    const int kind = filrea8(f);
    if (kind < 0) return kind;
    if (kind != kKindRelative) return Latch(f, paramErr);
    RelativeHead head = {};
    if (const int failure = ReadHead(f, &head); failure < 0) return failure;
    if (head.textLength == 0) {
        target.clear();
        return 0;
    }
    if (const int failure = MakeStorage(f, target); failure < 0) return failure;

    if (full == nullptr && TakeStoredText(f, TextOf(base), head, target.path)) return 0;
    Builder rebuilt;
    Builder stored;
    const Kept kept = KeptOf(TextOf(base), head);
    rebuilt.Add(TextOf(base), kept.length);
    if (const int failure = ReadStoredText(f, kept.skip, &rebuilt, &stored); failure < 0)
        return failure;

    rebuilt.StoreIn(target);
    if (full == nullptr) return rebuilt.Fits() ? 0 : -1;
    if (const int failure = MakeStorage(f, *full); failure < 0) return failure;
    stored.StoreIn(*full);
    return stored.Fits() ? 0 : -1;
}

}  // namespace Ondrel
