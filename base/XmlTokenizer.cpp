#include "XmlTokenizerPrivate.h"

#include <cstring>

#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
#include <QTextCodec>
#endif

// Positions follow QXmlStreamReader, which counts UTF-16 units of the decoded text (the
// byte-order mark not counted) and reports each token only once it has read the token's
// lookahead: text ends one character after it (on the '<' that ends it), and a document
// without an XML declaration starts where QXmlStreamReader has looked far enough to know
// there is none. Both are kept here exactly, checked against QXmlStreamReader by the tests.

namespace REPORTGENERATOR {

using tokenizer::kClasses;

bool XmlTokens::Tokenize(const char* data, std::size_t size, Source source)
{
    m_data = data;
    m_tokens.clear();
    m_attributes.clear();
    m_decoded.clear();
    m_lineStarts.assign(1, 0);
    if (size >= Decoded / 2) // ranges and positions are 32-bit
        return false;
    m_tokens.reserve(size / 8 + 8);
    m_lineStarts.reserve(size / 32 + 8);
    XmlTokenizer tokenizer(*this, data, size, source);
    if (tokenizer.Run())
        return true;
    m_tokens.clear();
    m_attributes.clear();
    m_decoded.clear();
    m_lineStarts.assign(1, 0);
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
        Emit(QXmlStreamReader::StartDocument, m_p + 1);
        m_out.m_tokens.back().offset = 1;
    } else if (first == '<' && m_end - m_p > 1 && m_p[1] == '?') {
        // The lookahead goes as far as the target matches "xml", and one further.
        std::uint32_t read = 3;
        while (read < 6 && m_end - m_p > read - 1 && m_p[read - 1] == "<?xml"[read - 1])
            ++read;
        XmlToken& token = Emit(QXmlStreamReader::StartDocument, m_p);
        token.line = 1, token.offset = read;
    } else if (first == '<') {
        XmlToken& token = Emit(QXmlStreamReader::StartDocument, m_p);
        token.line = 1, token.offset = 2;
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

// [A-Za-z] ([A-Za-z0-9._] | '-')*
bool XmlTokenizer::EncodingName(std::uint32_t start, std::uint32_t size) const
{
    if (size == 0 || !((m_base[start] | 0x20) >= 'a' && (m_base[start] | 0x20) <= 'z'))
        return false;
    for (std::uint32_t i = 1; i < size; ++i) {
        if (!kClasses.name[m_base[start + i]])
            return false;
    }
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    // Qt 5 reads a QString as UTF-8 too, but refuses a name it has no codec for.
    if (!QTextCodec::codecForName(
            QByteArray(reinterpret_cast<const char*>(m_base) + start, int(size))))
        return false;
#endif
    return true;
}

bool XmlTokenizer::Declaration()
{
    m_p += 5;
    Space();
    XmlToken token;
    token.kind = QXmlStreamReader::StartDocument;
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
    std::uint32_t version, versionSize;
    if (!Literal("version") || !quoted(version, versionSize) ||
        !is(version, versionSize, "1.0", false))
        return false;
    token.name = version, token.nameSize = std::uint16_t(versionSize);
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
                token.flags = XmlToken::Standalone;
            else if (!is(start, size, "no", false))
                return false;
            standalone = true;
        } else {
            return false;
        }
    }
    XmlToken& emitted = Emit(QXmlStreamReader::StartDocument, m_p);
    token.line = emitted.line, token.offset = emitted.offset;
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
        token.name = name, token.nameSize = std::uint16_t(nameSize);
        token.text = first; // the attributes
        token.textSize = std::uint32_t(attributes.size()) - first;
        if (empty) {
            XmlToken& end = Emit(QXmlStreamReader::EndElement, m_p);
            end.name = name, end.nameSize = std::uint16_t(nameSize);
        } else {
            m_open.emplace_back(name, nameSize);
        }
        return true;
    }
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
    token.name = name, token.nameSize = std::uint16_t(nameSize);
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
    token.flags = XmlToken::Cdata;
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
    token.name = name, token.nameSize = std::uint16_t(nameSize);
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
