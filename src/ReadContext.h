#pragma once

// Located reading: the state of a load that an observer listens to. The engine looks for a
// context once per record operation; without one it does nothing more than before.

#include "ReadObserver.h"
#include "ReadText.h"

#include <Operation.h>
#include <ReadTap.h>

#include <QXmlStreamReader>

#include <atomic>
#include <vector>

class QIODevice;

namespace KVT317XML {

class SourcePlaces;

class ReadContext final : public REPORTGENERATOR::ReadTap
{
public:
    // With `places`, the load keeps where each record and member stands in it.
    explicit ReadContext(ReadObserver& observer, SourcePlaces* places = nullptr);
    ~ReadContext() override;

    // The context of the calling thread, or null. While no thread observes, one relaxed
    // load of a counter: the engine asks at every record.
    static ReadContext* Current() noexcept
    {
        return observing.load(std::memory_order_relaxed) ? CurrentOfThread() : nullptr;
    }

    // The context of an operation the engine hands on, or null.
    static ReadContext* Of(const REPORTGENERATOR::Operation& operation) noexcept
    {
        return static_cast<ReadContext*>(operation.readContext);
    }

    // ---- Where the engine is ------------------------------------------------------------

    // The records being read or checked, from the root; a step leads to each but the first.
    // A scope enters a child record; at the top it enters the root, and below the top a
    // scope without a step (bit -1) enters nothing.
    class Scope
    {
    public:
        Scope(ReadContext* context, const RecordDescription& record, int bit, int item)
        {
            if (context)
                Enter(context, record, bit, item);
        }
        ~Scope()
        {
            if (m_context)
                Leave();
        }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        void Enter(ReadContext* context, const RecordDescription& record, int bit, int item);
        void Leave();
        ReadContext* m_context = nullptr;
    };

    // The member a report is about while it is made; the one before comes back after.
    class Subject
    {
    public:
        Subject(ReadContext* context, const MemberDescription* member);
        ~Subject();
        Subject(const Subject&) = delete;
        Subject& operator=(const Subject&) = delete;

    private:
        ReadContext* m_context;
        const MemberDescription* m_outer = nullptr;
    };

    int Depth() const { return static_cast<int>(m_records.size()); }
    // The step that led to the innermost record; null at the root.
    const ReadStep* LastStep() const { return m_path.isEmpty() ? nullptr : &m_path.last(); }

    // The place of what is being read now: reports made meanwhile stand there.
    void SetPosition(const ReadPosition& position) { m_position = position; }
    const ReadPosition& CurrentPosition() const { return m_position; }
    ReadPosition XmlPosition(const QXmlStreamReader& reader) const;
    ReadPosition XmlPosition(const REPORTGENERATOR::XmlTokenCursor& reader) const;
    ReadPosition BinaryPosition(const QIODevice* device, qint64 back = 0) const;

    // ---- What the input gives -------------------------------------------------------------

    // A record's own element or frame.
    void RecordStart(const ReadPosition& at, quint32 tag, qint64 length);
    // A member given at `at`: reports it when the record had it already, and makes it the
    // subject of what follows until the next one.
    void MemberGiven(const MemberDescription& member, const ReadPosition& at);
    // The member's entry as the input gives it, for observers that list entries.
    void Entry(const MemberDescription& member, const ReadPosition& at, quint32 tag, qint64 length,
               const QString& text);
    // An entry of an unknown tag.
    void UnknownEntry(const ReadPosition& at, quint32 tag, qint64 length);
    // What a member's text is not read as, where there is anything to say.
    void Report(const MemberDescription& member, const read::TextFinding& finding,
                const QString& text);
    // Whether observers want the entries (and so their texts).
    bool WantsEntries() const { return m_entries; }
    // Attributes of the record's start element that are no attribute members, and values
    // that XML normalises.
    void Attributes(const QXmlStreamAttributes& attributes, const ReadPosition& at);
    void Attributes(const REPORTGENERATOR::XmlTokenCursor& reader, const ReadPosition& at);
    // An element of no member of the innermost record.
    void UnknownElement(const QString& name, const ReadPosition& at);

    // A finding in the innermost record, about `member` (or the record).
    void Report(REPORTGENERATOR::LogLevel level, FindingKind kind, const MemberDescription* member,
                const ReadPosition& at, const QString& message, const QString& text = QString());

    // ---- The base's reading ---------------------------------------------------------------
    void Reported(const REPORTGENERATOR::IRGObject& source, REPORTGENERATOR::LogLevel level,
                  const REPORTGENERATOR::RGException& report) override;
    void DocumentFault(const QString& message, const Position& where) override;
    void Passed(const Token& token, Passage passage, const Position& where) override;

private:
    template <class Names, class Values>
    void AttributesAt(int count, const Names& nameOf, const Values& valueOf, bool mayBreak,
                      const ReadPosition& at);
    static ReadContext* CurrentOfThread() noexcept;
    static std::atomic<int> observing; // contexts alive on any thread

    struct Frame {
        quint32 given = 0;          // members given in this element or frame
        ReadPosition first[32];     // where each was given first
        bool elementInText = false; // an element in the current member's text was reported
        int placed = -1;            // the record's handle in m_places, once it started
    };

    const RecordDescription* Innermost() const
    {
        return m_records.empty() ? nullptr : m_records.back();
    }
    void Report(ReadFinding finding);
    // An entry to observers that list them; null for a record's own start or an unknown tag.
    void Entry(const MemberDescription* member, const ReadPosition& at, quint32 tag, qint64 length,
               const QString& text);
    void FlushPending();

    ReadObserver& m_observer;
    SourcePlaces* m_places;
    const bool m_entries;
    ReadContext* m_outer;
    REPORTGENERATOR::ReadTap* m_outerTap; // the thread's listener before this one
    ReadPath m_path;
    std::vector<const RecordDescription*> m_records;
    std::vector<Frame> m_frames;
    const MemberDescription* m_member = nullptr;
    ReadPosition m_position;
    // A length error of the binary form, held back: a whole-document load turns it into
    // its document fault, which it is then told as.
    bool m_pendingLength = false;
    ReadFinding m_pending;
};

} // namespace KVT317XML
