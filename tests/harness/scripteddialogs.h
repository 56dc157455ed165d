#pragma once

#include "platform/dialogs.h"

#include <QList>
#include <QQueue>
#include <QString>
#include <QStringList>

#include <functional>

class QWidget;

// Answers the component's message boxes, input boxes and modal windows from a script, and
// records what was asked. Anything unscripted is recorded as unexpected and dismissed
// (Cancel, the empty text, the window hidden) so a test fails instead of hanging.
class ScriptedDialogs
{
public:
    ScriptedDialogs();
    ~ScriptedDialogs();

    void answerMessageBox(int answer) { m_messageAnswers.enqueue(answer); }
    void answerInputBox(const QString &text) { m_inputAnswers.enqueue(text); }
    // The action runs once the next modal window is on screen, and must close it.
    void onModal(std::function<void(QWidget *)> action) { m_modalActions.enqueue({std::move(action), true}); }
    // The same, but the window may stay open after the action: something later closes it.
    void onModalLeftOpen(std::function<void(QWidget *)> action) { m_modalActions.enqueue({std::move(action), false}); }

    // Convenience for the example-value prompt: type a value and press OK, or press Cancel.
    void answerPrompt(const QString &value);
    void cancelPrompt();

    const QList<Dialogs::MessageBoxCall> &messageBoxes() const { return m_messageBoxes; }
    const QList<Dialogs::InputBoxCall> &inputBoxes() const { return m_inputBoxes; }
    const QStringList &modalWindows() const { return m_modalWindows; }
    // True when every scripted answer was used and nothing unscripted came up.
    bool done() const;
    QString pending() const;

private:
    QQueue<int> m_messageAnswers;
    QQueue<QString> m_inputAnswers;
    struct ModalAction {
        std::function<void(QWidget *)> action;
        bool closes = true;
    };
    QQueue<ModalAction> m_modalActions;
    QList<Dialogs::MessageBoxCall> m_messageBoxes;
    QList<Dialogs::InputBoxCall> m_inputBoxes;
    QStringList m_modalWindows;
    QStringList m_unexpected;
};
