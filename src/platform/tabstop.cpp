#include "tabstop.h"

#include <QWidget>

void setTabStop(QWidget *control, bool on)
{
    const int policy = control->focusPolicy();
    if (policy == Qt::NoFocus)
        return;
    control->setFocusPolicy(Qt::FocusPolicy(on ? policy | Qt::TabFocus : (policy & ~Qt::TabFocus) | Qt::ClickFocus));
}
