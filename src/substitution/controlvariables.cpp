#include "controlvariables.h"

#include "examplevaluecache.h"
#include "frminputvariable.h"
#include "platform/dialogs.h"

#include <QPointer>
#include <QSet>

#include <algorithm>

namespace ControlVariables {

namespace {

struct ThreadState {
    ExampleValueCache cache;
    bool markerFound = false;
    // Kept for reuse; not owned here, as it must not outlive the application object.
    QPointer<frmInputVariable> prompt;
    std::function<std::optional<QString>(const QString &)> valueSource;
};

ThreadState &state()
{
    thread_local ThreadState threadState;
    return threadState;
}

// Beyond these the substitution is taken to run without end; no address or search text comes
// near them, and they keep the cost of finding out small.
constexpr int PassLimit = 4096;
constexpr qsizetype GrowthLimit = 1 << 16;

void reportEndlessSubstitution(const QString &name)
{
    const QString crlf = QStringLiteral("\r\n");
    Dialogs::messageBox(QStringLiteral("The example value for %") + name
                            + QStringLiteral("% brings the marker back, so substitution would never end.")
                            + crlf + QStringLiteral("The text is shown with its markers; you will be asked for that value again."),
                        Dialogs::OkOnly | Dialogs::Exclamation, QStringLiteral("Property Substitution"));
}

} // namespace

QString ExtractMarkerName(const QString &text)
{
    const qsizetype first = text.indexOf(u'%');
    if (first < 0)
        return {};
    state().markerFound = true;
    const qsizetype second = text.indexOf(u'%', first + 1);
    if (second < 0)
        return {};
    return text.mid(first + 1, second - first - 1);
}

QString Substitute(const QString &text)
{
    ExampleValueCache &cache = state().cache;
    QString working = text;
    QSet<size_t> seen{qHash(working)};
    const qsizetype sizeLimit = std::max(GrowthLimit, 2 * text.size());
    for (int pass = 1;; ++pass) {
        const QString name = ExtractMarkerName(working);
        if (name.isEmpty())
            return working;
        const QString key = ExampleValueCache::keyFor(name);
        QString value = cache.value(key);
        if (value.isEmpty()) {
            if (const auto &source = state().valueSource) {
                const std::optional<QString> given = source(name);
                if (!given)
                    return text;
                value = *given;
            } else {
                const QString message = QStringLiteral("Please enter an example value for: %") + name + u'%';
                if (!promptForValue(message, QStringLiteral("Property Substitution"), QString(), value))
                    return text;
            }
            cache.remove(key);
            cache.add(key, value);
        }
        working.replace(u'%' + name + u'%', value);
        // With every value used so far fixed, a text seen before means a cycle.
        const size_t fingerprint = qHash(working);
        if (seen.contains(fingerprint) || working.size() > sizeLimit || pass > PassLimit) {
            cache.remove(key);
            reportEndlessSubstitution(name);
            return text;
        }
        seen.insert(fingerprint);
    }
}

ExampleValueCache &exampleValueCache()
{
    return state().cache;
}

void setValueSource(std::function<std::optional<QString>(const QString &name)> source)
{
    state().valueSource = std::move(source);
}

bool markerFound()
{
    return state().markerFound;
}

void setMarkerFound(bool found)
{
    state().markerFound = found;
}

bool promptForValue(const QString &message, const QString &title, const QString &defaultValue,
                    QString &value)
{
    QPointer<frmInputVariable> &prompt = state().prompt;
    if (!prompt)
        prompt = new frmInputVariable;
    return prompt->prompt(message, title, defaultValue, value);
}

} // namespace ControlVariables
