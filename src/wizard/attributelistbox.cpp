#include "attributelistbox.h"

#include "attributelist.h"

#include <QLineEdit>
#include <QListWidget>

namespace AttributeListBox {

namespace {

QListWidgetItem *selectedEntry(const QListWidget *list)
{
    QListWidgetItem *current = list->currentItem();
    return current && current->isSelected() ? current : nullptr;
}

} // namespace

QStringList lines(const QListWidget *list)
{
    QStringList entries;
    for (int i = 0; i < list->count(); ++i)
        entries.append(list->item(i)->text());
    return entries;
}

bool add(QListWidget *list, const QString &name, const QString &value)
{
    QStringList entries = lines(list);
    if (!AttributeList::add(entries, name, value))
        return false;
    list->clear();
    list->addItems(entries);
    return true;
}

void removeSelected(QListWidget *list)
{
    delete selectedEntry(list);
}

void showSelected(const QListWidget *list, QLineEdit *nameBox, QLineEdit *valueBox)
{
    const QListWidgetItem *selected = selectedEntry(list);
    QString name, value;
    if (selected && AttributeList::split(selected->text(), name, value)) {
        nameBox->setText(name);
        valueBox->setText(value);
    }
}

void linkBoxes(QListWidget *list, QLineEdit *nameBox, QLineEdit *valueBox)
{
    const auto show = [=] { showSelected(list, nameBox, valueBox); };
    QObject::connect(list, &QListWidget::itemClicked, nameBox, show);
    QObject::connect(list, &QListWidget::itemSelectionChanged, nameBox, show);
}

} // namespace AttributeListBox
