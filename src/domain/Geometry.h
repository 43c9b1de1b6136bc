#pragma once

#include <algorithm>

namespace lumivane {

/// A position in points. Whether y grows upward (screens) or downward (frames) is said by its user.
struct Point {
    double x = 0;
    double y = 0;

    bool operator==(const Point&) const = default;
};

/// An axis-aligned rectangle with its origin at the lowest x and y.
///
/// Unlike the toolkit's rectangles it gives no meaning to "top", so it serves screens with y
/// growing upward and frames with y growing downward alike.
struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    double minX() const { return x; }

    double midX() const { return x + width / 2; }

    double maxX() const { return x + width; }

    double minY() const { return y; }

    double midY() const { return y + height / 2; }

    double maxY() const { return y + height; }

    double area() const { return width * height; }

    /// True when the rectangle covers no area; a size that is no number counts as none.
    bool isEmpty() const { return !(width > 0) || !(height > 0); }

    /// The smallest rectangle that holds both, empty ones included.
    Rect united(const Rect& other) const {
        const double left = std::min(minX(), other.minX());
        const double low = std::min(minY(), other.minY());
        return {left, low, std::max(maxX(), other.maxX()) - left,
                std::max(maxY(), other.maxY()) - low};
    }

    /// What both cover; empty (with a size of 0 or less) where they do not meet.
    Rect intersected(const Rect& other) const {
        const double left = std::max(minX(), other.minX());
        const double low = std::max(minY(), other.minY());
        return {left, low, std::min(maxX(), other.maxX()) - left,
                std::min(maxY(), other.maxY()) - low};
    }

    bool operator==(const Rect&) const = default;
};

/// Width and height in pixels.
struct PixelSize {
    int width = 0;
    int height = 0;

    bool operator==(const PixelSize&) const = default;
};

} // namespace lumivane
