#include <tamberline/tamberlinecontrol.h>

#include "attribwalk.h"
#include "controlaccess.h"
#include "controlthreadstate.h"
#include "dispatch.h"
#include "editorapplication.h"
#include "parser/frmmain.h"
#include "platform/conversions.h"
#include "platform/dialogs.h"
#include "platform/runtimeerror.h"
#include "browser/webpage.h"
#include "wizard/editattributefilters.h"
#include "wizard/frmwizard.h"

#include <QLineEdit>
#include <QListWidget>

#include <cstring>
#include <memory>
#include <utility>

namespace {
thread_local QString editQueryItemFailure;
} // namespace

Tamberline::Tamberline(QObject *parent)
    : QObject(parent)
    , m_state(ControlThreadState::current())
{
}

Tamberline::~Tamberline()
{
    m_state->releaseLastPageParser();
}

QString Tamberline::Url1() const { return m_state->query.Url1; }
void Tamberline::setUrl1(const QString &value) { m_state->query.Url1 = value; }
bool Tamberline::AllowNav2() const { return m_state->query.AllowNav2; }
void Tamberline::setAllowNav2(bool value) { m_state->query.AllowNav2 = value; }
QString Tamberline::SearchText() const { return m_state->query.SearchText; }
void Tamberline::setSearchText(const QString &value) { m_state->query.SearchText = value; }
QString Tamberline::ElemAttribs(qint16 index) const { return m_state->query.attrib(index); }

void Tamberline::setElemAttribs(qint16 index, const QString &text)
{
    m_state->query.putAttrib(index, text);
}

void Tamberline::ClearAttribs() { m_state->query.clearAttribs(); }
qint32 Tamberline::NodeOffset() const { return m_state->query.NodeOffset; }
void Tamberline::setNodeOffset(qint32 value) { m_state->query.NodeOffset = value; }

bool Tamberline::EditProperties()
{
    prepareEditorApplication(*this);
    return EditAttributeFilters(*this);
}

bool Tamberline::EditQueryItem()
{
    prepareEditorApplication(*this);
    // Held here rather than reached through this: a host timer may end this control while
    // the window is open, and the call must still return.
    const std::shared_ptr<ControlThreadState> state = m_state;
    // Every failure becomes False: the host is shown nothing, but may ask why.
    try {
        const QString problem = browserSandboxProblem();
        if (!problem.isEmpty()) {
            editQueryItemFailure = problem;
            return false;
        }
        state->releaseLastPageParser();
        const auto parser = std::make_unique<frmMain>();
        state->setLastPageParser(parser.get());
        parser->SetQueryControl(this);
        parser->EditQuery();
        editQueryItemFailure.clear();
        return true;
    } catch (const RuntimeError &error) {
        editQueryItemFailure = QString::fromUtf8(error.what());
    } catch (const std::exception &error) {
        editQueryItemFailure = QString::fromLocal8Bit(error.what());
    }
    return false;
}

bool Tamberline::EditWizard()
{
    prepareEditorApplication(*this);
    // No error trap: a failure reaches the host, and what was written before it stays.
    frmWizard wizard;
    wizard.PrepareWizard();
    wizard.txtURL()->setText(Url1());
    wizard.txtSearchText()->setText(SearchText());
    wizard.txtSearchTextOffst()->setText(QString::number(NodeOffset()));
    for (const QString &entry : walkElemAttribs(*this))
        wizard.lstProps()->addItem(entry);
    Dialogs::showModal(&wizard);
    if (wizard.Confirmed()) {
        setUrl1(wizard.txtURL()->text());
        setSearchText(wizard.txtSearchText()->text());
        setNodeOffset(convertToInt32(wizard.txtSearchTextOffst()->text()));
        ClearAttribs();
        // Every line, blank ones too: unlike the other walks this one counts lines.
        for (int i = 0; i < wizard.lstProps()->count(); ++i)
            appendAttrib(*this, wizard.lstProps()->item(i)->text());
    }
    return wizard.Confirmed();
}

QVariant Tamberline::invoke(int32_t dispid, DispatchKind kind, const QVariantList &args)
{
    return dispatchInvoke(*this, dispid, kind, args);
}

QueryDefinition &ControlAccess::query(const Tamberline &control) { return control.m_state->query; }
QStringList storedAttribs(const Tamberline &control) { return ControlAccess::query(control).storedAttribs(); }
void removeStoredAttrib(Tamberline &control, int position) { ControlAccess::query(control).removeStoredAttrib(position); }

QString takeEditQueryItemFailure()
{
    return std::exchange(editQueryItemFailure, {});
}

bool isQueryControl(const QObject *object)
{
    return object && std::strcmp(object->metaObject()->className(), "Tamberline") == 0;
}
