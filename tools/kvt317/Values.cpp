#include "Values.h"

#include <IRGObject.h>

using namespace KVT317XML;

QString Hex32(quint32 value)
{
    return QStringLiteral("0x") +
           QString::number(value, 16).rightJustified(8, QLatin1Char('0')).toUpper();
}

QString AllowedNames(const MemberDescription& member)
{
    return member.enumeration->names.join(QStringLiteral(", "));
}
