#pragma once

#include "ReportBaseExport.h"

#include <QByteArray>
#include <QString>

#include <string>
#include <string_view>
#include <vector>

class QXmlStreamWriter;

/// @file
/// @internal Whole XML documents written straight into one UTF-8 buffer; not part of the
/// installed interface.

namespace REPORTGENERATOR {

class IRGObject;
struct Operation;

/// @internal Writes what a QXmlStreamWriter with auto-formatting (indent 2) writes over a
/// device, byte for byte, into one byte array: the same indentation, the same escapes ("&lt;",
/// "&gt;", "&amp;", "&quot;"; tab, line feed and carriage return as references in attribute
/// values), the same characters left out (controls, U+FFFE, U+FFFF) and the same error flag.
/// The texts members hold are written as XmlText writes them.
///
/// Names are written as they are. A name or a raw value holding a character whose bytes the
/// writer is not sure of (a control character, U+FFFE, U+FFFF, any surrogate in a name, an
/// unpaired surrogate in a value) makes the writer uncertain(); the document is then made
/// with QXmlStreamWriter instead.
class REPORTBASE_EXPORT XmlByteWriter
{
public:
    /// A writer whose buffer starts with room for @p expected bytes.
    explicit XmlByteWriter(qsizetype expected);

    /// The XML declaration.
    void StartDocument();
    /// Closes what is open, then the final line feed; the document is done with.
    QByteArray EndDocument();

    void StartElement(const QString& name);
    /// A start element whose name is UTF-8 known to be plain (PlainName()).
    void StartElement(std::string_view name);

    // Members, their names in UTF-8 known to be plain (PlainName()):
    /// An attribute of the start element just written, escaped as QXmlStreamWriter does.
    void Attribute(std::string_view name, const QString& value);
    /// An attribute whose value is a member's text: XmlText::WriteAttribute().
    void TextAttribute(std::string_view name, const QString& value);
    /// An attribute whose value is ASCII needing no escape (numbers).
    void AsciiAttribute(std::string_view name, std::string_view value);
    /// writeTextElement(name, text).
    void TextElement(std::string_view name, const QString& text);
    /// A member's text as XmlText::WriteTextElement() writes it.
    void MemberTextElement(std::string_view name, const QString& text);
    /// A text element whose text is ASCII needing no escape (numbers).
    void AsciiElement(std::string_view name, std::string_view text);
    void EndElement();

    /// Whether QXmlStreamWriter would have raised its error flag.
    bool HasError() const { return m_error; }
    /// Whether something was met that this writer may not write as QXmlStreamWriter does.
    bool Uncertain() const { return m_uncertain; }

    /// Whether @p name is written the same by both writers: no control, no surrogate,
    /// neither U+FFFE nor U+FFFF.
    static bool PlainName(const QString& name);

    /// @name Offering the writer to a record (internal)
    /// A whole-document save offers its byte writer to the record it saves, together with
    /// the QXmlStreamWriter it passes to GetXml(). A record class that writes itself as the
    /// library's own records do takes the offer from its GetXml() (TakeOffer()) and writes
    /// into the bytes instead; any other GetXml() writes to the QXmlStreamWriter as always.
    ///@{
    class REPORTBASE_EXPORT Offer
    {
    public:
        Offer(const IRGObject* record, const QXmlStreamWriter* writer, XmlByteWriter* bytes);
        ~Offer();
        Offer(const Offer&) = delete;
        Offer& operator=(const Offer&) = delete;
        /// Whether the record took the offer.
        bool Taken() const { return m_taken; }

    private:
        friend class XmlByteWriter;
        const IRGObject* m_record;
        const QXmlStreamWriter* m_writer;
        XmlByteWriter* m_bytes;
        bool m_taken = false;
        Offer* m_outer;
    };
    /// The byte writer offered to @p record for @p writer on this thread, once; or null.
    static XmlByteWriter* TakeOffer(const IRGObject* record, const QXmlStreamWriter* writer);
    /// The same, for a record written within @p operation.
    static XmlByteWriter* TakeOffer(Operation& operation, const IRGObject* record,
                                    const QXmlStreamWriter* writer);
    ///@}

    /// The bytes of the last document the calling thread wrote, as a size to reserve.
    static qsizetype LastSize();

private:
    void Room(qsizetype count)
    {
        if (m_size + count > m_capacity)
            Grow(count);
    }
    void Grow(qsizetype count);
    void Put(const char* bytes, qsizetype size);
    void Put(char c)
    {
        Room(1);
        m_data[m_size++] = c;
    }
    // QXmlStreamWriter's bookkeeping of start elements and line breaks.
    bool FinishStartElement(bool contents);
    void Indent(qsizetype level);
    // Writes the name and keeps it for its end element.
    void OpenName(const QString& name);
    void AttributeStart(std::string_view name);
    // The text, escaped; references for what XmlText writes as references when @p member.
    void Escaped(const QString& text, bool attribute, bool member);
    void EscapedSlow(const char16_t* at, const char16_t* end, bool attribute, bool member);

    QByteArray m_out;
    char* m_data = nullptr;
    qsizetype m_size = 0;
    qsizetype m_capacity = 0;
    std::string m_tagBytes;               // the names of the open elements, one after another
    std::vector<std::size_t> m_tagStarts; // where each open element's name starts there
    bool m_inStartElement = false;
    bool m_lastWasStartElement = false;
    bool m_wroteSomething = false;
    bool m_error = false;
    bool m_uncertain = false;
};

/// @internal Makes whole-document XML saves of the calling thread write through
/// QXmlStreamWriter even where the byte writer would take the document: the tests and
/// fuzzers compare both ways.
REPORTBASE_EXPORT void SetXmlStreamWriterOnly(bool only);
REPORTBASE_EXPORT bool XmlStreamWriterOnly();

} // namespace REPORTGENERATOR
