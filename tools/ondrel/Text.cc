// Texts for people, for JSON, and four-character codes.
#include "tools/ondrel/Text.h"

#include <fmt/format.h>

#include <charconv>

#include "ondrel/core/MacRoman.h"

namespace OndrelTool {

using namespace Ondrel;

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD

unsigned char ByteAt(std::string_view text, std::size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

bool IsTail(unsigned char byte) {
    return (byte & 0xC0) == 0x80;
}

// The length of the well-formed character at a place; 0 where there is none.
std::size_t CharacterLength(std::string_view text, std::size_t at) {
    const unsigned char first = ByteAt(text, at);
    const unsigned char second = ByteAt(text, at + 1);
    if (first < 0x80) return 1;
    if (first < 0xC2 || first > 0xF4 || !IsTail(second)) return 0;
    if (first < 0xE0) return 2;
    if ((first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F)) return 0;
    if (!IsTail(ByteAt(text, at + 2))) return 0;
    if (first < 0xF0) return 3;
    if ((first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F)) return 0;
    return IsTail(ByteAt(text, at + 3)) ? 4 : 0;
}

// Control characters of ASCII, and those of Latin-1, which some terminals obey as well.
bool IsControl(std::string_view character) {
    const unsigned char first = ByteAt(character, 0);
    return first < 0x20 || first == 0x7F || (first == 0xC2 && ByteAt(character, 1) < 0xA0);
}

}  // namespace

std::string Printable(std::string_view text) {
    std::string out;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = CharacterLength(text, at);
        const std::string_view character = text.substr(at, length == 0 ? 1 : length);
        if (length != 0 && !IsControl(character)) {
            out += character;
        } else {
            for (const char byte : character)
                out += fmt::format("\\x{:02X}", static_cast<unsigned char>(byte));
        }
        at += character.size();
    }
    return out;
}

std::string ValidUtf8(std::string_view text) {
    std::string out;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = CharacterLength(text, at);
        out += length == 0 ? kReplacement : text.substr(at, length);
        at += length == 0 ? 1 : length;
    }
    return out;
}

std::string CodeText(FourCC code) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>(code >> shift);
    for (const char c : bytes)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) return fmt::format("0x{:08X}", code);
    return MacRomanToUTF8(bytes);
}

std::optional<FourCC> ParseCode(std::string_view text) {
    std::string bytes;
    FourCC code = 0;
    if (text.size() == 10 && text.starts_with("0x")) {
        const auto [end, error] =
            std::from_chars(text.data() + 2, text.data() + text.size(), code, 16);
        if (error == std::errc{} && end == text.data() + text.size()) return code;
        return std::nullopt;
    }
    if (!UTF8ToMacRoman(std::string(text), &bytes) || bytes.size() != 4) return std::nullopt;
    for (const char c : bytes)
        code = (code << 8) | static_cast<unsigned char>(c);
    return code;
}

std::string FromMacRoman(std::string_view bytes) {
    return MacRomanToUTF8(std::string(bytes));
}

std::string ByteCount(std::uint64_t bytes) {
    std::string digits = std::to_string(bytes);
    for (std::size_t at = digits.size(); at > 3;) {
        at -= 3;
        digits.insert(at, ",");
    }
    return digits + (bytes == 1 ? " byte" : " bytes");
}

}  // namespace OndrelTool
