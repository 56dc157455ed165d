#include <tamberline/tamberlinecontrol.h>
#include "freshquery.h"
#include "parser/frmmain.h"
#include "parser/nodekeys.h"
#include "parserdriver.h"
#include "scripteddialogs.h"
#include "testsettings.h"
#include "wizard/frmaddprop.h"

#include <QLineEdit>
#include <QMenu>
#include <QRadioButton>
#include <QTreeWidget>
#include <QWebEngineView>
#include <QtTest>

namespace {

QStringList rowTexts(frmMain *parser)
{
    auto *list = child<QTreeWidget>(parser, "lstProps");
    QStringList rows;
    for (int i = 0; i < list->topLevelItemCount(); ++i)
        rows.append(list->topLevelItem(i)->text(0) + u'=' + list->topLevelItem(i)->text(1));
    return rows;
}

// The centre of a page element in the view's coordinates.
QPoint centreOf(frmMain *parser, const QString &id)
{
    const QVariantList box = runInPage(parser, QStringLiteral("(() => { const r = document.getElementById('%1')"
                                                              ".getBoundingClientRect(); return [r.x + r.width / 2,"
                                                              " r.y + r.height / 2]; })()")
                                                   .arg(id))
                                 .toList();
    return box.size() == 2 ? QPoint(box.at(0).toInt(), box.at(1).toInt()) : QPoint(-1, -1);
}

QWidget *pageInput(frmMain *parser)
{
    auto *view = child<QWebEngineView>(parser, "WebBr");
    return view->focusProxy() ? view->focusProxy() : view;
}

} // namespace

class tst_PageLinking : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_settings.reset(); }
    void nodeClickScrollsAndLists();
    void pageEventsSelectNodes();
    void pointerTextReachesTheStatusPanel();
    void menuOnlyOnTheSelectedNode();
    void optionsAndEditorRefreshTheList();

private:
    std::unique_ptr<TestSettings> m_settings;
    Tamberline m_control;
};

void tst_PageLinking::init()
{
    m_settings = std::make_unique<TestSettings>();
    resetThreadQuery();
    m_control.setUrl1(testPageUrl(QStringLiteral("linking.html")));
    m_control.setAllowNav2(true);
}

void tst_PageLinking::nodeClickScrollsAndLists()
{
    ScriptedDialogs script;
    m_control.setElemAttribs(-1, QStringLiteral("class=target"));
    int far = -1;
    double scrolled = 0;
    QStringList rows;
    int16_t startAfterNode = -1, startAfterRoot = -1;
    editWithParser(m_control, script, [&](frmMain *parser) {
        far = elementWithId(parser->hdoc(), QStringLiteral("far"));
        QVERIFY(far > 0);
        clickNode(parser, parser->nodeTree().node(nodeKey(far)));
        QTRY_VERIFY((scrolled = runInPage(parser, QStringLiteral("window.scrollY")).toDouble()) > 500);
        rows = rowTexts(parser);
        startAfterNode = parser->SearchStart();
        clickNode(parser, parser->nodeTree().node(RootKey));
        QTRY_COMPARE(runInPage(parser, QStringLiteral("window.scrollY")).toDouble(), 0.0);
        startAfterRoot = parser->SearchStart();
        triggerMenu(parser, "mnu_Exit");
    });
    QVERIFY2(script.done(), qPrintable(script.pending()));
    QCOMPARE(rows, (QStringList{QStringLiteral("id=far"), QStringLiteral("class=target"), QStringLiteral("tagName=DIV"),
                                QStringLiteral("ParentTag=BODY"), QStringLiteral("sourceIndex=%1").arg(far)}));
    QCOMPARE(startAfterNode, far + 1);
    QCOMPARE(startAfterRoot, 0);
}

void tst_PageLinking::pageEventsSelectNodes()
{
    ScriptedDialogs script;
    int word = -1;
    QString selected, listed;
    QString beforeSynthetic, afterSynthetic;
    editWithParser(m_control, script, [&](frmMain *parser) {
        word = elementWithId(parser->hdoc(), QStringLiteral("word"));
        auto *tree = child<QTreeWidget>(parser, "tvu");
        beforeSynthetic = NodeTree::keyOf(tree->currentItem());
        // A double click made up by the page's own script selects nothing.
        runInPage(parser, QStringLiteral("document.getElementById('word').dispatchEvent(new MouseEvent('dblclick',"
                                         " {bubbles: true}))"));
        QTest::qWait(300);
        afterSynthetic = NodeTree::keyOf(tree->currentItem());
        // The user's double click on the word selects its node.
        const QPoint point = centreOf(parser, QStringLiteral("word"));
        QTest::mouseDClick(pageInput(parser), Qt::LeftButton, {}, point);
        QTest::mouseRelease(pageInput(parser), Qt::LeftButton, {}, point); // a double click ends released
        QTRY_COMPARE(NodeTree::keyOf(tree->currentItem()), nodeKey(word));
        selected = NodeTree::keyOf(tree->currentItem());
        listed = rowTexts(parser).value(0);
        triggerMenu(parser, "mnu_Exit");
    });
    QCOMPARE(beforeSynthetic, QStringLiteral("RootKey")); // the opening search with nothing to find
    QCOMPARE(afterSynthetic, beforeSynthetic);
    QCOMPARE(selected, nodeKey(word));
    QCOMPARE(listed, QStringLiteral("id=word"));
}

void tst_PageLinking::pointerTextReachesTheStatusPanel()
{
    ScriptedDialogs script;
    QString overPage, afterLeaving, overTree, overEmptyTree;
    editWithParser(m_control, script, [&](frmMain *parser) {
        QWidget *input = pageInput(parser);
        const QPoint word = centreOf(parser, QStringLiteral("word"));
        // The pointer enters the page, then reaches the word; the engine may drop moves while busy.
        QVERIFY(QTest::qWaitFor([&] {
            QTest::mouseMove(input, QPoint(2, 2));
            QTest::qWait(50);
            QTest::mouseMove(input, word);
            QTest::qWait(150);
            return parser->statusText() == QStringLiteral("doubleword");
        }, 15000));
        overPage = parser->statusText();

        auto *tree = child<QTreeWidget>(parser, "tvu");
        QTreeWidgetItem *root = parser->nodeTree().node(RootKey);
        const QPoint empty(5, tree->viewport()->height() - 5);
        QTest::mouseMove(tree->viewport(), empty); // leaving the page clears the panel
        QTRY_COMPARE(parser->statusText(), QString());
        afterLeaving = parser->statusText();
        QTest::mouseMove(tree->viewport(), tree->visualItemRect(root).center());
        QTRY_VERIFY(parser->statusText().startsWith(QStringLiteral("Top of the page")));
        overTree = parser->statusText();
        QTest::mouseMove(tree->viewport(), empty);
        QTest::qWait(200);
        overEmptyTree = parser->statusText();
        triggerMenu(parser, "mnu_Exit");
    });
    QCOMPARE(overPage, QStringLiteral("doubleword"));
    QCOMPARE(afterLeaving, QString());
    QCOMPARE(overEmptyTree, overTree); // empty tree space leaves the last text
}

void tst_PageLinking::menuOnlyOnTheSelectedNode()
{
    ScriptedDialogs script;
    bool openedOnOther = true, openedOnSelected = false, returnEnabled = true;
    QString popupText;
    editWithParser(m_control, script, [&](frmMain *parser) {
        auto *menu = parser->findChild<QMenu *>(QStringLiteral("mnu_NodeOperations"));
        QTreeWidgetItem *root = parser->nodeTree().node(RootKey);
        QTreeWidgetItem *html = parser->nodeTree().node(QStringLiteral("K0"));
        clickNode(parser, root);
        clickNode(parser, html, Qt::RightButton);
        QTest::qWait(200);
        openedOnOther = menu->isVisible();
        clickNode(parser, root, Qt::RightButton);
        QTRY_VERIFY(menu->isVisible());
        openedOnSelected = true;
        returnEnabled = child<QAction>(parser, "mnu_NodeOperSetRetNode")->isEnabled();
        popupText = parser->PopupNodeText();
        menu->hide();
        triggerMenu(parser, "mnu_Exit");
    });
    QVERIFY(!openedOnOther);
    QVERIFY(openedOnSelected);
    QVERIFY(!returnEnabled); // no search node marked yet
    QVERIFY(popupText.startsWith(QStringLiteral("Top of the page")));
}

void tst_PageLinking::optionsAndEditorRefreshTheList()
{
    ScriptedDialogs script;
    QStringList nonEmpty, all, afterEditor;
    QString filters;
    editWithParser(m_control, script, [&](frmMain *parser) {
        const int far = elementWithId(parser->hdoc(), QStringLiteral("far"));
        clickNode(parser, parser->nodeTree().node(nodeKey(far)));
        nonEmpty = rowTexts(parser);
        QTest::mouseClick(child<QRadioButton>(parser, "chkShowProps_0"), Qt::LeftButton);
        all = rowTexts(parser);
        script.onModal([](QWidget *window) {
            auto *editor = qobject_cast<frmAddProp *>(window);
            QVERIFY(editor);
            editor->AddProp(QStringLiteral("class"), QStringLiteral("target"));
            clickButton(editor, "cmdFinish");
        });
        clickButton(parser, "cmdEditProps");
        afterEditor = rowTexts(parser);
        filters = m_control.ElemAttribs(0);
        triggerMenu(parser, "mnu_Exit");
    });
    QVERIFY2(script.done(), qPrintable(script.pending()));
    QVERIFY(!nonEmpty.contains(QStringLiteral("title=")));
    QVERIFY(!nonEmpty.contains(QStringLiteral("data-note=null")));
    QVERIFY(all.contains(QStringLiteral("title=")));
    QVERIFY(all.contains(QStringLiteral("data-note=null")));
    QCOMPARE(filters, QStringLiteral("class=target"));
    QCOMPARE(afterEditor, all);
}

QTEST_MAIN(tst_PageLinking)
#include "tst_pagelinking.moc"
