#include "browserloader.h"

#include "limitedread.h"
#include "browser/webpage.h"

#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QTemporaryFile>
#include <QTimer>

namespace {
constexpr int LoadTimeout = 60000;
}

BrowserLoader::BrowserLoader()
    : m_page(std::make_unique<WebPage>())
{
}

BrowserLoader::~BrowserLoader() = default;

DocumentPtr BrowserLoader::load(const PageSource &source)
{
    QUrl url = source.url;
    const bool local = source.isStandardInput() || source.url.isLocalFile();
    const QString path = source.isStandardInput() ? QString() : source.url.toLocalFile();
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

    QEventLoop loop;
    bool loaded = false;
    const QMetaObject::Connection finished = QObject::connect(m_page.get(), &QWebEnginePage::loadFinished, &loop,
                                                              [&](bool ok) {
                                                                  loaded = ok;
                                                                  loop.quit();
                                                              });
    QTimer::singleShot(LoadTimeout, &loop, &QEventLoop::quit);
    m_page->load(url);
    loop.exec();
    QObject::disconnect(finished);
    if (!loaded)
        throw PageError(QStringLiteral("the browser could not load %1").arg(source.name));

    DocumentPtr document;
    bool answered = false;
    m_page->requestSnapshot([&](DocumentPtr result) {
        document = result;
        answered = true;
        loop.quit();
    });
    QTimer::singleShot(LoadTimeout, &loop, &QEventLoop::quit);
    if (!answered)
        loop.exec();
    if (!document)
        throw PageError(QStringLiteral("the browser gave no HTML document for %1").arg(source.name));
    return document;
}
