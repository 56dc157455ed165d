#pragma once

#include <QRect>
#include <QSize>

// The Page Parser's place on screen, kept in the settings in twips and restored clamped to the
// screen.
struct WindowPlacement {
    static constexpr double MinimumWidth = 4500; // twips
    static constexpr double MinimumHeight = 3000;

    double left = 0;
    double top = 0;
    double width = 0;
    double height = 0;

    // Negative top and left become 0; a window larger than the screen is shrunk to it, one too
    // small to use is grown; one reaching past the right or bottom edge is moved back.
    WindowPlacement clampedTo(double screenWidth, double screenHeight) const;

    // From the settings, each value defaulting to the current one (also when a stored value is
    // not a number), in the order top, left, width, height.
    static WindowPlacement load(const WindowPlacement &current);
    // Left, top, width, height, in that order.
    void save() const;

    static double pixelsToTwips(double pixels, double logicalDpi);
    static double twipsToPixels(double twips, double logicalDpi);

    bool operator==(const WindowPlacement &) const = default;
};
