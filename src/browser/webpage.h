#pragma once

#include "document/document.h"

#include <QWebEnginePage>
#include <QWebEngineScript>

#include <QRectF>

#include <functional>

class PageBridge;
class QWebEngineProfile;

// Limits of one snapshot: a page over them is read in part and marked as cut.
struct SnapshotLimits {
    int maxElements = 1'000'000;
    qint64 maxTextChars = 64 * 1024 * 1024;
    int maxMilliseconds = 10'000;
};

// The browser page of the Page Parser, locked down for untrusted pages: no windows, no
// unknown schemes, no file or remote access from local content. The application's own
// scripts run in an isolated world that the page's scripts cannot reach.
class WebPage : public QWebEnginePage
{
    Q_OBJECT

public:
    enum JsWorld : quint32 {
        UnsafeJsWorld = QWebEngineScript::MainWorld,
        SafeJsWorld = QWebEngineScript::ApplicationWorld,
    };

    explicit WebPage(QObject *parent = nullptr);

    // Decides every navigation, of the main frame and of sub-frames alike.
    using NavigationGuard = std::function<bool(const QUrl &url, bool isMainFrame)>;
    void setNavigationGuard(NavigationGuard guard) { m_guard = std::move(guard); }

    // Loads a URL, asking the navigation guard first for the addresses the engine opens
    // without asking (about:), so that every navigation passes the guard.
    // False when nothing was loaded: the guard refused it, or the address is empty or invalid.
    bool navigate(const QUrl &url);

    // The page as it is now. The callback gets null when there is no HTML document to read
    // (a failed script, a page that is not HTML); it is not called once the page is gone.
    void requestSnapshot(std::function<void(DocumentPtr)> done, const SnapshotLimits &limits = {});
    // The same in two steps: the elements without their texts (textsPending), and then the
    // document with them, which cost the browser most. The first gets null when the page could
    // not be read, and then the second does not come, nor when the page is gone; texts that
    // could not be read come as a cut document whose texts are all unread.
    void requestSnapshotInStages(std::function<void(DocumentPtr)> structureDone, std::function<void(DocumentPtr)> textsDone,
                                 const SnapshotLimits &limits = {});
    // The sourceIndex of the element holding the selection or caret, -1 for none.
    void requestSelectionElement(std::function<void(int)> done);
    // Where those of the elements (by sourceIndex) that the view shows are, in the view's
    // coordinates; elements off the view or without a box are left out.
    struct ElementRect {
        int index;
        QRectF rect;
    };
    void requestElementRects(const QList<int> &indexes, std::function<void(QList<ElementRect>)> done);
    // Scrolls an element (by sourceIndex; -1 for the document element) to the top of the view.
    void scrollToElement(int sourceIndex);
    void clearSelection();

    // Reports the user's pointer, double clicks and selection in the page.
    PageBridge *bridge() const { return m_bridge; }

    static bool isAllowedScheme(const QString &scheme);
    static QWebEngineProfile *sharedProfile();

protected:
    bool acceptNavigationRequest(const QUrl &url, NavigationType type, bool isMainFrame) override;
    QWebEnginePage *createWindow(WebWindowType type) override;
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel level, const QString &message, int line,
                                  const QString &source) override;

private:
    void callBridge(const QString &function, const QJsonArray &arguments, std::function<void(const QVariant &)> done = {});
    void callBridgeOnce(const QString &function, const QJsonArray &arguments, std::function<void(const QVariant &)> done);

    NavigationGuard m_guard;
    PageBridge *m_bridge;
    bool m_rendererGone = false;
};

// Why the browser engine cannot start here, or empty when it can: as root its sandbox fails
// unless QTWEBENGINE_DISABLE_SANDBOX=1 says the caller accepts running without it.
QString browserSandboxProblem();
