#pragma once

#include "control/tamberlinecontrol.h"
#include "queryfile.h"
#include "queryrunner.h"

#include <QMainWindow>

#include <memory>

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

    // What the query returns on its page, shown beside it.
    void runQuery();

public slots:
    void openPageParser() { editQuery(&Tamberline::EditQueryItem); }

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void showQuery();
    void showResult(const RunResult &result);
    void editQuery(bool (Tamberline::*edit)());
    void updateTitle();
    bool maybeSave();

    std::unique_ptr<Ui::HostWindow> ui;
    Tamberline m_control;
    QString m_path;
    QueryFile m_saved;
    bool m_showing = false;
};
