#pragma once

#include "politefetcher.h"

#include <QHash>
#include <QString>
#include <QStringList>

class QueryFile;

// `tamberline run --values`: one query over every row of a value table.
struct BatchSettings {
    QString queryPath;
    QString valuesPath;
    QStringList pages; // none: each row's filled address is fetched
    QHash<QString, QString> setValues; // what every row shares; a row's own columns come first
    bool json = false;
    int jobs = 1;
    FetchSettings fetch;
    QString outputPath; // empty: standard output
    bool resume = false;
    bool quiet = false;
    QString resumeCommand; // what to type to go on after a stop
};

// Reads, runs and writes the rows as a stream, a bounded window of them at a time, the results
// in the table's order. Returns the exit status: 0 when every row gave a result, 1 when some did
// not, 2 when the batch cannot start, 128 + the signal's number when stopped by one.
int runBatch(const BatchSettings &settings, const QueryFile &query);
