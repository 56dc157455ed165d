#pragma once

#include "pagesource.h"
#include "parser/wildcardmatcher.h"
#include "platform/handlerguard.h"
#include "platform/runtimeerror.h"
#include "queryrunner.h"

#include <new>

// What `run` does with one page, shared by the page list and the value table.

inline RunResult failed(const QString &page, const QString &reason, const QString &message)
{
    RunResult result;
    result.page = page;
    result.reason = reason;
    result.message = message;
    return result;
}

// Whatever goes wrong with one page is that page's error: the others still give their results,
// and nothing escapes a worker thread.
template<typename Load>
RunResult runOnPage(const PageSource &source, const RunnableQuery &query, Load load)
{
    const auto pageError = [&](const QString &message) { return failed(source.name, QStringLiteral("page-error"), message); };
    try {
        const DocumentPtr document = load(source);
        RunResult result = EvaluateQuery(*document, query, WildcardMatcher());
        result.page = source.name;
        return result;
    } catch (const PageError &error) {
        return pageError(error.message());
    } catch (const RuntimeError &error) {
        return pageError(runtimeErrorText(error));
    } catch (const std::bad_alloc &) {
        return pageError(QStringLiteral("not enough memory to read the page"));
    } catch (const std::exception &error) {
        return pageError(QString::fromLocal8Bit(error.what()));
    } catch (...) {
        return pageError(QStringLiteral("the page could not be read"));
    }
}

inline RunResult runOnStaticPage(const PageSource &source, const RunnableQuery &query)
{
    return runOnPage(source, query, readStaticDocument);
}

// One line per page: backslashes and line breaks are escaped as \\, \n and \r.
inline QString oneLine(const QString &text)
{
    QString line;
    line.reserve(text.size());
    for (const QChar c : text) {
        if (c == u'\\')
            line += QStringLiteral("\\\\");
        else if (c == u'\n')
            line += QStringLiteral("\\n");
        else if (c == u'\r')
            line += QStringLiteral("\\r");
        else
            line += c;
    }
    return line;
}

