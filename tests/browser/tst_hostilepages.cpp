#include "browser/pagebridge.h"
#include "browser/webpage.h"

#include <QMetaMethod>
#include <QSignalSpy>
#include <QWebEngineView>
#include <QtTest>

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
    void initTestCase();
    void bridgePublishesOnlyItsSlots();
    void syntheticEventsSelectNothing();
    void wrongTypesAndHugeStringsAreRefused();
    void snapshotsAreCut_data();
    void snapshotsAreCut();
    void aDomTooDeepForTheRenderer();

private:
    bool load(const QString &name);
    DocumentPtr snapshot(const SnapshotLimits &limits = {});

    std::unique_ptr<QWebEngineView> m_view;
    WebPage *m_page = nullptr;
};

void tst_HostilePages::initTestCase()
{
    m_view = std::make_unique<QWebEngineView>();
    m_page = new WebPage(m_view.get());
    m_view->setPage(m_page);
    m_view->resize(800, 600);
    m_view->show();
}

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

void tst_HostilePages::bridgePublishesOnlyItsSlots()
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

void tst_HostilePages::syntheticEventsSelectNothing()
{
    QSignalSpy pointed(m_page->bridge(), &PageBridge::elementPointed);
    QSignalSpy doubleClicked(m_page->bridge(), &PageBridge::elementDoubleClicked);
    QSignalSpy selected(m_page->bridge(), &PageBridge::selectionMoved);
    QVERIFY(load(QStringLiteral("storm.html")));
    const DocumentPtr document = snapshot();
    QVERIFY(document);
    QCOMPARE(document->innerText(document->length() - 2), QStringLiteral("done"));
    // One good call after the storm: once it arrives, the channel has delivered all before it.
    m_page->runJavaScript(QStringLiteral("new QWebChannel(qt.webChannelTransport, (c) => c.objects.pageEvents.pointerOver(2))"),
                          WebPage::SafeJsWorld);
    QVERIFY(pointed.wait(30000));
    QCOMPARE(pointed.count() + doubleClicked.count() + selected.count(), 1);
}

void tst_HostilePages::wrongTypesAndHugeStringsAreRefused()
{
    QVERIFY(load(QStringLiteral("simple.html")));
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

void tst_HostilePages::snapshotsAreCut_data()
{
    QTest::addColumn<int>("maxElements");
    QTest::addColumn<int>("maxMilliseconds");
    QTest::addColumn<QString>("reason");
    QTest::newRow("too many elements") << 10 << 10000 << QStringLiteral("the first 10 were read");
    QTest::newRow("too long") << 1000000 << 0 << QStringLiteral("took too long");
}

void tst_HostilePages::snapshotsAreCut()
{
    QFETCH(int, maxElements);
    QFETCH(int, maxMilliseconds);
    QFETCH(QString, reason);
    QVERIFY(load(QStringLiteral("linking.html")));
    SnapshotLimits limits;
    limits.maxElements = maxElements;
    limits.maxMilliseconds = maxMilliseconds;
    const DocumentPtr document = snapshot(limits);
    QVERIFY(document);
    QVERIFY(document->cut);
    QVERIFY2(document->cutReason.contains(reason), qPrintable(document->cutReason));
    QVERIFY(document->length() <= maxElements);
}

void tst_HostilePages::aDomTooDeepForTheRenderer()
{
    // Built by script 100,000 levels deep, the page takes its renderer down with it; what asks
    // for the page then gets nothing, at once, and the next page loads as usual.
    QSignalSpy ended(m_page, &QWebEnginePage::renderProcessTerminated);
    m_page->load(QUrl(pageUrl(QStringLiteral("deepdom.html"))));
    QVERIFY(ended.wait(60000));
    QVERIFY(!snapshot());
    QVERIFY(load(QStringLiteral("simple.html")));
    QVERIFY(snapshot());
}

QTEST_MAIN(tst_HostilePages)
#include "tst_hostilepages.moc"
