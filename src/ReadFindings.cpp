// Located reading: what a load reads, where, and what it takes in silence.

#include "ReadContext.h"
#include "ReadText.h"
#include "SourcePlaces.h"

#include <IRGObject.h>
#include <Operation.h>
#include <RGException.h>
#include <XmlText.h>
#include <XmlTokenCursor.h>

#include <QIODevice>
#include <QXmlStreamAttributes>

using REPORTGENERATOR::LogLevel;

namespace KVT317XML {

namespace {

// The innermost context of the thread is kept with the thread's operation state.
void*& CurrentContext() noexcept
{
    return REPORTGENERATOR::Operation::OfThread().readContext;
}

// Calls a function for each finding.
class FunctionObserver final : public ReadObserver
{
public:
    explicit FunctionObserver(std::function<void(const ReadFinding&)> found)
        : m_found(std::move(found))
    {
    }
    void Found(const ReadFinding& finding) override
    {
        if (m_found)
            m_found(finding);
    }

private:
    std::function<void(const ReadFinding&)> m_found;
};

ReadPosition FromTap(const REPORTGENERATOR::ReadTap::Position& where)
{
    return {where.line, where.column, where.offset};
}

QString WherePhrase(const ReadPosition& where)
{
    if (where.line > 0)
        return QStringLiteral(" (first at %1:%2)").arg(where.line).arg(where.column);
    if (where.offset >= 0)
        return QStringLiteral(" (first at offset %1)").arg(where.offset);
    return QString();
}

} // namespace

// ---- Public classes ----------------------------------------------------------------------

ReadObserver::~ReadObserver() = default;

void ReadObserver::Read(const ReadPath&, const ReadEntry&) {}

bool ReadObserver::WantsEntries() const
{
    return false;
}

void ReadFindings::Found(const ReadFinding& finding)
{
    m_findings.push_back(finding);
}

bool ReadFindings::HasErrors() const
{
    for (const ReadFinding& finding : m_findings)
        if (finding.level == LogLevel::Error)
            return true;
    return false;
}

struct ObserveReading::Private {
    explicit Private(ReadObserver& observer)
        : context(observer)
    {
    }
    Private(ReadObserver& observer, SourcePlaces& places)
        : context(observer, &places)
    {
    }
    explicit Private(std::function<void(const ReadFinding&)> found)
        : function(std::move(found))
        , context(function)
    {
    }
    FunctionObserver function{nullptr};
    ReadContext context;
};

ObserveReading::ObserveReading(ReadObserver& observer)
    : d(new Private(observer))
{
}

ObserveReading::ObserveReading(ReadObserver& observer, SourcePlaces& places)
    : d(new Private(observer, places))
{
}

ObserveReading::ObserveReading(std::function<void(const ReadFinding&)> found)
    : d(new Private(std::move(found)))
{
}

ObserveReading::~ObserveReading()
{
    delete d;
}

QString FindingKindName(FindingKind kind)
{
    switch (kind) {
    case FindingKind::Report:
        return QStringLiteral("report");
    case FindingKind::DocumentFault:
        return QStringLiteral("document-fault");
    case FindingKind::UnknownElement:
        return QStringLiteral("unknown-element");
    case FindingKind::UnknownAttribute:
        return QStringLiteral("unknown-attribute");
    case FindingKind::UnknownTag:
        return QStringLiteral("unknown-tag");
    case FindingKind::NumberNotRead:
        return QStringLiteral("number-not-read");
    case FindingKind::NumberOverflow:
        return QStringLiteral("number-overflow");
    case FindingKind::UnknownName:
        return QStringLiteral("unknown-name");
    case FindingKind::DateTimeNotRead:
        return QStringLiteral("date-time-not-read");
    case FindingKind::GivenTwice:
        return QStringLiteral("given-twice");
    case FindingKind::ExtraDecimals:
        return QStringLiteral("extra-decimals");
    case FindingKind::InvalidUtf8:
        return QStringLiteral("invalid-utf8");
    case FindingKind::WholeNumberBeyond32Bits:
        return QStringLiteral("whole-number-beyond-32-bits");
    case FindingKind::NormalisedAttribute:
        return QStringLiteral("normalised-attribute");
    case FindingKind::Comment:
        return QStringLiteral("comment");
    case FindingKind::ProcessingInstruction:
        return QStringLiteral("processing-instruction");
    case FindingKind::TextOutsideMembers:
        return QStringLiteral("text-outside-members");
    case FindingKind::ElementInText:
        return QStringLiteral("element-in-text");
    case FindingKind::NotXmlCharacter:
        return QStringLiteral("not-xml-character");
    case FindingKind::WrongJsonType:
        return QStringLiteral("wrong-json-type");
    }
    return QString();
}

// ---- The context -------------------------------------------------------------------------

std::atomic<int> ReadContext::observing{0};

ReadContext::ReadContext(ReadObserver& observer, SourcePlaces* places)
    : m_observer(observer)
    , m_places(places)
    , m_entries(observer.WantsEntries())
    , m_outer(static_cast<ReadContext*>(CurrentContext()))
    , m_outerTap(REPORTGENERATOR::Operation::OfThread().tap)
{
    CurrentContext() = this;
    REPORTGENERATOR::Operation::OfThread().tap = this;
    ++observing;
}

ReadContext::~ReadContext()
{
    FlushPending();
    CurrentContext() = m_outer;
    REPORTGENERATOR::Operation::OfThread().tap = m_outerTap;
    --observing;
}

ReadContext* ReadContext::CurrentOfThread() noexcept
{
    return static_cast<ReadContext*>(CurrentContext());
}

void ReadContext::Scope::Enter(ReadContext* context, const RecordDescription& record, int bit,
                               int item)
{
    if (bit < 0 && !context->m_records.empty())
        return;
    m_context = context;
    if (!context->m_records.empty())
        context->m_path.append(ReadStep{bit, item});
    context->m_records.push_back(&record);
    context->m_frames.emplace_back();
    context->m_member = nullptr;
    context->m_position = ReadPosition();
}

void ReadContext::Scope::Leave()
{
    const Frame& frame = m_context->m_frames.back();
    if (frame.placed >= 0)
        m_context->m_places->Given(frame.placed, frame.given, frame.first);
    m_context->m_frames.pop_back();
    m_context->m_records.pop_back();
    if (!m_context->m_path.isEmpty() &&
        static_cast<qsizetype>(m_context->m_records.size()) == m_context->m_path.size())
        m_context->m_path.removeLast();
    m_context->m_member = nullptr;
}

ReadContext::Subject::Subject(ReadContext* context, const MemberDescription* member)
    : m_context(context)
{
    if (!context)
        return;
    m_outer = context->m_member;
    context->m_member = member;
}

ReadContext::Subject::~Subject()
{
    if (m_context)
        m_context->m_member = m_outer;
}

ReadPosition ReadContext::XmlPosition(const QXmlStreamReader& reader) const
{
    return FromTap(TokenStart(reader));
}

ReadPosition ReadContext::XmlPosition(const REPORTGENERATOR::XmlTokenCursor& reader) const
{
    return FromTap(TokenStart(reader));
}

ReadPosition ReadContext::BinaryPosition(const QIODevice* device, qint64 back) const
{
    const qint64 offset = BinaryOffset(device);
    return {0, 0, offset >= 0 ? offset - back : -1};
}

void ReadContext::Report(ReadFinding finding)
{
    FlushPending();
    m_observer.Found(finding);
}

void ReadContext::FlushPending()
{
    if (!m_pendingLength)
        return;
    m_pendingLength = false;
    m_observer.Found(m_pending);
}

void ReadContext::Report(LogLevel level, FindingKind kind, const MemberDescription* member,
                         const ReadPosition& at, const QString& message, const QString& text)
{
    ReadFinding finding;
    finding.level = level;
    finding.kind = kind;
    finding.path = m_path;
    finding.record = Innermost();
    finding.member = member;
    finding.position = at;
    finding.message = message;
    finding.text = text;
    Report(std::move(finding));
}

void ReadContext::RecordStart(const ReadPosition& at, quint32 tag, qint64 length)
{
    m_position = at;
    m_member = nullptr;
    if (m_places && !m_frames.empty() && m_frames.back().placed < 0) {
        const std::size_t depth = m_frames.size();
        const int parent = depth >= 2 ? m_frames[depth - 2].placed : -1;
        const ReadStep* step = LastStep();
        m_frames.back().placed =
            m_places->StartRecord(parent, step && depth >= 2 ? *step : ReadStep(), at);
    }
    Entry(nullptr, at, tag, length, QString());
}

void ReadContext::MemberGiven(const MemberDescription& member, const ReadPosition& at)
{
    m_member = &member;
    m_position = at;
    Frame& frame = m_frames.back();
    const quint32 flag = quint32(1) << member.bit;
    if (frame.given & flag) {
        const bool merged = member.kind == MemberKind::Record;
        Report(LogLevel::Warning, FindingKind::GivenTwice, &member, at,
               QStringLiteral("%1 given twice%2; %3")
                   .arg(member.name, WherePhrase(frame.first[member.bit]),
                        merged ? QStringLiteral("both are read into one record")
                               : QStringLiteral("the later one wins")));
    } else {
        frame.given |= flag;
        frame.first[member.bit] = at;
    }
    frame.elementInText = false;
}

void ReadContext::Entry(const MemberDescription& member, const ReadPosition& at, quint32 tag,
                        qint64 length, const QString& text)
{
    Entry(&member, at, tag, length, text);
}

void ReadContext::Entry(const MemberDescription* member, const ReadPosition& at, quint32 tag,
                        qint64 length, const QString& text)
{
    if (!m_entries)
        return;
    ReadEntry entry;
    entry.member = member;
    entry.record = Innermost();
    entry.position = at;
    entry.tag = tag;
    entry.length = length;
    entry.text = text;
    m_observer.Read(m_path, entry);
}

void ReadContext::UnknownEntry(const ReadPosition& at, quint32 tag, qint64 length)
{
    m_member = nullptr;
    m_position = at;
    Report(
        LogLevel::Error, FindingKind::UnknownTag, nullptr, at,
        QStringLiteral("unknown entry %1 of %2 bytes (ignored)").arg(read::Hex32(tag)).arg(length),
        read::Hex32(tag));
    Entry(nullptr, at, tag, length, QString());
}

void ReadContext::Report(const MemberDescription& member, const read::TextFinding& finding,
                         const QString& text)
{
    if (finding.kind != FindingKind::Report)
        Report(finding.level, finding.kind, &member, m_position, finding.message, text);
}

void ReadContext::Attributes(const QXmlStreamAttributes& attributes, const ReadPosition& at)
{
    AttributesAt(
        static_cast<int>(attributes.size()),
        [&](int i) { return attributes.at(i).qualifiedName().toString(); },
        [&](int i) { return attributes.at(i).value().toString(); }, true, at);
}

// The tokenizer's attributes, without making them a QXmlStreamAttributes: the same names and
// values. A tab or line break in a value has it decoded: where none is, none holds one.
void ReadContext::Attributes(const REPORTGENERATOR::XmlTokenCursor& reader, const ReadPosition& at)
{
    const std::uint32_t count = reader.AttributeCount();
    bool decoded = false;
    for (std::uint32_t i = 0; i < count; ++i)
        decoded = decoded || reader.AttributeValueDecoded(i);
    AttributesAt(
        static_cast<int>(count),
        [&](int i) { return REPORTGENERATOR::ToQString(reader.AttributeName(std::uint32_t(i))); },
        [&](int i) { return REPORTGENERATOR::ToQString(reader.AttributeValue(std::uint32_t(i))); },
        decoded, at);
}

template <class Names, class Values>
void ReadContext::AttributesAt(int count, const Names& nameOf, const Values& valueOf, bool mayBreak,
                               const ReadPosition& at)
{
    if (count == 0)
        return;
    const RecordDescription& record = *Innermost();
    const QStringView source = Source();
    // One look at the start tag tells whether any value can have been normalised.
    const bool breaks =
        mayBreak && !source.isEmpty() && read::AnyBreakInStartTag(source, at.offset);
    for (int i = 0; i < count; ++i) {
        const QString name = nameOf(i);
        const MemberDescription* member = record.FindName(name);
        if (member && member->attribute) {
            if (breaks && read::NormalisedInSource(source, at.offset, name))
                Report(LogLevel::Warning, FindingKind::NormalisedAttribute, member, at,
                       QStringLiteral("%1: a tab or line break in the attribute's value is read "
                                      "as a blank")
                           .arg(name),
                       valueOf(i));
            continue;
        }
        if (name.startsWith(QLatin1String("xmlns")))
            continue;
        QString message;
        if (member) {
            message = QStringLiteral("attribute '%1' (ignored); %1 is an element").arg(name);
        } else {
            QStringList names;
            for (const MemberDescription& candidate : record.members)
                if (candidate.attribute)
                    names.append(candidate.name);
            message = QStringLiteral("unknown attribute '%1' (ignored)").arg(name) +
                      read::DidYouMean(name, names);
        }
        Report(LogLevel::Error, FindingKind::UnknownAttribute, nullptr, at, message, name);
    }
}

void ReadContext::UnknownElement(const QString& name, const ReadPosition& at)
{
    const RecordDescription& record = *Innermost();
    QStringList names;
    for (const MemberDescription& candidate : record.members)
        names.append(candidate.name);
    m_member = nullptr;
    m_position = at;
    Report(LogLevel::Error, FindingKind::UnknownElement, nullptr, at,
           QStringLiteral("unknown element '%1' (ignored)").arg(name) +
               read::DidYouMean(name, names),
           name);
}

void ReadContext::Reported(const REPORTGENERATOR::IRGObject&, LogLevel level,
                           const REPORTGENERATOR::RGException& report)
{
    ReadFinding finding;
    finding.level = level;
    finding.kind = FindingKind::Report;
    finding.path = m_path;
    finding.record = Innermost();
    finding.member = m_member;
    finding.position = m_position;
    finding.message = report.GetMessage();
    if (dynamic_cast<const REPORTGENERATOR::BinaryParsingException*>(&report)) {
        FlushPending();
        m_pending = std::move(finding);
        m_pendingLength = true;
        return;
    }
    Report(std::move(finding));
}

void ReadContext::DocumentFault(const QString& message, const Position& where)
{
    ReadFinding finding;
    if (m_pendingLength && m_pending.message == message) {
        // The length error that ended the load: told once, where it was found.
        finding = std::move(m_pending);
        m_pendingLength = false;
    } else {
        FlushPending();
        finding.position = FromTap(where);
        finding.message = message;
    }
    finding.level = LogLevel::Error;
    finding.kind = FindingKind::DocumentFault;
    m_observer.Found(finding);
}

void ReadContext::Passed(const Token& token, Passage passage, const Position& where)
{
    const ReadPosition at = FromTap(where);
    const RecordDescription* record = passage == Passage::Document ? nullptr : Innermost();
    const auto find = [&](LogLevel level, FindingKind kind, const MemberDescription* member,
                          const QString& message, const QString& text) {
        ReadFinding finding;
        finding.level = level;
        finding.kind = kind;
        if (record)
            finding.path = m_path;
        finding.record = record;
        finding.member = member;
        finding.position = at;
        finding.message = message;
        finding.text = text;
        Report(std::move(finding));
    };
    if (token.type == QXmlStreamReader::Comment) {
        find(LogLevel::Info, FindingKind::Comment, nullptr,
             QStringLiteral("comment not written: a written document holds the settings only"),
             token.text);
    } else if (token.type == QXmlStreamReader::ProcessingInstruction) {
        const QString& target = token.name;
        find(LogLevel::Info, FindingKind::ProcessingInstruction, nullptr,
             QStringLiteral("processing instruction '%1' not written: a written document holds "
                            "the settings only")
                 .arg(target),
             target);
    } else if (token.type == QXmlStreamReader::Characters) {
        QString text = token.text.simplified();
        if (text.size() > 40)
            text = text.left(37) + QStringLiteral("...");
        find(LogLevel::Warning, FindingKind::TextOutsideMembers, nullptr,
             QStringLiteral("text '%1' outside any member (ignored)").arg(text), token.text);
    } else if (token.type == QXmlStreamReader::StartElement && m_member && !m_frames.empty() &&
               !m_frames.back().elementInText) {
        m_frames.back().elementInText = true;
        find(LogLevel::Error, FindingKind::ElementInText, m_member,
             QStringLiteral("%1: element '%2' inside the member's text")
                 .arg(m_member->name, token.name),
             token.name);
    }
}

} // namespace KVT317XML
