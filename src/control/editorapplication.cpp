#include "editorapplication.h"

#include "platform/runtimeerror.h"

#include <QApplication>
#include <QFile>
#include <QThread>

#include <xcb/xcb.h>

#include <optional>

#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString NoWindowSystemAdvice = QStringLiteral(
    "Set DISPLAY to a running X server, or QT_QPA_PLATFORM=offscreen to edit without a screen.");

bool xServerReachable()
{
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        return false;
    xcb_connection_t *connection = xcb_connect(nullptr, nullptr);
    const bool reachable = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return reachable;
}

bool waylandSocketPresent()
{
    QString socket = qEnvironmentVariable("WAYLAND_DISPLAY");
    if (socket.isEmpty())
        socket = QStringLiteral("wayland-0");
    if (!socket.startsWith(u'/')) {
        const QString runtimeDir = qEnvironmentVariable("XDG_RUNTIME_DIR");
        if (runtimeDir.isEmpty())
            return false;
        socket = runtimeDir + u'/' + socket;
    }
    struct stat info {};
    return ::stat(QFile::encodeName(socket).constData(), &info) == 0 && S_ISSOCK(info.st_mode);
}

bool canStart(const QString &platform)
{
    const QString name = platform.section(u':', 0, 0).trimmed();
    if (name.isEmpty())
        return false;
    if (name == QStringLiteral("xcb"))
        return xServerReachable();
    if (name.startsWith(QStringLiteral("wayland")))
        return waylandSocketPresent();
    // offscreen, minimal and vnc need no display; any other plugin is the host's own choice.
    return true;
}

} // namespace

QStringList platformCandidates(const QString &requested, const QString &sessionType)
{
    QStringList candidates = requested.split(u';', Qt::SkipEmptyParts);
    if (requested.isEmpty()) {
        candidates = {QStringLiteral("xcb"), QStringLiteral("wayland")};
        if (sessionType == QStringLiteral("wayland"))
            std::swap(candidates[0], candidates[1]);
    }
    return candidates;
}

namespace {

// The platform the application object is told to start: the first of QT_QPA_PLATFORM's list
// that can start, or of X and Wayland when it is not set. Naming it keeps Qt from trying one
// that fails and aborting.
std::optional<QByteArray> startablePlatform(QString *problem)
{
    const QString requested = qEnvironmentVariable("QT_QPA_PLATFORM");
    const QStringList candidates = platformCandidates(requested, qEnvironmentVariable("XDG_SESSION_TYPE"));
    for (const QString &candidate : candidates) {
        if (canStart(candidate))
            return candidate.toLocal8Bit();
    }
    *problem = requested.isEmpty()
        ? QStringLiteral("No window system to open a window on: no X server answers at DISPLAY "
                         "and there is no Wayland socket. ")
        : QStringLiteral("No window system to open a window on: no platform of QT_QPA_PLATFORM=\"%1\" "
                         "can start. ").arg(requested);
    *problem += NoWindowSystemAdvice;
    return std::nullopt;
}

void createApplication()
{
    QString problem;
    const std::optional<QByteArray> platform = startablePlatform(&problem);
    if (!platform)
        throw RuntimeError(ErrorNumber::InvalidCall, problem);
    // Lives as long as the process: a host without Qt never tears it down.
    static QByteArray name("tamberline"), option("-platform"), chosen;
    chosen = *platform;
    static int argc = 3;
    static char *argv[] = {name.data(), option.data(), chosen.data(), nullptr};
    new QApplication(argc, argv);
}

} // namespace

QString windowSystemProblem()
{
    QString problem;
    startablePlatform(&problem);
    return problem;
}

void prepareEditorApplication(const QObject &control)
{
    QCoreApplication *application = QCoreApplication::instance();
    if (application) {
        if (control.thread() != application->thread() || QThread::currentThread() != application->thread())
            throw RuntimeError(ErrorNumber::InvalidCall,
                               QStringLiteral("Editors open only on the thread that runs the Qt application object; "
                                              "this control belongs to another thread"));
        if (!qobject_cast<QApplication *>(application))
            throw RuntimeError(ErrorNumber::InvalidCall,
                               QStringLiteral("The host's Qt application object cannot show windows: editors need a "
                                              "QApplication"));
        return;
    }
    // Qt expects its application object on the thread that runs main().
    if (gettid() != getpid() || control.thread() != QThread::currentThread())
        throw RuntimeError(ErrorNumber::InvalidCall,
                           QStringLiteral("Editors open only on the host's main thread; this control belongs to "
                                          "another thread"));
    createApplication();
}
