#pragma once

#include "KVT317XmlExport.h"
#include "RecordDescription.h"

#include <QString>
#include <QStringList>

namespace KVT317XML {

class Record;

/// @name How members are shown to people
/// The units, number forms and name lists that programs (the kvt317 tool's `show`, item
/// models, editors) use to show a member's value, in one place.
///@{

/// The unit a member's value is shown in (MemberDescription::unit): "Hz" for frequencies and
/// bandwidths (scaled by HertzText()), "ms" for times, "dBµV" and "dB" for levels, "%" and
/// "°"; empty for counts, enumerations, names and date-times.
KVT317XML_EXPORT QString MemberUnit(const RecordDescription& record,
                                    const MemberDescription& member);

/// A value in hertz (its text form) in a readable unit, exact to @p precision decimals of
/// hertz and without trailing zeros: "118 MHz", "162.025 MHz", "12.5 kHz". A text that is no
/// finite number is returned with " Hz" after it.
KVT317XML_EXPORT QString HertzText(const QString& text, int precision);

/// A member's value as `kvt317 show` writes it: "(unset)" for an unset member; a text as it
/// stands, "(null)" for a null one and "\"\"" for an empty one; an enumeration's name, or
/// "(invalid)" outside its names; a date-time in its XML form or "(none)"; numbers in their
/// XML text form followed by MemberUnit(), hertz scaled by HertzText(). Child records and
/// lists give an empty text.
KVT317XML_EXPORT QString ShownMemberValue(const Record& record, const MemberDescription& member);

/// The names of an enumeration member as they are shown to users
/// (MemberDescription::DisplayNames()): the record's `GetGUIXs()` (each name through the
/// record's translations) where it has one, the names themselves for enumerations that stand
/// for physical values. Empty for other members.
KVT317XML_EXPORT QStringList MemberDisplayNames(const RecordDescription& record,
                                                const MemberDescription& member);
///@}

} // namespace KVT317XML
