#pragma once

// The texts of located reading: what a member's text is read as, where that is not the
// text itself, and the names and numbers the findings quote.

#include "ReadObserver.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <string_view>

namespace KVT317XML::read {

struct TextFinding {
    REPORTGENERATOR::LogLevel level = REPORTGENERATOR::LogLevel::Error;
    FindingKind kind = FindingKind::Report; // Report: read as written, nothing to say
    QString message;
};

// What reading takes in silence, where a member's text is not read as written. Each is
// asked only where the conversion itself has shown something: a whole number or number that
// did not read, an unknown name, a date-time that did not read; or, for numbers that did
// read, NumberFinding() looks for decimals the member does not keep.
TextFinding WholeNumberNotRead(const MemberDescription& member, const QString& text);
// Whether the UTF-8 text is a plain decimal the member keeps as written: where it reads,
// NumberFinding() finds nothing in it.
bool PlainDecimalKept(std::string_view text, const MemberDescription& member);
TextFinding NumberFinding(const MemberDescription& member, const QString& text, bool read,
                          double value);
TextFinding UnknownName(const MemberDescription& member, const QString& text);
TextFinding DateTimeNotRead(const MemberDescription& member, const QString& text);

// "; did you mean 'index'?" for the candidate closest to a misspelt name, or nothing.
QString DidYouMean(const QString& name, const QStringList& candidates);

// Whether the start tag at `offset` of an XML text gives the attribute a literal tab, line
// feed or carriage return, which XML reads as a blank.
bool NormalisedInSource(QStringView source, qint64 offset, const QString& attribute);
// Whether any attribute value of that start tag holds one: where none does, no attribute
// of it is normalised.
bool AnyBreakInStartTag(QStringView source, qint64 offset);

// The offset of the first byte that is not part of valid UTF-8, or -1.
int InvalidUtf8(const QByteArray& bytes);

QString Hex32(quint32 value); // "0x0E9DCC54"
QString HexByte(char byte);   // "0xFF"

} // namespace KVT317XML::read
