#include "control/tamberlinecontrol.h"
#include "queryfile.h"

#include <QTemporaryDir>
#include <QtTest>

class tst_QueryFile : public QObject
{
    Q_OBJECT

private slots:
    void badFilesSayWhatIsWrong_data();
    void badFilesSayWhatIsWrong();
    void missingKeysTakeInitialValues();
    void saveAndLoadRoundTrip();
    void controlRoundTrip();
};

void tst_QueryFile::badFilesSayWhatIsWrong_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("message");
    QTest::newRow("not JSON") << QByteArray("{\"Url1\": ") << QStringLiteral("not valid JSON");
    QTest::newRow("a list") << QByteArray("[]") << QStringLiteral("one JSON object");
    QTest::newRow("unknown key") << QByteArray("{\"Url\": \"x\"}") << QStringLiteral("unknown key \"Url\"");
    QTest::newRow("address not text") << QByteArray("{\"Url1\": 5}") << QStringLiteral("\"Url1\" must be a string");
    QTest::newRow("switch not Boolean") << QByteArray("{\"AllowNav2\": -1}") << QStringLiteral("\"AllowNav2\" must be true or false");
    QTest::newRow("offset a fraction") << QByteArray("{\"NodeOffset\": 1.5}") << QStringLiteral("\"NodeOffset\" must be a whole number");
    QTest::newRow("offset too large") << QByteArray("{\"NodeOffset\": 2147483648}") << QStringLiteral("\"NodeOffset\" must be a whole number");
    QTest::newRow("offset as text") << QByteArray("{\"NodeOffset\": \"3\"}") << QStringLiteral("\"NodeOffset\" must be a whole number");
    QTest::newRow("filters not a list") << QByteArray("{\"ElemAttribs\": \"a=1\"}") << QStringLiteral("\"ElemAttribs\" must be a list");
    QTest::newRow("filter not text") << QByteArray("{\"ElemAttribs\": [1]}") << QStringLiteral("\"ElemAttribs\" must be a list");
}

void tst_QueryFile::badFilesSayWhatIsWrong()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, message);
    try {
        QueryFile::parse(json, QString());
        QFAIL("a bad file must not load");
    } catch (const QueryFileError &error) {
        QVERIFY2(error.message().contains(message), qPrintable(error.message()));
    }
}

void tst_QueryFile::missingKeysTakeInitialValues()
{
    const QueryFile query = QueryFile::parse("{}", QString());
    QCOMPARE(query, QueryFile());
}

void tst_QueryFile::saveAndLoadRoundTrip()
{
    QTemporaryDir dir;
    QueryFile query;
    query.Url1 = QUrl::fromLocalFile(dir.filePath(QStringLiteral("pages/shop.html"))).toString();
    query.AllowNav2 = true;
    query.SearchText = QStringLiteral("Price*");
    query.NodeOffset = -2147483647 - 1;
    query.ElemAttribs = QStringList{QStringLiteral("class=price"), QStringLiteral("  "), QStringLiteral("id=a=b")};
    const QString path = dir.filePath(QStringLiteral("query.json"));
    query.save(path);

    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    // A page beside the query is saved relative to it, so the pair can move together.
    QVERIFY(file.readAll().contains("\"Url1\": \"pages/shop.html\""));
    file.close();
    QCOMPARE(QueryFile::load(path), query);

    query.Url1 = QStringLiteral("http://shop.example/item?id=%id%");
    query.save(path);
    QCOMPARE(QueryFile::load(path), query);

    // Markers after the file name stay as they are, both ways.
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write("{\"Url1\": \"pages/shop.html?id=%id%#%part%\"}");
    file.close();
    const QueryFile withMarkers = QueryFile::load(path);
    QCOMPARE(withMarkers.Url1, QUrl::fromLocalFile(dir.filePath(QStringLiteral("pages/shop.html"))).toString()
                                   + QStringLiteral("?id=%id%#%part%"));
    withMarkers.save(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(file.readAll().contains("\"Url1\": \"pages/shop.html?id=%id%#%part%\""));
}

void tst_QueryFile::controlRoundTrip()
{
    QueryFile query;
    query.Url1 = QStringLiteral("about:blank");
    query.SearchText = QStringLiteral("x");
    query.NodeOffset = 4;
    query.ElemAttribs = QStringList{QStringLiteral("a=1"), QStringLiteral("b=2")};
    Tamberline control;
    control.setElemAttribs(-1, QStringLiteral("old=1"));
    query.applyTo(control);
    QCOMPARE(QueryFile::readFrom(control), query);
}

QTEST_GUILESS_MAIN(tst_QueryFile)
#include "tst_queryfile.moc"
