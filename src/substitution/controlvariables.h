#pragma once

#include <QString>

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

// Asks for one value in the example-value dialog. False on Cancel, leaving value as it was.
bool promptForValue(const QString &message, const QString &title, const QString &defaultValue,
                    QString &value);

} // namespace ControlVariables
