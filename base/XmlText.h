#pragma once

#include "ReportBaseExport.h"

#include <QString>

class QXmlStreamWriter;

namespace REPORTGENERATOR {

/// @brief Texts in XML documents, exactly.
///
/// QXmlStreamReader normalises what QXmlStreamWriter leaves literal: a carriage return in
/// element text comes back as a line feed. The writers below put a character reference there
/// instead, so that carriage returns, tabs, line feeds and leading or trailing blanks come
/// back byte for byte. (In attribute values QXmlStreamWriter itself already writes tab, line
/// feed and carriage return as references, in Qt 5.15 and Qt 6 alike.)
///
/// XML 1.0 cannot carry some characters at all: the C0 controls other than tab, line feed
/// and carriage return, U+FFFE, U+FFFF and surrogates that are not part of a pair.
/// QXmlStreamWriter drops them and raises its error flag (an unpaired surrogate written to a
/// device even spoils the rest of the document). The writers never hand such a character to
/// QXmlStreamWriter:
/// - in element text it is written as a character reference ("&#1;"), which every XML 1.0
///   reader refuses, so a document holding it never reads back as a different text;
/// - in an attribute value QXmlStreamWriter offers no way to write a reference: the
///   character is left out and the writer's error flag is raised (QXmlStreamWriter::hasError()).
///
/// Callers that must not lose such a character test the text with FirstUnwritable() first.
class REPORTBASE_EXPORT XmlText
{
public:
    /// Whether XML 1.0 can carry the code point @p code (a surrogate never on its own).
    static bool IsXmlCharacter(uint code);

    /// The position of the first character of @p text that XML 1.0 cannot carry, or -1. Its
    /// code goes to @p code when given: the control character's, U+FFFE, U+FFFF, or the
    /// unpaired surrogate's own code unit.
    static qsizetype FirstUnwritable(const QString& text, uint* code = nullptr);

    /// "U+0001", "U+FFFE", "U+1F600": the usual name of the code point @p code.
    static QString CodeName(uint code);

    /// writer.writeTextElement(name, text), with the character references described above.
    /// A text that needs none is written by writeTextElement() itself, to the same bytes.
    static void WriteTextElement(QXmlStreamWriter& writer, const QString& name,
                                 const QString& text);

    /// writer.writeAttribute(name, value), leaving out what XML cannot carry (see above).
    static void WriteAttribute(QXmlStreamWriter& writer, const QString& name, const QString& value);
};

} // namespace REPORTGENERATOR
