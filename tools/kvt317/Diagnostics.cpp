#include "Diagnostics.h"
#include "Json.h"
#include "Output.h"
#include "Values.h"

#include <algorithm>
#include <limits>

using namespace KVT317XML;

QString Site::Path() const
{
    if (!parent)
        return QString();
    const QString own =
        item >= 0
            ? QStringLiteral("%1[%2]").arg(parent->description->members[bit].name).arg(item + 1)
            : parent->description->members[bit].name;
    const QString above = parent->Path();
    return above.isEmpty() ? own : above + QLatin1Char('.') + own;
}

QString Site::Label() const
{
    QString label = Path();
    // The Name belongs to the item, which may be an ancestor of this site.
    for (const Site* site = this; site; site = site->parent) {
        if (site->item >= 0 && !site->name.isNull()) {
            label += QStringLiteral(" (\"%1\")").arg(site->name);
            break;
        }
    }
    return label;
}

Site& Site::Child(int childBit)
{
    if (children.size() <= static_cast<std::size_t>(childBit))
        children.resize(static_cast<std::size_t>(childBit) + 1);
    std::unique_ptr<Site>& child = children[static_cast<std::size_t>(childBit)];
    if (!child) {
        child = std::make_unique<Site>();
        child->description = description->members[childBit].nested();
        child->parent = this;
        child->bit = childBit;
        child->where = where;
    }
    return *child;
}

Site& Site::AddItem(int listBit)
{
    auto site = std::make_unique<Site>();
    site->description = description->members[listBit].nested();
    site->parent = this;
    site->bit = listBit;
    site->item = static_cast<int>(items.size());
    items.push_back(std::move(site));
    return *items.back();
}

void Site::Given(int memberBit, const Location& at)
{
    if (members.size() <= static_cast<std::size_t>(memberBit))
        members.resize(description->members.size());
    members[static_cast<std::size_t>(memberBit)] = at;
}

Location Site::MemberLocation(int memberBit) const
{
    if (memberBit >= 0 && static_cast<std::size_t>(memberBit) < members.size() &&
        members[static_cast<std::size_t>(memberBit)].Known())
        return members[static_cast<std::size_t>(memberBit)];
    return where;
}

const Site* Site::FindRecord(const QString& objectName, bool lastItem) const
{
    if (description->name == objectName)
        return this;
    for (const std::unique_ptr<Site>& child : children)
        if (child)
            if (const Site* found = child->FindRecord(objectName, lastItem))
                return found;
    if (lastItem && !items.empty())
        return items.back()->FindRecord(objectName, lastItem);
    return nullptr;
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

void DiagnosticList::Add(const Location& where, Level level, const Site* site, int bit,
                         const QString& message, Diagnostic::Origin origin)
{
    Diagnostic diagnostic;
    diagnostic.where = where;
    diagnostic.level = level;
    diagnostic.site = site;
    diagnostic.bit = bit;
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

bool DiagnosticList::Any(Diagnostic::Origin origin) const
{
    return m_origins[static_cast<int>(origin)] > 0;
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
    const QString label = diagnostic.site ? diagnostic.site->Label() : QString();
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
        const QString path = diagnostic.site ? diagnostic.site->Path() : QString();
        json.String(path.isNull() ? QStringLiteral("") : path);
        if (diagnostic.bit >= 0 && diagnostic.site) {
            json.Key(QStringLiteral("member"));
            json.String(diagnostic.site->description->members[diagnostic.bit].name);
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
