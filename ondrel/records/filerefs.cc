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

// The bytes of the first `components` components with their ':'; a text has no ':' behind its last.
std::size_t LengthOfComponents(const char* text, std::size_t components) {
    const char* end = text;
    for (; components > 0; --components) {
        const char* const colon = std::strchr(end, ':');
        if (colon == nullptr) return std::strlen(text);
        end = colon + 1;
    }
    return static_cast<std::size_t>(end - text);
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
        std::memcpy(text_ + length_, bytes, n);
        length_ += n;
    }

    void StoreIn(filref& ref) const {
        const std::size_t length = fits_ ? length_ : 0;
        std::memcpy(ref.path, text_, length);
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

// Adds the part of the base that is kept. The answer is the number of components of the stored text
// that it stands for: all of them when the base is kept whole, its NUL included.
int AddBase(const char* base, const RelativeHead& head, Builder* rebuilt) {
    const std::size_t components = CountComponents(base);
    const std::size_t up = static_cast<std::size_t>(head.up);
    if (components <= up || head.shared == 0) return 0;
    rebuilt->Add(base, LengthOfComponents(base, components - up));
    return up == 0 ? kWholeText : head.shared;
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
    std::memcpy(target.path, text, static_cast<std::size_t>(size));
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

    Builder rebuilt;
    Builder stored;
    const int skip = AddBase(TextOf(base), head, &rebuilt);
    if (const int failure = ReadStoredText(f, skip, &rebuilt, &stored); failure < 0) return failure;

    rebuilt.StoreIn(target);
    if (full == nullptr) return rebuilt.Fits() ? 0 : -1;
    if (const int failure = MakeStorage(f, *full); failure < 0) return failure;
    stored.StoreIn(*full);
    return stored.Fits() ? 0 : -1;
}

}  // namespace Ondrel
