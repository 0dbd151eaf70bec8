#pragma once

#include "ReportBaseExport.h"

#include <QByteArray>
#include <QString>
#include <QStringView>

/// @file
/// @internal Number texts as QString reads and writes them, for the libraries' own read and
/// write paths and their tests; not part of the installed interface.

namespace REPORTGENERATOR::Numbers {

/// @internal QString::toDouble(ok) of @p text, to the bit: plain decimal texts (blanks
/// around them, a sign, a point, an exponent) are read with std::from_chars; every other text
/// (non-ASCII characters, "inf", "nan", hex, separators, overflow, underflow) is read by
/// QString::toDouble itself.
REPORTBASE_EXPORT double ToDouble(QStringView text, bool* ok = nullptr);

/// @internal The same for @p size bytes of UTF-8 at @p utf8: what
/// QString::fromUtf8(utf8, size).toDouble(ok) gives.
REPORTBASE_EXPORT double ToDouble(const char* utf8, qsizetype size, bool* ok = nullptr);

/// @internal QString::toFloat(ok) of @p text, to the bit, with its range check: a finite
/// number outside float's range is refused.
REPORTBASE_EXPORT float ToFloat(QStringView text, bool* ok = nullptr);

/// @internal What QString::fromUtf8(utf8, size).toFloat(ok) gives.
REPORTBASE_EXPORT float ToFloat(const char* utf8, qsizetype size, bool* ok = nullptr);

/// @internal QString::toInt(ok, 10) of @p text: a sign and at most nine digits are read
/// here, every other text by QString::toInt itself.
REPORTBASE_EXPORT int ToInt(QStringView text, bool* ok = nullptr);

/// @internal What QString::fromUtf8(utf8, size).toInt(ok, 10) gives.
REPORTBASE_EXPORT int ToInt(const char* utf8, qsizetype size, bool* ok = nullptr);

/// @internal QStringLiteral("%1").arg(value, fieldWidth, 'f', decimals, QLatin1Char(' ')),
/// to the character: fixed notation with std::to_chars, exact ties rounded away from zero as
/// Qt rounds them ("0.13" for 0.125 with two decimals). Values the fast path does not cover
/// (not finite, 1e17 or more, more than 17 decimals, a negative value that rounds to zero)
/// are written by QString::arg itself.
REPORTBASE_EXPORT QString Fixed(double value, int fieldWidth, int decimals);

/// @internal Fixed(value, fieldWidth, decimals) appended to @p out as UTF-8 (it is ASCII).
REPORTBASE_EXPORT void AppendFixed(QByteArray& out, double value, int fieldWidth, int decimals);

/// @internal Fixed(value, fieldWidth, decimals) written as ASCII into the @p room bytes at
/// @p out: its length, or -1 where it does not fit or QString::arg must decide (then nothing
/// is written).
REPORTBASE_EXPORT int FixedAscii(double value, int fieldWidth, int decimals, char* out, int room);

} // namespace REPORTGENERATOR::Numbers
