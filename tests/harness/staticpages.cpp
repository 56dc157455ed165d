#include "staticpages.h"

#include <QDir>
#include <QFileInfo>
#include <QtTest>

using namespace Qt::StringLiterals;

void addEveryPageRow()
{
    QTest::addColumn<QString>("path");
    for (const QString &folder : {QStringLiteral(TAMBERLINE_TEST_DATA "/pages"), QStringLiteral(TAMBERLINE_TEST_DATA "/pages/encodings"),
                                  QStringLiteral(TAMBERLINE_EXAMPLES_DIR)}) {
        const QDir dir(folder);
        for (const QString &name : dir.entryList({u"*.html"_s}, QDir::Files))
            QTest::newRow(qPrintable(name)) << dir.filePath(name);
    }
}

QString whyNotStatic(const QString &path)
{
    // A static reader cannot see what these pages' scripts do.
    static const QHash<QString, QString> reasons{
        {u"hostile.html"_s, u"its script rewrites its paragraphs once loaded"_s},
        {u"storm.html"_s, u"its script rewrites a paragraph once loaded"_s},
        {u"deepdom.html"_s, u"its script builds a DOM so deep that the browser's renderer crashes"_s},
    };
    return reasons.value(QFileInfo(path).fileName());
}
