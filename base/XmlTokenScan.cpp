// The pieces of the tokenizer that read characters: white space, names, references, UTF-8,
// attribute values, text and the bodies of comments, CDATA sections and instructions.

#include "XmlTokenizerPrivate.h"

namespace REPORTGENERATOR {

using tokenizer::kClasses;
using tokenizer::Plain;
using tokenizer::Special;

namespace {

void AppendUtf8(std::string& out, std::uint32_t v)
{
    if (v < 0x80) {
        out += char(v);
    } else if (v < 0x800) {
        out += char(0xC0 | (v >> 6));
        out += char(0x80 | (v & 0x3F));
    } else if (v < 0x10000) {
        out += char(0xE0 | (v >> 12));
        out += char(0x80 | ((v >> 6) & 0x3F));
        out += char(0x80 | (v & 0x3F));
    } else {
        out += char(0xF0 | (v >> 18));
        out += char(0x80 | ((v >> 12) & 0x3F));
        out += char(0x80 | ((v >> 6) & 0x3F));
        out += char(0x80 | (v & 0x3F));
    }
}

} // namespace

bool XmlTokenizer::Space(const uchar* limit)
{
    while (m_p < limit) {
        const uchar c = *m_p;
        if (c == ' ' || c == '\t') {
            ++m_p;
        } else if (c == '\n') {
            ++m_p;
            NewLine();
        } else if (c == '\r') {
            ++m_p;
            if (m_p < limit && *m_p == '\n')
                ++m_p;
            NewLine();
        } else {
            break;
        }
    }
    return true;
}

bool XmlTokenizer::Name(std::uint32_t& start, std::uint32_t& size)
{
    if (m_p == m_end || !(kClasses.name[*m_p] & 1))
        return false;
    const uchar* from = m_p++;
    while (m_p < m_end && kClasses.name[*m_p])
        ++m_p;
    // Prefixed and non-ASCII names are QXmlStreamReader's.
    if (m_p < m_end && (*m_p == ':' || *m_p >= 0x80))
        return false;
    start = Offset(from);
    size = std::uint32_t(m_p - from);
    return size <= 0xFFFF; // token names are counted in 16 bits
}

// A UTF-8 sequence at m_p: well formed, no surrogate, neither U+FFFE nor U+FFFF.
bool XmlTokenizer::Utf8()
{
    const uchar* p = m_p;
    const std::ptrdiff_t left = m_end - p;
    const uchar c = p[0];
    auto cont = [](uchar b) { return (b & 0xC0) == 0x80; };
    if (c >= 0xC2 && c <= 0xDF) {
        if (left < 2 || !cont(p[1]))
            return false;
        m_p += 2;
        m_adjust -= 1;
        return true;
    }
    if (c >= 0xE0 && c <= 0xEF) {
        if (left < 3 || !cont(p[1]) || !cont(p[2]))
            return false;
        if ((c == 0xE0 && p[1] < 0xA0) || (c == 0xED && p[1] > 0x9F))
            return false;
        if (c == 0xEF && p[1] == 0xBF && (p[2] == 0xBE || p[2] == 0xBF))
            return false;
        m_p += 3;
        m_adjust -= 2;
        return true;
    }
    if (c >= 0xF0 && c <= 0xF4) {
        if (left < 4 || !cont(p[1]) || !cont(p[2]) || !cont(p[3]))
            return false;
        if ((c == 0xF0 && p[1] < 0x90) || (c == 0xF4 && p[1] > 0x8F))
            return false;
        m_p += 4;
        m_adjust -= 2; // four bytes, two UTF-16 units
        return true;
    }
    return false;
}

// At '&': one of the five predefined entities or a character reference, appended as UTF-8.
bool XmlTokenizer::Reference(std::string& out)
{
    ++m_p;
    if (m_p < m_end && *m_p == '#') {
        ++m_p;
        const bool hex = m_p < m_end && *m_p == 'x';
        if (hex)
            ++m_p;
        std::uint32_t v = 0;
        int digits = 0;
        for (; m_p < m_end; ++m_p, ++digits) {
            const uchar c = *m_p;
            std::uint32_t d;
            if (c >= '0' && c <= '9')
                d = c - '0';
            else if (hex && c >= 'a' && c <= 'f')
                d = c - 'a' + 10;
            else if (hex && c >= 'A' && c <= 'F')
                d = c - 'A' + 10;
            else
                break;
            v = v * (hex ? 16 : 10) + d;
            if (v > 0x10FFFF)
                return false;
        }
        if (digits == 0 || m_p == m_end || *m_p != ';')
            return false;
        ++m_p;
        const bool valid = v == 0x9 || v == 0xA || v == 0xD || (v >= 0x20 && v <= 0xD7FF) ||
                           (v >= 0xE000 && v <= 0xFFFD) || v >= 0x10000;
        if (!valid)
            return false;
        AppendUtf8(out, v);
        return true;
    }
    static const struct {
        const char* name;
        char value;
    } entities[] = {{"amp;", '&'}, {"lt;", '<'}, {"gt;", '>'}, {"quot;", '"'}, {"apos;", '\''}};
    for (const auto& entity : entities) {
        if (Literal(entity.name)) {
            out += entity.value;
            return true;
        }
    }
    return false;
}

bool XmlTokenizer::AttributeValue(XmlTokenAttribute& attribute)
{
    if (m_p == m_end || (*m_p != '"' && *m_p != '\''))
        return false;
    const uchar quote = *m_p++;
    const uchar* from = m_p;
    const uchar* segment = from;
    bool decoded = false;
    std::uint32_t start = 0;
    std::string& buffer = m_out.m_decoded;
    for (;;) {
        while (m_p < m_end && kClasses.value[*m_p] == Plain)
            ++m_p;
        if (m_p == m_end)
            return false;
        const uchar c = *m_p;
        if (c == quote)
            break;
        if (c == '"' || c == '\'') {
            ++m_p;
        } else if (c >= 0x80) {
            if (!Utf8())
                return false;
        } else if (c == '&') {
            Decode(decoded, start, segment, from);
            if (!Reference(buffer))
                return false;
            segment = m_p;
        } else if (c == '\t' || c == '\n' || c == '\r') {
            // White space in values becomes a space, a CR LF pair one space.
            Decode(decoded, start, segment, from);
            buffer += ' ';
            ++m_p;
            if (c == '\r' && m_p < m_end && *m_p == '\n')
                ++m_p;
            if (c != '\t')
                NewLine();
            segment = m_p;
        } else {
            return false; // '<', control characters
        }
    }
    if (decoded) {
        Decode(decoded, start, segment, from);
        attribute.value = start | XmlTokens::Decoded;
        attribute.valueSize = std::uint32_t(buffer.size() - start);
    } else {
        attribute.value = Offset(from);
        attribute.valueSize = std::uint32_t(m_p - from);
    }
    ++m_p;
    return true;
}

bool XmlTokenizer::Text()
{
    const uchar* from = m_p;
    const uchar* segment = from;
    bool decoded = false;
    std::uint8_t blank = 1;
    std::uint32_t start = 0;
    std::string& buffer = m_out.m_decoded;
    for (;;) {
        std::uint8_t k;
        while (m_p < m_end && (k = kClasses.text[*m_p]) != Special) {
            blank &= k; // Plain 0, Blank 1
            ++m_p;
        }
        if (m_p == m_end)
            return false;
        const uchar c = *m_p;
        if (c == '<')
            break;
        if (c == '\n' || c == '\r') {
            LineBreak(decoded, start, segment, from);
        } else if (c == '&') {
            Decode(decoded, start, segment, from);
            if (!Reference(buffer))
                return false;
            segment = m_p;
            blank = 0;
        } else if (c == ']') {
            if (m_end - m_p >= 3 && m_p[1] == ']' && m_p[2] == '>')
                return false;
            ++m_p;
            blank = 0;
        } else if (c >= 0x80) {
            if (!Utf8())
                return false;
            blank = 0;
        } else {
            return false; // control characters
        }
    }
    XmlToken& token = Emit(QXmlStreamReader::Characters, m_p + 1);
    token.flags = blank ? XmlToken::Whitespace : 0;
    if (decoded) {
        Decode(decoded, start, segment, from);
        token.text = start | XmlTokens::Decoded;
        token.textSize = std::uint32_t(buffer.size() - start);
    } else {
        token.text = Offset(from);
        token.textSize = std::uint32_t(m_p - from);
    }
    return true;
}

// The body of a comment, CDATA section or processing instruction, up to the two-character
// terminator first second ("--", "]]", "?>"); m_p is left after the terminator.
bool XmlTokenizer::Section(uchar first, uchar second, std::uint32_t& start, std::uint32_t& size)
{
    const uchar* from = m_p;
    const uchar* segment = from;
    bool decoded = false;
    std::uint32_t decodedStart = 0;
    std::string& buffer = m_out.m_decoded;
    for (;;) {
        while (m_p < m_end && kClasses.section[*m_p] == Plain)
            ++m_p;
        if (m_p == m_end)
            return false;
        const uchar c = *m_p;
        if (c == first && m_end - m_p >= 2 && m_p[1] == second) {
            if (first == ']' ? (m_end - m_p < 3 || m_p[2] != '>') : false) {
                ++m_p; // "]]" without '>' in CDATA
                continue;
            }
            break;
        }
        if (c == '\n' || c == '\r') {
            LineBreak(decoded, decodedStart, segment, from);
        } else if (c >= 0x80) {
            if (!Utf8())
                return false;
        } else if (c == '-' || c == '?' || c == ']' || c == '\t') {
            ++m_p;
        } else {
            return false; // control characters
        }
    }
    if (decoded) {
        Decode(decoded, decodedStart, segment, from);
        start = decodedStart | XmlTokens::Decoded;
        size = std::uint32_t(buffer.size() - decodedStart);
    } else {
        start = Offset(from);
        size = std::uint32_t(m_p - from);
    }
    m_p += 2;
    return true;
}

} // namespace REPORTGENERATOR
