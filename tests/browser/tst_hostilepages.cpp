#include "browser/pagebridge.h"
#include "datatable.h"
#include "livepage.h"
#include "parserdriver.h"

#include <QtTest>

using namespace Qt::StringLiterals;

class tst_HostilePages : public QObject
{
    Q_OBJECT

private slots:
    void syntheticEventsSelectNothing()
    {
        QSignalSpy pointed(m_live.page->bridge(), &PageBridge::elementPointed);
        QSignalSpy doubleClicked(m_live.page->bridge(), &PageBridge::elementDoubleClicked);
        QSignalSpy selected(m_live.page->bridge(), &PageBridge::selectionMoved);
        QVERIFY(m_live.load(QUrl(testPageUrl(u"storm.html"_s))));
        const DocumentPtr document = m_live.snapshot();
        QVERIFY(document);
        QCOMPARE(document->innerText(document->length() - 2), u"done"_s);
        // One good call after the storm: once it arrives, the channel has delivered all before it.
        m_live.page->runJavaScript(u"new QWebChannel(qt.webChannelTransport, (c) => c.objects.pageEvents.pointerOver(2))"_s,
                                   WebPage::SafeJsWorld);
        QVERIFY(pointed.wait(30000));
        QCOMPARE(pointed.count() + doubleClicked.count() + selected.count(), 1);
    }

    void wrongTypesAndHugeStringsAreRefused()
    {
        QVERIFY(m_live.load(QUrl(testPageUrl(u"simple.html"_s))));
        QSignalSpy pointed(m_live.page->bridge(), &PageBridge::elementPointed);
        QSignalSpy doubleClicked(m_live.page->bridge(), &PageBridge::elementDoubleClicked);
        QSignalSpy selected(m_live.page->bridge(), &PageBridge::selectionMoved);
        // From the application's own world, the only one that can reach the bridge: every method
        // with every kind of wrong value, a 10 MB string among them, then one good call to know
        // when the channel has delivered them all.
        const QString script = QStringLiteral(R"(
            new QWebChannel(qt.webChannelTransport, (channel) => {
                const bridge = channel.objects.pageEvents;
                const huge = 'x'.repeat(10 * 1024 * 1024);
                const wrong = [huge, '3', {}, [], null, true, -1, 1.5, 1e300, NaN, Infinity];
                for (const name of ['pointerOver', 'doubleClicked', 'selectionChanged']) {
                    for (const value of wrong)
                        bridge[name](value);
                }
                bridge.pointerOut(huge);
                bridge.pointerOver(0);
            });
        )");
        m_live.page->runJavaScript(script, WebPage::SafeJsWorld);
        QVERIFY(pointed.wait(30000));
        QVERIFY(pointed.count() == 1 && pointed.first().first().toInt() == 0); // the html element, the first
        QCOMPARE(doubleClicked.count() + selected.count(), 0);
    }

    // The engine opens about: addresses without asking, so the page asks its guard itself.
    void aRefusedBlankPageIsNotOpened()
    {
        QVERIFY(m_live.load(QUrl(testPageUrl(u"simple.html"_s))));
        QSignalSpy started(m_live.page, &QWebEnginePage::loadStarted);
        m_live.page->setNavigationGuard([](const QUrl &, bool) { return false; });
        const bool opened = m_live.page->navigate(QUrl(u"about:blank"_s));
        m_live.page->setNavigationGuard({});
        QVERIFY(!opened);
        QVERIFY(m_live.load(QUrl(testPageUrl(u"linking.html"_s)))); // whatever the refused one did is done by now
        QCOMPARE(started.count(), 1);
    }

    void snapshotsAreCut_data()
    {
        addColumns<int, int, QString>("maxElements", "maxMilliseconds", "reason");
        QTest::newRow("too many elements") << 10 << 10000 << u"the first 10 were read"_s;
        QTest::newRow("too long") << 1000000 << 0 << u"took too long"_s;
    }

    void snapshotsAreCut()
    {
        const auto [maxElements, maxMilliseconds, reason] = fetchRow<int, int, QString>("maxElements", "maxMilliseconds", "reason");
        QVERIFY(m_live.load(QUrl(testPageUrl(u"linking.html"_s))));
        SnapshotLimits limits;
        limits.maxElements = maxElements;
        limits.maxMilliseconds = maxMilliseconds;
        const DocumentPtr document = m_live.snapshot(limits);
        QVERIFY(document);
        QVERIFY(document->cut);
        QVERIFY2(document->cutReason.contains(reason), qPrintable(document->cutReason));
        QVERIFY(document->length() <= maxElements);
    }

    void aDomTooDeepForTheRenderer()
    {
        // Built by script 100,000 levels deep, the page takes its renderer down with it; what asks
        // for the page then gets nothing, at once, and the next page loads as usual.
        QSignalSpy ended(m_live.page, &QWebEnginePage::renderProcessTerminated);
        m_live.page->load(QUrl(testPageUrl(u"deepdom.html"_s)));
        QVERIFY(ended.wait(60000));
        QVERIFY(!m_live.snapshot());
        QVERIFY(m_live.load(QUrl(testPageUrl(u"simple.html"_s))));
        QVERIFY(m_live.snapshot());
    }

private:
    LivePage m_live;
};

QTEST_MAIN(tst_HostilePages)
#include "tst_hostilepages.moc"
