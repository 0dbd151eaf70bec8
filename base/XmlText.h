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

/// @brief What a whole-document binary save holds against its record: the first text that
/// XML cannot carry, and where it is.
///
/// The binary form would carry such a character (or, for an unpaired surrogate, write "?"
/// in its place), but every document the library saves must read back as the record holds
/// it, in either form. A save installs a refusal on its thread for its run; the records tell
/// it of the texts they write, and the save writes nothing when one was found. XML saves
/// find such a character in the written document itself.
class REPORTBASE_EXPORT TextRefusal
{
public:
    /// Installs the refusal on the calling thread; the one before comes back after it.
    TextRefusal();
    ~TextRefusal();
    TextRefusal(const TextRefusal&) = delete;
    TextRefusal& operator=(const TextRefusal&) = delete;

    /// The refusal of the save running on the calling thread, or null.
    static TextRefusal* Current() noexcept;

    /// The text of @p member, in the record being written, holds @p code at @p position
    /// (in code units). Only the first text found counts.
    void Found(const QString& member, const QString& text, qsizetype position, uint code);
    /// Whether a text was found.
    bool Refused() const noexcept { return m_refused; }
    /// Puts the step that leads to the record holding the text before its path: a record
    /// that holds another names it after the call that wrote it.
    void Within(const QString& step);
    /// Says where the text is and what it may hold, the path led by @p root, the saved
    /// record's name: "KVT317_Settings/KVT317SettingsDetail[2]/Name holds U+0001 at
    /// character 3, a character XML cannot carry; ..."
    QString Message(const QString& root) const;

private:
    QString m_path;
    qsizetype m_character = 0;
    uint m_code = 0;
    bool m_refused = false;
    TextRefusal* m_outer;
};

} // namespace REPORTGENERATOR
