#pragma once

// Internal to the library: not part of the installed API reference.

#include "ReportBaseExport.h"
#include "XmlTokenizer.h"

#include <QString>
#include <QXmlStreamReader>

#include <cstdint>
#include <cstring>
#include <string_view>

namespace REPORTGENERATOR {

/// @brief Walks the tokens of a whole document the way the reading loops walk a
/// QXmlStreamReader: the same calls, answering what QXmlStreamReader would answer for a
/// document the tokenizer accepted. Names and texts are UTF-8 byte ranges; nothing becomes a
/// QString until a caller asks.
class XmlTokenCursor
{
public:
    explicit XmlTokenCursor(const XmlTokens& tokens)
        : m_tokens(tokens)
        , m_begin(tokens.Tokens().data())
        , m_size(std::ptrdiff_t(tokens.Tokens().size()))
    {
    }

    QXmlStreamReader::TokenType readNext()
    {
        if (m_index + 1 < m_size)
            ++m_index;
        return tokenType();
    }
    QXmlStreamReader::TokenType tokenType() const
    {
        return m_index < 0 ? QXmlStreamReader::NoToken : Token().Type();
    }
    // An accepted document has no error, and ends on its last token.
    bool atEnd() const { return m_index + 1 >= m_size; }
    bool hasError() const { return false; }
    QString errorString() const { return QString(); }

    bool isStartDocument() const { return tokenType() == QXmlStreamReader::StartDocument; }
    bool isStartElement() const { return tokenType() == QXmlStreamReader::StartElement; }
    bool isEndElement() const { return tokenType() == QXmlStreamReader::EndElement; }
    bool isCharacters() const { return tokenType() == QXmlStreamReader::Characters; }
    bool isComment() const { return tokenType() == QXmlStreamReader::Comment; }
    bool isProcessingInstruction() const
    {
        return tokenType() == QXmlStreamReader::ProcessingInstruction;
    }
    bool isWhitespace() const { return isCharacters() && Token().IsWhitespace(); }
    bool HasDocumentVersion() const { return isStartDocument() && Token().nameSize > 0; }

    qint64 lineNumber() const { return m_index < 0 ? 1 : Token().line; }
    qint64 columnNumber() const { return m_index < 0 ? 0 : m_tokens.Column(Token()); }
    qint64 characterOffset() const { return m_index < 0 ? 0 : Token().offset; }

    /// The element's name; empty on other tokens, as QXmlStreamReader::name() is.
    std::string_view name() const
    {
        const QXmlStreamReader::TokenType type = tokenType();
        return type == QXmlStreamReader::StartElement || type == QXmlStreamReader::EndElement
                   ? m_tokens.Name(Token())
                   : std::string_view();
    }
    /// Character data and comments; empty on elements.
    std::string_view text() const
    {
        return m_index < 0 ? std::string_view() : m_tokens.Text(Token());
    }
    std::string_view processingInstructionTarget() const
    {
        return isProcessingInstruction() ? m_tokens.Name(Token()) : std::string_view();
    }

    /// The start element's attributes.
    std::uint32_t AttributeCount() const { return m_index < 0 ? 0 : Token().AttributeCount(); }
    const XmlTokenAttribute& Attribute(std::uint32_t i) const
    {
        return m_tokens.Attributes()[Token().FirstAttribute() + i];
    }
    std::string_view AttributeName(std::uint32_t i) const { return m_tokens.Name(Attribute(i)); }
    std::string_view AttributeValue(std::uint32_t i) const { return m_tokens.Value(Attribute(i)); }
    /// Whether the value differs from its bytes in the document: references replaced, tabs
    /// and line breaks read as blanks.
    bool AttributeValueDecoded(std::uint32_t i) const
    {
        return (Attribute(i).value & XmlTokens::Decoded) != 0;
    }
    /// As QXmlStreamReader::attributes(), for the few who want them all.
    QXmlStreamAttributes attributes() const
    {
        QXmlStreamAttributes all;
        for (std::uint32_t i = 0; i < AttributeCount(); ++i)
            all.append(XmlTokens::ToString(AttributeName(i)),
                       XmlTokens::ToString(AttributeValue(i)));
        return all;
    }

    /// On a start element whose content is one piece of text or nothing: moves to its end
    /// element and gives the text (null for nothing). Otherwise false, and stays.
    bool PlainElement(std::string_view& text)
    {
        if (!IsPlainElement())
            return false;
        const XmlToken& next = m_begin[m_index + 1];
        if (next.Type() == QXmlStreamReader::EndElement) {
            text = std::string_view();
            m_index += 1;
            return true;
        }
        text = m_tokens.Text(next);
        m_index += 2;
        return true;
    }
    /// Whether the reader stands on a start element whose content is one piece of text or
    /// nothing; it stays.
    bool IsPlainElement() const
    {
        if (!isStartElement() || m_index + 1 >= m_size)
            return false;
        const QXmlStreamReader::TokenType next = m_begin[m_index + 1].Type();
        return next == QXmlStreamReader::EndElement ||
               (next == QXmlStreamReader::Characters && m_index + 2 < m_size &&
                m_begin[m_index + 2].Type() == QXmlStreamReader::EndElement);
    }

    /// Where a reading loop of @p hintOwner found the last element: where it looks first next
    /// time.
    const void* hintOwner = nullptr;
    std::size_t hint = 0;

private:
    const XmlToken& Token() const { return m_begin[m_index]; }

    const XmlTokens& m_tokens;
    const XmlToken* m_begin;
    std::ptrdiff_t m_size;
    std::ptrdiff_t m_index = -1;
};

/// Whether a name read from a document is @p name. Names in member tables are ASCII; a
/// table name beyond it is compared as text.
inline bool SameName(std::string_view read, const QString& name)
{
    if (read.size() != std::size_t(name.size()))
        return false;
    const QChar* c = name.constData();
    for (std::size_t i = 0; i < read.size(); ++i) {
        if (c[i].unicode() >= 0x80)
            return XmlTokens::ToString(read) == name;
        if (static_cast<unsigned char>(read[i]) != c[i].unicode())
            return false;
    }
    return true;
}
inline bool SameName(QStringView read, const QString& name)
{
    return read == name;
}

/// The names and texts of either reader as QString. Most texts of settings are ASCII, which
/// converts for less as Latin-1.
inline QString ToQString(std::string_view text)
{
    // Eight bytes at a time: a high bit in any of them is a byte beyond ASCII.
    const char* const data = text.data();
    const std::size_t size = text.size();
    std::uint64_t high = 0;
    std::size_t i = 0;
    for (; i + 8 <= size; i += 8) {
        std::uint64_t word;
        std::memcpy(&word, data + i, 8);
        high |= word;
    }
    for (; i < size; ++i)
        high |= static_cast<unsigned char>(data[i]);
    if ((high & 0x8080808080808080u) == 0)
        return QString::fromLatin1(data, static_cast<int>(size));
    return XmlTokens::ToString(text);
}
inline QString ToQString(QStringView text)
{
    return text.toString();
}

/// Makes whole-document XML loads of the calling thread read through QXmlStreamReader even
/// where the tokenizer would take the document: the tests and fuzzers compare both ways.
REPORTBASE_EXPORT void SetXmlStreamReaderOnly(bool only);
REPORTBASE_EXPORT bool XmlStreamReaderOnly();

} // namespace REPORTGENERATOR
