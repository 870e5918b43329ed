#include "ondrel/platform/quickdraw/FramePainter.h"

#include <algorithm>
#include <cmath>

#include "ondrel/platform/quickdraw/RowPainter.h"

namespace Ondrel::QuickDraw {
namespace {

constexpr int kMostCoordinate = 1 << 20;
constexpr double kOne = 65536;

bool IsUpright(const Matrix& matrix) {
    return matrix.b == 0 && matrix.c == 0 && matrix.a > 0 && matrix.d > 0;
}

int Rounded(double value) {
    return static_cast<int>(
        std::clamp(std::floor(value + 0.5), -1.0 * kMostCoordinate, 1.0 * kMostCoordinate));
}

struct Spot {
    double h;
    double v;
};

Spot Through(const Matrix& matrix, double h, double v) {
    return {(matrix.a * h + matrix.c * v + matrix.x) / kOne,
            (matrix.b * h + matrix.d * v + matrix.y) / kOne};
}

// The smallest rectangle of the picture that holds what the matrix makes of one.
Rect BoundsThrough(const Matrix& matrix, const Rect& rect) {
    const Spot corners[] = {
        Through(matrix, rect.left, rect.top), Through(matrix, rect.right, rect.top),
        Through(matrix, rect.left, rect.bottom), Through(matrix, rect.right, rect.bottom)};
    const auto [left, right] =
        std::minmax({corners[0].h, corners[1].h, corners[2].h, corners[3].h});
    const auto [top, bottom] =
        std::minmax({corners[0].v, corners[1].v, corners[2].v, corners[3].v});
    return {Rounded(top), Rounded(left), Rounded(bottom), Rounded(right)};
}

// From the centres of the canvas's pixels back to the frame.
class Reverse {
 public:
    Reverse(const Matrix& matrix, const Mapping& mapping)
        : matrix_(matrix),
          mapping_(mapping),
          determinant_((1.0 * matrix.a * matrix.d - 1.0 * matrix.b * matrix.c) / kOne) {}

    bool Exists() const { return determinant_ != 0; }

    Spot At(int x, int y) const {
        const double h = mapping_.frame.left + (x + 0.5) * mapping_.frame.Width() / mapping_.width;
        const double v = mapping_.frame.top + (y + 0.5) * mapping_.frame.Height() / mapping_.height;
        const double right = h - matrix_.x / kOne;
        const double down = v - matrix_.y / kOne;
        return {(matrix_.d * right - matrix_.c * down) / determinant_,
                (matrix_.a * down - matrix_.b * right) / determinant_};
    }

 private:
    const Matrix& matrix_;
    const Mapping& mapping_;
    double determinant_;
};

bool Contains(const Rect& rect, const Spot& spot) {
    return spot.h >= rect.left && spot.h < rect.right && spot.v >= rect.top && spot.v < rect.bottom;
}

struct Paint {
    Source source;
    Ink ink;
};

void DrawTurned(const Frame& frame, const Rect& source, const Reverse& reverse,
                const Region& visible, const Paint& paint, Canvas& canvas) {
    for (const pixman_box32_t& box : visible.Boxes()) {
        for (int y = box.y1; y < box.y2; ++y) {
            if (!canvas.Spend(8 * static_cast<std::uint64_t>(box.x2 - box.x1))) return;
            for (int x = box.x1; x < box.x2; ++x) {
                const Spot spot = reverse.At(x, y);
                if (!Contains(source, spot)) continue;
                const Pixel pixel = frame.Row(static_cast<int>(spot.v))[static_cast<int>(spot.h)];
                Pixel& under = canvas.Row(y)[x];
                under = Combined(paint.source, paint.ink, pixel, under);
            }
        }
    }
}

void DrawUpright(const Frame& frame, const Placement& placement, const Paint& paint,
                 Canvas& canvas) {
    RowFormat format;
    format.kind = RowKind::kPixels;
    RowPainter painter(placement, paint.source, paint.ink, format, canvas);
    for (int y = 0; y < frame.Height(); ++y) {
        if (!painter.DrawRow(reinterpret_cast<const std::uint8_t*>(frame.Row(y)))) return;
    }
}

bool IsOpaque(const Frame& frame) {
    return std::all_of(frame.Pixels().begin(), frame.Pixels().end(),
                       [](Pixel pixel) { return pixel >= kOpaque; });
}

}  // namespace

void DrawFrame(const Frame& frame, const FramePlace& place, const Ink& ink, const State& state,
               Canvas& canvas) {
    const Rect bounds = {0, 0, frame.Height(), frame.Width()};
    const Paint paint = {IsOpaque(frame) ? Source::kColors : Source::kBlended, ink};
    Placement placement{bounds, frame.Width(), place.source, {}, {}};
    if (!Place(state, canvas, BoundsThrough(place.matrix, place.source), place.mask, &placement))
        return;
    if (IsUpright(place.matrix)) return DrawUpright(frame, placement, paint, canvas);
    const Reverse reverse(place.matrix, state.mapping);
    if (reverse.Exists())
        DrawTurned(frame, Intersection(place.source, bounds), reverse, placement.visible, paint,
                   canvas);
}

}  // namespace Ondrel::QuickDraw
