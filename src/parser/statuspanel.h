#pragma once

#include <QWidget>

// The status bar's first panel: the text of the element pointed at. An element's text can be
// megabytes over many lines, so the panel shows it on one line cut to its width, as plain text,
// and never asks for more room: the window keeps its size whatever is pointed at.
class StatusPanel : public QWidget
{
    Q_OBJECT

public:
    using QWidget::QWidget;

    // The whole text, as set.
    QString text() const { return m_text; }
    void setText(const QString &text);
    // What is drawn: the text on one line, cut to the width with an ellipsis.
    QString shownText() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString m_text;
    QString m_line;
};
