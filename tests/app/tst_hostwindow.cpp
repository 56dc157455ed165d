#include "freshquery.h"
#include "hostwindow.h"
#include "scripteddialogs.h"
#include "substitution/controlvariables.h"
#include "substitution/examplevaluecache.h"
#include "testsettings.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QtTest>

class tst_HostWindow : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        resetThreadQuery();
        ControlVariables::exampleValueCache().clear();
    }
    void runShowsWhatTheExampleReturns_data();
    void runShowsWhatTheExampleReturns();
    void closingDuringARunInTheBrowser();
    void closingWithChangesAsksFirst_data();
    void closingWithChangesAsksFirst();
    void aBadFileChangesNothing();
    void openThenSaveKeepsEveryFilter();
    void tooManyFiltersAreNotSaved();

private:
    TestSettings m_settings;
};

void tst_HostWindow::runShowsWhatTheExampleReturns_data()
{
    QTest::addColumn<int>("engine");
    QTest::newRow("in the browser, the default") << -1;
    QTest::newRow("with the static reader") << 1;
}

void tst_HostWindow::runShowsWhatTheExampleReturns()
{
    QFETCH(int, engine);
    ScriptedDialogs script;
    script.answerPrompt(QStringLiteral("north"));
    script.answerPrompt(QStringLiteral("Leeks"));
    HostWindow window;
    QVERIFY(window.openFile(QStringLiteral(TAMBERLINE_EXAMPLES_DIR "/query.json")));
    if (engine >= 0)
        window.findChild<QComboBox *>(QStringLiteral("cboEngine"))->setCurrentIndex(engine);
    for (int run = 0; run < 2; ++run) {
        QTest::mouseClick(window.findChild<QPushButton *>(QStringLiteral("cmdRun")), Qt::LeftButton);
        QTRY_VERIFY_WITH_TIMEOUT(!window.isRunning(), 120000);
        // The second run asks nothing: the example values are remembered.
        QVERIFY2(script.done(), qPrintable(script.pending()));
        QCOMPARE(window.findChild<QPlainTextEdit *>(QStringLiteral("txtResultText"))->toPlainText(), QStringLiteral("1.75"));
        QVERIFY(window.findChild<QLabel *>(QStringLiteral("lblReturned"))->text().contains(QStringLiteral("TD")));
        QCOMPARE(window.findChild<QLabel *>(QStringLiteral("lblMatches"))->text(), QStringLiteral("1"));
        QCOMPARE(window.findChild<QLabel *>(QStringLiteral("lblScripted"))->text(), QStringLiteral("none"));
    }
}

// The run's answer must find no window, and the next window must still get its own.
void tst_HostWindow::closingDuringARunInTheBrowser()
{
    QTemporaryDir dir;
    QueryFile query;
    query.Url1 = QUrl::fromLocalFile(QStringLiteral(TAMBERLINE_EXAMPLES_DIR "/prices.html")).toString();
    query.SearchText = QStringLiteral("Leeks");
    query.NodeOffset = 2;
    query.ElemAttribs = {QStringLiteral("class=item")};
    const QString path = dir.filePath(QStringLiteral("query.json"));
    query.save(path);
    auto first = std::make_unique<HostWindow>();
    QVERIFY(first->openFile(path));
    first->show();
    first->runQuery();
    QVERIFY(first->isRunning());
    QVERIFY(first->close());
    QVERIFY(!first->isRunning());
    first->runQuery();
    first.reset();
    HostWindow second;
    QVERIFY(second.openFile(path));
    second.runQuery();
    QTRY_VERIFY_WITH_TIMEOUT(!second.isRunning(), 120000);
    QCOMPARE(second.findChild<QPlainTextEdit *>(QStringLiteral("txtResultText"))->toPlainText(), QStringLiteral("1.75"));
}

void tst_HostWindow::closingWithChangesAsksFirst_data()
{
    QTest::addColumn<int>("answer");
    QTest::addColumn<bool>("closed");
    QTest::newRow("Cancel keeps the window") << int(Dialogs::Cancel) << false;
    QTest::newRow("No closes without saving") << int(Dialogs::No) << true;
}

void tst_HostWindow::closingWithChangesAsksFirst()
{
    QFETCH(int, answer);
    QFETCH(bool, closed);
    ScriptedDialogs script;
    HostWindow window;
    QVERIFY(window.openFile(QStringLiteral(TAMBERLINE_EXAMPLES_DIR "/query.json")));
    window.show();
    QVERIFY(window.close()); // unchanged: no question
    window.show();
    QTest::keyClicks(window.findChild<QLineEdit *>(QStringLiteral("txtSearchText")), QStringLiteral("x"));
    QVERIFY(window.isModified());
    script.answerMessageBox(answer);
    QCOMPARE(window.close(), closed);
    QVERIFY2(script.done(), qPrintable(script.pending()));
}

void tst_HostWindow::aBadFileChangesNothing()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("bad.json"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("{\"Url1\": 5}");
    file.close();
    ScriptedDialogs script;
    script.answerMessageBox(Dialogs::OK);
    HostWindow window;
    QVERIFY(window.openFile(QStringLiteral(TAMBERLINE_EXAMPLES_DIR "/query.json")));
    const QueryFile before = QueryFile::readFrom(window.control());
    QVERIFY(!window.openFile(path));
    QCOMPARE(QueryFile::readFrom(window.control()), before);
    QVERIFY2(script.messageBoxes().first().text.contains(QStringLiteral("bad.json")), qPrintable(script.messageBoxes().first().text));
}

void tst_HostWindow::openThenSaveKeepsEveryFilter()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("query.json"));
    QueryFile query;
    query.SearchText = QStringLiteral("x");
    query.ElemAttribs = {QStringLiteral("a=1"), QStringLiteral("  "), QStringLiteral("b=2"), QString()};
    query.save(path);
    HostWindow window;
    QVERIFY(window.openFile(path));
    QVERIFY(!window.isModified());
    // No search reads b=2: the user is told so, and the file keeps it.
    QVERIFY2(window.statusBar()->currentMessage().contains(QStringLiteral("Filter 2 is blank: no search reads the 1 filter")),
             qPrintable(window.statusBar()->currentMessage()));
    QVERIFY(window.saveFile(path));
    QCOMPARE(QueryFile::load(path).ElemAttribs, query.ElemAttribs);
}

void tst_HostWindow::tooManyFiltersAreNotSaved()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("query.json"));
    ScriptedDialogs script;
    script.answerMessageBox(Dialogs::OK);
    HostWindow window;
    QVERIFY(window.openFile(QStringLiteral(TAMBERLINE_EXAMPLES_DIR "/query.json")));
    // A list the control walks only up to its 16-bit index, pasted in.
    window.findChild<QPlainTextEdit *>(QStringLiteral("txtElemAttribs"))->setPlainText(QStringLiteral("a=1\n").repeated(40000));
    QVERIFY(window.isModified());
    QVERIFY(!window.saveFile(path));
    QVERIFY(!QFileInfo::exists(path));
    QVERIFY2(script.messageBoxes().first().text.contains(QStringLiteral("at most 32,767")), qPrintable(script.messageBoxes().first().text));
}

QTEST_MAIN(tst_HostWindow)
#include "tst_hostwindow.moc"
