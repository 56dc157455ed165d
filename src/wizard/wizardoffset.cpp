#include "wizardoffset.h"

#include "platform/conversions.h"

namespace WizardOffset {

namespace {
constexpr double Limit = 10000;
}

QString valueText(const QString &text)
{
    // Adding zero turns -0 into 0; 'G' with 15 digits writes whole numbers without a point.
    return QString::number(leadingNumber(text) + 0.0, 'G', 15);
}

bool withinRange(const QString &text)
{
    const double value = leadingNumber(text);
    return value >= -Limit && value <= Limit;
}

} // namespace WizardOffset
