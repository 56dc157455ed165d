#include "html/pageencoding.h"
#include "datatable.h"

#include <QtTest>

// How a page's encoding is chosen. That each choice decodes as the browser decodes is checked
// against the browser itself, on the pages of tests/data/pages/encodings (tst_snapshotparity).
class tst_PageEncoding : public QObject
{
    Q_OBJECT

private slots:
    void sniff_data()
    {
        addColumns<QByteArray, QByteArray, QByteArray>("bytes", "contentType", "encoding");
        const QByteArray gbk("<meta charset=gbk><p>\xc4\xe3");
        QTest::newRow("byte order mark beats all") << QByteArray("\xFF\xFE<\0p\0", 6) << QByteArray("text/html; charset=gbk") << QByteArray("UTF-16LE");
        QTest::newRow("transport beats meta") << gbk << QByteArray("text/html;charset=\"Shift_JIS\"") << QByteArray("Shift_JIS");
        QTest::newRow("unknown transport label") << gbk << QByteArray("text/html; charset=klingon") << QByteArray("GBK");
        QTest::newRow("transport charset without =") << gbk << QByteArray("text/html; charset") << QByteArray("GBK");
        QTest::newRow("transport charset without a value") << gbk << QByteArray("text/html; charset= ") << QByteArray("GBK");
        QTest::newRow("not a tag; labels in any case with blanks") << QByteArray("<1 <META\rCHARSET\n= ' Koi8-R\r'>") << QByteArray() << QByteArray("KOI8-R");
        QTest::newRow("http-equiv needs the pragma")
            << QByteArray("<meta content='text/html; charset=koi8-r'><meta content='charset = koi8-u'http-equiv=content-type>")
            << QByteArray() << QByteArray("KOI8-U");
        QTest::newRow("a page cannot declare utf-16") << QByteArray("<meta charset=utf-16>\xff") << QByteArray() << QByteArray("UTF-8");
        QTest::newRow("x-user-defined reads as windows-1252") << QByteArray("<meta charset=x-user-defined>") << QByteArray()
                                                              << QByteArray("windows-1252");
        QTest::newRow("not in a comment or a script")
            << QByteArray("<!-- -x> <meta charset=gbk> --><script>'<meta charset=big5>'</script><meta charset=euc-kr>") << QByteArray()
            << QByteArray("EUC-KR");
        QTest::newRow("not in attributes, a processing instruction or a bogus end tag; after a slash")
            << QByteArray("<a title='<meta charset=gbk>'><A title='<meta charset=big5>'></a x='><meta charset=gbk>'>"
                          "<?php <meta charset=gbk>?></ x <meta charset=big5>><meta/charset=euc-kr>") << QByteArray() << QByteArray("EUC-KR");
        QTest::newRow("a bogus comment ends at its first >") << QByteArray("<!x a='><meta charset=gbk>'>") << QByteArray() << QByteArray("GBK");
        QTest::newRow("an end tag does not leave the head") << "<head>" + QByteArray(1100, ' ') + "</x><meta charset=gbk>" << QByteArray() << QByteArray("GBK");
        QTest::newRow("not past the head after the first kilobyte")
            << QByteArray("<p>" + QByteArray(1100, 'x') + "<meta charset=gbk>\xc4\xe3") << QByteArray() << QByteArray("windows-1252");
        QTest::newRow("undeclared UTF-8") << QByteArray("<p>caf\xc3\xa9") << QByteArray() << QByteArray("UTF-8");
        QTest::newRow("undeclared other bytes") << QByteArray("<p>caf\xe9") << QByteArray() << QByteArray("windows-1252");
    }

    void sniff()
    {
        const auto [bytes, contentType, encoding] = fetchRow<QByteArray, QByteArray, QByteArray>("bytes", "contentType", "encoding");
        QCOMPARE(PageEncoding::sniff(bytes, PageEncoding::charsetOf(contentType)).name, encoding);
    }
};

QTEST_APPLESS_MAIN(tst_PageEncoding)
#include "tst_pageencoding.moc"
