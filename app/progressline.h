#pragma once

#include <QElapsedTimer>
#include <QString>

// A line on a terminal's standard error that tells how far a batch is, rewritten in place.
class ProgressLine
{
public:
    // Shown only when standard error is a terminal and not quiet.
    explicit ProgressLine(bool quiet);

    bool isShown() const { return m_shown; }
    // Rows done before this run, left out of the rate.
    void setStart(qint64 done) { m_start = done; }
    // total < 0 when not known (yet).
    void show(qint64 done, qint64 total, qint64 failures);
    // Leaves the terminal's line empty for what is said after.
    void clear();

private:
    bool m_shown = false;
    bool m_dirty = false;
    QElapsedTimer m_clock;
    qint64 m_lastShownMs = -1000;
    qint64 m_start = 0;
};
