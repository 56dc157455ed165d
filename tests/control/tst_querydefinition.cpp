#include "control/attribwalk.h"
#include "control/controlaccess.h"
#include "control/editorapplication.h"
#include "freshquery.h"
#include "datatable.h"

#include <QThread>
#include <QtTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace {
bool onAnotherThread(const std::function<void()> &work)
{
    std::unique_ptr<QThread> thread(QThread::create(work));
    thread->start();
    return thread->wait(60000);
}
QString fields(const Tamberline &control)
{
    return u"%1 %2 %3 %4"_s.arg(control.Url1()).arg(int(control.AllowNav2())).arg(control.SearchText()).arg(control.NodeOffset());
}
} // namespace

class tst_QueryDefinition : public QObject
{
    Q_OBJECT

private slots:
    void platformOrder_data()
    {
        addColumns<QString, QString, QStringList>("requested", "session", "tried");
        QTest::newRow("X first") << QString() << u"x11"_s << QStringList{u"xcb"_s, u"wayland"_s};
        QTest::newRow("a Wayland session's own first") << QString() << u"wayland"_s << QStringList{u"wayland"_s, u"xcb"_s};
        QTest::newRow("as asked, in order") << u"offscreen;;xcb"_s << u"wayland"_s << QStringList{u"offscreen"_s, u"xcb"_s};
    }

    void platformOrder()
    {
        const auto [requested, session, tried] = fetchRow<QString, QString, QStringList>("requested", "session", "tried");
        QCOMPARE(platformCandidates(requested, session), tried);
    }

    void init() { resetThreadQuery(); }

    void controlsOnOneThreadShareTheQuery()
    {
        Tamberline first;
        auto second = std::make_unique<Tamberline>();
        first.setUrl1(u"http://example.org/%id%"_s);
        first.setElemAttribs(-1, u"class=price"_s);
        second->setNodeOffset(-4);
        QVERIFY(second->Url1() == u"http://example.org/%id%"_s && second->ElemAttribs(0) == u"class=price"_s && first.NodeOffset() == -4);

        // Ending one control leaves the query to the others.
        second.reset();
        QCOMPARE(first.Url1(), u"http://example.org/%id%"_s);
        Tamberline third;
        QCOMPARE(third.ElemAttribs(0), u"class=price"_s);
    }

    void controlOnAnotherThreadHasItsOwn()
    {
        Tamberline here;
        here.setSearchText(u"main thread"_s);
        QString seenThere, seenBySecond;
        QVERIFY(onAnotherThread([&] {
            Tamberline a;
            seenThere = fields(a) + u' ' + a.ElemAttribs(0);
            a.setSearchText(u"worker"_s);
            Tamberline b;
            seenBySecond = b.SearchText();
        }));
        // A thread that never touched the query sees the initial values.
        QVERIFY(seenThere == u" 0  0 "_s && seenBySecond == u"worker"_s && here.SearchText() == u"main thread"_s);
    }

    void editorOnAnotherThreadIsRefused_data()
    {
        addColumns<int>("editor");
        QTest::newRow("EditProperties") << 0;
        QTest::newRow("EditQueryItem") << 1;
        QTest::newRow("EditWizard") << 2;
    }

    void editorOnAnotherThreadIsRefused()
    {
        // Its windows would be built away from the application's thread and never shown.
        QFETCH(int, editor);
        constexpr bool (Tamberline::*editors[])() = {&Tamberline::EditProperties, &Tamberline::EditQueryItem, &Tamberline::EditWizard};
        QString result;
        QVERIFY(onAnotherThread([&] {
            Tamberline control;
            result = outcome([&] { return (control.*editors[editor])(); });
        }));
        QCOMPARE(result, u"error 5"_s);
    }

    void readOutOfRange_data()
    {
        addColumns<int, QString>("index", "expected");
        QTest::newRow("first") << 0 << u"a=1"_s;
        QTest::newRow("last") << 2 << u"c=3"_s;
        QTest::newRow("minus one") << -1 << QString();
        QTest::newRow("at the end") << 3 << QString();
        QTest::newRow("largest index") << 32767 << QString();
        QTest::newRow("smallest index") << -32768 << QString();
    }

    void readOutOfRange()
    {
        const auto [index, expected] = fetchRow<int, QString>("index", "expected");
        Tamberline control;
        // A put at -1 or at any index past the end appends.
        control.setElemAttribs(-1, u"a=1"_s);
        control.setElemAttribs(7, u"b=2"_s);
        control.setElemAttribs(-32768, u"c=3"_s);
        QCOMPARE(control.ElemAttribs(qint16(index)), expected);
    }

    void putInPlaceFailsAndKeepsTheList()
    {
        Tamberline control;
        control.setElemAttribs(-1, u"a=1"_s);
        control.setElemAttribs(-1, u"b=2"_s);
        for (qint16 index : {0, 1})
            QVERIFY((outcome([&] { control.setElemAttribs(index, u"x=9"_s); })) == u"error 424"_s && storedAttribs(control) == (QStringList{u"a=1"_s, u"b=2"_s}));
    }

    void walkStopsAtBlankEntry_data()
    {
        addColumns<QStringList, QStringList>("stored", "walked");
        QTest::newRow("blanks in the middle hide the rest") << QStringList{u"a=1"_s, u"  "_s, u"b=2"_s} << QStringList{u"a=1"_s};
        QTest::newRow("empty first entry hides all") << QStringList{QString(), u"a=1"_s} << QStringList{};
        QTest::newRow("entries come back untrimmed") << QStringList{u" a = 1 "_s, u"b=2"_s} << QStringList{u" a = 1 "_s, u"b=2"_s};
        // Only spaces count as blanks.
        QTest::newRow("a tab is text") << QStringList{u"\t"_s, u"a=1"_s} << QStringList{u"\t"_s, u"a=1"_s};
    }

    void walkStopsAtBlankEntry()
    {
        const auto [stored, walked] = fetchRow<QStringList, QStringList>("stored", "walked");
        Tamberline control;
        for (const QString &entry : stored)
            control.setElemAttribs(-1, entry);
        QVERIFY(walkElemAttribs(control) == walked && storedAttribs(control) == stored);
    }

    void clearLeavesOtherFields()
    {
        Tamberline control;
        control.ClearAttribs(); // on an empty list
        control.setUrl1(u"u"_s);
        control.setAllowNav2(true);
        control.setSearchText(u"s"_s);
        control.setNodeOffset(2);
        control.setElemAttribs(-1, u"a=1"_s);
        control.setElemAttribs(-1, u"b=2"_s);
        control.ClearAttribs();
        QVERIFY(storedAttribs(control).isEmpty());
        QCOMPARE(fields(control), u"u 1 s 2"_s);
    }

    void reachableByName()
    {
        Tamberline control;
        QVERIFY(control.setProperty("Url1", u"page.htm"_s));
        QCOMPARE(control.property("Url1").toString(), u"page.htm"_s);
        QVERIFY(QMetaObject::invokeMethod(&control, "setElemAttribs", Q_ARG(qint16, -1), Q_ARG(QString, u"id=x"_s)));
        QCOMPARE(control.ElemAttribs(0), u"id=x"_s);
        QVERIFY(isQueryControl(&control));
        QVERIFY(!isQueryControl(this));
        QVERIFY(!isQueryControl(nullptr));
    }
};

QTEST_GUILESS_MAIN(tst_QueryDefinition)
#include "tst_querydefinition.moc"
