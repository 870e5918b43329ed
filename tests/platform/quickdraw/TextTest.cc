// Texts: pixels in the built-in font, drawn as text here; what installed fonts must keep to.
#include "ondrel/platform/quickdraw/Text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include "ondrel/platform/quickdraw/BuiltinFont.h"
#include "ondrel/platform/quickdraw/Fonts.h"
#include "tests/platform/quickdraw/NoFonts.h"

namespace Ondrel::QuickDraw {
namespace {

using Testing::NoFonts;

constexpr std::uint64_t kPlenty = std::uint64_t{1} << 40;

// '#' black, 'w' white, '.' nothing, '?' anything else.
std::string Drawn(const Canvas& canvas) {
    std::string rows;
    for (int y = 0; y < canvas.Height(); ++y) {
        for (int x = 0; x < canvas.Width(); ++x) {
            const Pixel pixel = canvas.Row(y)[x];
            rows += pixel == kBlack ? '#' : pixel == kWhite ? 'w' : pixel == 0 ? '.' : '?';
        }
        rows += '\n';
    }
    return rows;
}

State StateFor(const Canvas& canvas, Point location, int size = 9) {
    State state;
    state.mapping = {canvas.Bounds(), canvas.Width(), canvas.Height()};
    state.clip = Region(canvas.Bounds());
    state.text.location = location;
    state.text.size = size;
    return state;
}

int CountSet(const Canvas& canvas) {
    int count = 0;
    for (int y = 0; y < canvas.Height(); ++y)
        for (int x = 0; x < canvas.Width(); ++x)
            count += canvas.Row(y)[x] != 0 ? 1 : 0;
    return count;
}

// The column behind the rightmost pixel.
int RightEnd(const Canvas& canvas) {
    int end = 0;
    for (int y = 0; y < canvas.Height(); ++y)
        for (int x = 0; x < canvas.Width(); ++x)
            if (canvas.Row(y)[x] != 0) end = std::max(end, x + 1);
    return end;
}

// --- Without installed fonts --------------------------------------------------------------------

TEST(BuiltinText, StandsOnItsBaselineFromItsLocationOn) {
    const NoFonts noFonts;
    Canvas canvas(11, 10, kPlenty);
    DrawText("dog", StateFor(canvas, {8, 1}), canvas);
    EXPECT_EQ(Drawn(canvas),
              "...........\n"
              ".....#.....\n"
              ".....#.....\n"
              "..####..###\n"
              ".#...#.#...\n"
              ".#...#.#...\n"
              ".#...#.#...\n"
              "..####..###\n"
              "...........\n"
              "...........\n");
}

TEST(BuiltinText, DescendersHangBelowTheBaseline) {
    const NoFonts noFonts;
    Canvas canvas(8, 9, kPlenty);
    DrawText("g,", StateFor(canvas, {6, 0}), canvas);
    EXPECT_EQ(Drawn(canvas),
              "........\n"
              ".####...\n"
              "#...#...\n"
              "#...#...\n"
              "#...#..#\n"
              ".####..#\n"
              "....#.#.\n"
              ".###....\n"
              "........\n");
}

TEST(BuiltinText, EveryPrintableCharacterHasPixelsOfItsOwn) {
    std::vector<std::vector<std::uint8_t>> seen;
    for (char character = '!'; character <= '~'; ++character) {
        const Glyph glyph = BuiltinGlyph(character, 1, 1);
        std::vector<std::uint8_t> shape = glyph.pixels;
        shape.push_back(static_cast<std::uint8_t>(glyph.width));
        EXPECT_NE(std::count(glyph.pixels.begin(), glyph.pixels.end(), 1), 0) << character;
        EXPECT_EQ(std::count(seen.begin(), seen.end(), shape), 0) << character;
        EXPECT_EQ(BuiltinAdvance(character), glyph.width + 1) << character;
        seen.push_back(shape);
    }
    EXPECT_EQ(BuiltinAdvance(' '), 4);
    EXPECT_TRUE(BuiltinGlyph(' ', 1, 1).pixels.empty());
    EXPECT_TRUE(BuiltinGlyph('\x7F', 1, 1).pixels.empty());
    EXPECT_TRUE(BuiltinGlyph('\xFF', 1, 1).pixels.empty());
}

TEST(BuiltinText, LargerSizesAreWholeMultiples) {
    const NoFonts noFonts;
    Canvas canvas(7, 15, kPlenty);
    DrawText("l!", StateFor(canvas, {14, 0}, 20), canvas);
    EXPECT_EQ(Drawn(canvas),
              "##..##.\n##..##.\n##..##.\n##..##.\n##..##.\n##..##.\n##..##.\n##..##.\n"
              "##..##.\n##..##.\n##.....\n##.....\n##..##.\n##..##.\n.......\n");
}

TEST(BuiltinText, SizeZeroIsTheSystemsOwn) {
    const NoFonts noFonts;
    Canvas zero(40, 20, kPlenty);
    Canvas twelve(40, 20, kPlenty);
    DrawText("Size", StateFor(zero, {12, 2}, 0), zero);
    DrawText("Size", StateFor(twelve, {12, 2}, 12), twelve);
    EXPECT_EQ(Drawn(zero), Drawn(twelve));
    EXPECT_NE(CountSet(zero), 0);
}

TEST(BuiltinText, AccentedLettersAreDrawnAsTheirBaseLetters) {
    const NoFonts noFonts;
    const struct {
        const char* macRoman;
        const char* like;
    } kCases[] = {{"\x80", "A"}, {"\x8E", "e"}, {"\x96", "n"}, {"\xD2", "\""},
                  {"\xD5", "'"}, {"\xD0", "-"}, {"\xA7", "B"}, {"\xCA", " "},
                  {"\xFF", "^"}, {"\x0D", " "}, {"\x7F", " "}};
    for (const auto& one : kCases) {
        Canvas canvas(12, 10, kPlenty);
        Canvas base(12, 10, kPlenty);
        DrawText(one.macRoman, StateFor(canvas, {8, 1}), canvas);
        DrawText(one.like, StateFor(base, {8, 1}), base);
        EXPECT_EQ(Drawn(canvas), Drawn(base)) << one.like;
    }
}

TEST(TextFaces, BoldIsOnePixelWiderAndMovesOnOnePixelMore) {
    const NoFonts noFonts;
    Canvas canvas(8, 8, kPlenty);
    State state = StateFor(canvas, {7, 0});
    state.text.face = kBold;
    DrawText("l1", state, canvas);
    EXPECT_EQ(Drawn(canvas),
              "##..##..\n##.###..\n##..##..\n##..##..\n##..##..\n##..##..\n##.####.\n........\n");
}

TEST(TextFaces, ItalicLeansByAPixelForTwoRows) {
    const NoFonts noFonts;
    Canvas canvas(6, 9, kPlenty);
    State state = StateFor(canvas, {7, 2});
    state.text.face = kItalic;
    DrawText("|", state, canvas);
    EXPECT_EQ(Drawn(canvas),
              ".....#\n....#.\n....#.\n...#..\n...#..\n..#...\n..#...\n.#....\n.#....\n");
}

TEST(TextFaces, AnUnderlineLeavesRoomAroundDescenders) {
    const NoFonts noFonts;
    Canvas canvas(16, 10, kPlenty);
    State state = StateFor(canvas, {6, 0});
    state.text.face = kUnderline;
    DrawText("ogo", state, canvas);
    EXPECT_EQ(Drawn(canvas),
              "................\n"
              ".###...####..###\n"
              "#...#.#...#.#...\n"
              "#...#.#...#.#...\n"
              "#...#.#...#.#...\n"
              ".###...####..###\n"
              "..........#.....\n"
              "######.###..####\n"
              "................\n"
              "................\n");
}

TEST(TextFaces, OutlineDrawsThePixelsAroundTheLettersAndWhiteInside) {
    const NoFonts noFonts;
    Canvas canvas(9, 9, kPlenty);
    State state = StateFor(canvas, {8, 1});
    state.text.face = kOutline;
    DrawText("ll", state, canvas);
    // A pixel wider than plain: the second letter begins three pixels after the first.
    EXPECT_EQ(Drawn(canvas),
              "######...\n#w##w#...\n#w##w#...\n#w##w#...\n#w##w#...\n#w##w#...\n#w##w#...\n"
              "#w##w#...\n######...\n");
}

TEST(TextFaces, HollowLettersCanBeReadOnBlack) {
    const NoFonts noFonts;
    Canvas canvas(3, 9, kPlenty);
    for (int y = 0; y < 9; ++y)
        std::fill_n(canvas.Row(y), 3, kBlack);
    State state = StateFor(canvas, {8, 1});
    state.text.face = kOutline;
    state.back = 0xFFFFFF00;
    DrawText("l", state, canvas);
    EXPECT_EQ(Drawn(canvas), "###\n#?#\n#?#\n#?#\n#?#\n#?#\n#?#\n#?#\n###\n");
    EXPECT_EQ(canvas.Row(4)[1], 0xFFFFFF00U);
}

TEST(TextFaces, AShadowIsDeeperToTheRightAndBelow) {
    const NoFonts noFonts;
    Canvas canvas(6, 11, kPlenty);
    State state = StateFor(canvas, {8, 1});
    state.text.face = kShadow;
    DrawText("l", state, canvas);
    EXPECT_EQ(Drawn(canvas),
              "####..\n#w##..\n#w##..\n#w##..\n#w##..\n#w##..\n#w##..\n#w##..\n####..\n####..\n"
              "......\n");
}

TEST(TextFaces, CondensedAndExtendedMoveOnAPixelLessAndMore) {
    const NoFonts noFonts;
    const struct {
        std::uint8_t face;
        const char* row;
    } kCases[] = {{0, "#.#.#......"}, {kCondensed, "###........"}, {kExtended, "#..#..#...."}};
    for (const auto& one : kCases) {
        Canvas canvas(11, 7, kPlenty);
        State state = StateFor(canvas, {7, 0});
        state.text.face = one.face;
        DrawText("lll", state, canvas);
        EXPECT_EQ(Drawn(canvas).substr(0, 11), one.row) << int{one.face};
    }
}

TEST(TextSpacing, ExtraIsAddedToBlanksAndToTheOthersApart) {
    const NoFonts noFonts;
    const struct {
        std::int32_t space, other;
        const char* row;
    } kCases[] = {
        {0, 0, "#.....#.#......."},
        {0x28000, 0, "#........#.#...."},  // two and a half pixels: places are rounded
        {0, 0x10000, "#......#..#....."},
        {-0x20000, 0, "#...#.#........."},
    };
    for (const auto& one : kCases) {
        Canvas canvas(16, 7, kPlenty);
        State state = StateFor(canvas, {7, 0});
        state.text.extraSpace = one.space;
        state.text.extraChar = one.other;
        DrawText("l ll", state, canvas);
        EXPECT_EQ(Drawn(canvas).substr(0, 16), one.row) << one.space << ' ' << one.other;
    }
}

TEST(TextScale, TheRatioScalesTheLettersAndTheirPlaces) {
    const NoFonts noFonts;
    Canvas canvas(10, 14, kPlenty);
    State state = StateFor(canvas, {14, 0}, 10);
    state.text.numerator = {2, 3};
    state.text.denominator = {1, 1};
    DrawText("ll", state, canvas);
    for (int y = 0; y < 14; ++y)
        EXPECT_EQ(Drawn(canvas).substr(static_cast<std::size_t>(y) * 11, 10), "###...###.") << y;
}

TEST(TextScale, ARatioThatIsNoneCountsAsOne) {
    const NoFonts noFonts;
    Canvas plain(20, 12, kPlenty);
    DrawText("ab", StateFor(plain, {9, 1}), plain);
    for (const Point bad : {Point{0, 0}, Point{-2, -3}}) {
        Canvas canvas(20, 12, kPlenty);
        State state = StateFor(canvas, {9, 1});
        state.text.denominator = bad;
        DrawText("ab", state, canvas);
        EXPECT_EQ(Drawn(canvas), Drawn(plain));
    }
}

TEST(TextScale, TheMappingScalesThemToo) {
    const NoFonts noFonts;
    Canvas canvas(20, 20, kPlenty);
    State state = StateFor(canvas, {8, 2}, 10);
    state.mapping.frame = {0, 0, 10, 10};
    DrawText("l", state, canvas);
    for (int y = 0; y < 20; ++y)
        EXPECT_EQ(Drawn(canvas).substr(static_cast<std::size_t>(y) * 21, 20),
                  y >= 2 && y < 16 ? "....##.............." : "....................")
            << y;
}

TEST(TextModes, CopyBringsItsBackgroundAndOrDoesNot) {
    const NoFonts noFonts;
    Canvas canvas(5, 10, kPlenty);
    State state = StateFor(canvas, {7, 1});
    state.text.mode = TransferMode::kCopy;
    DrawText("l", state, canvas);
    EXPECT_EQ(Drawn(canvas),
              ".#w..\n.#w..\n.#w..\n.#w..\n.#w..\n.#w..\n.#w..\n.ww..\n.ww..\n.....\n");
}

TEST(TextModes, XorTurnsWhatIsThere) {
    const NoFonts noFonts;
    Canvas canvas(3, 7, kPlenty);
    for (int y = 0; y < 7; ++y)
        for (int x = 0; x < 3; ++x)
            canvas.Row(y)[x] = kBlack;
    State state = StateFor(canvas, {7, 1});
    state.text.mode = TransferMode::kXor;
    DrawText("l", state, canvas);
    EXPECT_EQ(Drawn(canvas), "#w#\n#w#\n#w#\n#w#\n#w#\n#w#\n#w#\n");
}

TEST(TextModes, OrDrawsInTheForegroundColour) {
    const NoFonts noFonts;
    Canvas canvas(1, 1, kPlenty);
    State state = StateFor(canvas, {1, 0});
    state.fore = 0xFF123456;
    DrawText("l", state, canvas);
    EXPECT_EQ(canvas.Row(0)[0], 0xFF123456U);
}

TEST(TextClip, NothingIsDrawnOutsideOfTheClip) {
    const NoFonts noFonts;
    Canvas canvas(6, 8, kPlenty);
    State state = StateFor(canvas, {7, 0});
    state.clip = Region(Rect{2, 1, 5, 4});
    state.text.face = kOutline;
    state.text.mode = TransferMode::kCopy;
    DrawText("H", state, canvas);
    Canvas whole(6, 8, kPlenty);
    State unclipped = state;
    unclipped.clip = Region(whole.Bounds());
    DrawText("H", unclipped, whole);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 6; ++x)
            EXPECT_EQ(canvas.Row(y)[x], state.clip.Contains({y, x}) ? whole.Row(y)[x] : 0)
                << y << ' ' << x;
}

TEST(TextClip, ATextFarAwayDrawsNothing) {
    const NoFonts noFonts;
    for (const Point at :
         {Point{-20, 5}, Point{5, 300}, Point{32767, 32767}, Point{-32768, 0}, Point{5, -32768}}) {
        Canvas canvas(20, 20, kPlenty);
        DrawText("text", StateFor(canvas, at), canvas);
        EXPECT_EQ(CountSet(canvas), 0);
    }
}

TEST(TextWork, IsTakenOffTheCanvas) {
    const NoFonts noFonts;
    Canvas canvas(20, 20, 0);
    DrawText("text", StateFor(canvas, {10, 1}), canvas);
    EXPECT_EQ(CountSet(canvas), 0);
    Canvas rich(20, 20, kPlenty);
    DrawText("text", StateFor(rich, {10, 1}), rich);
    EXPECT_FALSE(rich.Spend(kPlenty));
}

TEST(TextWork, GiantLettersAndGiantSpacesStayInBounds) {
    const NoFonts noFonts;
    Canvas canvas(30, 30, kPlenty);
    State state = StateFor(canvas, {29, 0}, 32767);
    state.text.numerator = {32767, 32767};
    state.text.extraSpace = 0x7FFFFFFF;
    state.text.extraChar = -0x7FFFFFFF;
    state.text.face = 0x7F;
    DrawText(std::string(255, 'W') + " ", state, canvas);
    state.text.extraChar = 0;
    state.mapping.frame = {0, 0, 1, 1};
    DrawText(std::string(255, ' ') + "W", state, canvas);
    SUCCEED();
}

// --- With the fonts that are installed ----------------------------------------------------------

SetText SetPlain(int font, int size, const std::string& text, std::uint8_t face = 0) {
    Canvas canvas(1, 1, kPlenty);
    FontRequest request;
    request.family = ChooseFamily(font, {});
    request.size = size;
    request.isBold = (face & kBold) != 0;
    return SetInFont(text, request, canvas);
}

int WidthOf(int font, int size, const std::string& text, std::uint8_t face = 0) {
    double width = 0;
    for (const SetGlyph& glyph : SetPlain(font, size, text, face).glyphs)
        width += glyph.advance;
    return static_cast<int>(width);
}

// No outline font is as low as the built-in one.
bool HasFonts() {
    return SetPlain(1, 12, "W").ascent > kBuiltinAscent;
}

TEST(InstalledText, FamiliesWithKnownWidthsKeepThem) {
    if (!HasFonts()) GTEST_SKIP() << "no font is installed";
    const struct {
        int font, size;
        const char* text;
        int width;
    } kCases[] = {
        {20, 12, "The fox", 7 + 6 + 5 + 3 + 4 + 6 + 6},
        {21, 10, "Will", 9 + 2 + 2 + 2},
        {22, 10, "Will", 4 * 6},
        {22, 12, "Will", 4 * 7},
        {4, 9, "Will", 4 * 6},
        {4, 12, "Will", 4 * 7},
        {21, 10, "\x8E\x8E", 12},  // accented as wide as plain
    };
    for (const auto& one : kCases)
        EXPECT_EQ(WidthOf(one.font, one.size, one.text), one.width) << one.font << one.text;
    EXPECT_EQ(WidthOf(21, 12, "Merker", kBold), 10 + 7 + 5 + 7 + 7 + 5) << "the bold face's own";
    EXPECT_EQ(WidthOf(22, 12, "Will", kBold), 4 * 7);
    EXPECT_EQ(WidthOf(4, 12, "Will", kBold), 4 * 8) << "it had none";
}

TEST(InstalledText, TextsAreAsLongAsTheyWere) {
    if (!HasFonts()) GTEST_SKIP() << "no font is installed";
    // From pictures of the time: the next text begins where the text ends.
    const struct {
        int font, size;
        const char* text;
        int width;
    } kCases[] = {{0, 12, "Customize ", 73}, {3, 12, "Quarterly Sales", 97},
                  {3, 9, "Actual", 28},      {3, 9, "Projected", 44},
                  {20, 14, "W", 12},         {21, 12, "Product", 41}};
    for (const auto& one : kCases)
        EXPECT_NEAR(WidthOf(one.font, one.size, one.text), one.width, one.width / 5) << one.text;
}

TEST(InstalledText, LettersStandWithinTheirAdvanceAndAboveTheBaseline) {
    if (!HasFonts()) GTEST_SKIP() << "no font is installed";
    for (const int font : {0, 1, 2, 3, 4, 20, 21, 22, 999}) {
        for (const int size : {9, 10, 12, 24}) {
            Canvas canvas(120, 40, kPlenty);
            State state = StateFor(canvas, {30, 20}, size);
            state.text.font = font;
            DrawText("HEX", state, canvas);
            EXPECT_GT(CountSet(canvas), 3 * size) << font << ' ' << size;
            EXPECT_LE(RightEnd(canvas), 20 + WidthOf(font, size, "HEX") + 1) << font << ' ' << size;
            for (int y = 30; y < 40; ++y)
                for (int x = 0; x < 120; ++x)
                    EXPECT_EQ(canvas.Row(y)[x], 0U) << font << ' ' << size;
        }
    }
}

TEST(InstalledText, TheSameTextGivesTheSamePixelsInEveryThread) {
    Canvas first(200, 40, kPlenty);
    DrawText("Many threads", StateFor(first, {25, 5}, 18), first);
    std::vector<std::string> drawn(4);
    std::vector<std::thread> threads;
    for (std::string& mine : drawn) {
        threads.emplace_back([&mine] {
            for (int size = 9; size <= 18; ++size) {
                Canvas canvas(200, 40, kPlenty);
                DrawText("Many threads", StateFor(canvas, {25, 5}, size), canvas);
                mine = Drawn(canvas);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (const std::string& mine : drawn)
        EXPECT_EQ(mine, Drawn(first));
}

}  // namespace
}  // namespace Ondrel::QuickDraw
