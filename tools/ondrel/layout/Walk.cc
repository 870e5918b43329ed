// The walk over a document. Lengths and counts from the document are believed when the bytes are
// there: a value that reaches behind the end of its block or of the document is met before anything
// is read of it. The readers of the library then take it, and say what is wrong with it.
#include "tools/ondrel/layout/Walk.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "ondrel/core/Unicode.h"
#include "ondrel/records/filerefs.h"
#include "ondrel/records/strings.h"
#include "tools/ondrel/layout/Source.h"

namespace OndrelTool {

using namespace Ondrel;

namespace {

std::string HexByte(unsigned char byte) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    return {kDigits[byte >> 4], kDigits[byte & 15]};
}

// "1 byte is left", "2 bytes are left".
std::string BytesAre(std::int64_t n, const char* what) {
    return std::to_string(n) + (n == 1 ? " byte is " : " bytes are ") + what;
}

std::string TextOf(const filref& reference) {
    return reference.path != nullptr ? reference.path : "";
}

class Walk {
 public:
    Walk(const Layout& layout, const WalkOptions& options, const Visitor& visitor)
        : layout_(layout), options_(options), visitor_(visitor), slots_(layout.slots) {}

    std::optional<DocumentFault> Run(const FileSpec& document, FileSpec* file) {
        if (!source_.Open(document)) {
            fault_.what = "it cannot be opened";
            fault_.message = source_.Message();
            return fault_;
        }
        if (file != nullptr) *file = source_.File();
        if (options_.base != nullptr)
            base_ = *options_.base;
        else
            base_.convertFromFileSpec(source_.File());
        limit_ = source_.Size();
        if (!ReadItems(layout_.items) || !ReadUndescribed()) return fault_;
        return std::nullopt;
    }

 private:
    // --- Faults ---------------------------------------------------------------------------------

    bool FailAt(int position, std::string what, std::string message = {}) {
        fault_ = {position, path_, std::move(what), std::move(message)};
        return false;
    }

    bool FailByStream(std::string what) { return FailAt(at_, std::move(what), source_.Message()); }

    std::string EndOfLimit() const {
        const bool document = limit_ == source_.Size();
        return (document ? "the document ends at " : "its block ends at ") + std::to_string(limit_);
    }

    // Whether `n` bytes from here on belong to the block.
    bool Need(std::int64_t n) {
        if (n <= limit_ - at_) return true;
        if (limit_ < source_.Size()) return FailAt(at_, EndOfLimit());
        source_.MeetTheEnd();
        return FailByStream(EndOfLimit());
    }

    // A failed read of the library: mostly the end of the document.
    bool FailReading() {
        const bool ended = source_.Stream()->sys->error == eofErr;
        return FailByStream(ended ? EndOfLimit() : "it cannot be read");
    }

    // --- Values ---------------------------------------------------------------------------------

    Value Begin(Form form) const {
        Value value;
        value.form = form;
        value.path = path_;
        value.depth = depth_;
        value.begin = at_;
        return value;
    }

    // Where the library's reader has left the stream, which must be inside of the block.
    bool EndWhereTheStreamIs(Value* value) {
        value->end = source_.Position();
        return value->end <= limit_ || FailAt(at_, EndOfLimit());
    }

    // Hands a value out and moves behind it.
    bool Finish(Value* value) {
        const auto size = static_cast<std::size_t>(value->end - value->begin);
        if (!source_.Read(value->begin, std::min(size, options_.mostBytes), &value->bytes))
            return FailReading();
        at_ = value->end;
        if (!source_.MoveTo(at_)) return FailReading();
        visitor_(*value);
        return true;
    }

    bool ReadInteger(Form form, std::int64_t* number) {
        const int width = IntegerWidth(form);
        unsigned char bytes[4] = {};
        if (!Need(width)) return false;
        if (filrea(source_.Stream(), bytes, width) != 0) return FailReading();
        std::uint32_t bits = 0;
        for (int i = 0; i < width; ++i)
            bits = bits << 8 | bytes[i];
        const int unused = 32 - 8 * width;
        *number = IsSigned(form) ? static_cast<std::int32_t>(bits << unused) >> unused
                                 : static_cast<std::int64_t>(bits);
        return true;
    }

    bool ReadNumber(const Item& item) {
        Value value = Begin(item.form);
        if (!ReadInteger(item.form, &value.number)) return false;
        value.end = at_ + IntegerWidth(item.form);
        if (item.slot != kNoSlot) slots_[item.slot] = value.number;
        return Finish(&value);
    }

    bool ReadFixed(const Item& item) {
        Value value = Begin(item.form);
        if (!Need(static_cast<std::int64_t>(item.fixed.size()))) return false;
        std::string found;
        if (!source_.Read(at_, item.fixed.size(), &found)) return FailReading();
        const auto differs = std::mismatch(found.begin(), found.end(), item.fixed.begin());
        if (differs.first != found.end()) {
            const auto offset = static_cast<int>(differs.first - found.begin());
            return FailAt(at_ + offset, "the byte is " +
                                            HexByte(static_cast<unsigned char>(*differs.first)) +
                                            " where the layout has " +
                                            HexByte(static_cast<unsigned char>(*differs.second)));
        }
        value.text = item.fixed;
        value.end = at_ + static_cast<int>(item.fixed.size());
        return Finish(&value);
    }

    // How many bytes an item of a count has.
    bool CountOf(const Item& item, std::int64_t* count) {
        *count =
            item.count.kind == Count::Kind::kNamed ? slots_[item.count.slot] : item.count.number;
        return *count >= 0 || FailAt(at_, "its count is " + std::to_string(*count));
    }

    bool ReadBytes(const Item& item) {
        std::int64_t count = limit_ - at_;
        if (item.form != Form::kRest && !CountOf(item, &count)) return false;
        Value value = Begin(item.form);
        if (!Need(count)) return false;
        value.end = at_ + static_cast<int>(count);
        if (item.form == Form::kText &&
            !source_.Read(at_, static_cast<std::size_t>(count), &value.text))
            return FailReading();
        return Finish(&value);
    }

    // --- Strings --------------------------------------------------------------------------------

    // A text up to a terminator, by a reader of the library that stops behind it.
    bool ReadTerminated(Form form) {
        Value value = Begin(form);
        fil* const f = source_.Stream();
        char part[256];
        int result = 0;
        if (form == Form::kCrLf) {
            result = filreacrlf(f, part, sizeof part);
        } else if (form == Form::kNul) {
            result = filreastrnul(f, part, sizeof part);
        } else {
            result = ReadLine(part, sizeof part);
        }
        if (result < 0) return FailReading();
        if (!EndWhereTheStreamIs(&value)) return false;
        if (!source_.Read(at_, static_cast<std::size_t>(value.end - at_), &value.text))
            return FailReading();
        if (form == Form::kCrLf && value.text.ends_with("\r\n")) value.text.pop_back();
        value.text.pop_back();
        return Finish(&value);
    }

    // The library hands a long line out in parts.
    int ReadLine(char* part, int size) {
        for (;;) {
            const int begin = source_.Position();
            const int result = filreastr(source_.Stream(), part, size);
            const int taken = source_.Position() - begin;
            if (result < 0 || taken < size - 1) return result;
            // A full part ends with the line only where nothing of the line is missing from it.
            std::string last;
            if (!source_.Read(begin + taken - 1, 1, &last)) return -1;
            if (last == "\n") return 0;
        }
    }

    bool ReadCounted(Form form) {
        Value value = Begin(form);
        std::int64_t length = 0;
        if (!ReadInteger(Form::kI32, &length)) return false;
        if (length < 0) value.note = "a length of " + std::to_string(length) + " counts as none";
        if (!Need(4 + std::max<std::int64_t>(length, 0))) return false;
        if (!source_.MoveTo(at_)) return FailReading();
        fil* const f = source_.Stream();
        if (form == Form::kStr) {
            value.text = filreastring(f);
        } else {
            value.text = Uni16StringToUTF8(filreaUni16String(f));
            if (value.text.empty() && length > 0) value.note = "it is not UTF-8 and reads as empty";
        }
        if (!EndWhereTheStreamIs(&value)) return false;
        return Finish(&value);
    }

    // --- References -----------------------------------------------------------------------------

    // What is wrong with the first byte of a record; empty where it is the right one.
    bool LookAtKind(unsigned char kind, std::string* wrong) {
        if (!Need(1)) return false;
        std::string first;
        if (!source_.Read(at_, 1, &first)) return FailReading();
        const auto byte = static_cast<unsigned char>(first[0]);
        if (byte != kind)
            *wrong = "it begins with " + HexByte(byte) + " and not with " + HexByte(kind);
        return source_.MoveTo(at_) || FailReading();
    }

    // A failed reader of a record: the document's end, a kind byte, a path, or the host.
    bool FailRecord(int result, const std::string& wrongKind) {
        const short code = source_.Stream()->sys->error;
        if (result == -3 || (code != noErr && code != eofErr && code != paramErr))
            return FailReading();
        const std::string what =
            wrongKind.empty() ? "its path is longer than a reference can be" : wrongKind;
        return code == paramErr ? FailByStream(what) : FailAt(at_, what);
    }

    bool ReadReference(Form form) {
        Value value = Begin(form);
        std::string wrongKind;
        if (!LookAtKind(2, &wrongKind)) return false;
        filref target;
        const int result = filrearef(source_.Stream(), target);
        if (result < 0) return FailRecord(result, wrongKind);
        if (!EndWhereTheStreamIs(&value)) return false;
        value.text = TextOf(target);
        return Finish(&value);
    }

    bool ReadRelative(Form form) {
        Value value = Begin(form);
        std::string wrongKind;
        if (!LookAtKind(3, &wrongKind)) return false;
        filref target;
        filref stored;
        const int result = filrearefrel(source_.Stream(), base_, target, &stored);
        if (result < 0) return FailRecord(result, wrongKind);
        if (!EndWhereTheStreamIs(&value)) return false;
        std::string head;
        if (!source_.Read(at_, 5, &head)) return FailReading();
        const auto count = [&](std::size_t i) {
            return static_cast<unsigned char>(head[i]) << 8 |
                   static_cast<unsigned char>(head[i + 1]);
        };
        value.shared = count(1);
        value.up = count(3);
        value.text = TextOf(target);
        value.stored = TextOf(stored);
        if (value.text.empty() && !value.stored.empty())
            value.note = "beside this document its path is longer than a reference can be";
        return Finish(&value);
    }

    // --- Groups ---------------------------------------------------------------------------------

    bool ReadBlock(const Item& item) {
        Value value = Begin(item.form);
        const int width = MarkerWidth(item.form);
        if (!ReadInteger(width == 4 ? Form::kI32 : Form::kU16, &value.number)) return false;
        if (value.number < 0) return FailAt(at_, "its length is " + std::to_string(value.number));
        value.end = at_ + width;
        const std::int64_t missing = value.number - (limit_ - value.end);
        if (missing > 0) value.note = BytesAre(missing, "missing: ") + EndOfLimit();
        if (!Finish(&value)) return false;

        // What is in a block without a name goes by its own names alone.
        const int outer = limit_;
        const int begin = value.begin;
        const std::string path = path_;
        if (item.name.empty()) {
            const std::size_t dot = path_.rfind('.');
            path_.resize(dot == std::string::npos ? 0 : dot);
        }
        if (missing <= 0) limit_ = value.end + static_cast<int>(value.number);
        ++depth_;
        if (!ReadItems(item.group) || !ReadUndescribed()) return false;
        --depth_;
        path_ = path;
        limit_ = outer;
        if (missing <= 0) return true;
        at_ = begin;
        if (limit_ == source_.Size()) {
            source_.MeetTheEnd();
            return FailByStream(value.note);
        }
        return FailAt(begin, value.note);
    }

    bool ReadRepeatCount(const Item& item, std::int64_t* count) {
        if (item.count.kind != Count::Kind::kStored) return CountOf(item, count);
        Value value = Begin(Form::kRepeat);
        if (!ReadInteger(item.count.stored, &value.number)) return false;
        *count = value.number;
        if (*count < 0) return FailAt(at_, "its count is " + std::to_string(*count));
        value.end = at_ + IntegerWidth(item.count.stored);
        return Finish(&value);
    }

    bool ReadRepeat(const Item& item) {
        std::int64_t count = 0;
        const bool toTheEnd = item.count.kind == Count::Kind::kToTheEnd;
        if (!toTheEnd && !ReadRepeatCount(item, &count)) return false;
        const std::size_t length = path_.size();
        ++depth_;
        for (std::int64_t i = 0; toTheEnd ? at_ < limit_ : i < count; ++i) {
            path_ += "[" + std::to_string(i) + "]";
            const int begin = at_;
            if (!ReadItems(item.group)) return false;
            // Else a count could keep us busy without a document.
            if (at_ == begin)
                return FailAt(at_, "it takes no bytes and would be repeated for ever");
            path_.resize(length);
        }
        --depth_;
        return true;
    }

    bool ReadEnd() {
        if (at_ == limit_) return true;
        return FailAt(at_, BytesAre(limit_ - at_, "left"));
    }

    bool ReadItem(const Item& item) {
        switch (item.form) {
            case Form::kU8:
            case Form::kU16:
            case Form::kU32:
            case Form::kI8:
            case Form::kI16:
            case Form::kI32:
                return ReadNumber(item);
            case Form::kLine:
            case Form::kCrLf:
            case Form::kNul:
                return ReadTerminated(item.form);
            case Form::kStr:
            case Form::kU16Str:
                return ReadCounted(item.form);
            case Form::kRef:
                return ReadReference(item.form);
            case Form::kRefRel:
                return ReadRelative(item.form);
            case Form::kBlock:
            case Form::kBlock16:
                return ReadBlock(item);
            case Form::kRepeat:
                return ReadRepeat(item);
            case Form::kFixed:
                return ReadFixed(item);
            case Form::kBytes:
            case Form::kText:
            case Form::kSkip:
            case Form::kRest:
                return ReadBytes(item);
            case Form::kEnd:
                return ReadEnd();
            case Form::kUndescribed:
                break;
        }
        return true;
    }

    bool ReadItems(const std::vector<Item>& items) {
        for (const Item& item : items) {
            const std::size_t length = path_.size();
            if (!path_.empty()) path_ += '.';
            path_ += item.name.empty() ? FormName(item.form) : item.name;
            if (!ReadItem(item)) return false;
            path_.resize(length);
        }
        return true;
    }

    // What the items leave over of a block or of the document.
    bool ReadUndescribed() {
        if (at_ == limit_) return true;
        Value value = Begin(Form::kUndescribed);
        value.end = limit_;
        return Finish(&value);
    }

    const Layout& layout_;
    const WalkOptions& options_;
    const Visitor& visitor_;
    Source source_;
    filref base_;
    std::vector<std::int64_t> slots_;
    std::string path_;
    int depth_ = 0;
    int at_ = 0;     // where the next value begins; the stream stands there
    int limit_ = 0;  // where the innermost block ends
    DocumentFault fault_;
};

}  // namespace

std::optional<DocumentFault> WalkDocument(const FileSpec& document, const Layout& layout,
                                          const WalkOptions& options, const Visitor& visitor,
                                          FileSpec* file) {
    return Walk(layout, options, visitor).Run(document, file);
}

}  // namespace OndrelTool
