// The table of forms.
#include <algorithm>

#include "tools/ondrel/layout/Layout.h"

namespace OndrelTool {
namespace {

bool AnyLink(const std::vector<Item>& items) {
    return std::any_of(items.begin(), items.end(),
                       [](const Item& item) { return IsLink(item.form) || AnyLink(item.group); });
}

}  // namespace

std::string_view FormName(Form form) {
    switch (form) {
        case Form::kU8:
            return "u8";
        case Form::kU16:
            return "u16";
        case Form::kU32:
            return "u32";
        case Form::kI8:
            return "i8";
        case Form::kI16:
            return "i16";
        case Form::kI32:
            return "i32";
        case Form::kLine:
            return "line";
        case Form::kCrLf:
            return "crlf";
        case Form::kNul:
            return "nul";
        case Form::kStr:
            return "str";
        case Form::kU16Str:
            return "u16str";
        case Form::kRef:
            return "ref";
        case Form::kRefRel:
            return "refrel";
        case Form::kBlock:
            return "block";
        case Form::kBlock16:
            return "block16";
        case Form::kRepeat:
            return "repeat";
        case Form::kFixed:
            return "fixed";
        case Form::kBytes:
            return "bytes";
        case Form::kText:
            return "text";
        case Form::kSkip:
            return "skip";
        case Form::kRest:
            return "rest";
        case Form::kEnd:
            return "end";
        case Form::kUndescribed:
            break;
    }
    return "undescribed";
}

int IntegerWidth(Form form) {
    switch (form) {
        case Form::kU8:
        case Form::kI8:
            return 1;
        case Form::kU16:
        case Form::kI16:
            return 2;
        case Form::kU32:
        case Form::kI32:
            return 4;
        default:
            return 0;
    }
}

bool IsSigned(Form form) {
    return form == Form::kI8 || form == Form::kI16 || form == Form::kI32;
}

bool IsLink(Form form) {
    return form == Form::kRef || form == Form::kRefRel;
}

int MarkerWidth(Form form) {
    if (form == Form::kBlock) return 4;
    return form == Form::kBlock16 ? 2 : 0;
}

bool HasLinks(const Layout& layout) {
    return AnyLink(layout.items);
}

}  // namespace OndrelTool
