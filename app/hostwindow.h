#pragma once

#include <tamberline/tamberlinecontrol.h>
#include "queryfile.h"
#include "queryrunner.h"

#include <QMainWindow>

#include <memory>

class BrowserLoader;
struct PageSource;

namespace Ui {
class HostWindow;
}

// A host of the query control: shows the control's five properties, edits them directly or
// through the control's editors, and opens and saves query files.
class HostWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit HostWindow(QWidget *parent = nullptr);
    ~HostWindow() override;

    Tamberline &control() { return m_control; }
    // Loads a query file into the control; a failure is shown and changes nothing.
    bool openFile(const QString &path);
    bool saveFile(const QString &path);
    bool isModified() const;

    // What the query returns on its page, shown beside it. In the browser the answer comes
    // later, from the event loop; running again drops a run still under way.
    void runQuery();
    bool isRunning() const;

    enum class Engine { Browser, Static };

public slots:
    void openPageParser() { editQuery(&Tamberline::EditQueryItem); }

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void showQuery();
    void runInBrowser(const RunnableQuery &query, const PageSource &source);
    void cancelRun();
    void showResult(const RunResult &result, Engine engine);
    void editQuery(bool (Tamberline::*edit)());
    void updateTitle();
    bool maybeSave();

    std::unique_ptr<Ui::HostWindow> ui;
    // Made at the first run in the browser; gone before the form, so no answer reaches it.
    std::unique_ptr<BrowserLoader> m_browser;
    Tamberline m_control;
    QString m_path;
    QueryFile m_saved;
    bool m_showing = false;
};
