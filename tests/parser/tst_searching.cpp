#include "parser/frmmain.h"
#include "parser/nodekeys.h"
#include "parserdriver.h"
#include "datatable.h"

#include <QLineEdit>
#include <QMenu>
#include <QTreeWidget>
#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

QString selectedKey(frmMain *parser)
{
    const QTreeWidgetItem *node = child<QTreeWidget>(parser, "tvu")->currentItem();
    return node && node->isSelected() ? NodeTree::keyOf(node) : QString();
}

// The menu of the selected node, opened as the user does: pointer over it, right click.
void openNodeMenu(frmMain *parser)
{
    clickNode(parser, child<QTreeWidget>(parser, "tvu")->currentItem(), Qt::RightButton);
    QTRY_VERIFY(parser->findChild<QMenu *>(u"mnu_NodeOperations"_s)->isVisible());
}

void chooseFromMenu(frmMain *parser, const char *action)
{
    parser->findChild<QMenu *>(u"mnu_NodeOperations"_s)->hide();
    triggerMenu(parser, action);
}

QString marksOf(frmMain *parser, const QString &key)
{
    const QTreeWidgetItem *node = parser->nodeTree().node(key);
    return (node->font(0).bold() ? u"bold "_s : QString()) + QString::number(NodeTree::colourOf(node));
}

} // namespace

class tst_Searching : public ParserTestCase
{
    Q_OBJECT

private slots:
    void searchContinuesThenAsks_data()
    {
        addColumns<int, bool>("answer", "fromTheTop");
        QTest::newRow("No selects the document") << int(Dialogs::No) << false;
        QTest::newRow("Yes searches from the top") << int(Dialogs::Yes) << true;
    }

    void searchContinuesThenAsks()
    {
        const auto [answer, fromTheTop] = fetchRow<int, bool>("answer", "fromTheTop");
        ParserSession session;
        session.control.setSearchText(u"*.??"_s); // the two prices
        session.control.setElemAttribs(-1, u"class=price"_s);
        // A blank entry hides the rest from every reader, the search as much as the editors.
        session.control.setElemAttribs(-1, u" "_s);
        session.control.setElemAttribs(-1, u"class=none"_s);
        session.edit([&](frmMain *parser) {
            QTRY_VERIFY(!selectedKey(parser).isEmpty());
            const QString first = selectedKey(parser);
            clickButton(parser, "cmdSearch");
            QVERIFY(selectedKey(parser) != first);
            session.script.answerMessageBox(answer);
            clickButton(parser, "cmdSearch");
            QCOMPARE(selectedKey(parser), fromTheTop ? first : u"RootKey"_s);
        });
        const Dialogs::MessageBoxCall question = session.script.messageBoxes().first();
        QCOMPARE(question.style, 20);
        QCOMPARE(question.text, QStringLiteral("End of document was reached, \r\nWould you like to research from the beginning?\r\n"
                                               "\tYes: continue search from the beginning of the document"
                                               "\tNo: stop search and cancel the operation"));
    }

    void nodeOperationsMarkAndMeasure()
    {
        ParserSession session(QUrl::fromLocalFile(QStringLiteral(TAMBERLINE_EXAMPLES_DIR "/prices.html")).toString());
        session.control.setSearchText(u"Pears"_s);
        const auto mark = [&](frmMain *parser, int element, const char *action) {
            if (element >= 0)
                clickNode(parser, parser->nodeTree().node(nodeKey(element)));
            openNodeMenu(parser);
            chooseFromMenu(parser, action);
        };
        session.edit([&](frmMain *parser) {
            QTRY_VERIFY(!selectedKey(parser).isEmpty());
            const QString searchKey = selectedKey(parser);
            const int search = numberFromKey(searchKey);
            const QString later = nodeKey(search + 2), before = nodeKey(search - 3);
            auto *offset = child<QLineEdit>(parser, "txtNodeOffset");
            auto *setReturn = child<QAction>(parser, "mnu_NodeOperSetRetNode");
            openNodeMenu(parser);
            QVERIFY(!setReturn->isEnabled());
            chooseFromMenu(parser, "mnu_NodeOperSetSearchNode");
            QCOMPARE(offset->text(), u"0"_s);
            QCOMPARE(marksOf(parser, searchKey), u"bold 255"_s);

            // The price two elements later, then an element before the search node.
            clickNode(parser, parser->nodeTree().node(later));
            openNodeMenu(parser);
            QVERIFY(setReturn->isEnabled());
            chooseFromMenu(parser, "mnu_NodeOperSetRetNode");
            QCOMPARE(offset->text(), u"2"_s);
            QCOMPARE(marksOf(parser, searchKey), u"bold 16711680"_s);
            QCOMPARE(marksOf(parser, later), u"255"_s);
            mark(parser, search - 3, "mnu_NodeOperSetRetNode");
            QCOMPARE(offset->text(), u"-3"_s);
            QCOMPARE(marksOf(parser, later), u"0"_s); // the red mark moved
            clickButton(parser, "cmdSave");
            // A new search node takes the marks from the old search and return nodes.
            mark(parser, search + 2, "mnu_NodeOperSetSearchNode");
            QCOMPARE((QStringList{marksOf(parser, searchKey), marksOf(parser, before), marksOf(parser, later)}),
                     (QStringList{u"0"_s, u"0"_s, u"bold 255"_s}));
        });
        QCOMPARE(session.control.NodeOffset(), -3);
    }

    void copyNodeTextAsksFirst()
    {
        ParserSession session;
        session.control.setSearchText(u"Apples"_s);
        session.edit([&](frmMain *parser) {
            QTRY_VERIFY(!selectedKey(parser).isEmpty());
            const QString apples = selectedKey(parser);
            auto *search = child<QLineEdit>(parser, "txtSearchText");
            // Searching for nothing goes back to the document, so the next search starts at the top.
            search->clear();
            clickButton(parser, "cmdSearch");
            search->setText(u"Apple?"_s);
            clickButton(parser, "cmdSearch");
            QCOMPARE(selectedKey(parser), apples);
            openNodeMenu(parser);
            session.script.answerMessageBox(Dialogs::Cancel);
            chooseFromMenu(parser, "mnu_NodeOperAddText");
            QCOMPARE(search->text(), u"Apple?"_s);
            search->clear(); // an empty box is overwritten without a question
            chooseFromMenu(parser, "mnu_NodeOperAddText");
            QCOMPARE(search->text(), u"Apples"_s);
        });
        QCOMPARE(session.script.messageBoxes().value(0).title, u"Caution"_s);
        QCOMPARE(session.script.messageBoxes().first().style, 49);
    }
};

QTEST_MAIN(tst_Searching)
#include "tst_searching.moc"
