#include "control/controlaccess.h"
#include "parser/frmmain.h"
#include "parser/nodekeys.h"
#include "parserdriver.h"
#include "wizard/frmaddprop.h"

#include <QHeaderView>
#include <QMenu>
#include <QRadioButton>
#include <QTreeWidget>
#include <QWebEngineView>
#include <QtTest>

using namespace Qt::StringLiterals;

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

class tst_PageLinking : public ParserTestCase
{
    Q_OBJECT

private slots:
    void nodeClickScrollsAndLists()
    {
        ParserSession session(testPageUrl(u"linking.html"_s));
        session.control.setElemAttribs(-1, u"class=target"_s);
        session.edit([&](frmMain *parser) {
            const int far = elementWithId(parser->hdoc(), u"far"_s);
            QVERIFY(far > 0);
            clickNode(parser, parser->nodeTree().node(nodeKey(far)));
            QTRY_VERIFY(runInPage(parser, u"window.scrollY"_s).toDouble() > 500);
            QCOMPARE(rowTexts(parser), (QStringList{u"id=far"_s, u"class=target"_s, u"tagName=DIV"_s,
                                                    u"ParentTag=BODY"_s, u"sourceIndex=%1"_s.arg(far)}));
            // Unticking the filter's row, by keyboard, takes the filter out of the query.
            auto *list = child<QTreeWidget>(parser, "lstProps");
            list->setCurrentItem(list->topLevelItem(1), 0);
            QTest::keyClick(list, Qt::Key_Space);
            QCOMPARE(storedAttribs(session.control), QStringList());
            QHeaderView *header = child<QTreeWidget>(parser, "lstProps")->header();
            QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, QPoint(header->sectionPosition(0) + 4, 4));
            QVERIFY(rowTexts(parser).first() == u"class=target"_s && parser->SearchStart() == far + 1); // sorted by name
            clickNode(parser, parser->nodeTree().node(RootKey));
            QTRY_COMPARE(runInPage(parser, u"window.scrollY"_s).toDouble(), 0.0);
            QCOMPARE(parser->SearchStart(), 0);
        });
    }

    void pageEventsSelectNodes()
    {
        ParserSession session(testPageUrl(u"linking.html"_s));
        session.edit([&](frmMain *parser) {
            auto *tree = child<QTreeWidget>(parser, "tvu");
            QCOMPARE(NodeTree::keyOf(tree->currentItem()), u"RootKey"_s); // the opening search with nothing to find
            QStringList reached;
            QObject watching;
            connect(tree, &QTreeWidget::currentItemChanged, &watching, [&](QTreeWidgetItem *node) { reached.append(NodeTree::keyOf(node)); });
            // A double click made up by the page's own script selects nothing; the user's own, on
            // the word, comes after it over the same channel and selects the word's node.
            runInPage(parser, QStringLiteral("(() => { const near = document.getElementById('near'), range = document.createRange();"
                                             " range.selectNodeContents(near); getSelection().addRange(range);"
                                             " near.dispatchEvent(new MouseEvent('dblclick', {bubbles: true})); getSelection().removeAllRanges(); })()"));
            const QPoint point = centreOf(parser, u"word"_s);
            QTest::mouseDClick(pageInput(parser), Qt::LeftButton, {}, point);
            QTest::mouseRelease(pageInput(parser), Qt::LeftButton, {}, point); // a double click ends released
            const QString word = nodeKey(elementWithId(parser->hdoc(), u"word"_s));
            QTRY_COMPARE(NodeTree::keyOf(tree->currentItem()), word);
            QVERIFY(reached == QStringList{word} && rowTexts(parser).value(0) == u"id=word"_s);
            QCOMPARE(parser->SearchStart(), 0); // a pick in the page is no click on the node
        });
    }

    void pointerTextAndTheNodeMenu()
    {
        ParserSession session(testPageUrl(u"linking.html"_s));
        session.edit([&](frmMain *parser) {
            QWidget *input = pageInput(parser);
            const QPoint word = centreOf(parser, u"word"_s);
            // The pointer enters the page, then reaches the word; the engine may drop moves while
            // busy, so the pair is made again until the word's text comes. The last move is always
            // onto the word: nothing from the page can come after its text.
            const auto arrived = [&] { return parser->statusText() == u"doubleword"_s; };
            for (int attempt = 0; attempt < 10 && !arrived(); ++attempt) {
                QTest::mouseMove(input, QPoint(2, 2));
                QTest::mouseMove(input, word);
                (void)QTest::qWaitFor(arrived, 1500);
            }
            QCOMPARE(parser->statusText(), u"doubleword"_s);

            auto *tree = child<QTreeWidget>(parser, "tvu");
            QTreeWidgetItem *root = parser->nodeTree().node(RootKey);
            const QPoint empty(5, tree->viewport()->height() - 5);
            QTest::mouseMove(tree->viewport(), empty); // leaving the page clears the panel
            QTRY_COMPARE(parser->statusText(), QString());
            QTest::mouseMove(tree->viewport(), tree->visualItemRect(root).center());
            QTRY_VERIFY(parser->statusText().startsWith(u"Top of the page"_s));
            const QString overTree = parser->statusText();
            QTest::mouseMove(tree->viewport(), empty);
            QCOMPARE(parser->statusText(), overTree); // empty tree space leaves the last text

            // The node menu opens on the selected node only.
            auto *menu = child<QMenu>(parser, "mnu_NodeOperations");
            clickNode(parser, root);
            clickNode(parser, parser->nodeTree().node(u"K0"_s), Qt::RightButton);
            QVERIFY(!menu->isVisible());
            clickNode(parser, root, Qt::RightButton);
            QTRY_VERIFY(menu->isVisible());
            QVERIFY(!child<QAction>(parser, "mnu_NodeOperSetRetNode")->isEnabled()); // no search node marked yet
            QVERIFY(parser->PopupNodeText().startsWith(u"Top of the page"_s));
            menu->hide();
        });
    }

    void optionsAndEditorRefreshTheList()
    {
        ParserSession session(testPageUrl(u"linking.html"_s));
        session.edit([&](frmMain *parser) {
            clickNode(parser, parser->nodeTree().node(nodeKey(elementWithId(parser->hdoc(), u"far"_s))));
            const QStringList nonEmpty = rowTexts(parser);
            QVERIFY(!nonEmpty.contains(u"title="_s));
            QVERIFY(!nonEmpty.contains(u"data-note=null"_s));
            QTest::mouseClick(child<QRadioButton>(parser, "chkShowProps_0"), Qt::LeftButton);
            const QStringList all = rowTexts(parser);
            QVERIFY(all.contains(u"title="_s));
            QVERIFY(all.contains(u"data-note=null"_s));
            session.script.onModal([](QWidget *window) {
                auto *editor = qobject_cast<frmAddProp *>(window);
                QVERIFY(editor);
                editor->AddProp(u"class"_s, u"target"_s);
                clickButton(editor, "cmdFinish");
            });
            clickButton(parser, "cmdEditProps");
            QVERIFY(rowTexts(parser) == all && session.control.ElemAttribs(0) == u"class=target"_s);
        });
    }
};

QTEST_MAIN(tst_PageLinking)
#include "tst_pagelinking.moc"
