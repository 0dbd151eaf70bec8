#include "JsonForm.h"
#include "Analysis.h"
#include "Json.h"
#include "Values.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QLocale>

#include <cmath>

using namespace KVT317XML;

std::vector<int> WriteOrder(const RecordDescription& description)
{
    std::vector<int> order;
    for (const bool attributes : {true, false})
        for (const MemberDescription& member : description.members)
            if (member.attribute == attributes)
                order.push_back(member.bit);
    return order;
}

void WriteRecordJson(JsonWriter& json, const Record& record)
{
    const RecordDescription& description = record.GetDescription();
    json.BeginObject();
    for (const int bit : WriteOrder(description)) {
        if (!record.IsMemberSet(bit))
            continue;
        const MemberDescription& member = description.members[bit];
        json.Key(member.name);
        switch (member.kind) {
        case MemberKind::Record:
            WriteRecordJson(json, *record.Child(bit));
            break;
        case MemberKind::RecordList:
            json.BeginArray();
            for (int i = 0; i < record.ListSize(bit); ++i)
                WriteRecordJson(json, *record.ListItem(bit, i));
            json.EndArray();
            break;
        case MemberKind::Integer:
        case MemberKind::Float:
        case MemberKind::Double: {
            const QString text = record.MemberText(bit);
            IsJsonNumber(text) ? json.RawNumber(text) : json.String(text);
            break;
        }
        case MemberKind::Text:
            json.String(record.MemberText(bit));
            break;
        case MemberKind::Enumeration:
        case MemberKind::DateTime: {
            // An invalid enumerator and a null date-time have no text; XML writes them empty.
            const QString text = record.MemberText(bit);
            json.String(text.isNull() ? QStringLiteral("") : text);
            break;
        }
        }
    }
    json.EndObject();
}

QByteArray DocumentJson(const Record& record)
{
    JsonWriter json;
    json.BeginObject();
    json.Key(record.GetDescription().name);
    WriteRecordJson(json, record);
    json.EndObject();
    return json.Finish();
}

namespace {

QString JsonTypeName(const QJsonValue& value)
{
    switch (value.type()) {
    case QJsonValue::Null:
        return QStringLiteral("null");
    case QJsonValue::Bool:
        return QStringLiteral("true or false");
    case QJsonValue::Double:
        return QStringLiteral("a number");
    case QJsonValue::String:
        return QStringLiteral("a string");
    case QJsonValue::Array:
        return QStringLiteral("an array");
    case QJsonValue::Object:
        return QStringLiteral("an object");
    case QJsonValue::Undefined:
        break;
    }
    return QStringLiteral("nothing");
}

class JsonReader
{
public:
    explicit JsonReader(DiagnosticList& findings)
        : m_findings(findings)
        , m_collector(findings)
        , m_observe(m_collector)
    {
    }

    void Read(const QJsonObject& object, Record& record)
    {
        const RecordDescription& description = record.GetDescription();
        for (auto it = object.begin(); it != object.end(); ++it) {
            const MemberDescription* member = description.FindName(it.key());
            if (!member) {
                QStringList names;
                for (const MemberDescription& candidate : description.members)
                    names.append(candidate.name);
                const QString suggestion = Suggestion(it.key(), names);
                Find(description, -1,
                     QStringLiteral("unknown member '%1' (ignored)%2")
                         .arg(it.key(),
                              suggestion.isNull()
                                  ? QString()
                                  : QStringLiteral("; did you mean '%1'?").arg(suggestion)),
                     it.key());
                continue;
            }
            Member(record, *member, it.value());
        }
    }

private:
    // The library converts the text as it converts XML and binary texts, and says what it
    // takes in silence; its findings stand in the record being built.
    void Text(Record& record, int bit, const QString& text)
    {
        Within(record);
        record.SetMemberText(bit, text);
    }
    // What the library says next is about this record.
    void Within(const Record& record)
    {
        m_collector.base = m_path;
        m_collector.baseRecord = &record.GetDescription();
    }

    void Member(Record& record, const MemberDescription& member, const QJsonValue& value)
    {
        const RecordDescription& description = record.GetDescription();
        const auto expected = [&](const char* what) {
            Find(description, member.bit,
                 QStringLiteral("%1: expected %2, found %3 (ignored)")
                     .arg(member.name, QLatin1String(what), JsonTypeName(value)));
        };
        switch (member.kind) {
        case MemberKind::Integer: {
            const double number = value.toDouble();
            if (!value.isDouble())
                return expected("a whole number");
            if (std::trunc(number) != number || std::fabs(number) >= 9.2e18)
                return Find(description, member.bit,
                            QStringLiteral("%1: %2 is not a whole number (ignored)")
                                .arg(member.name,
                                     QString::number(number, 'g', QLocale::FloatingPointShortest)));
            return Text(record, member.bit, QString::number(static_cast<qint64>(number)));
        }
        case MemberKind::Float:
        case MemberKind::Double: {
            static const QStringList special{QStringLiteral("nan"), QStringLiteral("inf"),
                                             QStringLiteral("-inf")};
            if (value.isDouble())
                return Text(record, member.bit,
                            QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest));
            if (value.isString() && special.contains(value.toString()))
                return Text(record, member.bit, value.toString());
            return expected("a number");
        }
        case MemberKind::Enumeration:
        case MemberKind::DateTime:
            if (!value.isString())
                return expected("a string");
            return Text(record, member.bit, value.toString());
        case MemberKind::Text:
            if (value.isNull()) {
                Within(record);
                record.SetMemberValue(member.bit, QVariant(QString()));
                return;
            }
            if (!value.isString())
                return expected("a string or null");
            return Text(record, member.bit, value.toString());
        case MemberKind::Record:
            if (!value.isObject())
                return expected("an object");
            m_path.append(ReadStep{member.bit, -1});
            Read(value.toObject(), *record.MutableChild(member.bit));
            m_path.removeLast();
            return;
        case MemberKind::RecordList: {
            if (!value.isArray())
                return expected("an array");
            const QJsonArray items = value.toArray();
            for (int i = 0; i < items.size(); ++i) {
                const std::unique_ptr<Record> item = record.NewMemberRecord(member.bit);
                item->SetLogger(record.GetLogger());
                m_path.append(ReadStep{member.bit, i});
                // An item that is no object stays in the list, empty, so that the items
                // after it keep their positions.
                if (!items.at(i).isObject())
                    Find(*member.nested(), -1,
                         QStringLiteral("expected an object, found %1 (read as an empty item)")
                             .arg(JsonTypeName(items.at(i))));
                Read(items.at(i).toObject(), *item);
                m_path.removeLast();
                Within(record);
                record.AppendListItem(member.bit, *item);
            }
            return;
        }
        }
    }

    void Find(const RecordDescription& record, int bit, const QString& message,
              const QString& unknownKey = QString())
    {
        Diagnostic diagnostic;
        diagnostic.record = &record;
        diagnostic.path = m_path;
        diagnostic.bit = bit;
        diagnostic.message = message;
        diagnostic.key = unknownKey;
        m_findings.Add(std::move(diagnostic));
    }

    DiagnosticList& m_findings;
    Collector m_collector;
    ObserveReading m_observe;
    ReadPath m_path;
};

} // namespace

JsonRead ReadJsonDocument(const QByteArray& bytes, DiagnosticList& findings)
{
    JsonRead read;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError) {
        read.fault = error.errorString();
        read.faultOffset = error.offset;
        return read;
    }
    QStringList types;
    for (const RecordDescription* description : AllRecordDescriptions())
        types.append(description->name);
    const QJsonObject top = document.object();
    const RecordDescription* description =
        document.isObject() && top.size() == 1 ? FindDescription(top.begin().key()) : nullptr;
    if (!description || !top.begin().value().isObject()) {
        read.fault = QStringLiteral("expected an object with one member, named after the record "
                                    "type (%1), whose value is an object")
                         .arg(types.join(QStringLiteral(", ")));
        return read;
    }
    read.record = NewRecord(*description);
    read.record->SetLogger(nullptr); // every report is a finding
    JsonReader reader(findings);
    reader.Read(top.begin().value().toObject(), *read.record);
    return read;
}
