// Candidates for the shell's completion (kvt317.bash), from the member tables and, for list
// positions, from the document itself.

#include "Commands.h"
#include "Paths.h"

#include <RecordDescription.h>

using namespace KVT317XML;

namespace {

// A path split at the dots between its segments; a dot inside [...] (a quoted Name) does
// not split.
QStringList Segments(const QString& path)
{
    QStringList segments{QString()};
    bool inSelector = false;
    QChar quote;
    for (const QChar c : path) {
        if (!quote.isNull()) {
            if (c == quote)
                quote = QChar();
        } else if (inSelector && (c == QLatin1Char('"') || c == QLatin1Char('\''))) {
            quote = c;
        } else if (c == QLatin1Char('[')) {
            inSelector = true;
        } else if (c == QLatin1Char(']')) {
            inSelector = false;
        } else if (c == QLatin1Char('.') && !inSelector) {
            segments.append(QString());
            continue;
        }
        segments.last().append(c);
    }
    return segments;
}

QString MemberName(const QString& segment)
{
    const int bracket = segment.indexOf(QLatin1Char('['));
    return bracket < 0 ? segment : segment.left(bracket);
}

// The record type the segments lead to, or null where one names no record member.
const RecordDescription* RecordAt(const RecordDescription* type, const QStringList& segments)
{
    for (const QString& segment : segments) {
        const MemberDescription* member = type ? type->FindName(MemberName(segment)) : nullptr;
        if (!member || !member->nested)
            return nullptr;
        type = member->nested();
    }
    return type;
}

void Print(const QStringList& candidates)
{
    for (const QString& candidate : candidates)
        Out() << candidate << '\n';
}

// Paths that continue `word` inside a record of type `type`: the next member's name, with
// '.' after a record and '[' after a list; inside a list's brackets, [*] and the positions
// of `root`'s items (when a document is given).
QStringList PathCandidates(const RecordDescription* type, Record* root, const QString& word)
{
    QStringList segments = Segments(word);
    const QString last = segments.takeLast();
    type = RecordAt(type, segments);
    if (!type)
        return {};
    const QString prefix =
        segments.isEmpty() ? QString() : segments.join(QLatin1Char('.')) + QLatin1Char('.');
    QStringList candidates;
    const int bracket = last.indexOf(QLatin1Char('['));
    if (bracket >= 0) {
        const MemberDescription* member = type->FindName(last.left(bracket));
        if (!member || !member->operations->list)
            return {};
        const QString list = prefix + member->name;
        candidates.append(list + QStringLiteral("[*]."));
        Target target;
        if (root && Resolve(*root, list, false, target).isEmpty() &&
            target.record->IsMemberSet(target.bit))
            for (int position = 1; position <= target.record->ListSize(target.bit); ++position)
                candidates.append(list + QStringLiteral("[%1].").arg(position));
        return candidates;
    }
    for (const MemberDescription& member : type->members) {
        const QString suffix = member.operations->list     ? QStringLiteral("[")
                               : member.operations->record ? QStringLiteral(".")
                                                           : QString();
        candidates.append(prefix + member.name + suffix);
    }
    return candidates;
}

// The names an enumeration member allows, for the value after its path.
QStringList ValueCandidates(const RecordDescription* type, const QString& path)
{
    QStringList segments = Segments(path);
    const QString last = MemberName(segments.takeLast());
    type = RecordAt(type, segments);
    const MemberDescription* member = type ? type->FindName(last) : nullptr;
    if (!member || !member->enumeration)
        return {};
    return member->enumeration->names;
}

} // namespace

int RunComplete(const QStringList& arguments)
{
    // __complete path FILE WORD | detail-path WORD | value FILE PATH | detail-value PATH
    const QString what = arguments.value(0);
    const RecordDescription* detail = FindDescription(QStringLiteral("KVT317SettingsDetail"));
    if (what == QLatin1String("detail-path")) {
        Print(PathCandidates(detail, nullptr, arguments.value(1)));
        return Success;
    }
    if (what == QLatin1String("detail-value")) {
        Print(ValueCandidates(detail, arguments.value(1)));
        return Success;
    }
    if (what != QLatin1String("path") && what != QLatin1String("value"))
        return UsageOrIo;
    const std::unique_ptr<Document> document = LoadDocument(arguments.value(1));
    if (!document->loaded || !document->record)
        return Success; // nothing to offer; completion stays quiet
    const RecordDescription* type = &document->record->GetDescription();
    Print(what == QLatin1String("path")
              ? PathCandidates(type, document->record.get(), arguments.value(2))
              : ValueCandidates(type, arguments.value(2)));
    return Success;
}
