#include "browser/pagebridge.h"
#include "browser/webpage.h"
#include "datatable.h"

#include <QMetaMethod>
#include <QSignalSpy>
#include <QWebEngineView>
#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

QString pageUrl(const QString &name)
{
    return QUrl::fromLocalFile(QStringLiteral(TAMBERLINE_TEST_DATA "/pages/") + name).toString();
}

} // namespace

class tst_HostilePages : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_view = std::make_unique<QWebEngineView>();
        m_page = new WebPage(m_view.get());
        m_view->setPage(m_page);
        m_view->resize(800, 600);
        m_view->show();
    }

    void bridgePublishesOnlyItsSlots()
    {
        // Everything callable beyond QObject's own: the slots a page script could reach.
        const QMetaObject &meta = PageBridge::staticMetaObject;
        QStringList callable;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            const QMetaMethod method = meta.method(i);
            if (method.access() == QMetaMethod::Public && method.methodType() != QMetaMethod::Signal)
                callable.append(QString::fromLatin1(method.name()));
        }
        QCOMPARE(callable, PageBridge::publishedSlots());
        QCOMPARE(meta.propertyCount(), meta.propertyOffset());
    }

    void syntheticEventsSelectNothing()
    {
        QSignalSpy pointed(m_page->bridge(), &PageBridge::elementPointed);
        QSignalSpy doubleClicked(m_page->bridge(), &PageBridge::elementDoubleClicked);
        QSignalSpy selected(m_page->bridge(), &PageBridge::selectionMoved);
        QVERIFY(load(u"storm.html"_s));
        const DocumentPtr document = snapshot();
        QVERIFY(document);
        QCOMPARE(document->innerText(document->length() - 2), u"done"_s);
        // One good call after the storm: once it arrives, the channel has delivered all before it.
        m_page->runJavaScript(u"new QWebChannel(qt.webChannelTransport, (c) => c.objects.pageEvents.pointerOver(2))"_s,
                              WebPage::SafeJsWorld);
        QVERIFY(pointed.wait(30000));
        QCOMPARE(pointed.count() + doubleClicked.count() + selected.count(), 1);
    }

    void wrongTypesAndHugeStringsAreRefused()
    {
        QVERIFY(load(u"simple.html"_s));
        QSignalSpy pointed(m_page->bridge(), &PageBridge::elementPointed);
        QSignalSpy doubleClicked(m_page->bridge(), &PageBridge::elementDoubleClicked);
        QSignalSpy selected(m_page->bridge(), &PageBridge::selectionMoved);
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
                bridge.pointerOver(2);
            });
        )");
        m_page->runJavaScript(script, WebPage::SafeJsWorld);
        QVERIFY(pointed.wait(30000));
        QCOMPARE(pointed.count(), 1);
        QCOMPARE(pointed.first().first().toInt(), 2);
        QCOMPARE(doubleClicked.count() + selected.count(), 0);
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
        QVERIFY(load(u"linking.html"_s));
        SnapshotLimits limits;
        limits.maxElements = maxElements;
        limits.maxMilliseconds = maxMilliseconds;
        const DocumentPtr document = snapshot(limits);
        QVERIFY(document);
        QVERIFY(document->cut);
        QVERIFY2(document->cutReason.contains(reason), qPrintable(document->cutReason));
        QVERIFY(document->length() <= maxElements);
    }

    void aDomTooDeepForTheRenderer()
    {
        // Built by script 100,000 levels deep, the page takes its renderer down with it; what asks
        // for the page then gets nothing, at once, and the next page loads as usual.
        QSignalSpy ended(m_page, &QWebEnginePage::renderProcessTerminated);
        m_page->load(QUrl(pageUrl(u"deepdom.html"_s)));
        QVERIFY(ended.wait(60000));
        QVERIFY(!snapshot());
        QVERIFY(load(u"simple.html"_s));
        QVERIFY(snapshot());
    }

private:
    bool load(const QString &name);
    DocumentPtr snapshot(const SnapshotLimits &limits = {});

    std::unique_ptr<QWebEngineView> m_view;
    WebPage *m_page = nullptr;
};

bool tst_HostilePages::load(const QString &name)
{
    QSignalSpy loaded(m_page, &QWebEnginePage::loadFinished);
    m_page->load(QUrl(pageUrl(name)));
    return loaded.wait(60000);
}

DocumentPtr tst_HostilePages::snapshot(const SnapshotLimits &limits)
{
    // Shared with the callback, which may come after a test has given up on it.
    const auto answer = std::make_shared<std::pair<bool, DocumentPtr>>(false, nullptr);
    m_page->requestSnapshot([answer](DocumentPtr result) { *answer = {true, result}; }, limits);
    QTest::qWaitFor([&] { return answer->first; }, 60000);
    return answer->second;
}

QTEST_MAIN(tst_HostilePages)
#include "tst_hostilepages.moc"
