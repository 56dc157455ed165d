#include "control/tamberlinecontrol.h"
#include "parser/frmmain.h"
#include "parser/nodetree.h"
#include "scripteddialogs.h"
#include "testsettings.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <QtTest>

namespace {

QString pageUrl(const QString &name)
{
    return QUrl::fromLocalFile(QStringLiteral(TAMBERLINE_TEST_DATA "/pages/") + name).toString();
}

frmMain *parserOf(QWidget *window)
{
    auto *parser = qobject_cast<frmMain *>(window);
    if (!parser)
        qWarning("the modal window is not the Page Parser");
    return parser;
}

// Waits until the start-up queue ran and the page's tree is built.
bool waitForPage(frmMain *parser)
{
    return QTest::qWaitFor([&] { return parser->actionQueue().isEmpty() && parser->isDocumentComplete()
                                        && parser->nodeTree().count() > 1; },
                           20000);
}

} // namespace

class tst_PageParser : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void opensOnTheQueryPage();
};

void tst_PageParser::init()
{
    Tamberline control;
    control.setUrl1({});
    control.setAllowNav2(false);
    control.setSearchText({});
    control.setNodeOffset(0);
    control.ClearAttribs();
}

void tst_PageParser::opensOnTheQueryPage()
{
    TestSettings settings;
    ScriptedDialogs script;
    Tamberline control;
    control.setUrl1(pageUrl(QStringLiteral("simple.html")));
    control.setAllowNav2(true);
    QStringList tags;
    QString caption;
    QStringList history;
    script.onModal([&](QWidget *window) {
        frmMain *parser = parserOf(window);
        QVERIFY(parser);
        QVERIFY(waitForPage(parser));
        for (QTreeWidgetItem *node : parser->nodeTree().nodesInOrder())
            tags.append(NodeTree::keyOf(node) + u':' + node->text(0));
        caption = parser->windowTitle();
        auto *box = parser->findChild<QComboBox *>(QStringLiteral("cmboUrl"));
        for (int i = 0; i < box->count(); ++i)
            history.append(box->itemText(i));
        QTest::mouseClick(parser->findChild<QPushButton *>(QStringLiteral("cmdClose")), Qt::LeftButton);
    });
    QVERIFY(control.EditQueryItem());
    QVERIFY2(script.done(), qPrintable(script.pending()));
    QCOMPARE(caption, QStringLiteral("Simple page"));
    QCOMPARE(tags.mid(0, 6), (QStringList{QStringLiteral("RootKey:Document"), QStringLiteral("K0:HTML"), QStringLiteral("K1:HEAD"),
                                          QStringLiteral("K2:TITLE"), QStringLiteral("K3:BODY"), QStringLiteral("K4:H1")}));
    QCOMPARE(history, QStringList{pageUrl(QStringLiteral("simple.html"))});
}

QTEST_MAIN(tst_PageParser)
#include "tst_pageparser.moc"
