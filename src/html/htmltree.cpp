#include "htmltree.h"

#include "pagereaderror.h"

#include <QCoreApplication>

#include <algorithm>

namespace {

// Past this a page's tree holds memory worth giving back (some 150 bytes per input byte).
constexpr qsizetype kKeptTreeInputLimit = 2 * 1024 * 1024;

class ThreadParser
{
public:
    ~ThreadParser()
    {
        if (m_idle)
            myhtml_tree_destroy(m_idle);
        if (m_myhtml)
            myhtml_destroy(m_myhtml);
    }

    myhtml_tree_t *take()
    {
        if (myhtml_tree_t *tree = std::exchange(m_idle, nullptr))
            return tree;
        if (!m_myhtml) {
            m_myhtml = myhtml_create();
            if (!m_myhtml || myhtml_init(m_myhtml, MyHTML_OPTIONS_PARSE_MODE_SINGLE, 1, 0) != MyHTML_STATUS_OK)
                throw PageReadError(QCoreApplication::translate("parseHtmlDocument", "the parser could not start"));
        }
        myhtml_tree_t *tree = myhtml_tree_create();
        if (!tree || myhtml_tree_init(tree, m_myhtml) != MyHTML_STATUS_OK) {
            myhtml_tree_destroy(tree);
            throw PageReadError(QCoreApplication::translate("parseHtmlDocument", "the parser could not start"));
        }
        return tree;
    }

    void give(myhtml_tree_t *tree, bool keep)
    {
        if (keep && !m_idle) {
            myhtml_tree_clean(tree);
            m_idle = tree;
        } else {
            myhtml_tree_destroy(tree);
        }
    }

private:
    myhtml_t *m_myhtml = nullptr;
    myhtml_tree_t *m_idle = nullptr;
};

thread_local ThreadParser t_parser;

} // namespace

HtmlTree::HtmlTree(QByteArrayView input)
    : m_input(input)
    , m_tree(t_parser.take())
    , m_keep(input.size() <= kKeptTreeInputLimit)
{
    m_tree->flags = myhtml_tree_flags(m_tree->flags | MyHTML_TREE_FLAGS_SCRIPT);
    const char *data = input.isEmpty() ? "" : input.data();
    const mystatus_t status = myhtml_parse(m_tree, MyENCODING_UTF_8, data, size_t(input.size()));
    if (status != MyHTML_STATUS_OK) {
        t_parser.give(m_tree, false);
        throw PageReadError(QCoreApplication::translate("parseHtmlDocument", "the parser failed on this page (status %1)")
                                .arg(status));
    }
}

HtmlTree::~HtmlTree()
{
    t_parser.give(m_tree, m_keep);
}

QByteArrayView HtmlTree::source(myhtml_tree_node_t *node) const
{
    const myhtml_position_t position = myhtml_node_raw_position(node);
    if (position.begin > size_t(m_input.size()))
        return {};
    return m_input.sliced(qsizetype(position.begin), std::min(qsizetype(position.length), m_input.size() - qsizetype(position.begin)));
}
