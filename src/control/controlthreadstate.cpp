#include "controlthreadstate.h"

#include <utility>

std::shared_ptr<ControlThreadState> ControlThreadState::current()
{
    thread_local const auto state = std::make_shared<ControlThreadState>();
    return state;
}

void ControlThreadState::setLastPageParser(QWidget *window)
{
    releaseLastPageParser();
    m_lastPageParser = window;
}

void ControlThreadState::releaseLastPageParser()
{
    const QPointer<QWidget> window = std::exchange(m_lastPageParser, nullptr);
    if (window && window->isVisible())
        window->hide();
}
