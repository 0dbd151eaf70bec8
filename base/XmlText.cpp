#include "XmlText.h"
#include "Operation.h"

#include <QXmlStreamWriter>

namespace REPORTGENERATOR {

namespace {

// QString's own index type: int in Qt 5, qsizetype in Qt 6.
using Index = decltype(QString().size());

// The code point at i (a pair counts as one) and the number of code units it takes.
uint CodeAt(const QString& text, Index i, int* units)
{
    const QChar c = text.at(i);
    *units = 1;
    if (c.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
        *units = 2;
        return QChar::surrogateToUcs4(c, text.at(i + 1));
    }
    return c.unicode();
}

// Carriage returns would come back as line feeds; the rest cannot be written literally at all.
bool NeedsReference(uint code)
{
    return code == '\r' || !XmlText::IsXmlCharacter(code);
}

} // namespace

bool XmlText::IsXmlCharacter(uint code)
{
    if (code < 0x20)
        return code == '\t' || code == '\n' || code == '\r';
    if (code >= 0xD800 && code <= 0xDFFF)
        return false;
    return code != 0xFFFE && code != 0xFFFF && code <= 0x10FFFF;
}

qsizetype XmlText::FirstUnwritable(const QString& text, uint* code)
{
    // Every save tests every text: the common characters cost one comparison each.
    const QChar* data = text.constData();
    const Index size = text.size();
    for (Index i = 0; i < size; ++i) {
        const uint c = data[i].unicode();
        if (c >= 0x20 && c < 0xD800)
            continue;
        if (QChar::isHighSurrogate(c) && i + 1 < size && data[i + 1].isLowSurrogate()) {
            ++i; // a pair: U+10000 to U+10FFFF, all of which XML carries
            continue;
        }
        if (!IsXmlCharacter(c)) {
            if (code)
                *code = c;
            return i;
        }
    }
    return -1;
}

QString XmlText::CodeName(uint code)
{
    return QStringLiteral("U+%1").arg(code, 4, 16, QLatin1Char('0')).toUpper();
}

void XmlText::WriteTextElement(QXmlStreamWriter& writer, const QString& name, const QString& text)
{
    Index first = 0;
    int units = 1;
    while (first < text.size() && !NeedsReference(CodeAt(text, first, &units)))
        first += units;
    if (first == text.size()) {
        writer.writeTextElement(name, text);
        return;
    }
    writer.writeStartElement(name);
    Index run = 0;
    for (Index i = first; i < text.size(); i += units) {
        const uint code = CodeAt(text, i, &units);
        if (!NeedsReference(code))
            continue;
        if (i > run)
            writer.writeCharacters(text.mid(run, i - run));
        writer.writeEntityReference(QStringLiteral("#%1").arg(code));
        run = i + units;
    }
    if (run < text.size())
        writer.writeCharacters(text.mid(run));
    writer.writeEndElement();
}

void XmlText::WriteAttribute(QXmlStreamWriter& writer, const QString& name, const QString& value)
{
    // QXmlStreamWriter leaves out controls, U+FFFE and U+FFFF and raises its error flag; an
    // unpaired surrogate would spoil the rest of the document, so it goes the same way.
    QString written = value;
    int units = 1;
    for (Index i = 0; i < written.size(); i += units) {
        const uint code = CodeAt(written, i, &units);
        if (code >= 0xD800 && code <= 0xDFFF)
            written[i] = QChar(0xFFFF);
    }
    writer.writeAttribute(name, written);
}

TextRefusal::TextRefusal()
    : m_outer(Operation::OfThread().refusal)
{
    Operation::OfThread().refusal = this;
}

TextRefusal::~TextRefusal()
{
    Operation::OfThread().refusal = m_outer;
}

TextRefusal* TextRefusal::Current() noexcept
{
    return Operation::OfThread().refusal;
}

void TextRefusal::Found(const QString& member, const QString& text, qsizetype position, uint code)
{
    if (m_refused)
        return;
    m_refused = true;
    m_path = member;
    m_code = code;
    // Characters as people count them: a surrogate pair is one.
    m_character = 1;
    int units = 1;
    for (Index i = 0; i < position; i += units) {
        CodeAt(text, i, &units);
        ++m_character;
    }
}

void TextRefusal::Within(const QString& step)
{
    m_path = step + QLatin1Char('/') + m_path;
}

QString TextRefusal::Message(const QString& root) const
{
    return QStringLiteral("%1/%2 holds %3 at character %4, a character XML cannot carry; "
                          "remove or replace it: a text may hold no control character but tab, "
                          "line feed and carriage return, neither U+FFFE nor U+FFFF, and no "
                          "surrogate without its pair")
        .arg(root, m_path, XmlText::CodeName(m_code))
        .arg(m_character);
}

} // namespace REPORTGENERATOR
