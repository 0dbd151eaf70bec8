#pragma once

#include "KVT317XmlExport.h"

class QDebug;

namespace KVT317XML {

class Record;

#ifndef QT_NO_DEBUG_STREAM
/// @brief Prints a record for debugging: `qDebug() << range`.
///
/// The form is the record's object name followed by its set members in parentheses, in
/// document order (attributes first), each as `member=value`, separated by ", ":
///
///     FrequencyRange(StartFrequency=118000000.00, StopFrequency=137000000.00)
///
/// - Numbers, enumerations and date-times appear in their XML text form: enumerations by
///   name (`AntennaPol=VERT`), numbers with the record's decimals, date-times as
///   "yyyy-MM-ddThh:mm:ss,zzzZ".
/// - Texts are printed as QDebug prints a QString: quoted and escaped unless the stream is
///   set to noquote().
/// - An enumeration that holds a value outside its names prints as `(invalid)`.
/// - A child record prints in this same form (`FrequencyRange=FrequencyRange(...)`), a list
///   as its items in brackets (`KVT317SettingsDetail=[KVT317SettingsDetail(...), ...]`).
/// - Members that are not set are left out; a record with none set prints as `Name()`.
///
/// The stream's spacing setting is kept for what follows.
KVT317XML_EXPORT QDebug operator<<(QDebug debug, const Record& record);
#endif

} // namespace KVT317XML
