// The XML form, read: a record is one element named after it, with attribute members, text
// elements for the other members and child records' own elements. Writing is in
// RecordXmlWrite.cpp.

#include "BinaryInput.h"
#include "ReadContext.h"
#include "RecordStorage.h"
#include "RecordText.h"

#include <Numbers.h>
#include <XmlText.h>
#include <XmlTokenCursor.h>

#include <QXmlStreamAttributes>
#include <QXmlStreamReader>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <memory>
#include <string>
#include <typeinfo>

namespace KVT317XML {

namespace {

// Kinds whose setting from bytes, where it succeeds, is a reading the text's conversion
// would say nothing about: a plain whole number, a name in the table.
bool SilentFromBytes(const MemberDescription& member)
{
    return member.kind == MemberKind::Integer || member.kind == MemberKind::Enumeration;
}

// Whether a token's text is what QString::fromUtf8 makes of its bytes, which the setters
// from bytes read: it is, but for a leading U+FEFF, which fromUtf8 drops and XML keeps.
bool ReadsAsUtf8(std::string_view bytes)
{
    return !bytes.empty() && (bytes.size() < 3 || bytes.compare(0, 3, "\xEF\xBB\xBF") != 0);
}

// XML texts are never null: an empty element or attribute is an empty text.
QString NonNull(const QString& text)
{
    return text.isNull() ? QStringLiteral("") : text;
}
// The same for a token's text (null data for none), made once.
QString NonNullText(std::string_view bytes)
{
    return bytes.data() ? REPORTGENERATOR::ToQString(bytes) : QStringLiteral("");
}

} // namespace

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
        void Tell(ReadContext& context, const ReadPosition& at) const
        {
            context.Attributes(m_all, at);
        }
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
        void Tell(ReadContext& context, const ReadPosition& at) const
        {
            context.Attributes(m_reader, at);
        }
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
    static void Child(REPORTGENERATOR::Operation&, Record& record, QXmlStreamReader& reader)
    {
        record.ProcessXml(reader);
    }
    static void Child(REPORTGENERATOR::Operation& operation, Record& record, Cursor& reader)
    {
        Element(operation, record, reader);
    }
    static void Content(REPORTGENERATOR::Operation&, Record& record, QXmlStreamReader& reader)
    {
        record.IRGObject::ProcessXml(reader);
    }
    static void Content(REPORTGENERATOR::Operation& operation, Record& record, Cursor& reader)
    {
        record.ReadContent(
            operation, reader,
            [](REPORTGENERATOR::Operation& within, REPORTGENERATOR::IRGObject& self,
               Cursor& cursor) { Member(within, static_cast<Record&>(self), cursor); });
    }
    // A member's text and an unknown element's skip, on the caller's reader as the base
    // does them for any record.
    static QString TextValue(REPORTGENERATOR::Operation&, Record& record, QXmlStreamReader& reader)
    {
        return record.GetTextValue(reader);
    }
    static QString TextValue(REPORTGENERATOR::Operation& operation, Record& record, Cursor& reader)
    {
        return record.GetTextValue(operation, reader);
    }
    static void Skip(REPORTGENERATOR::Operation&, Record& record, QXmlStreamReader& reader)
    {
        record.SkipUnknownElement(reader);
    }
    static void Skip(REPORTGENERATOR::Operation& operation, Record& record, Cursor& reader)
    {
        record.SkipUnknownElement(operation, reader);
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

    // A member element's text where it is one piece or none: the reader moves to its end
    // element, telling a tap of each step as GetTextValue() does. Only the tokenizer has
    // bytes.
    static bool PlainText(REPORTGENERATOR::Operation&, QXmlStreamReader&, std::string_view&)
    {
        return false;
    }
    static bool PlainText(REPORTGENERATOR::Operation& operation, Cursor& reader,
                          std::string_view& text)
    {
        REPORTGENERATOR::ReadTap* const tap = operation.tap;
        if (!tap)
            return reader.PlainElement(text);
        if (!reader.IsPlainElement())
            return false;
        tap->ReadNext(reader);
        text = std::string_view();
        if (reader.isCharacters()) {
            text = reader.text();
            tap->ReadNext(reader);
        }
        return true;
    }

    template <class Reader>
    static void Element(REPORTGENERATOR::Operation& operation, Record& record, Reader& reader);
    template <class Reader>
    static void Member(REPORTGENERATOR::Operation& operation, Record& record, Reader& reader);
    static void Root(REPORTGENERATOR::IRGObject& record, Cursor& reader)
    {
        Element(REPORTGENERATOR::Operation::OfThread(), static_cast<Record&>(record), reader);
    }
};

template <class Reader>
void RecordXmlReading::Element(REPORTGENERATOR::Operation& operation, Record& record,
                               Reader& reader)
{
    record.InitData();
    ReadContext* const context = ReadContext::Of(operation);
    const ReadContext::Scope scope(context, record.m_type.description, -1, -1);
    const auto attributes = AttributesOf(reader);
    ReadPosition at;
    if (context) {
        at = context->XmlPosition(reader);
        context->RecordStart(at, 0, -1);
        attributes.Tell(*context, at);
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
                record.AssignFromText(row.description.bit, text, context);
            }
    }
    Content(operation, record, reader);
}

template <class Reader>
void RecordXmlReading::Member(REPORTGENERATOR::Operation& operation, Record& record, Reader& reader)
{
    record.Settle();
    record.InitData();
    ReadContext* const context = ReadContext::Of(operation);
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
                const Record::HeldScope as = record.Reporting(operation, child);
                Child(operation, child, reader);
            }
            record.MarkSet(bit);
        } else if (row.list) {
            Record& item = record.BeginItem(row);
            try {
                const int index = row.list->size(reinterpret_cast<char*>(&record.MutableStorage()) +
                                                 row.valueOffset) -
                                  1;
                const ReadContext::Scope scope(context, *member.nested(), bit, index);
                const Record::HeldScope as = record.Reporting(operation, item);
                Child(operation, item, reader);
            } catch (...) {
                row.list->popBack(reinterpret_cast<char*>(&record.MutableStorage()) +
                                  row.valueOffset);
                throw;
            }
            if (context)
                context->SetPosition(at);
            record.EndItem(row, item, context);
        } else {
            if (context)
                context->MemberGiven(member, at);
            // A number, date-time or name is set from the token's bytes, as the binary reader
            // sets it: unobserved, no text is made unless the member keeps one; observed, a
            // whole number or name that reads without a finding skips its second reading.
            std::string_view bytes;
            if (PlainText(operation, reader, bytes)) {
                const BinaryText given{bytes.data(), static_cast<qsizetype>(bytes.size()), false};
                if (!context) {
                    if (ReadsAsUtf8(bytes) && record.AssignFromBytes(row, given))
                        return;
                    record.AssignFromText(bit, NonNullText(bytes), context);
                    return;
                }
                const QString text = NonNullText(bytes);
                context->Entry(member, at, 0, -1, text);
                if (ReadsAsUtf8(bytes) &&
                    ((SilentFromBytes(member) && record.AssignFromBytes(row, given)) ||
                     KeptNumber(member, given,
                                [&](auto value) { record.Assign<decltype(value)>(bit, value); })))
                    return;
                record.AssignFromText(bit, text, context);
                return;
            }
            const QString text = NonNull(TextValue(operation, record, reader));
            if (context)
                context->Entry(member, at, 0, -1, text);
            record.AssignFromText(bit, text, context);
        }
        return;
    }
    // Unknown: skipped the way records always skip, with the count of elements the skip
    // leaves open handed to the content loop.
    if (context)
        context->UnknownElement(REPORTGENERATOR::ToQString(name), at);
    Skip(operation, record, reader);
}

void Record::ProcessXml(QXmlStreamReader& reader)
{
    RecordXmlReading::Element(REPORTGENERATOR::Operation::OfThread(), *this, reader);
}

void Record::ProcessXmlStartElement(QXmlStreamReader& reader)
{
    RecordXmlReading::Member(REPORTGENERATOR::Operation::OfThread(), *this, reader);
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
    AssignFromText(bit, text, ReadContext::Current());
}

void Record::AssignFromText(int bit, const QString& text, ReadContext* context)
{
    // While an observer listens, the conversions say what they do not read as written; the
    // finding comes before any report of the setter.
    const MemberRow& row = m_type.rows[bit];
    row.kind->assignText(*this, row, text, context);
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
void Record::EndItem(const MemberRow& row, Record& item, ReadContext* context)
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
        ReportIncompleteAppend(context, row.description, -1);
        return;
    }
    block.isSet |= quint32(1) << row.description.bit;
    if (!complete)
        ReportIncompleteAppend(context, row.description, row.list->size(slot) - 1);
}

} // namespace KVT317XML
