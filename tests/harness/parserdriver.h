#pragma once

#include "document/document.h"
#include "scripteddialogs.h"
#include "testsettings.h"

#include <tamberline/tamberlinecontrol.h>

#include <QString>
#include <QTemporaryDir>
#include <QWidget>

#include <functional>
#include <memory>

class QTreeWidgetItem;
class frmMain;

// Drives the Page Parser the way a user does, for end-to-end tests.

// A test page's file URL.
QString testPageUrl(const QString &name);

// Each test with a fresh settings folder and the thread's query at its first values.
class ParserTestCase : public QObject
{
    Q_OBJECT

protected:
    // A page with that body, in a folder that lasts the run; its file URL.
    QString writePage(const QByteArray &body);

private slots:
    void init();
    void cleanup();

private:
    std::unique_ptr<TestSettings> m_settings;
    QTemporaryDir m_pages;
};

// A query on a page, as most sessions start. edit() opens the Page Parser through
// EditQueryItem and runs the steps once the start-up queue ran and the page's tree is built
// (or at once); Exit ends what the steps left open. The call must succeed and use every
// scripted answer.
struct ParserSession {
    explicit ParserSession(const QString &url = testPageUrl(QStringLiteral("simple.html")), bool allowNavigation = true);
    void edit(const std::function<void(frmMain *)> &steps, bool waitForTree = true);

    ScriptedDialogs script;
    Tamberline control;
};

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
