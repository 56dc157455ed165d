#pragma once

#include <tamberline/tamberlinecontrol.h>

#include <QVariant>
#include <QVariantList>

#include <cstdint>
#include <span>

// Dispatch identifiers of the control's interface.
namespace DispId {
constexpr int32_t NodeOffset = 0x68030000;
constexpr int32_t ElemAttribs = 0x68030001;
constexpr int32_t SearchText = 0x68030002;
constexpr int32_t AllowNav2 = 0x68030003;
constexpr int32_t Url1 = 0x68030004;
constexpr int32_t ClearAttribs = 0x60030005;
constexpr int32_t EditProperties = 0x60030006;
constexpr int32_t EditQueryItem = 0x60030007;
constexpr int32_t EditWizard = 0x60030008;
} // namespace DispId

struct DispatchMember {
    const char *name;
    int32_t dispid;
    DispatchKind kind;
    int argumentCount;
    QVariant (*call)(Tamberline &control, const QVariantList &args);
};

// The fourteen members in the interface's order.
std::span<const DispatchMember> dispatchTable();

// Calls a member by identifier. Arguments are converted the way a scripting host expects
// (numbers and text interchangeable where they convert; any non-zero number is True). Results
// are QString, qint32, or a Boolean as the 16-bit VBool in a qint16 (toInt() gives -1 for True);
// no other member result is 16 bits wide. Unknown members fail with 438, a wrong argument count
// with 450, a value that does not convert with 13, one out of range with 6.
QVariant dispatchInvoke(Tamberline &control, int32_t dispid, DispatchKind kind, const QVariantList &args);
