// Sessions in the Page Parser as users have them, driven by real events; each asserts what the
// user left in the window is what the query holds, or what the user sees.
#include "parser/frmmain.h"
#include "parser/nodekeys.h"
#include "parser/pagematches.h"
#include "parser/statuspanel.h"
#include "parserdriver.h"
#include "platform/settingsstore.h"
#include "browser/pagebridge.h"
#include "browser/webpage.h"
#include "datatable.h"

#include <QComboBox>
#include <QLabel>
#include <QToolButton>
#include <QLineEdit>
#include <QStatusBar>
#include <QTreeWidget>
#include <QtTest>

using namespace Qt::StringLiterals;

class tst_UserSessions : public ParserTestCase
{
    Q_OBJECT

private slots:
    void minimiseAndRestoreKeepTheEdit()
    {
        ParserSession session;
        session.script.onModalLeftOpen([&](QWidget *window) {
            QTest::keyClicks(child<QLineEdit>(window, "txtSearchText"), u"Pears"_s);
            window->showMinimized();
            QTRY_VERIFY(window->isMinimized());
            window->showNormal();
            QTRY_VERIFY(!window->isMinimized());
            // The user goes on once the window is back in its own loop: Save, then Close.
            QMetaObject::invokeMethod(window, [window] {
                clickButton(window, "cmdSave");
                clickButton(window, "cmdClose");
            }, Qt::QueuedConnection);
        });
        QVERIFY(session.control.EditQueryItem());
        QCOMPARE(session.control.SearchText(), u"Pears"_s);
    }

    void addressBox_data()
    {
        // visitFirst: another address first, so the query's is entry 1; key 0: the user clicks Save
        addColumns<bool, bool, int, bool>("visitFirst", "otherCase", "key", "goes");
        QTest::newRow("leaving a box that equals another entry") << true << false << 0 << false;
        QTest::newRow("leaving a box that equals an entry in other case") << false << true << 0 << false;
        QTest::newRow("Enter on the address shown reloads") << false << false << int(Qt::Key_Return) << true;
        QTest::newRow("Enter on an address in other case keeps it") << false << true << int(Qt::Key_Return) << true;
    }

    void addressBox()
    {
        const auto [visitFirst, otherCase, key, goes] =
            fetchRow<bool, bool, int, bool>("visitFirst", "otherCase", "key", "goes");
        ParserSession session;
        const QString address = session.control.Url1();
        session.control.setSearchText(u"0.95"_s);
        session.control.setElemAttribs(-1, u"class=price"_s);
        const QString typed = otherCase ? u"FILE"_s + address.mid(4) : address;
        session.edit([&](frmMain *parser) {
            QVERIFY(QTest::qWaitForWindowActive(parser));
            auto *box = child<QComboBox>(parser, "cmboUrl");
            box->lineEdit()->setFocus();
            if (visitFirst) {
                box->setEditText(address + u"?again"_s);
                QTest::keyClick(box->lineEdit(), Qt::Key_Return);
                QTRY_VERIFY(box->count() == 2 && parser->isDocumentComplete());
            }
            QSignalSpy started(parser->page(), &QWebEnginePage::loadStarted);
            box->lineEdit()->selectAll();
            QTest::keyClicks(box->lineEdit(), typed);
            if (key != 0)
                QTest::keyClick(box->lineEdit(), Qt::Key(key));
            else
                clickButton(parser, "cmdSave");
            if (goes) {
                QTRY_VERIFY(started.count() > 0 && parser->isDocumentComplete());
            } else {
                // Go would have emptied the tree at once; a round trip to the page lets a load show.
                QVERIFY(parser->isDocumentComplete() && parser->nodeTree().count() > 1);
                runInPage(parser, u"0"_s);
                QCOMPARE(started.count(), 0);
            }
            QCOMPARE(box->currentText(), typed);
        });
        if (!goes)
            QCOMPARE(session.control.Url1(), typed);
        if (!goes && !visitFirst)
            QCOMPARE(session.control.ElemAttribs(0), u"class=price"_s);
    }

    void hoveringAHugeElement()
    {
        QByteArray lines;
        for (int i = 0; i < 100; ++i)
            lines += "line\x01 " + QByteArray::number(i) + " of an element with a very long text\n"; // a control character shows as a blank
        ParserSession session(writePage("<pre id=\"huge\">" + lines + "</pre>"));
        session.edit([&](frmMain *parser) {
            const QSize before = parser->size();
            const QString height = SettingsStore::getSetting(u"Preferences"_s, u"WindowHeight"_s);
            auto *tree = child<QTreeWidget>(parser, "tvu");
            QTreeWidgetItem *node = parser->nodeTree().node(nodeKey(elementWithId(parser->hdoc(), u"huge"_s)));
            for (QTreeWidgetItem *parent = node->parent(); parent; parent = parent->parent())
                parent->setExpanded(true);
            auto *panel = child<StatusPanel>(parser, "sttsPanel1");
            QTest::mouseMove(tree->viewport(), tree->visualItemRect(node).center());
            QTRY_VERIFY(parser->statusText().size() > 4000 && panel->shownText().startsWith(u"line 0 of an element"_s));
            // A panel grown by the text would resize the window at the layout's next pass: run it,
            // then take the window system's answer.
            QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
            QCoreApplication::processEvents();
            QCOMPARE(parser->size(), before);
            QCOMPARE(SettingsStore::getSetting(u"Preferences"_s, u"WindowHeight"_s), height);
            QVERIFY(panel->height() < 40);
            // One line, shortened to what the panel paints inside its margins.
            QVERIFY(!panel->shownText().contains(u'\n') && panel->fontMetrics().horizontalAdvance(panel->shownText()) <= panel->width() - 4);
            QImage shot = panel->grab().toImage(), blank = shot;
            blank.fill(shot.pixel(0, 0));
            QVERIFY2(shot != blank, "the panel paints no text");
            QVERIFY(panel->text().contains(u"line\u0001 99"_s)); // the whole text, for the node menu
        });
    }

    void aPageReadInPart()
    {
        ParserSession session(writePage("<p>alpha</p><p id=b>beta</p>"));
        ScriptedDialogs &script = session.script;
        session.edit([&](frmMain *parser) {
            SnapshotLimits limits;
            limits.maxTextChars = 5;
            parser->setSnapshotLimits(limits);
            script.answerMessageBox(Dialogs::OK);
            clickButton(parser, "cmdGo");
            QTRY_VERIFY(parser->isDocumentComplete() && parser->hdoc() && parser->hdoc()->cut);
            QTRY_COMPARE(script.messageBoxes().size(), 1);
            QVERIFY(script.messageBoxes().at(0).text.startsWith(u"The page was read in part: the page text is too large"_s) && child<QStatusBar>(parser, "stts")->currentMessage() == script.messageBoxes().at(0).text);
            // A word in a text that was not read is not "not found": the search says why.
            child<QLineEdit>(parser, "txtSearchText")->setText(u"beta"_s);
            script.answerMessageBox(Dialogs::OK);
            clickButton(parser, "cmdSearch");
            QVERIFY(script.messageBoxes().size() == 2 && script.messageBoxes().at(1).text.contains(u"texts that were not read"_s));
            // A filter alone still finds its element.
            child<QLineEdit>(parser, "txtSearchText")->clear();
            session.control.setElemAttribs(-1, u"id=b"_s);
            clickButton(parser, "cmdSearch");
            QCOMPARE(NodeTree::keyOf(child<QTreeWidget>(parser, "tvu")->currentItem()), nodeKey(elementWithId(parser->hdoc(), u"b"_s)));
        });
    }

    void theStatusBarCountsMatchesAndShowsErrors()
    {
        ParserSession session;
        session.control.setSearchText(u"*.??"_s); // the two prices
        session.control.setElemAttribs(-1, u"class=price"_s);
        session.control.setNodeOffset(-1); // each returns the name beside it
        session.edit([&](frmMain *parser) {
            const auto snapshot = [&]() -> DocumentPtr {
                DocumentPtr taken;
                parser->page()->requestSnapshot([&](DocumentPtr document) { taken = document; });
                return QTest::qWaitFor([&] { return taken != nullptr; }, 10000) ? taken : std::make_shared<Document>();
            };
            const DocumentPtr before = snapshot();
            auto *panel = child<QLabel>(parser, "lblMatches");
            QTRY_COMPARE(panel->text(), u"2 matches"_s);
            // Each found element outlined, and each returned one.
            auto *overlay = child<QWidget>(parser, "matchOverlay");
            QTRY_COMPARE(overlay->property("outlineCount").toInt(), 4);
            // Found ones in orange, what they return dashed in blue, and clicks go through to the page.
            const QImage shot = overlay->grab().toImage();
            QHash<QRgb, QRect> reach; // where each colour reaches
            for (int i = 0; i < shot.width() * shot.height(); ++i)
                reach[shot.pixel(i % shot.width(), i / shot.width())] |= QRect(i % shot.width(), i / shot.width(), 1, 1);
            QVERIFY(reach.contains(qRgb(240, 140, 0)) && overlay->isVisible() && overlay->parentWidget()->childAt(shot.rect().center()) != overlay);
            // The returned ones outlined a little outside, so as not to hide the found ones.
            const QVariantList names = runInPage(parser, u"[...document.querySelectorAll('.name')].flatMap((e, i) => i ? [e.getBoundingClientRect().right, e.getBoundingClientRect().bottom] : [e.getBoundingClientRect().left, e.getBoundingClientRect().top])"_s).toList();
            QCOMPARE(reach.value(qRgb(30, 90, 220)), QRectF(QPointF(names.value(0).toReal(), names.value(1).toReal()), QPointF(names.value(2).toReal(), names.value(3).toReal())).adjusted(-3, -3, 3, 3).toRect());
            // The first found in red, where the page has it.
            const QVariantList first = runInPage(parser, u"const r = document.querySelector('.price').getBoundingClientRect(); [r.left, r.top + r.height / 2]"_s).toList();
            QCOMPARE(shot.pixel(first.value(0).toInt() + 1, first.value(1).toInt()), qRgb(220, 40, 20));
            QStringList marked, stepped;
            for (QTreeWidgetItem *node : parser->nodeTree().nodesInOrder()) {
                const QColor mark = node->background(0).color();
                if (mark.isValid() && (mark == PageMatches::foundMark() || mark == PageMatches::returnedMark()))
                    marked.append(NodeTree::keyOf(node) + (mark == PageMatches::foundMark() ? u""_s : u" returned"_s));
            }
            // Both rows: html head title body h1 table tbody tr td(7) td(8) tr td(10) td(11)
            QCOMPARE(marked, (QStringList{u"K8 returned"_s, u"K9"_s, u"K11 returned"_s, u"K12"_s}));
            for (const char *button : {"cmdNextMatch", "cmdNextMatch", "cmdPreviousMatch"}) {
                QTest::mouseClick(child<QToolButton>(parser, button), Qt::LeftButton);
                stepped.append(NodeTree::keyOf(child<QTreeWidget>(parser, "tvu")->currentItem()));
            }
            QCOMPARE(stepped, (QStringList{u"K9"_s, u"K12"_s, u"K9"_s}));
            // An offset past the end returns nothing, however far: 2^32 does not wrap round to 0.
            child<QLineEdit>(parser, "txtNodeOffset")->setText(u"4294967296"_s);
            QTRY_COMPARE(overlay->property("outlineCount").toInt(), 2);
            // The outlines leave the page's DOM as it was.
            QVERIFY(before->elements == snapshot()->elements && before->text() == snapshot()->text());
            // The filter let go in the list of properties: the count is of the query as it would be saved.
            child<QTreeWidget>(parser, "lstProps")->findItems(u"class"_s, Qt::MatchExactly).value(0)->setCheckState(0, Qt::Unchecked);
            QTRY_COMPARE(panel->text(), u"4 matches"_s); // the rows around the prices too
            clickButton(parser, "cmdGo"); // the page again: nothing to step to until it is searched again
            QVERIFY(!child<QToolButton>(parser, "cmdNextMatch")->isEnabled() && child<QToolButton>(parser, "cmdNextMatch")->toolTip() == u"Next match"_s);
            QTRY_COMPARE(panel->text(), u"4 matches"_s);
            child<QLineEdit>(parser, "txtSearchText")->setText(u"nothing like this"_s);
            QTRY_COMPARE(panel->text(), u"No match"_s);
            // Nothing to step to, and nothing marked in the tree.
            QVERIFY(!child<QToolButton>(parser, "cmdPreviousMatch")->isEnabled() && child<QToolButton>(parser, "cmdPreviousMatch")->toolTip() == u"Previous match"_s
                    && parser->nodeTree().node(u"K9"_s)->background(0) == QBrush());

            // An error takes the status bar for a while; pointing at a node gives the panel back.
            auto *tree = child<QTreeWidget>(parser, "tvu");
            tree->setCurrentItem(nullptr);
            session.script.answerMessageBox(Dialogs::OK);
            triggerMenu(parser, "mnu_NodeOperSetSearchNode"); // no node selected: error 91
            QVERIFY(parser->statusBar()->currentMessage().startsWith(u"Run-time error '91'"_s));
            QTest::mouseMove(tree->viewport(), tree->visualItemRect(parser->nodeTree().node(RootKey)).center());
            QTRY_VERIFY(!parser->statusText().isEmpty());
            QVERIFY(child<StatusPanel>(parser, "sttsPanel1")->isVisible());
            QCOMPARE(parser->statusBar()->currentMessage(), QString());
        });
    }

    void theTreeBeforeTheTexts()
    {
        QByteArray body = "<p>first</p>";
        for (int i = 0; i < 20000; ++i)
            body += "<i></i>";
        body += "<p>the last</p>";
        ParserSession session(writePage(body));
        session.edit([&](frmMain *parser) {
            clickButton(parser, "cmdGo"); // not the start-up load, whose search waits for the texts
            // One pass of events at a time: qWaitFor would run on through both stages of the page.
            QDeadlineTimer deadline(20000);
            while (!deadline.hasExpired() && parser->nodeTree().count() == 0)
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
            QVERIFY(parser->nodeTree().count() > 0 && !parser->isDocumentComplete());
            // Pointing at an element whose text has not arrived shows no stale or empty text.
            emit parser->page()->bridge()->elementPointed(20000);
            QCOMPARE(child<StatusPanel>(parser, "sttsPanel1")->text(), u"Reading the page's texts\u2026"_s);
            child<QLineEdit>(parser, "txtSearchText")->setText(u"the last"_s);
            clickButton(parser, "cmdSearch"); // waits for the texts
            QCOMPARE(NodeTree::keyOf(child<QTreeWidget>(parser, "tvu")->currentItem()), nodeKey(20005)); // html head title body p, 20,000 i, p
        });
    }
};

QTEST_MAIN(tst_UserSessions)
#include "tst_usersessions.moc"
