#pragma once

#include "document/document.h"
#include "queryfile.h"
#include "usererror.h"

#include <QHash>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <optional>

class WildcardMatcher;

// A query made ready to run: markers filled, filters read as the search reads them.
struct RunnableQuery {
    QString url;
    QString searchText;
    int32_t nodeOffset = 0;
    QStringList filters;

    // Pages given on the command line leave the query's address unused, and its markers need
    // no values then.
    enum class Address { Read, Unused };

    // Fills the %name% markers of the address and the search text from values (names without
    // regard to case), by the same substitution the designer uses. A marker without a value is
    // a RunError naming it. A filled address that is a relative file name is taken relative to
    // folder (the query file's).
    static RunnableQuery from(const QueryFile &query, const QHash<QString, QString> &values, const QString &folder = {},
                              Address address = Address::Read);
    // The names of the markers that from() fills, as the query writes them.
    static QStringList markerNames(const QueryFile &query, Address address = Address::Read);
    // The same, with the values the designer asks the user for.
    static RunnableQuery substituted(const QueryFile &query, const QString &folder = {}, Address address = Address::Read);
};

// What a query returns on one page. reason is empty on success, else one of "no-match",
// "offset-out-of-range", "page-error", "too-many-elements", "bad-query".
struct RunResult {
    QString page;
    int found = -1;
    int returned = -1;
    QString tagName;
    QString text;
    int matches = 0;
    QString reason;
    QString message; // what went wrong, for people
    // Whether the page runs scripts as it loads (pagescripts.h); unknown for a page that was
    // not read, or read in part without one in that part.
    std::optional<bool> scripted;
    // For a fetched page: the last HTTP status (0 when none came) and the address after redirects.
    std::optional<int> httpStatus;
    QString finalAddress;

    bool succeeded() const { return reason.isEmpty(); }
    // Nothing found on a page whose scripts were not run: they may add what was looked for.
    bool mayBeScriptsDoing() const
    {
        return scripted.value_or(false) && (reason == u"no-match" || reason == u"offset-out-of-range");
    }
    QJsonObject toJson() const;
};

// The designer's search on a snapshot: the first element from index 0 whose text fits and which
// satisfies the filters (index 0 when the query has neither), the element NodeOffset further
// on, and how many elements fit in all. A snapshot read in part gives no answer.
RunResult EvaluateQuery(const Document &document, const RunnableQuery &query, const WildcardMatcher &matcher);

// A query that cannot run at all (a marker without value, an unreadable file).
class RunError : public UserError
{
    using UserError::UserError;
};
