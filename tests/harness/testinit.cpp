#include <QCoreApplication>

// Runs before any test's application object: the embedded browser needs a shared graphics
// context, which can only be asked for before the application exists.
static void shareGraphicsContexts()
{
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
}
Q_CONSTRUCTOR_FUNCTION(shareGraphicsContexts)
