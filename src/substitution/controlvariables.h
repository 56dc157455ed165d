#pragma once

#include <QString>

#include <functional>
#include <optional>

class ExampleValueCache;

// Fills %name% markers with example values the user types once per name, so the live page can
// be shown while the stored query keeps its markers. All state is per thread.
namespace ControlVariables {

// The name of the first marker, or the empty text. Sets the marker-found flag as soon as the
// text holds a "%", closed or not.
QString ExtractMarkerName(const QString &text);

// The text with every marker replaced by its example value, prompting for names that have
// none. Cancel returns the input unchanged. A value that brings its own marker back would
// substitute forever: that is stopped, the user is told and the input is returned.
QString Substitute(const QString &text);

ExampleValueCache &exampleValueCache();
bool markerFound();
void setMarkerFound(bool found);

// Where the values of this thread come from instead of the dialog, for runs without a user:
// the function gets a marker name and returns its value, or nothing to cancel. An empty
// function brings the dialog back.
void setValueSource(std::function<std::optional<QString>(const QString &name)> source);

// Asks for one value in the example-value dialog. False on Cancel, leaving value as it was.
bool promptForValue(const QString &message, const QString &title, const QString &defaultValue,
                    QString &value);

} // namespace ControlVariables
