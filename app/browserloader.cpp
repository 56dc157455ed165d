#include "browserloader.h"

#include "limitedread.h"
#include "browser/webpage.h"

#include <QDir>
#include <QWebEngineLoadingInfo>
#include <QEventLoop>
#include <QFileInfo>
#include <QTemporaryFile>

BrowserLoader::BrowserLoader(QObject *parent)
    : QObject(parent)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &BrowserLoader::timedOut);
}

BrowserLoader::~BrowserLoader()
{
    m_done = {};
    dropPage();
}

void BrowserLoader::start(const PageSource &source, Done done)
{
    cancel();
    m_done = std::move(done);
    m_name = source.name;
    const quint64 generation = m_generation;
    const auto fail = [this, generation](const QString &error) {
        // Never from within start: the caller is still setting up.
        QMetaObject::invokeMethod(this, [this, generation, error] {
            if (generation == m_generation)
                finish(nullptr, error);
        }, Qt::QueuedConnection);
    };

    QUrl url = source.url;
    const bool local = source.isStandardInput() || source.url.isLocalFile();
    const QString path = source.isStandardInput() ? QString() : source.url.toLocalFile();
    try {
        if (!source.refusal.isEmpty())
            throw PageError(source.refusal);
        if (local && !source.isStandardInput() && fileKindOf(path) == FileKind::Regular) {
            // The engine reads a file itself, and its relative links stay relative to its folder.
            if (QFileInfo(path).size() > maxPageBytes())
                throw PageError(tooLongText(path, maxPageBytes()));
        } else if (local) {
            // What only we can read (a pipe), or what the engine would show as a listing (a
            // folder), is read by the same rules as for the static reader. The engine takes bytes
            // directly only up to 2 MB, so they go through a file; the base address is that file's.
            const QByteArray bytes = source.read();
            m_copy = std::make_unique<QTemporaryFile>(QDir::tempPath() + QStringLiteral("/tamberline-XXXXXX.html"));
            if (!m_copy->open() || m_copy->write(bytes) != bytes.size() || !m_copy->flush())
                throw PageError(QStringLiteral("cannot keep %1 for the browser: %2").arg(source.name, m_copy->errorString()));
            m_copy->close();
            url = QUrl::fromLocalFile(m_copy->fileName());
        }
    } catch (const PageError &error) {
        fail(error.message());
        return;
    }

    if (!m_page) {
        m_page = std::make_unique<WebPage>();
        connect(m_page.get(), &QWebEnginePage::loadFinished, this, &BrowserLoader::loadFinished);
        connect(m_page.get(), &QWebEnginePage::loadingChanged, this, [this](const QWebEngineLoadingInfo &loading) {
            if (loading.status() == QWebEngineLoadingInfo::LoadFailedStatus)
                m_failure = QStringLiteral("%1 (%2)").arg(loading.url().toDisplayString(), loading.errorString());
        });
    }
    m_stage = Stage::Loading;
    m_failure.clear();
    m_timer.start(m_timeout);
    m_page->load(url);
}

void BrowserLoader::cancel()
{
    if (m_stage != Stage::Idle)
        dropPage();
    m_done = {};
    finish(nullptr, {});
}

DocumentPtr BrowserLoader::load(const PageSource &source)
{
    QEventLoop loop;
    DocumentPtr document;
    QString error;
    start(source, [&](DocumentPtr result, const QString &why) {
        document = std::move(result);
        error = why;
        loop.quit();
    });
    loop.exec();
    if (!document)
        throw PageError(error);
    return document;
}

void BrowserLoader::loadFinished(bool ok)
{
    if (m_stage != Stage::Loading)
        return;
    if (!ok) {
        // Often a page that sends itself elsewhere, where a local page may not go; the engine
        // tells where and why only after this signal.
        m_stage = Stage::Failed;
        const quint64 generation = m_generation;
        QMetaObject::invokeMethod(this, [this, generation] {
            if (generation != m_generation)
                return;
            finish(nullptr, m_failure.isEmpty() ? QStringLiteral("the browser could not load %1").arg(m_name)
                                                : QStringLiteral("the browser could not load %1: %2").arg(m_name, m_failure));
        }, Qt::QueuedConnection);
        return;
    }
    m_stage = Stage::Snapshot;
    m_timer.start(m_timeout);
    const quint64 generation = m_generation;
    m_page->requestSnapshot([this, generation](DocumentPtr document) {
        if (generation != m_generation)
            return;
        if (!document)
            finish(nullptr, QStringLiteral("the browser gave no HTML document for %1").arg(m_name));
        else
            finish(std::move(document), {});
    });
}

void BrowserLoader::timedOut()
{
    const QString seconds = QString::number(m_timeout.count() / 1000.0);
    const QString error = m_stage == Stage::Snapshot
                              ? QStringLiteral("the browser gave no snapshot of %1 within %2 s").arg(m_name, seconds)
                              : QStringLiteral("the browser did not load %1 within %2 s").arg(m_name, seconds);
    dropPage();
    finish(nullptr, error);
}

void BrowserLoader::finish(DocumentPtr document, const QString &error)
{
    m_timer.stop();
    m_stage = Stage::Idle;
    ++m_generation;
    m_copy.reset();
    // Taken first: done may start the next page.
    const Done done = std::exchange(m_done, {});
    if (done)
        done(std::move(document), error);
}

void BrowserLoader::dropPage()
{
    if (!m_page)
        return;
    disconnect(m_page.get(), nullptr, this, nullptr);
    // The engine answers a dropped page's pending scripts, empty, as the page goes: stale by then.
    ++m_generation;
    m_page.reset();
}
