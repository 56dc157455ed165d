#include "handlerguard.h"

#include "dialogs.h"
#include "runtimeerror.h"

#include <QMainWindow>
#include <QStatusBar>

QString runtimeErrorText(const RuntimeError &error)
{
    return QStringLiteral("Run-time error '%1': %2").arg(error.number()).arg(error.description());
}

bool runHandler(QWidget *window, HandlerOrigin origin, const std::function<void()> &handler)
{
    try {
        handler();
        return true;
    } catch (const RuntimeError &error) {
        const QString text = runtimeErrorText(error);
        QStatusBar *status = nullptr;
        if (auto *main = qobject_cast<QMainWindow *>(window))
            status = main->statusBar();
        else if (window)
            status = window->findChild<QStatusBar *>();
        if (status)
            status->showMessage(text, ErrorMessageTimeout);
        if (origin == HandlerOrigin::User)
            Dialogs::messageBox(text, Dialogs::OkOnly | Dialogs::Critical);
        return false;
    }
}
