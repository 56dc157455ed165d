#include <tamberline/tamberlinecontrol.h>
#include "freshquery.h"
#include "parser/frmmain.h"
#include "parser/nodekeys.h"
#include "parserdriver.h"
#include "queryfile.h"
#include "scripteddialogs.h"
#include "testsettings.h"

#include <QLineEdit>
#include <QMenu>
#include <QTreeWidget>
#include <QtTest>

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
    QTRY_VERIFY(parser->findChild<QMenu *>(QStringLiteral("mnu_NodeOperations"))->isVisible());
}

void chooseFromMenu(frmMain *parser, const char *action)
{
    parser->findChild<QMenu *>(QStringLiteral("mnu_NodeOperations"))->hide();
    triggerMenu(parser, action);
}

QString marksOf(frmMain *parser, const QString &key)
{
    const QTreeWidgetItem *node = parser->nodeTree().node(key);
    return (node->font(0).bold() ? QStringLiteral("bold ") : QString()) + QString::number(NodeTree::colourOf(node));
}

} // namespace

class tst_Searching : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_settings.reset(); }
    void opensOnTheBundledExampleAtItsNode();
    void searchContinuesThenAsks_data();
    void searchContinuesThenAsks();
    void nodeOperationsMarkAndMeasure();
    void copyNodeTextAsksFirst();

private:
    std::unique_ptr<TestSettings> m_settings;
};

void tst_Searching::init()
{
    m_settings = std::make_unique<TestSettings>();
    resetThreadQuery();
}

void tst_Searching::opensOnTheBundledExampleAtItsNode()
{
    ParserSession session{QString()};
    QueryFile::load(QStringLiteral(TAMBERLINE_EXAMPLES_DIR "/query.json")).applyTo(session.control);
    session.script.answerPrompt(QStringLiteral("north"));
    session.script.answerPrompt(QStringLiteral("Pears"));
    session.edit([&](frmMain *parser) {
        QTRY_VERIFY(!selectedKey(parser).isEmpty());
        QCOMPARE(parser->hdoc()->innerText(numberFromKey(selectedKey(parser))).toString(), QStringLiteral("Pears"));
    });
}

void tst_Searching::searchContinuesThenAsks_data()
{
    QTest::addColumn<int>("answer");
    QTest::addColumn<bool>("fromTheTop");
    QTest::newRow("No selects the document") << int(Dialogs::No) << false;
    QTest::newRow("Yes searches from the top") << int(Dialogs::Yes) << true;
}

void tst_Searching::searchContinuesThenAsks()
{
    QFETCH(int, answer);
    QFETCH(bool, fromTheTop);
    ParserSession session;
    session.control.setSearchText(QStringLiteral("*.??")); // the two prices
    session.control.setElemAttribs(-1, QStringLiteral("class=price"));
    // A blank entry hides the rest from every reader, the search as much as the editors.
    session.control.setElemAttribs(-1, QStringLiteral(" "));
    session.control.setElemAttribs(-1, QStringLiteral("class=none"));
    session.edit([&](frmMain *parser) {
        QTRY_VERIFY(!selectedKey(parser).isEmpty());
        const QString first = selectedKey(parser);
        clickButton(parser, "cmdSearch");
        QVERIFY(selectedKey(parser) != first);
        session.script.answerMessageBox(answer);
        clickButton(parser, "cmdSearch");
        QCOMPARE(selectedKey(parser), fromTheTop ? first : QStringLiteral("RootKey"));
    });
    const Dialogs::MessageBoxCall question = session.script.messageBoxes().first();
    QCOMPARE(question.style, 20);
    QCOMPARE(question.text, QStringLiteral("End of document was reached, \r\nWould you like to research from the beginning?\r\n"
                                           "\tYes: continue search from the beginning of the document"
                                           "\tNo: stop search and cancel the operation"));
}

void tst_Searching::nodeOperationsMarkAndMeasure()
{
    ParserSession session(QUrl::fromLocalFile(QStringLiteral(TAMBERLINE_EXAMPLES_DIR "/prices.html")).toString());
    session.control.setSearchText(QStringLiteral("Pears"));
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
        QCOMPARE(offset->text(), QStringLiteral("0"));
        QCOMPARE(marksOf(parser, searchKey), QStringLiteral("bold 255"));

        // The price two elements later, then an element before the search node.
        clickNode(parser, parser->nodeTree().node(later));
        openNodeMenu(parser);
        QVERIFY(setReturn->isEnabled());
        chooseFromMenu(parser, "mnu_NodeOperSetRetNode");
        QCOMPARE(offset->text(), QStringLiteral("2"));
        QCOMPARE(marksOf(parser, searchKey), QStringLiteral("bold 16711680"));
        QCOMPARE(marksOf(parser, later), QStringLiteral("255"));
        mark(parser, search - 3, "mnu_NodeOperSetRetNode");
        QCOMPARE(offset->text(), QStringLiteral("-3"));
        QCOMPARE(marksOf(parser, later), QStringLiteral("0")); // the red mark moved
        clickButton(parser, "cmdSave");
        // A new search node takes the marks from the old search and return nodes.
        mark(parser, search + 2, "mnu_NodeOperSetSearchNode");
        QCOMPARE((QStringList{marksOf(parser, searchKey), marksOf(parser, before), marksOf(parser, later)}),
                 (QStringList{QStringLiteral("0"), QStringLiteral("0"), QStringLiteral("bold 255")}));
    });
    QCOMPARE(session.control.NodeOffset(), -3);
}

void tst_Searching::copyNodeTextAsksFirst()
{
    ParserSession session;
    session.control.setSearchText(QStringLiteral("Apples"));
    session.edit([&](frmMain *parser) {
        QTRY_VERIFY(!selectedKey(parser).isEmpty());
        auto *search = child<QLineEdit>(parser, "txtSearchText");
        openNodeMenu(parser);
        session.script.answerMessageBox(Dialogs::Cancel);
        chooseFromMenu(parser, "mnu_NodeOperAddText");
        QCOMPARE(search->text(), QStringLiteral("Apples"));
        search->clear(); // an empty box is overwritten without a question
        chooseFromMenu(parser, "mnu_NodeOperAddText");
        QCOMPARE(search->text(), QStringLiteral("Apples"));
    });
    QCOMPARE(session.script.messageBoxes().size(), 1);
    QCOMPARE(session.script.messageBoxes().first().title, QStringLiteral("Caution"));
    QCOMPARE(session.script.messageBoxes().first().style, 49);
}

QTEST_MAIN(tst_Searching)
#include "tst_searching.moc"
