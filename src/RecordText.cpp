#include "RecordText.h"

#include <Numbers.h>

namespace KVT317XML::text {

QString Number(double value, const MemberDescription& member)
{
    return REPORTGENERATOR::Numbers::Fixed(value, member.fieldWidth, member.precision);
}

QString Integer(int value)
{
    return QString::number(value);
}

QString EnumName(const MemberDescription& member, int value)
{
    const QStringList& names = member.enumeration->names;
    return value >= 0 && value < names.size() ? names.at(value) : QString();
}

QString MemberText(const MemberRow& row, const StorageBlock& block)
{
    const auto toText = row.kind->value.toText;
    return toText ? toText(row.description, SlotOf(block, row)) : QString();
}

QString PleaseSet(const QString& objectName, const QString& member)
{
    return objectName +
           QStringLiteral(": Please set %1 properly.").arg(member, 0, QLatin1Char(' '));
}

} // namespace KVT317XML::text

namespace KVT317XML {

const MemberDescription* RecordDescription::FindTag(quint32 tag) const
{
    for (const MemberDescription& member : members)
        if (member.tag == tag)
            return &member;
    return nullptr;
}

const MemberDescription* RecordDescription::FindName(const QString& memberName) const
{
    for (const MemberDescription& member : members)
        if (member.name == memberName)
            return &member;
    return nullptr;
}

} // namespace KVT317XML
