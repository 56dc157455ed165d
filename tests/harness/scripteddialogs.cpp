#include "scripteddialogs.h"

#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QWidget>

using namespace Qt::StringLiterals;

ScriptedDialogs::ScriptedDialogs()
{
    Dialogs::setMessageBoxResponder([this](const Dialogs::MessageBoxCall &call) {
        m_messageBoxes.append(call);
        if (m_messageAnswers.isEmpty()) {
            m_unexpected.append(u"message box: "_s + call.text);
            return int(Dialogs::Cancel);
        }
        return m_messageAnswers.dequeue();
    });
    Dialogs::setInputBoxResponder([this](const Dialogs::InputBoxCall &call) {
        m_inputBoxes.append(call);
        if (m_inputAnswers.isEmpty()) {
            m_unexpected.append(u"input box: "_s + call.prompt);
            return QString();
        }
        return m_inputAnswers.dequeue();
    });
    Dialogs::setModalHook([this](QWidget *window) {
        m_modalWindows.append(window->objectName());
        if (m_modalActions.isEmpty()) {
            m_unexpected.append(u"modal window: "_s + window->objectName());
            window->hide();
            return;
        }
        const ModalAction next = m_modalActions.dequeue();
        next.action(window);
        if (next.closes && window->isVisible()) {
            m_unexpected.append(u"still open after its action: "_s + window->objectName());
            window->hide();
        }
    });
}

ScriptedDialogs::~ScriptedDialogs()
{
    QVERIFY2(done(), qPrintable(pending())); // every answer used, and nothing asked that was not expected
    Dialogs::setMessageBoxResponder({});
    Dialogs::setInputBoxResponder({});
    Dialogs::setModalHook({});
}

void ScriptedDialogs::answerPrompt(const QString &value)
{
    onModal([value](QWidget *window) {
        auto *box = window->findChild<QLineEdit *>(u"txtValue"_s);
        QVERIFY(box);
        box->selectAll();
        QTest::keyClicks(box, value);
        if (value.isEmpty())
            box->clear();
        QTest::mouseClick(window->findChild<QPushButton *>(u"cmdFinish"_s), Qt::LeftButton);
    });
}

void ScriptedDialogs::cancelPrompt()
{
    onModal([](QWidget *window) {
        QTest::mouseClick(window->findChild<QPushButton *>(u"cmdCancel"_s), Qt::LeftButton);
    });
}

bool ScriptedDialogs::done() const
{
    return m_messageAnswers.isEmpty() && m_inputAnswers.isEmpty() && m_modalActions.isEmpty() && m_unexpected.isEmpty();
}

QString ScriptedDialogs::pending() const
{
    return u"unused answers: %1 message, %2 input, %3 modal; unexpected: %4"_s.arg(m_messageAnswers.size())
        .arg(m_inputAnswers.size()).arg(m_modalActions.size()).arg(m_unexpected.join(u"; "_s));
}
