#include "politefetcher.h"

#include "limitedread.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QNetworkReply>

#include <algorithm>
#include <limits>

namespace {

constexpr qint64 FirstPauseMs = 250;
constexpr qint64 LongestPauseMs = 60000;

qint64 now()
{
    return QDeadlineTimer::current().deadline();
}

QString hostKeyOf(const QUrl &url)
{
    return url.host().toLower() + u':' + QString::number(url.port(url.scheme() == u"https" ? 443 : 80));
}

bool mayGetOver(int status)
{
    return status == 429 || status >= 500;
}

// Connection troubles; what the address itself gets wrong (no such host, a refused redirect, a
// certificate) stays wrong however often it is tried.
bool isPassing(QNetworkReply::NetworkError error)
{
    switch (error) {
    case QNetworkReply::ConnectionRefusedError:
    case QNetworkReply::RemoteHostClosedError:
    case QNetworkReply::TimeoutError:
    case QNetworkReply::TemporaryNetworkFailureError:
    case QNetworkReply::NetworkSessionFailedError:
    case QNetworkReply::UnknownNetworkError:
    case QNetworkReply::ProxyConnectionClosedError:
    case QNetworkReply::ProxyTimeoutError:
    case QNetworkReply::ServiceUnavailableError:
    case QNetworkReply::InternalServerError:
    case QNetworkReply::UnknownServerError:
        return true;
    default:
        return false;
    }
}

} // namespace

PoliteFetcher::PoliteFetcher(const FetchSettings &settings, QObject *parent)
    : QObject(parent)
    , m_settings(settings)
{
    m_manager.setRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy);
    m_wake.setSingleShot(true);
    connect(&m_wake, &QTimer::timeout, this, &PoliteFetcher::pump);
}

void PoliteFetcher::get(const QUrl &url, Done done)
{
    m_hosts[hostKeyOf(url)].waiting.push_back({url, std::move(done)});
    pump();
}

void PoliteFetcher::pump()
{
    const qint64 at = now();
    qint64 wake = std::numeric_limits<qint64>::max();
    for (auto host = m_hosts.begin(); host != m_hosts.end();) {
        Host &h = host.value();
        while (m_running < m_settings.jobs && h.running < m_settings.perHost) {
            const qint64 spaced = h.lastStart + m_settings.delayMs;
            // The first request whose pause is over; one waiting to be tried again holds up no other.
            auto ready = std::find_if(h.waiting.begin(), h.waiting.end(), [&](const Request &r) { return r.notBefore <= at; });
            if (ready == h.waiting.end() || spaced > at) {
                for (const Request &r : h.waiting)
                    wake = std::min(wake, std::max(r.notBefore, spaced));
                break;
            }
            Request request = std::move(*ready);
            h.waiting.erase(ready);
            h.lastStart = at;
            start(host.key(), std::move(request));
        }
        // A host with nothing to do is forgotten once its delay is over, so that a table of
        // many hosts costs no memory for those it is done with.
        if (h.waiting.empty() && h.running == 0 && at - h.lastStart >= m_settings.delayMs)
            host = m_hosts.erase(host);
        else
            ++host;
    }
    if (wake != std::numeric_limits<qint64>::max() && m_running < m_settings.jobs)
        m_wake.start(int(std::clamp<qint64>(wake - at, 1, LongestPauseMs)));
}

void PoliteFetcher::start(const QString &hostKey, Request request)
{
    QNetworkRequest networkRequest(request.url);
    networkRequest.setHeader(QNetworkRequest::UserAgentHeader, m_settings.userAgent);
    networkRequest.setTransferTimeout(m_settings.timeoutMs);
    QNetworkReply *reply = m_manager.get(networkRequest);
    reply->setReadBufferSize(m_settings.maxBytes + 1); // held while a busy thread has yet to see it is too long
    ++m_running;
    ++m_hosts[hostKey].running;
    auto timedOut = std::make_shared<bool>(false);
    auto tooLong = std::make_shared<bool>(false);
    QTimer::singleShot(m_settings.timeoutMs, reply, [reply, timedOut] {
        *timedOut = true;
        reply->abort();
    });
    connect(reply, &QNetworkReply::downloadProgress, reply, [this, reply, tooLong](qint64 received, qint64) {
        if (received > m_settings.maxBytes && !*tooLong) {
            *tooLong = true;
            reply->abort();
        }
    });
    connect(reply, &QNetworkReply::finished, this, [=, this, request = std::move(request)]() mutable {
        finished(hostKey, std::move(request), reply, *timedOut, *tooLong);
    });
}

void PoliteFetcher::finished(const QString &hostKey, Request request, QNetworkReply *reply, bool timedOut, bool tooLong)
{
    reply->deleteLater();
    --m_running;
    --m_hosts[hostKey].running;
    Fetched fetched;
    fetched.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    fetched.finalUrl = reply->url();
    const QString address = request.url.toDisplayString();
    bool again = false;
    if (tooLong) {
        fetched.error = tooLongText(address, m_settings.maxBytes);
    } else if (timedOut) {
        fetched.error = QStringLiteral("cannot fetch %1: no answer within %2 s").arg(address).arg(m_settings.timeoutMs / 1000.0);
        again = true;
    } else if (fetched.status >= 400) {
        fetched.error = QStringLiteral("cannot fetch %1: HTTP %2 %3")
                            .arg(address)
                            .arg(fetched.status)
                            .arg(reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString());
        again = mayGetOver(fetched.status);
    } else if (reply->error() != QNetworkReply::NoError) {
        fetched.error = QStringLiteral("cannot fetch %1: %2").arg(address, reply->errorString());
        again = isPassing(reply->error());
    } else {
        fetched.contentType = reply->rawHeader("Content-Type");
        fetched.bytes = reply->readAll();
    }
    if (again && request.attempt < m_settings.retries) {
        request.notBefore = now() + retryPause(request.attempt, reply->rawHeader("Retry-After"));
        ++request.attempt;
        m_hosts[hostKey].waiting.push_back(std::move(request));
    } else {
        request.done(fetched);
    }
    pump();
}

qint64 PoliteFetcher::retryPause(int attempt, const QByteArray &retryAfter) const
{
    if (!retryAfter.isEmpty()) {
        bool isNumber = false;
        const qint64 seconds = retryAfter.trimmed().toLongLong(&isNumber);
        if (isNumber && seconds >= 0)
            return std::min(seconds * 1000, LongestPauseMs);
        // An HTTP date ends in "GMT", which Qt reads only as an offset.
        QString date = QString::fromLatin1(retryAfter.trimmed());
        if (date.endsWith(QLatin1String(" GMT")))
            date.replace(date.size() - 3, 3, QStringLiteral("+0000"));
        const QDateTime when = QDateTime::fromString(date, Qt::RFC2822Date);
        if (when.isValid())
            return std::clamp<qint64>(QDateTime::currentDateTimeUtc().msecsTo(when), 0, LongestPauseMs);
    }
    qint64 pause = FirstPauseMs;
    for (int i = 0; i < attempt; ++i)
        pause = std::min(pause * 2, LongestPauseMs);
    return pause;
}
