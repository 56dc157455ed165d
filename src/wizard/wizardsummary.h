#pragma once

#include <QString>
#include <QStringList>

// What the wizard's steps hold, as the summary reads it.
struct WizardAnswers {
    bool htmlGet = true;
    QString url;
    QString searchText;
    QString offset; // the offset box as typed
    QStringList filters;
};

// The text of the summary step: one block per answer given, lines ended by CR LF.
QString buildWizardSummary(const WizardAnswers &answers);
