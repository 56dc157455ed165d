#include "wizardsteps.h"

#include "document/textrules.h"

WizardSteps::WizardSteps(int16_t count)
    : m_count(count)
{
}

bool WizardSteps::validate(int16_t step, const QString &url)
{
    m_message.clear();
    if (step != UrlStep || !trimBlanks(url).isEmpty())
        return true;
    m_current = UrlStep;
    m_message = QStringLiteral("URL is a required field");
    return false;
}

WizardSteps::Move WizardSteps::next(const QString &url)
{
    if (!validate(m_current, url))
        return Move::Refuse;
    if (m_current >= last())
        return Move::Stay;
    ++m_current;
    return Move::Show;
}

WizardSteps::Move WizardSteps::back()
{
    if (m_current <= 0)
        return Move::Stay;
    --m_current;
    return Move::Show;
}

WizardSteps::Move WizardSteps::finish(const QString &url)
{
    if (onLast())
        return Move::Accept;
    for (int16_t step = m_current; step < last(); ++step) {
        if (!validate(step, url))
            return Move::Refuse;
    }
    m_current = last();
    return Move::Show;
}

QString WizardSteps::title() const
{
    return QStringLiteral("Search Wizard -- Step %1 of %2").arg(m_current + 1).arg(m_count);
}

QString WizardSteps::finishCaption() const
{
    return onLast() ? QStringLiteral("OK") : QStringLiteral("Finish");
}
