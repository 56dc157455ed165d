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
    // Hides and deletes the Page Parser that EditQueryItem opened last, if any.
    void releaseLastPageParser();

private:
    // A plain guard, not an owner: the window must go before the application object does,
    // which a thread-exit destructor cannot promise.
    QPointer<QWidget> m_lastPageParser;
};
