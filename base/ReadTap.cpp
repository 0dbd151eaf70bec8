#include "ReadTap.h"
#include "Operation.h"
#include "XmlTokenCursor.h"

#include <QIODevice>
#include <QXmlStreamReader>

namespace REPORTGENERATOR {

namespace {
ReadTap*& CurrentTap() noexcept
{
    return Operation::OfThread().tap;
}
} // namespace

ReadTap::ReadTap() = default;
ReadTap::~ReadTap() = default;

ReadTap* ReadTap::Current() noexcept
{
    return CurrentTap();
}

void ReadTap::BeginXml(QStringView source)
{
    m_endLine = 1;
    m_endColumn = 0;
    m_endOffset = 0;
    m_endedInText = false;
    m_source = source;
}

namespace {
bool WithoutDeclaration(const QXmlStreamReader& reader)
{
    return reader.isStartDocument() && reader.documentVersion().isEmpty();
}
bool WithoutDeclaration(const XmlTokenCursor& reader)
{
    return reader.isStartDocument() && !reader.HasDocumentVersion();
}
bool HasLineBreak(QStringView text)
{
    return text.contains(u'\n');
}
bool HasLineBreak(std::string_view text)
{
    return text.find('\n') != std::string_view::npos;
}
// The comment's length in UTF-16 code units.
qint64 Length(QStringView text)
{
    return text.size();
}
qint64 Length(std::string_view text)
{
    qint64 length = 0;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte & 0xC0) != 0x80)
            length += byte >= 0xF0 ? 2 : 1;
    }
    return length;
}
} // namespace

void ReadTap::ReadNext(QXmlStreamReader& reader)
{
    Next(reader);
}

void ReadTap::ReadNext(XmlTokenCursor& reader)
{
    Next(reader);
}

ReadTap::Position ReadTap::TokenStart(const QXmlStreamReader& reader) const
{
    return Start(reader);
}

ReadTap::Position ReadTap::TokenStart(const XmlTokenCursor& reader) const
{
    return Start(reader);
}

template <class Reader> void ReadTap::Next(Reader& reader)
{
    // A document without a declaration starts before the reader's first look ahead.
    if (WithoutDeclaration(reader)) {
        reader.readNext();
        return;
    }
    m_endLine = reader.lineNumber();
    m_endColumn = reader.columnNumber();
    m_endOffset = reader.characterOffset();
    m_endedInText = reader.isCharacters();
    reader.readNext();
}

template <class Reader> ReadTap::Position ReadTap::Start(const Reader& reader) const
{
    // The reader looks one character past character data: when a text ends at a markup
    // token, the token's '<' has been taken already.
    if (m_endedInText && m_endOffset > 0)
        return {m_endLine, m_endColumn, m_endOffset - 1};
    Position start{m_endLine, m_endColumn + 1, m_endOffset};
    // Outside the root element white space is no token of its own: it lies between the
    // last token's end and this one's start.
    if (!m_source.isEmpty()) {
        while (start.offset < m_source.size()) {
            const QChar c = m_source.at(start.offset);
            if (c == u'\n') {
                ++start.line;
                start.column = 1;
            } else if (c == u' ' || c == u'\t' || c == u'\r') {
                ++start.column;
            } else {
                break;
            }
            ++start.offset;
        }
    } else if (reader.isComment()) {
        // Without the text, a comment is measured back from its end: "<!--", text, "-->".
        const auto text = reader.text();
        if (!HasLineBreak(text)) {
            const qint64 length = Length(text) + 7;
            start = {reader.lineNumber(), reader.columnNumber() - length + 1,
                     reader.characterOffset() - length};
        }
    }
    return start;
}

qint64 ReadTap::BinaryOffset(const QIODevice* device) const
{
    if (!device || device->isSequential())
        return -1;
    return device->pos() - m_frameStart;
}

} // namespace REPORTGENERATOR
