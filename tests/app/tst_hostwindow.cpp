#include "freshquery.h"
#include "hostwindow.h"
#include "scripteddialogs.h"
#include "substitution/controlvariables.h"
#include "substitution/examplevaluecache.h"
#include "testsettings.h"
#include "datatable.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QSpinBox>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

// Picks path in the file dialog that the next step opens.
void pickInFileDialog(const QString &path)
{
    QTimer::singleShot(0, [path] {
        auto *dialog = static_cast<QFileDialog *>(QApplication::activeModalWidget());
        dialog->selectFile(path);
        static_cast<QDialog *>(dialog)->accept();
    });
}

class tst_HostWindow : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        resetThreadQuery();
        ControlVariables::exampleValueCache().clear();
    }

    void runShowsWhatTheExampleReturns_data()
    {
        addColumns<int>("engine");
        QTest::newRow("in the browser, the default") << -1;
        QTest::newRow("with the static reader") << 1;
    }

    void runShowsWhatTheExampleReturns()
    {
        QFETCH(int, engine);
        ScriptedDialogs script;
        script.answerPrompt(u"north"_s);
        script.answerPrompt(u"Leeks"_s);
        HostWindow window;
        QVERIFY(window.openFile(QStringLiteral(TAMBERLINE_EXAMPLES_DIR "/query.json")));
        if (engine >= 0)
            window.findChild<QComboBox *>(u"cboEngine"_s)->setCurrentIndex(engine);
        for (int run = 0; run < 2; ++run) {
            QTest::mouseClick(window.findChild<QPushButton *>(u"cmdRun"_s), Qt::LeftButton);
            QCOMPARE(window.isRunning(), engine < 0); // the static reader answers at once
            if (engine < 0) // the last answer is not left beside the page being read
                QCOMPARE(window.findChild<QLabel *>(u"lblFound"_s)->text(), u"-"_s);
            QTRY_VERIFY_WITH_TIMEOUT(!window.isRunning(), 120000);
            QCOMPARE(window.cursor().shape(), Qt::ArrowCursor); // not busy any more
            // The second run asks nothing: the example values are remembered.
            QVERIFY2(script.done(), qPrintable(script.pending()));
            QCOMPARE(window.findChild<QPlainTextEdit *>(u"txtResultText"_s)->toPlainText(), u"1.75"_s);
            QCOMPARE(window.statusBar()->currentMessage(), u"The query returns element 31"_s);
            QStringList labels; // found, returned, matches, scripts
            for (const char *name : {"lblFound", "lblReturned", "lblMatches", "lblScripted"})
                labels.append(window.findChild<QLabel *>(QString::fromLatin1(name))->text());
            QCOMPARE(labels, (QStringList{u"element 29"_s, u"element 31, TD"_s, u"1"_s, u"none"_s}));
        }
    }

    // The run's answer must find no window, and the next window must still get its own.
    void closingDuringARunInTheBrowser()
    {
        QueryFile query;
        query.Url1 = QUrl::fromLocalFile(QStringLiteral(TAMBERLINE_EXAMPLES_DIR "/prices.html")).toString();
        query.SearchText = u"Leeks"_s;
        query.NodeOffset = 2;
        query.ElemAttribs = {u"class=item"_s};
        const QString path = m_dir.filePath(u"leeks.json"_s);
        query.save(path);
        auto first = std::make_unique<HostWindow>();
        QVERIFY(first->openFile(path));
        first->show();
        first->runQuery();
        // Opening a file stops the run, and the cursor is not left busy.
        QVERIFY(first->openFile(path));
        QVERIFY(!first->isRunning());
        QCOMPARE(first->cursor().shape(), Qt::ArrowCursor);
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
        QCOMPARE(second.findChild<QPlainTextEdit *>(u"txtResultText"_s)->toPlainText(), u"1.75"_s);
    }

    // A page from a pipe reaches the browser as a temporary file; a stopped run leaves none behind.
    void stoppingARunRemovesItsCopyOfThePage()
    {
        QTemporaryDir temp;
        qputenv("TMPDIR", QFile::encodeName(temp.path()));
        const auto restore = qScopeGuard([] { qunsetenv("TMPDIR"); });
        const QString fifo = m_dir.filePath(u"page.html"_s);
        QCOMPARE(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
        QProcess feeder;
        feeder.start(u"sh"_s, {u"-c"_s, u"echo '<p>Leeks</p>' > \"$0\""_s, fifo});
        HostWindow window;
        window.control().setUrl1(QUrl::fromLocalFile(fifo).toString());
        window.runQuery();
        QCOMPARE(QDir(temp.path()).entryList(QDir::Files).size(), 1); // the run is under way
        QVERIFY(window.openFile(QStringLiteral(TAMBERLINE_EXAMPLES_DIR "/query.json"))); // stops the run
        QCOMPARE(QDir(temp.path()).entryList(QDir::Files), QStringList());
        QVERIFY(feeder.waitForFinished());
    }

    void closingWithChangesAsksFirst_data()
    {
        addColumns<int, bool>("answer", "closed");
        QTest::newRow("Cancel keeps the window") << int(Dialogs::Cancel) << false;
        QTest::newRow("No closes without saving") << int(Dialogs::No) << true;
        QTest::newRow("Yes saves, then closes") << int(Dialogs::Yes) << true;
    }

    void closingWithChangesAsksFirst()
    {
        const auto [answer, closed] = fetchRow<int, bool>("answer", "closed");
        ScriptedDialogs script;
        HostWindow window;
        const QString path = m_dir.filePath(u"closing%1.json"_s.arg(answer));
        QVERIFY(QFile::copy(QStringLiteral(TAMBERLINE_EXAMPLES_DIR "/query.json"), path) && window.openFile(path));
        window.show();
        QVERIFY(window.close()); // unchanged: no question
        window.show();
        QTest::keyClicks(window.findChild<QLineEdit *>(u"txtSearchText"_s), u"x"_s);
        QVERIFY(window.isWindowModified());
        script.answerMessageBox(answer);
        window.findChild<QAction *>(u"actExit"_s)->trigger();
        QVERIFY(window.isVisible() == !closed && QueryFile::load(path).SearchText.endsWith(u'x') == (answer == Dialogs::Yes));
    }

    void eachEditorButtonOpensItsEditor_data()
    {
        addColumns<QString, QString>("button", "editor");
        QTest::newRow("Page Parser") << u"cmdEditQueryItem"_s << u"frmMain"_s;
        QTest::newRow("Search Wizard") << u"cmdEditWizard"_s << u"frmWizard"_s;
        QTest::newRow("attribute list") << u"cmdEditProperties"_s << u"frmAddProp"_s;
    }

    void eachEditorButtonOpensItsEditor()
    {
        const auto [button, editor] = fetchRow<QString, QString>("button", "editor");
        ScriptedDialogs script;
        script.onModal([](QWidget *window) { window->close(); });
        HostWindow window;
        QTest::mouseClick(window.findChild<QPushButton *>(button), Qt::LeftButton);
        QCOMPARE(script.modalWindows(), QStringList{editor});
    }

    void aBadFileChangesNothing()
    {
        const QString path = m_dir.filePath(u"bad.json"_s);
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("{\"Url1\": 5}") && file.flush());
        ScriptedDialogs script;
        script.answerMessageBox(Dialogs::OK);
        HostWindow window;
        QVERIFY(window.openFile(QStringLiteral(TAMBERLINE_EXAMPLES_DIR "/query.json")));
        const QueryFile before = QueryFile::readFrom(window.control());
        QVERIFY(!window.openFile(path));
        QCOMPARE(QueryFile::readFrom(window.control()), before);
        QVERIFY2(script.messageBoxes().first().text.contains(u"bad.json"_s), qPrintable(script.messageBoxes().first().text));
    }

    void openThenSaveKeepsEveryFilter()
    {
        const QString path = m_dir.filePath(u"filters.json"_s);
        QueryFile query;
        query.SearchText = u"x"_s;
        query.NodeOffset = -100000; // far outside a spin box's usual range
        query.AllowNav2 = true;
        query.ElemAttribs = {u"a=1"_s, u"  "_s, u"b=2"_s, QString()};
        query.save(path);
        HostWindow window;
        pickInFileDialog(m_dir.filePath(u"untitled.json"_s)); // Save asks where an untitled query goes
        window.findChild<QAction *>(u"actSave"_s)->trigger();
        QCOMPARE(QueryFile::load(m_dir.filePath(u"untitled.json"_s)), QueryFile::readFrom(window.control()));
        pickInFileDialog(path);
        window.findChild<QAction *>(u"actOpen"_s)->trigger();
        QVERIFY(window.windowTitle() == u"filters.json[*] - Tamberline"_s && window.findChild<QLineEdit *>(u"txtSearchText"_s)->text() == query.SearchText);
        // No search reads b=2: the user is told so, and the file keeps it.
        QVERIFY2(window.statusBar()->currentMessage().contains(u"Filter 2 is blank: no search reads the 1 filter"_s),
                 qPrintable(window.statusBar()->currentMessage()));
        // One node on, then Ctrl+S writes the opened file back, with no dialog.
        QFile::remove(path);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QTest::keyClick(window.findChild<QSpinBox *>(u"spnNodeOffset"_s), Qt::Key_Up);
        QVERIFY(window.isWindowModified());
        QTest::keyClicks(window.findChild<QLineEdit *>(u"txtUrl1"_s), u"http://x/"_s);
        QTest::mouseClick(window.findChild<QCheckBox *>(u"chkAllowNav2"_s), Qt::LeftButton);
        QTest::keySequence(&window, QKeySequence::Save);
        QueryFile edited = query;
        edited.NodeOffset += 1;
        edited.Url1 = u"http://x/"_s;
        edited.AllowNav2 = !query.AllowNav2;
        QVERIFY(QueryFile::load(path) == edited && window.statusBar()->currentMessage() == u"Saved "_s + path);
        const QString copy = m_dir.filePath(u"copy.json"_s);
        pickInFileDialog(copy);
        window.findChild<QAction *>(u"actSaveAs"_s)->trigger();
        QCOMPARE(QueryFile::load(copy), edited);
    }

    void tooManyFiltersAreNotSaved()
    {
        const QString path = m_dir.filePath(u"unsaved.json"_s);
        ScriptedDialogs script;
        script.answerMessageBox(Dialogs::OK);
        HostWindow window;
        QVERIFY(window.openFile(QStringLiteral(TAMBERLINE_EXAMPLES_DIR "/query.json")));
        // A list the control walks only up to its 16-bit index, pasted in.
        auto *filters = window.findChild<QPlainTextEdit *>(u"txtElemAttribs"_s);
        filters->setPlainText(u"a=1\n"_s.repeated(40000));
        QVERIFY(window.isModified());
        QVERIFY(!window.saveFile(path));
        QVERIFY(!QFileInfo::exists(path));
        QVERIFY2(script.messageBoxes().first().text.contains(u"at most 32,767"_s), qPrintable(script.messageBoxes().first().text));
        // Cut back to one filter, the query saves with that one alone.
        filters->setPlainText(u"a=1"_s);
        QVERIFY(window.saveFile(path));
        QCOMPARE(QueryFile::load(path).ElemAttribs, QStringList{u"a=1"_s});
    }

private:
    TestSettings m_settings;
    QTemporaryDir m_dir;
};

QTEST_MAIN(tst_HostWindow)
#include "tst_hostwindow.moc"
