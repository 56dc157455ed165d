#include "control/controlaccess.h"
#include "freshquery.h"
#include "parser/nodepropertylist.h"
#include "platform/runtimeerror.h"

#include <QTreeWidget>
#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

// html > body > p(id=x, class="", title=null, data=NULL, ValdKey=k).
Document page()
{
    Document document;
    document.elements = {{QStringLiteral("HTML"), -1},
                         {QStringLiteral("BODY"), 0},
                         {QStringLiteral("P"), 1, QStringLiteral("x")}};
    document.elements[2].attributes = {{QStringLiteral("id"), QStringLiteral("x")},
                                       {QStringLiteral("class"), QString()},
                                       {QStringLiteral("title"), QStringLiteral(" null ")},
                                       {QStringLiteral("data"), QStringLiteral("NULL")},
                                       {QStringLiteral("ValdKey"), QStringLiteral("k")}};
    return document;
}

// Each row as "name=value", with "+" when ticked and the colour: "b" blue, "r" red.
QStringList rowsOf(const QTreeWidget &list)
{
    QStringList rows;
    for (int i = 0; i < list.topLevelItemCount(); ++i) {
        const QTreeWidgetItem *row = list.topLevelItem(i);
        const int colour = NodePropertyList::colourOf(row);
        rows.append(row->text(0) + u'=' + row->text(1) + (row->checkState(0) == Qt::Checked ? QStringLiteral("+") : QString())
                    + (colour == NodePropertyList::Blue ? QStringLiteral(" b") : colour == NodePropertyList::Red ? QStringLiteral(" r") : QString()));
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
    void init();
    void rows_data();
    void rows();
    void entryWithoutEquals();
    void noMarksWithoutAQueryControl();
    void toggleEditsTheFilters();
    void sorting();

private:
    const Document m_page = page();
    std::unique_ptr<QTreeWidget> m_list;
    std::unique_ptr<Tamberline> m_control;
};

void tst_NodePropertyList::init()
{
    resetThreadQuery();
    m_list = std::make_unique<QTreeWidget>();
    m_list->setColumnCount(2);
    m_control = std::make_unique<Tamberline>();
}

void tst_NodePropertyList::rows_data()
{
    QTest::addColumn<int>("show");
    QTest::addColumn<int>("element");
    QTest::addColumn<QStringList>("filters");
    QTest::addColumn<QStringList>("rows");

    const QStringList elementRows{QStringLiteral("tagName=P b"), QStringLiteral("ParentTag=BODY b"), QStringLiteral("sourceIndex=2 b")};
    QTest::newRow("non-empty: empty and null values hidden, NULL shown")
        << int(NodePropertyList::Show::NonEmpty) << 2 << QStringList{}
        << QStringList{QStringLiteral("id=x"), QStringLiteral("data=NULL")} + elementRows;
    QTest::newRow("all: every attribute but ValdKey")
        << int(NodePropertyList::Show::All) << 2 << QStringList{}
        << QStringList{QStringLiteral("id=x"), QStringLiteral("class="), QStringLiteral("title= null "), QStringLiteral("data=NULL")}
               + elementRows;
    QTest::newRow("neither option: element rows only") << int(NodePropertyList::Show::None) << 2 << QStringList{} << elementRows;
    QTest::newRow("the top element has no parent tag")
        << int(NodePropertyList::Show::NonEmpty) << 0 << QStringList{}
        << QStringList{QStringLiteral("tagName=HTML b"), QStringLiteral("sourceIndex=0 b")};
    QTest::newRow("the element under the top one has its parent tag")
        << int(NodePropertyList::Show::None) << 1 << QStringList{}
        << QStringList{QStringLiteral("tagName=BODY b"), QStringLiteral("ParentTag=HTML b"), QStringLiteral("sourceIndex=1 b")};
    QTest::newRow("a filter with another value leaves the row unticked")
        << int(NodePropertyList::Show::NonEmpty) << 2 << QStringList{QStringLiteral("id=y")}
        << QStringList{QStringLiteral("id=x"), QStringLiteral("data=NULL")} + elementRows + QStringList{QStringLiteral("id=y+ r")};
    QTest::newRow("a filter the element carries is ticked")
        << int(NodePropertyList::Show::NonEmpty) << 2 << QStringList{QStringLiteral("id=x")}
        << QStringList{QStringLiteral("id=x+"), QStringLiteral("data=NULL")} + elementRows;
    QTest::newRow("ticked without regard to case, present by exact text")
        << int(NodePropertyList::Show::NonEmpty) << 2 << QStringList{QStringLiteral("ID=x")}
        << QStringList{QStringLiteral("id=x+"), QStringLiteral("data=NULL")} + elementRows + QStringList{QStringLiteral("ID=x+ r")};
    QTest::newRow("element rows are filters too")
        << int(NodePropertyList::Show::None) << 2 << QStringList{QStringLiteral("TAGNAME=p")}
        << QStringList{QStringLiteral("tagName=P+ b"), QStringLiteral("ParentTag=BODY b"), QStringLiteral("sourceIndex=2 b"),
                       QStringLiteral("TAGNAME=p+ r")};
    QTest::newRow("blanks inside an entry tick only its own row")
        << int(NodePropertyList::Show::None) << 2 << QStringList{QStringLiteral("tagName = P")}
        << elementRows + QStringList{QStringLiteral("tagName = P+ r")};
    QTest::newRow("only the two ends of an entry count")
        << int(NodePropertyList::Show::None) << 2 << QStringList{QStringLiteral("tagName=Q=P")}
        << QStringList{QStringLiteral("tagName=P+ b"), QStringLiteral("ParentTag=BODY b"), QStringLiteral("sourceIndex=2 b"),
                       QStringLiteral("tagName=Q=P+ r")};
    QTest::newRow("a blank entry ends marking, not the filter rows")
        << int(NodePropertyList::Show::NonEmpty) << 2 << QStringList{QStringLiteral("a=1"), QStringLiteral(" "), QStringLiteral("id=x")}
        << QStringList{QStringLiteral("id=x"), QStringLiteral("data=NULL")} + elementRows
               + QStringList{QStringLiteral("a=1+ r")};
    QTest::newRow("no element: the filters alone")
        << int(NodePropertyList::Show::All) << -1 << QStringList{QStringLiteral("a=1"), QStringLiteral("b="), u"c=Stra\u00dfe"_s}
        << QStringList{QStringLiteral("a=1+ r"), QStringLiteral("b=+ r"), u"c=Stra\u00dfe+ r"_s};
}

void tst_NodePropertyList::rows()
{
    QFETCH(int, show);
    QFETCH(int, element);
    QFETCH(QStringList, filters);
    QFETCH(QStringList, rows);
    for (const QString &filter : filters)
        m_control->setElemAttribs(-1, filter);
    NodePropertyList properties(m_list.get());
    properties.setControl(m_control.get());
    properties.setShow(NodePropertyList::Show(show));
    properties.ShowNodeProperties(&m_page, element);
    QCOMPARE(rowsOf(*m_list), rows);
}

void tst_NodePropertyList::entryWithoutEquals()
{
    m_control->setElemAttribs(-1, QStringLiteral("a=1"));
    m_control->setElemAttribs(-1, QStringLiteral("junk"));
    NodePropertyList properties(m_list.get());
    properties.setControl(m_control.get());
    properties.setShow(NodePropertyList::Show::None);
    // After a fill with an element the entry just gets no row.
    properties.ShowNodeProperties(&m_page, 0);
    QCOMPARE(rowsOf(*m_list).last(), QStringLiteral("a=1+ r"));
    // Without an element the failure reaches the caller; the rows before it stay.
    m_list->clear();
    try {
        properties.ShowNodeProperties(&m_page, -1);
        QFAIL("an entry without = cannot become a row");
    } catch (const RuntimeError &error) {
        QCOMPARE(error.number(), 5);
    }
    QCOMPARE(rowsOf(*m_list), QStringList{QStringLiteral("a=1+ r")});
}

void tst_NodePropertyList::noMarksWithoutAQueryControl()
{
    m_control->setElemAttribs(-1, QStringLiteral("id=x"));
    NodePropertyList properties(m_list.get());
    properties.ShowNodeProperties(&m_page, 2);
    QCOMPARE(rowsOf(*m_list).first(), QStringLiteral("id=x"));
}

void tst_NodePropertyList::toggleEditsTheFilters()
{
    m_control->setElemAttribs(-1, QStringLiteral("ID=x"));
    m_control->setElemAttribs(-1, QStringLiteral("other=1"));
    NodePropertyList properties(m_list.get());
    properties.setControl(m_control.get());
    properties.ShowNodeProperties(&m_page, 2);

    // Unticking a filter-only row removes the row and its entry.
    toggle(properties, rowNamed(*m_list, QStringLiteral("ID"), NodePropertyList::Red));
    QVERIFY(!rowNamed(*m_list, QStringLiteral("ID"), NodePropertyList::Red));
    QCOMPARE(storedAttribs(*m_control), QStringList{QStringLiteral("other=1")});

    // Ticking appends; unticking a plain or blue row removes the entry only.
    QTreeWidgetItem *tag = rowNamed(*m_list, QStringLiteral("tagName"), NodePropertyList::Blue);
    toggle(properties, tag);
    QCOMPARE(storedAttribs(*m_control), (QStringList{QStringLiteral("other=1"), QStringLiteral("tagName=P")}));
    toggle(properties, tag);
    QCOMPARE(storedAttribs(*m_control), QStringList{QStringLiteral("other=1")});
    QCOMPARE(rowNamed(*m_list, QStringLiteral("tagName"), NodePropertyList::Blue), tag);

    // A new value for a filtered name replaces the old entry, which moves to the end.
    m_control->ClearAttribs();
    m_control->setElemAttribs(-1, QStringLiteral("id=y"));
    m_control->setElemAttribs(-1, QStringLiteral("z=0"));
    QTreeWidgetItem *id = rowNamed(*m_list, QStringLiteral("id"), NodePropertyList::DefaultColour);
    id->setCheckState(0, Qt::Unchecked);
    toggle(properties, id);
    QCOMPARE(storedAttribs(*m_control), (QStringList{QStringLiteral("z=0"), QStringLiteral("id=x")}));
}

void tst_NodePropertyList::sorting()
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
    properties.columnClicked(0);
    QCOMPARE(column(0), (QStringList{QStringLiteral("data"), QStringLiteral("id"), QStringLiteral("ParentTag"),
                                     QStringLiteral("sourceIndex"), QStringLiteral("tagName")}));
    QCOMPARE(properties.headerIcon(0), 1);
    QVERIFY(!m_list->headerItem()->icon(0).isNull());
    properties.columnClicked(0);
    QCOMPARE(properties.sortOrder(), Qt::DescendingOrder);
    QCOMPARE(properties.headerIcon(0), 2);
    QCOMPARE(column(0).first(), QStringLiteral("tagName"));
    properties.columnClicked(1);
    QCOMPARE(properties.sortOrder(), Qt::AscendingOrder);
    QCOMPARE(properties.headerIcon(0), 0);
    QVERIFY(m_list->headerItem()->icon(0).isNull());
    QCOMPARE(properties.headerIcon(1), 1);
    // The order holds across refills.
    properties.ShowNodeProperties(&m_page, 2);
    QCOMPARE(column(1), (QStringList{QStringLiteral("2"), QStringLiteral("BODY"), QStringLiteral("NULL"), QStringLiteral("P"),
                                     QStringLiteral("x")}));
}

QTEST_MAIN(tst_NodePropertyList)
#include "tst_nodepropertylist.moc"
