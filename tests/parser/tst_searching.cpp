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
    ScriptedDialogs script;
    Tamberline control;
    QueryFile::load(QStringLiteral(TAMBERLINE_EXAMPLES_DIR "/query.json")).applyTo(control);
    script.answerPrompt(QStringLiteral("north"));
    script.answerPrompt(QStringLiteral("Pears"));
    QString selected, selectedText;
    editWithParser(control, script, [&](frmMain *parser) {
        QTRY_VERIFY(!selectedKey(parser).isEmpty());
        selected = selectedKey(parser);
        selectedText = parser->hdoc()->innerText(numberFromKey(selected)).toString();
        triggerMenu(parser, "mnu_Exit");
    });
    QVERIFY2(script.done(), qPrintable(script.pending()));
    QCOMPARE(selectedText, QStringLiteral("Pears"));
}

void tst_Searching::searchContinuesThenAsks_data()
{
    QTest::addColumn<int>("answer");
    QTest::addColumn<QString>("afterAnswer");
    QTest::newRow("No selects the document") << int(Dialogs::No) << QStringLiteral("RootKey");
    QTest::newRow("Yes searches from the top") << int(Dialogs::Yes) << QStringLiteral("first");
}

void tst_Searching::searchContinuesThenAsks()
{
    QFETCH(int, answer);
    QFETCH(QString, afterAnswer);
    ScriptedDialogs script;
    Tamberline control;
    control.setUrl1(testPageUrl(QStringLiteral("simple.html")));
    control.setAllowNav2(true);
    control.setSearchText(QStringLiteral("*.??")); // the two prices
    control.setElemAttribs(-1, QStringLiteral("class=price"));
    // A blank entry hides the rest from every reader, the search as much as the editors.
    control.setElemAttribs(-1, QStringLiteral(" "));
    control.setElemAttribs(-1, QStringLiteral("class=none"));
    QStringList found;
    editWithParser(control, script, [&](frmMain *parser) {
        QTRY_VERIFY(!selectedKey(parser).isEmpty());
        found.append(selectedKey(parser));
        clickButton(parser, "cmdSearch");
        found.append(selectedKey(parser));
        script.answerMessageBox(answer);
        clickButton(parser, "cmdSearch");
        found.append(selectedKey(parser));
        triggerMenu(parser, "mnu_Exit");
    });
    QVERIFY2(script.done(), qPrintable(script.pending()));
    QCOMPARE(found.size(), 3);
    QVERIFY(found.at(0) != found.at(1));
    QCOMPARE(found.at(2), afterAnswer == QStringLiteral("first") ? found.at(0) : afterAnswer);
    const Dialogs::MessageBoxCall question = script.messageBoxes().first();
    QCOMPARE(question.style, 20);
    QCOMPARE(question.text, QStringLiteral("End of document was reached, \r\nWould you like to research from the beginning?\r\n"
                                           "\tYes: continue search from the beginning of the document"
                                           "\tNo: stop search and cancel the operation"));
}

void tst_Searching::nodeOperationsMarkAndMeasure()
{
    ScriptedDialogs script;
    Tamberline control;
    control.setUrl1(QUrl::fromLocalFile(QStringLiteral(TAMBERLINE_EXAMPLES_DIR "/prices.html")).toString());
    control.setAllowNav2(true);
    control.setSearchText(QStringLiteral("Pears"));
    QString searchKey, offsetAfterSearchNode, offsetAfterReturn, offsetBefore, searchMarks, returnMarks, returnBefore;
    QString marked;
    QStringList remarked;
    bool returnOfferedFirst = true, returnOfferedLater = false;
    editWithParser(control, script, [&](frmMain *parser) {
        QTRY_VERIFY(!selectedKey(parser).isEmpty());
        searchKey = selectedKey(parser);
        auto *offset = child<QLineEdit>(parser, "txtNodeOffset");
        openNodeMenu(parser);
        returnOfferedFirst = child<QAction>(parser, "mnu_NodeOperSetRetNode")->isEnabled();
        chooseFromMenu(parser, "mnu_NodeOperSetSearchNode");
        offsetAfterSearchNode = offset->text();
        marked = marksOf(parser, searchKey);

        // The price two elements later, then an element before the search node.
        const int search = numberFromKey(searchKey);
        clickNode(parser, parser->nodeTree().node(nodeKey(search + 2)));
        openNodeMenu(parser);
        returnOfferedLater = child<QAction>(parser, "mnu_NodeOperSetRetNode")->isEnabled();
        chooseFromMenu(parser, "mnu_NodeOperSetRetNode");
        offsetAfterReturn = offset->text();
        searchMarks = marksOf(parser, searchKey);
        returnMarks = marksOf(parser, nodeKey(search + 2));

        clickNode(parser, parser->nodeTree().node(nodeKey(search - 3)));
        openNodeMenu(parser);
        chooseFromMenu(parser, "mnu_NodeOperSetRetNode");
        offsetBefore = offset->text();
        returnBefore = marksOf(parser, nodeKey(search + 2));
        clickButton(parser, "cmdSave");
        // A new search node takes the marks from the old search and return nodes.
        clickNode(parser, parser->nodeTree().node(nodeKey(search + 2)));
        openNodeMenu(parser);
        chooseFromMenu(parser, "mnu_NodeOperSetSearchNode");
        remarked = {marksOf(parser, searchKey), marksOf(parser, nodeKey(search - 3)), marksOf(parser, nodeKey(search + 2))};
        triggerMenu(parser, "mnu_Exit");
    });
    QVERIFY2(script.done(), qPrintable(script.pending()));
    QCOMPARE(marked, QStringLiteral("bold 255"));
    QCOMPARE(remarked, (QStringList{QStringLiteral("0"), QStringLiteral("0"), QStringLiteral("bold 255")}));
    QVERIFY(!returnOfferedFirst);
    QVERIFY(returnOfferedLater);
    QCOMPARE(offsetAfterSearchNode, QStringLiteral("0"));
    QCOMPARE(offsetAfterReturn, QStringLiteral("2"));
    QCOMPARE(searchMarks, QStringLiteral("bold 16711680"));
    QCOMPARE(returnMarks, QStringLiteral("255"));
    QCOMPARE(offsetBefore, QStringLiteral("-3"));
    QCOMPARE(returnBefore, QStringLiteral("0")); // the red mark moved
    QCOMPARE(control.NodeOffset(), -3);
}

void tst_Searching::copyNodeTextAsksFirst()
{
    ScriptedDialogs script;
    Tamberline control;
    control.setUrl1(testPageUrl(QStringLiteral("simple.html")));
    control.setAllowNav2(true);
    control.setSearchText(QStringLiteral("Apples"));
    QString kept, copied;
    editWithParser(control, script, [&](frmMain *parser) {
        QTRY_VERIFY(!selectedKey(parser).isEmpty());
        auto *search = child<QLineEdit>(parser, "txtSearchText");
        openNodeMenu(parser);
        script.answerMessageBox(Dialogs::Cancel);
        chooseFromMenu(parser, "mnu_NodeOperAddText");
        kept = search->text();
        search->clear(); // an empty box is overwritten without a question
        chooseFromMenu(parser, "mnu_NodeOperAddText");
        copied = search->text();
        triggerMenu(parser, "mnu_Exit");
    });
    QVERIFY2(script.done(), qPrintable(script.pending()));
    QCOMPARE(script.messageBoxes().size(), 1);
    QCOMPARE(script.messageBoxes().first().title, QStringLiteral("Caution"));
    QCOMPARE(script.messageBoxes().first().style, 49);
    QCOMPARE(kept, QStringLiteral("Apples"));
    QCOMPARE(copied, QStringLiteral("Apples"));
}

QTEST_MAIN(tst_Searching)
#include "tst_searching.moc"
