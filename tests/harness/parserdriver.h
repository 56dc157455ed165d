#pragma once

#include "document/document.h"

#include <QString>
#include <QWidget>

#include <functional>

class QTreeWidgetItem;
class ScriptedDialogs;
class Tamberline;
class frmMain;

// Drives the Page Parser the way a user does, for end-to-end tests.

// A test page's file URL.
QString testPageUrl(const QString &name);

// Opens the Page Parser through the control's EditQueryItem and runs steps on it once the
// start-up queue ran and the page's tree is built (or at once); the steps must close it.
bool editWithParser(Tamberline &control, ScriptedDialogs &script, const std::function<void(frmMain *)> &steps,
                    bool waitForTree = true);

template <typename T>
T *child(QWidget *window, const char *name)
{
    return window->findChild<T *>(QString::fromLatin1(name));
}

void clickButton(QWidget *window, const char *button);
void triggerMenu(QWidget *window, const char *action);

// The element with that id in a snapshot, -1 when there is none.
int elementWithId(const DocumentPtr &document, const QString &id);

// Makes the node visible and clicks it as a user would.
void clickNode(frmMain *parser, QTreeWidgetItem *node, Qt::MouseButton button = Qt::LeftButton);

// Runs a script in the page's own world and returns its result.
QVariant runInPage(frmMain *parser, const QString &script);
