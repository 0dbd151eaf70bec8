// The binary form: a record frame (tag, length) of member entries (tag, length, payload).

#include "BinaryOutput.h"
#include "ReadContext.h"
#include "RecordStorage.h"
#include "RecordText.h"

#include <QBuffer>

#include <Numbers.h>
#include <XmlText.h>

#include <algorithm>

using REPORTGENERATOR::BinaryParsingException;
using REPORTGENERATOR::LogLevel;

namespace KVT317XML {

namespace {

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
REPORTGENERATOR::TextRefusal* RunningRefusal(const REPORTGENERATOR::Operation& operation,
                                             const RecordType& held)
{
    return held.textFlags || !held.children.empty() ? operation.refusal : nullptr;
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

// The frame is built in one byte array and handed to the stream at once: lengths are patched
// in place, which no sequential device allows, and one write costs less than one per field.
bool Record::GetBinary(QDataStream& stream, int tag, bool withTag) const
{
    if (!stream.device())
        return false;
    ByteSink sink(stream.byteOrder() == QDataStream::BigEndian);
    const bool written = WriteFrame(REPORTGENERATOR::Operation::OfThread(), sink, tag, withTag);
    const QByteArray bytes = sink.Take();
    if (bytes.isEmpty())
        return written;
    // Into an empty buffer the frame goes as it is, shared rather than copied.
    auto* buffer = qobject_cast<QBuffer*>(stream.device());
    if (buffer && stream.status() == QDataStream::Ok && buffer->isWritable() &&
        buffer->pos() == 0 && buffer->buffer().isEmpty()) {
        buffer->buffer() = bytes;
        buffer->seek(bytes.size());
        return written;
    }
    stream.writeRawData(bytes.constData(), static_cast<int>(bytes.size()));
    return written;
}

bool Record::WriteFrame(REPORTGENERATOR::Operation& operation, ByteSink& sink, int tag,
                        bool withTag) const
{
    ReadContext* const context = ReadContext::Of(operation);
    if (context && context->Depth() == 0) {
        // The record written first is the root of the paths its reports carry.
        const ReadContext::Scope scope(context, m_type.description, -1, -1);
        return WriteFrame(operation, sink, tag, withTag);
    }
    PassDown();
    if (GetValidate()) {
        CheckIn(operation, false);
        if (!HasData())
            return false;
    }
    const StorageBlock& block = ConstStorage();
    if (withTag)
        sink.Int32(tag);
    const qsizetype start = sink.BeginLength();
    for (const int bit : m_type.writeOrder) {
        const MemberRow& row = m_type.rows[bit];
        const bool set = block.isSet & (quint32(1) << bit);
        if (row.asRecord) {
            // A nested record is its own frame, under the member's tag.
            if (set) {
                const Record& child = RecordAt(row, &block, row.valueOffset);
                const Refusal refusal(RunningRefusal(operation, child.m_type));
                const ReadContext::Scope scope(context, *row.description.nested(),
                                               row.description.bit, -1);
                const HeldScope as(operation, child, GetValidate(), ReportLogger());
                child.WriteFrame(operation, sink, static_cast<int>(row.description.tag), true);
                refusal.Within([&child] { return child.GetObjectName(); });
            }
        } else if (set || row.description.AlwaysWritten()) {
            WriteMemberEntry(operation, sink, row, block);
        }
    }
    sink.Patch(start);
    return true;
}

void Record::WriteMemberEntry(REPORTGENERATOR::Operation& operation, ByteSink& sink,
                              const MemberRow& row, const StorageBlock& block) const
{
    const MemberDescription& member = row.description;
    sink.Int32(static_cast<qint32>(member.tag));
    if (member.operations->integerPayload) {
        sink.Int32(8);
        sink.Int64(At<int>(&block, row.valueOffset));
    } else if (row.list) {
        // The count always, the items only when the list is set.
        const void* slot = reinterpret_cast<const char*>(&block) + row.valueOffset;
        const int size = row.list->size(slot);
        const qsizetype start = sink.BeginLength();
        sink.Int32(size);
        REPORTGENERATOR::TextRefusal* const running =
            size > 0 ? RunningRefusal(operation, row.list->item(slot, 0).m_type) : nullptr;
        ReadContext* const context = ReadContext::Of(operation);
        if (block.isSet & (quint32(1) << member.bit))
            for (int i = 0; i < size; ++i) {
                // The items that follow take about as much as the first.
                const qsizetype before = sink.Size();
                const Record& item = row.list->item(slot, i);
                const Refusal refusal(running);
                const ReadContext::Scope scope(context, *member.nested(), member.bit, i);
                const HeldScope as(operation, item, GetValidate(), ReportLogger());
                item.WriteFrame(operation, sink, static_cast<int>(member.tag), false);
                if (i == 0)
                    sink.Reserve((sink.Size() - before) * (size - 1) * 9 / 8 + 64);
                refusal.Within([&item, i] {
                    return QStringLiteral("%1[%2]").arg(item.GetObjectName()).arg(i + 1);
                });
            }
        sink.Patch(start);
    } else if (member.kind == MemberKind::Double || member.kind == MemberKind::Float) {
        // Number texts are ASCII: written straight into the frame.
        const double value = member.kind == MemberKind::Double
                                 ? At<double>(&block, row.valueOffset)
                                 : static_cast<double>(At<float>(&block, row.valueOffset));
        const qsizetype payload = sink.BeginLength();
        sink.FixedArray(value, member.fieldWidth, member.precision);
        sink.Patch(payload);
    } else {
        // Texts, enumeration names and date-times: a byte array of the UTF-8 text. A text
        // that XML cannot carry is reported as in XML, and refused by a save.
        text::WithText(row, block, [&](const QString& text) {
            if (member.operations->text && !Plain(text))
                ReportUnwritable(operation, member, text);
            const qsizetype payload = sink.BeginLength();
            sink.Utf8Array(text);
            sink.Patch(payload);
        });
    }
}

} // namespace KVT317XML
