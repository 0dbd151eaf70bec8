#pragma once

// The tokenizer behind XmlTokens, shared by its two source files; private to the base
// library.

#include "XmlTokenizer.h"

#include <cstring>

namespace REPORTGENERATOR {

namespace tokenizer {

using uchar = unsigned char;

using uchar = unsigned char;

// Classes of bytes in element text and in sections (comments, CDATA, processing
// instructions); 0 and 1 go on at once.
enum : std::uint8_t {
    Plain = 0,   // a character other than white space
    Blank = 1,   // space, tab
    Special = 2, // anything the scanner looks at
};

struct Classes {
    std::uint8_t text[256];
    std::uint8_t value[256];
    std::uint8_t section[256];
    std::uint8_t name[256]; // 1: starts a name, 2: goes on in a name
    constexpr Classes()
        : text()
        , value()
        , section()
        , name()
    {
        for (int c = 0; c < 256; ++c) {
            const bool control = c < 0x20 && c != '\t';
            const bool high = c >= 0x80;
            text[c] = (control || high || c == '<' || c == '&' || c == ']') ? Special
                      : c == ' ' || c == '\t'                               ? Blank
                                                                            : Plain;
            value[c] =
                (control || high || c == '\t' || c == '<' || c == '&' || c == '"' || c == '\'')
                    ? Special
                    : Plain;
            section[c] = (control || high || c == '-' || c == '?' || c == ']') ? Special : Plain;
            const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
            name[c] = letter ? 3 : ((c >= '0' && c <= '9') || c == '.' || c == '-') ? 2 : 0;
        }
    }
};
inline constexpr Classes kClasses;

} // namespace tokenizer

class XmlTokenizer
{
    using uchar = tokenizer::uchar;

public:
    XmlTokenizer(XmlTokens& out, const char* data, std::size_t size, XmlTokens::Source source)
        : m_out(out)
        , m_base(reinterpret_cast<const uchar*>(data))
        , m_p(m_base)
        , m_end(m_base + size)
        , m_anyEncoding(source == XmlTokens::Source::String)
    {
    }
    bool Run();

private:
    // Sections of the document.
    bool Declaration();
    bool EncodingName(std::uint32_t start, std::uint32_t size) const;
    bool Misc(); // a comment or a processing instruction, at '<'
    bool StartTag();
    bool EndTag();
    bool Text();
    bool Comment();
    bool ProcessingInstruction();
    bool Cdata();
    bool Epilog();

    // Pieces.
    bool Space(const uchar* limit);
    bool Space() { return Space(m_end); }
    bool Name(std::uint32_t& start, std::uint32_t& size);
    bool Reference(std::string& out);
    bool Utf8();
    bool AttributeValue(XmlTokenAttribute& attribute);
    bool Section(uchar first, uchar second, std::uint32_t& start, std::uint32_t& size);
    bool Literal(const char* text)
    {
        const std::size_t n = std::strlen(text);
        if (std::size_t(m_end - m_p) < n || std::memcmp(m_p, text, n) != 0)
            return false;
        m_p += n;
        return true;
    }

    std::int64_t Utf16(const uchar* at) const { return (at - m_base) + m_adjust; }
    void NewLine()
    {
        ++m_line;
        m_lineStart = Utf16(m_p);
        m_out.m_lineStarts.push_back(std::uint32_t(m_lineStart));
    }
    XmlToken& Emit(QXmlStreamReader::TokenType type, const uchar* at)
    {
        m_out.m_tokens.emplace_back();
        XmlToken& token = m_out.m_tokens.back();
        token.kind = std::uint8_t(type);
        const std::int64_t offset = Utf16(at);
        token.line = m_line;
        token.offset = std::uint32_t(offset);
        return token;
    }
    std::uint32_t Offset(const uchar* at) const { return std::uint32_t(at - m_base); }
    // Starts a decoded copy of [from, m_p) unless one is under way.
    void Decode(bool& decoded, std::uint32_t& start, const uchar*& segment, const uchar* from)
    {
        std::string& buffer = m_out.m_decoded;
        if (!decoded) {
            decoded = true;
            start = std::uint32_t(buffer.size());
            segment = from;
        }
        buffer.append(reinterpret_cast<const char*>(segment), m_p - segment);
    }
    // The line break at m_p inside a text. XML reads "\r\n" and a lone '\r' as '\n', so that
    // text no longer stands as its bytes do: it is decoded from there on.
    void LineBreak(bool& decoded, std::uint32_t& start, const uchar*& segment, const uchar* from)
    {
        if (*m_p == '\r') {
            Decode(decoded, start, segment, from);
            m_out.m_decoded += '\n';
            if (m_end - m_p >= 2 && m_p[1] == '\n')
                ++m_p;
            segment = m_p + 1;
        }
        ++m_p;
        NewLine();
    }

    XmlTokens& m_out;
    const uchar* const m_base;
    const uchar* m_p;
    const uchar* const m_end;
    const bool m_anyEncoding;  // the encoding is fixed already: a QString's UTF-8
    std::int64_t m_adjust = 0; // UTF-16 units minus bytes, up to m_p
    std::uint32_t m_line = 1;
    std::int64_t m_lineStart = 0;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> m_open;
};

} // namespace REPORTGENERATOR
