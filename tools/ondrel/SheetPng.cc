// The contact sheet as a picture. Cairo draws it, and Pango its texts, in whatever script a name
// is.
#include <cairo.h>
#include <fmt/format.h>
#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>

#include "tools/ondrel/Failure.h"
#include "tools/ondrel/Sheet.h"
#include "tools/ondrel/Text.h"

namespace OndrelTool {
namespace {

constexpr int kPicture = kCardPixels / 2;
constexpr int kPadding = 8;  // around a picture
constexpr int kGap = 16;     // between cards
constexpr int kMargin = 32;
constexpr int kTitle = 48;       // lines of title and count
constexpr int kTextHeight = 52;  // three lines of a name
constexpr int kCellWidth = kPicture + 2 * kPadding;
constexpr int kCellHeight = kCellWidth + kTextHeight;
constexpr std::size_t kMostColumns = 16;
constexpr std::size_t kMostCards = 2000;

struct CairoDeleter {
    void operator()(cairo_t* context) const { cairo_destroy(context); }
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    void operator()(PangoLayout* layout) const { g_object_unref(layout); }
    void operator()(PangoFontDescription* font) const { pango_font_description_free(font); }
};
template <class Type>
using Owned = std::unique_ptr<Type, CairoDeleter>;

void SetGrey(cairo_t* context, double level) {
    cairo_set_source_rgb(context, level, level, level);
}

// --- Texts --------------------------------------------------------------------------------------

struct TextStyle {
    const char* font;
    int width;  // pixels; longer texts are wrapped
    int lines;  // what is beyond them ends in an ellipsis
    PangoAlignment alignment;
};

void DrawText(cairo_t* context, int x, int y, const std::string& text, const TextStyle& style) {
    const Owned<PangoLayout> layout(pango_cairo_create_layout(context));
    const Owned<PangoFontDescription> font(pango_font_description_from_string(style.font));
    pango_layout_set_font_description(layout.get(), font.get());
    pango_layout_set_width(layout.get(), style.width * PANGO_SCALE);
    pango_layout_set_height(layout.get(), -style.lines);
    pango_layout_set_wrap(layout.get(), PANGO_WRAP_WORD_CHAR);
    pango_layout_set_ellipsize(layout.get(), PANGO_ELLIPSIZE_MIDDLE);
    pango_layout_set_alignment(layout.get(), style.alignment);
    const std::string shown = Printable(text);
    pango_layout_set_text(layout.get(), shown.data(), static_cast<int>(shown.size()));
    cairo_move_to(context, x, y);
    pango_cairo_show_layout(context, layout.get());
}

// --- Pictures -----------------------------------------------------------------------------------

// Cairo's pixels: words of alpha, red, green, blue, the colours multiplied by alpha.
std::vector<std::uint32_t> ToWords(const Pixels& picture) {
    std::vector<std::uint32_t> words;
    words.reserve(picture.pixels.size() / 4);
    for (std::size_t at = 0; at < picture.pixels.size(); at += 4) {
        const std::uint32_t alpha = picture.pixels[at];
        std::uint32_t word = alpha;
        for (std::size_t i = at + 1; i < at + 4; ++i)
            word = word << 8 | (picture.pixels[i] * alpha + 127) / 255;
        words.push_back(word);
    }
    return words;
}

void DrawPicture(cairo_t* context, int x, int y, const Pixels& whole) {
    const Pixels picture = FitInto(whole, kPicture, kPicture);
    std::vector<std::uint32_t> words = ToWords(picture);
    const Owned<cairo_surface_t> surface(cairo_image_surface_create_for_data(
        reinterpret_cast<unsigned char*>(words.data()), CAIRO_FORMAT_ARGB32, picture.width,
        picture.height, picture.width * 4));
    const int left = x + (kCellWidth - picture.width) / 2;
    const int top = y + (kCellWidth - picture.height) / 2;
    SetGrey(context, 1);
    cairo_rectangle(context, left, top, picture.width, picture.height);
    cairo_fill(context);
    cairo_set_source_surface(context, surface.get(), left, top);
    cairo_paint(context);
    SetGrey(context, 0.7);
    cairo_set_line_width(context, 1);
    cairo_rectangle(context, left - 0.5, top - 0.5, picture.width + 1, picture.height + 1);
    cairo_stroke(context);
}

void DrawCard(cairo_t* context, int x, int y, const Card& card) {
    SetGrey(context, 0.93);
    cairo_rectangle(context, x, y, kCellWidth, kCellWidth);
    cairo_fill(context);
    if (card.picture) {
        DrawPicture(context, x, y, *card.picture);
    } else {
        const std::string extension = std::filesystem::path(card.name).extension().string();
        SetGrey(context, 0.55);
        DrawText(context, x + kPadding, y + kCellWidth / 2 - 10,
                 extension.size() > 1 ? extension.substr(1) : "no picture",
                 {"Sans 12", kPicture, 1, PANGO_ALIGN_CENTER});
    }
    SetGrey(context, 0.1);
    DrawText(context, x, y + kCellWidth + 4, card.name,
             {"Sans 8", kCellWidth, 3, PANGO_ALIGN_CENTER});
}

// --- The whole ----------------------------------------------------------------------------------

cairo_status_t Append(void* png, const unsigned char* bytes, unsigned int count) {
    static_cast<std::string*>(png)->append(reinterpret_cast<const char*>(bytes), count);
    return CAIRO_STATUS_SUCCESS;
}

// About as wide as it is high.
std::size_t ColumnsFor(std::size_t cards) {
    const double side = std::sqrt(static_cast<double>(cards) * kCellHeight / kCellWidth);
    return std::clamp<std::size_t>(static_cast<std::size_t>(std::ceil(side)), 4, kMostColumns);
}

}  // namespace

std::string SheetAsPng(const Sheet& sheet) {
    if (sheet.cards.size() > kMostCards)
        Fail("", fmt::format("a sheet of {} documents is too large for a picture; write it to a "
                             "name that ends in .html",
                             sheet.cards.size()));
    const std::size_t columns = ColumnsFor(sheet.cards.size());
    const std::size_t rows = (sheet.cards.size() + columns - 1) / columns;
    const int width = 2 * kMargin + static_cast<int>(columns) * (kCellWidth + kGap) - kGap;
    const int height = 2 * kMargin + kTitle + static_cast<int>(rows) * (kCellHeight + kGap) - kGap;
    const Owned<cairo_surface_t> surface(
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height));
    const Owned<cairo_t> context(cairo_create(surface.get()));
    SetGrey(context.get(), 1);
    cairo_paint(context.get());
    SetGrey(context.get(), 0.1);
    const TextStyle title = {"Sans Bold 13", width - 2 * kMargin, 1, PANGO_ALIGN_LEFT};
    DrawText(context.get(), kMargin, kMargin - 8, sheet.title, title);
    for (std::size_t i = 0; i < sheet.cards.size(); ++i)
        DrawCard(context.get(), kMargin + static_cast<int>(i % columns) * (kCellWidth + kGap),
                 kMargin + kTitle + static_cast<int>(i / columns) * (kCellHeight + kGap),
                 sheet.cards[i]);
    std::string png;
    const cairo_status_t status = cairo_surface_write_to_png_stream(surface.get(), Append, &png);
    if (status != CAIRO_STATUS_SUCCESS) Fail("", cairo_status_to_string(status));
    return png;
}

}  // namespace OndrelTool
