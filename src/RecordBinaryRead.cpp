// Reading the binary form. A whole document in memory (a byte array, a buffer, a file, an
// inflated frame) is decoded straight from its bytes; a stream over any other device is read
// field by field. Both follow one reading loop, so records, reports and offsets agree.

#include "BinaryInput.h"
#include "ReadContext.h"
#include "ReadText.h"
#include "RecordStorage.h"
#include "RecordText.h"

#include <QBuffer>
#include <QFileDevice>

#include <Converters.h>
#include <Numbers.h>
#include <XmlText.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

using REPORTGENERATOR::BinaryParsingException;
using REPORTGENERATOR::LogLevel;

namespace KVT317XML {

void StreamInput::Skip(const REPORTGENERATOR::IRGObject& record, int length, int tag)
{
    record.skipCurrentElement(m_stream, length, tag);
}

namespace {

// The bytes a stream's device holds from where it stands, where they can be had at once:
// a buffer's array as it is, the rest of a file read in one call. Devices in a transaction
// are left to the stream, which keeps their rules.
class DeviceBytes
{
public:
    explicit DeviceBytes(QDataStream& stream)
        : m_device(stream.device())
    {
        if (!m_device || m_device->isSequential() || !m_device->isReadable() ||
            m_device->isTransactionStarted())
            return;
        m_start = m_device->pos();
        if (const auto* buffer = qobject_cast<const QBuffer*>(m_device)) {
            const QByteArray& all = buffer->data();
            if (m_start < 0 || m_start > all.size())
                return;
            m_data = all.constData() + m_start;
            m_size = all.size() - m_start;
            m_held = true;
        } else if (qobject_cast<const QFileDevice*>(m_device)) {
            const qint64 rest = m_device->size() - m_start;
            if (rest < 0 || rest > std::numeric_limits<int>::max())
                return;
            m_owned = m_device->read(rest);
            if (m_owned.size() != rest) {
                m_device->seek(m_start);
                return;
            }
            m_data = m_owned.constData();
            m_size = m_owned.size();
            m_held = true;
        }
    }

    bool Held() const { return m_held; }
    const char* Data() const { return m_data; }
    qint64 Size() const { return m_size; }
    // Leaves the device where the stream would have left it.
    void Finish(QDataStream& stream, const MemoryInput& input) const
    {
        m_device->seek(m_start + input.Consumed());
        if (!input.Ok())
            stream.setStatus(input.Status());
    }

private:
    QIODevice* m_device;
    qint64 m_start = 0;
    QByteArray m_owned;
    const char* m_data = nullptr;
    qint64 m_size = 0;
    bool m_held = false;
};

// The enumerator whose name equals the bytes, which are ASCII; -1 where none does. Most
// names differ from the bytes in their size or first character, tested first.
int NameIndex(const QStringList& names, const BinaryText& bytes)
{
    if (bytes.null || bytes.size == 0)
        return -1;
    const auto first = static_cast<unsigned char>(bytes.data[0]);
    for (int index = 0, count = static_cast<int>(names.size()); index < count; ++index) {
        const QString& name = names.at(index);
        if (name.size() != bytes.size || name.at(0).unicode() != first)
            continue;
        const QChar* chars = name.constData();
        qsizetype i = 1;
        while (i < bytes.size && chars[i].unicode() == static_cast<unsigned char>(bytes.data[i]) &&
               static_cast<unsigned char>(bytes.data[i]) < 0x80)
            ++i;
        if (i == bytes.size && first < 0x80)
            return index;
    }
    return -1;
}

// Eight bytes at a time: a high bit in any of them is a byte beyond ASCII.
bool Ascii(const BinaryText& bytes)
{
    std::uint64_t high = 0;
    qsizetype i = 0;
    for (; i + 8 <= bytes.size; i += 8) {
        std::uint64_t word;
        std::memcpy(&word, bytes.data + i, 8);
        high |= word;
    }
    for (; i < bytes.size; ++i)
        high |= static_cast<unsigned char>(bytes.data[i]);
    return (high & 0x8080808080808080u) == 0;
}

// A text payload as a QString: null, empty, or its UTF-8 (ASCII, as `ascii` says it is,
// converts for less as Latin-1, to the same text).
QString TextOf(const BinaryText& bytes, bool ascii)
{
    if (bytes.null)
        return QString();
    if (bytes.size == 0)
        return QStringLiteral("");
    return ascii ? QString::fromLatin1(bytes.data, bytes.size)
                 : QString::fromUtf8(bytes.data, bytes.size);
}

// QString::number(value), its digits made here.
QString DecimalText(qint64 value)
{
    char digits[24];
    char* const end = digits + sizeof digits;
    char* p = end;
    quint64 magnitude = value < 0 ? 0 - static_cast<quint64>(value) : static_cast<quint64>(value);
    do {
        *--p = static_cast<char>('0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude != 0);
    if (value < 0)
        *--p = '-';
    return QString::fromLatin1(p, static_cast<qsizetype>(end - p));
}

} // namespace

void Record::SetBinary(QDataStream& stream, int length)
{
    // Taken before the bytes are: taking a file's bytes moves the file to their end.
    REPORTGENERATOR::Operation& operation = REPORTGENERATOR::Operation::OfThread();
    const ReadContext* const context = ReadContext::Of(operation);
    const qint64 origin = context ? context->BinaryOffset(stream.device()) : -1;
    DeviceBytes bytes(stream);
    if (!bytes.Held()) {
        StreamInput input(stream);
        ReadFrame(operation, input, length);
        return;
    }
    MemoryInput input(bytes.Data(), bytes.Size(), stream.byteOrder() == QDataStream::BigEndian,
                      origin, stream.status());
    // A report that throws leaves the device where the reading stopped, as the stream would.
    struct Finish {
        const DeviceBytes& bytes;
        QDataStream& stream;
        const MemoryInput& input;
        ~Finish() { bytes.Finish(stream, input); }
    } finish{bytes, stream, input};
    ReadFrame(operation, input, length);
}

// Numbers, date-times and enumeration names read straight from their UTF-8 bytes where no observer
// listens (an observer is told what the text was): what AssignFromText gives for the same
// text. False where the text must be made first: other kinds, and names not in the table.
bool Record::AssignFromBytes(const MemberRow& row, const BinaryText& bytes)
{
    const MemberDescription& member = row.description;
    // What Assign() does for a member held in the block, taking the block once.
    const auto store = [&](auto value) {
        StorageBlock& block = MutableStorage();
        At<decltype(value)>(SlotOf(block, row), 0) = std::move(value);
        block.isSet |= Flag(member.bit);
    };
    switch (member.kind) {
    case MemberKind::Integer: {
        // A text that does not read is left to AssignFromText, which tells an observer.
        bool read = false;
        const int value = REPORTGENERATOR::Numbers::ToInt(bytes.data, bytes.size, &read);
        if (!read)
            return false;
        store(value);
        return true;
    }
    case MemberKind::Double:
        store(REPORTGENERATOR::Numbers::ToDouble(bytes.data, bytes.size, nullptr));
        return true;
    case MemberKind::Float:
        store(REPORTGENERATOR::Numbers::ToFloat(bytes.data, bytes.size, nullptr));
        return true;
    case MemberKind::DateTime:
        store(REPORTGENERATOR::Converters::ToDateTime(bytes.data, bytes.size));
        return true;
    case MemberKind::Enumeration: {
        // A name in the table is a valid value: AssignEnum() would report nothing.
        const int index = NameIndex(member.enumeration->names, bytes);
        if (index < 0)
            return false;
        InitData();
        StorageBlock& block = MutableStorage();
        SetEnumAt(&block, row.valueOffset, index);
        block.isSet |= Flag(member.bit);
        return true;
    }
    default:
        return false;
    }
}

template <class Input>
void Record::ReadFrame(REPORTGENERATOR::Operation& operation, Input& input, int length)
{
    Settle();
    InitData();
    ReadContext* const context = ReadContext::Of(operation);
    const ReadContext::Scope scope(context, m_type.description, -1, -1);
    if (context) {
        // A document's root and a list's items have frames of their own; a nested record's
        // frame is its member entry in the record that holds it.
        if (const ReadStep* step = context->LastStep(); !step)
            context->RecordStart(input.Position(*context, 8),
                                 static_cast<quint32>(m_type.description.id), length);
        else if (step->item >= 0)
            context->RecordStart(input.Position(*context, 4), 0, length);
    }
    if (length == 0)
        return;
    qint64 remaining = length;
    while (remaining > 0 && !input.AtEnd() && input.Ok()) {
        ReadPosition at;
        if (context)
            at = input.Position(*context);
        const qint32 tag = input.Int32();
        const qint32 payload = input.Int32();
        remaining -= 8 + static_cast<qint64>(payload);
        const int found = m_type.BitOfTag(static_cast<quint32>(tag));
        const MemberDescription* member =
            found < 0 ? nullptr : &m_type.description.members[static_cast<std::size_t>(found)];
        if (!member) {
            if (context)
                context->UnknownEntry(at, static_cast<quint32>(tag), payload);
            input.Skip(*this, payload, tag);
            continue;
        }
        if (context)
            context->MemberGiven(*member, at);
        const int bit = member->bit;
        const MemberRow& row = m_type.rows[bit];
        // The payload by the member's kind: a whole number, a nested frame, a list, a text.
        if (row.kind->value.integerPayload) {
            // Whole numbers travel as 64 bits; the low 32 are kept.
            const qint64 value = input.Int64();
            const auto kept = static_cast<qint32>(static_cast<quint32>(value & 0xFFFFFFFF));
            if (context) {
                if (context->WantsEntries())
                    context->Entry(*member, at, static_cast<quint32>(tag), payload,
                                   DecimalText(value));
                if (kept != value)
                    context->Report(LogLevel::Error, FindingKind::WholeNumberBeyond32Bits, member,
                                    at,
                                    QStringLiteral("%1: %2 does not fit in 32 bits (read as %3)")
                                        .arg(member->name)
                                        .arg(value)
                                        .arg(kept),
                                    QString::number(value));
            }
            // Assign<int>(), taking the block once.
            StorageBlock& block = MutableStorage();
            At<int>(SlotOf(block, row), 0) = kept;
            block.isSet |= Flag(bit);
        } else if (row.asRecord) {
            if (context)
                context->Entry(*member, at, static_cast<quint32>(tag), payload, QString());
            void* value = reinterpret_cast<char*>(&MutableStorage()) + row.valueOffset;
            {
                const ReadContext::Scope nested(context, *member->nested(), bit, -1);
                Record& child = RecordAt(row, value, 0);
                const HeldScope as = Reporting(operation, child);
                child.ReadFrame(operation, input, payload);
            }
            MarkSet(bit);
        } else if (row.list) {
            ReadList(operation, row, input, payload, remaining);
        } else {
            const BinaryText bytes = input.Text();
            if (!context && AssignFromBytes(row, bytes))
                continue;
            const bool ascii = Ascii(bytes);
            const QString text = TextOf(bytes, ascii);
            if (context) {
                // ASCII is valid UTF-8: its bytes are not needed.
                ObserveText(*context, *member, at, static_cast<quint32>(tag), payload,
                            ascii ? QByteArray() : bytes.Array(), text);
                // A name in the table, a number kept as written or a date-time that reads
                // gives no finding; it is set from its bytes.
                if ((member->kind == MemberKind::Enumeration && AssignFromBytes(row, bytes)) ||
                    KeptNumber(*member, bytes,
                               [&](auto value) { Assign<decltype(value)>(bit, value); }))
                    continue;
                if (member->kind == MemberKind::DateTime) {
                    const QDateTime value =
                        REPORTGENERATOR::Converters::ToDateTime(bytes.data, bytes.size);
                    if (!value.isNull()) {
                        Assign<QDateTime>(bit, value);
                        continue;
                    }
                }
            }
            AssignFromText(bit, text, context);
        }
    }
    if (remaining == 0)
        return;
    if (context)
        context->SetPosition(input.Position(*context));
    const ReadContext::Subject subject(context, nullptr);
    BinaryParsingException exception(
        GetObjectName() +
        QStringLiteral(
            "::SetBinary(...): Length error occurred during processing of binary representation"));
    TraceOrThrow(LogLevel::Error, exception, true, true);
}

template <class Input>
void Record::ReadList(REPORTGENERATOR::Operation& operation, const MemberRow& row, Input& input,
                      int payload, qint64& remaining)
{
    ReadContext* const context = ReadContext::Of(operation);
    const qint32 count = input.Int32();
    if (context)
        context->Entry(row.description, input.Position(*context, 12), row.description.tag, payload,
                       DecimalText(count));
    if (count <= 0 || !input.Ok())
        return;
    // Every item takes at least its 4-byte length: never reserve for more items than the
    // payload declares, nor than the bytes that are actually there.
    qint64 room = std::max<qint64>(0, (static_cast<qint64>(payload) - 4) / 4);
    room = std::min(room, input.Room() / 4);
    void* slot = reinterpret_cast<char*>(&MutableStorage()) + row.valueOffset;
    row.list->reserve(slot, row.list->size(slot) + static_cast<int>(std::min<qint64>(count, room)));
    qint32 read = 0;
    for (; read < count && !input.AtEnd() && input.Ok(); ++read) {
        ReadPosition itemAt;
        if (context)
            itemAt = input.Position(*context);
        const qint32 itemLength = input.Int32();
        Record& item = BeginItem(row);
        try {
            const ReadContext::Scope scope(
                context, *row.description.nested(), row.description.bit,
                row.list->size(reinterpret_cast<char*>(&MutableStorage()) + row.valueOffset) - 1);
            const HeldScope as = Reporting(operation, item);
            item.ReadFrame(operation, input, itemLength);
        } catch (...) {
            row.list->popBack(reinterpret_cast<char*>(&MutableStorage()) + row.valueOffset);
            throw;
        }
        if (context)
            context->SetPosition(itemAt);
        EndItem(row, item, context);
    }
    // A list that ends before its count is as short as a frame that does.
    if (read < count)
        remaining = -1;
}

// What a text payload holds that its member does not keep as it is.
void Record::ObserveText(ReadContext& context, const MemberDescription& member,
                         const ReadPosition& at, quint32 tag, qint32 payload,
                         const QByteArray& bytes, const QString& text) const
{
    context.Entry(member, at, tag, payload, text);
    const int bad = bytes.isNull() ? -1 : read::InvalidUtf8(bytes);
    if (bad >= 0)
        context.Report(LogLevel::Error, FindingKind::InvalidUtf8, &member,
                       ReadPosition{0, 0, at.offset + 12 + bad},
                       QStringLiteral("%1: the text is not valid UTF-8 (byte %2; read as U+FFFD)")
                           .arg(member.name, read::HexByte(bytes.at(bad))),
                       text);
    uint code = 0;
    if (member.operations->text && REPORTGENERATOR::XmlText::FirstUnwritable(text, &code) >= 0)
        context.Report(LogLevel::Error, FindingKind::NotXmlCharacter, &member, at,
                       QStringLiteral("%1: holds %2, which XML cannot carry")
                           .arg(member.name, REPORTGENERATOR::XmlText::CodeName(code)),
                       text);
}

} // namespace KVT317XML
