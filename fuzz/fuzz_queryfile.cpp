// Raw bytes as a query file, through the loader of the run command and its substitution.
#include "queryfile.h"
#include "queryrunner.h"

#include <QCoreApplication>

#include <cstdint>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static QCoreApplication app(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QueryFile query;
    try {
        query = QueryFile::parse(QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)), QStringLiteral("/tmp"));
    } catch (const QueryFileError &) {
        return 0;
    }
    try {
        RunnableQuery::from(query, {{QStringLiteral("a"), QStringLiteral("1")}, {QStringLiteral("id"), QStringLiteral("%a%")}});
    } catch (const RunError &) {
    }
    // What loads must save and load again the same.
    const QByteArray saved = query.toJson(QStringLiteral("/tmp"));
    if (!(QueryFile::parse(saved, QStringLiteral("/tmp")) == query))
        std::abort();
    return 0;
}
