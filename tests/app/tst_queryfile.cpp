#include <tamberline/tamberlinecontrol.h>
#include "queryfile.h"
#include "datatable.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

using namespace Qt::StringLiterals;

class tst_QueryFile : public QObject
{
    Q_OBJECT

private slots:
    void badFilesSayWhatIsWrong_data();
    void badFilesSayWhatIsWrong()
    {
        const auto [json, message] = fetchRow<QByteArray, QString>("json", "message");
        const QString raised = outcome([&] { QueryFile::parse(json, QString()); });
        QVERIFY2(raised.contains(message), qPrintable(raised));
    }

    void saveAndLoadRoundTrip_data()
    {
        // url: a file name relative to the query's folder, or an address
        addColumns<QString, QByteArray>("url", "saved");
        // A page beside the query is saved relative to it, so the pair can move together.
        QTest::newRow("a page beside the query") << u"pages/shop.html"_s << QByteArray("\"Url1\": \"pages/shop.html\"");
        QTest::newRow("an address elsewhere") << u"http://shop.example/item?id=%id%"_s
                                              << QByteArray("\"Url1\": \"http://shop.example/item?id=%id%\"");
        // Written relative, its % would read back as a marker.
        QTest::newRow("a file name holding %") << u"50%off.html"_s << QByteArray("50%25off.html\"");
        QTest::newRow("markers after the file name kept") << u"pages/shop.html?id=%id%#%part%"_s
                                                          << QByteArray("\"Url1\": \"pages/shop.html?id=%id%#%part%\"");
    }

    void saveAndLoadRoundTrip()
    {
        const auto [url, saved] = fetchRow<QString, QByteArray>("url", "saved");
        QTemporaryDir dir;
        QueryFile query;
        const QString page = url.section(u'?', 0, 0);
        query.Url1 = url.contains(u':') ? url : QUrl::fromLocalFile(dir.filePath(page)).toString() + url.mid(page.size());
        query.AllowNav2 = true;
        query.SearchText = u"Price*"_s;
        query.NodeOffset = -2147483647 - 1;
        query.ElemAttribs = QStringList{u"class=price"_s, u"  "_s, u"id=a=b"_s};
        const QString path = dir.filePath(u"query.json"_s);
        query.save(path);
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray text = file.readAll();
        QVERIFY2(text.contains(saved), text.constData());
        QCOMPARE(QueryFile::load(path), query);
    }

    void controlRoundTrip()
    {
        QueryFile query;
        query.Url1 = u"about:blank"_s;
        query.SearchText = u"x"_s;
        query.NodeOffset = 4;
        query.ElemAttribs = QStringList{u"a=1"_s, u"b=2"_s};
        Tamberline control;
        control.setElemAttribs(-1, u"old=1"_s);
        query.applyTo(control);
        QCOMPARE(QueryFile::readFrom(control), query);
    }
};

void tst_QueryFile::badFilesSayWhatIsWrong_data()
{
    addColumns<QByteArray, QString>("json", "message");
    const QByteArray complete = R"("Url1": "", "AllowNav2": false, "SearchText": "", "NodeOffset": 0, "ElemAttribs": [])";
    const auto with = [&](const char *field) { return "{" + complete + ", " + QByteArray(field) + "}"; };
    // A complete object with one key's value replaced.
    const auto replaced = [&](const char *key, const char *value) {
        QJsonObject object = QJsonDocument::fromJson("{" + complete + "}").object();
        object.insert(QString::fromLatin1(key), QJsonDocument::fromJson("[" + QByteArray(value) + "]").array().first());
        return QJsonDocument(object).toJson();
    };
    QTest::newRow("not JSON") << QByteArray("{\"Url1\": ") << u"not valid JSON"_s;
    QTest::newRow("missing key") << QByteArray(R"({"Url1": "", "AllowNav2": false, "SearchText": "", "NodeOffset": 0})")
                                 << u"missing key \"ElemAttribs\""_s;
    QTest::newRow("a list") << QByteArray("[]") << u"one JSON object"_s;
    QTest::newRow("unknown key") << with(R"("Url": "x")") << u"unknown key \"Url\""_s;
    QTest::newRow("address not text") << replaced("Url1", R"(5)") << u"\"Url1\" must be a string"_s;
    QTest::newRow("switch not Boolean") << replaced("AllowNav2", R"(-1)") << u"\"AllowNav2\" must be true or false"_s;
    QTest::newRow("offset a fraction") << replaced("NodeOffset", R"(1.5)") << u"\"NodeOffset\" must be a whole number"_s;
    QTest::newRow("offset too large") << replaced("NodeOffset", R"(2147483648)") << u"\"NodeOffset\" must be a whole number"_s;
    QTest::newRow("offset as text") << replaced("NodeOffset", R"("3")") << u"\"NodeOffset\" must be a whole number"_s;
    QTest::newRow("filters not a list") << replaced("ElemAttribs", R"("a=1")") << u"\"ElemAttribs\" must be a list"_s;
    QTest::newRow("filter not text") << replaced("ElemAttribs", R"([1])") << u"\"ElemAttribs\" must be a list"_s;
}

QTEST_GUILESS_MAIN(tst_QueryFile)
#include "tst_queryfile.moc"
