#include "XmlTokenizer.h"

#include <cstring>

// Positions follow QXmlStreamReader, which counts UTF-16 units of the decoded text (the
// byte-order mark not counted) and reports each token only once it has read the token's
// lookahead: text ends one character after it (on the '<' that ends it), and a document
// without an XML declaration starts after its first one or two characters. Both are kept
// here exactly, checked against QXmlStreamReader by the tests.

namespace REPORTGENERATOR {

namespace {

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
constexpr Classes kClasses;

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

class XmlTokenizer
{
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
    }
    XmlToken& Emit(QXmlStreamReader::TokenType type, const uchar* at)
    {
        m_out.m_tokens.emplace_back();
        XmlToken& token = m_out.m_tokens.back();
        token.type = type;
        const std::int64_t offset = Utf16(at);
        token.line = m_line;
        token.column = std::uint32_t(offset - m_lineStart);
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

bool XmlTokens::Tokenize(const char* data, std::size_t size, Source source)
{
    m_data = data;
    m_tokens.clear();
    m_attributes.clear();
    m_decoded.clear();
    if (size >= Decoded / 2) // ranges and positions are 32-bit
        return false;
    m_tokens.reserve(size / 8 + 8);
    XmlTokenizer tokenizer(*this, data, size, source);
    if (tokenizer.Run())
        return true;
    m_tokens.clear();
    m_attributes.clear();
    m_decoded.clear();
    return false;
}

bool XmlTokenizer::Run()
{
    if (m_end - m_p >= 3 && m_p[0] == 0xEF && m_p[1] == 0xBB && m_p[2] == 0xBF) {
        m_p += 3;
        m_adjust = -3; // the decoder drops the byte-order mark
    }
    if (m_p == m_end)
        return false;
    const uchar first = *m_p;
    if (m_end - m_p > 5 && std::memcmp(m_p, "<?xml", 5) == 0 &&
        (m_p[5] == ' ' || m_p[5] == '\t' || m_p[5] == '\n' || m_p[5] == '\r')) {
        if (!Declaration())
            return false;
    } else if (first == ' ' || first == '\t' || first == '\n' || first == '\r') {
        Emit(QXmlStreamReader::StartDocument, m_p + 1).column = 1;
        m_out.m_tokens.back().offset = 1;
    } else if (first == '<' && m_end - m_p > 1 && m_p[1] == '?') {
        // The lookahead goes as far as the target matches "xml", and one further.
        std::uint32_t read = 3;
        while (read < 6 && m_end - m_p > read - 1 && m_p[read - 1] == "<?xml"[read - 1])
            ++read;
        XmlToken& token = Emit(QXmlStreamReader::StartDocument, m_p);
        token.line = 1, token.column = read, token.offset = read;
    } else if (first == '<') {
        XmlToken& token = Emit(QXmlStreamReader::StartDocument, m_p);
        token.line = 1, token.column = 2, token.offset = 2;
    } else {
        return false;
    }
    // Prolog: white space, comments and processing instructions up to the root element.
    for (;;) {
        if (!Space() || m_p == m_end || *m_p != '<' || m_end - m_p < 2)
            return false;
        if (m_p[1] == '?' || m_p[1] == '!') {
            if (!Misc())
                return false;
            continue;
        }
        break;
    }
    if (!StartTag())
        return false;
    while (!m_open.empty()) {
        if (m_p == m_end)
            return false;
        if (*m_p != '<') {
            if (!Text())
                return false;
            continue;
        }
        if (m_end - m_p < 2)
            return false;
        const uchar next = m_p[1];
        bool ok;
        if (next == '/')
            ok = EndTag();
        else if (next == '?')
            ok = ProcessingInstruction();
        else if (next == '!')
            ok = (m_end - m_p > 2 && m_p[2] == '[') ? Cdata() : Comment();
        else
            ok = StartTag();
        if (!ok)
            return false;
    }
    return Epilog();
}

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
    return true;
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

// [A-Za-z] ([A-Za-z0-9._] | '-')*
bool XmlTokenizer::EncodingName(std::uint32_t start, std::uint32_t size) const
{
    if (size == 0 || !((m_base[start] | 0x20) >= 'a' && (m_base[start] | 0x20) <= 'z'))
        return false;
    for (std::uint32_t i = 1; i < size; ++i) {
        if (!kClasses.name[m_base[start + i]])
            return false;
    }
    return true;
}

bool XmlTokenizer::Declaration()
{
    m_p += 5;
    Space();
    XmlToken token;
    token.type = QXmlStreamReader::StartDocument;
    auto quoted = [this](std::uint32_t& start, std::uint32_t& size) {
        Space();
        if (m_p == m_end || *m_p != '=')
            return false;
        ++m_p;
        Space();
        if (m_p == m_end || (*m_p != '"' && *m_p != '\''))
            return false;
        const uchar quote = *m_p++;
        const uchar* from = m_p;
        while (m_p < m_end && *m_p != quote) {
            if (*m_p < 0x20 || *m_p >= 0x80 || *m_p == '<' || *m_p == '&')
                return false;
            ++m_p;
        }
        if (m_p == m_end)
            return false;
        start = Offset(from);
        size = std::uint32_t(m_p - from);
        ++m_p;
        return true;
    };
    auto is = [this](std::uint32_t start, std::uint32_t size, const char* text, bool anyCase) {
        if (size != std::strlen(text))
            return false;
        for (std::uint32_t i = 0; i < size; ++i) {
            uchar c = m_base[start + i];
            if (anyCase && c >= 'A' && c <= 'Z')
                c = uchar(c - 'A' + 'a');
            if (c != uchar(text[i]))
                return false;
        }
        return true;
    };
    if (!Literal("version") || !quoted(token.name, token.nameSize) ||
        !is(token.name, token.nameSize, "1.0", false))
        return false;
    bool encoding = false, standalone = false;
    for (;;) {
        const uchar* before = m_p;
        Space();
        if (Literal("?>"))
            break;
        if (m_p == before)
            return false;
        std::uint32_t start, size;
        if (!encoding && !standalone && Literal("encoding")) {
            if (!quoted(start, size) ||
                !(m_anyEncoding ? EncodingName(start, size) : is(start, size, "utf-8", true)))
                return false;
            token.text = start, token.textSize = size;
            encoding = true;
        } else if (!standalone && Literal("standalone")) {
            if (!quoted(start, size))
                return false;
            if (is(start, size, "yes", false))
                token.standalone = true;
            else if (!is(start, size, "no", false))
                return false;
            standalone = true;
        } else {
            return false;
        }
    }
    XmlToken& emitted = Emit(QXmlStreamReader::StartDocument, m_p);
    token.line = emitted.line, token.column = emitted.column, token.offset = emitted.offset;
    emitted = token;
    return true;
}

// At "<?" or "<!" outside the root element.
bool XmlTokenizer::Misc()
{
    if (m_p[1] == '?')
        return ProcessingInstruction();
    return Comment();
}

bool XmlTokenizer::StartTag()
{
    ++m_p;
    std::uint32_t name, nameSize;
    if (!Name(name, nameSize))
        return false;
    std::vector<XmlTokenAttribute>& attributes = m_out.m_attributes;
    const std::uint32_t first = std::uint32_t(attributes.size());
    for (;;) {
        const uchar* before = m_p;
        Space();
        if (m_p == m_end)
            return false;
        bool empty = false;
        if (*m_p == '>') {
            ++m_p;
        } else if (*m_p == '/') {
            if (m_end - m_p < 2 || m_p[1] != '>')
                return false;
            m_p += 2;
            empty = true;
        } else {
            XmlTokenAttribute attribute;
            if (m_p == before || !Name(attribute.name, attribute.nameSize))
                return false;
            const std::string_view own(reinterpret_cast<const char*>(m_base) + attribute.name,
                                       attribute.nameSize);
            if (own.substr(0, 5) == "xmlns")
                return false; // namespace declarations are QXmlStreamReader's
            for (std::size_t i = first; i < attributes.size(); ++i) {
                if (attributes[i].nameSize == attribute.nameSize &&
                    std::memcmp(m_base + attributes[i].name, own.data(), own.size()) == 0)
                    return false;
            }
            Space();
            if (m_p == m_end || *m_p != '=')
                return false;
            ++m_p;
            Space();
            if (!AttributeValue(attribute))
                return false;
            attributes.push_back(attribute);
            continue;
        }
        XmlToken& token = Emit(QXmlStreamReader::StartElement, m_p);
        token.name = name, token.nameSize = nameSize;
        token.firstAttribute = first;
        token.attributeCount = std::uint32_t(attributes.size()) - first;
        if (empty) {
            XmlToken& end = Emit(QXmlStreamReader::EndElement, m_p);
            end.name = name, end.nameSize = nameSize;
        } else {
            m_open.emplace_back(name, nameSize);
        }
        return true;
    }
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

bool XmlTokenizer::EndTag()
{
    m_p += 2;
    // The name must be the open element's, and end there.
    const auto open = m_open.back();
    const std::uint32_t name = Offset(m_p), nameSize = open.second;
    if (std::size_t(m_end - m_p) <= nameSize ||
        std::memcmp(m_base + open.first, m_p, nameSize) != 0)
        return false;
    m_p += nameSize;
    if (kClasses.name[*m_p] || *m_p == ':' || *m_p >= 0x80)
        return false;
    Space();
    if (m_p == m_end || *m_p != '>')
        return false;
    ++m_p;
    m_open.pop_back();
    XmlToken& token = Emit(QXmlStreamReader::EndElement, m_p);
    token.name = name, token.nameSize = nameSize;
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
        if (c == '\n') {
            ++m_p;
            NewLine();
        } else if (c == '\r') {
            Decode(decoded, start, segment, from);
            buffer += '\n';
            ++m_p;
            if (m_p < m_end && *m_p == '\n')
                ++m_p;
            NewLine();
            segment = m_p;
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
    token.whitespace = blank != 0;
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
        if (c == '\n') {
            ++m_p;
            NewLine();
        } else if (c == '\r') {
            Decode(decoded, decodedStart, segment, from);
            buffer += '\n';
            ++m_p;
            if (m_p < m_end && *m_p == '\n')
                ++m_p;
            NewLine();
            segment = m_p;
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

bool XmlTokenizer::Comment()
{
    if (!Literal("<!--"))
        return false;
    std::uint32_t start, size;
    if (!Section('-', '-', start, size) || m_p == m_end || *m_p != '>')
        return false; // "--" inside a comment
    ++m_p;
    XmlToken& token = Emit(QXmlStreamReader::Comment, m_p);
    token.text = start, token.textSize = size;
    return true;
}

bool XmlTokenizer::Cdata()
{
    if (!Literal("<![CDATA["))
        return false;
    std::uint32_t start, size;
    if (!Section(']', ']', start, size))
        return false;
    ++m_p; // '>'
    XmlToken& token = Emit(QXmlStreamReader::Characters, m_p);
    token.cdata = true;
    token.text = start, token.textSize = size;
    return true;
}

bool XmlTokenizer::ProcessingInstruction()
{
    m_p += 2;
    std::uint32_t name, nameSize;
    if (!Name(name, nameSize))
        return false;
    const uchar* target = m_base + name;
    if (nameSize >= 3 && (target[0] | 0x20) == 'x' && (target[1] | 0x20) == 'm' &&
        (target[2] | 0x20) == 'l')
        return false; // reserved targets are QXmlStreamReader's
    std::uint32_t start = 0, size = 0;
    if (Literal("?>")) {
        start = Offset(m_p);
    } else {
        const uchar* before = m_p;
        Space();
        if (m_p == before || !Section('?', '>', start, size))
            return false;
    }
    XmlToken& token = Emit(QXmlStreamReader::ProcessingInstruction, m_p);
    token.name = name, token.nameSize = nameSize;
    token.text = start, token.textSize = size;
    return true;
}

// After the root element: white space, comments and processing instructions. A carriage
// return that ends the document is read without starting a line, as QXmlStreamReader does.
bool XmlTokenizer::Epilog()
{
    for (;;) {
        const bool finalReturn = m_end[-1] == '\r';
        Space(finalReturn ? m_end - 1 : m_end);
        if (finalReturn && m_p == m_end - 1)
            ++m_p;
        if (m_p == m_end) {
            Emit(QXmlStreamReader::EndDocument, m_end);
            return true;
        }
        if (*m_p != '<' || m_end - m_p < 2 || (m_p[1] != '?' && m_p[1] != '!') || !Misc())
            return false;
    }
}

} // namespace REPORTGENERATOR
