#pragma once

#include <QDialog>
#include <QPointer>

#include <memory>

class frmMain;

namespace Ui {
class frmAbort;
}

// A small "Please Wait" dialog over a Page Parser whose Abort stops the Page Parser's browser.
class frmAbort : public QDialog
{
    Q_OBJECT

public:
    explicit frmAbort(QWidget *parent = nullptr);
    ~frmAbort() override;

    // Waits up to five seconds for the owner to be visible, then shows itself modally,
    // centred on it. Returns without showing anything when the owner stays hidden.
    void showFor(frmMain *owner);

private:
    void cmdAbort_Click();

    std::unique_ptr<Ui::frmAbort> ui;
    QPointer<frmMain> m_owner;
};
