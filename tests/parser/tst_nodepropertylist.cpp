#include "control/controlaccess.h"
#include "freshquery.h"
#include "parser/nodepropertylist.h"
#include "datatable.h"

#include <QHeaderView>
#include <QTreeWidget>
#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

// html > body > p(id=x, class="", title=null, data=NULL, ValdKey=k).
Document page()
{
    Document document;
    document.elements = {{u"HTML"_s, -1}, {u"BODY"_s, 0}, {u"P"_s, 1, u"x"_s}};
    document.elements[2].attributes = {{u"id"_s, u"x"_s}, {u"class"_s, QString()}, {u"title"_s, u" null "_s},
                                       {u"data"_s, u"NULL"_s}, {u"ValdKey"_s, u"k"_s}};
    return document;
}

// Each row as "name=value", with "+" when ticked and the colour both its texts are shown in: "b"
// blue, "r" red.
QStringList rowsOf(const QTreeWidget &list)
{
    QStringList rows;
    for (int i = 0; i < list.topLevelItemCount(); ++i) {
        const QTreeWidgetItem *row = list.topLevelItem(i);
        const QColor colour = row->foreground(0) == row->foreground(1) ? row->foreground(1).color() : QColor();
        rows.append(row->text(0) + u'=' + row->text(1) + (row->checkState(0) == Qt::Checked ? u"+"_s : QString())
                    + (colour == QColor(Qt::blue) ? u" b"_s : colour == QColor(Qt::red) ? u" r"_s : QString()));
    }
    return rows;
}

QTreeWidgetItem *rowNamed(const QTreeWidget &list, const QString &name, int colour)
{
    for (int i = 0; i < list.topLevelItemCount(); ++i) {
        if (list.topLevelItem(i)->text(0) == name && NodePropertyList::colourOf(list.topLevelItem(i)) == colour)
            return list.topLevelItem(i);
    }
    return nullptr;
}

void toggle(NodePropertyList &properties, QTreeWidgetItem *row)
{
    row->setCheckState(0, row->checkState(0) == Qt::Checked ? Qt::Unchecked : Qt::Checked);
    properties.rowCheckToggled(row);
    QCoreApplication::processEvents();
}

} // namespace

class tst_NodePropertyList : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        resetThreadQuery();
        m_list = std::make_unique<QTreeWidget>();
        m_list->setColumnCount(2);
        m_control = std::make_unique<Tamberline>();
    }

    void rows_data()
    {
        addColumns<int, int, QStringList, QStringList>("show", "element", "filters", "rows");

        const QStringList elementRows{u"tagName=P b"_s, u"ParentTag=BODY b"_s, u"sourceIndex=2 b"_s};
        QTest::newRow("non-empty: empty and null values hidden, NULL shown")
            << int(NodePropertyList::Show::NonEmpty) << 2 << QStringList{}
            << QStringList{u"id=x"_s, u"data=NULL"_s} + elementRows;
        QTest::newRow("all: every attribute but ValdKey") << int(NodePropertyList::Show::All) << 2 << QStringList{}
            << QStringList{u"id=x"_s, u"class="_s, u"title= null "_s, u"data=NULL"_s} + elementRows;
        QTest::newRow("neither option: element rows only") << int(NodePropertyList::Show::None) << 2 << QStringList{} << elementRows;
        QTest::newRow("the top element has no parent tag") << int(NodePropertyList::Show::NonEmpty) << 0 << QStringList{}
            << QStringList{u"tagName=HTML b"_s, u"sourceIndex=0 b"_s};
        QTest::newRow("the element under the top one has its parent tag") << int(NodePropertyList::Show::None) << 1 << QStringList{}
            << QStringList{u"tagName=BODY b"_s, u"ParentTag=HTML b"_s, u"sourceIndex=1 b"_s};
        QTest::newRow("a filter with another value leaves the row unticked")
            << int(NodePropertyList::Show::NonEmpty) << 2 << QStringList{u"id=y"_s}
            << QStringList{u"id=x"_s, u"data=NULL"_s} + elementRows + QStringList{u"id=y+ r"_s};
        QTest::newRow("a filter the element carries is ticked")
            << int(NodePropertyList::Show::NonEmpty) << 2 << QStringList{u"id=x"_s}
            << QStringList{u"id=x+"_s, u"data=NULL"_s} + elementRows;
        QTest::newRow("ticked without regard to case, present by exact text")
            << int(NodePropertyList::Show::NonEmpty) << 2 << QStringList{u"ID=x"_s}
            << QStringList{u"id=x+"_s, u"data=NULL"_s} + elementRows + QStringList{u"ID=x+ r"_s};
        QTest::newRow("element rows are filters too") << int(NodePropertyList::Show::None) << 2 << QStringList{u"TAGNAME=p"_s}
            << QStringList{u"tagName=P+ b"_s, u"ParentTag=BODY b"_s, u"sourceIndex=2 b"_s, u"TAGNAME=p+ r"_s};
        QTest::newRow("blanks inside an entry tick only its own row")
            << int(NodePropertyList::Show::None) << 2 << QStringList{u"tagName = P"_s}
            << elementRows + QStringList{u"tagName = P+ r"_s};
        QTest::newRow("only the two ends of an entry count")
            << int(NodePropertyList::Show::None) << 2 << QStringList{u"tagName=Q=P"_s}
            << QStringList{u"tagName=P+ b"_s, u"ParentTag=BODY b"_s, u"sourceIndex=2 b"_s, u"tagName=Q=P+ r"_s};
        QTest::newRow("a blank entry ends marking, not the filter rows")
            << int(NodePropertyList::Show::NonEmpty) << 2 << QStringList{u"a=1"_s, u" "_s, u"id=x"_s}
            << QStringList{u"id=x"_s, u"data=NULL"_s} + elementRows + QStringList{u"a=1+ r"_s};
        QTest::newRow("no element: the filters alone")
            << int(NodePropertyList::Show::All) << -1 << QStringList{u"a=1"_s, u"b="_s, u"c=Stra\u00dfe"_s, u"=v"_s}
            << QStringList{u"a=1+ r"_s, u"b=+ r"_s, u"c=Stra\u00dfe+ r"_s, u"=v+ r"_s};
    }

    void rows()
    {
        const auto [show, element, filters, rows] =
            fetchRow<int, int, QStringList, QStringList>("show", "element", "filters", "rows");
        for (const QString &filter : filters)
            m_control->setElemAttribs(-1, filter);
        NodePropertyList properties(m_list.get());
        properties.setControl(m_control.get());
        properties.setShow(NodePropertyList::Show(show));
        properties.ShowNodeProperties(&m_page, element);
        QCOMPARE(rowsOf(*m_list), rows);
    }

    void entryWithoutEquals()
    {
        m_control->setElemAttribs(-1, u"a=1"_s);
        m_control->setElemAttribs(-1, u"junk"_s);
        NodePropertyList properties(m_list.get());
        properties.setControl(m_control.get());
        properties.setShow(NodePropertyList::Show::None);
        // After a fill with an element the entry just gets no row.
        properties.ShowNodeProperties(&m_page, 0);
        QCOMPARE(rowsOf(*m_list).last(), u"a=1+ r"_s);
        // Without an element the failure reaches the caller; the rows before it stay.
        m_list->clear();
        QVERIFY((outcome([&] { properties.ShowNodeProperties(&m_page, -1); })) == u"error 5"_s && rowsOf(*m_list) == QStringList{u"a=1+ r"_s});
    }

    void noMarksWithoutAQueryControl()
    {
        m_control->setElemAttribs(-1, u"id=x"_s);
        NodePropertyList properties(m_list.get());
        properties.ShowNodeProperties(&m_page, 2);
        QCOMPARE(rowsOf(*m_list).first(), u"id=x"_s);
    }

    void toggleEditsTheFilters()
    {
        for (const QString &filter : {u"ID=x"_s, u"=v"_s, u"other=1"_s})
            m_control->setElemAttribs(-1, filter);
        NodePropertyList properties(m_list.get());
        properties.setControl(m_control.get());
        properties.ShowNodeProperties(&m_page, -1); // no element: the filters alone, the first at the top

        // Unticking a filter-only row removes the row and its entry, even one without a name.
        for (const QString &name : {u"ID"_s, u""_s})
            toggle(properties, rowNamed(*m_list, name, NodePropertyList::Red));
        QVERIFY(!rowNamed(*m_list, u"ID"_s, NodePropertyList::Red));
        QCOMPARE(storedAttribs(*m_control), QStringList{u"other=1"_s});
        properties.ShowNodeProperties(&m_page, 2);

        // Ticking appends; unticking a plain or blue row removes the entry only.
        QTreeWidgetItem *tag = rowNamed(*m_list, u"tagName"_s, NodePropertyList::Blue);
        toggle(properties, tag);
        QCOMPARE(storedAttribs(*m_control), (QStringList{u"other=1"_s, u"tagName=P"_s}));
        toggle(properties, tag);
        QVERIFY(storedAttribs(*m_control) == QStringList{u"other=1"_s} && rowNamed(*m_list, u"tagName"_s, NodePropertyList::Blue) == tag);

        // A new value for a filtered name replaces the old entry, which moves to the end.
        m_control->ClearAttribs();
        m_control->setElemAttribs(-1, u"id=y"_s);
        m_control->setElemAttribs(-1, u"z=0"_s);
        QTreeWidgetItem *id = rowNamed(*m_list, u"id"_s, NodePropertyList::DefaultColour);
        id->setCheckState(0, Qt::Unchecked);
        toggle(properties, id);
        QCOMPARE(storedAttribs(*m_control), (QStringList{u"z=0"_s, u"id=x"_s}));
    }

    void sorting()
    {
        NodePropertyList properties(m_list.get());
        properties.setShow(NodePropertyList::Show::NonEmpty);
        properties.ShowNodeProperties(&m_page, 2);
        const auto column = [&](int c) {
            QStringList texts;
            for (int i = 0; i < m_list->topLevelItemCount(); ++i)
                texts.append(m_list->topLevelItem(i)->text(c));
            return texts;
        };
        // The arrows the headers show: up, down or none.
        const auto arrows = [&] {
            const auto image = [](const QIcon &icon) { return icon.pixmap(16).toImage(); };
            QString shown;
            for (int c = 0; c < m_list->columnCount(); ++c) {
                const QImage icon = image(m_list->headerItem()->icon(c));
                shown += icon == image(m_list->style()->standardIcon(QStyle::SP_ArrowUp))     ? u'^'
                         : icon == image(m_list->style()->standardIcon(QStyle::SP_ArrowDown)) ? u'v'
                                                                                            : icon.isNull() ? u'-' : u'?';
            }
            return shown;
        };
        connect(m_list->header(), &QHeaderView::sectionClicked, this, [&](int c) { properties.columnClicked(c); });
        QTest::mouseClick(m_list->header()->viewport(), Qt::LeftButton, {}, {2, 2}); // the first column's heading
        QVERIFY(column(0) == (QStringList{u"data"_s, u"id"_s, u"ParentTag"_s, u"sourceIndex"_s, u"tagName"_s}) && arrows() == u"^-"_s);
        properties.columnClicked(0);
        QCOMPARE(arrows(), u"v-"_s);
        QCOMPARE(column(0).first(), u"tagName"_s);
        properties.columnClicked(1);
        QCOMPARE(arrows(), u"-^"_s);
        // The order holds across refills.
        properties.ShowNodeProperties(&m_page, 2);
        QCOMPARE(column(1), (QStringList{u"2"_s, u"BODY"_s, u"NULL"_s, u"P"_s, u"x"_s}));
        properties.columnClicked(1);
        properties.columnClicked(1); // the third click sorts up again
        QCOMPARE(column(1).first(), u"2"_s);
    }
private:
    const Document m_page = page();
    std::unique_ptr<QTreeWidget> m_list;
    std::unique_ptr<Tamberline> m_control;
};

QTEST_MAIN(tst_NodePropertyList)
#include "tst_nodepropertylist.moc"
