// Shapes row by row, against slow and simple definitions of which pixels belong to them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "ondrel/platform/quickdraw/PenLine.h"
#include "ondrel/platform/quickdraw/PolygonShape.h"
#include "ondrel/platform/quickdraw/RegionShape.h"
#include "ondrel/platform/quickdraw/RoundShape.h"

namespace Ondrel::QuickDraw {
namespace {

constexpr int kSide = 48;  // of the area that is looked at

// The rows of an area, '#' inside of the shape. Checks what a shape promises on the way.
std::string Drawn(RowShape& shape, int firstRow = 0) {
    const Rect bounds = shape.Bounds();
    std::string drawn;
    Spans spans;
    for (int y = firstRow; y < kSide; ++y) {
        std::string row(kSide, '.');
        spans.clear();
        if (y >= bounds.top && y < bounds.bottom) shape.AppendRow(y, spans);
        int before = -1000;
        for (const Span& span : spans) {
            EXPECT_LT(span.left, span.right);
            EXPECT_GE(span.left, before);
            EXPECT_GE(span.left, bounds.left);
            EXPECT_LE(span.right, bounds.right);
            before = span.right;
            for (int x = std::max(0, span.left); x < std::min(kSide, span.right); ++x)
                row[static_cast<std::size_t>(x)] = '#';
        }
        drawn += row + '\n';
    }
    return drawn;
}

std::string Defined(const std::function<bool(int y, int x)>& isInside, int firstRow = 0) {
    std::string drawn;
    for (int y = firstRow; y < kSide; ++y) {
        for (int x = 0; x < kSide; ++x)
            drawn += isInside(y, x) ? '#' : '.';
        drawn += '\n';
    }
    return drawn;
}

class Dice {
 public:
    int operator()(int from, int to) {
        return std::uniform_int_distribution<int>(from, to)(engine_);
    }

 private:
    std::mt19937 engine_{1984};
};

TEST(RowShapes, AnOvalHasThePixelsWhoseCentresAreInsideItsEllipse) {
    for (int height = 1; height <= 30; ++height) {
        for (int width = 1; width <= 40; ++width) {
            const Rect rect{3, 2, 3 + height, 2 + width};
            RoundShape shape{RoundedRect(rect, width, height)};
            const auto isInside = [&](int y, int x) {
                const long down = 2L * (y - rect.top) + 1 - height;
                const long right = 2L * (x - rect.left) + 1 - width;
                return y >= rect.top && y < rect.bottom && x >= rect.left && x < rect.right &&
                       right * right * height * height + down * down * width * width <=
                           1L * width * width * height * height;
            };
            ASSERT_EQ(Drawn(shape), Defined(isInside)) << width << " by " << height;
        }
    }
}

// Rows far apart of an oval whose numbers need all 64 bits.
TEST(RowShapes, LargeOvalsKeepTheirForm) {
    const RoundedRect oval({-32768, -32768, 32767, 32767}, 65535, 65535);
    EXPECT_EQ(oval.Row(-1).left, -32768);
    EXPECT_EQ(oval.Row(-1).right, 32767);
    const Span top = oval.Row(-32768);
    EXPECT_EQ(top.left + top.right, -1) << "in the middle";
    EXPECT_EQ(top.right - top.left, 363) << "the even numbers up to the root of 2 x 65535";
    EXPECT_EQ(oval.Row(32766).left, top.left) << "the same upside down";
    const RoundedRect wider({0, 0, 200'000'000, 100'000'000}, 100'000'000, 200'000'000);
    EXPECT_EQ(wider.Row(100'000'000).left, 0);
    EXPECT_NEAR(wider.Row(13'397'459).left, 25'000'000, 2) << "half its width at this height";
}

TEST(RowShapes, TheCornersOfARoundRectangleAreThoseOfAnOval) {
    const RoundedRect shape({0, 0, 20, 30}, 9, 7);
    const RoundedRect oval({0, 0, 7, 9}, 9, 7);
    for (int y = 0; y < 4; ++y) {
        EXPECT_EQ(shape.Row(y).left, oval.Row(y).left);
        EXPECT_EQ(shape.Row(y).right, 30 - oval.Row(y).left);
        EXPECT_EQ(shape.Row(19 - y).left, oval.Row(y).left);
    }
    EXPECT_EQ(shape.Row(10).left, 0);
    const RoundedRect tooRound({0, 0, 7, 9}, 1000, 1000);
    for (int y = 0; y < 7; ++y)
        EXPECT_EQ(tooRound.Row(y).left, oval.Row(y).left) << "never rounder than an oval";
}

TEST(RowShapes, AWedgeHasThePixelsWhoseCentresLieBetweenItsAngles) {
    Dice dice;
    for (int i = 0; i < 300; ++i) {
        const Rect rect{dice(0, 9), dice(0, 9), dice(20, 45), dice(20, 45)};
        const int start = dice(-400, 400);
        const int arc = dice(-359, 359);
        RoundShape shape{RoundedRect(rect, 0, 0)};
        shape.CutTo(Wedge(rect, start, arc));
        const std::string drawn = Drawn(shape);
        const int from = arc < 0 ? start + arc : start;
        for (int y = rect.top; y < rect.bottom; ++y) {
            for (int x = rect.left; x < rect.right; ++x) {
                const double right = (2.0 * x + 1 - rect.left - rect.right) / rect.Width();
                const double down = (2.0 * y + 1 - rect.top - rect.bottom) / rect.Height();
                const double angle = std::atan2(right, -down) * 180 / std::numbers::pi;
                const double turned = std::fmod(angle - from + 3600, 360);
                const double nearest =
                    std::min({turned, 360 - turned, std::abs(turned - std::abs(arc))});
                const bool isMiddle = right == 0 && down == 0;
                if (nearest < 0.01 || isMiddle) continue;  // on a border
                const auto at = static_cast<std::size_t>(y * (kSide + 1) + x);
                ASSERT_EQ(drawn[at], turned < std::abs(arc) ? '#' : '.')
                    << "start " << start << " arc " << arc << " at " << y << ", " << x;
            }
        }
    }
}

// Together they cover each pixel once, those on the borders too.
TEST(RowShapes, WedgesThatMeetShareNoPixelAndLeaveNone) {
    for (const Rect& rect : {Rect{0, 0, 40, 40}, Rect{0, 0, 41, 41}, Rect{0, 0, 20, 41}}) {
        for (const std::vector<int>& angles :
             {std::vector{0, 90, 180, 270, 360}, std::vector{45, 135, 405},
              std::vector{-90, 90, 270}, std::vector{10, 11, 300, 370}}) {
            std::vector<int> covered(static_cast<std::size_t>(kSide * kSide));
            for (std::size_t i = 0; i + 1 < angles.size(); ++i) {
                RoundShape shape{RoundedRect(rect, 0, 0)};
                shape.CutTo(Wedge(rect, angles[i], angles[i + 1] - angles[i]));
                const std::string drawn = Drawn(shape);
                for (int y = 0; y < kSide; ++y) {
                    for (int x = 0; x < kSide; ++x)
                        covered[static_cast<std::size_t>(y * kSide + x)] +=
                            drawn[static_cast<std::size_t>(y * (kSide + 1) + x)] == '#';
                }
            }
            for (int y = 0; y < rect.bottom; ++y) {
                for (int x = 0; x < rect.right; ++x)
                    ASSERT_EQ(covered[static_cast<std::size_t>(y * kSide + x)], 1)
                        << y << ", " << x << " from " << angles[0];
            }
        }
    }
}

// The path of a line, pixel by pixel, and the pen put down on each.
std::vector<std::string> PenPath(Point from, Point to, int penWidth, int penHeight) {
    std::vector<std::string> rows(kSide, std::string(kSide, '.'));
    if (from.v > to.v) std::swap(from, to);
    const int down = to.v - from.v;
    const int right = to.h - from.h;
    const int sign = right < 0 ? -1 : 1;
    const int steps = std::max(down, std::abs(right));
    for (int i = 0; i <= steps; ++i) {
        Point at = from;
        if (down == steps && steps > 0) {
            at.v += i;
            at.h += static_cast<int>(std::floor(1.0 * right * i / down + 0.5));
        } else if (steps > 0) {
            const double exact = 1.0 * down * i / steps;
            at.h += sign * i;
            at.v += static_cast<int>(sign > 0 ? std::ceil(exact - 0.5) : std::floor(exact + 0.5));
        }
        for (int y = at.v; y < at.v + penHeight; ++y) {
            for (int x = at.h; x < at.h + penWidth; ++x) {
                if (x >= 0 && y >= 0 && x < kSide && y < kSide)
                    rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] = '#';
            }
        }
    }
    return rows;
}

TEST(RowShapes, ALineHasThePixelsThatThePenCoversOnItsPath) {
    Dice dice;
    for (int i = 0; i < 2000; ++i) {
        const Point from{dice(-5, 50), dice(-5, 50)};
        const Point to{dice(-5, 50), dice(-5, 50)};
        const int penWidth = dice(1, 5);
        const int penHeight = dice(1, 5);
        PenLine line(from, to, penWidth, penHeight);
        PenLine back(to, from, penWidth, penHeight);
        std::string path;
        for (const std::string& row : PenPath(from, to, penWidth, penHeight))
            path += row + '\n';
        ASSERT_EQ(Drawn(line), path) << from.v << "," << from.h << " to " << to.v << "," << to.h;
        if (from.v != to.v) {
            ASSERT_EQ(Drawn(back), path) << "both ways the same";
        }
    }
}

TEST(RowShapes, APolygonHasThePixelsWhoseCentresAreInsideAnOddNumberOfTimes) {
    Dice dice;
    for (int i = 0; i < 500; ++i) {
        std::vector<Point> points(static_cast<std::size_t>(dice(0, 12)));
        for (Point& point : points)
            point = {dice(-10, 60), dice(-10, 60)};
        const auto isInside = [&](int y, int x) {
            bool isOdd = false;
            for (std::size_t k = 0; k < points.size(); ++k) {
                Point a = points[k];
                Point b = points[(k + 1) % points.size()];
                if (a.v > b.v) std::swap(a, b);
                if (y < a.v || y >= b.v) continue;
                // crossing < x + 1/2, all times 2 (b.v - a.v)
                const long height = b.v - a.v;
                if (2L * a.h * height + (2L * (y - a.v) + 1) * (b.h - a.h) < (2L * x + 1) * height)
                    isOdd = !isOdd;
            }
            return isOdd;
        };
        PolygonShape shape(points);
        ASSERT_EQ(Drawn(shape), Defined(isInside));
        PolygonShape fromBelow(points);
        ASSERT_EQ(Drawn(fromBelow, 17), Defined(isInside, 17)) << "rows left out at the top";
    }
}

Region RandomRegion(Dice& dice) {
    std::vector<pixman_box32_t> boxes;
    for (int i = dice(0, 8); i > 0; --i) {
        const int x = dice(0, 40);
        const int y = dice(0, 40);
        boxes.push_back({x, y, x + dice(1, 20), y + dice(1, 20)});
    }
    Region region = Region::FromRects(boxes);
    const int x = dice(0, 30);
    const int y = dice(0, 30);
    return region -= Region(Rect{y, x, y + dice(0, 9), x + dice(0, 9)});
}

TEST(RowShapes, ARegionAndItsFrameHaveTheRegionsPixels) {
    Dice dice;
    for (int i = 0; i < 500; ++i) {
        const Region region = RandomRegion(dice);
        const int penWidth = dice(1, 4);
        const int penHeight = dice(1, 4);
        RegionShape shape(region);
        ASSERT_EQ(Drawn(shape), Defined([&](int y, int x) { return region.Contains({y, x}); }));
        const auto isOfFrame = [&](int y, int x) {
            if (!region.Contains({y, x})) return false;
            for (int v = y - penHeight; v <= y + penHeight; ++v) {
                for (int h = x - penWidth; h <= x + penWidth; ++h) {
                    if (!region.Contains({v, h})) return true;
                }
            }
            return false;
        };
        RegionFrame frame(region, penWidth, penHeight);
        ASSERT_EQ(Drawn(frame), Defined(isOfFrame)) << penWidth << " by " << penHeight;
    }
}

TEST(RowShapes, APenWithoutWidthOrHeightDrawsNothing) {
    const Region region{Rect{0, 0, 9, 9}};
    for (const auto& [width, height] : {std::pair{0, 1}, std::pair{1, 0}}) {
        EXPECT_TRUE(PenLine({0, 0}, {9, 9}, width, height).Bounds().IsEmpty());
        EXPECT_TRUE(RegionFrame(region, width, height).Bounds().IsEmpty());
    }
}

}  // namespace
}  // namespace Ondrel::QuickDraw
