#pragma once

#include <QList>
#include <QString>

class Tamberline;

// What the Page Parser shows of a query: the three boxes and the rows of the attribute list.
struct PageParserFields {
    struct Row {
        QString name;
        QString value;
        bool checked = false;
    };

    QString url;        // cmboUrl
    QString searchText; // txtSearchText
    QString nodeOffset; // txtNodeOffset
    QList<Row> rows;    // lstProps, first to last
};

// Whether closing should ask about saving. The two halves differ on purpose: a change in the
// three boxes alone does not count (the result is then false), while ticked rows and filters
// are compared both ways, by name and value, trimmed and without regard to case.
bool ChangesDetected(Tamberline *control, const PageParserFields &fields);

// Writes the fields into the control. An address or search text that still equals the
// substituted stored value is left alone, so its %name% markers survive. A run-time error
// (an offset that is not a number) stops the write where it is.
void WriteQueryBack(Tamberline &control, const PageParserFields &fields);
