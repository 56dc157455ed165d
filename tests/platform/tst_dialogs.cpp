#include "platform/dialogs.h"
#include "platform/handlerguard.h"
#include "platform/runtimeerror.h"
#include "platform/settingsstore.h"
#include "scripteddialogs.h"
#include "testsettings.h"

#include <QAbstractButton>
#include <QMainWindow>
#include <QProcess>
#include <QMessageBox>
#include <QStatusBar>
#include <QtTest>

class tst_Dialogs : public QObject
{
    Q_OBJECT

private slots:
    void messageBoxes_data();
    void messageBoxes();
    void showModalReturnsWhenHidden();
    void handlerErrorsAreReported_data();
    void handlerErrorsAreReported();
    void settingsRoundTrip();
    void brokenSettingsFileIsKeptAside();
    void twoProcessesWritingAtOnce();
};

void tst_Dialogs::messageBoxes_data()
{
    QTest::addColumn<int>("style");
    QTest::addColumn<int>("buttons");
    QTest::addColumn<int>("icon");
    QTest::addColumn<int>("button"); // the one clicked
    QTest::addColumn<int>("answer");
    using B = QMessageBox;
    QTest::newRow("0 OK") << 0 << int(B::Ok) << int(B::NoIcon) << int(B::Ok) << 1;
    QTest::newRow("3 Yes/No/Cancel") << 3 << int(B::Yes | B::No | B::Cancel) << int(B::NoIcon) << int(B::Yes) << 6;
    QTest::newRow("20 Yes/No critical") << 20 << int(B::Yes | B::No) << int(B::Critical) << int(B::No) << 7;
    QTest::newRow("49 OK/Cancel warning") << 49 << int(B::Ok | B::Cancel) << int(B::Warning) << int(B::Cancel) << 2;
    QTest::newRow("16 OK critical") << 16 << int(B::Ok) << int(B::Critical) << int(B::Ok) << 1;
}

void tst_Dialogs::messageBoxes()
{
    QFETCH(int, style);
    QFETCH(int, buttons);
    QFETCH(int, icon);
    QFETCH(int, button);
    QFETCH(int, answer);
    // No responder: the real box comes up and a button is clicked on it.
    QString seen;
    QTimer::singleShot(0, this, [&] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        QVERIFY(box);
        seen = QStringLiteral("%1 %2 %3 %4").arg(int(box->standardButtons())).arg(int(box->icon())).arg(box->windowTitle(), box->text());
        box->button(QMessageBox::StandardButton(button))->click();
    });
    QCOMPARE(Dialogs::messageBox(QStringLiteral("Question"), style, QString()), answer);
    QCOMPARE(seen, QStringLiteral("%1 %2 %3 Question").arg(buttons).arg(icon).arg(Dialogs::defaultTitle()));
}

void tst_Dialogs::showModalReturnsWhenHidden()
{
    ScriptedDialogs script;
    QWidget window;
    window.setObjectName(QStringLiteral("frmSample"));
    bool wasModal = false;
    script.onModal([&](QWidget *shown) {
        wasModal = shown->isModal() && shown->isVisible();
        shown->hide();
    });
    Dialogs::showModal(&window);
    QVERIFY(wasModal);
    QVERIFY(!window.isVisible());
    QCOMPARE(script.modalWindows(), QStringList{QStringLiteral("frmSample")});
    QVERIFY2(script.done(), qPrintable(script.pending()));
}

void tst_Dialogs::handlerErrorsAreReported_data()
{
    QTest::addColumn<int>("origin");
    QTest::addColumn<int>("boxes");
    QTest::newRow("user action: box and status bar") << int(HandlerOrigin::User) << 1;
    QTest::newRow("internal: status bar alone") << int(HandlerOrigin::Internal) << 0;
}

void tst_Dialogs::handlerErrorsAreReported()
{
    QFETCH(int, origin);
    QFETCH(int, boxes);
    ScriptedDialogs script;
    if (boxes)
        script.answerMessageBox(Dialogs::OK);
    QMainWindow window;
    int reached = 0;
    const bool ok = runHandler(&window, HandlerOrigin(origin), [&] {
        reached = 1;
        throw RuntimeError(ErrorNumber::Overflow);
        reached = 2;
    });
    QVERIFY(!ok);
    QCOMPARE(reached, 1);
    QCOMPARE(window.statusBar()->currentMessage(), QStringLiteral("Run-time error '6': Overflow"));
    QCOMPARE(script.messageBoxes().size(), boxes);
    QVERIFY2(script.done(), qPrintable(script.pending()));
    QVERIFY(runHandler(&window, HandlerOrigin(origin), [] {}));
}

void tst_Dialogs::settingsRoundTrip()
{
    TestSettings settings;
    QCOMPARE(SettingsStore::getSetting(QStringLiteral("Preferences"), QStringLiteral("WindowTop"), QStringLiteral("120")),
             QStringLiteral("120"));
    SettingsStore::saveSetting(QStringLiteral("Preferences"), QStringLiteral("WindowTop"), QStringLiteral("300"));
    SettingsStore::saveSetting(QStringLiteral("Favorites"), QStringLiteral("Shop"), QStringLiteral("http://shop.example/"));
    SettingsStore::saveSetting(QStringLiteral("Favorites"), QStringLiteral("News"), QStringLiteral("http://news.example/"));
    QCOMPARE(SettingsStore::getSetting(QStringLiteral("Preferences"), QStringLiteral("WindowTop")), QStringLiteral("300"));
    const auto favorites = SettingsStore::getAllSettings(QStringLiteral("Favorites"));
    QCOMPARE(favorites.size(), 2);
    QVERIFY(favorites.contains(std::pair(QStringLiteral("Shop"), QStringLiteral("http://shop.example/"))));
    QVERIFY(SettingsStore::getAllSettings(QStringLiteral("Nothing")).isEmpty());
    QVERIFY(QFile::exists(settings.iniFile()));
}

void tst_Dialogs::brokenSettingsFileIsKeptAside()
{
    TestSettings settings;
    // Cut off in the middle of a line, as a full disk or a crash would leave it.
    QVERIFY(QDir().mkpath(QFileInfo(settings.iniFile()).path()));
    QFile file(settings.iniFile());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[Favorites]\nKept=http://kept/\n[Preferences]\nWindowLeft=120\nWindowTo");
    file.close();
    QCOMPARE(SettingsStore::getSetting(QStringLiteral("Preferences"), QStringLiteral("WindowLeft")), QStringLiteral("120"));
    QCOMPARE(SettingsStore::getSetting(QStringLiteral("Favorites"), QStringLiteral("Kept")), QStringLiteral("http://kept/"));
    const QStringList aside = QFileInfo(settings.iniFile()).dir().entryList({QStringLiteral("*.unreadable-*")});
    QCOMPARE(aside.size(), 1);
    QFile kept(QFileInfo(settings.iniFile()).dir().filePath(aside.first()));
    QVERIFY(kept.open(QIODevice::ReadOnly));
    QVERIFY(kept.readAll().endsWith("WindowTo")); // the file as it was, untouched
    QVERIFY(SettingsStore::takeNotice().contains(aside.first()));
    QVERIFY(SettingsStore::takeNotice().isEmpty());
}

void tst_Dialogs::twoProcessesWritingAtOnce()
{
    TestSettings settings;
    QProcess first, second;
    const QString writer = QStringLiteral(TAMBERLINE_SETTINGS_WRITER);
    first.start(writer, {settings.path(), QStringLiteral("first "), QStringLiteral("40")});
    second.start(writer, {settings.path(), QStringLiteral("second "), QStringLiteral("40")});
    QVERIFY(first.waitForFinished(60000) && second.waitForFinished(60000));
    QCOMPARE(first.exitCode() + second.exitCode(), 0);
    QCOMPARE(SettingsStore::getAllSettings(QStringLiteral("Favorites")).size(), 80);
}

QTEST_MAIN(tst_Dialogs)
#include "tst_dialogs.moc"
