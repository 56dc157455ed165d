#pragma once

#include <QString>

// The offset box as the wizard reads it: its leading number, so "12abc" is 12 and "" is 0.
namespace WizardOffset {

// The decimal text of the box's number.
QString valueText(const QString &text);

// Whether the focus may leave the box with this text: -10000 to 10000.
bool withinRange(const QString &text);

} // namespace WizardOffset
