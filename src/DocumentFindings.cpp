#include "DocumentFindings.h"

#include <algorithm>
#include <limits>

namespace KVT317XML {

QString RecordPathText(const RecordDescription& root, const ReadPath& path)
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

void LabelFinding(DocumentFinding& diagnostic, const Record& root)
{
    diagnostic.pathText = RecordPathText(root.GetDescription(), diagnostic.path);
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
bool Before(const DocumentFinding& a, const DocumentFinding& b)
{
    const qint64 max = std::numeric_limits<qint64>::max();
    const qint64 pa = a.where.offset >= 0 ? a.where.offset : max;
    const qint64 pb = b.where.offset >= 0 ? b.where.offset : max;
    return pa != pb ? pa < pb : a.sequence < b.sequence;
}

} // namespace

DocumentFindingList::DocumentFindingList(int keep)
    : m_keep(keep)
{
}

void DocumentFindingList::Add(DocumentFinding diagnostic, bool early)
{
    diagnostic.sequence = early ? m_early++ : m_sequence++;
    if (diagnostic.level != FindingLevel::Note)
        (diagnostic.level == FindingLevel::Error ? m_errors : m_warnings)++;
    m_origins[static_cast<int>(diagnostic.origin)]++;
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

void DocumentFindingList::Add(const FindingPlace& where, FindingLevel level, const QString& message,
                              DocumentFinding::Origin origin)
{
    DocumentFinding diagnostic;
    diagnostic.where = where;
    diagnostic.level = level;
    diagnostic.message = message;
    diagnostic.origin = origin;
    Add(std::move(diagnostic));
}

std::vector<DocumentFindingList::Entry> DocumentFindingList::Sorted() const
{
    std::vector<Entry> entries;
    for (const Kind& kind : m_kinds) {
        std::size_t last = entries.size();
        for (const DocumentFinding& diagnostic : kind.kept) {
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

bool DocumentFindingList::Any(DocumentFinding::Origin origin) const
{
    return m_origins[static_cast<int>(origin)] > 0;
}

void DocumentFindingList::Absorb(const DocumentFindingList& other)
{
    for (const Kind& kind : other.m_kinds) {
        for (const DocumentFinding& diagnostic : kind.kept)
            Add(diagnostic);
        const qint64 more = kind.count - static_cast<qint64>(kind.kept.size());
        if (more <= 0 || kind.kept.empty())
            continue;
        const DocumentFinding& first = kind.kept.front();
        m_kinds[static_cast<std::size_t>(
                    m_index.value(qMakePair(static_cast<int>(first.level), first.message)))]
            .count += more;
        if (first.level != FindingLevel::Note)
            (first.level == FindingLevel::Error ? m_errors : m_warnings) += more;
        m_origins[static_cast<int>(first.origin)] += more;
    }
}

void DocumentFindingList::ForEachKept(const std::function<void(DocumentFinding&)>& visit)
{
    for (Kind& kind : m_kinds) {
        for (DocumentFinding& diagnostic : kind.kept)
            visit(diagnostic);
        kind.last = static_cast<std::size_t>(
            std::max_element(kind.kept.begin(), kind.kept.end(), Before) - kind.kept.begin());
    }
}

QString FindingLevelName(FindingLevel level)
{
    switch (level) {
    case FindingLevel::Error:
        return QStringLiteral("error");
    case FindingLevel::Warning:
        return QStringLiteral("warning");
    case FindingLevel::Note:
        break;
    }
    return QStringLiteral("note");
}

} // namespace KVT317XML
