#pragma once

#include <tamberline/tamberlinecontrol.h>
#include "document/document.h"

#include <QIcon>
#include <QPointer>

class QTreeWidget;
class QTreeWidgetItem;

// The attribute list `lstProps` of the Page Parser: the selected element's attributes, three
// rows about the element itself, and a row for every filter the element does not carry. The
// check boxes edit the query's filters at once.
class NodePropertyList
{
public:
    enum class Show { All, NonEmpty, None };

    // Row colours as the list stores them (red in the low byte).
    static constexpr int DefaultColour = -1;
    static constexpr int Red = 255;
    static constexpr int Blue = 16711680;

    explicit NodePropertyList(QTreeWidget *list);

    // The control whose filters are shown and edited; marks are set only for a query control.
    void setControl(Tamberline *control) { m_control = control; }
    void setShow(Show show) { m_show = show; }
    Show show() const { return m_show; }

    static constexpr int NoElement = -1;

    // Fills the list for one element (element < 0: none). Without an element the list is not
    // cleared and only the filter-only rows are added.
    void ShowNodeProperties(const Document *document, int element);
    QTreeWidgetItem *AddElementRow(const QString &name, const QString &value);
    void MarkIfFiltered(QTreeWidgetItem *row);

    // The user ticked or unticked a row.
    void rowCheckToggled(QTreeWidgetItem *row);
    // The user clicked a column header.
    void columnClicked(int column);

    static int colourOf(const QTreeWidgetItem *row);

private:
    QTreeWidgetItem *addRow(const QString &name, const QString &value, int colour);
    void addFilterOnlyRows(bool ignoreErrors);
    void applySort();

    QTreeWidget *m_list;
    QPointer<Tamberline> m_control;
    Show m_show = Show::NonEmpty;
    bool m_sorted = false;
    Qt::SortOrder m_order = Qt::AscendingOrder;
    int m_sortKey = 0;
    QIcon m_sortAsc;
    QIcon m_sortDesc;
};
