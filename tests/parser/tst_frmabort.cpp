#include "parser/frmabort.h"
#include "parser/frmmain.h"
#include "scripteddialogs.h"
#include "testsettings.h"

#include <QPushButton>
#include <QtTest>

using namespace Qt::StringLiterals;

class tst_FrmAbort : public QObject
{
    Q_OBJECT

private slots:
    void waitsForItsOwnerThenCentres()
    {
        TestSettings settings;
        ScriptedDialogs script;
        frmMain owner;
        frmAbort dialog;
        QCOMPARE(dialog.windowTitle(), u"Please Wait"_s);
        QRect shownAt;
        QWidget *parentWhenShown = nullptr;
        script.onModal([&](QWidget *window) {
            shownAt = window->geometry();
            parentWhenShown = window->parentWidget();
            QTest::mouseClick(window->findChild<QPushButton *>(u"cmdAbort"_s), Qt::LeftButton);
        });
        // The owner comes up only once the dialog is already waiting for it.
        QMetaObject::invokeMethod(&owner, [&] { owner.show(); }, Qt::QueuedConnection);
        dialog.showFor(&owner);
        QCOMPARE(parentWhenShown, &owner);
        QVERIFY(qAbs(shownAt.center().x() - owner.geometry().center().x()) <= 2);
        QVERIFY(qAbs(shownAt.center().y() - owner.geometry().center().y()) <= 2);
    }

    void staysHiddenWhileTheOwnerIs()
    {
        TestSettings settings;
        ScriptedDialogs script;
        frmAbort dialog;
        // An owner that is never shown: nothing comes up.
        frmMain hidden;
        dialog.showFor(&hidden);
        QVERIFY(script.modalWindows().isEmpty());
        QVERIFY(!dialog.isVisible());
    }
};

QTEST_MAIN(tst_FrmAbort)
#include "tst_frmabort.moc"
