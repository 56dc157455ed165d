#include "control/controlaccess.h"
#include "parser/addresshistory.h"
#include "parser/pageparserquery.h"
#include "parser/paneratios.h"
#include "parser/progressstrip.h"
#include "parser/windowplacement.h"
#include "platform/settingsstore.h"
#include "scripteddialogs.h"
#include "substitution/controlvariables.h"
#include "substitution/examplevaluecache.h"
#include "testsettings.h"
#include "datatable.h"

#include <QtTest>

using Row = PageParserFields::Row;
Q_DECLARE_METATYPE(QList<Row>)

using namespace Qt::StringLiterals;

namespace {

void setQuery(Tamberline &control, const QString &url, const QString &search, int offset, const QStringList &filters)
{
    control.setUrl1(url);
    control.setSearchText(search);
    control.setNodeOffset(offset);
    control.ClearAttribs();
    for (const QString &filter : filters)
        control.setElemAttribs(-1, filter);
}

} // namespace

class tst_ParserLogic : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        ControlVariables::exampleValueCache().clear();
    }

    void changesDetected_data()
    {
        addColumns<QStringList, QStringList, QList<Row>, bool>("filters", "boxes", "rows", "changed");

        const QStringList idX{u"id=x"_s}, same{u"http://x/"_s, u"Price"_s, u"2"_s};
        const Row ticked{u"id"_s, u"x"_s, true};
        const Row unticked{u"id"_s, u"x"_s, false};
        QTest::newRow("nothing differs") << idX << same << QList<Row>{ticked} << false;
        QTest::newRow("unticking a filtered row") << idX << same << QList<Row>{unticked} << true;
        QTest::newRow("ticking a new row") << QStringList{} << same << QList<Row>{{u"class"_s, u"a"_s, true}} << true;
        QTest::newRow("same filter in other case and blanks")
            << QStringList{u" ID = X "_s} << same << QList<Row>{{u"id"_s, u"x"_s, true}} << false;
        QTest::newRow("a filter with no name") << QStringList{u"=x"_s} << same << QList<Row>{{QString(), u"x"_s, true}} << false;
        QTest::newRow("ticked row with another value") << idX << same << QList<Row>{{u"id"_s, u"y"_s, true}} << true;
        QTest::newRow("sharp s is not SS") << QStringList{u"title=Stra\u00dfe"_s} << same
                                           << QList<Row>{{u"title"_s, u"STRASSE"_s, true}} << true;
        QTest::newRow("filter hidden behind a blank entry counts as gone")
            << QStringList{u" "_s, u"id=x"_s} << same << QList<Row>{ticked} << true;
        // A change in the boxes alone does not count: the result is false there.
        QTest::newRow("address box differs") << idX << QStringList{u"http://y/"_s, u"Price"_s, u"2"_s} << QList<Row>{unticked} << false;
        QTest::newRow("search box differs") << idX << QStringList{u"http://x/"_s, u"Prices"_s, u"2"_s} << QList<Row>{unticked} << false;
        QTest::newRow("offset box differs as text") << idX << QStringList{u"http://x/"_s, u"Price"_s, u"02"_s} << QList<Row>{unticked} << false;
    }

    void changesDetected()
    {
        const auto [filters, boxes, rows, changed] =
            fetchRow<QStringList, QStringList, QList<Row>, bool>("filters", "boxes", "rows", "changed");
        Tamberline control;
        setQuery(control, u"http://x/"_s, u"Price"_s, 2, filters);
        const PageParserFields fields{boxes.at(0), boxes.at(1), boxes.at(2), rows};
        QCOMPARE(ChangesDetected(&control, fields), changed);
    }

    void changesNeedAQueryControl()
    {
        const PageParserFields fields{QString(), QString(), u"0"_s, {{u"a"_s, u"1"_s, true}}};
        QVERIFY(!ChangesDetected(nullptr, fields));
    }

    void writeBackKeepsUntouchedMarkers_data()
    {
        addColumns<QString, QString>("urlBox", "storedUrl");
        QTest::newRow("address shown as substituted") << u"http://shop/item/42"_s << u"http://shop/item/%id%"_s;
        QTest::newRow("blanks around it are trimmed") << u"  http://shop/item/42 "_s << u"http://shop/item/%id%"_s;
        QTest::newRow("edited address is stored") << u"http://shop/item/43"_s << u"http://shop/item/43"_s;
    }

    void writeBackKeepsUntouchedMarkers()
    {
        const auto [urlBox, storedUrl] = fetchRow<QString, QString>("urlBox", "storedUrl");
        ControlVariables::exampleValueCache().add(ExampleValueCache::keyFor(u"id"_s), u"42"_s);
        Tamberline control;
        setQuery(control, u"http://shop/item/%id%"_s, u"x"_s, 0, {u"old=1"_s});
        const PageParserFields fields{urlBox, u"y"_s, u" 3 "_s, {{u"id"_s, u"a=b"_s, true}, {u"skip"_s, u"1"_s, false},
                                       {u"class"_s, QString(), true}}};
        WriteQueryBack(control, fields);
        QCOMPARE(control.Url1(), storedUrl);
        QVERIFY(control.SearchText() == u"y"_s && control.NodeOffset() == 3);
        QCOMPARE(storedAttribs(control), (QStringList{u"id=a=b"_s, u"class="_s}));
    }

    void writeBackStopsAtABadOffset()
    {
        Tamberline control;
        setQuery(control, u"u"_s, u"s"_s, 5, {u"a=1"_s});
        const PageParserFields fields{u"new"_s, u"text"_s, u"seven"_s, {}};
        QCOMPARE(outcome([&] { WriteQueryBack(control, fields); }), u"error 13"_s);
        // What was written before the failure stays; the rest is untouched.
        QVERIFY(control.Url1() == u"new"_s && control.SearchText() == u"text"_s);
        QVERIFY(control.NodeOffset() == 5 && control.ElemAttribs(0) == u"a=1"_s);
    }

    // Left of the screen and taller than it: tst_pageparser, through the window.
    void placementClamp_data()
    {
        addColumns<QRectF, QRectF>("stored", "placed");
        // A screen of 19,200 by 12,000 twips (1280 by 800 pixels).
        QTest::newRow("fits") << QRectF(1500, 750, 9000, 6000) << QRectF(1500, 750, 9000, 6000);
        QTest::newRow("past the right edge") << QRectF(15000, 150, 9000, 6000) << QRectF(10200, 150, 9000, 6000);
        QTest::newRow("wider than the screen") << QRectF(750, 150, 75000, 6000) << QRectF(0, 150, 19200, 6000);
        QTest::newRow("negative size grows to the smallest usable") << QRectF(100, 100, -500, 0) << QRectF(100, 100, 4500, 3000);
        QTest::newRow("absurd values") << QRectF(1e300, -1e300, 1e300, 1e300) << QRectF(0, 0, 19200, 12000);
    }

    void placementClamp()
    {
        const auto [stored, placed] = fetchRow<QRectF, QRectF>("stored", "placed");
        const WindowPlacement in{stored.left(), stored.top(), stored.width(), stored.height()};
        const WindowPlacement out = in.clampedTo(19200, 12000);
        QCOMPARE(QRectF(out.left, out.top, out.width, out.height), placed);
    }

    void placementFromBrokenSettings()
    {
        TestSettings settings;
        SettingsStore::saveSettings(u"Preferences"_s, {{u"WindowLeft"_s, u"1500"_s}, {u"WindowTop"_s, u"abc"_s},
                                                                    {u"WindowWidth"_s, QString()}});
        const WindowPlacement current{1, 2, 3, 4};
        QCOMPARE(WindowPlacement::load(current), (WindowPlacement{1500, 2, 3, 4}));
        WindowPlacement{10, 20, 30, 40}.save();
        QCOMPARE(WindowPlacement::load(current), (WindowPlacement{10, 20, 30, 40}));
    }

    void addressHistory_data()
    {
        addColumns<QString, QStringList, QString, QString, QStringList>(
            "text", "history", "location", "expectedText", "expectedHistory");
        const QString a = u"http://a/"_s, b = u"http://b/"_s, blank = u"about:blank"_s;
        QTest::newRow("first page") << a << QStringList{} << a << a << QStringList{a};
        QTest::newRow("reload adds nothing") << a << QStringList{a, b} << a << a << QStringList{a, b};
        QTest::newRow("older address comes to the top again") << b << QStringList{a, b} << b << b << QStringList{b, a, b};
        QTest::newRow("empty box takes about:blank, history untouched") << QString() << QStringList{a} << blank << blank << QStringList{a};
        QTest::newRow("about:blank in the box skips the history") << blank << QStringList{a} << b << blank << QStringList{a};
        QTest::newRow("empty box takes the location") << u"  "_s << QStringList{} << b << b << QStringList{b};
        QStringList twenty;
        for (int i = 20; i >= 1; --i)
            twenty.append(u"http://site/%1"_s.arg(i));
        QTest::newRow("twenty are kept") << a << twenty << a << a << QStringList{a} + twenty.first(19);
    }

    void addressHistory()
    {
        const auto [text, history, location, expectedText, expectedHistory] =
            fetchRow<QString, QStringList, QString, QString, QStringList>(
                "text", "history", "location", "expectedText", "expectedHistory");
        AddressBox box{text, history};
        box.documentCompleted(location);
        QCOMPARE(box.text, expectedText);
        QCOMPARE(box.history, expectedHistory);
    }

    void progress_data()
    {
        addColumns<qint64, qint64, bool, bool, QString>("progress", "maximum", "visible", "redraw", "text");
        QTest::newRow("done hides") << 100LL << 100LL << false << false << QString();
        QTest::newRow("no maximum hides") << 5LL << 0LL << false << false << QString();
        QTest::newRow("negative maximum hides") << 5LL << -1LL << false << false << QString();
        QTest::newRow("the start draws 0%") << 0LL << 100LL << true << true << u"0%"_s;
        QTest::newRow("past the maximum shows 100") << 150LL << 100LL << true << true << u"100%"_s;
        QTest::newRow("a half rounds to even") << 1LL << 8LL << true << true << u"12%"_s;
        QTest::newRow("negative progress keeps the drawing") << -1LL << 100LL << true << false << QString();
    }

    void progress()
    {
        const auto [progress, maximum, visible, redraw, text] =
            fetchRow<qint64, qint64, bool, bool, QString>("progress", "maximum", "visible", "redraw", "text");
        const ProgressDisplay display = ProgressDisplay::forProgress(progress, maximum);
        QCOMPARE(display.visible, visible);
        QCOMPARE(display.redraw, redraw);
        if (redraw)
            QCOMPARE(display.text, text);
    }

    void progressStripInvertsTheTextItCovers()
    {
        QWidget bar;
        bar.resize(400, 30);
        QWidget panel(&bar);
        panel.setGeometry(150, 5, 200, 20);
        ProgressStrip strip(&bar);
        strip.showProgress(&panel, 50, 100);
        QCOMPARE(strip.geometry(), panel.geometry());
        const QImage shot = strip.grab().toImage();
        const auto colours = [&](int from, int to) {
            QSet<QRgb> seen;
            for (int x = from; x < to; ++x) {
                for (int y = 0; y < shot.height(); ++y)
                    seen.insert(shot.pixel(x, y));
            }
            return seen;
        };
        // Blue text on white past the bar's end, white text on blue before it.
        QVERIFY(colours(0, 60) == QSet<QRgb>{qRgb(0, 0, 255)} && colours(140, 200) == QSet<QRgb>{qRgb(255, 255, 255)});
        QVERIFY(colours(60, 100).contains(qRgb(255, 255, 255)) && colours(100, 140).contains(qRgb(0, 0, 255)));
        strip.showProgress(&panel, 100, 100); // done: the status panel shows again
        QVERIFY(strip.isHidden());
        strip.begin(&panel); // the next page: shown before its first progress
        QVERIFY(!strip.isHidden());
    }

    void paneRatios()
    {
        PaneRatios ratios;
        ratios.horizontalDropped(1, 1000);
        QCOMPARE(ratios.horizontal, 0.5f);
        ratios.horizontalDropped(950, 1000);
        QCOMPARE(ratios.horizontal, 0.8f);
        ratios.horizontalDropped(700, 1000);
        QCOMPARE(ratios.horizontal, 0.7f);
        ratios.horizontalDropped(0, 1000); // a collapsed pane keeps the ratio it had
        ratios.horizontalDropped(500, 0); // and so does a window with no width
        QCOMPARE(ratios.horizontal, 0.7f);
        ratios.verticalDropped(0, 400);
        ratios.verticalDropped(100, 0);
        QCOMPARE(ratios.vertical, 0.0f);
        ratios.resetUnset();
        QCOMPARE(ratios.vertical, 0.5f);
    }
};

QTEST_MAIN(tst_ParserLogic)
#include "tst_parserlogic.moc"
