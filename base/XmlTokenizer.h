#pragma once

// Internal to the library: not part of the installed API reference.

#include "ReportBaseExport.h"

#include <QString>
#include <QXmlStreamReader>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace REPORTGENERATOR {

/// @brief One token of a whole document, as QXmlStreamReader::readNext() would deliver it.
///
/// Names, texts and values are byte ranges, in UTF-8: into the document where the text
/// stands there literally, into the tokenizer's own buffer where entities, character
/// references or line ends had to be replaced.
struct XmlToken {
    enum Flag : std::uint8_t { Whitespace = 1, Cdata = 2, Standalone = 4 };
    std::uint8_t kind = QXmlStreamReader::NoToken; // a QXmlStreamReader::TokenType
    std::uint8_t flags = 0;
    // StartElement, EndElement: the name; ProcessingInstruction: the target;
    // StartDocument: the version.
    std::uint16_t nameSize = 0;
    std::uint32_t name = 0;
    // Characters, Comment: the text; ProcessingInstruction: the data; StartDocument: the
    // encoding. Tagged with XmlTokens::Decoded when in the tokenizer's buffer.
    // StartElement: the first of its attributes in XmlTokens::Attributes(), and their count.
    std::uint32_t text = 0, textSize = 0;
    // lineNumber() and characterOffset() after the token; XmlTokens::Column() gives
    // columnNumber().
    std::uint32_t line = 0, offset = 0;

    QXmlStreamReader::TokenType Type() const { return QXmlStreamReader::TokenType(kind); }
    bool IsWhitespace() const { return flags & Whitespace; } // isWhitespace()
    bool IsCdata() const { return flags & Cdata; }           // isCDATA()
    bool IsStandalone() const { return flags & Standalone; } // isStandaloneDocument()
    std::uint32_t FirstAttribute() const { return text; }
    std::uint32_t AttributeCount() const
    {
        return kind == QXmlStreamReader::StartElement ? textSize : 0;
    }
};

static_assert(sizeof(XmlToken) == 24, "a token is kept small: a document has many");

struct XmlTokenAttribute {
    std::uint32_t name = 0, nameSize = 0;
    std::uint32_t value = 0, valueSize = 0; // tagged like XmlToken::text
};

/// @brief A UTF-8 XML tokenizer for the documents settings files are: elements, attributes,
/// text, the five predefined entities, character references, comments, processing
/// instructions, CDATA sections, an XML declaration without encoding or with UTF-8, and a
/// byte-order mark.
///
/// Tokenize() reads the whole document before it hands out anything. Where it returns true,
/// the tokens are exactly what QXmlStreamReader gives for the same bytes, positions included.
/// Where it returns false the document is not one it is sure of (a DTD, another encoding,
/// namespaces, malformed input, anything unusual), no token has been delivered, and the
/// caller reads the document with QXmlStreamReader from the start, so that every message
/// and position stays QXmlStreamReader's own.
///
/// A whole-document load tokenizes first and then walks the tokens; tokenizing costs about a
/// tenth of QXmlStreamReader's readNext() loop over the same document, so a refused document
/// costs little more than QXmlStreamReader alone. Names are ASCII and can be compared as
/// bytes; texts become QString only where a caller asks (ToString()).
class REPORTBASE_EXPORT XmlTokens
{
public:
    /// Top bit of a range's start: the range lies in the tokenizer's buffer.
    static constexpr std::uint32_t Decoded = 0x80000000u;

    /// Where the bytes come from. QXmlStreamReader reads a QString as UTF-8 whatever its
    /// declaration names: for Source::String any well-formed encoding name is taken and
    /// reported as written, where Source::Bytes takes UTF-8 only.
    enum class Source { Bytes, String };

    /// Tokenizes the document; false: not this tokenizer's document. The bytes must outlive
    /// the tokens.
    bool Tokenize(const char* data, std::size_t size, Source source = Source::Bytes);
    bool Tokenize(const QByteArray& document, Source source = Source::Bytes)
    {
        return Tokenize(document.constData(), std::size_t(document.size()), source);
    }

    const std::vector<XmlToken>& Tokens() const { return m_tokens; }
    const std::vector<XmlTokenAttribute>& Attributes() const { return m_attributes; }
    /// columnNumber() after the token.
    std::uint32_t Column(const XmlToken& token) const
    {
        return token.offset - m_lineStarts[token.line - 1];
    }

    std::string_view Bytes(std::uint32_t start, std::uint32_t size) const
    {
        return (start & Decoded) ? std::string_view(m_decoded).substr(start & ~Decoded, size)
                                 : std::string_view(m_data + start, size);
    }
    std::string_view Name(const XmlToken& token) const { return Bytes(token.name, token.nameSize); }
    /// Empty on a start element, as QXmlStreamReader::text() is.
    std::string_view Text(const XmlToken& token) const
    {
        return token.kind == QXmlStreamReader::StartElement ? std::string_view()
                                                            : Bytes(token.text, token.textSize);
    }
    std::string_view Name(const XmlTokenAttribute& a) const { return Bytes(a.name, a.nameSize); }
    std::string_view Value(const XmlTokenAttribute& a) const { return Bytes(a.value, a.valueSize); }

    /// The text as QString. A leading U+FEFF is kept, where QString::fromUtf8 drops it.
    static QString ToString(std::string_view bytes)
    {
        if (bytes.size() >= 3 && bytes.compare(0, 3, "\xEF\xBB\xBF") == 0)
            return QChar(0xFEFF) + ToString(bytes.substr(3));
        return QString::fromUtf8(bytes.data(), static_cast<int>(bytes.size()));
    }

private:
    friend class XmlTokenizer;
    const char* m_data = nullptr;
    std::vector<XmlToken> m_tokens;
    std::vector<XmlTokenAttribute> m_attributes;
    std::vector<std::uint32_t> m_lineStarts; // UTF-16 offset of each line's start
    std::string m_decoded;
};

} // namespace REPORTGENERATOR
