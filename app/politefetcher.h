#pragma once

#include <QByteArray>
#include <QHash>
#include <QNetworkAccessManager>
#include <QObject>
#include <QTimer>
#include <QUrl>

#include <deque>
#include <functional>
#include <limits>

// How a batch fetches: what it asks of each host and how it answers failures.
struct FetchSettings {
    int jobs = 4;          // requests at once, all hosts together
    int perHost = 2;       // requests at once to one host
    int delayMs = 0;       // from one request's start to the next to the same host
    int timeoutMs = 30000; // for one request, redirects included
    int retries = 3;       // after connection errors, 429 and 5xx
    QByteArray userAgent;
    qint64 maxBytes = 0;
};

struct Fetched {
    QByteArray bytes;
    QByteArray contentType;
    int status = 0; // the last HTTP status; 0 when no answer came
    QUrl finalUrl;  // after redirects
    QString error;  // empty when the page came
};

// Fetches pages politely on the thread that owns it: requests run at once across hosts, a few
// at a time to any one host and spaced by a delay, and failures a server may get over are tried
// again after a growing pause (the server's Retry-After when it names one).
class PoliteFetcher : public QObject
{
    Q_OBJECT

public:
    using Done = std::function<void(const Fetched &)>;

    explicit PoliteFetcher(const FetchSettings &settings, QObject *parent = nullptr);

    void get(const QUrl &url, Done done);

private:
    struct Request {
        QUrl url;
        Done done;
        int attempt = 0;
        qint64 notBefore = 0;
    };
    struct Host {
        std::deque<Request> waiting;
        int running = 0;
        qint64 lastStart = std::numeric_limits<qint64>::min() / 2; // long enough ago for any delay
    };

    void pump();
    void start(const QString &hostKey, Request request);
    void finished(const QString &hostKey, Request request, QNetworkReply *reply, bool timedOut, bool tooLong);
    qint64 retryPause(int attempt, const QByteArray &retryAfter) const;

    FetchSettings m_settings;
    QNetworkAccessManager m_manager;
    QHash<QString, Host> m_hosts;
    int m_running = 0;
    QTimer m_wake;
};
