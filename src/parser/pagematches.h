#pragma once

#include "browser/webpage.h"
#include "document/document.h"

#include <QList>
#include <QObject>
#include <QRectF>
#include <QString>
#include <QWidget>

class QTimer;
class QTreeWidgetItem;
class NodeTree;
class QWebEngineView;
class WildcardMatcher;

// Every element the query finds on the page, counted, marked in the tree and outlined in the
// page, so a rule that fits forty elements does not look like one that fits one. The outlines
// are drawn in a widget over the view from rectangles the isolated world reports: the page's
// DOM, which the query is made of, is never touched.
class PageMatches : public QObject
{
    Q_OBJECT

public:
    PageMatches(QWebEngineView *view, WebPage *page, NodeTree *tree, QObject *parent = nullptr);
    ~PageMatches() override;

    // What the query is now; the matches follow a moment later, so typing is never held up.
    void queryChanged(const DocumentPtr &document, const QString &searchText, const QString &offsetText, const QStringList &filters);
    // The page is going: its matches go with it.
    void clear();

    // "N matches", "No match", why none can be counted, or empty for no query.
    QString summary() const { return m_summary; }
    const QList<int> &found() const { return m_found; }
    const QList<int> &returned() const { return m_returned; }
    // The next or previous element found from the current one, round the end; -1 for none.
    int step(int direction);

    // Nodes of elements found and returned carry these backgrounds (bold and colour are the
    // node operations').
    static QColor foundMark();
    static QColor returnedMark();

signals:
    void summaryChanged(const QString &summary);

private:
    void recount();
    void markTree();
    void requestOutlines();

    QWebEngineView *m_view;
    WebPage *m_page;
    NodeTree *m_tree;
    QWidget *m_overlay;
    QTimer *m_debounce;
    DocumentPtr m_document;
    QString m_searchText;
    QString m_offsetText;
    QStringList m_filters;
    QList<int> m_found;
    QList<int> m_returned;
    QList<QTreeWidgetItem *> m_marked;
    int m_markedGeneration = -1;
    QString m_summary;
    int m_current = -1;
    quint64 m_generation = 0;
};
