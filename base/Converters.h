#pragma once

#include "ReportBaseExport.h"

#include <QDateTime>
#include <QString>

namespace REPORTGENERATOR {

/// @brief The text form of date-times in XML and binary documents:
/// "yyyy-MM-ddThh:mm:ss,zzzZ", always in UTC, for example "2024-03-01T12:30:05,250Z".
class REPORTBASE_EXPORT Converters
{
public:
    /// The text form of a date-time, converted to UTC first. A null or invalid date-time
    /// gives a null string. Years outside 0 to 9999 are left to QDateTime's own formatting.
    static QString ToString(const QDateTime& dateTime);

    /// Reads "yyyy-MM-ddThh:mm:ss" followed by an optional fraction of one to three digits
    /// (after ',' or '.') and an optional 'Z'; the time is taken as UTC either way and the
    /// result is a UTC date-time. Any other text, or a date or time that does not exist,
    /// gives a null QDateTime.
    static QDateTime ToDateTime(const QString& text);

    /// What ToDateTime(QString::fromUtf8(utf8, size)) gives, without the string:
    /// every character of the form is ASCII, so any other byte refuses the text.
    static QDateTime ToDateTime(const char* utf8, qsizetype size);
};

} // namespace REPORTGENERATOR
