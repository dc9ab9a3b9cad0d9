#include "platform/ProgramVersion.h"

QString programVersion()
{
    return QStringLiteral(QUILLO_VERSION);
}
