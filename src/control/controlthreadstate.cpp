#include "controlthreadstate.h"

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
    if (!m_lastPageParser)
        return;
    QWidget *window = m_lastPageParser;
    m_lastPageParser.clear();
    if (window->isVisible())
        window->hide();
    delete window;
}
