#pragma once

#include "wizardsteps.h"

#include <QDialog>
#include <QList>

#include <cstdint>
#include <memory>

class QLineEdit;
class QListWidget;

namespace Ui {
class frmWizard;
}

// "Search Wizard": the query asked for step by step, ending with a summary. The caller fills
// the boxes and the list after PrepareWizard, shows it modally and reads them back when
// Confirmed.
class frmWizard : public QDialog
{
    Q_OBJECT

public:
    explicit frmWizard(QWidget *parent = nullptr);
    ~frmWizard() override;

    void PrepareWizard();
    bool Confirmed() const { return m_confirmed; }

    QLineEdit *txtURL() const;
    QLineEdit *txtSearchText() const;
    QLineEdit *txtSearchTextOffst() const;
    QListWidget *lstProps() const;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    struct StepControls {
        QList<QWidget *> tabStops;
        QWidget *focus = nullptr; // none: the focus stays where it is
    };

    void ShowStep(bool reset);
    void updateButtonsAndTitle();
    void updateTabOrderAndFocus();
    StepControls stepControls(int16_t step) const;
    void follow(WizardSteps::Move move);
    bool offsetMayLeave();
    bool leavingBadOffset();
    void cmdAddProp_Click();

    std::unique_ptr<Ui::frmWizard> ui;
    WizardSteps m_steps;
    bool m_confirmed = false;
};
