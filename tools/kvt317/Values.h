#pragma once

#include <RecordDescription.h>

#include <QString>
#include <QStringList>

// What the library would make of a member's text, where that is not the text itself.
struct ValueFinding {
    enum class Kind {
        None,    // read as written
        Lost,    // not read as written: not a number, out of range, an unknown name
        Rounded, // read, but written back with fewer decimals
    };
    Kind kind = Kind::None;
    QString message; // "'ten' is not a whole number (read as 0)"
};

// Checks a member's text as the library reads it from XML or from a binary payload.
ValueFinding CheckMemberText(const KVT317XML::MemberDescription& member, const QString& text);

// How the member writes a value read from the text (its number text with the member's
// decimals); the text itself for other kinds.
QString WrittenText(const KVT317XML::MemberDescription& member, const QString& text);

// The member's kind in words: "whole number", "number, 2 decimals", "enumeration", ...
QString KindName(const KVT317XML::MemberDescription& member);

// The first character of the text that XML 1.0 cannot carry (C0 controls other than tab,
// line feed and carriage return; U+FFFE, U+FFFF; half a surrogate pair), or -1.
int XmlForbiddenCharacter(const QString& text);
QString CharacterCode(int code); // "U+0001"

// A text fit for a terminal: control characters, DEL and characters that are no text
// written as \u0001.
QString Printable(const QString& text);

// "0xFF", "0x0E9DCC54".
QString HexByte(char byte);
QString Hex32(quint32 value);

// The offset of the first byte that is not part of valid UTF-8, or -1.
int InvalidUtf8(const QByteArray& bytes);

// The candidate closest to a misspelt name, or a null text when none is close.
QString Suggestion(const QString& name, const QStringList& candidates);

// The names of an enumeration member, comma-separated.
QString AllowedNames(const KVT317XML::MemberDescription& member);

// A value in hertz in a readable unit, exact to the member's decimals: "118 MHz",
// "162.025 MHz", "12.5 kHz".
QString Hertz(const QString& text, int precision);

// The unit a member's value is shown in by show: hertz for frequencies and bandwidths
// (scaled), or a fixed unit for times and levels; empty for counts, names and texts.
QString Unit(const QString& record, const QString& member);
