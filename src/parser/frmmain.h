#pragma once

#include "addresshistory.h"
#include <tamberline/tamberlinecontrol.h>
#include "navigationpermission.h"
#include "nodepropertylist.h"
#include "nodetree.h"
#include "paneratios.h"
#include "wildcardmatcher.h"
#include "windowplacement.h"
#include "document/document.h"
#include "browser/webpage.h"

#include <QMainWindow>
#include <QWebEnginePage>
#include <QPointer>
#include <QStringList>

#include <cstdint>
#include <memory>

class QAction;
class QTimer;
class QWebEngineLoadingInfo;
class QTreeWidgetItem;
class PageMatches;
class ProgressStrip;
class StatusPanel;
struct PageParserFields;

namespace Ui {
class frmMain;
}

// The Page Parser: the query's page in a browser beside the tree of its elements; the user
// picks what to search for and return, and saves the query back into the control.
class frmMain : public QMainWindow
{
    Q_OBJECT
    Q_PROPERTY(bool NavigationAllowed READ NavigationAllowed WRITE setNavigationAllowed)

public:
    // Loading the window restores its placement.
    explicit frmMain(QWidget *parent = nullptr);
    ~frmMain() override;

    // Remembers the control whose query is edited; anything but a query control is ignored.
    void SetQueryControl(QObject *control);
    // Fills the window from the query, queues Go and Search, and shows the window modally;
    // returns once it is hidden.
    void EditQuery();

    bool NavigationAllowed() const { return m_permission.navigationAllowed; }
    void setNavigationAllowed(bool allowed) { m_permission.navigationAllowed = allowed; }

    // The last completed top-level document, or null.
    DocumentPtr hdoc() const { return m_hdoc; }
    // The browser's "complete": no load under way and the document read.
    bool isDocumentComplete() const { return m_documentComplete; }
    NodeTree &nodeTree() { return m_tree; }
    const QStringList &actionQueue() const { return m_actionQueue; }
    bool stopRequested() const { return m_stopRequested; }
    void setStopRequested(bool requested) { m_stopRequested = requested; }
    WebPage *page() const { return m_page; }
    // What a snapshot of a loaded page may read before it is cut.
    void setSnapshotLimits(const SnapshotLimits &limits) { m_snapshotLimits = limits; }

    // Where the next text search begins in the document's elements.
    int16_t SearchStart() const { return m_searchStart; }
    void setSearchStart(int16_t start) { m_searchStart = start; }
    // The status text when the node operations menu was opened.
    QString PopupNodeText() const { return m_popupNodeText; }
    QString statusText() const;
    NodePropertyList &properties() { return m_properties; }
    PageMatches &matches() { return *m_matches; }

    // A node picked in the tree: its element is scrolled into view and its attributes listed.
    void NodeClick(QTreeWidgetItem *node);
    // Shows the attributes again, for the selected node, with the "All"/"NE" choice.
    void chkShowProps_Click();
    void cmdEditProps_Click();

    // Adds an element with its text nodes under the node "K" + parentNumber.
    void AddElementBranch(int element, int16_t parentNumber);
    // Selects the node of the element that holds the page's selection.
    void SelectNodeForSelection();

    // One search step: selects the next element that fits the search text and the filters,
    // asking at the end of the page whether to start again. True when one was found (or there
    // was nothing to search for).
    bool SearchDocument();
    void setRandomSource(WildcardPattern::RandomSource random) { m_matcher = WildcardMatcher(std::move(random)); }

    // Favorites: the menu follows the settings section "Favorites".
    void RebuildFavoritesMenu();
    void mnu_Favorites_Nav_Click(int index);
    void mnu_Favorites_Add_Click();
    QList<QAction *> favoriteItems() const { return m_favoriteItems; }

    // Expand and collapse: one level over the whole tree, or every node yielding as it goes.
    void cmdExpand_Click();
    void cmdCollapse_Click();
    void cmdExpandAll_Click();
    void cmdCollapseAll_Click();

    // The node operations menu.
    void mnu_NodeOperAddText_Click();
    void mnu_NodeOperSetSearchNode_Click();
    void mnu_NodeOperSetRetNode_Click();

    // The click handlers, also run by the start-up queue and by other parts.
    void cmdGo_Click();
    void cmdSearch_Click();
    void cmdSave_Click();
    void cmdClose_Click();
    void mnu_Exit_Click();

signals:
    // A top-level document was read and the tree rebuilt (or the build stopped with an error).
    void documentCompleted();

protected:
    void resizeEvent(QResizeEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void restorePlacement();
    WindowPlacement placement() const;
    void layoutPanes();
    void todoSequencer_Timer();
    void beginProgress();
    void onLoadingChanged(const QWebEngineLoadingInfo &info);
    void onRendererEnded(QWebEnginePage::RenderProcessTerminationStatus status, int exitCode);
    void DocumentComplete(const DocumentPtr &document);
    void TextsArrived(const DocumentPtr &document);
    // What the status panel shows for an element under the pointer.
    QString pointerText(int index) const;
    void writeQueryBack();
    PageParserFields fields() const;
    void selectNode(QTreeWidgetItem *node);
    void selectElementNode(int sourceIndex);
    // The matches follow the search text, the offset and the filters.
    void matchesFollowQuery();
    void stepMatch(int direction);
    // The selected node, which the node operations act on; error 91 when there is none.
    QTreeWidgetItem *selectedNode() const;
    void waitForDocument();
    void treeMouseMove(const QPoint &position);
    void treeMouseUp(Qt::MouseButton button, const QPoint &position);
    // Walks the whole tree, yielding to events; Escape, a new page or closing the window ends it.
    void setAllExpanded(bool expanded);
    void setStatusText(const QString &text);
    // The element behind a node: its sourceIndex, or the document element for the root.
    int elementOf(const QTreeWidgetItem *node) const;
    void setAddressBox(const AddressBox &box);
    AddressBox addressBox() const;

    std::unique_ptr<Ui::frmMain> ui;
    WebPage *m_page = nullptr;
    StatusPanel *m_statusPanel = nullptr;
    ProgressStrip *m_progress = nullptr;
    PageMatches *m_matches = nullptr;
    QTimer *m_todoSequencer = nullptr;
    NodeTree m_tree;
    NodePropertyList m_properties;
    QPointer<Tamberline> m_queryControl;
    NavigationPermission m_permission;
    PaneRatios m_ratios;
    QStringList m_actionQueue;
    DocumentPtr m_hdoc;
    SnapshotLimits m_snapshotLimits;
    bool m_documentComplete = true; // nothing is loading yet
    bool m_loading = false;
    quint64 m_loadSerial = 0;
    bool m_stopRequested = false;
    bool m_placementRestored = false;
    int16_t m_branchNodeCount = 0;
    int16_t m_searchStart = 0;
    QString m_popupNodeText;
    bool m_selectingNode = false;
    bool m_searching = false;
    bool m_expandAllBusy = false;
    bool m_collapseAllBusy = false;
    QList<QAction *> m_favoriteItems;
    WildcardMatcher m_matcher;
};
