#include "staticpages.h"

#include <QDir>
#include <QFileInfo>
#include <QtTest>

void addEveryPageRow()
{
    QTest::addColumn<QString>("path");
    for (const QString &folder : {QStringLiteral(TAMBERLINE_TEST_DATA "/pages"), QStringLiteral(TAMBERLINE_TEST_DATA "/pages/encodings"),
                                  QStringLiteral(TAMBERLINE_EXAMPLES_DIR)}) {
        const QDir dir(folder);
        for (const QString &name : dir.entryList({QStringLiteral("*.html")}, QDir::Files))
            QTest::newRow(qPrintable(name)) << dir.filePath(name);
    }
}

QString whyNotStatic(const QString &path)
{
    // A static reader cannot see what these pages' scripts do.
    static const QHash<QString, QString> reasons{
        {QStringLiteral("hostile.html"), QStringLiteral("its script rewrites its paragraphs once loaded")},
        {QStringLiteral("storm.html"), QStringLiteral("its script rewrites a paragraph once loaded")},
        {QStringLiteral("deepdom.html"), QStringLiteral("its script builds a DOM so deep that the browser's renderer crashes")},
    };
    return reasons.value(QFileInfo(path).fileName());
}
