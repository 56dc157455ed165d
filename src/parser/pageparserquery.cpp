#include "pageparserquery.h"

#include "control/attribwalk.h"
#include "control/controlaccess.h"
#include "platform/conversions.h"
#include "document/textcase.h"
#include "document/textrules.h"
#include "substitution/controlvariables.h"

namespace {

QString comparable(const QString &text)
{
    return toUpperKeepingLength(trimBlanks(text));
}

// An entry splits at its first "="; one without "=" is all name.
std::pair<QString, QString> splitEntry(const QString &entry)
{
    const qsizetype at = entry.indexOf(u'=');
    if (at < 0)
        return {comparable(entry), QString()};
    return {comparable(entry.left(at)), comparable(entry.mid(at + 1))};
}

} // namespace

bool ChangesDetected(Tamberline *control, const PageParserFields &fields)
{
    if (!isQueryControl(control))
        return false;
    if (ControlVariables::Substitute(control->Url1()) != fields.url
        || ControlVariables::Substitute(control->SearchText()) != fields.searchText
        || QString::number(control->NodeOffset()) != fields.nodeOffset)
        return false;

    const QStringList entries = walkElemAttribs(*control);
    for (const PageParserFields::Row &row : fields.rows) {
        if (!row.checked)
            continue;
        const QString name = comparable(row.name);
        const auto match = std::find_if(entries.begin(), entries.end(),
                                        [&](const QString &entry) { return splitEntry(entry).first == name; });
        if (match == entries.end() || splitEntry(*match).second != comparable(row.value))
            return true;
    }
    for (const QString &entry : entries) {
        const std::pair<QString, QString> split = splitEntry(entry);
        const auto row = std::find_if(fields.rows.begin(), fields.rows.end(), [&](const PageParserFields::Row &r) {
            return r.checked && comparable(r.name) == split.first;
        });
        if (row == fields.rows.end() || comparable(row->value) != split.second)
            return true;
    }
    return false;
}

void WriteQueryBack(Tamberline &control, const PageParserFields &fields)
{
    const QString url = trimBlanks(fields.url);
    if (ControlVariables::Substitute(control.Url1()) != url)
        control.setUrl1(url);
    if (ControlVariables::Substitute(control.SearchText()) != fields.searchText)
        control.setSearchText(fields.searchText);
    control.setNodeOffset(convertToInt32(fields.nodeOffset));
    control.ClearAttribs();
    for (const PageParserFields::Row &row : fields.rows) {
        if (row.checked)
            appendAttrib(control, row.name + u'=' + row.value);
    }
}
