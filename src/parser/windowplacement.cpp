#include "windowplacement.h"

#include "platform/settingsstore.h"

#include <algorithm>
#include <cmath>

namespace {

const QString Section = QStringLiteral("Preferences");
const QString LeftKey = QStringLiteral("WindowLeft");
const QString TopKey = QStringLiteral("WindowTop");
const QString WidthKey = QStringLiteral("WindowWidth");
const QString HeightKey = QStringLiteral("WindowHeight");

double readNumber(const QString &key, double current)
{
    bool ok = false;
    const double value = SettingsStore::getSetting(Section, key, QString::number(current)).trimmed().toDouble(&ok);
    return ok && std::isfinite(value) ? value : current;
}

} // namespace

WindowPlacement WindowPlacement::clampedTo(double screenWidth, double screenHeight) const
{
    WindowPlacement p = *this;
    // Settings written by hand or broken can hold sizes no window could be seen at.
    p.width = std::clamp(p.width, std::min(MinimumWidth, screenWidth), screenWidth);
    p.height = std::clamp(p.height, std::min(MinimumHeight, screenHeight), screenHeight);
    p.top = std::clamp(p.top, 0.0, screenHeight - p.height);
    p.left = std::clamp(p.left, 0.0, screenWidth - p.width);
    return p;
}

WindowPlacement WindowPlacement::load(const WindowPlacement &current)
{
    WindowPlacement p;
    p.top = readNumber(TopKey, current.top);
    p.left = readNumber(LeftKey, current.left);
    p.width = readNumber(WidthKey, current.width);
    p.height = readNumber(HeightKey, current.height);
    return p;
}

void WindowPlacement::save() const
{
    SettingsStore::saveSettings(Section, {{LeftKey, QString::number(left)},
                                          {TopKey, QString::number(top)},
                                          {WidthKey, QString::number(width)},
                                          {HeightKey, QString::number(height)}});
}

double WindowPlacement::pixelsToTwips(double pixels, double logicalDpi)
{
    return pixels * 1440.0 / logicalDpi;
}

double WindowPlacement::twipsToPixels(double twips, double logicalDpi)
{
    return twips * logicalDpi / 1440.0;
}
