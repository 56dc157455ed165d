#pragma once

#include <QString>

#include <cstdint>

// Where the Search Wizard stands among its steps and the rules that move it. Only the URL
// step can refuse: any search text, offset or filter list is valid.
class WizardSteps
{
public:
    // What the window does after a button: nothing, show the current step, show the
    // validation message over the step the validation moved to, or accept and close.
    enum class Move { Stay, Show, Refuse, Accept };

    static constexpr int16_t UrlStep = 1;

    explicit WizardSteps(int16_t count);

    int16_t count() const { return m_count; }
    int16_t last() const { return int16_t(m_count - 1); }
    int16_t current() const { return m_current; }
    bool onLast() const { return m_current == last(); }
    void reset() { m_current = 0; }

    // A blank URL moves the wizard to the URL step, wherever it stood.
    bool validate(int16_t step, const QString &url);
    const QString &validationMessage() const { return m_message; }

    Move next(const QString &url);
    Move back();
    // Before the last step, leads to the summary once every step up to it is valid.
    Move finish(const QString &url);

    bool backEnabled() const { return m_current != 0; }
    QString title() const;
    QString finishCaption() const;

private:
    int16_t m_count;
    int16_t m_current = 0;
    QString m_message;
};
