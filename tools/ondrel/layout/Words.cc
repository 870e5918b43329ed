// Parting a layout text into words.
#include "tools/ondrel/layout/Words.h"

#include <charconv>

namespace OndrelTool {
namespace {

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsNameStart(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool IsNamePart(char c) {
    return IsNameStart(c) || IsDigit(c) || c == '-';
}

int HexDigit(char c) {
    if (IsDigit(c)) return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

bool Fault(std::size_t offset, std::string what, LayoutFault* fault) {
    *fault = {offset, std::move(what)};
    return false;
}

}  // namespace

void Words::SkipBlanks() {
    while (at_ < text_.size()) {
        if (text_[at_] == '#') {
            at_ = text_.find('\n', at_);
            if (at_ == std::string_view::npos) at_ = text_.size();
        } else if (IsBlank(text_[at_])) {
            ++at_;
        } else {
            return;
        }
    }
}

bool Words::MarkFollows(char mark) {
    SkipBlanks();
    return at_ < text_.size() && text_[at_] == mark;
}

bool Words::TakeNumber(Word* word, LayoutFault* fault) {
    const std::size_t begin = at_;
    while (at_ < text_.size() && IsNamePart(text_[at_]))
        ++at_;
    std::string_view digits = text_.substr(begin, at_ - begin);
    int base = 10;
    if (digits.starts_with("0x")) {
        base = 16;
        digits.remove_prefix(2);
    }
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, word->number, base);
    if (error == std::errc::result_out_of_range)
        return Fault(begin, "the number is above 2147483647", fault);
    if (error != std::errc() || stop != end || digits.starts_with('-'))
        return Fault(begin, "this is no number", fault);
    word->kind = Word::Kind::kNumber;
    return true;
}

bool Words::TakeQuoted(Word* word, LayoutFault* fault) {
    const std::size_t end = text_.find('"', at_ + 1);
    if (end == std::string_view::npos) return Fault(at_, "the quoted text has no end", fault);
    if (end == at_ + 1) return Fault(at_, "the quoted text is empty", fault);
    word->text = text_.substr(at_ + 1, end - at_ - 1);
    word->kind = Word::Kind::kBytes;
    at_ = end + 1;
    return true;
}

bool Words::TakeHex(Word* word, LayoutFault* fault) {
    const std::size_t begin = at_++;
    while (at_ < text_.size() && text_[at_] != '>') {
        if (IsBlank(text_[at_])) {
            ++at_;
            continue;
        }
        const int high = HexDigit(text_[at_]);
        const int low = at_ + 1 < text_.size() ? HexDigit(text_[at_ + 1]) : -1;
        if (high < 0 || low < 0) return Fault(at_, "a byte is written in two hex digits", fault);
        word->text += static_cast<char>(high * 16 + low);
        at_ += 2;
    }
    if (at_ == text_.size()) return Fault(begin, "the '<' has no '>'", fault);
    if (word->text.empty()) return Fault(begin, "there are no bytes between '<' and '>'", fault);
    word->kind = Word::Kind::kBytes;
    ++at_;
    return true;
}

bool Words::Next(Word* word, LayoutFault* fault) {
    SkipBlanks();
    *word = Word();
    word->offset = at_;
    if (at_ == text_.size()) return true;
    const char c = text_[at_];
    if (IsDigit(c)) return TakeNumber(word, fault);
    if (c == '"') return TakeQuoted(word, fault);
    if (c == '<') return TakeHex(word, fault);
    if (c == ':' || c == '{' || c == '}' || c == '*') {
        word->kind = Word::Kind::kMark;
        word->text = c;
        ++at_;
        return true;
    }
    if (!IsNameStart(c)) return Fault(at_, "no form, name or number begins like this", fault);
    while (at_ < text_.size() && IsNamePart(text_[at_]))
        word->text += text_[at_++];
    word->kind = Word::Kind::kName;
    return true;
}

}  // namespace OndrelTool
