#pragma once

#include <tamberline/tamberlinecontrol.h>

#include <QStringList>

class QueryDefinition;

// What the component's own windows reach past the public interface of a control.
class ControlAccess
{
public:
    static QueryDefinition &query(const Tamberline &control);
};

// Every filter entry as stored, blank ones included, and removal by position: the property
// list walks and edits the list directly as well as through ElemAttribs.
QStringList storedAttribs(const Tamberline &control);
void removeStoredAttrib(Tamberline &control, int position);

// Adds a filter entry at the end: an index outside the list appends.
inline void appendAttrib(Tamberline &control, const QString &entry)
{
    control.setElemAttribs(-1, entry);
}

// Why the calling thread's last EditQueryItem returned False; empty after one that returned
// True. Reading it clears it.
QString takeEditQueryItemFailure();

// True when the object is a query control: windows opened by anything else leave parts of
// their work undone.
bool isQueryControl(const QObject *object);
