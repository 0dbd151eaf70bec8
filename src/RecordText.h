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
// object name + ": Please set <member> properly."
QString PleaseSet(const QString& objectName, const QString& member);

} // namespace KVT317XML::text
