#include "frminputvariable.h"

#include "platform/dialogs.h"
#include "platform/selectonfocus.h"
#include "ui_frminputvariable.h"

#include <QEvent>

frmInputVariable::frmInputVariable(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::frmInputVariable>())
{
    ui->setupUi(this);
    selectAllOnFocus(ui->txtValue);
    connect(ui->cmdFinish, &QPushButton::clicked, this, [this] {
        m_accepted = true;
        hide();
    });
    connect(ui->cmdCancel, &QPushButton::clicked, this, [this] {
        m_accepted = false;
        hide();
    });
}

frmInputVariable::~frmInputVariable() = default;

bool frmInputVariable::prompt(const QString &message, const QString &title, const QString &defaultValue,
                              QString &value)
{
    ui->lblMssg->setText(message);
    setWindowTitle(title);
    ui->txtValue->setText(defaultValue);
    m_accepted = false;
    ui->txtValue->setFocus();
    Dialogs::showModal(this);
    if (m_accepted)
        value = ui->txtValue->text();
    return m_accepted;
}

bool frmInputVariable::event(QEvent *event)
{
    if (event->type() == QEvent::WindowActivate)
        ui->txtValue->setFocus();
    return QDialog::event(event);
}
