#include "FrameWalker.h"

#include <QtEndian>

using namespace KVT317XML;

FrameWalker::FrameWalker(const QByteArray& frame)
    : m_frame(frame)
{
}

FrameWalker::~FrameWalker() = default;

void FrameWalker::OnFrame(qint32, qint32) {}
void FrameWalker::OnUnknown(const Entry&) {}
void FrameWalker::OnInteger(const Entry&, qint64) {}
void FrameWalker::OnText(const Entry&, const QByteArray&, bool) {}
void FrameWalker::OnRecordBegin(const Entry&) {}
void FrameWalker::OnRecordEnd(const Entry&) {}
void FrameWalker::OnListBegin(const Entry&, qint32) {}
void FrameWalker::OnItemBegin(const Entry&, qint64, int, qint32) {}
void FrameWalker::OnItemEnd(const Entry&, qint64, int, qint32) {}
void FrameWalker::OnListEnd(const Entry&) {}
void FrameWalker::OnDamage(qint64, const QString&) {}

bool FrameWalker::Walk(const RecordDescription& description)
{
    qint32 tag = 0;
    qint32 length = 0;
    if (!ReadInt(0, tag) || !ReadInt(4, length))
        return Fail(0, QStringLiteral("a frame head of 8 bytes"));
    OnFrame(tag, length);
    if (length < 0 || 8 + qint64(length) > m_frame.size())
        return Fail(4, QStringLiteral("a record length of at most %1").arg(m_frame.size() - 8));
    if (!Entries(description, 8, 8 + length, 1))
        return false;
    if (8 + length != m_frame.size())
        return Fail(8 + length, QStringLiteral("the end of the data after the frame"));
    return true;
}

bool FrameWalker::Entries(const RecordDescription& description, qint64 from, qint64 to, int depth)
{
    qint64 offset = from;
    while (offset < to) {
        Entry entry;
        entry.offset = offset;
        entry.depth = depth;
        if (offset + 8 > to || !ReadInt(offset, entry.tag) || !ReadInt(offset + 4, entry.length))
            return Fail(offset, QStringLiteral("an entry head of 8 bytes within the frame"));
        if (entry.length < 0 || offset + 8 + entry.length > to)
            return Fail(offset + 4,
                        QStringLiteral("a payload length of at most %1").arg(to - offset - 8));
        entry.member = description.FindTag(static_cast<quint32>(entry.tag));
        const qint64 payload = entry.Payload();
        if (!entry.member) {
            OnUnknown(entry);
        } else if (entry.member->kind == MemberKind::Record) {
            OnRecordBegin(entry);
            if (!Entries(*entry.member->nested(), payload, payload + entry.length, depth + 1))
                return false;
            OnRecordEnd(entry);
        } else if (entry.member->kind == MemberKind::RecordList) {
            if (!List(entry))
                return false;
        } else if (entry.member->kind == MemberKind::Integer) {
            if (entry.length != 8)
                return Fail(offset + 4, QStringLiteral("a payload length of 8 for a whole number"));
            OnInteger(entry, qFromBigEndian<qint64>(m_frame.constData() + payload));
        } else {
            qint32 count = 0;
            if (entry.length < 4 || !ReadInt(payload, count) ||
                (count != -1 && count != entry.length - 4))
                return Fail(payload, QStringLiteral("a text of %1 bytes").arg(entry.length - 4));
            OnText(entry, count < 0 ? QByteArray() : m_frame.mid(payload + 4, count), count < 0);
        }
        offset = payload + entry.length;
    }
    return true;
}

bool FrameWalker::List(const Entry& entry)
{
    const qint64 payload = entry.Payload();
    const qint64 end = payload + entry.length;
    qint32 count = 0;
    if (entry.length < 4 || !ReadInt(payload, count))
        return Fail(payload, QStringLiteral("a 4-byte item count"));
    OnListBegin(entry, count);
    qint64 item = payload + 4;
    for (qint32 i = 0; i < count; ++i) {
        qint32 length = 0;
        if (item + 4 > end || !ReadInt(item, length))
            return Fail(item, QStringLiteral("the length of item %1 of %2").arg(i + 1).arg(count));
        if (length < 0 || item + 4 + length > end)
            return Fail(item, QStringLiteral("an item length of at most %1").arg(end - item - 4));
        OnItemBegin(entry, item, i, length);
        if (!Entries(*entry.member->nested(), item + 4, item + 4 + length, entry.depth + 2))
            return false;
        OnItemEnd(entry, item, i, length);
        item += 4 + length;
    }
    if (item != end)
        return Fail(item, QStringLiteral("the end of the list at offset %1").arg(end));
    OnListEnd(entry);
    return true;
}

bool FrameWalker::ReadInt(qint64 offset, qint32& value) const
{
    if (offset < 0 || offset + 4 > m_frame.size())
        return false;
    value = qFromBigEndian<qint32>(m_frame.constData() + offset);
    return true;
}

bool FrameWalker::Fail(qint64 offset, const QString& expected)
{
    OnDamage(offset, expected);
    return false;
}
