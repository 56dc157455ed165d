#pragma once

#include <QStringList>

class QLineEdit;
class QListWidget;

// The list box of the attribute editors, kept by the rules of AttributeList.
namespace AttributeListBox {

QStringList lines(const QListWidget *list);

// False, changing nothing, for a name that is blank after trimming.
bool add(QListWidget *list, const QString &name, const QString &value);

// Does nothing when no entry is selected.
void removeSelected(QListWidget *list);

// The selected entry split into the two boxes; an entry without "=" leaves them as they are.
void showSelected(const QListWidget *list, QLineEdit *nameBox, QLineEdit *valueBox);
// Shows the selected entry in the boxes whenever it is clicked or the selection moves (the
// arrow keys move it too).
void linkBoxes(QListWidget *list, QLineEdit *nameBox, QLineEdit *valueBox);

} // namespace AttributeListBox
