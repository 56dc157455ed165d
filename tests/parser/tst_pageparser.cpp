#include "control/controlaccess.h"
#include "parserdriver.h"
#include "parser/frmmain.h"
#include "parser/nodetree.h"
#include "platform/settingsstore.h"
#include "substitution/controlvariables.h"
#include "substitution/examplevaluecache.h"
#include "datatable.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QSplitter>
#include <QStatusBar>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>
#include <QtTest>

#include <sys/resource.h>

using namespace Qt::StringLiterals;

namespace {

// What a host's timer does while a Page Parser is open.
enum HostTimer { EditOnSecondControl, EndSecondControl, EndEditingControl };

} // namespace

class tst_PageParser : public ParserTestCase
{
    Q_OBJECT

private slots:
    void opensOnTheQueryPage()
    {
        ParserSession session;
        session.control.setSearchText(u"Pears"_s);
        session.control.setNodeOffset(1);
        session.edit([&](frmMain *parser) {
            QStringList tags;
            for (QTreeWidgetItem *node : parser->nodeTree().nodesInOrder())
                tags.append(NodeTree::keyOf(node) + u':' + node->text(0));
            QCOMPARE(tags.mid(0, 6), (QStringList{u"RootKey:Document"_s, u"K0:HTML"_s, u"K1:HEAD"_s,
                                                  u"K2:TITLE"_s, u"K3:BODY"_s, u"K4:H1"_s}));
            QCOMPARE(parser->windowTitle(), u"Simple page"_s);
            QVERIFY(child<QLineEdit>(parser, "txtSearchText")->text() == u"Pears"_s && child<QLineEdit>(parser, "txtNodeOffset")->text() == u"1"_s);
            auto *box = child<QComboBox>(parser, "cmboUrl");
            QVERIFY(box->count() == 1 && box->itemText(0) == testPageUrl(u"simple.html"_s));

            // The page's own script selects the bold word: its node is selected, shown and listed.
            runInPage(parser, QStringLiteral("(() => { const range = document.createRange();"
                                             " range.selectNodeContents(document.querySelector('b'));"
                                             " getSelection().removeAllRanges(); getSelection().addRange(range); })()"));
            parser->SelectNodeForSelection();
            auto *tree = child<QTreeWidget>(parser, "tvu");
            QTRY_COMPARE(NodeTree::keyOf(tree->currentItem()), u"K14"_s); // html head title body h1 table tbody tr td td tr td td p b
            QVERIFY(tree->currentItem()->parent()->isExpanded());
            auto *properties = child<QTreeWidget>(parser, "lstProps");
            properties->clear();
            parser->SelectNodeForSelection();
            QTRY_VERIFY(!properties->findItems(u"tagName"_s, Qt::MatchExactly).isEmpty());
            QCOMPARE(properties->findItems(u"tagName"_s, Qt::MatchExactly).first()->text(1), u"B"_s);

            // A search for everything finds the page's first element too, and steps to it first.
            const QString oneMatch = child<QLabel>(parser, "lblMatches")->text();
            child<QLineEdit>(parser, "txtSearchText")->setText(u"*"_s);
            QTRY_VERIFY(child<QLabel>(parser, "lblMatches")->text() != oneMatch);
            QTest::mouseClick(child<QToolButton>(parser, "cmdNextMatch"), Qt::LeftButton);
            QCOMPARE(NodeTree::keyOf(tree->currentItem()), u"K0"_s);
            child<QLineEdit>(parser, "txtSearchText")->setText(u"Pears"_s);
            clickButton(parser, "cmdClose"); // nothing changed: no question
            QVERIFY(!parser->isVisible());
        });
    }

    void withoutNavigationThePageStaysEmpty()
    {
        ParserSession session(testPageUrl(u"simple.html"_s), false);
        session.control.setSearchText(u"Pears"_s);
        session.edit([&](frmMain *parser) {
            QTRY_VERIFY(parser->actionQueue().isEmpty());
            QVERIFY(parser->nodeTree().count() == 0 && parser->statusBar()->currentMessage() == u"There is no page to search"_s);
            QVERIFY(!child<QComboBox>(parser, "cmboUrl")->isEnabled() && !child<QPushButton>(parser, "cmdGo")->isEnabled()
                    && !child<QMenu>(parser, "mnu_Favorites")->isEnabled());
        }, false);
    }

    void emptyAddressOpensBlank()
    {
        ParserSession session(QString(), false);
        session.control.setSearchText(u"dropped"_s);
        session.edit([&](frmMain *parser) {
            QCOMPARE(child<QComboBox>(parser, "cmboUrl")->currentText(), u"about:blank"_s);
            QVERIFY(child<QLineEdit>(parser, "txtSearchText")->text().isEmpty() && child<QPushButton>(parser, "cmdGo")->isEnabled());
            QTRY_COMPARE(parser->nodeTree().count(), 4); // Document, html, head and body
        });
    }

    void saveKeepsUntouchedMarkers()
    {
        ParserSession session(QUrl::fromLocalFile(QStringLiteral(TAMBERLINE_TEST_DATA "/pages/")).toString() + u"%page%.html"_s);
        Tamberline &control = session.control;
        control.setSearchText(u"%fruit%*"_s);
        // An example value typed in an earlier opening is asked for again.
        ControlVariables::exampleValueCache().add(ExampleValueCache::keyFor(u"page"_s), u"deepdom"_s);
        session.script.answerPrompt(u"simple"_s);
        session.script.answerPrompt(u"Pear"_s);
        session.script.answerMessageBox(Dialogs::Cancel); // first save: the caution, cancelled
        session.script.answerMessageBox(Dialogs::OK);     // second save: the caution, accepted
        session.edit([&](frmMain *parser) {
            QVERIFY(child<QComboBox>(parser, "cmboUrl")->currentText() == testPageUrl(u"simple.html"_s) && child<QLineEdit>(parser, "txtSearchText")->text() == u"Pear*"_s);
            child<QLineEdit>(parser, "txtNodeOffset")->setText(u"4"_s);
            clickButton(parser, "cmdSave");
            QCOMPARE(control.NodeOffset(), 0);
            child<QLineEdit>(parser, "txtSearchText")->setText(u"Apple*"_s);
            triggerMenu(parser, "mnu_Save"); // the menu's Save is the button's
            QVERIFY(parser->isVisible());
            clickButton(parser, "cmdClose");
            QVERIFY(!parser->isVisible());
        });
        QVERIFY(session.script.messageBoxes().at(0).text.startsWith(u"Either the URL or the SearchText had property substitution, \r\n"_s));
        QCOMPARE(session.script.messageBoxes().at(0).style, 49);
        QVERIFY(control.Url1().endsWith(u"/%page%.html"_s));
        QVERIFY(control.SearchText() == u"Apple*"_s && control.NodeOffset() == 4);
    }

    void closeAsksAboutChangedFilters_data()
    {
        addColumns<int, QStringList>("answer", "filtersAfter"); // answer -1: the user leaves with Exit
        const QStringList unsaved{u"id=x"_s, u"junk"_s};
        QTest::newRow("No closes without saving") << int(Dialogs::No) << unsaved;
        QTest::newRow("Yes saves, then closes") << int(Dialogs::Yes) << QStringList{u"id=x"_s};
        QTest::newRow("Exit never asks, never saves") << -1 << unsaved;
    }

    void closeAsksAboutChangedFilters()
    {
        const auto [answer, filtersAfter] = fetchRow<int, QStringList>("answer", "filtersAfter");
        ParserSession session;
        // The opening search finds no such element and lists the document's attributes: id=x as a
        // ticked filter row; "junk" has no "=" and no row, and that counts as a change.
        session.control.setElemAttribs(-1, u"id=x"_s);
        session.control.setElemAttribs(-1, u"junk"_s);
        session.script.answerMessageBox(Dialogs::No);
        if (answer >= 0) {
            session.script.answerMessageBox(Dialogs::Cancel);
            session.script.answerMessageBox(answer);
        }
        session.edit([&](frmMain *parser) {
            if (answer >= 0) {
                clickButton(parser, "cmdClose");
                QVERIFY(parser->isVisible());
                clickButton(parser, "cmdClose");
            } else {
                child<QLineEdit>(parser, "txtNodeOffset")->setText(u"9"_s);
                triggerMenu(parser, "mnu_Exit");
            }
            QVERIFY(!parser->isVisible());
        });
        QVERIFY(storedAttribs(session.control) == filtersAfter && session.control.NodeOffset() == 0);
        if (answer >= 0) {
            const Dialogs::MessageBoxCall box = session.script.messageBoxes().at(1);
            QVERIFY(box.title == u"Changes Detected"_s && box.style == 3);
            QCOMPARE(box.text, QStringLiteral("Settings have been changed,\r\nWould you like to save?\r\n\r\n"
                                              "\tYes: Saves changes and exits\r\n\tNo: Exits without saving\r\n\tCancel: Cancel exiting"));
        }
    }

    void hostTimerWhileOpen_data()
    {
        QTest::addColumn<int>("fromTimer");
        QTest::newRow("EditQueryItem on a second control") << int(EditOnSecondControl);
        QTest::newRow("a second control ends") << int(EndSecondControl);
        QTest::newRow("the editing control ends") << int(EndEditingControl);
    }

    void hostTimerWhileOpen()
    {
        // Each releases the thread's Page Parser while its modal loop runs: it must close, and be
        // deleted only by the call that opened it, once that loop has returned.
        QFETCH(int, fromTimer);
        ScriptedDialogs script;
        auto editing = std::make_unique<Tamberline>();
        auto second = std::make_unique<Tamberline>();
        QPointer<QWidget> outer, inner;
        bool innerResult = false, timerDone = false, outerOpenAfterTimer = true;
        script.onModal([&](QWidget *window) {
            outer = window;
            QTimer::singleShot(0, [&] {
                if (fromTimer == EditOnSecondControl) {
                    script.onModal([&](QWidget *innerWindow) {
                        inner = innerWindow;
                        triggerMenu(innerWindow, "mnu_Exit");
                    });
                    innerResult = second->EditQueryItem();
                } else if (fromTimer == EndSecondControl) {
                    second.reset();
                } else {
                    editing.reset();
                }
                timerDone = true;
            });
            QVERIFY(QTest::qWaitFor([&] { return timerDone; }));
            outerOpenAfterTimer = outer && outer->isVisible();
        });
        Tamberline *control = editing.get();
        QVERIFY(control->EditQueryItem());
        QVERIFY(!outerOpenAfterTimer);
        QVERIFY(outer.isNull());
        QVERIFY(inner.isNull());
        QCOMPARE(innerResult, fromTimer == EditOnSecondControl);
    }

    void goesWhereAsked()
    {
        ParserSession session;
        session.edit([&](frmMain *parser) {
            QSignalSpy completed(parser, &frmMain::documentCompleted);
            QSignalSpy started(parser->page(), &QWebEnginePage::loadStarted);
            auto *box = child<QComboBox>(parser, "cmboUrl");
            box->setEditText(QUrl::fromLocalFile(QStringLiteral(TAMBERLINE_EXAMPLES_DIR "/frames.html")).toString());
            QTest::keyClick(box->lineEdit(), Qt::Key_Return); // Enter in the address box is Go
            QVERIFY(completed.wait(20000));
            QTRY_VERIFY(!parser->page()->isLoading()); // the frames are done too
            QStringList tags;
            for (QTreeWidgetItem *node : parser->nodeTree().nodesInOrder())
                tags.append(node->text(0));
            QCOMPARE(tags.mid(0, 7), (QStringList{u"Document"_s, u"HTML"_s, u"HEAD"_s, u"TITLE"_s, u"FRAMESET"_s, u"FRAME"_s,
                                                  u"FRAME"_s}));
            // Enter on an address from the history is one Go too, not two.
            box->setEditText(testPageUrl(u"simple.html"_s));
            QTest::keyClick(box->lineEdit(), Qt::Key_Return);
            QTRY_COMPARE(completed.count(), 2);
            QTRY_VERIFY(!parser->page()->isLoading());
            QVERIFY(completed.count() == 2 && started.count() == 2); // one for each page

            // A page that takes its renderer down: the user is told, and nothing waits for it.
            session.script.answerMessageBox(Dialogs::OK);
            box->setEditText(testPageUrl(u"deepdom.html"_s));
            clickButton(parser, "cmdGo");
            QVERIFY(completed.wait(60000));
            QVERIFY(session.script.messageBoxes().last().text.contains(u"The browser process of the page"_s));
            // The next page has a renderer of its own, and its tree.
            box->setEditText(testPageUrl(u"simple.html"_s));
            clickButton(parser, "cmdGo");
            QTRY_VERIFY(parser->nodeTree().count() > 0);

            // A page the host refuses: Go clears the tree and nothing comes to fill it.
            parser->setNavigationAllowed(false);
            box->setEditText(testPageUrl(u"hostile.html"_s));
            QSignalSpy finished(parser->page(), &QWebEnginePage::loadFinished);
            clickButton(parser, "cmdGo");
            QTRY_VERIFY(!finished.isEmpty());
            QVERIFY(parser->page()->url() == QUrl(testPageUrl(u"simple.html"_s)) && parser->nodeTree().count() == 0);
        });
    }

    void pageScriptsAreLockedOut()
    {
        ParserSession session(testPageUrl(u"hostile.html"_s));
        session.edit([&](frmMain *parser) {
            const DocumentPtr document = parser->hdoc();
            const auto textOf = [&](const char *id) {
                const int element = elementWithId(document, QString::fromLatin1(id));
                return element < 0 ? u"(no element)"_s : document->innerText(element).toString();
            };
            QVERIFY(textOf("read") == u"refused"_s && textOf("open") == u"no window"_s);
            QVERIFY(textOf("bridge") == u"undefined"_s && textOf("channel") == u"undefined undefined"_s);
        });
    }

    void bigPages()
    {
        // How many nodes each size leaves is tst_documenttree's; here the user is told and can go on.
        const int elements = 32768; // html, head, title and body, the rest empty divs
        ParserSession session(writePage(QByteArray("<div></div>").repeated(elements - 4)));
        session.script.answerMessageBox(Dialogs::OK);
        session.edit([&](frmMain *parser) {
            QVERIFY(QTest::qWaitFor([&] { return parser->isDocumentComplete() && parser->actionQueue().isEmpty(); }, 60000));
            QCOMPARE(parser->nodeTree().count(), elements + 1);
        }, false);
        const QString text = session.script.messageBoxes().first().text;
        QVERIFY2(text.contains(u"32,768 elements"_s), qPrintable(text));
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        QVERIFY2(usage.ru_maxrss < 1024 * 1024, qPrintable(u"%1 kB"_s.arg(usage.ru_maxrss)));
    }

    void placementIsRestoredClamped()
    {
        SettingsStore::saveSettings(u"Preferences"_s, {{u"WindowLeft"_s, u"-3000"_s}, {u"WindowTop"_s, u"150"_s},
                                                       {u"WindowWidth"_s, u"9000"_s}, {u"WindowHeight"_s, u"900000"_s}});
        frmMain parser;
        const QRect screen = parser.screen()->geometry();
        QCOMPARE(parser.pos(), QPoint(0, 0));
        QCOMPARE(parser.size(), QSize(qRound(9000 * parser.screen()->logicalDotsPerInchX() / 1440), screen.height()));

        parser.show();
        parser.resize(1600, 480);
        QTRY_COMPARE(SettingsStore::getSetting(u"Preferences"_s, u"WindowWidth"_s).toDouble(),
                     1600 * 1440 / parser.screen()->logicalDotsPerInchX());
        // The browser keeps about four fifths of the width.
        const auto *panes = parser.findChild<QSplitter *>(u"horBalancer"_s);
        QTRY_VERIFY(panes->sizes().at(0) > 3 * panes->sizes().at(1));
        // A divider dragged by its handle, by an offset from where it is.
        const auto drag = [](const QSplitter *splitter, QPoint by) {
            const QPoint to = splitter->handle(1)->rect().center() + by;
            QTest::mousePress(splitter->handle(1), Qt::LeftButton);
            QTest::mouseMove(splitter->handle(1), to);
            QTest::mouseRelease(splitter->handle(1), Qt::LeftButton, {}, to);
        };
        // The divider between tree and attributes stays where it is dropped.
        const auto *tree = parser.findChild<QSplitter *>(u"verBalancer"_s);
        const int before = tree->sizes().at(0);
        drag(tree, QPoint(0, 60));
        QTRY_VERIFY(tree->sizes().at(0) > before + 50);
        // The browser's border, dropped a quarter of the way across, comes back to half way.
        drag(panes, -QPoint(panes->sizes().at(0) - panes->width() / 4, 0));
        QTRY_VERIFY(qAbs(panes->sizes().at(0) - panes->sizes().at(1)) < 10);
    }
};

QTEST_MAIN(tst_PageParser)
#include "tst_pageparser.moc"
