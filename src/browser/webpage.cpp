#include "webpage.h"

#include "browsersnapshot.h"
#include "pagebridge.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>
#include <QTimer>
#include <QWebChannel>
#include <QWebEngineProfile>
#include <QWebEngineScriptCollection>
#include <QWebEngineSettings>

#include <unistd.h>

namespace {

QString resourceText(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("%s is missing from the resources", qPrintable(path));
    return QString::fromUtf8(file.readAll());
}

// The channel's client first, then the application's script that uses it, as one script so
// their order is certain.
QString bridgeSource()
{
    return resourceText(QStringLiteral(":/qtwebchannel/qwebchannel.js")) + u'\n'
           + resourceText(QStringLiteral(":/tamberline/js/pagebridge.js"));
}

void lockDown(QWebEngineSettings *settings)
{
    using S = QWebEngineSettings;
    // Several are off by default already: said again so that a changed default cannot open the page up.
    for (const S::WebAttribute attribute :
         {S::JavascriptCanOpenWindows, S::JavascriptCanAccessClipboard, S::JavascriptCanPaste, S::LocalContentCanAccessFileUrls,
          S::LocalContentCanAccessRemoteUrls, S::PluginsEnabled, S::PdfViewerEnabled, S::FullScreenSupportEnabled,
          S::ScreenCaptureEnabled, S::AllowWindowActivationFromJavaScript, S::NavigateOnDropEnabled,
          S::HyperlinkAuditingEnabled, S::DnsPrefetchEnabled})
        settings->setAttribute(attribute, false);
    settings->setUnknownUrlSchemePolicy(S::DisallowUnknownUrlSchemes);
}

const QString MissingBridge = QStringLiteral("__tamberline_missing__");

// One namespaced call of the bridge; arguments travel as JSON, never spliced in as text.
QString bridgeCall(const QString &function, const QJsonArray &arguments, const QString &whenMissing)
{
    return QStringLiteral("window.__tamberline ? window.__tamberline.") + function + QStringLiteral(".apply(null, ")
           + QString::fromUtf8(QJsonDocument(arguments).toJson(QJsonDocument::Compact)) + QStringLiteral(") : ") + whenMissing;
}

} // namespace

QWebEngineProfile *WebPage::sharedProfile()
{
    // Off the record: nothing a page stores outlives the program.
    static QPointer<QWebEngineProfile> profile;
    if (!profile) {
        profile = new QWebEngineProfile(QCoreApplication::instance());
        lockDown(profile->settings()); // every page's settings fall back to these
        QWebEngineScript bridge;
        bridge.setName(QStringLiteral("tamberline-bridge"));
        bridge.setSourceCode(bridgeSource());
        bridge.setInjectionPoint(QWebEngineScript::DocumentCreation);
        // Main frame only, as scripts are by default: a frame's elements are not in the tree.
        bridge.setWorldId(SafeJsWorld);
        profile->scripts()->insert(bridge);
    }
    return profile;
}

WebPage::WebPage(QObject *parent)
    : QWebEnginePage(sharedProfile(), parent)
    , m_bridge(new PageBridge(this))
{
    auto *channel = new QWebChannel(this);
    channel->registerObject(QStringLiteral("pageEvents"), m_bridge);
    setWebChannel(channel, SafeJsWorld);
    // Scripts sent to a renderer that has gone would wait for an answer that never comes.
    connect(this, &QWebEnginePage::renderProcessTerminated, this, [this] { m_rendererGone = true; });
    connect(this, &QWebEnginePage::loadStarted, this, [this] { m_rendererGone = false; });
}

bool WebPage::isAllowedScheme(const QString &scheme)
{
    static const QStringList allowed{QStringLiteral("http"), QStringLiteral("https"), QStringLiteral("file"),
                                     QStringLiteral("about"), QStringLiteral("data")};
    return allowed.contains(scheme.toLower());
}

bool WebPage::acceptNavigationRequest(const QUrl &url, NavigationType, bool isMainFrame)
{
    if (!isAllowedScheme(url.scheme()))
        return false;
    return !m_guard || m_guard(url, isMainFrame);
}

bool WebPage::navigate(const QUrl &url)
{
    if (url.isEmpty() || !url.isValid())
        return false;
    if (url.scheme() == QStringLiteral("about") && m_guard && !m_guard(url, true))
        return false;
    load(url);
    return true;
}

QWebEnginePage *WebPage::createWindow(WebWindowType)
{
    return nullptr;
}

void WebPage::javaScriptConsoleMessage(JavaScriptConsoleMessageLevel, const QString &, int, const QString &)
{
    // The page's console is the page's business.
}

void WebPage::callBridge(const QString &function, const QJsonArray &arguments, std::function<void(const QVariant &)> done)
{
    if (m_rendererGone) {
        if (done)
            QTimer::singleShot(0, this, [done = std::move(done)] { done(QVariant()); });
        return;
    }
    const QString script = bridgeCall(function, arguments, u'\'' + MissingBridge + u'\'');
    QPointer<WebPage> self(this);
    runJavaScript(script, SafeJsWorld, [self, function, arguments, done = std::move(done)](const QVariant &result) mutable {
        if (!self)
            return;
        // A renderer started after a crash does not get the profile's scripts again: bring the
        // bridge in by hand, once, and ask again.
        if (result.toString() == MissingBridge) {
            self->runJavaScript(bridgeSource(), SafeJsWorld, [self, function, arguments, done = std::move(done)](const QVariant &) mutable {
                if (self)
                    self->callBridgeOnce(function, arguments, std::move(done));
            });
            return;
        }
        if (done)
            done(result);
    });
}

void WebPage::callBridgeOnce(const QString &function, const QJsonArray &arguments, std::function<void(const QVariant &)> done)
{
    QPointer<WebPage> self(this);
    runJavaScript(bridgeCall(function, arguments, QStringLiteral("undefined")), SafeJsWorld,
                  [self, done = std::move(done)](const QVariant &result) {
        if (self && done)
            done(result);
    });
}

namespace {

QJsonObject encodedLimits(const SnapshotLimits &limits)
{
    QJsonObject encoded;
    encoded.insert(QStringLiteral("maxElements"), limits.maxElements);
    encoded.insert(QStringLiteral("maxTextChars"), double(limits.maxTextChars));
    encoded.insert(QStringLiteral("maxMilliseconds"), limits.maxMilliseconds);
    return encoded;
}

} // namespace

void WebPage::requestSnapshotInStages(std::function<void(DocumentPtr)> structureDone, std::function<void(DocumentPtr)> textsDone,
                                      const SnapshotLimits &limits)
{
    const QJsonObject encoded = encodedLimits(limits);
    QPointer<WebPage> self(this);
    callBridge(QStringLiteral("snapshot"), QJsonArray{encoded, false},
               [self, encoded, structureDone = std::move(structureDone), textsDone = std::move(textsDone)](const QVariant &result) {
        DocumentPtr structure;
        try {
            if (result.typeId() == QMetaType::QString)
                structure = documentFromSnapshotJson(result.toString());
        } catch (const SnapshotFormatError &) {
        }
        structureDone(structure);
        if (!structure || !self)
            return;
        self->callBridge(QStringLiteral("texts"), QJsonArray{encoded}, [structure, textsDone](const QVariant &texts) {
            try {
                if (texts.typeId() == QMetaType::QString) {
                    textsDone(documentWithTexts(*structure, texts.toString()));
                    return;
                }
            } catch (const SnapshotFormatError &) {
            }
            // The elements stay usable; every text counts as unread, so a text search says so.
            auto unread = std::make_shared<Document>(*structure);
            unread->textsPending = false;
            unread->unreadTextFrom = 0;
            unread->cut = true;
            unread->cutReason = QStringLiteral("the page's texts could not be read");
            textsDone(unread);
        });
    });
}

void WebPage::requestSnapshot(std::function<void(DocumentPtr)> done, const SnapshotLimits &limits)
{
    callBridge(QStringLiteral("snapshot"), QJsonArray{encodedLimits(limits)}, [done = std::move(done)](const QVariant &result) {
        if (result.typeId() != QMetaType::QString) {
            done(nullptr);
            return;
        }
        try {
            done(documentFromSnapshotJson(result.toString()));
        } catch (const SnapshotFormatError &) {
            done(nullptr);
        }
    });
}

void WebPage::requestSelectionElement(std::function<void(int)> done)
{
    callBridge(QStringLiteral("selectionElement"), {}, [done = std::move(done)](const QVariant &result) {
        bool ok = false;
        const int index = result.toInt(&ok);
        done(ok ? index : -1);
    });
}

void WebPage::requestElementRects(const QList<int> &indexes, std::function<void(QList<ElementRect>)> done)
{
    QJsonArray encoded;
    for (const int index : indexes)
        encoded.append(index);
    callBridge(QStringLiteral("rects"), QJsonArray{encoded}, [done = std::move(done)](const QVariant &result) {
        // Numbers only, as many as make whole rectangles: the rest is not what the script writes.
        const QJsonArray flat = QJsonDocument::fromJson(result.toString().toUtf8()).array();
        QList<ElementRect> rects;
        for (qsizetype i = 0; i + 4 < flat.size(); i += 5) {
            const int index = flat.at(i).toInt(-1);
            const QRectF rect(flat.at(i + 1).toDouble(), flat.at(i + 2).toDouble(), flat.at(i + 3).toDouble(), flat.at(i + 4).toDouble());
            if (index >= 0 && rect.isValid())
                rects.append({index, rect});
        }
        done(rects);
    });
}

void WebPage::scrollToElement(int sourceIndex)
{
    callBridge(QStringLiteral("scrollTo"), QJsonArray{sourceIndex});
}

void WebPage::clearSelection()
{
    callBridge(QStringLiteral("clearSelection"), {});
}

QString browserSandboxProblem()
{
    if (geteuid() != 0 || qEnvironmentVariable("QTWEBENGINE_DISABLE_SANDBOX") == QStringLiteral("1"))
        return {};
    return QStringLiteral(
        "The embedded browser cannot run as root with its sandbox, and Tamberline does not switch the "
        "sandbox off by itself. Run as an ordinary user, or set QTWEBENGINE_DISABLE_SANDBOX=1 to accept "
        "running pages without the sandbox.");
}
