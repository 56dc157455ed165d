#include "dialogs.h"

#include <QApplication>
#include <QEvent>
#include <QEventLoop>
#include <QInputDialog>
#include <QMessageBox>
#include <QPointer>
#include <QTimer>
#include <QWidget>

namespace Dialogs {

namespace {

std::function<int(const MessageBoxCall &)> &messageBoxResponder()
{
    static std::function<int(const MessageBoxCall &)> responder;
    return responder;
}

std::function<QString(const InputBoxCall &)> &inputBoxResponder()
{
    static std::function<QString(const InputBoxCall &)> responder;
    return responder;
}

std::function<void(QWidget *)> &modalHook()
{
    static std::function<void(QWidget *)> hook;
    return hook;
}

QMessageBox::StandardButtons buttonsFor(int style)
{
    switch (style & 7) {
    case OkCancel:
        return QMessageBox::Ok | QMessageBox::Cancel;
    case 2:
        return QMessageBox::Abort | QMessageBox::Retry | QMessageBox::Ignore;
    case YesNoCancel:
        return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
    case YesNo:
        return QMessageBox::Yes | QMessageBox::No;
    case 5:
        return QMessageBox::Retry | QMessageBox::Cancel;
    }
    return QMessageBox::Ok;
}

QMessageBox::Icon iconFor(int style)
{
    switch (style & 0x70) {
    case Critical:
        return QMessageBox::Critical;
    case Question:
        return QMessageBox::Question;
    case Exclamation:
        return QMessageBox::Warning;
    case Information:
        return QMessageBox::Information;
    }
    return QMessageBox::NoIcon;
}

int answerFor(int button)
{
    switch (button) {
    case QMessageBox::Ok:
        return OK;
    case QMessageBox::Abort:
        return Abort;
    case QMessageBox::Retry:
        return Retry;
    case QMessageBox::Ignore:
        return Ignore;
    case QMessageBox::Yes:
        return Yes;
    case QMessageBox::No:
        return No;
    }
    return Cancel;
}

// Ends a local event loop when the watched window is hidden.
class HideWatcher : public QObject
{
public:
    HideWatcher(QWidget *window, QEventLoop *loop) : m_loop(loop) { window->installEventFilter(this); }

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        // Minimising hides a window too, spontaneously: only the program's own hide ends the loop.
        if (event->type() == QEvent::Hide && !event->spontaneous())
            m_loop->quit();
        return false;
    }

private:
    QEventLoop *m_loop;
};

} // namespace

QString defaultTitle()
{
    const QString name = QApplication::applicationDisplayName();
    return name.isEmpty() ? QStringLiteral("Tamberline") : name;
}

std::unique_ptr<QMessageBox> buildMessageBox(const MessageBoxCall &call)
{
    auto box = std::make_unique<QMessageBox>(iconFor(call.style),
                                             call.title.isEmpty() ? defaultTitle() : call.title,
                                             call.text, buttonsFor(call.style),
                                             QApplication::activeWindow());
    return box;
}

int messageBox(const QString &text, int style, const QString &title)
{
    const MessageBoxCall call{text, style, title};
    if (const auto &responder = messageBoxResponder())
        return responder(call);
    const auto box = buildMessageBox(call);
    return answerFor(box->exec());
}

QString inputBox(const QString &prompt, const QString &title, const QString &defaultText)
{
    const InputBoxCall call{prompt, title, defaultText};
    if (const auto &responder = inputBoxResponder())
        return responder(call);
    bool ok = false;
    const QString answer = QInputDialog::getText(QApplication::activeWindow(),
                                                 title.isEmpty() ? defaultTitle() : title, prompt,
                                                 QLineEdit::Normal, defaultText, &ok);
    return ok ? answer : QString();
}

void showModal(QWidget *window)
{
    QPointer<QWidget> guard(window);
    QEventLoop loop;
    HideWatcher watcher(window, &loop);
    QObject::connect(window, &QObject::destroyed, &loop, &QEventLoop::quit);

    window->setWindowModality(Qt::ApplicationModal);
    window->show();
    if (const auto &hook = modalHook()) {
        QTimer::singleShot(0, window, [guard, hook] {
            if (guard && guard->isVisible())
                hook(guard);
        });
    }
    if (window->isVisible())
        loop.exec(QEventLoop::DialogExec);
    if (guard)
        guard->removeEventFilter(&watcher);
}

void setMessageBoxResponder(std::function<int(const MessageBoxCall &)> responder)
{
    messageBoxResponder() = std::move(responder);
}

void setInputBoxResponder(std::function<QString(const InputBoxCall &)> responder)
{
    inputBoxResponder() = std::move(responder);
}

void setModalHook(std::function<void(QWidget *)> hook)
{
    modalHook() = std::move(hook);
}

} // namespace Dialogs
