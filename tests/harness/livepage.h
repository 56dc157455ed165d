#pragma once

#include "browser/webpage.h"

#include <QSignalSpy>
#include <QTest>
#include <QWebEngineView>

#include <memory>

// A browser view on screen, for tests that read pages as the browser shows them. Make it
// after the application, as a member of the test object.
class LivePage
{
public:
    LivePage()
    {
        view.setPage(page);
        view.resize(1024, 768);
        view.show();
    }

    bool load(const QUrl &url)
    {
        QSignalSpy loaded(page, &QWebEnginePage::loadFinished);
        page->load(url);
        return loaded.wait(60000);
    }

    // Null when the page gives none.
    DocumentPtr snapshot(const SnapshotLimits &limits = {})
    {
        // Shared with the callback, which may come after a test has given up on it.
        const auto answer = std::make_shared<std::pair<bool, DocumentPtr>>(false, nullptr);
        page->requestSnapshot([answer](DocumentPtr result) { *answer = {true, result}; }, limits);
        return QTest::qWaitFor([&] { return answer->first; }, 60000) ? answer->second : nullptr;
    }

    QWebEngineView view;
    WebPage *page = new WebPage(&view);
};
