#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QByteArrayView>

// Most of a site's CSS sets colours, sizes and fonts, which innerText does not depend on; the
// CSS parser builds a structure for every token it reads. So the few rules that can change
// innerText are cut out of a style sheet before it is parsed.
namespace CssRules {

// Whether the declarations name one of the properties innerText depends on: display,
// visibility, text-transform, white-space, float or position (in any letter case).
bool mentionsTextProperty(QByteArrayView declarations);

// The style rules of a sheet whose declarations mention such a property, one by one in the
// sheet's order. At-rules (@media and the like) are left out with their blocks, since the reader
// does not apply them.
QByteArrayList textRules(QByteArrayView css);

} // namespace CssRules
