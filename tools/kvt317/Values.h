#pragma once

#include <OpenDocument.h>
#include <RecordDescription.h>

#include <QString>
#include <QStringList>

// The member's kind in words: "whole number", "number, 2 decimals", "enumeration", ...
QString KindName(const KVT317XML::MemberDescription& member);

// A text fit for a terminal: control characters, DEL and characters that are no text
// written as \u0001.
inline QString Printable(const QString& text)
{
    return KVT317XML::PrintableText(text);
}

// "0xFF", "0x0E9DCC54".
QString HexByte(char byte);
QString Hex32(quint32 value);

// The offset of the first byte that is not part of valid UTF-8, or -1.
int InvalidUtf8(const QByteArray& bytes);

// The names of an enumeration member, comma-separated.
QString AllowedNames(const KVT317XML::MemberDescription& member);
