#include "browserloader.h"

#include "platform/webpage.h"

#include <QEventLoop>
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
    QEventLoop loop;
    bool loaded = false;
    const QMetaObject::Connection finished = QObject::connect(m_page.get(), &QWebEnginePage::loadFinished, &loop,
                                                              [&](bool ok) {
                                                                  loaded = ok;
                                                                  loop.quit();
                                                              });
    QTimer::singleShot(LoadTimeout, &loop, &QEventLoop::quit);
    if (source.name == u"-")
        m_page->setContent(source.stdinBytes, QStringLiteral("text/html;charset=UTF-8"), source.url);
    else
        m_page->load(source.url);
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
