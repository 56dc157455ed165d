#include "frmaddprop.h"

#include "attributelist.h"
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
    connect(ui->cmdRemoveProp, &QPushButton::clicked, this, [this] {
        if (QListWidgetItem *selected = ui->lstProps->currentItem(); selected && selected->isSelected())
            delete selected;
    });
    connect(ui->lstProps, &QListWidget::itemClicked, this, &frmAddProp::lstProps_Click);
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
    m_focusOnActivate = true;
}

void frmAddProp::ResetList()
{
    ui->lstProps->clear();
}

bool frmAddProp::AddProp(const QString &name, const QString &value)
{
    QStringList entries = lines();
    if (!AttributeList::add(entries, name, value))
        return false;
    setLines(entries);
    return true;
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
    QStringList entries;
    for (int i = 0; i < ui->lstProps->count(); ++i)
        entries.append(ui->lstProps->item(i)->text());
    return entries;
}

void frmAddProp::setLines(const QStringList &lines)
{
    ui->lstProps->clear();
    ui->lstProps->addItems(lines);
}

void frmAddProp::cmdAddProp_Click()
{
    if (!AddProp(ui->txtPropName->text(), ui->txtPropValue->text()))
        Dialogs::messageBox(QStringLiteral("Please type in an attribute name"), Dialogs::OkOnly | Dialogs::Critical);
    ui->txtPropName->setFocus();
}

void frmAddProp::lstProps_Click()
{
    const QListWidgetItem *selected = ui->lstProps->currentItem();
    QString name, value;
    if (selected && selected->isSelected() && AttributeList::split(selected->text(), name, value)) {
        ui->txtPropName->setText(name);
        ui->txtPropValue->setText(value);
    }
}

bool frmAddProp::event(QEvent *event)
{
    if (event->type() == QEvent::WindowActivate && m_focusOnActivate)
        ui->txtPropName->setFocus();
    return QDialog::event(event);
}
