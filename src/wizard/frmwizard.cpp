#include "frmwizard.h"

#include "attributelistbox.h"
#include "platform/dialogs.h"
#include "platform/selectonfocus.h"
#include "platform/tabstop.h"
#include "ui_frmwizard.h"
#include "wizardoffset.h"
#include "wizardsummary.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QStyle>

#include <utility>

namespace {

// The steps are counted from the pages, so the form is set up first.
int16_t setUpAndCountSteps(Ui::frmWizard &form, QDialog *window)
{
    form.setupUi(window);
    return int16_t(form.fraSteps->count());
}

} // namespace

frmWizard::frmWizard(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::frmWizard>())
    , m_steps(setUpAndCountSteps(*ui, this))
{
    const std::pair<QLabel *, QStyle::StandardPixmap> pictures[] = {
        {ui->pics_0, QStyle::SP_MessageBoxQuestion},
        {ui->pics_1, QStyle::SP_DirHomeIcon},
        {ui->pics_2, QStyle::SP_FileDialogContentsView},
        {ui->pics_3, QStyle::SP_FileDialogDetailedView},
    };
    for (const auto &[picture, icon] : pictures)
        picture->setPixmap(style()->standardIcon(icon).pixmap(64));

    for (QLineEdit *box : {ui->txtURL, ui->txtSearchText, ui->txtSearchTextOffst, ui->txtPropName, ui->txtPropValue})
        selectAllOnFocus(box);
    ui->txtSearchTextOffst->installEventFilter(this);

    connect(ui->cmdNext, &QPushButton::clicked, this, [this] {
        if (!leavingBadOffset())
            follow(m_steps.next(ui->txtURL->text()));
    });
    connect(ui->cmdBack, &QPushButton::clicked, this, [this] {
        if (!leavingBadOffset())
            follow(m_steps.back());
    });
    connect(ui->cmdFinish, &QPushButton::clicked, this, [this] {
        if (!leavingBadOffset())
            follow(m_steps.finish(ui->txtURL->text()));
    });
    connect(ui->cmdCancel, &QPushButton::clicked, this, [this] {
        m_confirmed = false;
        hide();
    });
    connect(ui->cmdAddProp, &QPushButton::clicked, this, &frmWizard::cmdAddProp_Click);
    connect(ui->cmdRemoveProp, &QPushButton::clicked, this, [this] { AttributeListBox::removeSelected(ui->lstProps); });
    AttributeListBox::linkBoxes(ui->lstProps, ui->txtPropName, ui->txtPropValue);
}

frmWizard::~frmWizard() = default;

void frmWizard::PrepareWizard()
{
    m_confirmed = false;
    ShowStep(true);
}

QLineEdit *frmWizard::txtURL() const { return ui->txtURL; }
QLineEdit *frmWizard::txtSearchText() const { return ui->txtSearchText; }
QLineEdit *frmWizard::txtSearchTextOffst() const { return ui->txtSearchTextOffst; }
QListWidget *frmWizard::lstProps() const { return ui->lstProps; }

void frmWizard::ShowStep(bool reset)
{
    if (reset)
        m_steps.reset();
    if (m_steps.onLast()) {
        const WizardAnswers answers{ui->optSourceType_0->isChecked(), ui->txtURL->text(), ui->txtSearchText->text(),
                                    ui->txtSearchTextOffst->text(), AttributeListBox::lines(ui->lstProps)};
        ui->txtSummary->setPlainText(buildWizardSummary(answers));
    }
    updateButtonsAndTitle();
    updateTabOrderAndFocus();
}

void frmWizard::updateButtonsAndTitle()
{
    ui->cmdBack->setEnabled(m_steps.backEnabled());
    ui->cmdNext->setEnabled(!m_steps.onLast());
    // Cleared first: a focused button already counts as the default for the moment, and
    // setting it again would not make it the dialog's own default.
    ui->cmdNext->setDefault(false);
    ui->cmdFinish->setDefault(false);
    (m_steps.onLast() ? ui->cmdFinish : ui->cmdNext)->setDefault(true);
    ui->fraSteps->setCurrentIndex(m_steps.current());
    setWindowTitle(m_steps.title());
    ui->cmdFinish->setText(m_steps.finishCaption());
}

void frmWizard::updateTabOrderAndFocus()
{
    for (QWidget *control : findChildren<QWidget *>())
        setTabStop(control, false);
    const StepControls step = stepControls(m_steps.current());
    for (QWidget *control : step.tabStops)
        setTabStop(control, true);
    if (step.focus)
        step.focus->setFocus();
    for (QWidget *control : {ui->cmdCancel, ui->cmdBack, ui->cmdNext, ui->cmdFinish})
        setTabStop(control, true);
}

frmWizard::StepControls frmWizard::stepControls(int16_t step) const
{
    switch (step) {
    case 0:
        return {{ui->optSourceType_0, ui->optSourceType_1}, nullptr};
    case 1:
        return {{ui->txtURL}, ui->txtURL};
    case 2:
        return {{ui->txtSearchText, ui->txtSearchTextOffst}, ui->txtSearchText};
    case 3:
        return {{ui->txtPropName, ui->txtPropValue, ui->cmdAddProp, ui->lstProps, ui->cmdRemoveProp}, ui->txtPropName};
    case 4:
        return {{ui->txtSummary}, ui->txtSummary};
    }
    return {};
}

void frmWizard::follow(WizardSteps::Move move)
{
    switch (move) {
    case WizardSteps::Move::Stay:
        break;
    case WizardSteps::Move::Show:
        ShowStep(false);
        break;
    case WizardSteps::Move::Refuse:
        // The refusing step is the URL step, whose focus is the URL box.
        ShowStep(false);
        Dialogs::messageBox(m_steps.validationMessage(), Dialogs::OkOnly);
        break;
    case WizardSteps::Move::Accept:
        m_confirmed = true;
        hide();
        break;
    }
}

bool frmWizard::offsetMayLeave()
{
    ui->txtSearchTextOffst->setText(WizardOffset::valueText(ui->txtSearchTextOffst->text()));
    return WizardOffset::withinRange(ui->txtSearchTextOffst->text());
}

// Enter and the access keys press a button without taking the focus from the offset box, and
// a click on a button has already had the focus sent back to it: either way the step stays.
bool frmWizard::leavingBadOffset()
{
    return focusWidget() == ui->txtSearchTextOffst && !offsetMayLeave();
}

bool frmWizard::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == ui->txtSearchTextOffst && event->type() == QEvent::FocusOut) {
        // Another window or a popup taking the focus does not leave the box.
        const Qt::FocusReason reason = static_cast<QFocusEvent *>(event)->reason();
        if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason && !offsetMayLeave())
            ui->txtSearchTextOffst->setFocus();
    }
    return QDialog::eventFilter(watched, event);
}

void frmWizard::keyPressEvent(QKeyEvent *event)
{
    // Esc presses Cancel; the close box only hides, leaving Confirmed as it is.
    if (event->matches(QKeySequence::Cancel)) {
        ui->cmdCancel->click();
        return;
    }
    QDialog::keyPressEvent(event);
}

void frmWizard::cmdAddProp_Click()
{
    AttributeListBox::add(ui->lstProps, ui->txtPropName->text(), ui->txtPropValue->text());
    ui->txtPropName->setFocus();
}
