#include "paneratios.h"

#include <algorithm>

void PaneRatios::horizontalDropped(int x, int width)
{
    if (x <= 0 || width <= 0)
        return;
    horizontal = std::clamp(float(x) / float(width), 0.5f, 0.8f);
}

void PaneRatios::verticalDropped(int y, int height)
{
    if (height <= 0)
        return;
    vertical = float(y) / float(height);
}

void PaneRatios::resetUnset()
{
    if (horizontal == 0.0f)
        horizontal = DefaultHorizontal;
    if (vertical == 0.0f)
        vertical = DefaultVertical;
}
