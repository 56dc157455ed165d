#include "hostwindow.h"

#include "browserloader.h"
#include "control/attribwalk.h"
#include "platform/dialogs.h"
#include "platform/handlerguard.h"
#include "platform/runtimeerror.h"
#include "document/textrules.h"
#include "pagesource.h"
#include "parser/wildcardmatcher.h"
#include "queryrunner.h"
#include "ui_hostwindow.h"

#include <QCloseEvent>
#include <QFileDialog>
#include <QFileInfo>

#include <algorithm>
#include <concepts>
#include <exception>
#include <limits>

namespace {

const QString queryFilter = QStringLiteral("Query files (*.json);;All files (*)");

// Run-time errors are shown as the control shows them; anything else a handler throws is shown
// as its text. Either way the handler ends there and the window goes on.
void guard(HostWindow *window, const std::function<void()> &handler)
{
    try {
        runHandler(window, HandlerOrigin::User, handler);
    } catch (const std::exception &error) {
        const QString text = QString::fromUtf8(error.what());
        window->statusBar()->showMessage(text);
        Dialogs::messageBox(text, Dialogs::OkOnly | Dialogs::Critical);
    }
}

template<typename Handler>
auto guarded(HostWindow *window, Handler handler)
{
    // Constrained, so that connect() finds how many of a signal's arguments the handler takes.
    return [window, handler]<typename... Arguments>(const Arguments &...arguments)
        requires std::invocable<const Handler &, const Arguments &...>
    { guard(window, [&] { handler(arguments...); }); };
}

// Entries after the first blank one, which no search reads, that are not blank themselves.
qsizetype unreadFilters(const QStringList &stored)
{
    const qsizetype read = walkedEntries(stored).size();
    return std::count_if(stored.begin() + read, stored.end(), [](const QString &entry) { return !trimBlanks(entry).isEmpty(); });
}

constexpr int StaticIndex = 1; // of cboEngine

// The query on the page read gives; whatever goes wrong, the query's markers included, is the
// page's error. A read giving null leaves the result empty.
RunResult evaluated(const std::function<DocumentPtr()> &read, const RunnableQuery &query, const QString &page = {})
{
    RunResult result;
    try {
        const DocumentPtr document = read();
        if (!document)
            return result;
        result = EvaluateQuery(*document, query, WildcardMatcher());
        result.page = page;
    } catch (const PageError &error) {
        result.reason = QStringLiteral("page-error");
        result.message = error.message();
    } catch (const RuntimeError &error) {
        result.reason = QStringLiteral("page-error");
        result.message = runtimeErrorText(error);
    } catch (const std::bad_alloc &) {
        result.reason = QStringLiteral("page-error");
        result.message = HostWindow::tr("not enough memory to read the page");
    }
    return result;
}

} // namespace

HostWindow::HostWindow(QWidget *parent)
    : QMainWindow(parent)
    , ui(std::make_unique<Ui::HostWindow>())
{
    ui->setupUi(this);
    ui->spnNodeOffset->setRange(std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max());

    connect(ui->txtUrl1, &QLineEdit::textEdited, this, guarded(this, [this](const QString &text) {
        m_control.setUrl1(text);
        updateTitle();
    }));
    connect(ui->chkAllowNav2, &QCheckBox::toggled, this, guarded(this, [this](bool checked) {
        m_control.setAllowNav2(checked);
        updateTitle();
    }));
    connect(ui->txtSearchText, &QLineEdit::textEdited, this, guarded(this, [this](const QString &text) {
        m_control.setSearchText(text);
        updateTitle();
    }));
    connect(ui->spnNodeOffset, &QSpinBox::valueChanged, this, guarded(this, [this](int value) {
        m_control.setNodeOffset(value);
        updateTitle();
    }));
    connect(ui->txtElemAttribs, &QPlainTextEdit::textChanged, this, guarded(this, [this] {
        if (m_showing)
            return;
        m_control.ClearAttribs();
        // A blank line would end every reader's walk over the list, so it is not stored.
        const QStringList lines = ui->txtElemAttribs->toPlainText().split(u'\n');
        for (const QString &line : lines) {
            if (!line.trimmed().isEmpty())
                m_control.setElemAttribs(-1, line);
        }
        updateTitle();
    }));

    connect(ui->cmdEditQueryItem, &QPushButton::clicked, this, [this] { editQuery(&Tamberline::EditQueryItem); });
    connect(ui->cmdEditWizard, &QPushButton::clicked, this, [this] { editQuery(&Tamberline::EditWizard); });
    connect(ui->cmdEditProperties, &QPushButton::clicked, this, [this] { editQuery(&Tamberline::EditProperties); });

    connect(ui->cmdRun, &QPushButton::clicked, this, guarded(this, [this] { runQuery(); }));
    connect(ui->actOpen, &QAction::triggered, this, guarded(this, [this] {
        if (!maybeSave())
            return;
        const QString path = QFileDialog::getOpenFileName(this, tr("Open Query"), QFileInfo(m_path).absolutePath(), queryFilter);
        if (!path.isEmpty())
            openFile(path);
    }));
    connect(ui->actSave, &QAction::triggered, this, guarded(this, [this] {
        if (m_path.isEmpty())
            ui->actSaveAs->trigger();
        else
            saveFile(m_path);
    }));
    connect(ui->actSaveAs, &QAction::triggered, this, guarded(this, [this] {
        const QString path = QFileDialog::getSaveFileName(this, tr("Save Query"), m_path, queryFilter);
        if (!path.isEmpty())
            saveFile(path);
    }));
    connect(ui->actExit, &QAction::triggered, this, &QWidget::close);

    m_saved = QueryFile::readFrom(m_control);
    showQuery();
}

HostWindow::~HostWindow() = default;

bool HostWindow::openFile(const QString &path)
{
    QueryFile query;
    try {
        query = QueryFile::load(path);
    } catch (const QueryFileError &error) {
        Dialogs::messageBox(error.message(), Dialogs::OkOnly | Dialogs::Critical, tr("Open Query"));
        return false;
    }
    bool opened = false;
    guard(this, [&] {
        query.applyTo(m_control);
        cancelRun(); // its answer would be shown beside another query
        m_path = path;
        m_saved = QueryFile::readFrom(m_control);
        showQuery();
        opened = true;
        const QString name = QDir::toNativeSeparators(path);
        const qsizetype unread = unreadFilters(query.ElemAttribs);
        statusBar()->showMessage(unread == 0 ? tr("Opened %1").arg(name)
                                             : tr("Opened %1. Filter %2 is blank: no search reads the %n filter(s) after it.", nullptr,
                                                  int(unread))
                                                   .arg(name)
                                                   .arg(walkedEntries(query.ElemAttribs).size() + 1));
    });
    return opened;
}

bool HostWindow::saveFile(const QString &path)
{
    try {
        const QueryFile query = QueryFile::readFrom(m_control);
        query.save(path);
        m_path = path;
        m_saved = query;
        updateTitle();
        statusBar()->showMessage(tr("Saved %1").arg(QDir::toNativeSeparators(path)));
        return true;
    } catch (const std::exception &error) { // the query file's own errors among them
        Dialogs::messageBox(QString::fromUtf8(error.what()), Dialogs::OkOnly | Dialogs::Critical, tr("Save Query"));
        return false;
    }
}

bool HostWindow::isModified() const
{
    return QueryFile::readFrom(m_control) != m_saved;
}

void HostWindow::closeEvent(QCloseEvent *event)
{
    if (maybeSave()) {
        cancelRun();
        event->accept();
    } else
        event->ignore();
}

void HostWindow::showQuery()
{
    m_showing = true;
    const QueryFile query = QueryFile::readFrom(m_control);
    ui->txtUrl1->setText(query.Url1);
    ui->chkAllowNav2->setChecked(query.AllowNav2);
    ui->txtSearchText->setText(query.SearchText);
    ui->spnNodeOffset->setValue(query.NodeOffset);
    ui->txtElemAttribs->setPlainText(query.ElemAttribs.join(u'\n'));
    m_showing = false;
    updateTitle();
}

void HostWindow::editQuery(bool (Tamberline::*edit)())
{
    guard(this, [&] {
        if ((m_control.*edit)())
            showQuery();
    });
}

void HostWindow::runQuery()
{
    cancelRun();
    const Engine engine = ui->cboEngine->currentIndex() == StaticIndex ? Engine::Static : Engine::Browser;
    RunnableQuery query;
    PageSource source;
    const RunResult result = evaluated([&]() -> DocumentPtr {
        // Markers are filled as in the designer: example values asked once and remembered.
        const QString folder = m_path.isEmpty() ? QString() : QFileInfo(m_path).absolutePath();
        query = RunnableQuery::substituted(QueryFile::readFrom(m_control), folder);
        source = PageSource::fromAddress(query.url);
        if (engine == Engine::Browser)
            return nullptr;
        return readStaticDocument(source);
    }, query);
    if (engine == Engine::Browser && result.reason.isEmpty())
        runInBrowser(query, source);
    else
        showResult(result, engine);
}

bool HostWindow::isRunning() const
{
    return m_browser && m_browser->isBusy();
}

void HostWindow::runInBrowser(const RunnableQuery &query, const PageSource &source)
{
    if (!m_browser)
        m_browser = std::make_unique<BrowserLoader>();
    // The window stays usable meanwhile: the loader's time limits end a run that hangs.
    setCursor(Qt::BusyCursor);
    for (QLabel *label : {ui->lblFound, ui->lblReturned, ui->lblMatches, ui->lblScripted})
        label->setText(QStringLiteral("-"));
    ui->txtResultText->clear();
    statusBar()->showMessage(tr("Reading %1 in the browser...").arg(source.name));
    m_browser->start(source, [this, query, name = source.name](DocumentPtr document, const QString &error) {
        unsetCursor();
        guard(this, [&] {
            showResult(evaluated([&] {
                if (!document)
                    throw PageError(error);
                return document;
            }, query, name), Engine::Browser);
        });
    });
}

void HostWindow::cancelRun()
{
    if (m_browser)
        m_browser->cancel();
    unsetCursor();
}

void HostWindow::showResult(const RunResult &result, Engine engine)
{
    const auto element = [&](int index) {
        return index < 0 ? tr("none") : tr("element %1").arg(index);
    };
    ui->lblFound->setText(element(result.found));
    ui->lblReturned->setText(result.returned < 0 ? element(-1) : tr("element %1, %2").arg(result.returned).arg(result.tagName));
    ui->lblMatches->setText(result.found < 0 && result.matches == 0 ? QStringLiteral("0")
                            : result.matches > 1                   ? tr("%1 (the search text and filters fit several elements)").arg(result.matches)
                                                                   : QString::number(result.matches));
    ui->txtResultText->setPlainText(result.succeeded() ? result.text : result.reason + QStringLiteral(": ") + result.message);
    ui->lblScripted->setText(!result.scripted        ? QStringLiteral("-")
                             : !*result.scripted     ? tr("none")
                             : engine == Engine::Static ? tr("the page runs scripts; the static reader ran none of them")
                                                        : tr("the page runs scripts; the browser ran them before the search"));
    QString status = result.succeeded() ? tr("The query returns element %1").arg(result.returned)
                                        : tr("The query returns nothing: %1").arg(result.reason);
    if (engine == Engine::Static && result.mayBeScriptsDoing())
        status += tr(". The page runs scripts: run it in the browser to see what they add.");
    statusBar()->showMessage(status);
}

void HostWindow::updateTitle()
{
    const QString name = m_path.isEmpty() ? tr("Untitled") : QFileInfo(m_path).fileName();
    setWindowTitle(tr("%1[*] - Tamberline").arg(name));
    setWindowModified(isModified());
}

bool HostWindow::maybeSave()
{
    if (!isModified())
        return true;
    const QString crlf = QStringLiteral("\r\n");
    const int answer = Dialogs::messageBox(tr("The query has unsaved changes.") + crlf + tr("Would you like to save them?"),
                                           Dialogs::YesNoCancel | Dialogs::Exclamation, tr("Tamberline"));
    if (answer == Dialogs::Yes) {
        ui->actSave->trigger();
        return !isModified();
    }
    return answer == Dialogs::No;
}
