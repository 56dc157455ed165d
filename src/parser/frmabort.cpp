#include "frmabort.h"

#include "frmmain.h"
#include "platform/dialogs.h"
#include "browser/webpage.h"
#include "ui_frmabort.h"

#include <QCoreApplication>
#include <QDeadlineTimer>

frmAbort::frmAbort(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::frmAbort>())
{
    ui->setupUi(this);
    connect(ui->cmdAbort, &QPushButton::clicked, this, &frmAbort::cmdAbort_Click);
}

frmAbort::~frmAbort() = default;

void frmAbort::showFor(frmMain *owner)
{
    m_owner = owner;
    const QDeadlineTimer deadline(5000);
    while (m_owner && !m_owner->isVisible() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    if (!m_owner || !m_owner->isVisible())
        return;
    const QRect area = m_owner->geometry();
    move(area.left() + (area.width() - width()) / 2, area.top() + (area.height() - height()) / 2);
    setParent(m_owner, windowFlags());
    Dialogs::showModal(this);
}

void frmAbort::cmdAbort_Click()
{
    if (m_owner)
        m_owner->page()->triggerAction(QWebEnginePage::Stop);
    hide();
    m_owner.clear();
}
