#include "pagematches.h"

#include "documentsearch.h"
#include "nodekeys.h"
#include "nodetree.h"
#include "wildcardmatcher.h"
#include "browser/pagebridge.h"
#include "platform/conversions.h"
#include "platform/runtimeerror.h"

#include <QEvent>
#include <QPainter>
#include <QPointer>
#include <QSet>
#include <QTimer>
#include <QTreeWidgetItem>
#include <QWebEngineView>

namespace {

constexpr int DebounceMilliseconds = 250;

struct Outline {
    QRectF rect;
    enum Kind { Found, First, Returned } kind;
};

// Paints the outlines over the view and lets every event through to the page below.
class MatchOverlay : public QWidget
{
public:
    explicit MatchOverlay(QWidget *view) : QWidget(view)
    {
        setObjectName(QStringLiteral("matchOverlay"));
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setAttribute(Qt::WA_NoSystemBackground);
        setGeometry(view->rect());
        view->installEventFilter(this);
        raise();
    }

    void setOutlines(QList<Outline> outlines)
    {
        m_outlines = std::move(outlines);
        setProperty("outlineCount", int(m_outlines.size())); // what is drawn, for tests to see
        // The view makes its own child for the page when it loads one: stay above it.
        raise();
        update();
    }
    const QList<Outline> &outlines() const { return m_outlines; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (watched == parent() && event->type() == QEvent::Resize) {
            setGeometry(parentWidget()->rect());
            raise();
        }
        return false;
    }

    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing, false);
        for (const Outline &outline : std::as_const(m_outlines)) {
            QPen pen;
            switch (outline.kind) {
            case Outline::First:
                pen = QPen(QColor(220, 40, 20), 3);
                break;
            case Outline::Found:
                pen = QPen(QColor(240, 140, 0), 2);
                break;
            case Outline::Returned:
                pen = QPen(QColor(30, 90, 220), 2, Qt::DashLine);
                break;
            }
            painter.setPen(pen);
            painter.drawRect(outline.rect.adjusted(1, 1, -1, -1));
        }
    }

private:
    QList<Outline> m_outlines;
};

} // namespace

PageMatches::PageMatches(QWebEngineView *view, WebPage *page, NodeTree *tree, QObject *parent)
    : QObject(parent)
    , m_view(view)
    , m_page(page)
    , m_tree(tree)
    , m_overlay(new MatchOverlay(view))
    , m_debounce(new QTimer(this))
{
    m_debounce->setSingleShot(true);
    m_debounce->setInterval(DebounceMilliseconds);
    connect(m_debounce, &QTimer::timeout, this, &PageMatches::recount);
    connect(page->bridge(), &PageBridge::viewportMoved, this, &PageMatches::requestOutlines);
}

PageMatches::~PageMatches() = default;

QColor PageMatches::foundMark()
{
    return QColor(255, 236, 179);
}

QColor PageMatches::returnedMark()
{
    return QColor(207, 226, 255);
}

void PageMatches::queryChanged(const DocumentPtr &document, const QString &searchText, const QString &offsetText,
                               const QStringList &filters)
{
    m_document = document;
    m_searchText = searchText;
    m_offsetText = offsetText;
    m_filters = filters;
    m_debounce->start();
}

void PageMatches::clear()
{
    m_debounce->stop();
    m_found.clear();
    m_returned.clear();
    m_current = -1;
    ++m_generation;
    markTree();
    static_cast<MatchOverlay *>(m_overlay)->setOutlines({});
    if (!m_summary.isEmpty()) {
        m_summary.clear();
        emit summaryChanged(m_summary);
    }
}

int PageMatches::step(int direction)
{
    if (m_found.isEmpty())
        return -1;
    const qsizetype count = m_found.size();
    m_current = m_current < 0 ? (direction > 0 ? 0 : int(count - 1)) : int((m_current + direction + count) % count);
    return m_found.at(m_current);
}

void PageMatches::recount()
{
    m_found.clear();
    m_returned.clear();
    m_current = -1;
    ++m_generation;
    QString summary;
    const bool hasQuery = !m_searchText.trimmed().isEmpty() || !m_filters.isEmpty();
    if (m_document && hasQuery) {
        try {
            m_found = FindAllMatches(*m_document, m_searchText, m_filters, WildcardMatcher());
            bool offsetOk = false;
            const long long offset = m_offsetText.trimmed().toLongLong(&offsetOk);
            for (const int found : std::as_const(m_found)) {
                const long long returned = found + (offsetOk ? offset : 0);
                if (returned >= 0 && returned < m_document->length())
                    m_returned.append(int(returned));
            }
            summary = m_found.isEmpty() ? QStringLiteral("No match")
                    : m_found.size() == 1 ? QStringLiteral("1 match")
                                          : QStringLiteral("%1 matches").arg(m_found.size());
        } catch (const RuntimeError &error) { // thrown before either list is filled
            summary = QStringLiteral("Matches not counted: %1").arg(error.description());
        }
    }
    markTree();
    requestOutlines();
    if (summary != m_summary) {
        m_summary = summary;
        emit summaryChanged(m_summary);
    }
}

void PageMatches::markTree()
{
    // A tree built again since has none of the nodes marked before.
    if (m_markedGeneration == m_tree->generation()) {
        for (QTreeWidgetItem *item : std::as_const(m_marked))
            item->setBackground(0, QBrush());
    }
    m_marked.clear();
    m_markedGeneration = m_tree->generation();
    if (m_tree->count() == 0)
        return;
    const auto mark = [&](int element, const QColor &colour) {
        const QString key = nodeKey(element);
        if (!m_tree->contains(key))
            return;
        QTreeWidgetItem *item = m_tree->node(key);
        item->setBackground(0, colour);
        m_marked.append(item);
    };
    for (const int element : std::as_const(m_returned))
        mark(element, returnedMark());
    for (const int element : std::as_const(m_found))
        mark(element, foundMark());
}

void PageMatches::requestOutlines()
{
    auto *overlay = static_cast<MatchOverlay *>(m_overlay);
    if (m_found.isEmpty()) {
        overlay->setOutlines({});
        return;
    }
    const quint64 generation = m_generation;
    const int first = m_found.first();
    const QSet<int> found(m_found.cbegin(), m_found.cend());
    const QSet<int> returned(m_returned.cbegin(), m_returned.cend());
    const QSet<int> both = found + returned;
    const QList<int> wanted(both.cbegin(), both.cend());
    QPointer<QWidget> guard(overlay);
    m_page->requestElementRects(wanted, [this, guard, generation, first, found, returned](const QList<WebPage::ElementRect> &rects) {
        if (!guard || generation != m_generation)
            return; // the matches changed meanwhile
        const qreal zoom = m_page->zoomFactor();
        QList<Outline> outlines;
        for (const WebPage::ElementRect &rect : rects) {
            const QRectF box(rect.rect.topLeft() * zoom, rect.rect.size() * zoom);
            if (returned.contains(rect.index))
                outlines.append({box.adjusted(-3, -3, 3, 3), Outline::Returned});
            if (found.contains(rect.index))
                outlines.append({box, rect.index == first ? Outline::First : Outline::Found});
        }
        static_cast<MatchOverlay *>(guard.data())->setOutlines(outlines);
    });
}
