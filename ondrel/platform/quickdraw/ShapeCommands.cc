// From stored shapes to painted ones. Internal to libOndrel.
#include "ondrel/platform/quickdraw/ShapeCommands.h"

#include <cstddef>

#include "ondrel/platform/quickdraw/Fill.h"
#include "ondrel/platform/quickdraw/PenLine.h"
#include "ondrel/platform/quickdraw/PolygonShape.h"
#include "ondrel/platform/quickdraw/RegionShape.h"
#include "ondrel/platform/quickdraw/RoundShape.h"

namespace Ondrel::QuickDraw {

namespace {

constexpr std::uint16_t kSameShape = 8;

enum class Verb : std::uint8_t { kFrame, kPaint, kErase, kInvert, kFill };

Verb VerbOf(std::uint16_t opcode) {
    return static_cast<Verb>(opcode & 7);
}

bool IsSame(std::uint16_t opcode) {
    return (opcode & kSameShape) != 0;
}

Paint PaintFor(Verb verb, const State& state) {
    const Point origin = state.mapping.Map(Point{0, 0});
    switch (verb) {
        case Verb::kErase:
            return {state.backPattern, state.InkFor(TransferMode::kCopy), origin};
        case Verb::kInvert:
            return {Pattern{}, state.InkFor(TransferMode::kXor), origin};
        case Verb::kFill:
            return {state.fillPattern, state.InkFor(TransferMode::kCopy), origin};
        default:
            return {state.penPattern, state.InkFor(state.penMode), origin};
    }
}

int PenWidth(const State& state) {
    return state.mapping.ScaleWidth(state.penWidth);
}
int PenHeight(const State& state) {
    return state.mapping.ScaleHeight(state.penHeight);
}

void DrawLine(const Point& from, const Point& to, const Paint& paint, const State& state,
              Canvas& canvas) {
    PenLine line(state.mapping.Map(from), state.mapping.Map(to), PenWidth(state), PenHeight(state));
    Fill(line, paint, state.clip, canvas);
}

// Each line from its own place or the last one's end, to a place or by a distance of bytes.
bool DrawLineCommand(std::uint16_t opcode, PictureBytes& bytes, State& state, Canvas& canvas) {
    constexpr int kFromPen = 1;
    constexpr int kShort = 2;
    const Point from = (opcode & kFromPen) != 0 ? state.penLocation : bytes.ReadPoint();
    Point to = from;
    if ((opcode & kShort) != 0) {
        to.h += bytes.S8();
        to.v += bytes.S8();
    } else {
        to = bytes.ReadPoint();
    }
    if (bytes.HasFailed()) return false;
    state.penLocation = {static_cast<std::int16_t>(to.v), static_cast<std::int16_t>(to.h)};
    DrawLine(from, to, PaintFor(Verb::kPaint, state), state, canvas);
    return true;
}

RoundedRect OutlineOf(std::uint16_t family, const Rect& rect, const State& state) {
    const Rect mapped = state.mapping.Map(rect);
    if (family == 0x30) return {mapped, 0, 0};
    if (family != 0x40) return {mapped, mapped.Width(), mapped.Height()};
    return {mapped, state.mapping.ScaleWidth(state.ovalSize.h),
            state.mapping.ScaleHeight(state.ovalSize.v)};
}

// Rectangles, round rectangles, ovals and arcs. `rect` is the last one's.
bool DrawRound(std::uint16_t opcode, PictureBytes& bytes, const State& state, Canvas& canvas,
               Rect* rect) {
    const std::uint16_t family = opcode & 0xF0;
    if (!IsSame(opcode)) *rect = bytes.ReadRect();
    const bool isArc = family == 0x60;
    const int startAngle = isArc ? bytes.S16() : 0;
    const int arcAngle = isArc ? bytes.S16() : 0;
    if (bytes.HasFailed()) return false;

    const RoundedRect outer = OutlineOf(family, *rect, state);
    const Verb verb = VerbOf(opcode);
    const bool isFrame = verb == Verb::kFrame;
    if (outer.Bounds().IsEmpty()) return true;
    if (isFrame && (state.penWidth == 0 || state.penHeight == 0)) return true;
    RoundShape shape = isFrame ? RoundShape(outer, outer.Inset(PenWidth(state), PenHeight(state)))
                               : RoundShape(outer);
    if (isArc) shape.CutTo(Wedge(outer.Bounds(), startAngle, arcAngle));
    Fill(shape, PaintFor(verb, state), state.clip, canvas);
    return true;
}

// A 2-byte length of the whole, bounds, points.
bool ReadPolygon(PictureBytes& bytes, std::vector<Point>* points) {
    constexpr std::size_t kHead = 10;
    constexpr std::size_t kPoint = 4;
    const std::size_t length = bytes.U16();
    bytes.Skip(kHead - 2);
    if (bytes.HasFailed() || length < kHead || length - kHead > bytes.Left()) return false;
    points->clear();
    for (std::size_t i = 0; i < (length - kHead) / kPoint; ++i)
        points->push_back(bytes.ReadPoint());
    bytes.Skip((length - kHead) % kPoint);
    return true;
}

void FramePolygon(const std::vector<Point>& points, const State& state, Canvas& canvas) {
    constexpr std::uint64_t kWorkOfLine = 16;
    const Paint paint = PaintFor(Verb::kFrame, state);
    for (std::size_t i = 1; i < points.size() && canvas.Spend(kWorkOfLine); ++i)
        DrawLine(points[i - 1], points[i], paint, state, canvas);
}

void PaintPolygon(const std::vector<Point>& points, Verb verb, const State& state, Canvas& canvas) {
    constexpr std::uint64_t kWorkOfPoint = 32;
    if (!canvas.Spend(kWorkOfPoint * points.size())) return;
    std::vector<Point> mapped;
    mapped.reserve(points.size());
    for (const Point& point : points)
        mapped.push_back(state.mapping.Map(point));
    PolygonShape shape(mapped);
    Fill(shape, PaintFor(verb, state), state.clip, canvas);
}

}  // namespace

bool ShapeCommands::IsShape(std::uint16_t opcode) {
    if (opcode >= 0x20 && opcode <= 0x23) return true;
    return opcode >= 0x30 && opcode < 0x90 && (opcode & 7) <= static_cast<int>(Verb::kFill);
}

bool ShapeCommands::DrawPolygon(std::uint16_t opcode, PictureBytes& bytes, const State& state,
                                Canvas& canvas) {
    if (!IsSame(opcode) && !ReadPolygon(bytes, &points_)) return false;
    if (VerbOf(opcode) == Verb::kFrame)
        FramePolygon(points_, state, canvas);
    else
        PaintPolygon(points_, VerbOf(opcode), state, canvas);
    return true;
}

// Damaged rows leave the region's bounds: nothing is drawn then, for they are not its shape.
bool ShapeCommands::DrawRegion(std::uint16_t opcode, PictureBytes& bytes, const State& state,
                               Canvas& canvas) {
    if (!IsSame(opcode) && !ReadRegion(bytes, &region_)) {
        region_ = Region();
        return !bytes.HasFailed();
    }
    const std::uint64_t workOfBox = state.mapping.IsUnscaled() ? 2 : 32;  // which sorts them
    if (!canvas.Spend(workOfBox * region_.Boxes().size())) return true;
    const Region mapped = region_.Mapped(state.mapping);
    if (VerbOf(opcode) == Verb::kFrame) {
        RegionFrame frame(mapped, PenWidth(state), PenHeight(state));
        Fill(frame, PaintFor(Verb::kFrame, state), state.clip, canvas);
    } else {
        RegionShape shape(mapped);
        Fill(shape, PaintFor(VerbOf(opcode), state), state.clip, canvas);
    }
    return true;
}

bool ShapeCommands::Draw(std::uint16_t opcode, PictureBytes& bytes, State& state, Canvas& canvas) {
    const std::uint16_t family = opcode & 0xF0;
    if (family == 0x20) return DrawLineCommand(opcode, bytes, state, canvas);
    if (family == 0x70) return DrawPolygon(opcode, bytes, state, canvas);
    if (family == 0x80) return DrawRegion(opcode, bytes, state, canvas);
    return DrawRound(opcode, bytes, state, canvas, &rect_);
}

}  // namespace Ondrel::QuickDraw
