#pragma once

#include <QString>

#include <functional>
#include <memory>

class QMessageBox;
class QWidget;

// Message box, input box and modal showing: the one place where the windows wait for the user,
// so tests can answer instead.
namespace Dialogs {

// Answer codes of a message box.
enum Answer { OK = 1, Cancel = 2, Abort = 3, Retry = 4, Ignore = 5, Yes = 6, No = 7 };

// Style = buttons (0 OK, 1 OK/Cancel, 2 Abort/Retry/Ignore, 3 Yes/No/Cancel, 4 Yes/No,
// 5 Retry/Cancel) + icon (16 critical, 32 question, 48 warning, 64 information).
enum Style { OkOnly = 0, OkCancel = 1, YesNoCancel = 3, YesNo = 4,
             Critical = 16, Question = 32, Exclamation = 48, Information = 64 };

struct MessageBoxCall {
    QString text;
    int style = 0;
    QString title;
};

struct InputBoxCall {
    QString prompt;
    QString title;
    QString defaultText;
};

// Title used when a caller gives none.
QString defaultTitle();

// Shows a modal message box and returns the answer code of the button pressed.
int messageBox(const QString &text, int style = OkOnly, const QString &title = {});

// Returns what the user typed, or the empty text on Cancel.
QString inputBox(const QString &prompt, const QString &title = {}, const QString &defaultText = {});

// Shows the window application-modal and returns once it is hidden or destroyed.
void showModal(QWidget *window);

// The box messageBox() shows, built but not shown.
std::unique_ptr<QMessageBox> buildMessageBox(const MessageBoxCall &call);

// Test seams: answer message and input boxes without showing them, and act on each modal
// window once it is on screen. An empty function restores the real behaviour.
void setMessageBoxResponder(std::function<int(const MessageBoxCall &)> responder);
void setInputBoxResponder(std::function<QString(const InputBoxCall &)> responder);
void setModalHook(std::function<void(QWidget *)> hook);

} // namespace Dialogs
