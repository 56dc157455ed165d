#pragma once

#include <QString>
#include <QStringList>

// The address box after a top-level document completed: an empty box takes the document's
// address; the address goes to the top of the history unless it is already there; the
// history keeps the newest 20. Loading "about:blank" leaves the history alone.
struct AddressBox {
    static constexpr int MaxHistory = 20;

    QString text;
    QStringList history; // newest first

    // True when the address was added to the history.
    bool documentCompleted(const QString &locationUrl);
};
