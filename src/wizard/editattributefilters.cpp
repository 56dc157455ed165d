#include "editattributefilters.h"

#include "control/attribwalk.h"
#include "control/controlaccess.h"
#include <tamberline/tamberlinecontrol.h>
#include "frmaddprop.h"
#include "platform/boundarytypes.h"
#include "platform/dialogs.h"
#include "document/textrules.h"

bool EditAttributeFilters(Tamberline &control)
{
    frmAddProp editor;
    for (const QString &entry : walkElemAttribs(control))
        editor.SetAttributeLine(-1, entry);
    Dialogs::showModal(&editor);
    if (editor.Confirmed()) {
        control.ClearAttribs();
        for (long long i = 0;; ++i) {
            const QString line = editor.GetAttributeLine(checkedInt16(i));
            if (trimBlanks(line).isEmpty())
                break;
            appendAttrib(control, line);
        }
    }
    return editor.Confirmed();
}
