#include "platform/dialogs.h"
#include "platform/handlerguard.h"
#include "platform/runtimeerror.h"
#include "platform/settingsstore.h"
#include "scripteddialogs.h"
#include "testsettings.h"
#include "datatable.h"

#include <QAbstractButton>
#include <QMainWindow>
#include <QProcess>
#include <QMessageBox>
#include <QStatusBar>
#include <QtTest>

using namespace Qt::StringLiterals;

class tst_Dialogs : public QObject
{
    Q_OBJECT

private slots:
    void messageBoxes_data()
    {
        // button: the one clicked
        addColumns<int, int, int, int, int>("style", "buttons", "icon", "button", "answer");
        using B = QMessageBox;
        QTest::newRow("0 OK") << 0 << int(B::Ok) << int(B::NoIcon) << int(B::Ok) << 1;
        QTest::newRow("3 Yes/No/Cancel") << 3 << int(B::Yes | B::No | B::Cancel) << int(B::NoIcon) << int(B::Yes) << 6;
        QTest::newRow("20 Yes/No critical") << 20 << int(B::Yes | B::No) << int(B::Critical) << int(B::No) << 7;
        QTest::newRow("49 OK/Cancel warning") << 49 << int(B::Ok | B::Cancel) << int(B::Warning) << int(B::Cancel) << 2;
    }

    void messageBoxes()
    {
        const auto [style, buttons, icon, button, answer] =
            fetchRow<int, int, int, int, int>("style", "buttons", "icon", "button", "answer");
        // No responder: the real box comes up and a button is clicked on it.
        QString seen;
        QTimer::singleShot(0, this, [&] {
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            QVERIFY(box);
            seen = u"%1 %2 %3 %4"_s.arg(int(box->standardButtons())).arg(int(box->icon())).arg(box->windowTitle(), box->text());
            box->button(QMessageBox::StandardButton(button))->click();
        });
        QCOMPARE(Dialogs::messageBox(u"Question"_s, style, QString()), answer);
        QCOMPARE(seen, u"%1 %2 %3 Question"_s.arg(buttons).arg(icon).arg(Dialogs::defaultTitle()));
    }

    void showModalReturnsWhenHidden()
    {
        ScriptedDialogs script;
        QWidget window;
        window.setObjectName(u"frmSample"_s);
        bool wasModal = false;
        script.onModal([&](QWidget *shown) {
            wasModal = shown->isModal() && shown->isVisible();
            shown->hide();
        });
        Dialogs::showModal(&window);
        QVERIFY(wasModal);
        QVERIFY(!window.isVisible());
        QCOMPARE(script.modalWindows(), QStringList{u"frmSample"_s});
    }

    void handlerErrorsAreReported_data()
    {
        addColumns<int, int>("origin", "boxes");
        QTest::newRow("user action: box and status bar") << int(HandlerOrigin::User) << 1;
        QTest::newRow("internal: status bar alone") << int(HandlerOrigin::Internal) << 0;
    }

    void handlerErrorsAreReported()
    {
        const auto [origin, boxes] = fetchRow<int, int>("origin", "boxes");
        ScriptedDialogs script;
        if (boxes)
            script.answerMessageBox(Dialogs::OK);
        QMainWindow window;
        bool reached = false;
        const bool ok = runHandler(&window, HandlerOrigin(origin), [&] {
            reached = true;
            throw RuntimeError(ErrorNumber::Overflow);
        });
        QVERIFY(!ok);
        QVERIFY(reached);
        QCOMPARE(window.statusBar()->currentMessage(), u"Run-time error '6': Overflow"_s);
        QVERIFY(runHandler(&window, HandlerOrigin(origin), [] {}));
    }

    void brokenSettingsFileIsKeptAside()
    {
        TestSettings settings;
        // Cut off in the middle of a line, as a full disk or a crash would leave it.
        QVERIFY(QDir().mkpath(QFileInfo(settings.iniFile()).path()));
        QFile file(settings.iniFile());
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("[Favorites]\nKept=http://kept/\n[Preferences]\nWindowLeft=120\nWindowTo")
                && file.flush());
        QCOMPARE(SettingsStore::getSetting(u"Preferences"_s, u"WindowLeft"_s), u"120"_s);
        QCOMPARE(SettingsStore::getSetting(u"Favorites"_s, u"Kept"_s), u"http://kept/"_s);
        const QStringList aside = QFileInfo(settings.iniFile()).dir().entryList({u"*.unreadable-*"_s});
        QCOMPARE(aside.size(), 1);
        QFile kept(QFileInfo(settings.iniFile()).dir().filePath(aside.first()));
        QVERIFY(kept.open(QIODevice::ReadOnly));
        QVERIFY(kept.readAll().endsWith("WindowTo")); // the file as it was, untouched
        QVERIFY(SettingsStore::takeNotice().contains(aside.first()));
        QVERIFY(SettingsStore::takeNotice().isEmpty());
    }

    void twoProcessesWritingAtOnce()
    {
        TestSettings settings;
        QProcess first, second;
        const QString writer = QStringLiteral(TAMBERLINE_SETTINGS_WRITER);
        first.start(writer, {settings.path(), u"first "_s, u"40"_s});
        second.start(writer, {settings.path(), u"second "_s, u"40"_s});
        QVERIFY(first.waitForFinished(60000) && second.waitForFinished(60000));
        QCOMPARE(first.exitCode() + second.exitCode(), 0);
        QCOMPARE(SettingsStore::getAllSettings(u"Favorites"_s).size(), 80);
    }
};

QTEST_MAIN(tst_Dialogs)
#include "tst_dialogs.moc"
