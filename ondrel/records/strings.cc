// Texts written to a stream, and counted strings in both forms. A raise must skip no object: where
// one is alive, the stream's error context is taken off, and the failure is raised behind its end.
#include "ondrel/records/strings.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <memory>

#include "ondrel/records/streamruns.h"

namespace Ondrel {

using namespace Records;

namespace {

// Takes the error context off a stream for a while; it is put back also when memory runs out.
class ContextOff {
 public:
    explicit ContextOff(fil* f)
        : stream_(f), context_(f->sys == nullptr ? nullptr : filerr(f, nullptr)) {}
    ~ContextOff() {
        if (stream_->sys != nullptr) filerr(stream_, context_);
    }
    ContextOff(const ContextOff&) = delete;
    ContextOff& operator=(const ContextOff&) = delete;

    // The context, when a failed transfer in the direction `mode` is to be raised; misuse is not.
    errtyp* ForFailures(unsigned short mode) const {
        return context_ != nullptr && (stream_->sys->mode & mode) != 0 ? context_ : nullptr;
    }

 private:
    fil* stream_;
    errtyp* context_;
};

int WriteCounted(fil* f, const char* bytes, std::size_t length) {
    if (length > kLongestText) return RefuseWrite(f, paramErr);
    if (const int failure = filwri32(f, static_cast<int>(length)); failure < 0) return failure;
    return WriteRun(f, bytes, length);
}

// Reads in steps that grow from `firstStep`. After a failure `text` is what arrived, and zero
// bytes.
int ReadInSteps(fil* f, int length, int firstStep, std::string& text) {
    for (int done = 0; done < length;) {
        const int step = std::min(length - done, std::max(done, firstStep));
        text.resize(static_cast<std::size_t>(done) + static_cast<std::size_t>(step));
        unsigned char* const target = reinterpret_cast<unsigned char*>(text.data()) + done;
        if (const int failure = filrea(f, target, step); failure < 0) return failure;
        done += step;
    }
    return 0;
}

// Where a cut string is raised, its memory grows with what the document holds; where it is
// returned, it has the declared length anyway.
[[gnu::noinline]] std::string ReadAcrossBuffers(fil* f, int length) {
    constexpr int kFirstStep = 4 * kFilBufferSize;
    errtyp* context = nullptr;
    int failure = 0;
    {
        const ContextOff off(f);
        context = off.ForFailures(kFilModeRead);
        std::string text;
        failure = ReadInSteps(f, length, context == nullptr ? length : kFirstStep, text);
        if (failure == 0 || context == nullptr) return text;
    }
    errgoto(context, failure);
}

}  // namespace

int filwristrnul(fil* f, const char* text) {
    if (text == nullptr) text = "";
    const std::size_t length = std::strlen(text);
    if (length >= kLongestText) return RefuseWrite(f, paramErr);
    return WriteRun(f, text, length + 1);
}

int filwrifmt(fil* f, const char* format, ...) {
    char text[1024];
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (length < 0) return RefuseWrite(f, paramErr);
    return WriteRun(f, text, std::min(static_cast<std::size_t>(length), sizeof text - 1));
}

std::string filreastring(fil* f) {
    const int length = filrea32(f);
    if (length < 1) return {};
    if (length > f->count) return ReadAcrossBuffers(f, length);
    const char* const bytes = reinterpret_cast<const char*>(f->cursor);
    Consume(f, length);
    return std::string(bytes, static_cast<std::size_t>(length));
}

void filwristring(fil* f, const std::string& text) {
    WriteCounted(f, text.data(), text.size());
}

Uni16String filreaUni16String(fil* f) {
    const std::string utf8 = filreastring(f);
    // A UTF-8 text never has fewer bytes than its 16-bit form has units.
    const std::size_t most = std::strlen(utf8.c_str());
    Uni16String text(most, 0);
    const int units = UTF8ToUni16Char(utf8.c_str(), text.data(), most + 1);
    text.resize(static_cast<std::size_t>(std::max(units, 0)));
    return text;
}

void filwriUni16String(fil* f, const Uni16String& text) {
    const std::size_t units = Uni16CharGetLength(text.c_str());
    errtyp* context = nullptr;
    int failure = 0;
    {
        const ContextOff off(f);
        if (units > (kLongestText - 1) / 3) {
            failure = RefuseWrite(f, paramErr);
        } else {
            const std::size_t capacity = 3 * units + 1;
            const auto utf8 = std::make_unique_for_overwrite<char[]>(capacity);
            const int length = Uni16CharToUTF8(text.c_str(), utf8.get(), capacity);
            failure = WriteCounted(f, utf8.get(), static_cast<std::size_t>(length));
        }
        if (failure < 0) context = off.ForFailures(kFilModeWrite);
    }
    if (context != nullptr) errgoto(context, failure);
}

}  // namespace Ondrel
