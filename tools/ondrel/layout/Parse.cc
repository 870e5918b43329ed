// From a text to a layout. Names are bound here: a count that names an integer refers to the last
// one of that name in front of it, in its own group or in one around it.
#include <map>
#include <optional>
#include <utility>

#include "tools/ondrel/layout/Layout.h"
#include "tools/ondrel/layout/Words.h"

namespace OndrelTool {
namespace {

constexpr Form kWritten[] = {
    Form::kU8,     Form::kU16,   Form::kU32,     Form::kI8,     Form::kI16,    Form::kI32,
    Form::kLine,   Form::kCrLf,  Form::kNul,     Form::kStr,    Form::kU16Str, Form::kRef,
    Form::kRefRel, Form::kBlock, Form::kBlock16, Form::kRepeat, Form::kBytes,  Form::kText,
    Form::kSkip,   Form::kRest,  Form::kEnd,
};

std::optional<Form> FormOf(std::string_view word) {
    for (const Form form : kWritten)
        if (FormName(form) == word) return form;
    return std::nullopt;
}

using Scope = std::map<std::string, std::size_t, std::less<>>;

class Parser {
 public:
    Parser(std::string_view text, Layout* layout, LayoutFault* fault)
        : words_(text), layout_(layout), fault_(fault) {}

    bool Parse() { return Take() && TakeItems(&layout_->items, {}, 0); }

 private:
    bool Fail(std::string what) {
        *fault_ = {word_.offset, std::move(what)};
        return false;
    }

    // Takes the next word into word_.
    bool Take() { return words_.Next(&word_, fault_); }

    bool IsMark(char mark) const {
        return word_.kind == Word::Kind::kMark && word_.text[0] == mark;
    }

    // The scope comes by value: what a group names is forgotten behind it.
    bool TakeItems(std::vector<Item>* items, Scope scope, int depth) {
        if (depth > kMostDepth) return Fail("groups are nested too deeply");
        while (word_.kind != Word::Kind::kEnd && !IsMark('}')) {
            if (!items->empty() && items->back().form == Form::kRest)
                return Fail("nothing can follow 'rest'");
            if (!TakeItem(&items->emplace_back(), &scope, depth)) return false;
        }
        if (IsMark('}') && depth == 0) return Fail("this '}' has no '{'");
        return true;
    }

    bool TakeItem(Item* item, Scope* scope, int depth) {
        if (word_.kind == Word::Kind::kName && words_.MarkFollows(':')) {
            if (FormOf(word_.text)) return Fail("'" + word_.text + "' is a form and no name");
            item->name = word_.text;
            if (!Take() || !Take()) return false;
        }
        if (word_.kind == Word::Kind::kBytes) {
            item->form = Form::kFixed;
            item->fixed = word_.text;
            return Take();
        }
        if (word_.kind != Word::Kind::kName) return Fail("a form is wanted here");
        const std::optional<Form> form = FormOf(word_.text);
        if (!form) return Fail("there is no form '" + word_.text + "'");
        item->form = *form;
        if (!Take() || !TakeCount(item, *scope)) return false;
        if (!TakeGroup(item, *scope, depth)) return false;
        Bind(item, scope);
        return true;
    }

    bool TakeCount(Item* item, const Scope& scope) {
        const bool repeats = item->form == Form::kRepeat;
        if (!repeats && item->form != Form::kBytes && item->form != Form::kText &&
            item->form != Form::kSkip)
            return true;
        if (word_.kind == Word::Kind::kNumber) {
            item->count.number = word_.number;
        } else if (repeats && IsMark('*')) {
            item->count.kind = Count::Kind::kToTheEnd;
        } else if (word_.kind == Word::Kind::kName) {
            if (!TakeNamedCount(item, scope)) return false;
        } else {
            return Fail(repeats
                            ? "'repeat' wants a number, the name of an integer, an integer form "
                              "or '*'"
                            : "'" + std::string(FormName(item->form)) +
                                  "' wants a number or the name of an integer");
        }
        return Take();
    }

    bool TakeNamedCount(Item* item, const Scope& scope) {
        const std::optional<Form> form = FormOf(word_.text);
        if (form && item->form == Form::kRepeat && IntegerWidth(*form) > 0) {
            item->count.kind = Count::Kind::kStored;
            item->count.stored = *form;
            return true;
        }
        const auto named = scope.find(word_.text);
        if (named == scope.end())
            return Fail("no integer in front of this is named '" + word_.text + "'");
        item->count.kind = Count::Kind::kNamed;
        item->count.slot = named->second;
        return true;
    }

    bool TakeGroup(Item* item, const Scope& scope, int depth) {
        if (item->form != Form::kRepeat && MarkerWidth(item->form) == 0) return true;
        const std::string form(FormName(item->form));
        if (!IsMark('{')) return Fail("'" + form + "' wants a group: {" + " ... }");
        const std::size_t begin = word_.offset;
        if (!Take() || !TakeItems(&item->group, scope, depth + 1)) return false;
        if (!IsMark('}')) {
            word_.offset = begin;
            return Fail("this '{' has no '}'");
        }
        if (item->form == Form::kRepeat && item->group.empty())
            return Fail("'repeat' wants a form in its group");
        return Take();
    }

    void Bind(Item* item, Scope* scope) {
        if (item->name.empty() || IntegerWidth(item->form) == 0) return;
        item->slot = layout_->slots++;
        scope->insert_or_assign(item->name, item->slot);
    }

    Words words_;
    Layout* layout_;
    LayoutFault* fault_;
    Word word_;
};

}  // namespace

bool ParseLayout(std::string_view text, Layout* layout, LayoutFault* fault) {
    *layout = Layout();
    if (text.size() > kMostLayout) {
        *fault = {kMostLayout, "the layout is too long"};
        return false;
    }
    return Parser(text, layout, fault).Parse();
}

}  // namespace OndrelTool
