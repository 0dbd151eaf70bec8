#include "SettingsLint.h"
#include "MemberDisplay.h"

#include <QHash>

namespace KVT317XML {

namespace {

void Warn(std::vector<LintWarning>& out, const ReadPath& path, const RecordDescription& record,
          const QString& member, const QString& message)
{
    LintWarning warning;
    warning.path = path;
    warning.record = &record;
    warning.member = record.FindName(member);
    warning.message = message;
    out.push_back(std::move(warning));
}

QString Shown(const Record& record, const MemberDescription& member)
{
    const QString unit = MemberUnit(record.GetDescription(), member);
    const QString text = record.MemberText(member.bit);
    return unit == QLatin1String("Hz") ? HertzText(text, member.precision) : text;
}

// Start above stop in a frequency range, at any depth.
void LintRanges(std::vector<LintWarning>& out, const Record& record, ReadPath& path)
{
    const RecordDescription& description = record.GetDescription();
    const MemberDescription* start = description.FindName(QStringLiteral("StartFrequency"));
    const MemberDescription* stop = description.FindName(QStringLiteral("StopFrequency"));
    if (start && stop && record.IsMemberSet(start->bit) && record.IsMemberSet(stop->bit) &&
        record.MemberValue(start->bit).toDouble() > record.MemberValue(stop->bit).toDouble())
        Warn(out, path, description, stop->name,
             QStringLiteral("StartFrequency %1 lies above StopFrequency %2")
                 .arg(Shown(record, *start), Shown(record, *stop)));
    for (const MemberDescription& member : description.members) {
        if (member.kind == MemberKind::Record && record.IsMemberSet(member.bit)) {
            path.append(ReadStep{member.bit, -1});
            LintRanges(out, *record.Child(member.bit), path);
            path.removeLast();
        }
        for (int i = 0; member.kind == MemberKind::RecordList && i < record.ListSize(member.bit);
             ++i) {
            path.append(ReadStep{member.bit, i});
            LintRanges(out, *record.ListItem(member.bit, i), path);
            path.removeLast();
        }
    }
}

// A member that should tell the items of a list apart, given twice.
void LintUnique(std::vector<LintWarning>& out, const Record& list, const MemberDescription& items,
                const QString& name)
{
    QHash<QString, int> first;
    for (int i = 0; i < list.ListSize(items.bit); ++i) {
        const Record& item = *list.ListItem(items.bit, i);
        const MemberDescription* member = item.GetDescription().FindName(name);
        if (!member || !item.IsMemberSet(member->bit))
            continue;
        const QString text = item.MemberText(member->bit);
        const auto earlier = first.constFind(text);
        if (earlier == first.constEnd()) {
            first.insert(text, i);
            continue;
        }
        const bool selects = name == QLatin1String("Name");
        Warn(out, ReadPath{ReadStep{items.bit, i}}, item.GetDescription(), name,
             QStringLiteral("%1 %2 is also the %1 of %3[%4]%5")
                 .arg(name, selects ? QLatin1Char('\'') + text + QLatin1Char('\'') : text,
                      items.name)
                 .arg(earlier.value() + 1)
                 .arg(selects ? QStringLiteral("; [Name=...] paths cannot tell them apart")
                              : QString()));
    }
}

} // namespace

std::vector<LintWarning> LintSettings(const Record& root)
{
    std::vector<LintWarning> out;
    ReadPath path;
    LintRanges(out, root, path);
    for (const MemberDescription& member : root.GetDescription().members) {
        if (member.kind != MemberKind::RecordList)
            continue;
        LintUnique(out, root, member, QStringLiteral("Name"));
        LintUnique(out, root, member, QStringLiteral("index"));
    }
    return out;
}

} // namespace KVT317XML
