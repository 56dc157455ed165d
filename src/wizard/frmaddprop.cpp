#include "frmaddprop.h"

#include "attributelistbox.h"
#include "platform/dialogs.h"
#include "platform/selectonfocus.h"
#include "ui_frmaddprop.h"

#include <QEvent>

frmAddProp::frmAddProp(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::frmAddProp>())
{
    ui->setupUi(this);
    selectAllOnFocus(ui->txtPropName);
    selectAllOnFocus(ui->txtPropValue);
    connect(ui->cmdAddProp, &QPushButton::clicked, this, &frmAddProp::cmdAddProp_Click);
    connect(ui->cmdRemoveProp, &QPushButton::clicked, this, [this] { AttributeListBox::removeSelected(ui->lstProps); });
    AttributeListBox::linkBoxes(ui->lstProps, ui->txtPropName, ui->txtPropValue);
    connect(ui->cmdFinish, &QPushButton::clicked, this, [this] {
        m_confirmed = true;
        hide();
    });
    connect(ui->cmdCancel, &QPushButton::clicked, this, [this] {
        m_confirmed = false;
        hide();
    });
    Reset();
}

frmAddProp::~frmAddProp() = default;

void frmAddProp::Reset()
{
    m_confirmed = false;
    ResetList();
    ui->txtPropName->clear();
    ui->txtPropValue->clear();
}

void frmAddProp::ResetList()
{
    ui->lstProps->clear();
}

bool frmAddProp::AddProp(const QString &name, const QString &value)
{
    return AttributeListBox::add(ui->lstProps, name, value);
}

QString frmAddProp::GetAttributeLine(int16_t index) const
{
    if (index < 0 || index >= ui->lstProps->count())
        return {};
    return ui->lstProps->item(index)->text();
}

void frmAddProp::SetAttributeLine(int16_t index, const QString &text)
{
    if (index >= 0 && index < ui->lstProps->count())
        ui->lstProps->item(index)->setText(text);
    else
        ui->lstProps->addItem(text);
}

QStringList frmAddProp::lines() const
{
    return AttributeListBox::lines(ui->lstProps);
}

void frmAddProp::cmdAddProp_Click()
{
    if (!AddProp(ui->txtPropName->text(), ui->txtPropValue->text()))
        Dialogs::messageBox(QStringLiteral("Please type in an attribute name"), Dialogs::OkOnly | Dialogs::Critical);
    ui->txtPropName->setFocus();
}

bool frmAddProp::event(QEvent *event)
{
    if (event->type() == QEvent::WindowActivate)
        ui->txtPropName->setFocus();
    return QDialog::event(event);
}
