#include "html/htmldocument.h"
#include "livepage.h"
#include "staticpages.h"

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
    return u"%1 parent %2 id '%3' [%4] {%5}"_s.arg(element.tagName).arg(element.parent)
        .arg(element.id, attributes.join(u' '), children.join(u','));
}

} // namespace

class tst_SnapshotParity : public QObject
{
    Q_OBJECT

private slots:
    void sameSnapshotBothWays_data() { addEveryPageRow(); }

    void sameSnapshotBothWays()
    {
        QFETCH(QString, path);
        if (const QString reason = whyNotStatic(path); !reason.isEmpty())
            QSKIP(qPrintable(reason));
        QVERIFY(m_live.load(QUrl::fromLocalFile(path)));
        const DocumentPtr live = m_live.snapshot();
        QVERIFY(live);
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const DocumentPtr parsed = parseHtmlDocument(file.readAll(), QUrl::fromLocalFile(path).toString());

        QVERIFY(parsed->title == live->title && parsed->length() == live->length());
        for (int i = 0; i < live->length(); ++i) {
            const Document::Element &a = live->item(i);
            const Document::Element &b = parsed->item(i);
            QVERIFY2(describe(a) == describe(b),
                     qPrintable(u"element %1\n  browser: %2\n  static:  %3"_s.arg(i).arg(describe(a), describe(b))));
            QVERIFY2(live->innerText(i) == parsed->innerText(i),
                     qPrintable(u"innerText of element %1 (%2)\n  browser: %3\n  static:  %4"_s.arg(i)
                                    .arg(a.tagName, visible(live->innerText(i)), visible(parsed->innerText(i)))));
        }
    }

private:
    LivePage m_live;
};

QTEST_MAIN(tst_SnapshotParity)
#include "tst_snapshotparity.moc"
