#pragma once

#include <OpenDocument.h>
#include <RecordDescription.h>

#include <QString>
#include <QStringList>

// A text fit for a terminal: control characters, DEL and characters that are no text
// written as \u0001.
inline QString Printable(const QString& text)
{
    return KVT317XML::PrintableText(text);
}

// "0x0E9DCC54".
QString Hex32(quint32 value);

// The names of an enumeration member, comma-separated.
QString AllowedNames(const KVT317XML::MemberDescription& member);
