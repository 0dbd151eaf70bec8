#pragma once

// The text forms of member values, shared by XML, binary, checks and reflection.

#include "RecordStorage.h"

namespace KVT317XML::text {

// "%1" with the member's field width and decimals, fixed notation, blank fill.
QString Number(double value, const MemberDescription& member);
// Plain decimal.
QString Integer(int value);
// The enumerator's name, or a null text outside the table.
QString EnumName(const MemberDescription& member, int value);
// The member's current value as XML and binary carry it (empty for records and lists).
QString MemberText(const MemberRow& row, const StorageBlock& block);
// Calls use(text) with the member's text form; stored texts and enumeration names are
// passed as they are held, without a copy.
template <class Use> void WithText(const MemberRow& row, const StorageBlock& block, Use use)
{
    if (row.description.kind == MemberKind::Text) {
        use(At<QString>(&block, row.valueOffset));
    } else if (row.description.kind == MemberKind::Enumeration) {
        const QStringList& names = row.description.enumeration->names;
        const int value = EnumAt(&block, row.valueOffset);
        use(value >= 0 && value < names.size() ? names.at(value) : QString());
    } else {
        use(MemberText(row, block));
    }
}
// object name + ": Please set <member> properly."
QString PleaseSet(const QString& objectName, const QString& member);

} // namespace KVT317XML::text
