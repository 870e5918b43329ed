// Texts that are layouts, and texts that are none.
#include "tools/ondrel/layout/Layout.h"

#include <gtest/gtest.h>

#include <string>

namespace OndrelTool {
namespace {

// A layout as a text again, in one spelling: "u16 n:u8 bytes(n) repeat(u16){str}". A named count is
// shown by its slot.
std::string Spelt(const std::vector<Item>& items);

std::string Spelt(const Item& item) {
    std::string text = item.name.empty() ? "" : item.name + ":";
    text += FormName(item.form);
    if (item.slot != kNoSlot) text += "@" + std::to_string(item.slot);
    if (item.form == Form::kFixed) {
        text += "(" + std::to_string(item.fixed.size()) + ")";
    } else if (item.count.kind == Count::Kind::kNamed) {
        text += "(@" + std::to_string(item.count.slot) + ")";
    } else if (item.count.kind == Count::Kind::kStored) {
        text += "(" + std::string(FormName(item.count.stored)) + ")";
    } else if (item.count.kind == Count::Kind::kToTheEnd) {
        text += "(*)";
    } else if (item.form == Form::kBytes || item.form == Form::kText || item.form == Form::kSkip ||
               item.form == Form::kRepeat) {
        text += "(" + std::to_string(item.count.number) + ")";
    }
    if (MarkerWidth(item.form) > 0 || item.form == Form::kRepeat)
        text += "{" + Spelt(item.group) + "}";
    return text;
}

std::string Spelt(const std::vector<Item>& items) {
    std::string text;
    for (const Item& item : items)
        text += (text.empty() ? "" : " ") + Spelt(item);
    return text;
}

TEST(LayoutLanguage, EveryFormIsUnderstood) {
    const struct {
        const char* text;
        const char* spelt;
    } kTable[] = {
        {"", ""},
        {"u8 u16 u32 i8 i16 i32", "u8 u16 u32 i8 i16 i32"},
        {"line crlf nul str u16str", "line crlf nul str u16str"},
        {"ref refrel", "ref refrel"},
        {"bytes 4 text 0x10 skip 0", "bytes(4) text(16) skip(0)"},
        {"u8 rest", "u8 rest"},
        {"u8 end", "u8 end"},
        {"\"DOC1\" <00 fF 7e>", "fixed(4) fixed(3)"},
        {"block{u16}block16 { str }", "block{u16} block16{str}"},
        {"block{}", "block{}"},
        {"repeat 3 {u8} repeat * {u8}", "repeat(3){u8} repeat(*){u8}"},
        {"repeat u8{ref} repeat i32 {ref}", "repeat(u8){ref} repeat(i32){ref}"},
        {"version: u16", "version:u16@0"},
        {"n:u8 bytes n repeat n {u8}", "n:u8@0 bytes(@0) repeat(@0){u8}"},
        {"n:u8 block{ text n }", "n:u8@0 block{text(@0)}"},
        {"block{ n:u8 m:u8 } n:i8 skip n", "block{n:u8@0 m:u8@1} n:i8@2 skip(@2)"},
        {"n:u8 n:u16 skip n", "n:u8@0 n:u16@1 skip(@1)"},
        {"title: str # the title\n u8#end", "title:str u8"},
        {"magic: \"AB\"", "magic:fixed(2)"},
        {"\t\r\n u8 \n", "u8"},
        {"u16 u32 str u16str ref refrel block{ u8 }", "u16 u32 str u16str ref refrel block{u8}"},
    };
    for (const auto& row : kTable) {
        SCOPED_TRACE(row.text);
        Layout layout;
        LayoutFault fault;
        ASSERT_TRUE(ParseLayout(row.text, &layout, &fault)) << fault.what;
        EXPECT_EQ(Spelt(layout.items), row.spelt);
    }
}

TEST(LayoutLanguage, AFaultIsToldWithItsPlace) {
    const struct {
        const char* text;
        std::size_t offset;
        const char* what;
    } kTable[] = {
        {"u8 u17", 3, "there is no form 'u17'"},
        {"u8 }", 3, "this '}' has no '{'"},
        {"block u8", 6, "'block' wants a group: { ... }"},
        {"block", 5, "'block' wants a group: { ... }"},
        {"u8 block { u8", 9, "this '{' has no '}'"},
        {"block { block { u8 }", 6, "this '{' has no '}'"},
        {"repeat { u8 }", 7,
         "'repeat' wants a number, the name of an integer, an integer form or '*'"},
        {"repeat 3 { }", 11, "'repeat' wants a form in its group"},
        {"repeat str { u8 }", 7, "no integer in front of this is named 'str'"},
        {"bytes", 5, "'bytes' wants a number or the name of an integer"},
        {"skip *", 5, "'skip' wants a number or the name of an integer"},
        {"bytes u8", 6, "no integer in front of this is named 'u8'"},
        {"bytes n n: u8", 6, "no integer in front of this is named 'n'"},
        {"block { n: u8 } bytes n", 22, "no integer in front of this is named 'n'"},
        {"n: str bytes n", 13, "no integer in front of this is named 'n'"},
        {"u8: u8", 0, "'u8' is a form and no name"},
        {"name:", 5, "a form is wanted here"},
        {"name: 3", 6, "a form is wanted here"},
        {"3", 0, "a form is wanted here"},
        {"* u8", 0, "a form is wanted here"},
        {"rest u8", 5, "nothing can follow 'rest'"},
        {"block { rest end }", 13, "nothing can follow 'rest'"},
        {"skip 2147483648", 5, "the number is above 2147483647"},
        {"skip 12a", 5, "this is no number"},
        {"skip 0x", 5, "this is no number"},
        {"skip 0x-1", 5, "this is no number"},
        {"skip -1", 5, "no form, name or number begins like this"},
        {"u8 \"ab", 3, "the quoted text has no end"},
        {"\"\"", 0, "the quoted text is empty"},
        {"<", 0, "the '<' has no '>'"},
        {"<00 1>", 4, "a byte is written in two hex digits"},
        {"<0g>", 1, "a byte is written in two hex digits"},
        {"<0", 1, "a byte is written in two hex digits"},
        {"< >", 0, "there are no bytes between '<' and '>'"},
        {"u8 \xC3\xA9", 3, "no form, name or number begins like this"},
        {"u8, u8", 2, "no form, name or number begins like this"},
    };
    for (const auto& row : kTable) {
        SCOPED_TRACE(row.text);
        Layout layout;
        LayoutFault fault;
        EXPECT_FALSE(ParseLayout(row.text, &layout, &fault));
        EXPECT_EQ(fault.offset, row.offset);
        EXPECT_EQ(fault.what, row.what);
    }
}

TEST(LayoutLanguage, EveryCutOfALayoutIsALayoutOrAFault) {
    const std::string text =
        "\"DOC1\" <0D 0A> n: u16 repeat n { a: str block { to: refrel rest } } # done";
    int layouts = 0;
    for (std::size_t size = 0; size <= text.size(); ++size) {
        Layout layout;
        LayoutFault fault;
        if (ParseLayout(text.substr(0, size), &layout, &fault))
            ++layouts;
        else
            EXPECT_LE(fault.offset, size) << fault.what;
    }
    EXPECT_GT(layouts, 10);
    EXPECT_LT(layouts, static_cast<int>(text.size()));
}

std::string Nested(int groups) {
    std::string text;
    for (int i = 0; i < groups; ++i)
        text += "block{";
    return text + "u8" + std::string(static_cast<std::size_t>(groups), '}');
}

TEST(LayoutLanguage, GroupsMayBeNestedSixtyDeep) {
    Layout layout;
    LayoutFault fault;
    EXPECT_TRUE(ParseLayout(Nested(60), &layout, &fault)) << fault.what;
    EXPECT_FALSE(ParseLayout(Nested(61), &layout, &fault));
    EXPECT_EQ(fault.what, "groups are nested too deeply");
    EXPECT_FALSE(ParseLayout(Nested(200000), &layout, &fault));
}

TEST(LayoutLanguage, AnEndlessTextIsRefused) {
    Layout layout;
    LayoutFault fault;
    EXPECT_TRUE(ParseLayout(std::string(1 << 20, ' '), &layout, &fault));
    EXPECT_FALSE(ParseLayout(std::string((1 << 20) + 1, ' '), &layout, &fault));
    EXPECT_EQ(fault.what, "the layout is too long");
}

TEST(LayoutLanguage, TellsWhetherItHasLinks) {
    const struct {
        const char* text;
        bool links;
    } kTable[] = {{"", false},
                  {"str u8", false},
                  {"ref", true},
                  {"u8 block { repeat 2 { str refrel } }", true},
                  {"block { str }", false}};
    for (const auto& row : kTable) {
        Layout layout;
        LayoutFault fault;
        ASSERT_TRUE(ParseLayout(row.text, &layout, &fault));
        EXPECT_EQ(HasLinks(layout), row.links) << row.text;
    }
}

}  // namespace
}  // namespace OndrelTool
