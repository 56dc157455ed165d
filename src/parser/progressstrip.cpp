#include "progressstrip.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

ProgressDisplay ProgressDisplay::forProgress(int64_t progress, int64_t progressMax)
{
    ProgressDisplay display;
    if (progress == progressMax || progressMax <= 0)
        return display;
    display.visible = true;
    display.maximum = progressMax;
    display.position = std::min(progress, progressMax);
    display.redraw = display.position >= 0;
    const double percent = std::nearbyint(double(display.position) / double(progressMax) * 100.0);
    display.text = QString::number(qint64(percent)) + u'%';
    return display;
}

ProgressStrip::ProgressStrip(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("pctProgress"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    hide();
}

void ProgressStrip::placeOver(const QWidget *panel)
{
    // The panel's rectangle in our parent's coordinates.
    const QPoint topLeft = panel->mapTo(parentWidget(), QPoint(0, 0));
    setGeometry(QRect(topLeft, panel->size()));
    raise();
}

void ProgressStrip::begin(const QWidget *panel)
{
    placeOver(panel);
    m_position = 0;
    m_maximum = 0;
    m_text.clear();
    show();
    update();
}

void ProgressStrip::showProgress(const QWidget *panel, int64_t progress, int64_t progressMax)
{
    placeOver(panel);
    const ProgressDisplay display = ProgressDisplay::forProgress(progress, progressMax);
    if (!display.visible) {
        hide();
        return;
    }
    show();
    if (!display.redraw)
        return;
    m_position = display.position;
    m_maximum = display.maximum;
    m_text = display.text;
    repaint(); // at once, while the page is still loading
}

void ProgressStrip::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QRect all = rect();
    painter.fillRect(all, Qt::white);
    const QColor blue(0, 0, 255);
    painter.setPen(blue);
    painter.drawText(all, Qt::AlignCenter, m_text);
    if (m_maximum <= 0)
        return;
    // The filled part inverts what it covers: white text on blue.
    const int filled = int(std::llround(double(all.width()) * double(m_position) / double(m_maximum)));
    const QRect bar(0, 0, filled, all.height());
    painter.fillRect(bar, blue);
    painter.setClipRect(bar);
    painter.setPen(Qt::white);
    painter.drawText(all, Qt::AlignCenter, m_text);
}
