#include "Diagnostics.h"
#include "Json.h"
#include "Output.h"
#include "Values.h"

#include <algorithm>
#include <limits>

using namespace KVT317XML;

QString PathText(const RecordDescription& root, const ReadPath& path)
{
    QString text;
    const RecordDescription* description = &root;
    for (const ReadStep& step : path) {
        const MemberDescription& member = description->members[static_cast<std::size_t>(step.bit)];
        const QString own = step.item >= 0
                                ? QStringLiteral("%1[%2]").arg(member.name).arg(step.item + 1)
                                : member.name;
        text = text.isEmpty() ? own : text + QLatin1Char('.') + own;
        description = member.nested();
    }
    return text;
}

void Label(Diagnostic& diagnostic, const Record& root)
{
    diagnostic.pathText = PathText(root.GetDescription(), diagnostic.path);
    diagnostic.label = diagnostic.pathText;
    // The Name belongs to the innermost item on the path.
    const Record* record = &root;
    QString name;
    for (const ReadStep& step : diagnostic.path) {
        record = step.item >= 0 ? (step.item < record->ListSize(step.bit)
                                       ? record->ListItem(step.bit, step.item)
                                       : nullptr)
                                : record->Child(step.bit);
        if (!record)
            break;
        if (step.item < 0)
            continue;
        name.clear();
        const MemberDescription* member = record->GetDescription().FindName(QStringLiteral("Name"));
        if (member && record->IsMemberSet(member->bit))
            name = record->MemberText(member->bit);
    }
    if (!name.isNull())
        diagnostic.label += QStringLiteral(" (\"%1\")").arg(name);
}

// ---- DiagnosticList ------------------------------------------------------------------

namespace {

// Input order: by position, diagnostics without a position after those with one, then in
// the order they were made.
bool Before(const Diagnostic& a, const Diagnostic& b)
{
    const qint64 max = std::numeric_limits<qint64>::max();
    const qint64 pa = a.where.offset >= 0 ? a.where.offset : max;
    const qint64 pb = b.where.offset >= 0 ? b.where.offset : max;
    return pa != pb ? pa < pb : a.sequence < b.sequence;
}

} // namespace

DiagnosticList::DiagnosticList(int keep)
    : m_keep(keep)
{
}

void DiagnosticList::Add(Diagnostic diagnostic, bool early)
{
    diagnostic.sequence = early ? m_early++ : m_sequence++;
    if (diagnostic.level != Level::Note)
        (diagnostic.level == Level::Error ? m_errors : m_warnings)++;
    const QPair<int, QString> key(static_cast<int>(diagnostic.level), diagnostic.message);
    auto found = m_index.constFind(key);
    if (found == m_index.constEnd()) {
        found = m_index.insert(key, static_cast<int>(m_kinds.size()));
        m_kinds.emplace_back();
    }
    Kind& kind = m_kinds[static_cast<std::size_t>(found.value())];
    ++kind.count;
    if (kind.kept.size() == static_cast<std::size_t>(m_keep)) {
        // Keep the first ones in input order: this one replaces the latest kept if it comes
        // earlier. Diagnostics mostly come in input order, so this is mostly one test.
        if (!Before(diagnostic, kind.kept[kind.last]))
            return;
        kind.kept[kind.last] = std::move(diagnostic);
    } else {
        kind.kept.push_back(std::move(diagnostic));
    }
    kind.last = static_cast<std::size_t>(
        std::max_element(kind.kept.begin(), kind.kept.end(), Before) - kind.kept.begin());
}

void DiagnosticList::Add(const Location& where, Level level, const QString& message,
                         Diagnostic::Origin origin)
{
    Diagnostic diagnostic;
    diagnostic.where = where;
    diagnostic.level = level;
    diagnostic.message = message;
    diagnostic.origin = origin;
    Add(std::move(diagnostic));
}

std::vector<DiagnosticList::Entry> DiagnosticList::Sorted() const
{
    std::vector<Entry> entries;
    for (const Kind& kind : m_kinds) {
        std::size_t last = entries.size();
        for (const Diagnostic& diagnostic : kind.kept) {
            if (last == entries.size() || Before(*entries[last].diagnostic, diagnostic))
                last = entries.size();
            entries.push_back({&diagnostic, 0});
        }
        entries[last].more = kind.count - static_cast<qint64>(kind.kept.size());
    }
    std::sort(entries.begin(), entries.end(),
              [](const Entry& a, const Entry& b) { return Before(*a.diagnostic, *b.diagnostic); });
    return entries;
}

void DiagnosticList::Absorb(const DiagnosticList& other)
{
    for (const Kind& kind : other.m_kinds) {
        for (const Diagnostic& diagnostic : kind.kept)
            Add(diagnostic);
        const qint64 more = kind.count - static_cast<qint64>(kind.kept.size());
        if (more <= 0 || kind.kept.empty())
            continue;
        const Diagnostic& first = kind.kept.front();
        m_kinds[static_cast<std::size_t>(
                    m_index.value(qMakePair(static_cast<int>(first.level), first.message)))]
            .count += more;
        if (first.level != Level::Note)
            (first.level == Level::Error ? m_errors : m_warnings) += more;
    }
}

void DiagnosticList::ForEachKept(const std::function<void(Diagnostic&)>& visit)
{
    for (Kind& kind : m_kinds) {
        for (Diagnostic& diagnostic : kind.kept)
            visit(diagnostic);
        kind.last = static_cast<std::size_t>(
            std::max_element(kind.kept.begin(), kind.kept.end(), Before) - kind.kept.begin());
    }
}

QString LevelName(Level level)
{
    switch (level) {
    case Level::Error:
        return QStringLiteral("error");
    case Level::Warning:
        return QStringLiteral("warning");
    case Level::Note:
        break;
    }
    return QStringLiteral("note");
}

namespace {

QString Subject(const Diagnostic& diagnostic)
{
    const QString& label = diagnostic.label;
    return label.isEmpty() ? diagnostic.message : label + QStringLiteral(": ") + diagnostic.message;
}

} // namespace

void PrintDiagnostics(Channel& channel, const QString& label, const DiagnosticList& list,
                      const std::function<bool(const Diagnostic&)>& filter)
{
    for (const DiagnosticList::Entry& entry : list.Sorted()) {
        const Diagnostic& diagnostic = *entry.diagnostic;
        if (filter && !filter(diagnostic))
            continue;
        channel << label << ':';
        if (diagnostic.where.Known())
            channel << diagnostic.where.line << ':' << diagnostic.where.column << ':';
        channel << ' ' << LevelName(diagnostic.level) << ": " << Printable(Subject(diagnostic))
                << '\n';
        if (entry.more > 0)
            channel << label << ": ... and " << Grouped(entry.more) << " more like this\n";
    }
}

void WriteDiagnosticsJson(JsonWriter& json, const QString& label, const DiagnosticList& list)
{
    for (const DiagnosticList::Entry& entry : list.Sorted()) {
        const Diagnostic& diagnostic = *entry.diagnostic;
        json.BeginObject();
        json.Key(QStringLiteral("file"));
        json.String(label);
        json.Key(QStringLiteral("line"));
        diagnostic.where.Known() ? json.Number(diagnostic.where.line) : json.Null();
        json.Key(QStringLiteral("column"));
        diagnostic.where.Known() ? json.Number(diagnostic.where.column) : json.Null();
        json.Key(QStringLiteral("level"));
        json.String(LevelName(diagnostic.level));
        json.Key(QStringLiteral("path"));
        json.String(diagnostic.pathText.isNull() ? QStringLiteral("") : diagnostic.pathText);
        if (diagnostic.bit >= 0 && diagnostic.record) {
            json.Key(QStringLiteral("member"));
            json.String(diagnostic.record->members[static_cast<std::size_t>(diagnostic.bit)].name);
        }
        json.Key(QStringLiteral("message"));
        json.String(diagnostic.message);
        if (entry.more > 0) {
            json.Key(QStringLiteral("more"));
            json.Number(entry.more);
        }
        json.EndObject();
    }
}
