#pragma once

// Where the Page Parser's two splitters sit, as fractions of the space they divide: the
// browser takes `horizontal` of the width, the tree `vertical` of the right column's height.
struct PaneRatios {
    static constexpr float DefaultHorizontal = 0.8f;
    static constexpr float DefaultVertical = 0.5f;

    float horizontal = DefaultHorizontal;
    float vertical = DefaultVertical;

    // A drop at x of a width; kept within 0.5 to 0.8; a drop at 0 or less is ignored.
    void horizontalDropped(int x, int width);
    void verticalDropped(int y, int height);
    // At each layout a ratio that is exactly 0 takes its default.
    void resetUnset();
};
