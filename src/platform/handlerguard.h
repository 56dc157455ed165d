#pragma once

#include <QString>

#include <functional>

class QWidget;

class RuntimeError;

// Every event handler of the windows runs through runHandler: a run-time error ends the
// handler where it struck and is reported, and never crosses the Qt event loop.
enum class HandlerOrigin {
    User,     // a click or key: the error is shown in a message box and the status bar
    Internal, // a timer, a page event: the status bar alone
};

// How long an error stays in a status bar, in milliseconds; it hides the bar's panels meanwhile.
constexpr int ErrorMessageTimeout = 15000;

// Text shown for an error, e.g. "Run-time error '6': Overflow".
QString runtimeErrorText(const RuntimeError &error);

// Returns false when the handler ended with a run-time error.
bool runHandler(QWidget *window, HandlerOrigin origin, const std::function<void()> &handler);
