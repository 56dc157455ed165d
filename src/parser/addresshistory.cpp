#include "addresshistory.h"

#include "document/textrules.h"

bool AddressBox::documentCompleted(const QString &locationUrl)
{
    if (trimBlanks(text).isEmpty())
        text = locationUrl;
    bool added = false;
    if (trimBlanks(text) != QStringLiteral("about:blank")) {
        const QString newest = history.isEmpty() ? QString() : history.first();
        if (trimBlanks(locationUrl) != trimBlanks(newest)) {
            history.prepend(locationUrl);
            added = true;
        }
    }
    while (history.size() > MaxHistory)
        history.removeLast();
    return added;
}
