#include "Tree.h"
#include "Json.h"
#include "Values.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QLocale>
#include <QtEndian>

#include <algorithm>
#include <cmath>

using namespace KVT317XML;

Node::Node(const RecordDescription& nodeDescription)
    : description(&nodeDescription)
{
}

Node::Member* Node::Find(int bit)
{
    for (Member& member : members)
        if (member.bit == bit)
            return &member;
    return nullptr;
}

const Node::Member* Node::Find(int bit) const
{
    return const_cast<Node*>(this)->Find(bit);
}

Node::Member& Node::Set(int bit)
{
    if (Member* found = Find(bit))
        return *found;
    const auto at = std::find_if(members.begin(), members.end(),
                                 [bit](const Member& member) { return member.bit > bit; });
    Member member;
    member.bit = bit;
    return *members.insert(at, std::move(member));
}

void Node::Unset(int bit)
{
    members.erase(std::remove_if(members.begin(), members.end(),
                                 [bit](const Member& member) { return member.bit == bit; }),
                  members.end());
}

std::vector<int> WriteOrder(const RecordDescription& description)
{
    std::vector<int> order;
    for (const bool attributes : {true, false})
        for (const MemberDescription& member : description.members)
            if (member.attribute == attributes)
                order.push_back(member.bit);
    return order;
}

Node NodeFromRecord(const Record& record)
{
    const RecordDescription& description = record.GetDescription();
    Node node(description);
    for (const MemberDescription& member : description.members) {
        if (!record.IsMemberSet(member.bit))
            continue;
        Node::Member& value = node.Set(member.bit);
        if (member.kind == MemberKind::Record) {
            value.child = std::make_unique<Node>(NodeFromRecord(*record.Child(member.bit)));
        } else if (member.kind == MemberKind::RecordList) {
            for (int i = 0; i < record.ListSize(member.bit); ++i)
                value.items.push_back(NodeFromRecord(*record.ListItem(member.bit, i)));
        } else {
            value.text = record.MemberText(member.bit);
        }
    }
    return node;
}

// ---- Binary frames -------------------------------------------------------------------

namespace {

void AppendInt32(QByteArray& bytes, quint32 value)
{
    char raw[4];
    qToBigEndian(value, raw);
    bytes.append(raw, 4);
}

void AppendInt64(QByteArray& bytes, qint64 value)
{
    char raw[8];
    qToBigEndian(value, raw);
    bytes.append(raw, 8);
}

// A byte array in Qt's stream form: its length (all bits set for a null array), then the
// bytes.
void AppendText(QByteArray& bytes, const QString& text)
{
    if (text.isNull()) {
        AppendInt32(bytes, 0xFFFFFFFFu);
        return;
    }
    const QByteArray utf8 = text.toUtf8();
    AppendInt32(bytes, static_cast<quint32>(utf8.size()));
    bytes.append(utf8);
}

// Writes the length of what follows `start` into the four bytes before it.
void PatchLength(QByteArray& bytes, int start)
{
    qToBigEndian(static_cast<quint32>(bytes.size() - start), bytes.data() + start - 4);
}

void EncodeFrame(QByteArray& bytes, const Node& node, quint32 tag, bool withTag)
{
    if (withTag)
        AppendInt32(bytes, tag);
    AppendInt32(bytes, 0);
    const int start = bytes.size();
    for (const int bit : WriteOrder(*node.description)) {
        const Node::Member* value = node.Find(bit);
        if (!value)
            continue;
        const MemberDescription& member = node.description->members[bit];
        if (member.kind == MemberKind::Record) {
            EncodeFrame(bytes, *value->child, member.tag, true);
            continue;
        }
        AppendInt32(bytes, member.tag);
        AppendInt32(bytes, 0);
        const int payload = bytes.size();
        switch (member.kind) {
        case MemberKind::Integer:
            AppendInt64(bytes, value->text.toLongLong());
            break;
        case MemberKind::RecordList:
            AppendInt32(bytes, static_cast<quint32>(value->items.size()));
            for (const Node& item : value->items)
                EncodeFrame(bytes, item, member.tag, false);
            break;
        default:
            AppendText(bytes, value->text);
        }
        PatchLength(bytes, payload);
    }
    PatchLength(bytes, start);
}

} // namespace

QByteArray EncodeDocument(const Node& node)
{
    QByteArray bytes;
    EncodeFrame(bytes, node, static_cast<quint32>(node.description->id), true);
    return bytes;
}

std::unique_ptr<Record> RecordFromNode(const Node& node, ReportTally& reports)
{
    std::unique_ptr<Record> record = NewRecord(node.description->name);
    record->SetLogger(reports.Logger());
    QByteArray frame = EncodeDocument(node);
    record->SetBinaryRepresentation(frame);
    return record;
}

// ---- JSON ----------------------------------------------------------------------------

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
    explicit JsonReader(std::vector<JsonFinding>& findings)
        : m_findings(findings)
    {
    }

    Node Read(const QJsonObject& object, const RecordDescription& description)
    {
        Node node(description);
        for (auto it = object.begin(); it != object.end(); ++it) {
            const MemberDescription* member = description.FindName(it.key());
            if (!member) {
                QStringList names;
                for (const MemberDescription& candidate : description.members)
                    names.append(candidate.name);
                const QString suggestion = Suggestion(it.key(), names);
                Find(-1,
                     QStringLiteral("unknown member '%1' (ignored)%2")
                         .arg(it.key(),
                              suggestion.isNull()
                                  ? QString()
                                  : QStringLiteral("; did you mean '%1'?").arg(suggestion)),
                     it.key());
                continue;
            }
            Member(node, *member, it.value());
        }
        return node;
    }

private:
    void Member(Node& node, const MemberDescription& member, const QJsonValue& value)
    {
        const auto expected = [&](const char* what) {
            Find(member.bit, QStringLiteral("%1: expected %2, found %3 (ignored)")
                                 .arg(member.name, QLatin1String(what), JsonTypeName(value)));
        };
        switch (member.kind) {
        case MemberKind::Integer: {
            const double number = value.toDouble();
            if (!value.isDouble())
                return expected("a whole number");
            if (std::trunc(number) != number || std::fabs(number) >= 9.2e18)
                return Find(member.bit,
                            QStringLiteral("%1: %2 is not a whole number (ignored)")
                                .arg(member.name,
                                     QString::number(number, 'g', QLocale::FloatingPointShortest)));
            node.Set(member.bit).text = QString::number(static_cast<qint64>(number));
            return;
        }
        case MemberKind::Float:
        case MemberKind::Double: {
            static const QStringList special{QStringLiteral("nan"), QStringLiteral("inf"),
                                             QStringLiteral("-inf")};
            if (value.isDouble())
                node.Set(member.bit).text =
                    QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest);
            else if (value.isString() && special.contains(value.toString()))
                node.Set(member.bit).text = value.toString();
            else
                expected("a number");
            return;
        }
        case MemberKind::Enumeration:
        case MemberKind::DateTime:
            if (!value.isString())
                return expected("a string");
            node.Set(member.bit).text = value.toString();
            return;
        case MemberKind::Text:
            if (value.isNull())
                node.Set(member.bit).text = QString();
            else if (value.isString())
                node.Set(member.bit).text = value.toString();
            else
                expected("a string or null");
            return;
        case MemberKind::Record:
            if (!value.isObject())
                return expected("an object");
            m_steps.emplace_back(member.bit, -1);
            node.Set(member.bit).child =
                std::make_unique<Node>(Read(value.toObject(), *member.nested()));
            m_steps.pop_back();
            return;
        case MemberKind::RecordList: {
            if (!value.isArray())
                return expected("an array");
            Node::Member& list = node.Set(member.bit);
            const QJsonArray items = value.toArray();
            for (int i = 0; i < items.size(); ++i) {
                m_steps.emplace_back(member.bit, i);
                // An item that is no object stays in the list, empty, so that the items
                // after it keep their positions.
                if (!items.at(i).isObject())
                    Find(-1, QStringLiteral("expected an object, found %1 (read as an empty "
                                            "item)")
                                 .arg(JsonTypeName(items.at(i))));
                list.items.push_back(Read(items.at(i).toObject(), *member.nested()));
                m_steps.pop_back();
            }
            return;
        }
        }
    }

    void Find(int bit, const QString& message, const QString& unknownKey = QString())
    {
        m_findings.push_back({m_steps, bit, Level::Error, message, unknownKey});
    }

    std::vector<JsonFinding>& m_findings;
    std::vector<std::pair<int, int>> m_steps;
};

} // namespace

JsonRead ReadJsonDocument(const QByteArray& bytes)
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
    JsonReader reader(read.findings);
    read.node = std::make_unique<Node>(reader.Read(top.begin().value().toObject(), *description));
    return read;
}
