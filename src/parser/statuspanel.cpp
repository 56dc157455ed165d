#include "statuspanel.h"

#include <QPainter>

namespace {

// More than any screen shows; the rest is never laid out.
constexpr qsizetype ShownCharacters = 2000;

QString oneLine(const QString &text)
{
    QString line = text.left(ShownCharacters);
    for (QChar &c : line) {
        if (c.category() == QChar::Other_Control || c == QChar::LineSeparator || c == QChar::ParagraphSeparator)
            c = u' ';
    }
    return line.simplified();
}

} // namespace

void StatusPanel::setText(const QString &text)
{
    if (text == m_text)
        return;
    m_text = text;
    m_line = oneLine(text);
    update();
}

QString StatusPanel::shownText() const
{
    return fontMetrics().elidedText(m_line, Qt::ElideRight, contentsRect().width() - 4);
}

QSize StatusPanel::sizeHint() const
{
    return {200, fontMetrics().height() + 4};
}

QSize StatusPanel::minimumSizeHint() const
{
    return {0, fontMetrics().height() + 4};
}

void StatusPanel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.drawText(contentsRect().adjusted(2, 0, -2, 0), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, shownText());
}
