// The XML form, written: a record is one element named after it, with attribute members,
// text elements for the other members and child records' own elements, into a caller's
// QXmlStreamWriter or into the byte writer of a whole document.

#include "ReadContext.h"
#include "RecordStorage.h"
#include "RecordText.h"

#include <Numbers.h>
#include <XmlByteWriter.h>
#include <XmlText.h>

#include <QXmlStreamWriter>

#include <algorithm>
#include <charconv>
#include <string>
#include <typeinfo>
#include <vector>

namespace KVT317XML {

// Writing: the same walk into a caller's QXmlStreamWriter and into the byte writer of a
// whole document.
struct RecordXmlWriting {
    using Bytes = REPORTGENERATOR::XmlByteWriter;

    // A record's elements and attributes into QXmlStreamWriter.
    struct Stream {
        QXmlStreamWriter& writer;
        void Start(const Record& record) { writer.writeStartElement(record.GetObjectName()); }
        void End() { writer.writeEndElement(); }
        void Attribute(const MemberDescription& member, const QString& value)
        {
            writer.writeAttribute(member.name, value);
        }
        void TextAttribute(const MemberDescription& member, const QString& value)
        {
            REPORTGENERATOR::XmlText::WriteAttribute(writer, member.name, value);
        }
        void TextElement(const MemberDescription& member, const QString& text)
        {
            writer.writeTextElement(member.name, text);
        }
        void MemberTextElement(const MemberDescription& member, const QString& text)
        {
            REPORTGENERATOR::XmlText::WriteTextElement(writer, member.name, text);
        }
        // Numbers go through their QString as they always have.
        bool Number(const MemberRow&, const StorageBlock&, bool) { return false; }
    };
    static Stream Out(Stream& writer, const Record&) { return writer; }

    // A record's elements and attributes into the byte writer.
    struct Utf8 {
        Bytes& bytes;
        const RecordType& type;
        std::string_view Name(const MemberDescription& member) const
        {
            return type.xmlMemberNames[std::size_t(member.bit)];
        }
        void Start(const Record& record)
        {
            const QString& name = record.GetObjectName();
            if (name == type.description.name)
                bytes.StartElement(type.xmlName);
            else
                bytes.StartElement(name);
        }
        void End() { bytes.EndElement(); }
        void Attribute(const MemberDescription& member, const QString& value)
        {
            bytes.Attribute(Name(member), value);
        }
        void TextAttribute(const MemberDescription& member, const QString& value)
        {
            bytes.TextAttribute(Name(member), value);
        }
        void TextElement(const MemberDescription& member, const QString& text)
        {
            bytes.TextElement(Name(member), text);
        }
        void MemberTextElement(const MemberDescription& member, const QString& text)
        {
            bytes.MemberTextElement(Name(member), text);
        }
        // Numbers go into the bytes as the text they convert to, without a QString.
        bool Number(const MemberRow& row, const StorageBlock& block, bool attribute)
        {
            const MemberDescription& member = row.description;
            constexpr int Most = 64;
            char text[Most];
            int size = -1;
            if (member.kind == MemberKind::Integer) {
                const auto end = std::to_chars(text, text + Most, At<int>(&block, row.valueOffset));
                size = static_cast<int>(end.ptr - text);
            } else if (member.kind == MemberKind::Double || member.kind == MemberKind::Float) {
                const double value = member.kind == MemberKind::Double
                                         ? At<double>(&block, row.valueOffset)
                                         : static_cast<double>(At<float>(&block, row.valueOffset));
                size = REPORTGENERATOR::Numbers::FixedAscii(value, member.fieldWidth,
                                                            member.precision, text, Most);
            }
            if (size < 0)
                return false;
            const std::string_view ascii(text, std::size_t(size));
            if (attribute)
                bytes.AsciiAttribute(Name(member), ascii);
            else
                bytes.AsciiElement(Name(member), ascii);
            return true;
        }
    };
    static Utf8 Out(Bytes& writer, const Record& record) { return Utf8{writer, record.m_type}; }

    // A child record: through the virtual where the writer is the caller's and the child's
    // class may write itself otherwise.
    static void Child(REPORTGENERATOR::Operation& operation, const Record& child, Stream& writer)
    {
        if (typeid(child) == *child.m_type.exactClass)
            child.GetXmlIn(operation, writer.writer);
        else
            child.GetXml(writer.writer);
    }
    static void Child(REPORTGENERATOR::Operation& operation, const Record& child, Bytes& writer)
    {
        Element(operation, child, writer);
    }

    // Whether the byte writer writes every name of the record type, and of the types it
    // holds, as QXmlStreamWriter does. A few dozen names, looked at once per document.
    static bool PlainNames(const RecordDescription& type,
                           std::vector<const RecordDescription*>& seen)
    {
        if (std::find(seen.begin(), seen.end(), &type) != seen.end())
            return true; // a type that holds itself is being looked at already
        seen.push_back(&type);
        if (!Bytes::PlainName(type.name))
            return false;
        for (const MemberDescription& member : type.members) {
            if (!Bytes::PlainName(member.name))
                return false;
            if (member.enumeration)
                for (const QString& name : member.enumeration->names)
                    if (!Bytes::PlainName(name))
                        return false;
            if (member.nested && !PlainNames(*member.nested(), seen))
                return false;
        }
        return true;
    }
    static bool PlainNames(const RecordDescription& type)
    {
        std::vector<const RecordDescription*> seen;
        return PlainNames(type, seen);
    }

    template <class Writer>
    static void Element(REPORTGENERATOR::Operation& operation, const Record& record,
                        Writer& writer);
};

template <class Writer>
void RecordXmlWriting::Element(REPORTGENERATOR::Operation& operation, const Record& record,
                               Writer& writer)
{
    ReadContext* const context = ReadContext::Of(operation);
    record.PassDown();
    if (record.GetValidate()) {
        record.CheckIn(operation, false);
        if (!record.HasData())
            return;
    }
    const RecordType& type = record.m_type;
    const StorageBlock& block = record.ConstStorage();
    auto out = Out(writer, record);
    out.Start(record);
    for (const int bit : type.writeOrder) {
        const MemberRow& row = type.rows[bit];
        const MemberDescription& member = row.description;
        if (!member.attribute)
            break;
        if (block.isSet & (quint32(1) << bit) && !out.Number(row, block, true))
            text::WithText(row, block, [&](const QString& text) {
                if (member.operations->text) {
                    record.ReportUnwritable(operation, member, text);
                    out.TextAttribute(member, text);
                } else {
                    out.Attribute(member, text);
                }
            });
    }
    for (const MemberRow& row : type.rows) {
        const MemberDescription& member = row.description;
        const bool set = block.isSet & (quint32(1) << member.bit);
        const void* value = reinterpret_cast<const char*>(&block) + row.valueOffset;
        if (member.attribute)
            continue;
        // A child record (item -1) or a list item: an incomplete one is reported, and it is
        // written where the member is set.
        const auto held = [&](const Record& child, int item) {
            if (!child.HasData())
                record.ReportIncomplete(operation, member);
            if (set) {
                const ReadContext::Scope scope(context, *member.nested(), member.bit, item);
                const Record::HeldScope as = record.Reporting(operation, child);
                Child(operation, child, writer);
            }
        };
        if (row.asRecord) {
            held(RecordAt(row, value, 0), -1);
        } else if (row.list) {
            for (int i = 0; i < row.list->size(value); ++i)
                held(row.list->item(value, i), i);
        } else if ((set || member.AlwaysWritten()) && !out.Number(row, block, false)) {
            text::WithText(row, block, [&](const QString& text) {
                if (member.operations->text) {
                    // Texts may hold what the reader would normalise, or what XML cannot
                    // carry at all; numbers, names and date-times never do.
                    record.ReportUnwritable(operation, member, text);
                    out.MemberTextElement(member, text);
                } else {
                    out.TextElement(member, text);
                }
            });
        }
    }
    out.End();
}

void Record::GetXml(QXmlStreamWriter& writer) const
{
    GetXmlIn(REPORTGENERATOR::Operation::OfThread(), writer);
}

void Record::GetXmlIn(REPORTGENERATOR::Operation& operation, QXmlStreamWriter& writer) const
{
    ReadContext* const context = ReadContext::Of(operation);
    if (context && context->Depth() == 0) {
        // The record written first is the root of the paths its reports carry.
        const ReadContext::Scope scope(context, m_type.description, -1, -1);
        GetXmlIn(operation, writer);
        return;
    }
    // A whole-document save offers its byte writer; the record's own code writes there when
    // the record is of its class and every name is one the byte writer is sure of.
    if (typeid(*this) == *m_type.exactClass && RecordXmlWriting::PlainNames(m_type.description) &&
        REPORTGENERATOR::XmlByteWriter::PlainName(GetObjectName()))
        if (REPORTGENERATOR::XmlByteWriter* bytes =
                REPORTGENERATOR::XmlByteWriter::TakeOffer(operation, this, &writer)) {
            RecordXmlWriting::Element(operation, *this, *bytes);
            return;
        }
    RecordXmlWriting::Stream stream{writer};
    RecordXmlWriting::Element(operation, *this, stream);
}

// A text holding a character that XML 1.0 cannot carry is written without it being able to
// read back as it was: say so, naming the member and the character. A save that is running
// refuses to write the document.
void Record::ReportUnwritable(REPORTGENERATOR::Operation& operation,
                              const MemberDescription& member, const QString& text) const
{
    uint code = 0;
    const qsizetype at = REPORTGENERATOR::XmlText::FirstUnwritable(text, &code);
    if (at < 0)
        return;
    if (REPORTGENERATOR::TextRefusal* refusal = operation.refusal)
        refusal->Found(member.name, text, at, code);
    const ReadContext::Subject subject(ReadContext::Of(operation), &member);
    Trace(REPORTGENERATOR::LogLevel::Error,
          REPORTGENERATOR::RGException(GetObjectName() + QStringLiteral(": ") + member.name +
                                       QStringLiteral(" holds ") +
                                       REPORTGENERATOR::XmlText::CodeName(code) +
                                       QStringLiteral(", a character that XML cannot carry")));
}

} // namespace KVT317XML
