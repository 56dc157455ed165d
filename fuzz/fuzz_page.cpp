// Raw bytes as a page: the static reader, its snapshot, the element tree and a fixed set of queries.
#include "parser/documentsearch.h"
#include "parser/documenttree.h"
#include "parser/nodekeys.h"
#include "parser/nodetree.h"
#include "parser/wildcardmatcher.h"
#include "html/htmldocument.h"
#include "platform/runtimeerror.h"

#include <QApplication>
#include <QTreeWidget>

#include <cstdint>
#include <cstdlib>

namespace {
QTreeWidget *tree = nullptr;
}

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static QApplication app(*argc, *argv);
    tree = new QTreeWidget;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    DocumentPtr document;
    try {
        document = parseHtmlDocument(QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)), QString());
    } catch (const RuntimeError &) {
        return 0; // refused pages are fine; crashes and hangs are not
    }
    NodeTree nodes(tree);
    nodes.clear();
    try {
        BuildDocumentTree(*document, nodes);
    } catch (const RuntimeError &) {
    }
    // Every element node must exist under its parent's.
    for (int i = 0; i < document->length() && i < 32768 && nodes.count() > 1; ++i) {
        if (!nodes.contains(nodeKey(i)))
            std::abort();
    }
    const WildcardMatcher matcher([] { return 0.5; });
    const QStringList texts{QStringLiteral("*"), QStringLiteral("*a*"), QStringLiteral("?*?"), QString()};
    const QList<QStringList> filters{{}, {QStringLiteral("tagName=div")}, {QStringLiteral("ParentTag=body")},
                                     {QStringLiteral("id")}};
    for (const QString &text : texts) {
        for (const QStringList &filter : filters) {
            try {
                int matches = 0;
                const int found = ScanDocument(*document, 0, text, filter, matcher, &matches);
                if ((found < 0) != (matches == 0))
                    std::abort();
            } catch (const RuntimeError &) {
            }
        }
    }
    return 0;
}
