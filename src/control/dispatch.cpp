#include "dispatch.h"

#include "platform/boundarytypes.h"
#include <tamberline/tamberlinecontrol.h>

#include <QMetaType>

#include <cmath>

namespace {

bool isNumber(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Float:
    case QMetaType::Double:
        return true;
    }
    return false;
}

// A whole number from a number or numeric text; fractions round half to even.
long long toWholeNumber(const QVariant &value)
{
    double number = 0;
    if (value.typeId() == QMetaType::Bool) {
        number = value.toBool() ? VTrue : VFalse;
    } else if (isNumber(value)) {
        number = value.toDouble();
    } else if (value.typeId() == QMetaType::QString) {
        bool ok = false;
        number = value.toString().trimmed().toDouble(&ok);
        if (!ok)
            throw RuntimeError(ErrorNumber::TypeMismatch);
    } else {
        throw RuntimeError(ErrorNumber::TypeMismatch);
    }
    if (!std::isfinite(number) || std::fabs(number) > 9.2e18)
        throw RuntimeError(ErrorNumber::Overflow);
    return static_cast<long long>(std::nearbyint(number));
}

QString toText(const QVariant &value)
{
    if (value.typeId() == QMetaType::QString)
        return value.toString();
    if (value.typeId() == QMetaType::Bool)
        return value.toBool() ? QStringLiteral("True") : QStringLiteral("False");
    if (isNumber(value))
        return value.toString();
    if (!value.isValid())
        return {};
    throw RuntimeError(ErrorNumber::TypeMismatch);
}

// Any number that is not zero is True, whatever its width or fraction.
bool toBoolean(const QVariant &value)
{
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    if (isNumber(value))
        return value.toDouble() != 0;
    if (value.typeId() == QMetaType::QString) {
        const QString text = value.toString().trimmed();
        if (text.compare(QStringLiteral("True"), Qt::CaseInsensitive) == 0)
            return true;
        if (text.compare(QStringLiteral("False"), Qt::CaseInsensitive) == 0)
            return false;
        bool ok = false;
        const double number = text.toDouble(&ok);
        if (ok)
            return number != 0;
    }
    throw RuntimeError(ErrorNumber::TypeMismatch);
}

QVariant vbool(bool value)
{
    return QVariant::fromValue<qint16>(toVBool(value));
}

QVariant getUrl1(Tamberline &c, const QVariantList &) { return c.Url1(); }
QVariant putUrl1(Tamberline &c, const QVariantList &a) { c.setUrl1(toText(a.at(0))); return {}; }
QVariant getAllowNav2(Tamberline &c, const QVariantList &) { return vbool(c.AllowNav2()); }
QVariant putAllowNav2(Tamberline &c, const QVariantList &a) { c.setAllowNav2(toBoolean(a.at(0))); return {}; }
QVariant getSearchText(Tamberline &c, const QVariantList &) { return c.SearchText(); }
QVariant putSearchText(Tamberline &c, const QVariantList &a) { c.setSearchText(toText(a.at(0))); return {}; }

QVariant getElemAttribs(Tamberline &c, const QVariantList &a)
{
    return c.ElemAttribs(checkedInt16(toWholeNumber(a.at(0))));
}

QVariant putElemAttribs(Tamberline &c, const QVariantList &a)
{
    c.setElemAttribs(checkedInt16(toWholeNumber(a.at(0))), toText(a.at(1)));
    return {};
}

QVariant clearAttribs(Tamberline &c, const QVariantList &) { c.ClearAttribs(); return {}; }
QVariant getNodeOffset(Tamberline &c, const QVariantList &) { return c.NodeOffset(); }

QVariant putNodeOffset(Tamberline &c, const QVariantList &a)
{
    c.setNodeOffset(checkedInt32(toWholeNumber(a.at(0))));
    return {};
}

QVariant editProperties(Tamberline &c, const QVariantList &) { return vbool(c.EditProperties()); }
QVariant editQueryItem(Tamberline &c, const QVariantList &) { return vbool(c.EditQueryItem()); }
QVariant editWizard(Tamberline &c, const QVariantList &) { return vbool(c.EditWizard()); }

constexpr DispatchMember members[] = {
    {"Url1", DispId::Url1, DispatchKind::PropertyGet, 0, getUrl1},
    {"Url1", DispId::Url1, DispatchKind::PropertyPut, 1, putUrl1},
    {"AllowNav2", DispId::AllowNav2, DispatchKind::PropertyGet, 0, getAllowNav2},
    {"AllowNav2", DispId::AllowNav2, DispatchKind::PropertyPut, 1, putAllowNav2},
    {"SearchText", DispId::SearchText, DispatchKind::PropertyGet, 0, getSearchText},
    {"SearchText", DispId::SearchText, DispatchKind::PropertyPut, 1, putSearchText},
    {"ElemAttribs", DispId::ElemAttribs, DispatchKind::PropertyGet, 1, getElemAttribs},
    {"ElemAttribs", DispId::ElemAttribs, DispatchKind::PropertyPut, 2, putElemAttribs},
    {"ClearAttribs", DispId::ClearAttribs, DispatchKind::Method, 0, clearAttribs},
    {"NodeOffset", DispId::NodeOffset, DispatchKind::PropertyGet, 0, getNodeOffset},
    {"NodeOffset", DispId::NodeOffset, DispatchKind::PropertyPut, 1, putNodeOffset},
    {"EditProperties", DispId::EditProperties, DispatchKind::Method, 0, editProperties},
    {"EditQueryItem", DispId::EditQueryItem, DispatchKind::Method, 0, editQueryItem},
    {"EditWizard", DispId::EditWizard, DispatchKind::Method, 0, editWizard},
};

bool reaches(DispatchKind requested, DispatchKind member)
{
    // A put reaches only puts; a read (method, get, or both flags) reaches methods and gets.
    if (member == DispatchKind::PropertyPut)
        return requested == member;
    return (static_cast<int>(requested) & (static_cast<int>(DispatchKind::Method) | static_cast<int>(DispatchKind::PropertyGet))) != 0;
}

} // namespace

std::span<const DispatchMember> dispatchTable()
{
    return members;
}

QVariant dispatchInvoke(Tamberline &control, int32_t dispid, DispatchKind kind, const QVariantList &args)
{
    for (const DispatchMember &member : members) {
        if (member.dispid != dispid || !reaches(kind, member.kind))
            continue;
        if (args.size() != member.argumentCount)
            throw RuntimeError(ErrorNumber::WrongArguments);
        return member.call(control, args);
    }
    throw RuntimeError(ErrorNumber::MemberNotFound);
}
