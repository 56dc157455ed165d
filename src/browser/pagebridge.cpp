#include "pagebridge.h"

#include <cmath>

namespace {

// A whole, non-negative index, or -1 for anything else the page might send.
int elementIndex(const QJsonValue &value)
{
    const double number = value.toDouble(-1);
    if (!value.isDouble() || number < 0 || number > 1e9 || number != std::floor(number))
        return -1;
    return int(number);
}

} // namespace

void PageBridge::pointerOver(const QJsonValue &sourceIndex)
{
    if (const int index = elementIndex(sourceIndex); index >= 0)
        emit elementPointed(index);
}

void PageBridge::pointerOut()
{
    emit pointerLeft();
}

void PageBridge::doubleClicked(const QJsonValue &sourceIndex)
{
    if (const int index = elementIndex(sourceIndex); index >= 0)
        emit elementDoubleClicked(index);
}

void PageBridge::selectionChanged(const QJsonValue &sourceIndex)
{
    if (const int index = elementIndex(sourceIndex); index >= 0)
        emit selectionMoved(index);
}

void PageBridge::viewportChanged()
{
    emit viewportMoved();
}
