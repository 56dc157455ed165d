#include "nodepropertylist.h"

#include "control/attribwalk.h"
#include "control/controlaccess.h"
#include "platform/runtimeerror.h"
#include "document/textcase.h"
#include "document/textrules.h"

#include <QApplication>
#include <QHeaderView>
#include <QStyle>
#include <QTimer>
#include <QTreeWidget>

namespace {

constexpr int ColourRole = Qt::UserRole;

QColor colourFor(int value)
{
    return QColor(value & 0xFF, (value >> 8) & 0xFF, (value >> 16) & 0xFF);
}

// The list sorts its texts without regard to case, as people read them.
class PropertyRow : public QTreeWidgetItem
{
public:
    using QTreeWidgetItem::QTreeWidgetItem;

    bool operator<(const QTreeWidgetItem &other) const override
    {
        const int column = treeWidget() ? treeWidget()->sortColumn() : 0;
        return text(column).compare(other.text(column), Qt::CaseInsensitive) < 0;
    }
};

bool shown(NodePropertyList::Show show, const QString &value)
{
    switch (show) {
    case NodePropertyList::Show::All:
        return true;
    case NodePropertyList::Show::NonEmpty: {
        const QString trimmed = trimBlanks(value);
        return !trimmed.isEmpty() && trimmed != QStringLiteral("null");
    }
    case NodePropertyList::Show::None:
        break;
    }
    return false;
}

} // namespace

NodePropertyList::NodePropertyList(QTreeWidget *list)
    : m_list(list)
    , m_sortAsc(QApplication::style()->standardIcon(QStyle::SP_ArrowUp))
    , m_sortDesc(QApplication::style()->standardIcon(QStyle::SP_ArrowDown))
{
    m_list->header()->setSectionsClickable(true);
}

int NodePropertyList::colourOf(const QTreeWidgetItem *row)
{
    const QVariant colour = row->data(0, ColourRole);
    return colour.isValid() ? colour.toInt() : DefaultColour;
}

QTreeWidgetItem *NodePropertyList::addRow(const QString &name, const QString &value, int colour)
{
    auto *row = new PropertyRow(QStringList{name, value});
    row->setCheckState(0, Qt::Unchecked);
    if (colour != DefaultColour) {
        row->setData(0, ColourRole, colour);
        row->setForeground(0, colourFor(colour));
        row->setForeground(1, colourFor(colour));
    }
    m_list->addTopLevelItem(row);
    return row;
}

void NodePropertyList::ShowNodeProperties(const Document *document, int element)
{
    const QSignalBlocker blocker(m_list);
    bool ignoreErrors = false;
    if (document && element >= 0) {
        m_list->clear();
        bool trapped = false;
        try {
            for (const Document::Attribute &attribute : document->item(element).attributes) {
                if (attribute.name == QStringLiteral("ValdKey"))
                    continue;
                if (shown(m_show, attribute.value))
                    MarkIfFiltered(addRow(attribute.name, attribute.value, DefaultColour));
            }
        } catch (const std::exception &) {
            // The attributes are lost, the element rows skipped; the filters still show.
            m_list->clear();
            trapped = true;
        }
        if (!trapped) {
            const auto ignoring = [](const auto &step) {
                try {
                    step();
                } catch (const std::exception &) {
                }
            };
            const Document::Element &e = document->item(element);
            ignoring([&] { AddElementRow(QStringLiteral("tagName"), e.tagName); });
            ignoring([&] {
                if (e.parent >= 0) // an element without a parent has no parent tag to show
                    AddElementRow(QStringLiteral("ParentTag"), document->item(e.parent).tagName);
            });
            ignoring([&] { AddElementRow(QStringLiteral("sourceIndex"), QString::number(element)); });
            ignoreErrors = true;
        }
    }
    addFilterOnlyRows(ignoreErrors);
    applySort();
}

void NodePropertyList::addFilterOnlyRows(bool ignoreErrors)
{
    if (!m_control)
        return;
    for (const QString &entry : storedAttribs(*m_control)) {
        bool spelled = false;
        for (int i = 0; i < m_list->topLevelItemCount() && !spelled; ++i) {
            const QTreeWidgetItem *row = m_list->topLevelItem(i);
            spelled = row->text(0) + u'=' + row->text(1) == entry;
        }
        if (spelled)
            continue;
        const qsizetype at = entry.indexOf(u'=');
        if (at < 0) {
            // Its name cannot be taken: an invalid-argument failure, ignored only after a full fill.
            if (ignoreErrors)
                continue;
            throw RuntimeError(ErrorNumber::InvalidCall);
        }
        MarkIfFiltered(addRow(entry.left(at), entry.mid(at + 1), Red));
    }
}

QTreeWidgetItem *NodePropertyList::AddElementRow(const QString &name, const QString &value)
{
    QTreeWidgetItem *row = addRow(name, QString(), Blue);
    row->setText(1, value);
    MarkIfFiltered(row);
    return row;
}

void NodePropertyList::MarkIfFiltered(QTreeWidgetItem *row)
{
    if (!isQueryControl(m_control))
        return;
    const QString name = row->text(0);
    const QString value = row->text(1);
    const QString head = toUpperKeepingLength(trimBlanks(name + u'='));
    const QString tail = toUpperKeepingLength(trimBlanks(u'=' + value));
    // Only the two ends of an entry are compared: a=b=c marks the row a / c as well as a / b=c.
    for (const QString &entry : walkElemAttribs(*m_control)) {
        const QString e = toUpperKeepingLength(trimBlanks(entry));
        if (e.left(name.size() + 1) == head && e.right(value.size() + 1) == tail) {
            const QSignalBlocker blocker(m_list);
            row->setCheckState(0, Qt::Checked);
            return;
        }
    }
}

void NodePropertyList::rowCheckToggled(QTreeWidgetItem *row)
{
    if (!m_control)
        throw RuntimeError(ErrorNumber::ObjectRequired);
    const QString name = toUpperKeepingLength(trimBlanks(row->text(0)));
    const QStringList stored = storedAttribs(*m_control);
    for (int i = 0; i < stored.size(); ++i) {
        const qsizetype at = stored.at(i).indexOf(u'=');
        if (at < 0 || toUpperKeepingLength(trimBlanks(stored.at(i).left(at))) != name)
            continue;
        removeStoredAttrib(*m_control, i);
        if (colourOf(row) == Red) {
            // Unticking a filter-only row deletes it; not from inside the list's own signal.
            QTimer::singleShot(0, m_list, [list = m_list, row] {
                if (list->indexOfTopLevelItem(row) >= 0)
                    delete row;
            });
            return;
        }
        break;
    }
    if (row->checkState(0) == Qt::Checked)
        appendAttrib(*m_control, row->text(0) + u'=' + row->text(1));
}

void NodePropertyList::columnClicked(int column)
{
    // The sorted column turns its order round; another one sorts upward.
    const bool turn = m_sorted && m_sortKey == column && m_order == Qt::AscendingOrder;
    m_sorted = true;
    m_sortKey = column;
    m_order = turn ? Qt::DescendingOrder : Qt::AscendingOrder;
    QTreeWidgetItem *header = m_list->headerItem();
    for (int c = 0; c < 2; ++c)
        header->setIcon(c, c != column ? QIcon() : turn ? m_sortDesc : m_sortAsc);
    applySort();
}

void NodePropertyList::applySort()
{
    if (m_sorted)
        m_list->sortItems(m_sortKey, m_order);
}
