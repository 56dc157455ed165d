#include "pagegenerator.h"

QByteArray generatePage(int elements)
{
    QByteArray html("<!DOCTYPE html><html><head><title>Catalogue</title></head><body>\n");
    int count = 4; // html, head, title, body
    int section = 0;
    while (count < elements) {
        ++section;
        html += "<section class=\"block\" id=\"s" + QByteArray::number(section) + "\"><h2>Section "
                + QByteArray::number(section) + "</h2>\n<p>Some <b>bold</b> and <a href=\"#s"
                + QByteArray::number(section) + "\">linked</a> text about item " + QByteArray::number(section)
                + ".</p>\n<ul class=\"list\">";
        count += 6;
        for (int i = 0; i < 4 && count < elements; ++i, ++count)
            html += "<li>Entry " + QByteArray::number(i) + "</li>";
        html += "</ul>\n<table class=\"prices\"><tbody>";
        count += 2;
        for (int row = 0; row < 5 && count + 3 < elements; ++row, count += 3)
            html += "<tr><td class=\"name\">Item " + QByteArray::number(section * 10 + row)
                    + "</td><td class=\"price\">" + QByteArray::number(row + 1) + ".99</td></tr>";
        html += "</tbody></table></section>\n";
    }
    html += "</body></html>\n";
    return html;
}
