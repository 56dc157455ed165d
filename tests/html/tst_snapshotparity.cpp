#include "html/htmldocument.h"
#include "browser/webpage.h"
#include "staticpages.h"

#include <QWebEngineView>
#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

// Line breaks and tabs shown, for a message on one line.
QString visible(QStringView text)
{
    return text.toString().replace(u'\n', u"\\n"_s).replace(u'\t', u"\\t"_s);
}

QString describe(const Document::Element &element)
{
    QStringList attributes;
    for (const Document::Attribute &attribute : element.attributes)
        attributes.append(attribute.name + u'=' + attribute.value);
    QStringList children;
    for (const Document::ChildNode &child : element.children)
        children.append(child.isElement() ? QString::number(child.element) : u'"' + child.text + u'"');
    return u"%1 parent %2 id '%3' [%4] {%5}"_s
        .arg(element.tagName)
        .arg(element.parent)
        .arg(element.id, attributes.join(u' '), children.join(u','));
}

} // namespace

class tst_SnapshotParity : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_view = std::make_unique<QWebEngineView>();
        m_page = new WebPage(m_view.get());
        m_view->setPage(m_page);
        m_view->resize(1024, 768);
        m_view->show();
    }

    void sameSnapshotBothWays_data() { addEveryPageRow(); }

    void sameSnapshotBothWays()
    {
        QFETCH(QString, path);
        if (const QString reason = whyNotStatic(path); !reason.isEmpty())
            QSKIP(qPrintable(reason));
        const DocumentPtr live = browserSnapshot(path);
        QVERIFY(live);
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const DocumentPtr parsed = parseHtmlDocument(file.readAll(), QUrl::fromLocalFile(path).toString());

        QCOMPARE(parsed->title, live->title);
        QCOMPARE(parsed->length(), live->length());
        for (int i = 0; i < live->length(); ++i) {
            const Document::Element &a = live->item(i);
            const Document::Element &b = parsed->item(i);
            QVERIFY2(describe(a) == describe(b), qPrintable(u"element %1\n  browser: %2\n  static:  %3"_s
                                                                .arg(i)
                                                                .arg(describe(a), describe(b))));
            QVERIFY2(live->innerText(i) == parsed->innerText(i),
                     qPrintable(u"innerText of element %1 (%2)\n  browser: %3\n  static:  %4"_s
                                    .arg(i)
                                    .arg(a.tagName, visible(live->innerText(i)), visible(parsed->innerText(i)))));
        }
    }

private:
    DocumentPtr browserSnapshot(const QString &path);

    WebPage *m_page = nullptr;
    std::unique_ptr<QWebEngineView> m_view;
};

DocumentPtr tst_SnapshotParity::browserSnapshot(const QString &path)
{
    QSignalSpy loaded(m_page, &QWebEnginePage::loadFinished);
    m_page->load(QUrl::fromLocalFile(path));
    if (!loaded.wait(20000))
        return nullptr;
    DocumentPtr document;
    bool done = false;
    m_page->requestSnapshot([&](DocumentPtr result) {
        document = result;
        done = true;
    });
    QTest::qWaitFor([&] { return done; }, 20000);
    return document;
}

QTEST_MAIN(tst_SnapshotParity)
#include "tst_snapshotparity.moc"
