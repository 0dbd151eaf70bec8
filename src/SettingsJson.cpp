#include "SettingsJson.h"
#include "JsonPlaces.h"
#include "JsonWriter.h"
#include "NameSuggestion.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QLocale>

#include <cmath>

namespace KVT317XML {

void WriteRecordJson(JsonWriter& json, const Record& record)
{
    const RecordDescription& description = record.GetDescription();
    json.BeginObject();
    for (const int bit : description.writeOrder) {
        if (!record.IsMemberSet(bit))
            continue;
        const MemberDescription& member = description.members[bit];
        const MemberKindOperations& kind = *member.operations;
        json.Key(member.name);
        if (kind.record) {
            WriteRecordJson(json, *record.Child(bit));
        } else if (kind.list) {
            json.BeginArray();
            for (int i = 0; i < record.ListSize(bit); ++i)
                WriteRecordJson(json, *record.ListItem(bit, i));
            json.EndArray();
        } else {
            const QString text = record.MemberText(bit);
            if (kind.number && IsJsonNumber(text))
                json.RawNumber(text);
            else if (kind.text)
                json.String(text);
            else // an invalid enumerator and a null date-time have no text; XML writes them empty
                json.String(text.isNull() ? QStringLiteral("") : text);
        }
    }
    json.EndObject();
}

QByteArray WriteJsonDocument(const Record& record)
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
    JsonReader(const JsonPlaces& places, ReadObserver* observer)
        : m_places(places)
        , m_observer(observer)
        , m_forward([this](const ReadFinding& finding) { Forward(finding); })
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
                const QString suggestion = ClosestName(it.key(), names);
                Find(description, nullptr, FindingKind::UnknownElement,
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
    void Within(const Record& record) { m_record = &record.GetDescription(); }

    // A report of the library while the record at the current path is built.
    void Forward(const ReadFinding& finding)
    {
        if (!m_observer)
            return;
        ReadFinding placed = finding;
        placed.path = m_path + finding.path;
        if (!placed.record)
            placed.record = m_record;
        if (!placed.position.IsKnown())
            placed.position = Place(placed.path, placed.member);
        m_observer->Found(placed);
    }

    // Where the member (or the record, without one) stands in the text.
    ReadPosition Place(const ReadPath& path, const MemberDescription* member) const
    {
        const ReadPosition at = member ? m_places.At(path, member->bit) : ReadPosition();
        return at.IsKnown() ? at : m_places.At(path, -1);
    }

    void Member(Record& record, const MemberDescription& member, const QJsonValue& value)
    {
        const RecordDescription& description = record.GetDescription();
        const auto expected = [&](const char* what) {
            Find(description, &member, FindingKind::WrongJsonType,
                 QStringLiteral("%1: expected %2, found %3 (ignored)")
                     .arg(member.name, QLatin1String(what), JsonTypeName(value)));
        };
        switch (member.kind) {
        case MemberKind::Integer: {
            const double number = value.toDouble();
            if (!value.isDouble())
                return expected("a whole number");
            if (std::trunc(number) != number || std::fabs(number) >= 9.2e18)
                return Find(description, &member, FindingKind::WrongJsonType,
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
                    Find(*member.nested(), nullptr, FindingKind::WrongJsonType,
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

    void Find(const RecordDescription& record, const MemberDescription* member, FindingKind kind,
              const QString& message, const QString& unknownKey = QString())
    {
        if (!m_observer)
            return;
        ReadFinding finding;
        finding.kind = kind;
        finding.record = &record;
        finding.path = m_path;
        finding.member = member;
        finding.message = message;
        finding.text = unknownKey;
        const ReadPosition key =
            unknownKey.isNull() ? ReadPosition() : m_places.At(m_path, -1, unknownKey);
        finding.position = key.IsKnown() ? key : Place(m_path, member);
        m_observer->Found(finding);
    }

    const JsonPlaces& m_places;
    ReadObserver* m_observer;
    ObserveReading m_forward;
    ReadPath m_path;
    const RecordDescription* m_record = nullptr;
};

const RecordDescription* FindType(const QString& name)
{
    for (const RecordDescription* description : AllRecordDescriptions())
        if (description->name == name)
            return description;
    return nullptr;
}

} // namespace

JsonDocumentRead ReadJsonDocument(const QByteArray& bytes, ReadObserver* observer)
{
    JsonDocumentRead read;
    const QString text = QString::fromUtf8(bytes);
    JsonPlaces places(text, nullptr);
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError) {
        read.fault = error.errorString();
        read.faultOffset = error.offset;
        const QString before = QString::fromUtf8(bytes.left(error.offset));
        read.faultPosition = JsonPlaces(before, nullptr).PositionOf(before.size());
        return read;
    }
    QStringList types;
    for (const RecordDescription* description : AllRecordDescriptions())
        types.append(description->name);
    const QJsonObject top = document.object();
    const RecordDescription* description =
        document.isObject() && top.size() == 1 ? FindType(top.begin().key()) : nullptr;
    if (!description || !top.begin().value().isObject()) {
        read.fault = QStringLiteral("expected an object with one member, named after the record "
                                    "type (%1), whose value is an object")
                         .arg(types.join(QStringLiteral(", ")));
        read.faultPosition = places.PositionOf(0);
        return read;
    }
    JsonPlaces walk(text, observer);
    walk.Run(*description);
    read.record = NewRecord(*description);
    read.record->SetLogger(nullptr); // every report is a finding
    {
        JsonReader reader(walk, observer);
        reader.Read(top.begin().value().toObject(), *read.record);
    }
    if (observer)
        for (const ReadFinding& twice : walk.GivenTwice())
            observer->Found(twice);
    return read;
}

} // namespace KVT317XML
