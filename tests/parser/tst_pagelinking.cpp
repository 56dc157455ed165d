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
    void cleanup()
    {
        m_session.reset();
        m_settings.reset();
    }
    void nodeClickScrollsAndLists();
    void pageEventsSelectNodes();
    void pointerTextAndTheNodeMenu();
    void optionsAndEditorRefreshTheList();

private:
    std::unique_ptr<TestSettings> m_settings;
    std::unique_ptr<ParserSession> m_session;
};

void tst_PageLinking::init()
{
    m_settings = std::make_unique<TestSettings>();
    resetThreadQuery();
    m_session = std::make_unique<ParserSession>(testPageUrl(QStringLiteral("linking.html")));
}

void tst_PageLinking::nodeClickScrollsAndLists()
{
    m_session->control.setElemAttribs(-1, QStringLiteral("class=target"));
    m_session->edit([&](frmMain *parser) {
        const int far = elementWithId(parser->hdoc(), QStringLiteral("far"));
        QVERIFY(far > 0);
        clickNode(parser, parser->nodeTree().node(nodeKey(far)));
        QTRY_VERIFY(runInPage(parser, QStringLiteral("window.scrollY")).toDouble() > 500);
        QCOMPARE(rowTexts(parser), (QStringList{QStringLiteral("id=far"), QStringLiteral("class=target"), QStringLiteral("tagName=DIV"),
                                                QStringLiteral("ParentTag=BODY"), QStringLiteral("sourceIndex=%1").arg(far)}));
        QCOMPARE(parser->SearchStart(), far + 1);
        clickNode(parser, parser->nodeTree().node(RootKey));
        QTRY_COMPARE(runInPage(parser, QStringLiteral("window.scrollY")).toDouble(), 0.0);
        QCOMPARE(parser->SearchStart(), 0);
    });
}

void tst_PageLinking::pageEventsSelectNodes()
{
    m_session->edit([&](frmMain *parser) {
        auto *tree = child<QTreeWidget>(parser, "tvu");
        QCOMPARE(NodeTree::keyOf(tree->currentItem()), QStringLiteral("RootKey")); // the opening search with nothing to find
        QStringList reached;
        QObject watching;
        connect(tree, &QTreeWidget::currentItemChanged, &watching, [&](QTreeWidgetItem *node) { reached.append(NodeTree::keyOf(node)); });
        // A double click made up by the page's own script selects nothing; the user's own, on
        // the word, comes after it over the same channel and selects the word's node.
        runInPage(parser, QStringLiteral("(() => { const near = document.getElementById('near'), range = document.createRange();"
                                         " range.selectNodeContents(near); getSelection().addRange(range);"
                                         " near.dispatchEvent(new MouseEvent('dblclick', {bubbles: true})); getSelection().removeAllRanges(); })()"));
        const QPoint point = centreOf(parser, QStringLiteral("word"));
        QTest::mouseDClick(pageInput(parser), Qt::LeftButton, {}, point);
        QTest::mouseRelease(pageInput(parser), Qt::LeftButton, {}, point); // a double click ends released
        const QString word = nodeKey(elementWithId(parser->hdoc(), QStringLiteral("word")));
        QTRY_COMPARE(NodeTree::keyOf(tree->currentItem()), word);
        QCOMPARE(reached, QStringList{word});
        QCOMPARE(rowTexts(parser).value(0), QStringLiteral("id=word"));
    });
}

void tst_PageLinking::pointerTextAndTheNodeMenu()
{
    m_session->edit([&](frmMain *parser) {
        QWidget *input = pageInput(parser);
        const QPoint word = centreOf(parser, QStringLiteral("word"));
        // The pointer enters the page, then reaches the word; the engine may drop moves while busy.
        bool onWord = false;
        QVERIFY(QTest::qWaitFor([&] {
            QTest::mouseMove(input, (onWord = !onWord) ? word : QPoint(2, 2));
            return parser->statusText() == QStringLiteral("doubleword");
        }, 15000));

        auto *tree = child<QTreeWidget>(parser, "tvu");
        QTreeWidgetItem *root = parser->nodeTree().node(RootKey);
        const QPoint empty(5, tree->viewport()->height() - 5);
        QTest::mouseMove(tree->viewport(), empty); // leaving the page clears the panel
        QTRY_COMPARE(parser->statusText(), QString());
        QTest::mouseMove(tree->viewport(), tree->visualItemRect(root).center());
        QTRY_VERIFY(parser->statusText().startsWith(QStringLiteral("Top of the page")));
        const QString overTree = parser->statusText();
        QTest::mouseMove(tree->viewport(), empty);
        QCOMPARE(parser->statusText(), overTree); // empty tree space leaves the last text

        // The node menu opens on the selected node only.
        auto *menu = child<QMenu>(parser, "mnu_NodeOperations");
        clickNode(parser, root);
        clickNode(parser, parser->nodeTree().node(QStringLiteral("K0")), Qt::RightButton);
        QVERIFY(!menu->isVisible());
        clickNode(parser, root, Qt::RightButton);
        QTRY_VERIFY(menu->isVisible());
        QVERIFY(!child<QAction>(parser, "mnu_NodeOperSetRetNode")->isEnabled()); // no search node marked yet
        QVERIFY(parser->PopupNodeText().startsWith(QStringLiteral("Top of the page")));
        menu->hide();
    });
}

void tst_PageLinking::optionsAndEditorRefreshTheList()
{
    m_session->edit([&](frmMain *parser) {
        clickNode(parser, parser->nodeTree().node(nodeKey(elementWithId(parser->hdoc(), QStringLiteral("far")))));
        const QStringList nonEmpty = rowTexts(parser);
        QVERIFY(!nonEmpty.contains(QStringLiteral("title=")));
        QVERIFY(!nonEmpty.contains(QStringLiteral("data-note=null")));
        QTest::mouseClick(child<QRadioButton>(parser, "chkShowProps_0"), Qt::LeftButton);
        const QStringList all = rowTexts(parser);
        QVERIFY(all.contains(QStringLiteral("title=")));
        QVERIFY(all.contains(QStringLiteral("data-note=null")));
        m_session->script.onModal([](QWidget *window) {
            auto *editor = qobject_cast<frmAddProp *>(window);
            QVERIFY(editor);
            editor->AddProp(QStringLiteral("class"), QStringLiteral("target"));
            clickButton(editor, "cmdFinish");
        });
        clickButton(parser, "cmdEditProps");
        QCOMPARE(rowTexts(parser), all);
        QCOMPARE(m_session->control.ElemAttribs(0), QStringLiteral("class=target"));
    });
}

QTEST_MAIN(tst_PageLinking)
#include "tst_pagelinking.moc"
