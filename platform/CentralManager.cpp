#include "platform/CentralManager.h"

#include <QMetaEnum>

QString nameOf(CentralManager::State state)
{
    return QString::fromLatin1(
        QMetaEnum::fromType<CentralManager::State>().valueToKey(static_cast<int>(state)));
}
