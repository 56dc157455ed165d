#include <tamberline/tamberlinecontrol.h>
#include "queryfile.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

class tst_QueryFile : public QObject
{
    Q_OBJECT

private slots:
    void badFilesSayWhatIsWrong_data();
    void badFilesSayWhatIsWrong();

    void saveAndLoadRoundTrip();
    void controlRoundTrip();
};

void tst_QueryFile::badFilesSayWhatIsWrong_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("message");
    const QByteArray complete = R"("Url1": "", "AllowNav2": false, "SearchText": "", "NodeOffset": 0, "ElemAttribs": [])";
    const auto with = [&](const char *field) { return "{" + complete + ", " + QByteArray(field) + "}"; };
    // A complete object with one key's value replaced.
    const auto replaced = [&](const char *key, const char *value) {
        QJsonObject object = QJsonDocument::fromJson("{" + complete + "}").object();
        object.insert(QString::fromLatin1(key), QJsonDocument::fromJson("[" + QByteArray(value) + "]").array().first());
        return QJsonDocument(object).toJson();
    };
    QTest::newRow("not JSON") << QByteArray("{\"Url1\": ") << QStringLiteral("not valid JSON");
    QTest::newRow("missing key") << QByteArray(R"({"Url1": "", "AllowNav2": false, "SearchText": "", "NodeOffset": 0})")
                                 << QStringLiteral("missing key \"ElemAttribs\"");
    QTest::newRow("a list") << QByteArray("[]") << QStringLiteral("one JSON object");
    QTest::newRow("unknown key") << with(R"("Url": "x")") << QStringLiteral("unknown key \"Url\"");
    QTest::newRow("address not text") << replaced("Url1", R"(5)") << QStringLiteral("\"Url1\" must be a string");
    QTest::newRow("switch not Boolean") << replaced("AllowNav2", R"(-1)") << QStringLiteral("\"AllowNav2\" must be true or false");
    QTest::newRow("offset a fraction") << replaced("NodeOffset", R"(1.5)") << QStringLiteral("\"NodeOffset\" must be a whole number");
    QTest::newRow("offset too large") << replaced("NodeOffset", R"(2147483648)") << QStringLiteral("\"NodeOffset\" must be a whole number");
    QTest::newRow("offset as text") << replaced("NodeOffset", R"("3")") << QStringLiteral("\"NodeOffset\" must be a whole number");
    QTest::newRow("filters not a list") << replaced("ElemAttribs", R"("a=1")") << QStringLiteral("\"ElemAttribs\" must be a list");
    QTest::newRow("filter not text") << replaced("ElemAttribs", R"([1])") << QStringLiteral("\"ElemAttribs\" must be a list");
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
    file.write(R"({"Url1": "pages/shop.html?id=%id%#%part%", "AllowNav2": false, "SearchText": "", "NodeOffset": 0,
                   "ElemAttribs": []})");
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
