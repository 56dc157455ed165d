// Times the static reader (parse + snapshot) on a generated 30,000-element page, on deeply
// nested pages and on the example pages.
// Usage: bench_reader [folder of .html files]

#include "html/htmldocument.h"
#include "html/nestingscan.h"
#include "html/pagereaderror.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>

#include <algorithm>
#include <cstdio>
#include <functional>

namespace {

constexpr int kRuns = 7;

class PageGenerator
{
public:
    QByteArray page(int elements)
    {
        m_html = "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>Quarterly report</title>\n"
                 "<style>body { font-family: sans-serif } .card { padding: 4px }</style>\n"
                 "<script>window.analytics = { enabled: false };</script></head>\n<body>\n";
        m_elements = 6;
        open("header", "class=\"top\"");
        open("nav");
        list(6, true);
        close("nav");
        close("header");
        open("main");
        for (int section = 0; m_elements < elements; ++section)
            addSection(section);
        close("main");
        open("footer");
        paragraph();
        close("footer");
        m_html += "</body></html>\n";
        return m_html;
    }
    int elements() const { return m_elements; }

private:
    void open(const char *tag, const char *attributes = nullptr)
    {
        m_html += '<';
        m_html += tag;
        if (attributes) {
            m_html += ' ';
            m_html += attributes;
        }
        m_html += '>';
        ++m_elements;
    }
    void close(const char *tag)
    {
        m_html += "</";
        m_html += tag;
        m_html += ">\n";
    }
    void words(int count)
    {
        static const char *const vocabulary[] = {"harbour", "ledger", "quarter", "revenue", "shipment", "the",
                                                 "of", "and", "supplier", "forecast", "margin", "northern",
                                                 "regional", "office", "pending", "approved", "delivery", "stock"};
        for (int i = 0; i < count; ++i) {
            if (i)
                m_html += ' ';
            m_html += vocabulary[m_random.bounded(int(std::size(vocabulary)))];
        }
    }
    void paragraph()
    {
        open("p", "class=\"text body-copy\"");
        words(20);
        m_html += ' ';
        open("a", "href=\"#ref\"");
        words(2);
        close("a");
        m_html += ", ";
        open("b");
        words(1);
        close("b");
        m_html += ' ';
        words(14);
        m_html += '.';
        close("p");
    }
    void list(int items, bool links)
    {
        open("ul", "class=\"list\"");
        for (int i = 0; i < items; ++i) {
            open("li", "class=\"list-item\"");
            if (links)
                open("a", "href=\"/page\"");
            words(3);
            if (links)
                close("a");
            close("li");
        }
        close("ul");
    }
    void table(int rows)
    {
        open("table", "class=\"data\"");
        open("thead");
        open("tr");
        for (int c = 0; c < 4; ++c) {
            open("th");
            words(1);
            close("th");
        }
        close("tr");
        close("thead");
        open("tbody");
        for (int r = 0; r < rows; ++r) {
            open("tr", "data-row=\"1\"");
            for (int c = 0; c < 4; ++c) {
                open("td", c == 3 ? "class=\"num\"" : nullptr);
                if (c == 3)
                    m_html += QByteArray::number(m_random.bounded(100000) / 100.0, 'f', 2);
                else
                    words(2);
                close("td");
            }
            close("tr");
        }
        close("tbody");
        close("table");
    }
    void addSection(int section)
    {
        const QByteArray id = "id=\"s" + QByteArray::number(section) + "\" class=\"section\"";
        open("section", id.constData());
        open("h2");
        words(3);
        close("h2");
        for (int i = 0; i < 3; ++i)
            paragraph();
        open("div", "class=\"card\"");
        open("div", "class=\"body\"");
        open("h3");
        words(2);
        close("h3");
        paragraph();
        open("img", "src=\"chart.png\" alt=\"chart\"");
        m_html += '\n';
        close("div");
        close("div");
        list(5, false);
        table(6);
        close("section");
    }

    QByteArray m_html;
    int m_elements = 0;
    QRandomGenerator m_random{20260101};
};

double bestMilliseconds(const std::function<void()> &run)
{
    double best = 1e300;
    for (int i = 0; i < kRuns; ++i) {
        QElapsedTimer timer;
        timer.start();
        run();
        best = std::min(best, double(timer.nsecsElapsed()) / 1e6);
    }
    return best;
}

void measure(const QString &name, const QByteArray &html)
{
    DocumentPtr document;
    QElapsedTimer refusal;
    refusal.start();
    try {
        const double parse = bestMilliseconds([&] { document = parseHtmlDocument(html, name); });
        const double scan = bestMilliseconds([&] { NestingScan::run(html, 1 << 30); });
        const double megabytes = double(html.size()) / (1024.0 * 1024.0);
        std::printf("%-28s %9.1f KB %7d elements  parse+snapshot %8.2f ms  %7.1f MB/s  %9.0f elements/s  pre-scan %6.2f ms\n",
                    qPrintable(name), double(html.size()) / 1024.0, document->length(), parse,
                    megabytes / (parse / 1000.0), document->length() / (parse / 1000.0), scan);
    } catch (const PageReadError &error) {
        std::printf("%-28s refused in %.2f ms: %s\n", qPrintable(name), double(refusal.nsecsElapsed()) / 1e6,
                    qPrintable(error.description()));
    }
}

} // namespace

int main(int argc, char **argv)
{
    PageGenerator generator;
    const QByteArray page = generator.page(30000);
    std::printf("best of %d runs\n", kRuns);
    measure(QStringLiteral("generated page"), page);
    measure(QStringLiteral("40,000 unclosed divs"), QByteArray("<div>").repeated(40000));
    measure(QStringLiteral("9,000 unclosed divs"), QByteArray("<div>").repeated(9000));
    measure(QStringLiteral("20,000 unclosed li"), "<ul>" + QByteArray("<li>item").repeated(20000));

    const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(TAMBERLINE_EXAMPLES_DIR);
    const QDir dir(folder);
    const QStringList files = dir.entryList({QStringLiteral("*.html")}, QDir::Files, QDir::Name);
    if (files.isEmpty())
        std::printf("no .html files in %s\n", qPrintable(folder));
    for (const QString &file : files) {
        QFile input(dir.filePath(file));
        if (!input.open(QIODevice::ReadOnly)) {
            std::printf("%-28s cannot be read\n", qPrintable(file));
            continue;
        }
        measure(file, input.readAll());
    }
    return 0;
}
