#pragma once

class QWidget;

// A control's TabStop: whether the Tab key stops at it. A control that never takes the focus
// has none and is left alone; one without a tab stop still takes the focus when clicked.
void setTabStop(QWidget *control, bool on);
