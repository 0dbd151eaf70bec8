#include "XmlByteWriter.h"
#include "Operation.h"

#include <algorithm>
#include <cstring>

namespace REPORTGENERATOR {

namespace {

Operation& Op()
{
    return Operation::OfThread();
}

// ASCII characters QXmlStreamWriter writes as they are in texts and attribute values alike.
struct PlainAscii {
    bool plain[128] = {};
    constexpr PlainAscii()
    {
        for (int c = 0x20; c < 0x7F; ++c)
            plain[c] = c != '<' && c != '>' && c != '&' && c != '"';
        plain[0x7F] = true;
    }
};
constexpr PlainAscii kPlain;

bool IsSurrogate(char16_t c)
{
    return (c & 0xF800) == 0xD800;
}

} // namespace

XmlByteWriter::XmlByteWriter(qsizetype expected)
{
    m_out.resize(std::max<qsizetype>(expected, 256));
    m_data = m_out.data();
    m_capacity = m_out.size();
}

void XmlByteWriter::Grow(qsizetype count)
{
    m_out.resize(std::max<qsizetype>(m_capacity * 2, m_size + count));
    m_data = m_out.data();
    m_capacity = m_out.size();
}

void XmlByteWriter::Put(const char* bytes, qsizetype size)
{
    Room(size);
    std::memcpy(m_data + m_size, bytes, static_cast<std::size_t>(size));
    m_size += size;
}

void XmlByteWriter::StartDocument()
{
    FinishStartElement(false);
    static const char declaration[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
    Put(declaration, sizeof declaration - 1);
}

QByteArray XmlByteWriter::EndDocument()
{
    while (!m_tagStarts.empty())
        EndElement();
    Put('\n');
    m_out.resize(m_size);
    Op().lastXmlSize = m_size;
    m_data = nullptr;
    m_capacity = 0;
    return std::move(m_out);
}

// As QXmlStreamWriter: a start element still open is closed by whatever follows it, and
// whether something was written since decides about the line break before an element.
bool XmlByteWriter::FinishStartElement(bool contents)
{
    const bool hadSomethingWritten = m_wroteSomething;
    m_wroteSomething = contents;
    if (m_inStartElement) {
        Put('>');
        m_inStartElement = false;
    }
    return hadSomethingWritten;
}

void XmlByteWriter::Indent(qsizetype level)
{
    Room(1 + 2 * level);
    m_data[m_size++] = '\n';
    std::memset(m_data + m_size, ' ', static_cast<std::size_t>(2 * level));
    m_size += 2 * level;
}

void XmlByteWriter::StartElement(const QString& name)
{
    if (!FinishStartElement(false))
        Indent(static_cast<qsizetype>(m_tagStarts.size()));
    Put('<');
    OpenName(name);
    m_inStartElement = m_lastWasStartElement = true;
}

void XmlByteWriter::StartElement(std::string_view name)
{
    if (!FinishStartElement(false))
        Indent(static_cast<qsizetype>(m_tagStarts.size()));
    const auto size = static_cast<qsizetype>(name.size());
    Room(size + 1);
    m_data[m_size++] = '<';
    std::memcpy(m_data + m_size, name.data(), name.size());
    m_size += size;
    m_tagStarts.push_back(m_tagBytes.size());
    m_tagBytes.append(name);
    m_inStartElement = m_lastWasStartElement = true;
}

void XmlByteWriter::OpenName(const QString& name)
{
    const qsizetype start = m_size;
    const char16_t* at = reinterpret_cast<const char16_t*>(name.constData());
    const char16_t* const end = at + name.size();
    Room(name.size());
    char* out = m_data + m_size;
    for (; at != end && *at >= 0x20 && *at < 0x80; ++at)
        *out++ = static_cast<char>(*at);
    m_size = out - m_data;
    if (at != end) {
        if (!PlainName(name))
            m_uncertain = true;
        const QByteArray rest =
            QString::fromRawData(reinterpret_cast<const QChar*>(at), end - at).toUtf8();
        Put(rest.constData(), rest.size());
    }
    m_tagStarts.push_back(m_tagBytes.size());
    m_tagBytes.append(m_data + start, static_cast<std::size_t>(m_size - start));
}

void XmlByteWriter::EndElement()
{
    if (m_tagStarts.empty())
        return;
    const std::size_t start = m_tagStarts.back();
    m_tagStarts.pop_back();
    if (m_inStartElement) {
        Put("/>", 2);
        m_lastWasStartElement = m_inStartElement = false;
        m_tagBytes.resize(start);
        return;
    }
    if (!FinishStartElement(false) && !m_lastWasStartElement)
        Indent(static_cast<qsizetype>(m_tagStarts.size()));
    const qsizetype size = static_cast<qsizetype>(m_tagBytes.size() - start);
    Room(size + 3);
    m_data[m_size++] = '<';
    m_data[m_size++] = '/';
    std::memcpy(m_data + m_size, m_tagBytes.data() + start, static_cast<std::size_t>(size));
    m_size += size;
    m_data[m_size++] = '>';
    m_tagBytes.resize(start);
    m_lastWasStartElement = false;
}

// ` name="`
void XmlByteWriter::AttributeStart(std::string_view name)
{
    const auto size = static_cast<qsizetype>(name.size());
    Room(size + 3);
    m_data[m_size++] = ' ';
    std::memcpy(m_data + m_size, name.data(), name.size());
    m_size += size;
    m_data[m_size++] = '=';
    m_data[m_size++] = '"';
}

void XmlByteWriter::Attribute(std::string_view name, const QString& value)
{
    AttributeStart(name);
    Escaped(value, true, false);
    Put('"');
}

void XmlByteWriter::TextAttribute(std::string_view name, const QString& value)
{
    AttributeStart(name);
    Escaped(value, true, true);
    Put('"');
}

void XmlByteWriter::AsciiAttribute(std::string_view name, std::string_view value)
{
    AttributeStart(name);
    Put(value.data(), static_cast<qsizetype>(value.size()));
    Put('"');
}

void XmlByteWriter::TextElement(std::string_view name, const QString& text)
{
    StartElement(name);
    FinishStartElement(true);
    Escaped(text, false, false);
    EndElement();
}

void XmlByteWriter::MemberTextElement(std::string_view name, const QString& text)
{
    StartElement(name);
    FinishStartElement(true);
    Escaped(text, false, true);
    EndElement();
}

void XmlByteWriter::AsciiElement(std::string_view name, std::string_view text)
{
    StartElement(name);
    FinishStartElement(true);
    Put(text.data(), static_cast<qsizetype>(text.size()));
    EndElement();
}

void XmlByteWriter::Escaped(const QString& text, bool attribute, bool member)
{
    const char16_t* at = reinterpret_cast<const char16_t*>(text.constData());
    const char16_t* const end = at + text.size();
    Room(text.size());
    char* out = m_data + m_size;
    for (; at != end && *at < 0x80 && kPlain.plain[*at]; ++at)
        *out++ = static_cast<char>(*at);
    m_size = out - m_data;
    if (at != end)
        EscapedSlow(at, end, attribute, member);
}

// Character by character, as QXmlStreamWriter escapes and its UTF-8 encoder encodes; in a
// member's text, what XmlText writes as a reference.
void XmlByteWriter::EscapedSlow(const char16_t* at, const char16_t* end, bool attribute,
                                bool member)
{
    const auto reference = [this](uint code) {
        char digits[16];
        int size = 0;
        do {
            digits[size++] = static_cast<char>('0' + code % 10);
            code /= 10;
        } while (code);
        Room(3 + size);
        m_data[m_size++] = '&';
        m_data[m_size++] = '#';
        while (size)
            m_data[m_size++] = digits[--size];
        m_data[m_size++] = ';';
    };
    // Member texts in elements carry these as references; elsewhere QXmlStreamWriter leaves
    // them out and raises its error flag.
    const bool referenced = member && !attribute;
    for (; at != end; ++at) {
        const char16_t c = *at;
        if (c < 0x80) {
            if (kPlain.plain[c]) {
                Put(static_cast<char>(c));
                continue;
            }
            switch (c) {
            case '<':
                Put("&lt;", 4);
                break;
            case '>':
                Put("&gt;", 4);
                break;
            case '&':
                Put("&amp;", 5);
                break;
            case '"':
                Put("&quot;", 6);
                break;
            case '\t':
            case '\n':
                if (attribute)
                    reference(c);
                else
                    Put(static_cast<char>(c));
                break;
            case '\r':
                if (attribute || member)
                    reference(c);
                else
                    Put('\r');
                break;
            default:
                if (referenced)
                    reference(c);
                else
                    m_error = true;
                break;
            }
            continue;
        }
        if (IsSurrogate(c)) {
            if (c < 0xDC00 && at + 1 != end && (at[1] & 0xFC00) == 0xDC00) {
                const uint code = 0x10000 + ((uint(c) - 0xD800) << 10) + (uint(at[1]) - 0xDC00);
                ++at;
                Room(4);
                m_data[m_size++] = static_cast<char>(0xF0 | (code >> 18));
                m_data[m_size++] = static_cast<char>(0x80 | ((code >> 12) & 0x3F));
                m_data[m_size++] = static_cast<char>(0x80 | ((code >> 6) & 0x3F));
                m_data[m_size++] = static_cast<char>(0x80 | (code & 0x3F));
            } else if (referenced) {
                reference(c);
            } else if (member) {
                m_error = true; // an attribute's text: left out, as U+FFFF is
            } else {
                m_uncertain = true; // QXmlStreamWriter's encoder spoils what follows
            }
            continue;
        }
        if (c >= 0xFFFE) {
            if (referenced)
                reference(c);
            else
                m_error = true;
            continue;
        }
        Room(3);
        if (c < 0x800) {
            m_data[m_size++] = static_cast<char>(0xC0 | (c >> 6));
            m_data[m_size++] = static_cast<char>(0x80 | (c & 0x3F));
        } else {
            m_data[m_size++] = static_cast<char>(0xE0 | (c >> 12));
            m_data[m_size++] = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            m_data[m_size++] = static_cast<char>(0x80 | (c & 0x3F));
        }
    }
}

bool XmlByteWriter::PlainName(const QString& name)
{
    for (const QChar c : name) {
        const char16_t u = c.unicode();
        if (u < 0x20 || IsSurrogate(u) || u >= 0xFFFE)
            return false;
    }
    return true;
}

XmlByteWriter::Offer::Offer(const IRGObject* record, const QXmlStreamWriter* writer,
                            XmlByteWriter* bytes)
    : m_record(record)
    , m_writer(writer)
    , m_bytes(bytes)
    , m_outer(static_cast<Offer*>(Op().xmlWriterOffer))
{
    Op().xmlWriterOffer = this;
}

XmlByteWriter::Offer::~Offer()
{
    Op().xmlWriterOffer = m_outer;
}

XmlByteWriter* XmlByteWriter::TakeOffer(const IRGObject* record, const QXmlStreamWriter* writer)
{
    return TakeOffer(Op(), record, writer);
}

XmlByteWriter* XmlByteWriter::TakeOffer(Operation& operation, const IRGObject* record,
                                        const QXmlStreamWriter* writer)
{
    Offer* const offer = static_cast<Offer*>(operation.xmlWriterOffer);
    if (!offer || offer->m_taken || offer->m_record != record || offer->m_writer != writer)
        return nullptr;
    offer->m_taken = true;
    return offer->m_bytes;
}

qsizetype XmlByteWriter::LastSize()
{
    return Op().lastXmlSize;
}

void SetXmlStreamWriterOnly(bool only)
{
    Op().streamWriterOnly = only;
}

bool XmlStreamWriterOnly()
{
    return Op().streamWriterOnly;
}

} // namespace REPORTGENERATOR
