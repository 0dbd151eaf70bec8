// The binary form: a record frame (tag, length) of member entries (tag, length, payload).

#include "ReadContext.h"
#include "ReadText.h"
#include "RecordStorage.h"
#include "RecordText.h"

#include <QBuffer>

#include <XmlText.h>

#include <algorithm>

using REPORTGENERATOR::BinaryParsingException;
using REPORTGENERATOR::LogLevel;

namespace KVT317XML {

namespace {

QByteArray Utf8(const QString& text)
{
    if (text.isNull())
        return QByteArray();
    return text.isEmpty() ? QByteArray("") : text.toUtf8();
}

// A record's length is known once its members are written: a placeholder is patched.
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

// Whether a text holds only characters from U+0020 up to the surrogates, all of which XML
// carries: most texts, tested here without a call. The others are looked at closely.
bool Plain(const QString& text)
{
    for (const QChar c : text)
        if (c.unicode() < 0x20 || c.unicode() >= 0xD800)
            return false;
    return true;
}

// Where a save runs, a text refused inside a held record is placed on the way out of it.
// Records that hold no texts at any depth are not asked.
REPORTGENERATOR::TextRefusal* RunningRefusal(const RecordType& held)
{
    return held.textFlags || !held.children.empty() ? REPORTGENERATOR::TextRefusal::Current()
                                                    : nullptr;
}

class Refusal
{
public:
    explicit Refusal(REPORTGENERATOR::TextRefusal* refusal)
        : m_refusal(refusal)
        , m_before(refusal && refusal->Refused())
    {
    }
    // The step is made only when needed.
    template <class Step> void Within(const Step& step) const
    {
        if (m_refusal && !m_before && m_refusal->Refused())
            m_refusal->Within(step());
    }

private:
    REPORTGENERATOR::TextRefusal* m_refusal;
    bool m_before;
};

} // namespace

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

    ReadContext* const context = ReadContext::Current();
    if (context && context->Depth() == 0) {
        // The record written first is the root of the paths its reports carry.
        const ReadContext::Scope scope(context, m_type.description, -1, -1);
        return GetBinary(stream, tag, withTag);
    }
    PassDown();
    if (GetValidate()) {
        Check();
        if (!HasData())
            return false;
    }
    const StorageBlock& block = ConstStorage();
    if (withTag)
        stream << qint32(tag);
    const qint64 start = BeginLength(stream);
    for (const int bit : m_type.writeOrder) {
        const MemberRow& row = m_type.rows[bit];
        const bool set = block.isSet & (quint32(1) << bit);
        if (row.asRecord) {
            // A nested record is its own frame, under the member's tag.
            if (set) {
                const Record& child = RecordAt(row, &block, row.valueOffset);
                const Refusal refusal(RunningRefusal(child.m_type));
                const ReadContext::Scope scope(context, *row.description.nested(),
                                               row.description.bit, -1);
                const ReportingAs as = Reporting(child);
                child.GetBinary(stream, static_cast<int>(row.description.tag), true);
                refusal.Within([&child] { return child.GetObjectName(); });
            }
        } else if (set || row.description.AlwaysWritten()) {
            WriteMemberEntry(stream, row, block);
        }
    }
    EndLength(stream, start);
    return true;
}

void Record::WriteMemberEntry(QDataStream& stream, const MemberRow& row,
                              const StorageBlock& block) const
{
    const MemberDescription& member = row.description;
    stream << static_cast<qint32>(member.tag);
    if (member.operations->integerPayload) {
        stream << qint32(8) << static_cast<qint64>(At<int>(&block, row.valueOffset));
    } else if (row.list) {
        // The count always, the items only when the list is set.
        const void* slot = reinterpret_cast<const char*>(&block) + row.valueOffset;
        const int size = row.list->size(slot);
        const qint64 start = BeginLength(stream);
        stream << qint32(size);
        REPORTGENERATOR::TextRefusal* const running =
            size > 0 ? RunningRefusal(row.list->item(slot, 0).m_type) : nullptr;
        ReadContext* const context = ReadContext::Current();
        if (block.isSet & (quint32(1) << member.bit))
            for (int i = 0; i < size; ++i) {
                const Record& item = row.list->item(slot, i);
                const Refusal refusal(running);
                const ReadContext::Scope scope(context, *member.nested(), member.bit, i);
                const ReportingAs as = Reporting(item);
                item.GetBinary(stream, static_cast<int>(member.tag), false);
                refusal.Within([&item, i] {
                    return QStringLiteral("%1[%2]").arg(item.GetObjectName()).arg(i + 1);
                });
            }
        EndLength(stream, start);
    } else {
        // Texts, numbers and enumeration names: a byte array of the UTF-8 text. A text that
        // XML cannot carry is reported as in XML, and refused by a save.
        text::WithText(row, block, [&](const QString& text) {
            if (member.operations->text && !Plain(text))
                ReportUnwritable(member, text);
            const QByteArray bytes = Utf8(text);
            stream << static_cast<qint32>(4 + bytes.size()) << bytes;
        });
    }
}

void Record::SetBinary(QDataStream& stream, int length)
{
    Settle();
    InitData();
    ReadContext* const context = ReadContext::Current();
    const ReadContext::Scope scope(context, m_type.description, -1, -1);
    QIODevice* const device = stream.device();
    if (context) {
        // A document's root and a list's items have frames of their own; a nested record's
        // frame is its member entry in the record that holds it.
        if (const ReadStep* step = context->LastStep(); !step)
            context->RecordStart(context->BinaryPosition(device, 8),
                                 static_cast<quint32>(m_type.description.id), length);
        else if (step->item >= 0)
            context->RecordStart(context->BinaryPosition(device, 4), 0, length);
    }
    if (length == 0)
        return;
    qint64 remaining = length;
    while (remaining > 0 && !stream.atEnd() && stream.status() == QDataStream::Ok) {
        ReadPosition at;
        if (context)
            at = context->BinaryPosition(device);
        qint32 tag = 0;
        qint32 payload = 0;
        stream >> tag >> payload;
        remaining -= 8 + static_cast<qint64>(payload);
        const int found = m_type.BitOfTag(static_cast<quint32>(tag));
        const MemberDescription* member =
            found < 0 ? nullptr : &m_type.description.members[static_cast<std::size_t>(found)];
        if (!member) {
            if (context)
                context->UnknownEntry(at, static_cast<quint32>(tag), payload);
            skipCurrentElement(stream, payload, tag);
            continue;
        }
        if (context)
            context->MemberGiven(*member, at);
        const int bit = member->bit;
        const MemberRow& row = m_type.rows[bit];
        // The payload by the member's kind: a whole number, a nested frame, a list, a text.
        if (row.kind->value.integerPayload) {
            // Whole numbers travel as 64 bits; the low 32 are kept.
            qint64 value = 0;
            stream >> value;
            const auto kept = static_cast<qint32>(static_cast<quint32>(value & 0xFFFFFFFF));
            if (context) {
                if (context->WantsEntries())
                    context->Entry(*member, at, static_cast<quint32>(tag), payload,
                                   QString::number(value));
                if (kept != value)
                    context->Report(LogLevel::Error, FindingKind::WholeNumberBeyond32Bits, member,
                                    at,
                                    QStringLiteral("%1: %2 does not fit in 32 bits (read as %3)")
                                        .arg(member->name)
                                        .arg(value)
                                        .arg(kept),
                                    QString::number(value));
            }
            Assign<int>(bit, kept);
        } else if (row.asRecord) {
            if (context)
                context->Entry(*member, at, static_cast<quint32>(tag), payload, QString());
            void* value = reinterpret_cast<char*>(&MutableStorage()) + row.valueOffset;
            {
                const ReadContext::Scope nested(context, *member->nested(), bit, -1);
                Record& child = RecordAt(row, value, 0);
                const ReportingAs as = Reporting(child);
                child.SetBinary(stream, payload);
            }
            MarkSet(bit);
        } else if (row.list) {
            ReadListEntry(row, stream, payload, remaining);
        } else {
            QByteArray bytes;
            stream >> bytes;
            QString text;
            if (!bytes.isNull())
                text = bytes.isEmpty() ? QStringLiteral("") : QString::fromUtf8(bytes);
            if (context)
                ObserveText(*context, *member, at, static_cast<quint32>(tag), payload, bytes, text);
            AssignFromText(bit, text);
        }
    }
    if (remaining == 0)
        return;
    if (context)
        context->SetPosition(context->BinaryPosition(device));
    const ReadContext::Subject subject(context, nullptr);
    BinaryParsingException exception(
        GetObjectName() +
        QStringLiteral(
            "::SetBinary(...): Length error occurred during processing of binary representation"));
    TraceOrThrow(LogLevel::Error, exception, true, true);
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

void Record::ReadListEntry(const MemberRow& row, QDataStream& stream, int payload,
                           qint64& remaining)
{
    ReadContext* const context = ReadContext::Current();
    qint32 count = 0;
    stream >> count;
    if (context)
        context->Entry(row.description, context->BinaryPosition(stream.device(), 12),
                       row.description.tag, payload, QString::number(count));
    if (count <= 0 || stream.status() != QDataStream::Ok)
        return;
    // Every item takes at least its 4-byte length: never reserve for more items than the
    // payload declares, nor than the bytes that are actually there.
    qint64 room = std::max<qint64>(0, (static_cast<qint64>(payload) - 4) / 4);
    if (QIODevice* device = stream.device(); device && !device->isSequential())
        room = std::min(room, device->bytesAvailable() / 4);
    void* slot = reinterpret_cast<char*>(&MutableStorage()) + row.valueOffset;
    row.list->reserve(slot, row.list->size(slot) + static_cast<int>(std::min<qint64>(count, room)));
    qint32 read = 0;
    for (; read < count && !stream.atEnd() && stream.status() == QDataStream::Ok; ++read) {
        ReadPosition itemAt;
        if (context)
            itemAt = context->BinaryPosition(stream.device());
        qint32 itemLength = 0;
        stream >> itemLength;
        Record& item = BeginItem(row);
        try {
            const ReadContext::Scope scope(
                context, *row.description.nested(), row.description.bit,
                row.list->size(reinterpret_cast<char*>(&MutableStorage()) + row.valueOffset) - 1);
            const ReportingAs as = Reporting(item);
            item.SetBinary(stream, itemLength);
        } catch (...) {
            row.list->popBack(reinterpret_cast<char*>(&MutableStorage()) + row.valueOffset);
            throw;
        }
        if (context)
            context->SetPosition(itemAt);
        EndItem(row, item);
    }
    // A list that ends before its count is as short as a frame that does.
    if (read < count)
        remaining = -1;
}

} // namespace KVT317XML
