#include "wizardsummary.h"

#include "document/textrules.h"
#include "wizardoffset.h"

QString buildWizardSummary(const WizardAnswers &answers)
{
    const QString crlf = QStringLiteral("\r\n");
    const QChar quote = u'"';
    QString summary;
    if (answers.htmlGet)
        summary += QStringLiteral("Source Type: HTML using GET method") + crlf + crlf;
    if (const QString url = trimBlanks(answers.url); !url.isEmpty())
        summary += QStringLiteral("Browse to URL: ") + url + crlf + crlf;
    if (const QString text = trimBlanks(answers.searchText); !text.isEmpty())
        summary += QStringLiteral("Search for text: ") + quote + text + quote + crlf + crlf;
    summary += QStringLiteral("Return node with offset: ") + quote + WizardOffset::valueText(answers.offset) + quote
               + crlf + crlf;
    if (!answers.filters.isEmpty()) {
        summary += QStringLiteral("In node with the following attributes: ") + crlf;
        for (const QString &filter : answers.filters)
            summary += QChar(u'\t') + filter + crlf;
        summary += crlf;
    }
    return summary;
}
