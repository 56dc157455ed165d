#pragma once

#include <QString>
#include <QStringList>

class QObject;

// Readies the calling thread for an editor window of the control, or throws RuntimeError 5
// saying why it cannot have one. Editors run only on the thread that owns the Qt application
// object. A host that is not a Qt program has none until the first editor: it is made then, on
// the process's main thread, once a window system can start, because Qt ends the whole process
// when its platform plugin fails.
void prepareEditorApplication(const QObject &control);

// The platforms to try, in order: those QT_QPA_PLATFORM lists, or else X and Wayland with the
// session's own first.
QStringList platformCandidates(const QString &requested, const QString &sessionType);

// Why no window can open here, or empty when one can: Qt would end the process instead.
QString windowSystemProblem();
