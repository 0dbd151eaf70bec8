// The XML form: a record is one element named after it, with attribute members, text
// elements for the other members and child records' own elements.

#include "ReadContext.h"
#include "RecordStorage.h"
#include "RecordText.h"

#include <XmlText.h>
#include <XmlTokenCursor.h>

#include <QXmlStreamAttributes>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <cstring>
#include <typeinfo>

namespace KVT317XML {

namespace {

// XML texts are never null: an empty element or attribute is an empty text.
QString NonNull(const QString& text)
{
    return text.isNull() ? QStringLiteral("") : text;
}

} // namespace

void Record::GetXml(QXmlStreamWriter& writer) const
{
    ReadContext* const context = ReadContext::Current();
    if (context && context->Depth() == 0) {
        // The record written first is the root of the paths its reports carry.
        const ReadContext::Scope scope(context, m_type.description, -1, -1);
        GetXml(writer);
        return;
    }
    PassDown();
    if (GetValidate()) {
        Check();
        if (!HasData())
            return;
    }
    const StorageBlock& block = ConstStorage();
    writer.writeStartElement(GetObjectName());
    for (const int bit : m_type.writeOrder) {
        const MemberRow& row = m_type.rows[bit];
        if (!row.description.attribute)
            break;
        if (block.isSet & (quint32(1) << bit))
            text::WithText(row, block, [&](const QString& text) {
                if (row.description.operations->text) {
                    ReportUnwritable(row.description, text);
                    REPORTGENERATOR::XmlText::WriteAttribute(writer, row.description.name, text);
                } else {
                    writer.writeAttribute(row.description.name, text);
                }
            });
    }
    for (const MemberRow& row : m_type.rows) {
        const MemberDescription& member = row.description;
        const bool set = block.isSet & (quint32(1) << member.bit);
        const void* value = reinterpret_cast<const char*>(&block) + row.valueOffset;
        if (member.attribute)
            continue;
        if (row.asRecord) {
            const Record& child = RecordAt(row, value, 0);
            if (!child.HasData())
                ReportIncomplete(member);
            if (set) {
                const ReadContext::Scope scope(context, *member.nested(), member.bit, -1);
                const HeldScope as = Reporting(child);
                child.GetXml(writer);
            }
        } else if (row.list) {
            for (int i = 0; i < row.list->size(value); ++i) {
                const Record& item = row.list->item(value, i);
                if (!item.HasData())
                    ReportIncomplete(member);
                if (set) {
                    const ReadContext::Scope scope(context, *member.nested(), member.bit, i);
                    const HeldScope as = Reporting(item);
                    item.GetXml(writer);
                }
            }
        } else if (set || member.AlwaysWritten()) {
            text::WithText(row, block, [&](const QString& text) {
                if (member.operations->text) {
                    // Texts may hold what the reader would normalise, or what XML cannot
                    // carry at all; numbers, names and date-times never do.
                    ReportUnwritable(member, text);
                    REPORTGENERATOR::XmlText::WriteTextElement(writer, member.name, text);
                } else {
                    writer.writeTextElement(member.name, text);
                }
            });
        }
    }
    writer.writeEndElement();
}

// A text holding a character that XML 1.0 cannot carry is written without it being able to
// read back as it was: say so, naming the member and the character. A save that is running
// refuses to write the document.
void Record::ReportUnwritable(const MemberDescription& member, const QString& text) const
{
    uint code = 0;
    const qsizetype at = REPORTGENERATOR::XmlText::FirstUnwritable(text, &code);
    if (at < 0)
        return;
    if (REPORTGENERATOR::TextRefusal* refusal = REPORTGENERATOR::TextRefusal::Current())
        refusal->Found(member.name, text, at, code);
    const ReadContext::Subject subject(ReadContext::Current(), &member);
    Trace(REPORTGENERATOR::LogLevel::Error,
          REPORTGENERATOR::RGException(GetObjectName() + QStringLiteral(": ") + member.name +
                                       QStringLiteral(" holds ") +
                                       REPORTGENERATOR::XmlText::CodeName(code) +
                                       QStringLiteral(", a character that XML cannot carry")));
}

// Reading: the same code over QXmlStreamReader and over the tokens of a whole document.
struct RecordXmlReading {
    using Cursor = REPORTGENERATOR::XmlTokenCursor;

    // The attributes of a record's start element.
    class QtAttributes
    {
    public:
        explicit QtAttributes(const QXmlStreamReader& reader)
            : m_all(reader.attributes())
        {
        }
        bool Empty() const { return m_all.isEmpty(); }
        const QXmlStreamAttributes& All() const { return m_all; }
        bool Find(const QString& name, QString& text) const
        {
            if (!m_all.hasAttribute(name))
                return false;
            text = m_all.value(name).toString();
            return true;
        }

    private:
        const QXmlStreamAttributes m_all;
    };
    class TokenAttributes
    {
    public:
        explicit TokenAttributes(const Cursor& reader)
            : m_reader(reader)
        {
        }
        bool Empty() const { return m_reader.AttributeCount() == 0; }
        QXmlStreamAttributes All() const { return m_reader.attributes(); }
        bool Find(const QString& name, QString& text) const
        {
            for (std::uint32_t i = 0; i < m_reader.AttributeCount(); ++i)
                if (REPORTGENERATOR::SameName(m_reader.AttributeName(i), name)) {
                    text = REPORTGENERATOR::ToQString(m_reader.AttributeValue(i));
                    return true;
                }
            return false;
        }

    private:
        const Cursor& m_reader;
    };
    static QtAttributes AttributesOf(const QXmlStreamReader& reader)
    {
        return QtAttributes(reader);
    }
    static TokenAttributes AttributesOf(const Cursor& reader) { return TokenAttributes(reader); }

    // A child record's element: through the virtual where the reader is the caller's.
    static void Child(Record& record, QXmlStreamReader& reader) { record.ProcessXml(reader); }
    static void Child(Record& record, Cursor& reader) { Element(record, reader); }
    static void Content(Record& record, QXmlStreamReader& reader)
    {
        record.IRGObject::ProcessXml(reader);
    }
    static void Content(Record& record, Cursor& reader)
    {
        record.ReadContent(reader, [](REPORTGENERATOR::IRGObject& self, Cursor& cursor) {
            Member(static_cast<Record&>(self), cursor);
        });
    }

    // The row of the element read, or the row count: the first row of the element's name.
    static std::size_t Find(QStringView name, const RecordType& type, const QXmlStreamReader&)
    {
        for (std::size_t i = 0; i < type.rows.size(); ++i) {
            const MemberRow& row = type.rows[i];
            if (name ==
                (row.asRecord || row.list ? row.description.nested()->name : row.description.name))
                return i;
        }
        return type.rows.size();
    }
    // Documents give the members in member order, mostly: the search starts after the row
    // found last in the same record type. The table holds each name once (later rows of a
    // name are empty there), so that any row found is the first of its name.
    static std::size_t Find(std::string_view name, const RecordType& type, Cursor& reader)
    {
        const std::vector<std::string>& names = type.elementNames;
        const std::size_t count = names.size();
        std::size_t i = reader.hintOwner == &type ? reader.hint : 0;
        for (std::size_t tried = 0; tried < count; ++tried, ++i) {
            if (i >= count)
                i = 0;
            const std::string& candidate = names[i];
            if (candidate.size() == name.size() &&
                std::memcmp(candidate.data(), name.data(), name.size()) == 0) {
                reader.hintOwner = &type;
                reader.hint = i + 1;
                return i;
            }
        }
        return count;
    }

    template <class Reader> static void Element(Record& record, Reader& reader);
    template <class Reader> static void Member(Record& record, Reader& reader);
    static void Root(REPORTGENERATOR::IRGObject& record, Cursor& reader)
    {
        Element(static_cast<Record&>(record), reader);
    }
};

template <class Reader> void RecordXmlReading::Element(Record& record, Reader& reader)
{
    record.InitData();
    ReadContext* const context = ReadContext::Current();
    const ReadContext::Scope scope(context, record.m_type.description, -1, -1);
    const auto attributes = AttributesOf(reader);
    ReadPosition at;
    if (context) {
        at = context->XmlPosition(reader);
        context->RecordStart(at, 0, -1);
        context->Attributes(attributes.All(), at);
    }
    if (!attributes.Empty()) {
        QString text;
        for (const MemberRow& row : record.m_type.rows)
            if (row.description.attribute && attributes.Find(row.description.name, text)) {
                text = NonNull(text);
                if (context) {
                    context->MemberGiven(row.description, at);
                    context->Entry(row.description, at, 0, -1, text);
                }
                record.AssignFromText(row.description.bit, text);
            }
    }
    Content(record, reader);
}

template <class Reader> void RecordXmlReading::Member(Record& record, Reader& reader)
{
    record.Settle();
    record.InitData();
    ReadContext* const context = ReadContext::Current();
    ReadPosition at;
    if (context)
        at = context->XmlPosition(reader);
    const auto name = reader.name();
    const RecordType& type = record.m_type;
    const std::size_t i = Find(name, type, reader);
    if (i < type.rows.size()) {
        const MemberRow& row = type.rows[i];
        const MemberDescription& member = row.description;
        const int bit = member.bit;
        if (row.asRecord) {
            if (context) {
                context->MemberGiven(member, at);
                context->Entry(member, at, 0, -1, QString());
            }
            void* value = reinterpret_cast<char*>(&record.MutableStorage()) + row.valueOffset;
            {
                const ReadContext::Scope scope(context, *member.nested(), bit, -1);
                Record& child = RecordAt(row, value, 0);
                const Record::HeldScope as = record.Reporting(child);
                Child(child, reader);
            }
            record.MarkSet(bit);
        } else if (row.list) {
            Record& item = record.BeginItem(row);
            try {
                const int index = row.list->size(reinterpret_cast<char*>(&record.MutableStorage()) +
                                                 row.valueOffset) -
                                  1;
                const ReadContext::Scope scope(context, *member.nested(), bit, index);
                const Record::HeldScope as = record.Reporting(item);
                Child(item, reader);
            } catch (...) {
                row.list->popBack(reinterpret_cast<char*>(&record.MutableStorage()) +
                                  row.valueOffset);
                throw;
            }
            if (context)
                context->SetPosition(at);
            record.EndItem(row, item);
        } else {
            if (context)
                context->MemberGiven(member, at);
            const QString text = NonNull(record.GetTextValue(reader));
            if (context)
                context->Entry(member, at, 0, -1, text);
            record.AssignFromText(bit, text);
        }
        return;
    }
    // Unknown: skipped the way records always skip, with the count of elements the skip
    // leaves open handed to the content loop.
    if (context)
        context->UnknownElement(REPORTGENERATOR::ToQString(name), at);
    record.SkipUnknownElement(reader);
}

void Record::ProcessXml(QXmlStreamReader& reader)
{
    RecordXmlReading::Element(*this, reader);
}

void Record::ProcessXmlStartElement(QXmlStreamReader& reader)
{
    RecordXmlReading::Member(*this, reader);
}

// The tokenizer's path reads the record's own code; a class of another's that derives from
// a record's class may read differently, and keeps QXmlStreamReader.
bool Record::SetXmlString(const QString& xml, bool reset)
{
    const bool own = typeid(*this) == *m_type.exactClass;
    return ReadXmlText(xml, reset, own ? &RecordXmlReading::Root : nullptr);
}

bool Record::LoadXml(QFile* file)
{
    const bool own = typeid(*this) == *m_type.exactClass;
    return ReadXmlFile(file, own ? &RecordXmlReading::Root : nullptr);
}

void Record::AssignFromText(int bit, const QString& text)
{
    // While an observer listens, the conversions say what they do not read as written; the
    // finding comes before any report of the setter.
    const MemberRow& row = m_type.rows[bit];
    row.kind->assignText(*this, row, text, ReadContext::Current());
}

// Items read from a document are read in place, at the end of the list, after receiving
// this record's switch and logger.
Record& Record::BeginItem(const MemberRow& row)
{
    void* slot = reinterpret_cast<char*>(&MutableStorage()) + row.valueOffset;
    row.list->detach(slot, RecordAccess::KeepBoth);
    Record& item = row.list->emplace(slot);
    item.SetValidate(GetValidate());
    item.SetLogger(GetLogger());
    return item;
}

// An item that has been read stays in the list as an appended copy would: unless
// validation is on and it is incomplete. An incomplete item is reported either way.
void Record::EndItem(const MemberRow& row, Record& item)
{
    // The item's own held records take its settings now, while nothing shares it: const
    // operations on the document, which may run on several threads, then write nothing. An
    // item still on the shared storage of a fresh record is left as it is.
    if (item.OwnsChildren())
        item.SettleChildren(true);
    const bool complete = item.HasData();
    StorageBlock& block = MutableStorage();
    void* slot = reinterpret_cast<char*>(&block) + row.valueOffset;
    if (!complete && GetValidate()) {
        row.list->popBack(slot);
        ReportIncompleteAppend(row.description, -1);
        return;
    }
    block.isSet |= quint32(1) << row.description.bit;
    if (!complete)
        ReportIncompleteAppend(row.description, row.list->size(slot) - 1);
}

} // namespace KVT317XML
