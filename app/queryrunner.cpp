#include "queryrunner.h"

#include "pagescripts.h"

#include "control/attribwalk.h"
#include "parser/documentsearch.h"
#include "parser/wildcardmatcher.h"
#include "platform/dialogs.h"
#include "platform/runtimeerror.h"
#include "document/textrules.h"
#include "substitution/controlvariables.h"
#include "substitution/examplevaluecache.h"

#include <QScopeGuard>

#include <QJsonValue>

#include <optional>

RunnableQuery RunnableQuery::from(const QueryFile &query, const QHash<QString, QString> &values, const QString &folder,
                                  Address address)
{
    QHash<QString, QString> byName; // names compare without regard to case, as in the designer
    for (auto it = values.begin(); it != values.end(); ++it)
        byName.insert(it.key().toCaseFolded(), it.value());
    // The designer's substitution, with values from the command line instead of the dialog.
    ControlVariables::exampleValueCache().clear();
    ControlVariables::setValueSource([&](const QString &name) -> std::optional<QString> {
        const auto value = byName.constFind(name.toCaseFolded());
        if (value == byName.cend())
            throw RunError(QStringLiteral("the query needs a value for %%1%: give it with --set %1=VALUE or a column %1 in --values").arg(name));
        return *value;
    });
    Dialogs::setMessageBoxResponder([](const Dialogs::MessageBoxCall &call) -> int {
        throw RunError(QString(call.text).replace(QStringLiteral("\r\n"), QStringLiteral(" ")));
    });
    const auto restore = qScopeGuard([] {
        ControlVariables::setValueSource({});
        Dialogs::setMessageBoxResponder({});
        ControlVariables::exampleValueCache().clear();
    });

    return substituted(query, folder, address);
}

QStringList RunnableQuery::markerNames(const QueryFile &query, Address address)
{
    QStringList names;
    ControlVariables::exampleValueCache().clear();
    ControlVariables::setValueSource([&](const QString &name) -> std::optional<QString> {
        if (!names.contains(name, Qt::CaseInsensitive))
            names.append(name);
        return QString();
    });
    const auto restore = qScopeGuard([] {
        ControlVariables::setValueSource({});
        ControlVariables::exampleValueCache().clear();
    });
    substituted(query, {}, address);
    return names;
}

RunnableQuery RunnableQuery::substituted(const QueryFile &query, const QString &folder, Address address)
{
    RunnableQuery runnable;
    if (address == Address::Read)
        runnable.url = QueryFile::resolvedAddress(ControlVariables::Substitute(query.Url1), folder);
    runnable.searchText = ControlVariables::Substitute(query.SearchText);
    runnable.nodeOffset = query.NodeOffset;
    runnable.filters = walkedEntries(query.ElemAttribs);
    return runnable;
}

QJsonObject RunResult::toJson() const
{
    const auto index = [](int value) { return value < 0 ? QJsonValue(QJsonValue::Null) : QJsonValue(value); };
    const auto text = [](const QString &value, bool present) { return present ? QJsonValue(value) : QJsonValue(QJsonValue::Null); };
    QJsonObject object{{QStringLiteral("page"), page},
                       {QStringLiteral("found"), index(found)},
                       {QStringLiteral("returned"), index(returned)},
                       {QStringLiteral("tagName"), text(tagName, returned >= 0)},
                       {QStringLiteral("text"), text(this->text, returned >= 0)},
                       {QStringLiteral("matches"), matches},
                       {QStringLiteral("scripted"), scripted ? QJsonValue(*scripted) : QJsonValue(QJsonValue::Null)},
                       {QStringLiteral("reason"), reason.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(reason)}};
    if (httpStatus) {
        object.insert(QStringLiteral("status"), *httpStatus ? QJsonValue(*httpStatus) : QJsonValue(QJsonValue::Null));
        object.insert(QStringLiteral("final"), finalAddress.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(finalAddress));
    }
    return object;
}

RunResult EvaluateQuery(const Document &document, const RunnableQuery &query, const WildcardMatcher &matcher)
{
    RunResult result;
    result.page = document.url;
    const bool scripted = runsScriptsOnLoad(document);
    if (scripted || !document.cut)
        result.scripted = scripted;
    const bool hasText = !trimBlanks(query.searchText).isEmpty();
    // Every scan of such a page steps past the designer's 16-bit element counter.
    if (document.length() >= 32768) {
        result.reason = QStringLiteral("too-many-elements");
        result.message = QStringLiteral("the page has %1 elements; the search counts at most 32,767").arg(document.length());
        return result;
    }
    // A part of the page could give an answer the whole page would not.
    if (document.cut) {
        result.reason = QStringLiteral("page-error");
        result.message = QStringLiteral("the page was read in part: %1").arg(document.cutReason);
        return result;
    }
    try {
        if (!hasText && query.filters.isEmpty()) {
            // The designer selects the document's root, which counts as index 0, and every
            // element fits such a query.
            result.found = 0;
            result.matches = document.length();
        } else {
            result.found = ScanDocument(document, 0, query.searchText, query.filters, matcher, &result.matches);
        }
    } catch (const RuntimeError &error) {
        // A filter that cannot be tested on an element (ParentTag on the top element) stops
        // every scan of this query: the query is at fault. Anything else is the page's.
        result.found = -1;
        result.matches = 0;
        result.reason = error.number() == ErrorNumber::ObjectVariableNotSet ? QStringLiteral("bad-query") : QStringLiteral("page-error");
        result.message = error.description();
        return result;
    }
    if (result.found < 0) {
        result.reason = QStringLiteral("no-match");
        result.message = QStringLiteral("no element fits the search text and the filters");
        return result;
    }
    const long long returned = static_cast<long long>(result.found) + query.nodeOffset;
    if (returned < 0 || returned >= document.length()) {
        result.reason = QStringLiteral("offset-out-of-range");
        result.message = QStringLiteral("element %1 plus the offset %2 is outside the page's %3 elements")
                             .arg(result.found)
                             .arg(query.nodeOffset)
                             .arg(document.length());
        return result;
    }
    result.returned = int(returned);
    result.tagName = document.item(result.returned).tagName;
    result.text = document.innerText(result.returned).toString();
    return result;
}
