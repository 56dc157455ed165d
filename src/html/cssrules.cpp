#include "cssrules.h"

#include <algorithm>
#include <iterator>

namespace CssRules {

namespace {

// Past a string or a comment starting at i; i itself when there is none.
qsizetype skipStringOrComment(QByteArrayView css, qsizetype i)
{
    const qsizetype n = css.size();
    if (css[i] == '"' || css[i] == '\'') {
        const char quote = css[i];
        for (++i; i < n && css[i] != quote && css[i] != '\n'; ++i) {
            if (css[i] == '\\')
                ++i;
        }
        return std::min(i + 1, n);
    }
    if (css[i] == '/' && i + 1 < n && css[i + 1] == '*') {
        const qsizetype end = css.indexOf("*/", i + 2);
        return end < 0 ? n : end + 2;
    }
    return i;
}

// Past the block whose '{' is at i (the end of the sheet when it is not closed).
qsizetype skipBlock(QByteArrayView css, qsizetype i)
{
    int depth = 0;
    while (i < css.size()) {
        if (const qsizetype past = skipStringOrComment(css, i); past != i) {
            i = past;
            continue;
        }
        if (css[i] == '{')
            ++depth;
        else if (css[i] == '}' && --depth == 0)
            return i + 1;
        ++i;
    }
    return i;
}

} // namespace

bool mentionsTextProperty(QByteArrayView declarations)
{
    static const char *const names[] = {"display", "visibility", "text-transform", "white-space", "float", "position"};
    const QByteArray lower = declarations.toByteArray().toLower();
    return std::any_of(std::begin(names), std::end(names), [&](const char *name) { return lower.contains(name); });
}

QByteArrayList textRules(QByteArrayView css)
{
    QByteArrayList rules;
    qsizetype i = 0;
    while (i < css.size()) {
        const qsizetype start = i;
        // The prelude, up to its block; a ';' first ends an at-rule that has none (@import).
        while (i < css.size() && css[i] != '{' && css[i] != ';') {
            const qsizetype past = skipStringOrComment(css, i);
            i = past != i ? past : i + 1;
        }
        if (i >= css.size())
            break;
        if (css[i] == ';') {
            ++i;
            continue;
        }
        const qsizetype blockEnd = skipBlock(css, i);
        const QByteArrayView prelude = css.sliced(start, i - start).trimmed();
        if (!prelude.startsWith('@') && mentionsTextProperty(css.sliced(i, blockEnd - i)))
            rules.append(css.sliced(start, blockEnd - start).toByteArray());
        i = blockEnd;
    }
    return rules;
}

} // namespace CssRules
