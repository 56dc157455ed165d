#include "freshquery.h"
#include "hostwindow.h"
#include "scripteddialogs.h"
#include "testsettings.h"

#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QtTest>

class tst_HostWindow : public QObject
{
    Q_OBJECT

private slots:
    void init() { resetThreadQuery(); }
    void runShowsWhatTheExampleReturns();
    void closingWithChangesAsksFirst_data();
    void closingWithChangesAsksFirst();
    void aBadFileChangesNothing();

private:
    TestSettings m_settings;
};

void tst_HostWindow::runShowsWhatTheExampleReturns()
{
    ScriptedDialogs script;
    script.answerPrompt(QStringLiteral("north"));
    script.answerPrompt(QStringLiteral("Leeks"));
    HostWindow window;
    QVERIFY(window.openFile(QStringLiteral(TAMBERLINE_EXAMPLES_DIR "/query.json")));
    QTest::mouseClick(window.findChild<QPushButton *>(QStringLiteral("cmdRun")), Qt::LeftButton);
    QVERIFY2(script.done(), qPrintable(script.pending()));
    QCOMPARE(window.findChild<QPlainTextEdit *>(QStringLiteral("txtResultText"))->toPlainText(), QStringLiteral("1.75"));
    QVERIFY(window.findChild<QLabel *>(QStringLiteral("lblReturned"))->text().contains(QStringLiteral("TD")));
    QCOMPARE(window.findChild<QLabel *>(QStringLiteral("lblMatches"))->text(), QStringLiteral("1"));
    // Running again asks nothing: the example values are remembered.
    QTest::mouseClick(window.findChild<QPushButton *>(QStringLiteral("cmdRun")), Qt::LeftButton);
    QVERIFY2(script.done(), qPrintable(script.pending()));
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
    const QString before = window.control().Url1();
    QVERIFY(!window.openFile(path));
    QCOMPARE(window.control().Url1(), before);
    QVERIFY(script.messageBoxes().first().text.contains(QStringLiteral("bad.json")));
}

QTEST_MAIN(tst_HostWindow)
#include "tst_hostwindow.moc"
