#pragma once

#include <QWidget>

#include <cstdint>

// What the progress strip shows for a progress report of the browser.
struct ProgressDisplay {
    bool visible = false;
    bool redraw = false; // false: leave the drawing as it is
    int64_t position = 0;
    int64_t maximum = 0;
    QString text; // the percentage, e.g. "45%"

    // Hidden when done (position = maximum) or when maximum is 0 or less; a position past
    // the maximum counts as the maximum; a negative position changes nothing.
    static ProgressDisplay forProgress(int64_t progress, int64_t progressMax);
};

// The download progress strip `pctProgress`, laid over the status bar's first panel: a blue
// bar that inverts the percentage where it covers it.
class ProgressStrip : public QWidget
{
    Q_OBJECT

public:
    explicit ProgressStrip(QWidget *parent = nullptr);

    // Shown over `panel` whenever a navigation is allowed.
    void begin(const QWidget *panel);
    void showProgress(const QWidget *panel, int64_t progress, int64_t progressMax);

    QString text() const { return m_text; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void placeOver(const QWidget *panel);

    int64_t m_position = 0;
    int64_t m_maximum = 0;
    QString m_text;
};
