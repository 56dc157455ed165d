#include "browserloader.h"
#include "pagesource.h"
#include "parser/wildcardmatcher.h"
#include "queryrunner.h"
#include "staticpages.h"

#include <QtTest>

namespace {

// Queries for every page: texts with and without wildcards, filters alone, offsets both ways.
QList<RunnableQuery> queries()
{
    const auto make = [](const QString &text, int offset, const QStringList &filters) {
        RunnableQuery query;
        query.searchText = text;
        query.nodeOffset = offset;
        query.filters = filters;
        return query;
    };
    return {make(QStringLiteral("*e*"), 0, {}),
            make(QStringLiteral("*a?e*"), 1, {}),
            make(QString(), 1, {QStringLiteral("tagName=td")}),
            make(QString(), -1, {QStringLiteral("tagName=p")}),
            make(QStringLiteral("Pears"), 2, {QStringLiteral("class=item")}),
            make(QStringLiteral("*price*"), 0, {QStringLiteral("ParentTag=TR")}),
            make(QString(), 0, {QStringLiteral("tagName=li"), QStringLiteral("sourceIndex=40")})};
}


} // namespace

class tst_RunParity : public QObject
{
    Q_OBJECT

private slots:
    void bothEnginesAgree_data();
    void bothEnginesAgree();

private:
    std::unique_ptr<BrowserLoader> m_browser;
};

void tst_RunParity::bothEnginesAgree_data()
{
    addEveryPageRow();
}

void tst_RunParity::bothEnginesAgree()
{
    QFETCH(QString, path);
    if (const QString reason = whyNotStatic(path); !reason.isEmpty())
        QSKIP(qPrintable(reason));
    if (!m_browser)
        m_browser = std::make_unique<BrowserLoader>();
    const PageSource source = PageSource::fromArgument(path);
    const DocumentPtr live = m_browser->load(source);
    const DocumentPtr parsed = readStaticDocument(source);
    const WildcardMatcher matcher([] { return 0.5; });
    for (const RunnableQuery &query : queries()) {
        const RunResult a = EvaluateQuery(*live, query, matcher);
        const RunResult b = EvaluateQuery(*parsed, query, matcher);
        const QString what = QStringLiteral("query \"%1\" %2 offset %3: browser %4/%5/%6 %7, static %8/%9/%10 %11")
                                 .arg(query.searchText, query.filters.join(u' '))
                                 .arg(query.nodeOffset)
                                 .arg(a.found).arg(a.returned).arg(a.matches).arg(a.reason)
                                 .arg(b.found).arg(b.returned).arg(b.matches).arg(b.reason);
        QVERIFY2(a.found == b.found && a.returned == b.returned && a.matches == b.matches && a.reason == b.reason,
                 qPrintable(what));
    }
}

QTEST_MAIN(tst_RunParity)
#include "tst_runparity.moc"
