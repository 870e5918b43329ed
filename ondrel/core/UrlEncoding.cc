// Percent-encoding of one path segment of a URL (RFC 3986, section 3.3).
#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <string_view>

#include "ondrel/core/Unicode.h"
#include "ondrel/core/Utf8.h"

namespace Ondrel {
namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";  // U+FFFD

constexpr bool IsAlphanumeric(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
}

constexpr bool StaysAsItIs(char c) {
    return IsAlphanumeric(c) ||
           (c != 0 && std::string_view("-._~!$&'()*+,=:@;").find(c) != std::string_view::npos);
}

// The segment under construction, in a buffer of the caller's.
class Segment {
 public:
    Segment(char* out, unsigned long capacity) : out_(out), room_(RoomIn(capacity)) {}

    // Appends the bytes of one character; false, and nothing appended, when they do not all fit.
    bool Append(std::string_view character) {
        std::array<char, 12> encoded;
        std::size_t length = 0;
        for (const char c : character) {
            if (StaysAsItIs(c)) {
                encoded[length++] = c;
                continue;
            }
            constexpr char kDigits[] = "0123456789ABCDEF";
            const auto byte = static_cast<unsigned char>(c);
            encoded[length++] = '%';
            encoded[length++] = kDigits[byte >> 4];
            encoded[length++] = kDigits[byte & 15];
        }
        if (length > room_ - length_) return false;
        std::memcpy(out_ + length_, encoded.data(), length);
        length_ += length;
        return true;
    }

    int Finish() {
        out_[length_] = 0;
        return static_cast<int>(length_);
    }

 private:
    static std::size_t RoomIn(unsigned long capacity) {
        return std::min<std::size_t>(capacity - 1, INT_MAX);
    }

    char* out_;
    std::size_t room_;
    std::size_t length_ = 0;
};

}  // namespace

int UTF8ToURLEncoding(const char* text, char* out, unsigned long outBytes) {
    if (outBytes == 0) return 0;
    Segment segment(out, outBytes);
    while (*text != 0) {
        char32_t point = 0;
        const std::size_t length = std::max<std::size_t>(Core::ReadCharacter(text, &point), 1);
        if (!segment.Append(std::string_view(text, length))) break;
        text += length;
    }
    return segment.Finish();
}

int Uni16CharToURLEncoding(const unsigned short* text, char* out, unsigned long outBytes) {
    if (outBytes == 0) return 0;
    Segment segment(out, outBytes);
    const unsigned short* const end = text + Uni16CharGetLength(text);
    while (text < end) {
        std::size_t used = 0;
        (void)Core::CodePointAt(text, static_cast<std::size_t>(end - text), &used);
        std::array<char, 4> bytes;
        const auto encoded = Core::EncodeUtf8(text, used, bytes.data(), bytes.size());
        const std::string_view character = encoded.stop == Core::TranscodeStop::kFault
                                               ? std::string_view(kReplacement)
                                               : std::string_view(bytes.data(), encoded.written);
        if (!segment.Append(character)) break;
        text += used;
    }
    return segment.Finish();
}

}  // namespace Ondrel
