#include "DocumentInternals.h"
#include "IRGObject.h"
#include "Operation.h"
#include "ReadTap.h"

#include <QBuffer>
#include <QFile>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace REPORTGENERATOR {

namespace {

// Elements the last SkipUnknownElement on this thread left open, for the content loop that
// called it; -1 when none ran. Kept with the operation rather than in every record object.
qint64& OpenAfterSkip() noexcept
{
    return Operation::OfThread().openAfterSkip;
}

// Reads the next token, through the tap where one listens; comments and processing
// instructions are passed over wherever they stand, and so are told to it.
void ReadNext(QXmlStreamReader& reader, ReadTap* tap, ReadTap::Passage passage)
{
    if (!tap) {
        reader.readNext();
        return;
    }
    tap->ReadNext(reader);
    if (reader.isComment() || reader.isProcessingInstruction())
        tap->Passed(reader, passage, tap->TokenStart(reader));
}

} // namespace

bool IRGObject::SetXmlString(const QString& xml, bool reset)
{
    QXmlStreamReader reader(xml);
    if (ReadTap* tap = ReadTap::Current())
        tap->BeginXml(xml);
    return ReadXmlDocument(reader, reset);
}

bool IRGObject::LoadXml(const QString& path)
{
    QFile file(path);
    return LoadXml(&file);
}

bool IRGObject::LoadXml(QFile* file)
{
    if (!OpenForReading(file))
        return false;
    QXmlStreamReader reader(file);
    if (ReadTap* tap = ReadTap::Current())
        tap->BeginXml(QStringView());
    return ReadXmlDocument(reader, true);
}

bool IRGObject::ReadXmlDocument(QXmlStreamReader& reader, bool reset)
{
    ReadTap* const tap = ReadTap::Current();
    const auto next = [tap, &reader] { ReadNext(reader, tap, ReadTap::Passage::Document); };
    ReadTap::Position where;
    const auto here = [&reader, &where] {
        where = {reader.lineNumber(), reader.columnNumber() + 1, reader.characterOffset()};
    };
    return ReadDocument(reset, where, [&]() -> QString {
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
        if (!reader.hasError() && reader.name() != GetObjectName()) {
            if (tap)
                where = tap->TokenStart(reader);
            return QStringLiteral("Root element is '%1', expected '%2'")
                .arg(reader.name().toString(), GetObjectName());
        }
        if (!reader.hasError())
            ProcessXml(reader);
        while (!reader.atEnd())
            next();
        if (reader.hasError()) {
            here();
            return QStringLiteral("XML error in line %1, column %2: %3")
                .arg(reader.lineNumber())
                .arg(reader.columnNumber())
                .arg(reader.errorString());
        }
        return QString();
    });
}

QByteArray IRGObject::XmlDocument(bool* writerError) const
{
    QByteArray document;
    QBuffer buffer(&document);
    buffer.open(QIODevice::WriteOnly);
    QXmlStreamWriter writer(&buffer);
    writer.setAutoFormatting(true);
    writer.setAutoFormattingIndent(2);
    writer.writeStartDocument();
    GetXml(writer);
    writer.writeEndDocument();
    if (writerError)
        *writerError = writer.hasError();
    return document;
}

QString IRGObject::GetXmlString() const
{
    return QString::fromUtf8(XmlDocument());
}

bool IRGObject::SaveXml(const QString& path) const
{
    // The whole document is made before the file is touched: a record that raises while
    // writing leaves no trace.
    bool writerError = false;
    const QByteArray document = XmlDocument(&writerError);
    const QString unwritable = UnwritableInDocument(document, writerError);
    if (!unwritable.isEmpty()) {
        ReportDocumentFault(QStringLiteral("Cannot write '%1': %2").arg(path, unwritable));
        return false;
    }
    return WriteFile(path, document);
}

void IRGObject::ProcessXml(QXmlStreamReader& reader)
{
    // `open` counts the elements inside the record that are open here: a skip that stops
    // at a nested element of an unknown element's name leaves them to this loop, and their
    // end elements, whatever their names, must not end the record. A record whose own code
    // stops inside an element without SkipUnknownElement leaves the count unknown; the loop
    // then ends at the first end element that carries the record's name.
    ReadTap* const tap = ReadTap::Current();
    const QString name = reader.name().toString();
    qint64 open = 0;
    bool counting = true;
    while (!reader.atEnd()) {
        ReadNext(reader, tap, ReadTap::Passage::Content);
        if (reader.isStartElement()) {
            OpenAfterSkip() = -1;
            ProcessXmlStartElement(reader);
            const qint64 left = OpenAfterSkip();
            OpenAfterSkip() = -1;
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
            tap->Passed(reader, ReadTap::Passage::Content, tap->TokenStart(reader));
        }
    }
}

QString IRGObject::GetTextValue(QXmlStreamReader& reader)
{
    // Iterative: nesting of any depth costs no stack.
    if (!reader.isStartElement())
        return QString();
    ReadTap* const tap = ReadTap::Current();
    QString text;
    qint64 depth = 1;
    while (depth > 0 && !reader.atEnd()) {
        ReadNext(reader, tap, ReadTap::Passage::MemberText);
        switch (reader.tokenType()) {
        case QXmlStreamReader::StartElement:
            if (tap)
                tap->Passed(reader, ReadTap::Passage::MemberText, tap->TokenStart(reader));
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
    return text;
}

void IRGObject::SkipUnknownElement(QXmlStreamReader& reader)
{
    ReadTap* const tap = ReadTap::Current();
    const QString name = reader.name().toString();
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
    OpenAfterSkip() = reader.atEnd() ? 0 : open;
}

} // namespace REPORTGENERATOR
