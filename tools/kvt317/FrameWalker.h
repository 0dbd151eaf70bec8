#pragma once

#include <RecordDescription.h>

#include <QByteArray>
#include <QString>

// Walks a binary frame entry by entry against the member tables, checking every length
// before it is trusted, and tells a subclass what it finds. Used by dump, which lists the
// entries, and by check, which checks their payloads.
class FrameWalker
{
public:
    explicit FrameWalker(const QByteArray& frame);
    virtual ~FrameWalker();
    FrameWalker(const FrameWalker&) = delete;
    FrameWalker& operator=(const FrameWalker&) = delete;

    // Walks one frame of the record type: its tag, its length and its member entries, up
    // to the end of the data. Stops at the first inconsistency, after OnDamage; returns
    // whether the whole frame was walked.
    bool Walk(const KVT317XML::RecordDescription& description);

protected:
    struct Entry {
        qint64 offset = 0; // of the entry's tag
        qint32 tag = 0;
        qint32 length = 0;                                    // of the payload
        const KVT317XML::MemberDescription* member = nullptr; // null for an unknown tag
        int depth = 0;
        qint64 Payload() const { return offset + 8; }
    };

    virtual void OnFrame(qint32 tag, qint32 length);
    virtual void OnUnknown(const Entry& entry);
    virtual void OnInteger(const Entry& entry, qint64 value);
    // A payload in Qt's byte-array form: text, number text, name or date-time text.
    virtual void OnText(const Entry& entry, const QByteArray& bytes, bool null);
    virtual void OnRecordBegin(const Entry& entry);
    virtual void OnRecordEnd(const Entry& entry);
    virtual void OnListBegin(const Entry& entry, qint32 count);
    // An item's frame: its 4-byte length at `offset`, then `length` bytes of entries.
    virtual void OnItemBegin(const Entry& list, qint64 offset, int index, qint32 length);
    virtual void OnItemEnd(const Entry& list, qint64 offset, int index, qint32 length);
    virtual void OnListEnd(const Entry& entry);
    virtual void OnDamage(qint64 offset, const QString& expected);

    const QByteArray& Frame() const { return m_frame; }

private:
    bool Entries(const KVT317XML::RecordDescription& description, qint64 from, qint64 to,
                 int depth);
    bool List(const Entry& entry);
    bool ReadInt(qint64 offset, qint32& value) const;
    bool Fail(qint64 offset, const QString& expected);

    QByteArray m_frame;
};
