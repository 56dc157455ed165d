#pragma once

#include "querydefinition.h"

#include <QPointer>
#include <QWidget>

#include <memory>

// What the control keeps per thread: every control on a thread shares the query, a control on
// another thread has its own.
class ControlThreadState
{
public:
    QueryDefinition query;

    // The state of the calling thread, created on first use.
    static std::shared_ptr<ControlThreadState> current();

    QWidget *lastPageParser() const { return m_lastPageParser; }
    void setLastPageParser(QWidget *window);
    // Hides the Page Parser that EditQueryItem opened last, if any, and forgets it. It is never
    // deleted here: its modal loop may still be running further down the stack, and the
    // EditQueryItem call that made it deletes it once that loop has returned.
    void releaseLastPageParser();

private:
    // A guard, not an owner (see above); a thread-exit destructor could not delete it anyway,
    // as the window must go before the application object does.
    QPointer<QWidget> m_lastPageParser;
};
