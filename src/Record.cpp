#include "Record.h"
#include "RecordStorage.h"

#include <QBuffer>
#include <QXmlStreamAttributes>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <algorithm>

using REPORTGENERATOR::BinaryParsingException;
using REPORTGENERATOR::IncompleteDefinitionException;
using REPORTGENERATOR::IRGObject;
using REPORTGENERATOR::LogLevel;
using REPORTGENERATOR::OutOfRangeException;
using REPORTGENERATOR::RGException;

template <> KVT317XML::StorageBlock* QSharedDataPointer<KVT317XML::StorageBlock>::clone()
{
    return d->Clone();
}

namespace KVT317XML {

StorageBlock::~StorageBlock() = default;
SlotOps::~SlotOps() = default;

namespace slotops {

QString NumberText(double value, const MemberRow& row)
{
    return QStringLiteral("%1").arg(value, row.description.fieldWidth, 'f',
                                    row.description.precision, QLatin1Char(' '));
}

QString IntegerText(int value)
{
    return QStringLiteral("%1").arg(value, 0, 10, QLatin1Char(' '));
}

QString EnumText(int value, const MemberRow& row)
{
    const QStringList& names = row.description.enumeration->names;
    return value >= 0 && value < names.size() ? names.at(value) : QString();
}

int EnumIndexOf(const QString& name, const MemberRow& row, int invalid)
{
    const int index = row.description.enumeration->names.indexOf(name);
    return index >= 0 ? index : invalid;
}

QString FieldNameOf(const QString& name)
{
    return QStringLiteral("m_") + name.left(1).toLower() + name.mid(1);
}

} // namespace slotops

void FinishRecordType(RecordType& type)
{
    for (std::size_t i = 0; i < type.rows.size(); ++i) {
        if (type.rows[i].description.bit != static_cast<int>(i))
            qFatal("%s: member %s is declared at position %d but has bit %d",
                   qPrintable(type.description.name), qPrintable(type.rows[i].description.name),
                   static_cast<int>(i), type.rows[i].description.bit);
        type.description.members.push_back(type.rows[i].description);
    }
    for (const bool attributes : {true, false})
        for (const MemberRow& row : type.rows)
            if (row.description.attribute == attributes)
                type.writeOrder.push_back(row.description.bit);
}

const MemberDescription* RecordDescription::FindTag(quint32 tag) const
{
    for (const MemberDescription& member : members)
        if (member.tag == tag)
            return &member;
    return nullptr;
}

const MemberDescription* RecordDescription::FindName(const QString& memberName) const
{
    for (const MemberDescription& member : members)
        if (member.name == memberName)
            return &member;
    return nullptr;
}

namespace {

// XML texts are never null: an empty element or attribute is an empty text.
QString NonNull(const QString& text)
{
    return text.isNull() ? QStringLiteral("") : text;
}

QByteArray Utf8(const QString& text)
{
    if (text.isNull())
        return QByteArray();
    return text.isEmpty() ? QByteArray("") : text.toUtf8();
}

// Lengths are written as placeholders and patched once their content is known.
qint64 BeginLength(QDataStream& stream)
{
    stream << qint32(0);
    return stream.device()->pos();
}

void EndLength(QDataStream& stream, qint64 start)
{
    QIODevice* device = stream.device();
    const qint64 end = device->pos();
    device->seek(start - 4);
    stream << static_cast<qint32>(end - start);
    device->seek(end);
}

QString PleaseSet(const QString& objectName, const QString& member)
{
    return objectName +
           QStringLiteral(": Please set %1 properly.").arg(member, 0, QLatin1Char(' '));
}

} // namespace

// ---- Construction and storage --------------------------------------------------------

Record::Record(const RecordType& type, const QString& name, __int64 id)
    : m_type(type)
{
    SetObjectName(name);
    m_id = id;
}

Record::Record(const Record& other, const QString& name, __int64 id)
    : IRGObject(other.GetObjectType())
    , m_type(other.m_type)
    , d(other.d)
{
    SetObjectName(name);
    m_id = id;
    SetValidate(other.GetValidate());
    d.detach();
}

Record::~Record() = default;

void Record::ShareStorage(const Record& other)
{
    if (this != &other)
        d = other.d;
}

StorageBlock& Record::Storage() const
{
    if (!d)
        InitData();
    return *d.data();
}

void Record::InitData() const
{
    if (d)
        return;
    StorageBlock* block = m_type.create();
    const int count = static_cast<int>(m_type.rows.size());
    block->m_isSet.resize(count);
    block->m_hasDefault.resize(count);
    for (const MemberRow& row : m_type.rows)
        if (row.ops->Init(*block, row))
            block->m_hasDefault.setBit(row.description.bit);
    d = QSharedDataPointer<StorageBlock>(block);
    ConstNoClearReset();
    PassDown();
}

void Record::ConstNoClearReset() const
{
    StorageBlock& block = *d.data();
    for (const MemberRow& row : m_type.rows)
        row.ops->Restore(block);
}

void Record::PassDown() const
{
    SetValidate(GetValidate());
    SetLogger(GetLogger());
}

void* Record::Slot(int bit, Field field) const
{
    return m_type.rows[bit].ops->Get(Storage(), static_cast<SlotField>(field));
}

void Record::MarkSet(int bit)
{
    Storage().m_isSet.setBit(bit);
}

void Record::MarkHasDefault(int bit)
{
    Storage().m_hasDefault.setBit(bit);
}

bool Record::IsInitialized() const
{
    return d;
}

const RecordDescription& Record::GetDescription() const
{
    return m_type.description;
}

std::shared_ptr<const void> Record::SaveState() const
{
    return std::make_shared<const QSharedDataPointer<StorageBlock>>(d);
}

void Record::RestoreState(const std::shared_ptr<const void>& state)
{
    if (state)
        d = *static_cast<const QSharedDataPointer<StorageBlock>*>(state.get());
}

void Record::SetObjectType(REPORTGENERATOR::ObjectTypes) {}

void Record::SetValidate(bool validate) const
{
    IRGObject::SetValidate(validate);
    if (!d)
        return;
    StorageBlock& block = Storage();
    for (const MemberRow& row : m_type.rows) {
        if (Record* child = row.ops->Child(block))
            child->SetValidate(validate);
        for (int i = 0; i < row.ops->ListSize(block); ++i)
            row.ops->ListItem(block, i)->SetValidate(validate);
    }
}

void Record::SetLogger(std::shared_ptr<REPORTGENERATOR::Logger> logger) const
{
    IRGObject::SetLogger(logger);
    if (!d)
        return;
    StorageBlock& block = Storage();
    for (const MemberRow& row : m_type.rows) {
        if (Record* child = row.ops->Child(block))
            child->SetLogger(logger);
        for (int i = 0; i < row.ops->ListSize(block); ++i)
            row.ops->ListItem(block, i)->SetLogger(logger);
    }
}

// ---- Members -------------------------------------------------------------------------

bool Record::IsMemberSet(int bit) const
{
    return d && d.constData()->m_isSet.testBit(bit);
}

void Record::ResetMember(int bit)
{
    if (!d)
        return;
    StorageBlock& block = Storage();
    block.m_isSet.clearBit(bit);
    m_type.rows[bit].ops->Restore(block);
}

void Record::Report(RGException& exception) const
{
    if (GetValidate())
        TraceOrThrow(LogLevel::Error, exception, true, true);
    else
        Trace(LogLevel::Warning, exception);
}

void Record::AssignText(int bit, const QString& value)
{
    if (value.isNull()) {
        OutOfRangeException exception(
            PleaseSet(GetObjectName(), m_type.rows[bit].description.name));
        Report(exception);
    }
    Assign<QString>(bit, value);
}

void Record::AssignEnum(int bit, int value)
{
    const MemberRow& row = m_type.rows[bit];
    if (!IsValidEnum(bit, value)) {
        OutOfRangeException exception(QStringLiteral("enum is not valid (classname=") +
                                      m_type.description.name + QStringLiteral(",membername=") +
                                      row.description.fieldName + QStringLiteral(")"));
        Report(exception);
    }
    StorageBlock& block = Storage();
    row.ops->EnumSet(block, 0, value);
    block.m_isSet.setBit(bit);
}

QString Record::EnumName(int bit, int value) const
{
    Storage();
    return slotops::EnumText(value, m_type.rows[bit]);
}

int Record::EnumIndex(int bit, const QString& name) const
{
    const MemberRow& row = m_type.rows[bit];
    return slotops::EnumIndexOf(name, row, row.ops->EnumGet(Storage(), 2));
}

double Record::EnumToValue(int bit, int value) const
{
    Storage();
    const QVector<double>& values = m_type.rows[bit].description.enumeration->values;
    return value >= 0 && value < values.size() ? values.at(value) : 0.0;
}

int Record::EnumFromValue(int bit, double value) const
{
    const MemberRow& row = m_type.rows[bit];
    const int index = row.description.enumeration->values.indexOf(value);
    return index >= 0 ? index : row.ops->EnumGet(Storage(), 2);
}

bool Record::IsValidEnum(int bit, int value) const
{
    return value >= 0 && value < m_type.rows[bit].description.enumeration->names.size();
}

void Record::AssignFromText(int bit, const QString& text)
{
    switch (m_type.rows[bit].description.kind) {
    case MemberKind::Integer:
        Assign<int>(bit, text.toInt(nullptr, 10));
        break;
    case MemberKind::Float:
        Assign<float>(bit, text.toFloat(nullptr));
        break;
    case MemberKind::Double:
        Assign<double>(bit, text.toDouble(nullptr));
        break;
    case MemberKind::Text:
        AssignText(bit, text);
        break;
    case MemberKind::DateTime:
        Assign<QDateTime>(bit, REPORTGENERATOR::Converters::ToDateTime(text));
        break;
    case MemberKind::Enumeration:
        AssignEnum(bit, EnumIndex(bit, text));
        break;
    case MemberKind::Record:
    case MemberKind::RecordList:
        break;
    }
}

void Record::Append(int bit, const Record& item)
{
    const MemberRow& row = m_type.rows[bit];
    const bool complete = item.HasData();
    if (complete || !GetValidate()) {
        StorageBlock& block = Storage();
        row.ops->ListAppend(block, item);
        block.m_isSet.setBit(bit);
    }
    if (!complete) {
        IncompleteDefinitionException exception(
            GetObjectName() +
            QStringLiteral(": Tried to append not completely defined or invalid item ") +
            row.description.name + QStringLiteral("."));
        Report(exception);
    }
}

// ---- Predicates, resets and equality -------------------------------------------------

bool Record::HasData() const
{
    if (!d)
        return false;
    StorageBlock& block = *const_cast<StorageBlock*>(d.constData());
    for (const MemberRow& row : m_type.rows) {
        if (!row.description.required)
            continue;
        switch (row.description.kind) {
        case MemberKind::Record:
            if (!row.ops->Child(block)->HasData())
                return false;
            break;
        case MemberKind::RecordList:
            if (row.ops->ListSize(block) == 0)
                return false;
            break;
        default:
            if (!block.m_isSet.testBit(row.description.bit))
                return false;
        }
    }
    return true;
}

bool Record::AnyData() const
{
    if (!d)
        return false;
    StorageBlock& block = *const_cast<StorageBlock*>(d.constData());
    for (const MemberRow& row : m_type.rows) {
        switch (row.description.kind) {
        case MemberKind::Record:
            if (row.ops->Child(block)->AnyData())
                return true;
            break;
        case MemberKind::RecordList:
            if (row.ops->ListSize(block) > 0)
                return true;
            break;
        case MemberKind::Text:
            if (row.ops->HoldsText(block))
                return true;
            break;
        default:
            if (block.m_isSet.testBit(row.description.bit))
                return true;
        }
    }
    return false;
}

void Record::Reset()
{
    if (!d)
        return;
    Storage().m_isSet.fill(false);
    ConstNoClearReset();
}

void Record::ResetToDefault()
{
    Storage();
    Reset();
    StorageBlock& block = Storage();
    for (const MemberRow& row : m_type.rows) {
        const int bit = row.description.bit;
        switch (row.description.kind) {
        case MemberKind::Record:
        case MemberKind::RecordList:
            row.ops->ApplyDefault(block);
            break;
        default:
            if (block.m_hasDefault.testBit(bit) && row.ops->DefaultUsable(block, row)) {
                row.ops->ApplyDefault(block);
                block.m_isSet.setBit(bit);
            }
        }
    }
}

bool Record::Equals(const Record& other) const
{
    if (&m_type != &other.m_type)
        return false;
    if (d == other.d)
        return true;
    const StorageBlock* a = d.constData();
    const StorageBlock* b = other.d.constData();
    for (const MemberRow& row : m_type.rows) {
        const int bit = row.description.bit;
        if (row.description.kind == MemberKind::RecordList) {
            const int sizeA = a ? row.ops->ListSize(*a) : 0;
            const int sizeB = b ? row.ops->ListSize(*b) : 0;
            if (sizeA != sizeB || (sizeA > 0 && !row.ops->Equal(*a, *b)))
                return false;
            continue;
        }
        const bool setA = a && a->m_isSet.testBit(bit);
        const bool setB = b && b->m_isSet.testBit(bit);
        if (setA != setB || (setA && !row.ops->Equal(*a, *b)))
            return false;
    }
    return true;
}

// ---- Reflection ----------------------------------------------------------------------

QString Record::MemberText(int bit) const
{
    const MemberRow& row = m_type.rows[bit];
    return row.ops->Text(Storage(), row);
}

const Record* Record::Child(int bit) const
{
    return m_type.rows[bit].ops->Child(Storage());
}

int Record::ListSize(int bit) const
{
    return m_type.rows[bit].ops->ListSize(Storage());
}

const Record* Record::ListItem(int bit, int index) const
{
    return m_type.rows[bit].ops->ListItem(Storage(), index);
}

// ---- Check ---------------------------------------------------------------------------

void Record::ReportCheck(const MemberDescription& member, bool noThrow) const
{
    OutOfRangeException exception(PleaseSet(GetObjectName(), member.name));
    TraceOrThrow(LogLevel::Error, exception, !noThrow, true);
}

void Record::Check(bool noThrow) const
{
    PassDown();
    StorageBlock& block = Storage();
    for (const MemberRow& row : m_type.rows) {
        const MemberDescription& member = row.description;
        const bool set = block.m_isSet.testBit(member.bit);
        if (member.kind == MemberKind::Record) {
            row.ops->Child(block)->Check(noThrow);
        } else if (member.kind == MemberKind::RecordList) {
            if (!set)
                ReportCheck(member, noThrow);
            for (int i = 0; i < row.ops->ListSize(block); ++i)
                row.ops->ListItem(block, i)->Check(noThrow);
        } else if (!set) {
            if (member.required)
                ReportCheck(member, noThrow);
        } else if (!row.ops->Valid(block, row)) {
            ReportCheck(member, noThrow);
        }
    }
}

void Record::Check() const
{
    Check(false);
}

// ---- XML -----------------------------------------------------------------------------

void Record::GetXml(QXmlStreamWriter& writer) const
{
    PassDown();
    if (GetValidate()) {
        Check();
        if (!HasData())
            return;
    }
    StorageBlock& block = Storage();
    const auto reportIncomplete = [this](const MemberDescription& member) {
        IncompleteDefinitionException exception(QStringLiteral("Parameters for ") + member.name +
                                                QStringLiteral(" are not set properly in '%1'.")
                                                    .arg(GetObjectName(), 0, QLatin1Char(' ')));
        Report(exception);
    };

    writer.writeStartElement(GetObjectName());
    for (const int bit : m_type.writeOrder) {
        const MemberRow& row = m_type.rows[bit];
        if (row.description.attribute && block.m_isSet.testBit(bit))
            writer.writeAttribute(row.description.name, row.ops->Text(block, row));
    }
    for (const MemberRow& row : m_type.rows) {
        const MemberDescription& member = row.description;
        const bool set = block.m_isSet.testBit(member.bit);
        if (member.attribute)
            continue;
        if (member.kind == MemberKind::Record) {
            const Record* child = row.ops->Child(block);
            if (!child->HasData())
                reportIncomplete(member);
            if (set)
                child->GetXml(writer);
        } else if (member.kind == MemberKind::RecordList) {
            for (int i = 0; i < row.ops->ListSize(block); ++i) {
                const Record* item = row.ops->ListItem(block, i);
                if (!item->HasData())
                    reportIncomplete(member);
                if (set)
                    item->GetXml(writer);
            }
        } else if (set || member.AlwaysWritten()) {
            writer.writeTextElement(member.name, row.ops->Text(block, row));
        }
    }
    writer.writeEndElement();
}

void Record::ProcessXml(QXmlStreamReader& reader)
{
    Storage();
    const QXmlStreamAttributes attributes = reader.attributes();
    for (const MemberRow& row : m_type.rows)
        if (row.description.attribute && attributes.hasAttribute(row.description.name))
            AssignFromText(row.description.bit,
                           NonNull(attributes.value(row.description.name).toString()));
    IRGObject::ProcessXml(reader);
}

void Record::ProcessXmlStartElement(QXmlStreamReader& reader)
{
    PassDown();
    const QString name = reader.name().toString();
    StorageBlock& block = Storage();
    for (const MemberRow& row : m_type.rows) {
        const int bit = row.description.bit;
        if (Record* child = row.ops->Child(block)) {
            if (name == child->GetObjectName()) {
                child->ProcessXml(reader);
                MarkSet(bit);
                return;
            }
        } else if (Record* buffer = row.ops->ListBuffer(block)) {
            if (name == buffer->GetObjectName()) {
                buffer->Reset();
                buffer->SetValidate(GetValidate());
                buffer->SetLogger(GetLogger());
                buffer->ProcessXml(reader);
                Append(bit, *buffer);
                return;
            }
        } else if (name == row.description.name) {
            AssignFromText(bit, NonNull(GetTextValue(reader)));
            return;
        }
    }
    // Unknown: skip to the next token of the same name.
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.name() == name)
            break;
    }
}

// ---- Binary --------------------------------------------------------------------------

bool Record::GetBinary(QDataStream& stream, int tag, bool withTag) const
{
    QIODevice* device = stream.device();
    if (!device)
        return false;
    if (device->isSequential()) {
        // Lengths are patched in place, so build the frame in memory first.
        QByteArray bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        QDataStream memory(&buffer);
        memory.setVersion(stream.version());
        memory.setByteOrder(stream.byteOrder());
        const bool written = GetBinary(memory, tag, withTag);
        stream.writeRawData(bytes.constData(), bytes.size());
        return written;
    }

    PassDown();
    if (GetValidate()) {
        Check();
        if (!HasData())
            return false;
    }
    StorageBlock& block = Storage();
    if (withTag)
        stream << qint32(tag);
    const qint64 start = BeginLength(stream);
    for (const int bit : m_type.writeOrder) {
        const MemberRow& row = m_type.rows[bit];
        const MemberDescription& member = row.description;
        const bool set = block.m_isSet.testBit(bit);
        if (member.kind == MemberKind::Record) {
            if (set)
                row.ops->Child(block)->GetBinary(stream, static_cast<int>(member.tag), true);
            continue;
        }
        if (!set && !member.AlwaysWritten())
            continue;
        stream << static_cast<qint32>(member.tag);
        const qint64 payload = BeginLength(stream);
        switch (member.kind) {
        case MemberKind::Integer:
            stream << static_cast<qint64>(Value<int>(bit));
            break;
        case MemberKind::RecordList:
            stream << static_cast<qint32>(row.ops->ListSize(block));
            if (set)
                for (int i = 0; i < row.ops->ListSize(block); ++i)
                    row.ops->ListItem(block, i)->GetBinary(stream, static_cast<int>(member.tag),
                                                           false);
            break;
        default:
            stream << Utf8(row.ops->Text(block, row));
        }
        EndLength(stream, payload);
    }
    EndLength(stream, start);
    return true;
}

void Record::SetBinary(QDataStream& stream, int length)
{
    PassDown();
    Storage();
    if (length == 0)
        return;
    qint64 remaining = length;
    while (remaining > 0 && !stream.atEnd() && stream.status() == QDataStream::Ok) {
        qint32 tag = 0;
        qint32 payload = 0;
        stream >> tag >> payload;
        remaining -= 8 + static_cast<qint64>(payload);
        const MemberDescription* member = m_type.description.FindTag(static_cast<quint32>(tag));
        if (!member) {
            skipCurrentElement(stream, payload, tag);
            continue;
        }
        const int bit = member->bit;
        const MemberRow& row = m_type.rows[bit];
        switch (member->kind) {
        case MemberKind::Integer: {
            qint64 value = 0;
            stream >> value;
            Assign<int>(bit, static_cast<qint32>(static_cast<quint32>(value & 0xFFFFFFFF)));
            break;
        }
        case MemberKind::Record:
            row.ops->Child(Storage())->SetBinary(stream, payload);
            MarkSet(bit);
            break;
        case MemberKind::RecordList: {
            qint32 count = 0;
            stream >> count;
            if (count <= 0)
                break;
            // Every item takes at least its 4-byte length: never reserve for more items
            // than the payload can hold.
            const int room = std::max(0, (payload - 4) / 4);
            row.ops->ListReserve(Storage(), row.ops->ListSize(Storage()) + std::min(count, room));
            qint32 read = 0;
            for (; read < count && !stream.atEnd() && stream.status() == QDataStream::Ok; ++read) {
                qint32 itemLength = 0;
                stream >> itemLength;
                const std::unique_ptr<Record> item = row.ops->NewItem();
                item->SetValidate(GetValidate());
                item->SetLogger(GetLogger());
                item->SetBinary(stream, itemLength);
                Append(bit, *item);
            }
            // A list that ends before its count is as short as a frame that does.
            if (read < count)
                remaining = -1;
            break;
        }
        default: {
            QByteArray bytes;
            stream >> bytes;
            const QString text = bytes.isNull() ? QString() : NonNull(QString::fromUtf8(bytes));
            AssignFromText(bit, text);
        }
        }
    }
    if (remaining == 0)
        return;
    BinaryParsingException exception(
        GetObjectName() +
        QStringLiteral(
            "::SetBinary(...): Length error occurred during processing of binary representation"));
    TraceOrThrow(LogLevel::Error, exception, true, true);
}

} // namespace KVT317XML
