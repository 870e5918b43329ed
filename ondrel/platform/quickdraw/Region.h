// Sets of pixels: clips, shapes to be painted, masks. Internal to libOndrel.
//
// A value in canvas or picture coordinates, kept as pixman keeps a region: bands of rectangles.
// Where memory runs out or a bound on its complexity is met, the result is empty and the region
// says so with HasFailed().
#ifndef ONDREL_PLATFORM_QUICKDRAW_REGION_H
#define ONDREL_PLATFORM_QUICKDRAW_REGION_H

#include <pixman.h>

#include <span>

#include "ondrel/platform/quickdraw/Geometry.h"
#include "ondrel/platform/quickdraw/PictureBytes.h"

namespace Ondrel::QuickDraw {

class Region {
 public:
    Region();
    explicit Region(const Rect& rect);
    Region(const Region& other);
    Region(Region&& other) noexcept;
    Region& operator=(Region other) noexcept;
    ~Region();

    // The region of these rectangles, which may overlap and stand in any order.
    static Region FromRects(std::span<const pixman_box32_t> boxes);

    bool IsEmpty() const;
    bool HasFailed() const { return failed_; }
    Rect Bounds() const;  // empty for an empty region
    bool Contains(const Point& pixel) const;

    // Its rectangles from top to bottom, and from left to right where they start alike.
    std::span<const pixman_box32_t> Boxes() const;

    void Move(int down, int right);
    Region& operator&=(const Region& other);
    Region& operator|=(const Region& other);
    Region& operator-=(const Region& other);
    Region& operator^=(const Region& other);

    // Each rectangle scaled by the mapping.
    Region Mapped(const Mapping& mapping) const;

 private:
    pixman_region32_t region_;
    bool failed_ = false;
};

// Reads a stored region: a 2-byte length of the whole, its bounds, and, for one that is no
// rectangle, its inversion points row by row. `bytes` stands behind it afterwards, by its length.
// False, with the bounds in `region`, when its rows are not in order or end early.
bool ReadRegion(PictureBytes& bytes, Region* region);

}  // namespace Ondrel::QuickDraw

#endif
