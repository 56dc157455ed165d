#include "progressline.h"

#include <cstdio>

#include <unistd.h>

namespace {

QString duration(qint64 seconds)
{
    if (seconds >= 60)
        return QStringLiteral("%1m%2s").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
    return QStringLiteral("%1s").arg(seconds);
}

} // namespace

ProgressLine::ProgressLine(bool quiet)
    : m_shown(!quiet && isatty(STDERR_FILENO))
{
    m_clock.start();
}

void ProgressLine::show(qint64 done, qint64 total, qint64 failures)
{
    // A few times a second is enough for the eye.
    if (!m_shown || m_clock.elapsed() - m_lastShownMs < 200)
        return;
    m_lastShownMs = m_clock.elapsed();
    const double seconds = m_clock.elapsed() / 1000.0;
    const double rate = seconds > 0 ? (done - m_start) / seconds : 0;
    QString text = total >= 0 ? QStringLiteral("%1 of %2 rows").arg(done).arg(total) : QStringLiteral("%1 rows").arg(done);
    text += QStringLiteral(", %1 rows/s, %2 failed").arg(rate, 0, 'f', 1).arg(failures);
    if (total >= 0 && rate > 0)
        text += QStringLiteral(", %1 left").arg(duration(qint64((total - done) / rate)));
    std::fprintf(stderr, "\r\033[K%s", qPrintable(text));
    std::fflush(stderr);
    m_dirty = true;
}

void ProgressLine::clear()
{
    if (m_dirty)
        std::fputs("\r\033[K", stderr);
    m_dirty = false;
}
