#include "control/attribwalk.h"
#include "control/controlaccess.h"
#include "freshquery.h"
#include "platform/runtimeerror.h"

#include <QThread>
#include <QtTest>

#include <memory>

class tst_QueryDefinition : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void startsEmpty();
    void controlsOnOneThreadShareTheQuery();
    void controlOnAnotherThreadHasItsOwn();
    void editorOnAnotherThreadIsRefused_data();
    void editorOnAnotherThreadIsRefused();
    void readOutOfRange_data();
    void readOutOfRange();
    void putInPlaceFailsAndKeepsTheList();
    void walkStopsAtBlankEntry_data();
    void walkStopsAtBlankEntry();
    void clearLeavesOtherFields();
    void reachableByName();
};

void tst_QueryDefinition::init()
{
    resetThreadQuery();
}

void tst_QueryDefinition::startsEmpty()
{
    // A thread that never touched the query sees the initial values.
    QStringList seen;
    std::unique_ptr<QThread> thread(QThread::create([&] {
        Tamberline control;
        seen = {control.Url1(), QString::number(control.AllowNav2()), control.SearchText(), QString::number(control.NodeOffset()),
                control.ElemAttribs(0)};
    }));
    thread->start();
    QVERIFY(thread->wait(10000));
    QCOMPARE(seen, (QStringList{QString(), QStringLiteral("0"), QString(), QStringLiteral("0"), QString()}));
}

void tst_QueryDefinition::controlsOnOneThreadShareTheQuery()
{
    Tamberline first;
    auto second = std::make_unique<Tamberline>();
    first.setUrl1(QStringLiteral("http://example.org/%id%"));
    first.setElemAttribs(-1, QStringLiteral("class=price"));
    second->setNodeOffset(-4);
    QCOMPARE(second->Url1(), QStringLiteral("http://example.org/%id%"));
    QCOMPARE(second->ElemAttribs(0), QStringLiteral("class=price"));
    QCOMPARE(first.NodeOffset(), -4);

    // Ending one control leaves the query to the others.
    second.reset();
    QCOMPARE(first.Url1(), QStringLiteral("http://example.org/%id%"));
    Tamberline third;
    QCOMPARE(third.ElemAttribs(0), QStringLiteral("class=price"));
}

void tst_QueryDefinition::controlOnAnotherThreadHasItsOwn()
{
    Tamberline here;
    here.setSearchText(QStringLiteral("main thread"));
    QString seenThere, seenBySecond;
    std::unique_ptr<QThread> thread(QThread::create([&] {
        Tamberline a;
        seenThere = a.SearchText();
        a.setSearchText(QStringLiteral("worker"));
        Tamberline b;
        seenBySecond = b.SearchText();
    }));
    thread->start();
    QVERIFY(thread->wait(10000));
    QCOMPARE(seenThere, QString());
    QCOMPARE(seenBySecond, QStringLiteral("worker"));
    QCOMPARE(here.SearchText(), QStringLiteral("main thread"));
}

void tst_QueryDefinition::editorOnAnotherThreadIsRefused_data()
{
    QTest::addColumn<int>("editor");
    QTest::newRow("EditProperties") << 0;
    QTest::newRow("EditQueryItem") << 1;
    QTest::newRow("EditWizard") << 2;
}

void tst_QueryDefinition::editorOnAnotherThreadIsRefused()
{
    // Its windows would be built away from the application's thread and never shown.
    QFETCH(int, editor);
    constexpr bool (Tamberline::*editors[])() = {&Tamberline::EditProperties, &Tamberline::EditQueryItem,
                                                 &Tamberline::EditWizard};
    int error = 0;
    std::unique_ptr<QThread> thread(QThread::create([&] {
        Tamberline control;
        try {
            (control.*editors[editor])();
        } catch (const RuntimeError &failure) {
            error = failure.number();
        }
    }));
    thread->start();
    QVERIFY(thread->wait(60000));
    QCOMPARE(error, 5);
}

void tst_QueryDefinition::readOutOfRange_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("expected");
    QTest::newRow("first") << 0 << QStringLiteral("a=1");
    QTest::newRow("last") << 2 << QStringLiteral("c=3");
    QTest::newRow("negative") << -5 << QString();
    QTest::newRow("minus one") << -1 << QString();
    QTest::newRow("at the end") << 3 << QString();
    QTest::newRow("largest index") << 32767 << QString();
    QTest::newRow("smallest index") << -32768 << QString();
}

void tst_QueryDefinition::readOutOfRange()
{
    QFETCH(int, index);
    QFETCH(QString, expected);
    Tamberline control;
    // A put at -1 or at any index past the end appends.
    control.setElemAttribs(-1, QStringLiteral("a=1"));
    control.setElemAttribs(7, QStringLiteral("b=2"));
    control.setElemAttribs(-32768, QStringLiteral("c=3"));
    QCOMPARE(control.ElemAttribs(qint16(index)), expected);
}

void tst_QueryDefinition::putInPlaceFailsAndKeepsTheList()
{
    Tamberline control;
    control.setElemAttribs(-1, QStringLiteral("a=1"));
    control.setElemAttribs(-1, QStringLiteral("b=2"));
    for (qint16 index : {0, 1}) {
        try {
            control.setElemAttribs(index, QStringLiteral("x=9"));
            QFAIL("an in-place put must fail");
        } catch (const RuntimeError &error) {
            QCOMPARE(error.number(), 424);
            QCOMPARE(error.description(), QStringLiteral("Object required"));
        }
    }
    QCOMPARE(storedAttribs(control), (QStringList{QStringLiteral("a=1"), QStringLiteral("b=2")}));
}

void tst_QueryDefinition::walkStopsAtBlankEntry_data()
{
    QTest::addColumn<QStringList>("stored");
    QTest::addColumn<QStringList>("walked");
    QTest::newRow("empty list") << QStringList{} << QStringList{};
    QTest::newRow("blanks in the middle hide the rest")
        << QStringList{QStringLiteral("a=1"), QStringLiteral("  "), QStringLiteral("b=2")} << QStringList{QStringLiteral("a=1")};
    QTest::newRow("empty first entry hides all") << QStringList{QString(), QStringLiteral("a=1")} << QStringList{};
    QTest::newRow("entries come back untrimmed")
        << QStringList{QStringLiteral(" a = 1 "), QStringLiteral("b=2")} << QStringList{QStringLiteral(" a = 1 "), QStringLiteral("b=2")};
    // Only spaces count as blanks.
    QTest::newRow("a tab is text") << QStringList{QStringLiteral("\t"), QStringLiteral("a=1")}
                                   << QStringList{QStringLiteral("\t"), QStringLiteral("a=1")};
}

void tst_QueryDefinition::walkStopsAtBlankEntry()
{
    QFETCH(QStringList, stored);
    QFETCH(QStringList, walked);
    Tamberline control;
    for (const QString &entry : stored)
        control.setElemAttribs(-1, entry);
    QCOMPARE(walkElemAttribs(control), walked);
    QCOMPARE(storedAttribs(control), stored);
}

void tst_QueryDefinition::clearLeavesOtherFields()
{
    Tamberline control;
    control.ClearAttribs(); // on an empty list
    control.setUrl1(QStringLiteral("u"));
    control.setAllowNav2(true);
    control.setSearchText(QStringLiteral("s"));
    control.setNodeOffset(2);
    control.setElemAttribs(-1, QStringLiteral("a=1"));
    control.setElemAttribs(-1, QStringLiteral("b=2"));
    control.ClearAttribs();
    QVERIFY(storedAttribs(control).isEmpty());
    QCOMPARE(QStringList({control.Url1(), QString::number(control.AllowNav2()), control.SearchText(), QString::number(control.NodeOffset())}),
             (QStringList{QStringLiteral("u"), QStringLiteral("1"), QStringLiteral("s"), QStringLiteral("2")}));
}

void tst_QueryDefinition::reachableByName()
{
    Tamberline control;
    QVERIFY(control.setProperty("Url1", QStringLiteral("page.htm")));
    QVERIFY(control.setProperty("NodeOffset", -7));
    QCOMPARE(control.property("Url1").toString(), QStringLiteral("page.htm"));
    QCOMPARE(control.property("NodeOffset").toInt(), -7);
    QVERIFY(QMetaObject::invokeMethod(&control, "setElemAttribs", Q_ARG(qint16, -1), Q_ARG(QString, QStringLiteral("id=x"))));
    QString entry;
    QVERIFY(QMetaObject::invokeMethod(&control, "ElemAttribs", Q_RETURN_ARG(QString, entry), Q_ARG(qint16, 0)));
    QCOMPARE(entry, QStringLiteral("id=x"));
    QVERIFY(isQueryControl(&control));
    QVERIFY(!isQueryControl(this));
    QVERIFY(!isQueryControl(nullptr));
}

QTEST_GUILESS_MAIN(tst_QueryDefinition)
#include "tst_querydefinition.moc"
