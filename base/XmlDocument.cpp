#include "DocumentInternals.h"
#include "IRGObject.h"
#include "Operation.h"
#include "ReadTap.h"
#include "XmlByteWriter.h"
#include "XmlTokenCursor.h"

#include <QBuffer>
#include <QFile>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace REPORTGENERATOR {

namespace {

ReadTap::Token Passing(const QXmlStreamReader& reader)
{
    ReadTap::Token token;
    token.type = reader.tokenType();
    token.text = reader.text().toString();
    token.name = reader.isProcessingInstruction() ? reader.processingInstructionTarget().toString()
                                                  : reader.name().toString();
    return token;
}

ReadTap::Token Passing(const XmlTokenCursor& reader)
{
    ReadTap::Token token;
    token.type = reader.tokenType();
    token.text = ToQString(reader.text());
    token.name = ToQString(reader.isProcessingInstruction() ? reader.processingInstructionTarget()
                                                            : reader.name());
    return token;
}

// Reads the next token, through the tap where one listens; comments and processing
// instructions are passed over wherever they stand, and so are told to it.
template <class Reader> void ReadNext(Reader& reader, ReadTap* tap, ReadTap::Passage passage)
{
    if (!tap) {
        reader.readNext();
        return;
    }
    tap->ReadNext(reader);
    if (reader.isComment() || reader.isProcessingInstruction())
        tap->Passed(Passing(reader), passage, tap->TokenStart(reader));
}

// The name an element was read with, to compare later tokens' names with.
QString ElementName(const QXmlStreamReader& reader)
{
    return reader.name().toString();
}
std::string_view ElementName(const XmlTokenCursor& reader)
{
    return reader.name();
}

// An element's text as it is read: the chunks of QXmlStreamReader, or byte ranges that mostly
// are one and so are never copied.
struct Utf8Text {
    std::string_view first;
    std::string joined;
    int chunks = 0;

    Utf8Text& operator+=(std::string_view chunk)
    {
        if (chunks++ == 0) {
            first = chunk;
            return *this;
        }
        if (chunks == 2)
            joined.assign(first);
        joined.append(chunk);
        return *this;
    }
    QString Text() const
    {
        if (chunks == 0)
            return QString();
        return ToQString(chunks == 1 ? first : std::string_view(joined));
    }
};
QString Collected(const QString& text)
{
    return text;
}
QString Collected(const Utf8Text& text)
{
    return text.Text();
}
template <class Reader> struct TextOf {
    using Type = QString;
};
template <> struct TextOf<XmlTokenCursor> {
    using Type = Utf8Text;
};

// Whether the text holds a surrogate at all: most documents hold none.
bool HasSurrogate(const char16_t* text, qsizetype size)
{
    qsizetype i = 0;
#ifdef __SSE2__
    const __m128i mask = _mm_set1_epi16(short(0xF800));
    const __m128i surrogate = _mm_set1_epi16(short(0xD800));
    for (; i + 8 <= size; i += 8) {
        const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + i));
        if (_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(units, mask), surrogate)))
            return true;
    }
#endif
    for (; i < size; ++i)
        if ((text[i] & 0xF800) == 0xD800)
            return true;
    return false;
}

// Whether the text converts to UTF-8 and back unchanged: no lone surrogate.
bool WellFormedUtf16(const QString& text)
{
    if (!HasSurrogate(reinterpret_cast<const char16_t*>(text.utf16()), text.size()))
        return true;
    const QChar* c = text.constData();
    const QChar* const end = c + text.size();
    for (; c != end; ++c) {
        if (!c->isSurrogate())
            continue;
        if (!c->isHighSurrogate() || c + 1 == end || !c[1].isLowSurrogate())
            return false;
        ++c;
    }
    return true;
}

// The document around the root element; the root's own reading is @p process.
template <class Reader, class Process>
QString ReadWholeXml(Reader& reader, const QString& objectName, ReadTap::Position& where,
                     Process&& process)
{
    ReadTap* const tap = ReadTap::Current();
    const auto next = [tap, &reader] { ReadNext(reader, tap, ReadTap::Passage::Document); };
    // A document type declaration can only stand before the root element; refusing it
    // there keeps entity declarations and their expansion out of the reader.
    while (!reader.atEnd() && !reader.isStartElement()) {
        next();
        if (reader.tokenType() == QXmlStreamReader::DTD) {
            if (tap)
                where = tap->TokenStart(reader);
            return QStringLiteral(
                       "Document type declarations are not accepted (line %1, column %2)")
                .arg(reader.lineNumber())
                .arg(reader.columnNumber());
        }
    }
    if (!reader.hasError() && !SameName(reader.name(), objectName)) {
        if (tap)
            where = tap->TokenStart(reader);
        return QStringLiteral("Root element is '%1', expected '%2'")
            .arg(ToQString(reader.name()), objectName);
    }
    if (!reader.hasError())
        process();
    while (!reader.atEnd())
        next();
    if (reader.hasError()) {
        where = {reader.lineNumber(), reader.columnNumber() + 1, reader.characterOffset()};
        return QStringLiteral("XML error in line %1, column %2: %3")
            .arg(reader.lineNumber())
            .arg(reader.columnNumber())
            .arg(reader.errorString());
    }
    return QString();
}

// The content loop of a record's element; @p startElement reads each child start element.
//
// `open` counts the elements inside the record that are open here: a skip that stops at a
// nested element of an unknown element's name leaves them to this loop, and their end
// elements, whatever their names, must not end the record. A record whose own code stops
// inside an element without SkipUnknownElement leaves the count unknown; the loop then ends
// at the first end element that carries the record's name.
template <class Reader, class StartElement>
void ContentLoop(Operation& operation, Reader& reader, StartElement&& startElement)
{
    ReadTap* const tap = operation.tap;
    qint64& openAfterSkip = operation.openAfterSkip;
    const auto name = ElementName(reader);
    qint64 open = 0;
    bool counting = true;
    while (!reader.atEnd()) {
        ReadNext(reader, tap, ReadTap::Passage::Content);
        if (reader.isStartElement()) {
            openAfterSkip = -1;
            startElement();
            const qint64 left = openAfterSkip;
            openAfterSkip = -1;
            if (left > 0)
                open += left;
            else if (left < 0 && !reader.isEndElement())
                counting = false;
        } else if (reader.isEndElement()) {
            if (counting ? open == 0 : reader.name() == name)
                return;
            if (open > 0)
                --open;
        } else if (tap && reader.isCharacters() && !reader.isWhitespace()) {
            tap->Passed(Passing(reader), ReadTap::Passage::Content, tap->TokenStart(reader));
        }
    }
}

template <class Reader> QString TextValue(Operation& operation, Reader& reader)
{
    // Iterative: nesting of any depth costs no stack.
    if (!reader.isStartElement())
        return QString();
    ReadTap* const tap = operation.tap;
    typename TextOf<Reader>::Type text;
    qint64 depth = 1;
    while (depth > 0 && !reader.atEnd()) {
        ReadNext(reader, tap, ReadTap::Passage::MemberText);
        switch (reader.tokenType()) {
        case QXmlStreamReader::StartElement:
            if (tap)
                tap->Passed(Passing(reader), ReadTap::Passage::MemberText, tap->TokenStart(reader));
            ++depth;
            break;
        case QXmlStreamReader::EndElement:
            --depth;
            break;
        case QXmlStreamReader::Characters:
        case QXmlStreamReader::EntityReference:
            if (depth == 1)
                text += reader.text();
            break;
        default:
            break;
        }
    }
    return Collected(text);
}

template <class Reader> void SkipElement(Operation& operation, Reader& reader)
{
    ReadTap* const tap = operation.tap;
    const auto name = ElementName(reader);
    qint64 open = 1;
    while (!reader.atEnd()) {
        ReadNext(reader, tap, ReadTap::Passage::Skipped);
        if (reader.isStartElement())
            ++open;
        else if (reader.isEndElement())
            --open;
        if (reader.name() == name)
            break;
    }
    operation.openAfterSkip = reader.atEnd() ? 0 : open;
}

} // namespace

void SetXmlStreamReaderOnly(bool only)
{
    Operation::OfThread().streamReaderOnly = only;
}

bool XmlStreamReaderOnly()
{
    return Operation::OfThread().streamReaderOnly;
}

bool IRGObject::SetXmlString(const QString& xml, bool reset)
{
    return ReadXmlText(xml, reset, nullptr);
}

bool IRGObject::LoadXml(const QString& path)
{
    QFile file(path);
    return LoadXml(&file);
}

bool IRGObject::LoadXml(QFile* file)
{
    return ReadXmlFile(file, nullptr);
}

bool IRGObject::ReadXmlText(const QString& xml, bool reset, TokenReading reading)
{
    ReadTap* const tap = ReadTap::Current();
    // The document is tokenized whole first; where the tokenizer is not sure of it,
    // QXmlStreamReader reads it from the start, and every message is its own.
    if (reading && !Operation::OfThread().streamReaderOnly && WellFormedUtf16(xml)) {
        const QByteArray bytes = xml.toUtf8();
        XmlTokens tokens;
        if (tokens.Tokenize(bytes, XmlTokens::Source::String)) {
            if (tap)
                tap->BeginXml(xml);
            XmlTokenCursor cursor(tokens);
            return ReadXmlDocument(cursor, reset, reading);
        }
    }
    QXmlStreamReader reader(xml);
    if (tap)
        tap->BeginXml(xml);
    return ReadXmlDocument(reader, reset);
}

bool IRGObject::ReadXmlFile(QFile* file, TokenReading reading)
{
    if (!OpenForReading(file))
        return false;
    ReadTap* const tap = ReadTap::Current();
    if (reading && !Operation::OfThread().streamReaderOnly && !file->isSequential()) {
        const qint64 start = file->pos();
        const QByteArray bytes = file->readAll();
        XmlTokens tokens;
        if (tokens.Tokenize(bytes)) {
            if (tap)
                tap->BeginXml(QStringView());
            XmlTokenCursor cursor(tokens);
            return ReadXmlDocument(cursor, true, reading);
        }
        file->seek(start);
    }
    QXmlStreamReader reader(file);
    if (tap)
        tap->BeginXml(QStringView());
    return ReadXmlDocument(reader, true);
}

bool IRGObject::ReadXmlDocument(QXmlStreamReader& reader, bool reset)
{
    ReadTap::Position where;
    return ReadDocument(reset, where, [&]() -> QString {
        return ReadWholeXml(reader, GetObjectName(), where, [&] { ProcessXml(reader); });
    });
}

bool IRGObject::ReadXmlDocument(XmlTokenCursor& reader, bool reset, TokenReading reading)
{
    ReadTap::Position where;
    return ReadDocument(reset, where, [&]() -> QString {
        return ReadWholeXml(reader, GetObjectName(), where, [&] { reading(*this, reader); });
    });
}

namespace {

// The document as QXmlStreamWriter writes it. With @p offered, the byte writer is offered to
// the record for its GetXml(); when the record takes it, what it wrote there counts instead.
QByteArray StreamWriterDocument(const IRGObject& record, bool* writerError, XmlByteWriter* offered,
                                bool* taken)
{
    QByteArray document;
    QBuffer buffer(&document);
    buffer.open(QIODevice::WriteOnly);
    QXmlStreamWriter writer(&buffer);
    writer.setAutoFormatting(true);
    writer.setAutoFormattingIndent(2);
    writer.writeStartDocument();
    if (offered) {
        const XmlByteWriter::Offer offer(&record, &writer, offered);
        record.GetXml(writer);
        *taken = offer.Taken();
        if (*taken)
            return QByteArray();
    } else {
        record.GetXml(writer);
    }
    writer.writeEndDocument();
    if (writerError)
        *writerError = writer.hasError();
    return document;
}

} // namespace

QByteArray IRGObject::XmlDocument(bool* writerError) const
{
    if (!XmlStreamWriterOnly()) {
        // Documents come in about the same size one after another.
        XmlByteWriter bytes(XmlByteWriter::LastSize() * 9 / 8 + 256);
        bytes.StartDocument();
        bool taken = false;
        QByteArray document = StreamWriterDocument(*this, writerError, &bytes, &taken);
        if (!taken)
            return document;
        if (!bytes.Uncertain()) {
            if (writerError)
                *writerError = bytes.HasError();
            return bytes.EndDocument();
        }
        // Something the byte writer is not sure of, a name or a value that is no text
        // holding a control character or an unpaired surrogate: QXmlStreamWriter writes the
        // document again. The records test their names before they take the offer, and
        // their numbers and date-times are ASCII, so that this does not happen to them.
    }
    return StreamWriterDocument(*this, writerError, nullptr, nullptr);
}

QString IRGObject::GetXmlString() const
{
    return QString::fromUtf8(XmlDocument());
}

// The whole document is made before the file is touched: a record that raises while writing
// leaves no trace.
QByteArray IRGObject::SavedXml(const QString& target) const
{
    bool writerError = false;
    const QByteArray document = XmlDocument(&writerError);
    const QString unwritable = UnwritableInDocument(document, writerError);
    if (unwritable.isEmpty())
        return document;
    ReportDocumentFault(QStringLiteral("Cannot write '%1': %2").arg(target, unwritable));
    return QByteArray();
}

bool IRGObject::SaveXml(const QString& path) const
{
    const QByteArray document = SavedXml(path);
    return !document.isNull() && WriteFile(path, document);
}

void IRGObject::ProcessXml(QXmlStreamReader& reader)
{
    ContentLoop(Operation::OfThread(), reader, [&] { ProcessXmlStartElement(reader); });
}

void IRGObject::ReadContent(XmlTokenCursor& reader, TokenReading startElement)
{
    ContentLoop(Operation::OfThread(), reader, [&] { startElement(*this, reader); });
}

void IRGObject::ReadContent(Operation& operation, XmlTokenCursor& reader,
                            OperationReading startElement)
{
    ContentLoop(operation, reader, [&] { startElement(operation, *this, reader); });
}

QString IRGObject::GetTextValue(QXmlStreamReader& reader)
{
    return TextValue(Operation::OfThread(), reader);
}

QString IRGObject::GetTextValue(XmlTokenCursor& reader)
{
    return GetTextValue(Operation::OfThread(), reader);
}

QString IRGObject::GetTextValue(Operation& operation, XmlTokenCursor& reader)
{
    // Most member elements hold one piece of text. A tap is told of each step, as the loop
    // of TextValue() tells it; it passes over nothing here.
    std::string_view text;
    ReadTap* const tap = operation.tap;
    if (!tap) {
        if (reader.PlainElement(text))
            return text.data() ? ToQString(text) : QString();
    } else if (reader.IsPlainElement()) {
        tap->ReadNext(reader);
        if (!reader.isCharacters())
            return QString();
        text = reader.text();
        tap->ReadNext(reader);
        return ToQString(text);
    }
    return TextValue(operation, reader);
}

void IRGObject::SkipUnknownElement(QXmlStreamReader& reader)
{
    SkipElement(Operation::OfThread(), reader);
}

void IRGObject::SkipUnknownElement(XmlTokenCursor& reader)
{
    SkipElement(Operation::OfThread(), reader);
}

void IRGObject::SkipUnknownElement(Operation& operation, XmlTokenCursor& reader)
{
    SkipElement(operation, reader);
}

} // namespace REPORTGENERATOR
