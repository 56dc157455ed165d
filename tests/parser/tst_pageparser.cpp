#include "control/controlaccess.h"
#include "freshquery.h"
#include "parserdriver.h"
#include "parser/frmmain.h"
#include "parser/nodetree.h"
#include "scripteddialogs.h"
#include "testsettings.h"
#include "platform/settingsstore.h"
#include "browser/webpage.h"

#include <QComboBox>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QTemporaryDir>
#include <QPushButton>
#include <QTimer>
#include <QTreeWidget>
#include <QtTest>

#include <sys/resource.h>

namespace {

QString textOf(const DocumentPtr &document, const QString &id)
{
    for (int i = 0; i < document->length(); ++i) {
        if (document->item(i).id == id)
            return document->innerText(i).toString();
    }
    return QStringLiteral("(no element)");
}

QString writePage(QTemporaryDir &dir, int elements)
{
    // html, head and body come with the page; the rest are empty divs.
    QByteArray html("<!DOCTYPE html><html><head></head><body>");
    html.reserve(elements * 11 + 64);
    for (int i = 3; i < elements; ++i)
        html.append("<div></div>");
    html.append("</body></html>");
    const QString path = dir.filePath(QStringLiteral("page%1.html").arg(elements));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(html) != html.size())
        return {};
    return QUrl::fromLocalFile(path).toString();
}

// What a host's timer does while a Page Parser is open.
enum HostTimer { EditOnSecondControl, EndSecondControl, EndEditingControl };

} // namespace

class tst_PageParser : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_settings.reset(); }
    void opensOnTheQueryPage();
    void withoutNavigationThePageStaysEmpty();
    void emptyAddressOpensBlank();
    void saveKeepsUntouchedMarkers();
    void closeAsksAboutChangedFilters_data();
    void closeAsksAboutChangedFilters();
    void exitNeverAsks();
    void hostTimerWhileOpen_data();
    void hostTimerWhileOpen();
    void refusedNavigationKeepsThePage();
    void pageScriptsAreLockedOut();
    void bigPages();
    void framesCompleteOnce();
    void selectionSelectsItsNode();
    void placementIsRestoredClamped();
    void escapeRequestsAStop();

private:
    std::unique_ptr<TestSettings> m_settings;
};

void tst_PageParser::init()
{
    m_settings = std::make_unique<TestSettings>();
    resetThreadQuery();
}

void tst_PageParser::opensOnTheQueryPage()
{
    ScriptedDialogs script;
    Tamberline control;
    control.setUrl1(testPageUrl(QStringLiteral("simple.html")));
    control.setAllowNav2(true);
    control.setSearchText(QStringLiteral("Pears"));
    control.setNodeOffset(1);
    QStringList tags;
    QString caption, search, offset;
    QStringList history;
    const bool result = editWithParser(control, script, [&](frmMain *parser) {
        for (QTreeWidgetItem *node : parser->nodeTree().nodesInOrder())
            tags.append(NodeTree::keyOf(node) + u':' + node->text(0));
        caption = parser->windowTitle();
        search = child<QLineEdit>(parser, "txtSearchText")->text();
        offset = child<QLineEdit>(parser, "txtNodeOffset")->text();
        auto *box = child<QComboBox>(parser, "cmboUrl");
        for (int i = 0; i < box->count(); ++i)
            history.append(box->itemText(i));
        clickButton(parser, "cmdClose");
    });
    QVERIFY(result);
    QVERIFY2(script.done(), qPrintable(script.pending()));
    QCOMPARE(caption, QStringLiteral("Simple page"));
    QCOMPARE(search, QStringLiteral("Pears"));
    QCOMPARE(offset, QStringLiteral("1"));
    QCOMPARE(tags.mid(0, 6), (QStringList{QStringLiteral("RootKey:Document"), QStringLiteral("K0:HTML"), QStringLiteral("K1:HEAD"),
                                          QStringLiteral("K2:TITLE"), QStringLiteral("K3:BODY"), QStringLiteral("K4:H1")}));
    QCOMPARE(history, QStringList{testPageUrl(QStringLiteral("simple.html"))});
}

void tst_PageParser::withoutNavigationThePageStaysEmpty()
{
    ScriptedDialogs script;
    Tamberline control;
    control.setUrl1(testPageUrl(QStringLiteral("simple.html")));
    control.setSearchText(QStringLiteral("Pears"));
    int nodes = -1;
    bool addressEnabled = true, goEnabled = true, favoritesEnabled = true;
    const bool result = editWithParser(control, script, [&](frmMain *parser) {
        QTRY_VERIFY(parser->actionQueue().isEmpty());
        nodes = parser->nodeTree().count();
        addressEnabled = child<QComboBox>(parser, "cmboUrl")->isEnabled();
        goEnabled = child<QPushButton>(parser, "cmdGo")->isEnabled();
        favoritesEnabled = parser->findChild<QMenu *>(QStringLiteral("mnu_Favorites"))->isEnabled();
        clickButton(parser, "cmdClose");
    }, false);
    QVERIFY(result);
    QCOMPARE(nodes, 0);
    QVERIFY(!addressEnabled);
    QVERIFY(!goEnabled);
    QVERIFY(!favoritesEnabled);
}

void tst_PageParser::emptyAddressOpensBlank()
{
    ScriptedDialogs script;
    Tamberline control;
    control.setSearchText(QStringLiteral("dropped"));
    QString address, search;
    QStringList tags;
    bool goEnabled = false;
    editWithParser(control, script, [&](frmMain *parser) {
        address = child<QComboBox>(parser, "cmboUrl")->currentText();
        search = child<QLineEdit>(parser, "txtSearchText")->text();
        goEnabled = child<QPushButton>(parser, "cmdGo")->isEnabled();
        for (QTreeWidgetItem *node : parser->nodeTree().nodesInOrder())
            tags.append(node->text(0));
        parser->findChild<QAction *>(QStringLiteral("mnu_Exit"))->trigger();
    });
    QCOMPARE(address, QStringLiteral("about:blank"));
    QCOMPARE(search, QString());
    QVERIFY(goEnabled);
    QCOMPARE(tags, (QStringList{QStringLiteral("Document"), QStringLiteral("HTML"), QStringLiteral("HEAD"), QStringLiteral("BODY")}));
}

void tst_PageParser::saveKeepsUntouchedMarkers()
{
    ScriptedDialogs script;
    Tamberline control;
    control.setUrl1(QUrl::fromLocalFile(QStringLiteral(TAMBERLINE_TEST_DATA "/pages/")).toString() + QStringLiteral("%page%.html"));
    control.setAllowNav2(true);
    control.setSearchText(QStringLiteral("%fruit%*"));
    script.answerPrompt(QStringLiteral("simple"));
    script.answerPrompt(QStringLiteral("Pear"));
    script.answerMessageBox(Dialogs::Cancel); // first save: the caution, cancelled
    script.answerMessageBox(Dialogs::OK);     // second save: the caution, accepted
    QString shownAddress, shownSearch;
    const bool result = editWithParser(control, script, [&](frmMain *parser) {
        shownAddress = child<QComboBox>(parser, "cmboUrl")->currentText();
        shownSearch = child<QLineEdit>(parser, "txtSearchText")->text();
        child<QLineEdit>(parser, "txtNodeOffset")->setText(QStringLiteral("4"));
        clickButton(parser, "cmdSave");
        QCOMPARE(control.NodeOffset(), 0);
        child<QLineEdit>(parser, "txtSearchText")->setText(QStringLiteral("Apple*"));
        clickButton(parser, "cmdSave");
        QVERIFY(parser->isVisible());
        clickButton(parser, "cmdClose");
    });
    QVERIFY(result);
    QVERIFY2(script.done(), qPrintable(script.pending()));
    QCOMPARE(shownAddress, testPageUrl(QStringLiteral("simple.html")));
    QCOMPARE(shownSearch, QStringLiteral("Pear*"));
    QVERIFY(script.messageBoxes().at(0).text.startsWith(QStringLiteral("Either the URL or the SearchText had property substitution, \r\n")));
    QCOMPARE(script.messageBoxes().at(0).style, 49);
    QVERIFY(control.Url1().endsWith(QStringLiteral("/%page%.html")));
    QCOMPARE(control.SearchText(), QStringLiteral("Apple*"));
    QCOMPARE(control.NodeOffset(), 4);
}

void tst_PageParser::closeAsksAboutChangedFilters_data()
{
    QTest::addColumn<int>("answer");
    QTest::addColumn<QStringList>("filtersAfter");
    QTest::newRow("No closes without saving") << int(Dialogs::No) << QStringList{QStringLiteral("id=x"), QStringLiteral("junk")};
    QTest::newRow("Yes saves, then closes") << int(Dialogs::Yes) << QStringList{QStringLiteral("id=x")};
}

void tst_PageParser::closeAsksAboutChangedFilters()
{
    QFETCH(int, answer);
    QFETCH(QStringList, filtersAfter);
    ScriptedDialogs script;
    Tamberline control;
    control.setUrl1(testPageUrl(QStringLiteral("simple.html")));
    control.setAllowNav2(true);
    // The opening search finds no such element and lists the document's attributes: id=x as a
    // ticked filter row; "junk" has no "=" and no row, and that counts as a change.
    control.setElemAttribs(-1, QStringLiteral("id=x"));
    control.setElemAttribs(-1, QStringLiteral("junk"));
    script.answerMessageBox(Dialogs::No);
    script.answerMessageBox(Dialogs::Cancel);
    script.answerMessageBox(answer);
    bool openAfterCancel = false;
    const bool result = editWithParser(control, script, [&](frmMain *parser) {
        clickButton(parser, "cmdClose");
        openAfterCancel = parser->isVisible();
        clickButton(parser, "cmdClose");
    });
    QVERIFY(result);
    QVERIFY2(script.done(), qPrintable(script.pending()));
    QVERIFY(openAfterCancel);
    const Dialogs::MessageBoxCall box = script.messageBoxes().at(1);
    QCOMPARE(box.title, QStringLiteral("Changes Detected"));
    QCOMPARE(box.style, 3);
    QCOMPARE(box.text, QStringLiteral("Settings have been changed,\r\nWould you like to save?\r\n\r\n"
                                      "\tYes: Saves changes and exits\r\n\tNo: Exits without saving\r\n\tCancel: Cancel exiting"));
    QCOMPARE(storedAttribs(control), filtersAfter);
}

void tst_PageParser::exitNeverAsks()
{
    ScriptedDialogs script;
    Tamberline control;
    control.setUrl1(testPageUrl(QStringLiteral("simple.html")));
    control.setAllowNav2(true);
    control.setElemAttribs(-1, QStringLiteral("id=x"));
    script.answerMessageBox(Dialogs::No); // the opening search finds no such element
    QVERIFY(editWithParser(control, script, [&](frmMain *parser) {
        child<QLineEdit>(parser, "txtNodeOffset")->setText(QStringLiteral("9"));
        parser->findChild<QAction *>(QStringLiteral("mnu_Exit"))->trigger();
    }));
    QVERIFY2(script.done(), qPrintable(script.pending()));
    QCOMPARE(control.NodeOffset(), 0);
    QCOMPARE(control.ElemAttribs(0), QStringLiteral("id=x"));
}

void tst_PageParser::hostTimerWhileOpen_data()
{
    QTest::addColumn<int>("fromTimer");
    QTest::newRow("EditQueryItem on a second control") << int(EditOnSecondControl);
    QTest::newRow("a second control ends") << int(EndSecondControl);
    QTest::newRow("the editing control ends") << int(EndEditingControl);
}

void tst_PageParser::hostTimerWhileOpen()
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
    QVERIFY2(script.done(), qPrintable(script.pending()));
    QVERIFY(!outerOpenAfterTimer);
    QVERIFY(outer.isNull());
    QVERIFY(inner.isNull());
    QCOMPARE(innerResult, fromTimer == EditOnSecondControl);
}

void tst_PageParser::refusedNavigationKeepsThePage()
{
    ScriptedDialogs script;
    Tamberline control;
    control.setUrl1(testPageUrl(QStringLiteral("simple.html")));
    control.setAllowNav2(true);
    QUrl shown;
    int nodes = -1;
    editWithParser(control, script, [&](frmMain *parser) {
        parser->setNavigationAllowed(false);
        child<QComboBox>(parser, "cmboUrl")->setEditText(testPageUrl(QStringLiteral("hostile.html")));
        QSignalSpy finished(parser->page(), &QWebEnginePage::loadFinished);
        clickButton(parser, "cmdGo");
        QTRY_VERIFY(!finished.isEmpty());
        shown = parser->page()->url();
        nodes = parser->nodeTree().count();
        parser->findChild<QAction *>(QStringLiteral("mnu_Exit"))->trigger();
    });
    QCOMPARE(shown, QUrl(testPageUrl(QStringLiteral("simple.html"))));
    QCOMPARE(nodes, 0); // Go cleared the tree and no page came to fill it
}

void tst_PageParser::pageScriptsAreLockedOut()
{
    ScriptedDialogs script;
    Tamberline control;
    control.setUrl1(testPageUrl(QStringLiteral("hostile.html")));
    control.setAllowNav2(true);
    DocumentPtr document;
    editWithParser(control, script, [&](frmMain *parser) {
        document = parser->hdoc();
        parser->findChild<QAction *>(QStringLiteral("mnu_Exit"))->trigger();
    });
    QVERIFY(document);
    QCOMPARE(textOf(document, QStringLiteral("read")), QStringLiteral("refused"));
    QCOMPARE(textOf(document, QStringLiteral("open")), QStringLiteral("no window"));
    QCOMPARE(textOf(document, QStringLiteral("bridge")), QStringLiteral("undefined"));
    QCOMPARE(textOf(document, QStringLiteral("channel")), QStringLiteral("undefined undefined"));
}

void tst_PageParser::bigPages()
{
    // How many nodes each size leaves is tst_documenttree's; here the user is told and can go on.
    const int elements = 32768;
    QTemporaryDir dir;
    const QString url = writePage(dir, elements);
    QVERIFY(!url.isEmpty());
    ScriptedDialogs script;
    script.answerMessageBox(Dialogs::OK);
    Tamberline control;
    control.setUrl1(url);
    control.setAllowNav2(true);
    int built = 0;
    bool closed = false;
    editWithParser(control, script, [&](frmMain *parser) {
        QVERIFY(QTest::qWaitFor([&] { return parser->isDocumentComplete() && parser->actionQueue().isEmpty(); }, 60000));
        built = parser->nodeTree().count();
        // Still usable: the user closes it.
        clickButton(parser, "cmdClose");
        closed = !parser->isVisible();
    }, false);
    QVERIFY2(script.done(), qPrintable(script.pending()));
    QCOMPARE(built, elements + 1);
    QVERIFY(closed);
    const QString text = script.messageBoxes().first().text;
    QVERIFY2(text.contains(QStringLiteral("32,768 elements")), qPrintable(text));
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    QVERIFY2(usage.ru_maxrss < 1024 * 1024, qPrintable(QStringLiteral("%1 kB").arg(usage.ru_maxrss)));
}

void tst_PageParser::framesCompleteOnce()
{
    ScriptedDialogs script;
    Tamberline control;
    control.setUrl1(testPageUrl(QStringLiteral("simple.html")));
    control.setAllowNav2(true);
    int completions = 0, loads = 0;
    QStringList tags;
    editWithParser(control, script, [&](frmMain *parser) {
        QSignalSpy completed(parser, &frmMain::documentCompleted);
        QSignalSpy started(parser->page(), &QWebEnginePage::loadStarted);
        auto *box = child<QComboBox>(parser, "cmboUrl");
        box->setEditText(QUrl::fromLocalFile(QStringLiteral(TAMBERLINE_EXAMPLES_DIR "/frames.html")).toString());
        QTest::keyClick(box->lineEdit(), Qt::Key_Return); // Enter in the address box is Go
        QVERIFY(completed.wait(20000));
        QTRY_VERIFY(!parser->page()->isLoading()); // the frames are done too
        for (QTreeWidgetItem *node : parser->nodeTree().nodesInOrder())
            tags.append(node->text(0));
        // Enter on an address from the history is one Go too, not two.
        box->setEditText(testPageUrl(QStringLiteral("simple.html")));
        QTest::keyClick(box->lineEdit(), Qt::Key_Return);
        QTRY_COMPARE(completed.count(), 2);
        QTRY_VERIFY(!parser->page()->isLoading());
        completions = int(completed.count());
        loads = int(started.count());
        parser->findChild<QAction *>(QStringLiteral("mnu_Exit"))->trigger();
    });
    QCOMPARE(completions, 2); // one for each page
    QCOMPARE(loads, 2);
    QVERIFY2(tags.mid(0, 7) == (QStringList{QStringLiteral("Document"), QStringLiteral("HTML"), QStringLiteral("HEAD"),
                                            QStringLiteral("TITLE"), QStringLiteral("FRAMESET"), QStringLiteral("FRAME"),
                                            QStringLiteral("FRAME")}),
             qPrintable(tags.join(u' ')));
}

void tst_PageParser::selectionSelectsItsNode()
{
    ScriptedDialogs script;
    Tamberline control;
    control.setUrl1(testPageUrl(QStringLiteral("simple.html")));
    control.setAllowNav2(true);
    QString selectedKey;
    editWithParser(control, script, [&](frmMain *parser) {
        // The page's own script selects the bold word.
        parser->page()->runJavaScript(QStringLiteral("(() => { const range = document.createRange();"
                                                     " range.selectNodeContents(document.querySelector('b'));"
                                                     " getSelection().removeAllRanges(); getSelection().addRange(range); })()"),
                                      WebPage::UnsafeJsWorld);
        parser->SelectNodeForSelection();
        auto *tree = child<QTreeWidget>(parser, "tvu");
        QTRY_COMPARE(NodeTree::keyOf(tree->currentItem()), QStringLiteral("K14"));
        selectedKey = NodeTree::keyOf(tree->currentItem());
        QVERIFY(tree->currentItem()->parent()->isExpanded());
        // Its attributes are listed too.
        auto *properties = child<QTreeWidget>(parser, "lstProps");
        properties->clear();
        parser->SelectNodeForSelection();
        QTRY_VERIFY(!properties->findItems(QStringLiteral("tagName"), Qt::MatchExactly).isEmpty());
        QCOMPARE(properties->findItems(QStringLiteral("tagName"), Qt::MatchExactly).first()->text(1), QStringLiteral("B"));
        parser->findChild<QAction *>(QStringLiteral("mnu_Exit"))->trigger();
    });
    QCOMPARE(selectedKey, QStringLiteral("K14")); // html head title body h1 table tbody tr td td tr td td p b
}

void tst_PageParser::placementIsRestoredClamped()
{
    SettingsStore::saveSettings(QStringLiteral("Preferences"), {{QStringLiteral("WindowLeft"), QStringLiteral("-3000")},
                                                                {QStringLiteral("WindowTop"), QStringLiteral("150")},
                                                                {QStringLiteral("WindowWidth"), QStringLiteral("9000")},
                                                                {QStringLiteral("WindowHeight"), QStringLiteral("900000")}});
    frmMain parser;
    const QRect screen = parser.screen()->geometry();
    QCOMPARE(parser.x(), 0);
    QCOMPARE(parser.y(), 0);
    QCOMPARE(parser.height(), screen.height());
    QCOMPARE(parser.width(), qRound(9000 * parser.screen()->logicalDotsPerInchX() / 1440));

    parser.show();
    parser.resize(640, 480);
    QTRY_COMPARE(SettingsStore::getSetting(QStringLiteral("Preferences"), QStringLiteral("WindowWidth")).toDouble(),
                 640 * 1440 / parser.screen()->logicalDotsPerInchX());
}

void tst_PageParser::escapeRequestsAStop()
{
    frmMain parser;
    parser.show();
    QVERIFY(QTest::qWaitForWindowExposed(&parser));
    QVERIFY(!parser.stopRequested());
    QTest::keyClick(child<QLineEdit>(&parser, "txtSearchText"), Qt::Key_A);
    QVERIFY(!parser.stopRequested());
    QTest::keyClick(child<QLineEdit>(&parser, "txtSearchText"), Qt::Key_Escape);
    QVERIFY(parser.stopRequested());
}

QTEST_MAIN(tst_PageParser)
#include "tst_pageparser.moc"
