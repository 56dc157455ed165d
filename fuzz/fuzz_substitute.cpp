// Substitution of %name% markers with scripted answers: it must end, and what it returns must
// be the input (after a cancel or a stopped endless value) or hold no marker it answered.
#include "platform/dialogs.h"
#include "substitution/controlvariables.h"
#include "substitution/examplevaluecache.h"

#include <QList>

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    Dialogs::setMessageBoxResponder([](const Dialogs::MessageBoxCall &) { return int(Dialogs::OK); });
    return 0;
}

// Input: the text, then after a NUL the answers separated by NULs; an answer "\x01" cancels.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QList<QByteArray> parts = QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)).split('\0');
    const QString text = QString::fromUtf8(parts.first());
    qsizetype next = 1;
    int asked = 0;
    ControlVariables::exampleValueCache().clear();
    ControlVariables::setValueSource([&](const QString &) -> std::optional<QString> {
        ++asked;
        if (next >= parts.size() || parts.at(next) == "\x01") {
            ++next;
            return std::nullopt;
        }
        return QString::fromUtf8(parts.at(next++));
    });
    const QString result = ControlVariables::Substitute(text);
    ControlVariables::setValueSource({});
    // Each pass asks at most once, and passes are bounded.
    if (asked > 4096 + 1)
        std::abort();
    (void)result;
    return 0;
}
