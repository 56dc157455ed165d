#include "frmmain.h"

#include "control/attribwalk.h"
#include "control/controlaccess.h"
#include "documentsearch.h"
#include "documenttree.h"
#include "nodeoperations.h"
#include "treewalks.h"
#include "platform/settingsstore.h"
#include "nodekeys.h"
#include "pageparserquery.h"
#include "platform/dialogs.h"
#include "platform/handlerguard.h"
#include "browser/pagebridge.h"
#include "platform/boundarytypes.h"
#include "platform/runtimeerror.h"
#include "document/textrules.h"
#include "browser/webpage.h"
#include "pagematches.h"
#include "progressstrip.h"
#include "statuspanel.h"
#include "substitution/controlvariables.h"
#include "substitution/examplevaluecache.h"
#include "ui_frmmain.h"
#include "windowplacement.h"
#include "wizard/editattributefilters.h"

#include <QApplication>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QRadioButton>
#include <QScopedValueRollback>
#include <QScreen>
#include <QTimer>
#include <QToolButton>
#include <QWebEngineView>
#include <QWebEngineLoadingInfo>

#include <cmath>

namespace {

const QString GoAction = QStringLiteral("cmdGo_Click");
const QString SearchAction = QStringLiteral("cmdSearch_Click");
const QString CrLf = QStringLiteral("\r\n");

Ui::frmMain *setUpForm(frmMain *window)
{
    auto *form = new Ui::frmMain;
    form->setupUi(window);
    return form;
}

} // namespace

frmMain::frmMain(QWidget *parent)
    : QMainWindow(parent)
    , ui(setUpForm(this))
    , m_tree(ui->tvu)
    , m_properties(ui->lstProps)
{
    m_page = new WebPage(this);
    ui->WebBr->setPage(m_page);
    m_page->setNavigationGuard([this](const QUrl &, bool) {
        if (!m_permission.allow())
            return false;
        beginProgress();
        return true;
    });
    connect(m_page, &QWebEnginePage::loadingChanged, this, &frmMain::onLoadingChanged);
    connect(m_page, &QWebEnginePage::renderProcessTerminated, this, &frmMain::onRendererEnded);
    connect(m_page, &QWebEnginePage::loadProgress, this, [this](int percent) {
        m_progress->showProgress(m_statusPanel, percent, 100);
    });
    const PageBridge *bridge = m_page->bridge();
    connect(bridge, &PageBridge::elementPointed, this, [this](int index) {
        if (m_hdoc && index < m_hdoc->length())
            setStatusText(pointerText(index));
    });
    connect(bridge, &PageBridge::pointerLeft, this, [this] { setStatusText(QString()); });
    connect(bridge, &PageBridge::elementDoubleClicked, this, &frmMain::selectElementNode);
    connect(bridge, &PageBridge::selectionMoved, this, &frmMain::selectElementNode);

    m_statusPanel = new StatusPanel(ui->stts);
    m_statusPanel->setObjectName(QStringLiteral("sttsPanel1"));
    ui->stts->addWidget(m_statusPanel, 1);
    m_progress = new ProgressStrip(ui->stts);

    // How many elements the query finds, and stepping through them.
    m_matches = new PageMatches(ui->WebBr, m_page, &m_tree, this);
    auto *matchesPanel = new QLabel(ui->stts);
    matchesPanel->setObjectName(QStringLiteral("lblMatches"));
    auto *previousMatch = new QToolButton(ui->stts);
    previousMatch->setObjectName(QStringLiteral("cmdPreviousMatch"));
    previousMatch->setArrowType(Qt::UpArrow);
    previousMatch->setToolTip(QStringLiteral("Previous match"));
    auto *nextMatch = new QToolButton(ui->stts);
    nextMatch->setObjectName(QStringLiteral("cmdNextMatch"));
    nextMatch->setArrowType(Qt::DownArrow);
    nextMatch->setToolTip(QStringLiteral("Next match"));
    for (QWidget *widget : std::initializer_list<QWidget *>{matchesPanel, previousMatch, nextMatch})
        ui->stts->addPermanentWidget(widget);
    const auto showSummary = [=, this](const QString &summary) {
        matchesPanel->setText(summary);
        const bool several = !m_matches->found().isEmpty();
        previousMatch->setEnabled(several);
        nextMatch->setEnabled(several);
    };
    showSummary(QString());
    connect(m_matches, &PageMatches::summaryChanged, this, showSummary);
    connect(previousMatch, &QToolButton::clicked, this, [this] { stepMatch(-1); });
    connect(nextMatch, &QToolButton::clicked, this, [this] { stepMatch(1); });
    connect(ui->txtSearchText, &QLineEdit::textChanged, this, &frmMain::matchesFollowQuery);
    connect(ui->txtNodeOffset, &QLineEdit::textChanged, this, &frmMain::matchesFollowQuery);

    m_todoSequencer = new QTimer(this);
    m_todoSequencer->setObjectName(QStringLiteral("todoSequencer"));
    m_todoSequencer->setInterval(100);
    connect(m_todoSequencer, &QTimer::timeout, this, &frmMain::todoSequencer_Timer);

    ui->mnu_Favorites_Separ->setSeparator(true);
    ui->lstProps->setColumnWidth(0, 110);
    m_properties.setShow(NodePropertyList::Show::NonEmpty);

    // Picking a node, by mouse or by keyboard, but not when the code selects one.
    connect(ui->tvu, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem *node) {
        runHandler(this, HandlerOrigin::User, [&] { NodeClick(node); });
    });
    connect(ui->tvu, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem *node) {
        if (node && !m_selectingNode && QGuiApplication::mouseButtons() == Qt::NoButton)
            runHandler(this, HandlerOrigin::User, [&] { NodeClick(node); });
    });
    connect(ui->lstProps, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem *row, int column) {
        if (column == 0) {
            runHandler(this, HandlerOrigin::User, [&] { m_properties.rowCheckToggled(row); });
            matchesFollowQuery();
        }
    });
    connect(ui->lstProps->header(), &QHeaderView::sectionClicked, this, [this](int column) {
        m_properties.columnClicked(column);
    });
    for (QRadioButton *option : {ui->chkShowProps_0, ui->chkShowProps_1})
        connect(option, &QRadioButton::clicked, this, &frmMain::chkShowProps_Click);
    connect(ui->cmdEditProps, &QPushButton::clicked, this, &frmMain::cmdEditProps_Click);
    connect(ui->cmdExpand, &QPushButton::clicked, this, &frmMain::cmdExpand_Click);
    connect(ui->cmdCollapse, &QPushButton::clicked, this, &frmMain::cmdCollapse_Click);
    connect(ui->cmdExpandAll, &QPushButton::clicked, this, &frmMain::cmdExpandAll_Click);
    connect(ui->cmdCollapseAll, &QPushButton::clicked, this, &frmMain::cmdCollapseAll_Click);
    // "Expand All" hides the tree while it works; the pane keeps its place meanwhile.
    QSizePolicy treePolicy = ui->tvu->sizePolicy();
    treePolicy.setRetainSizeWhenHidden(true);
    ui->tvu->setSizePolicy(treePolicy);
    connect(ui->mnu_NodeOperAddText, &QAction::triggered, this, &frmMain::mnu_NodeOperAddText_Click);
    connect(ui->mnu_NodeOperSetSearchNode, &QAction::triggered, this, &frmMain::mnu_NodeOperSetSearchNode_Click);
    connect(ui->mnu_NodeOperSetRetNode, &QAction::triggered, this, &frmMain::mnu_NodeOperSetRetNode_Click);

    connect(ui->cmdGo, &QPushButton::clicked, this, &frmMain::cmdGo_Click);
    // Go runs on a choice from the list, on Enter with the text as typed, and on the button.
    // The box would also take a finished edit that equals an entry (in any case) as a choice,
    // so leaving it would run Go, and its completion would change what was typed.
    QLineEdit *address = ui->cmboUrl->lineEdit();
    disconnect(address, &QLineEdit::editingFinished, ui->cmboUrl, nullptr);
    ui->cmboUrl->setCompleter(nullptr);
    connect(ui->cmboUrl, &QComboBox::activated, this, [this] { cmdGo_Click(); });
    connect(address, &QLineEdit::returnPressed, this, &frmMain::cmdGo_Click);
    connect(ui->cmdSearch, &QPushButton::clicked, this, &frmMain::cmdSearch_Click);
    connect(ui->cmdSave, &QPushButton::clicked, this, &frmMain::cmdSave_Click);
    connect(ui->mnu_Save, &QAction::triggered, this, &frmMain::cmdSave_Click);
    connect(ui->cmdClose, &QPushButton::clicked, this, &frmMain::cmdClose_Click);
    connect(ui->mnu_Exit, &QAction::triggered, this, &frmMain::mnu_Exit_Click);
    connect(ui->horBalancer, &QSplitter::splitterMoved, this, [this](int position) {
        m_ratios.horizontalDropped(position, ui->horBalancer->width());
        layoutPanes();
    });
    connect(ui->verBalancer, &QSplitter::splitterMoved, this, [this](int position) {
        // The splitter has moved the panes; the ratio is for the next resize.
        m_ratios.verticalDropped(position, ui->verBalancer->height());
    });

    // One filter for the whole application: it sees the splitters' resizes (the panes follow them
    // once the window's layout is done), the tree's pointer moves even untracked, and Escape.
    qApp->installEventFilter(this);
    restorePlacement();
    if (const QString notice = SettingsStore::takeNotice(); !notice.isEmpty())
        ui->stts->showMessage(notice, 30000);
    m_favoriteItems.append(ui->mnu_Favorites_Nav_0);
    connect(ui->mnu_Favorites_Nav_0, &QAction::triggered, this, [this] { mnu_Favorites_Nav_Click(0); });
    connect(ui->mnu_Favorites_Add, &QAction::triggered, this, &frmMain::mnu_Favorites_Add_Click);
    RebuildFavoritesMenu();
}

frmMain::~frmMain()
{
    qApp->removeEventFilter(this);
    // The page goes first: the view must not outlive a page it still shows.
    delete m_page;
}

bool frmMain::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == ui->tvu->viewport()) {
        // A right click leaves the selection alone: the menu is for the node already selected.
        if (event->type() == QEvent::MouseButtonPress && static_cast<QMouseEvent *>(event)->button() == Qt::RightButton)
            return true;
        if (event->type() == QEvent::MouseMove)
            treeMouseMove(static_cast<QMouseEvent *>(event)->position().toPoint());
        else if (event->type() == QEvent::MouseButtonRelease)
            treeMouseUp(static_cast<QMouseEvent *>(event)->button(), static_cast<QMouseEvent *>(event)->position().toPoint());
    }
    if (event->type() == QEvent::Resize && (watched == ui->horBalancer || watched == ui->verBalancer)
        && !isMinimized())
        layoutPanes();
    // Escape anywhere in the window asks the long walks to stop.
    if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape) {
        auto *widget = qobject_cast<QWidget *>(watched);
        if (widget && widget->window() == this)
            m_stopRequested = true;
    }
    return QMainWindow::eventFilter(watched, event);
}

void frmMain::SetQueryControl(QObject *control)
{
    if (isQueryControl(control)) {
        m_queryControl = static_cast<Tamberline *>(control);
        m_properties.setControl(m_queryControl);
    }
}

void frmMain::EditQuery()
{
    ControlVariables::exampleValueCache().clear();
    ControlVariables::setMarkerFound(false);

    m_page->navigate(QUrl(QStringLiteral("about:blank")));
    setNavigationAllowed(true);

    if (isQueryControl(m_queryControl)) {
        const QString url = ControlVariables::Substitute(m_queryControl->Url1());
        ui->cmboUrl->insertItem(0, url);
        ui->cmboUrl->setEditText(url);
        setNavigationAllowed(m_queryControl->AllowNav2());
        ui->txtSearchText->setText(ControlVariables::Substitute(m_queryControl->SearchText()));
        ui->txtNodeOffset->setText(QString::number(m_queryControl->NodeOffset()));
    }
    if (trimBlanks(ui->cmboUrl->currentText()).isEmpty() || !isQueryControl(m_queryControl)) {
        ui->cmboUrl->setEditText(QStringLiteral("about:blank"));
        setNavigationAllowed(true);
        ui->txtSearchText->clear();
    }
    ui->cmboUrl->setEnabled(NavigationAllowed());
    ui->cmdGo->setEnabled(NavigationAllowed());
    ui->mnu_Favorites->setEnabled(NavigationAllowed());

    m_actionQueue.append(GoAction);
    m_actionQueue.append(SearchAction);
    m_todoSequencer->start();
    Dialogs::showModal(this);
}

void frmMain::todoSequencer_Timer()
{
    // Paused while an action runs: a message box it shows must not let the next tick in.
    m_todoSequencer->stop();
    if (m_actionQueue.isEmpty())
        return;
    const QString action = m_actionQueue.first();
    runHandler(this, HandlerOrigin::Internal, [&] {
        if (action == GoAction)
            cmdGo_Click();
        else if (action == SearchAction)
            cmdSearch_Click();
        else
            Dialogs::messageBox(QStringLiteral("Error: ") + action + QStringLiteral(" is not supported."));
    });
    m_actionQueue.removeFirst();
    m_todoSequencer->start();
}

void frmMain::cmdGo_Click()
{
    try {
        m_tree.clear();
        m_matches->clear();
        ui->lstProps->clear();
        // The page is not complete from here on, before the engine even reports the start.
        if (m_page->navigate(QUrl(trimBlanks(ui->cmboUrl->currentText()))))
            m_documentComplete = false;
    } catch (const RuntimeError &) {
        Dialogs::messageBox(QStringLiteral("An error occured"));
    }
}

void frmMain::cmdSearch_Click()
{
    // A search waits for the page and lets events run meanwhile: a second click then does nothing.
    if (m_searching)
        return;
    const QScopedValueRollback searching(m_searching, true);
    runHandler(this, HandlerOrigin::User, [this] { SearchDocument(); });
}

void frmMain::waitForDocument()
{
    while (!m_documentComplete) {
        // Closing the window or pressing Escape gives up the wait.
        if (!isVisible() || m_stopRequested)
            throw RuntimeError(ErrorNumber::ObjectRequired, QStringLiteral("The search stopped waiting for the page"));
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

bool frmMain::SearchDocument()
{
    m_stopRequested = false;
    waitForDocument();
    if (!isQueryControl(m_queryControl))
        return false;
    const QString searchText = ui->txtSearchText->text();
    const bool hasText = !trimBlanks(searchText).isEmpty();
    const bool hasFilters = !m_queryControl->ElemAttribs(0).isEmpty();
    if (!hasText && !hasFilters) {
        QTreeWidgetItem *root = m_tree.node(RootKey);
        selectNode(root);
        NodeClick(root);
        return true;
    }
    if (!m_hdoc) {
        // A page that was never let in (navigation not allowed) is nothing to report in a box.
        ui->stts->showMessage(QStringLiteral("There is no page to search"), 10000);
        return false;
    }
    const QStringList filters = hasFilters ? walkElemAttribs(*m_queryControl) : QStringList();
    while (true) {
        const int found = ScanDocument(*m_hdoc, m_searchStart, searchText, filters, m_matcher);
        if (found >= 0) {
            QTreeWidgetItem *node = m_tree.node(nodeKey(found));
            selectNode(node);
            NodeClick(node);
            return true;
        }
        const QString tab = QStringLiteral("\t");
        const int answer = Dialogs::messageBox(
            QStringLiteral("End of document was reached, ") + CrLf + QStringLiteral("Would you like to research from the beginning?")
                + CrLf + tab + QStringLiteral("Yes: continue search from the beginning of the document") + tab
                + QStringLiteral("No: stop search and cancel the operation"),
            Dialogs::YesNo | Dialogs::Critical);
        m_searchStart = 0;
        if (answer != Dialogs::Yes) {
            QTreeWidgetItem *root = m_tree.node(RootKey);
            selectNode(root);
            NodeClick(root);
            return false;
        }
    }
}

void frmMain::RebuildFavoritesMenu()
{
    // Item 0 belongs to the form and stays, hidden; the others are made afresh.
    for (QAction *item : std::as_const(m_favoriteItems)) {
        item->setVisible(false);
        item->setEnabled(false);
    }
    while (m_favoriteItems.size() > 1)
        delete m_favoriteItems.takeLast();
    const QList<std::pair<QString, QString>> favorites = SettingsStore::getAllSettings(QStringLiteral("Favorites"));
    for (int i = 0; i < favorites.size(); ++i) {
        if (i >= m_favoriteItems.size()) {
            auto *item = new QAction(ui->mnu_Favorites);
            item->setObjectName(QStringLiteral("mnu_Favorites_Nav_%1").arg(i));
            ui->mnu_Favorites->addAction(item);
            connect(item, &QAction::triggered, this, [this, i] { mnu_Favorites_Nav_Click(i); });
            m_favoriteItems.append(item);
        }
        QAction *item = m_favoriteItems.at(i);
        item->setText(u'&' + QString::number(i + 1) + QStringLiteral(". ") + favorites.at(i).first);
        item->setData(favorites.at(i).second);
        item->setVisible(true);
        item->setEnabled(true);
    }
}

void frmMain::mnu_Favorites_Nav_Click(int index)
{
    if (index < 0 || index >= m_favoriteItems.size())
        return;
    ui->cmboUrl->setEditText(m_favoriteItems.at(index)->data().toString());
    cmdGo_Click();
}

void frmMain::mnu_Favorites_Add_Click()
{
    const QString name = m_hdoc ? m_hdoc->title : QStringLiteral("Untitled");
    const QString address = m_hdoc ? m_hdoc->url : ui->cmboUrl->currentText();
    const QString answer = Dialogs::inputBox(QStringLiteral("Type a name for this address to appear in the favorites menu:"),
                                             QStringLiteral("Add To Favorites"), name);
    if (answer.isEmpty())
        return;
    SettingsStore::saveSetting(QStringLiteral("Favorites"), answer, address);
    RebuildFavoritesMenu();
}

void frmMain::cmdExpand_Click()
{
    TreeWalks::ExpandOneLevel(ui->tvu);
}

void frmMain::cmdCollapse_Click()
{
    TreeWalks::CollapseOneLevel(ui->tvu);
}

void frmMain::cmdExpandAll_Click()
{
    // Off before anything else, also for a second click while a walk runs: the tree is not
    // redrawn for every node it opens.
    ui->tvu->hide();
    if (m_expandAllBusy)
        return;
    const QScopedValueRollback busy(m_expandAllBusy, true);
    setAllExpanded(true);
    ui->tvu->show();
}

void frmMain::cmdCollapseAll_Click()
{
    if (m_collapseAllBusy)
        return;
    const QScopedValueRollback busy(m_collapseAllBusy, true);
    setAllExpanded(false);
}

void frmMain::setAllExpanded(bool expanded)
{
    m_stopRequested = false;
    const int generation = m_tree.generation();
    TreeWalks::SetAllExpanded(
        m_tree.nodesInOrder(), expanded, [] { QCoreApplication::processEvents(); },
        [&] { return m_stopRequested || m_tree.generation() != generation || !isVisible(); });
}

QTreeWidgetItem *frmMain::selectedNode() const
{
    QTreeWidgetItem *node = ui->tvu->currentItem();
    if (!node || !node->isSelected())
        throw RuntimeError(ErrorNumber::ObjectVariableNotSet, QStringLiteral("Object variable not set: no node is selected"));
    return node;
}

void frmMain::mnu_NodeOperAddText_Click()
{
    runHandler(this, HandlerOrigin::User, [this] {
        if (!ui->txtSearchText->text().isEmpty()) {
            const QString tab = QStringLiteral("\t");
            const int answer = Dialogs::messageBox(
                QStringLiteral("Search Text Box already contains text, ") + CrLf
                    + QStringLiteral("proceeding will override that old text.") + CrLf + CrLf + tab + QStringLiteral("OK: override.")
                    + CrLf + tab + QStringLiteral("Cancel: cancel the operation."),
                Dialogs::OkCancel | Dialogs::Exclamation, QStringLiteral("Caution"));
            if (answer == Dialogs::Cancel)
                return;
        }
        ui->txtSearchText->setText(m_popupNodeText);
    });
}

void frmMain::mnu_NodeOperSetSearchNode_Click()
{
    runHandler(this, HandlerOrigin::User, [this] {
        ui->txtNodeOffset->setText(NodeOperations::SetSearchNode(m_tree, selectedNode()));
    });
}

void frmMain::mnu_NodeOperSetRetNode_Click()
{
    runHandler(this, HandlerOrigin::User, [this] {
        ui->txtNodeOffset->setText(NodeOperations::SetReturnNode(m_tree, selectedNode()));
    });
}

void frmMain::cmdSave_Click()
{
    runHandler(this, HandlerOrigin::User, [this] {
        if (ControlVariables::markerFound()) {
            const int answer = Dialogs::messageBox(
                QStringLiteral("Either the URL or the SearchText had property substitution, ") + CrLf
                    + QStringLiteral("proceeding with the update may override those properties with the suggested examples"),
                Dialogs::OkCancel | Dialogs::Exclamation);
            if (answer == Dialogs::Cancel)
                return;
        }
        writeQueryBack();
    });
}

void frmMain::writeQueryBack()
{
    if (!isQueryControl(m_queryControl)) {
        Dialogs::messageBox(QStringLiteral("An error occured"));
        return;
    }
    WriteQueryBack(*m_queryControl, fields());
}

void frmMain::cmdClose_Click()
{
    runHandler(this, HandlerOrigin::User, [this] {
        if (!ChangesDetected(m_queryControl, fields())) {
            hide();
            return;
        }
        const QString tab = QStringLiteral("\t");
        const int answer = Dialogs::messageBox(
            QStringLiteral("Settings have been changed,") + CrLf + QStringLiteral("Would you like to save?") + CrLf + CrLf
                + tab + QStringLiteral("Yes: Saves changes and exits") + CrLf + tab
                + QStringLiteral("No: Exits without saving") + CrLf + tab + QStringLiteral("Cancel: Cancel exiting"),
            Dialogs::YesNoCancel, QStringLiteral("Changes Detected"));
        if (answer == Dialogs::Yes) {
            cmdSave_Click();
            hide();
        } else if (answer == Dialogs::No) {
            hide();
        }
    });
}

void frmMain::mnu_Exit_Click()
{
    hide();
}

void frmMain::closeEvent(QCloseEvent *event)
{
    // The close box closes like the Close button: it asks about unsaved changes.
    event->ignore();
    cmdClose_Click();
}

PageParserFields frmMain::fields() const
{
    PageParserFields fields;
    fields.url = ui->cmboUrl->currentText();
    fields.searchText = ui->txtSearchText->text();
    fields.nodeOffset = ui->txtNodeOffset->text();
    for (int i = 0; i < ui->lstProps->topLevelItemCount(); ++i) {
        const QTreeWidgetItem *row = ui->lstProps->topLevelItem(i);
        fields.rows.append({row->text(0), row->text(1), row->checkState(0) == Qt::Checked});
    }
    return fields;
}

void frmMain::beginProgress()
{
    m_progress->begin(m_statusPanel);
}

void frmMain::onLoadingChanged(const QWebEngineLoadingInfo &info)
{
    switch (info.status()) {
    case QWebEngineLoadingInfo::LoadStartedStatus:
        ++m_loadSerial;
        m_loading = true;
        m_documentComplete = false;
        return;
    case QWebEngineLoadingInfo::LoadStoppedStatus:
        // Refused or stopped: the last document stays the current one.
        m_loading = false;
        m_documentComplete = true;
        return;
    case QWebEngineLoadingInfo::LoadSucceededStatus:
    case QWebEngineLoadingInfo::LoadFailedStatus: // an error page is a document too
        break;
    }
    m_loading = false;
    const quint64 serial = m_loadSerial;
    // The tree is built from the elements alone; the texts, which cost the browser most, follow.
    m_page->requestSnapshotInStages(
        [this, serial](DocumentPtr structure) {
            if (serial == m_loadSerial && !m_loading)
                DocumentComplete(structure);
        },
        [this, serial](DocumentPtr complete) {
            if (serial == m_loadSerial && !m_loading)
                TextsArrived(complete);
        },
        m_snapshotLimits);
}

void frmMain::onRendererEnded(QWebEnginePage::RenderProcessTerminationStatus status, int exitCode)
{
    if (status == QWebEnginePage::NormalTerminationStatus)
        return;
    // A hostile page can bring its renderer down (a DOM thousands of levels deep does): nothing
    // more will come from it, so nothing waits for it either.
    ++m_loadSerial;
    m_loading = false;
    m_documentComplete = true;
    m_progress->hide();
    const QString what = status == QWebEnginePage::KilledTerminationStatus ? QStringLiteral("was stopped")
                                                                           : QStringLiteral("crashed (code %1)").arg(exitCode);
    runHandler(this, HandlerOrigin::User, [&] {
        throw RuntimeError(ErrorNumber::ObjectRequired,
                           QStringLiteral("The browser process of the page %1; the page cannot be read. Go loads it again.").arg(what));
    });
    emit documentCompleted();
}

void frmMain::DocumentComplete(const DocumentPtr &document)
{
    m_matches->clear();
    runHandler(this, HandlerOrigin::User, [&] {
        m_tree.clear();
        m_hdoc = document;
        if (!m_hdoc)
            return;
        BuildDocumentTree(*m_hdoc, m_tree);
        setWindowTitle(m_hdoc->title);
        AddressBox box = addressBox();
        const QString location = m_page->url().toString();
        if (box.documentCompleted(location))
            ui->cmboUrl->setToolTip(location);
        setAddressBox(box);
    });
    if (!m_hdoc || !m_hdoc->textsPending)
        TextsArrived(m_hdoc);
}

void frmMain::TextsArrived(const DocumentPtr &document)
{
    m_hdoc = document;
    if (m_hdoc && m_hdoc->cut) {
        const QString text = QStringLiteral("The page was read in part: %1.").arg(m_hdoc->cutReason);
        ui->stts->showMessage(text, ErrorMessageTimeout);
        runHandler(this, HandlerOrigin::User, [&] { Dialogs::messageBox(text, Dialogs::OkOnly | Dialogs::Exclamation); });
    }
    m_documentComplete = true;
    matchesFollowQuery();
    emit documentCompleted();
}

QString frmMain::pointerText(int index) const
{
    if (m_hdoc->textsPending)
        return QStringLiteral("Reading the page's texts\u2026");
    return m_hdoc->innerText(index).toString();
}

void frmMain::matchesFollowQuery()
{
    if (!isQueryControl(m_queryControl) || !m_hdoc || m_hdoc->textsPending)
        return;
    QStringList filters;
    runHandler(this, HandlerOrigin::Internal, [&] {
        if (!m_queryControl->ElemAttribs(0).isEmpty())
            filters = walkElemAttribs(*m_queryControl);
    });
    m_matches->queryChanged(m_hdoc, ui->txtSearchText->text(), ui->txtNodeOffset->text(), filters);
}

void frmMain::stepMatch(int direction)
{
    runHandler(this, HandlerOrigin::User, [&] {
        const int element = m_matches->step(direction);
        if (element < 0)
            return;
        QTreeWidgetItem *node = m_tree.node(nodeKey(element));
        selectNode(node);
        NodeClick(node);
    });
}

AddressBox frmMain::addressBox() const
{
    AddressBox box;
    box.text = ui->cmboUrl->currentText();
    for (int i = 0; i < ui->cmboUrl->count(); ++i)
        box.history.append(ui->cmboUrl->itemText(i));
    return box;
}

void frmMain::setAddressBox(const AddressBox &box)
{
    QSignalBlocker blocker(ui->cmboUrl);
    ui->cmboUrl->clear();
    ui->cmboUrl->addItems(box.history);
    ui->cmboUrl->setEditText(box.text);
}

void frmMain::AddElementBranch(int element, int16_t parentNumber)
{
    if (m_hdoc)
        ::AddElementBranch(*m_hdoc, element, parentNumber, m_tree, m_branchNodeCount);
}

void frmMain::SelectNodeForSelection()
{
    m_page->requestSelectionElement([this](int sourceIndex) { selectElementNode(sourceIndex); });
}

void frmMain::selectNode(QTreeWidgetItem *node)
{
    const QScopedValueRollback selecting(m_selectingNode, true);
    ui->tvu->setCurrentItem(node);
    ui->tvu->scrollToItem(node); // expands the node's parents too
}

void frmMain::selectElementNode(int sourceIndex)
{
    runHandler(this, HandlerOrigin::Internal, [&] {
        selectNode(m_tree.node(nodeKey(sourceIndex)));
        m_properties.ShowNodeProperties(m_hdoc.get(), sourceIndex);
    });
}

int frmMain::elementOf(const QTreeWidgetItem *node) const
{
    if (!m_hdoc)
        throw RuntimeError(ErrorNumber::ObjectRequired);
    const QString key = NodeTree::keyOf(node);
    const int index = key == RootKey ? m_hdoc->documentElement() : numberFromKey(key);
    if (index < 0 || index >= m_hdoc->length())
        throw RuntimeError(ErrorNumber::InvalidCall);
    return index;
}

void frmMain::NodeClick(QTreeWidgetItem *node)
{
    m_page->clearSelection();
    ui->lstProps->clear();
    const int index = elementOf(node);
    const bool root = NodeTree::keyOf(node) == RootKey;
    m_page->scrollToElement(root ? -1 : index);
    m_properties.ShowNodeProperties(m_hdoc.get(), index);
    m_searchStart = root ? 0 : checkedInt16(static_cast<long long>(index) + 1);
}

void frmMain::treeMouseMove(const QPoint &position)
{
    const QTreeWidgetItem *node = ui->tvu->itemAt(position);
    if (!node || !m_hdoc)
        return;
    runHandler(this, HandlerOrigin::Internal, [&] { setStatusText(pointerText(elementOf(node))); });
}

void frmMain::treeMouseUp(Qt::MouseButton button, const QPoint &position)
{
    if (button != Qt::RightButton)
        return;
    QTreeWidgetItem *node = ui->tvu->itemAt(position);
    if (!node || node != ui->tvu->currentItem() || !node->isSelected())
        return; // the menu acts on the selected node only
    m_popupNodeText = statusText();
    ui->mnu_NodeOperSetRetNode->setEnabled(false);
    for (const QTreeWidgetItem *each : m_tree.nodesInOrder()) {
        if (each->font(0).bold()) {
            ui->mnu_NodeOperSetRetNode->setEnabled(true);
            break;
        }
    }
    ui->mnu_NodeOperations->popup(ui->tvu->viewport()->mapToGlobal(position));
}

QString frmMain::statusText() const
{
    return m_statusPanel->text();
}

void frmMain::setStatusText(const QString &text)
{
    // Pointing somewhere else is looking on: an error shown meanwhile gives the panel back.
    if (text != m_statusPanel->text())
        ui->stts->clearMessage();
    m_statusPanel->setText(text);
}

void frmMain::chkShowProps_Click()
{
    m_properties.setShow(ui->chkShowProps_0->isChecked() ? NodePropertyList::Show::All
                         : ui->chkShowProps_1->isChecked() ? NodePropertyList::Show::NonEmpty
                                                           : NodePropertyList::Show::None);
    const QTreeWidgetItem *node = ui->tvu->currentItem();
    if (!node || !node->isSelected() || !m_hdoc)
        return;
    runHandler(this, HandlerOrigin::User, [&] {
        const int index = numberFromKey(NodeTree::keyOf(node));
        if (index < 0 || index >= m_hdoc->length())
            throw RuntimeError(ErrorNumber::InvalidCall);
        m_properties.ShowNodeProperties(m_hdoc.get(), index);
    });
}

void frmMain::cmdEditProps_Click()
{
    runHandler(this, HandlerOrigin::User, [this] {
        if (!m_queryControl)
            throw RuntimeError(ErrorNumber::ObjectRequired);
        if (EditAttributeFilters(*m_queryControl)) {
            chkShowProps_Click();
            matchesFollowQuery();
        }
    });
}

namespace {

// Screen sizes and the window's place are compared and stored in twips.
struct Twips {
    double dpiX;
    double dpiY;
    explicit Twips(const QWidget *window)
    {
        const QScreen *screen = window->screen() ? window->screen() : QGuiApplication::primaryScreen();
        dpiX = screen->logicalDotsPerInchX();
        dpiY = screen->logicalDotsPerInchY();
    }
    double x(int pixels) const { return WindowPlacement::pixelsToTwips(pixels, dpiX); }
    double y(int pixels) const { return WindowPlacement::pixelsToTwips(pixels, dpiY); }
    int pixelsX(double twips) const { return int(std::lround(WindowPlacement::twipsToPixels(twips, dpiX))); }
    int pixelsY(double twips) const { return int(std::lround(WindowPlacement::twipsToPixels(twips, dpiY))); }
};

} // namespace

WindowPlacement frmMain::placement() const
{
    const Twips twips(this);
    return {twips.x(x()), twips.y(y()), twips.x(width()), twips.y(height())};
}

void frmMain::restorePlacement()
{
    const Twips twips(this);
    const QRect screen = (this->screen() ? this->screen() : QGuiApplication::primaryScreen())->geometry();
    const WindowPlacement restored = WindowPlacement::load(placement()).clampedTo(twips.x(screen.width()), twips.y(screen.height()));
    move(twips.pixelsX(restored.left), twips.pixelsY(restored.top));
    resize(twips.pixelsX(restored.width), twips.pixelsY(restored.height));
    m_placementRestored = true;
}

void frmMain::resizeEvent(QResizeEvent *event)
{
    QMainWindow::resizeEvent(event);
    if (isMinimized() || !m_placementRestored)
        return;
    placement().save();
}

void frmMain::layoutPanes()
{
    runHandler(this, HandlerOrigin::Internal, [this] { m_properties.ShowNodeProperties(m_hdoc.get(), NodePropertyList::NoElement); });
    m_ratios.resetUnset();
    const int width = ui->horBalancer->width();
    const int browser = int(float(width) * m_ratios.horizontal);
    ui->horBalancer->setSizes({browser, width - browser});
    const int height = ui->verBalancer->height();
    const int tree = int(float(height) * m_ratios.vertical);
    ui->verBalancer->setSizes({tree, height - tree});
}
