#include "RecordComparison.h"

namespace KVT317XML {

namespace {

QString Join(const QString& path, const QString& name)
{
    return path.isEmpty() ? name : path + QLatin1Char('.') + name;
}

QString MemberShown(const Record& record, const MemberDescription& member)
{
    if (!record.IsMemberSet(member.bit))
        return QStringLiteral("(unset)");
    if (member.kind == MemberKind::Record)
        return QStringLiteral("(set)");
    const QString text = record.MemberText(member.bit);
    return text.isNull() && member.kind == MemberKind::Text ? QStringLiteral("(null)") : text;
}

// Whether a record, or a record in it, holds a number that is not a number: such a record
// never equals itself by the library's exact rule, so equal texts are all there is to
// compare.
bool HoldsNan(const Record& record)
{
    for (const MemberDescription& member : record.GetDescription().members) {
        if (!record.IsMemberSet(member.bit))
            continue;
        if (member.kind == MemberKind::Record && HoldsNan(*record.Child(member.bit)))
            return true;
        for (int i = 0; member.kind == MemberKind::RecordList && i < record.ListSize(member.bit);
             ++i)
            if (HoldsNan(*record.ListItem(member.bit, i)))
                return true;
        if ((member.kind == MemberKind::Float || member.kind == MemberKind::Double) &&
            record.MemberText(member.bit).endsWith(QLatin1String("nan")))
            return true;
    }
    return false;
}

// An item's Name, or a null text.
QString ItemName(const Record& item)
{
    const MemberDescription* name = item.GetDescription().FindName(QStringLiteral("Name"));
    return name && item.IsMemberSet(name->bit) ? item.MemberText(name->bit) : QString();
}

// The position in `list` of the first item named `name` not taken yet, or -1.
int FindByName(const Record& record, int bit, const QString& name, std::vector<bool>& taken)
{
    for (int i = 0; i < record.ListSize(bit); ++i) {
        if (!taken[static_cast<std::size_t>(i)] && ItemName(*record.ListItem(bit, i)) == name) {
            taken[static_cast<std::size_t>(i)] = true;
            return i;
        }
    }
    return -1;
}

void Compare(const Record& a, const Record& b, std::vector<std::pair<int, int>>& steps,
             const QString& path, bool byName, std::vector<RecordDifference>& out)
{
    const std::size_t before = out.size();
    const auto add = [&](int bit, const QString& where, const QString& textA,
                         const QString& textB) {
        RecordDifference difference;
        difference.steps = steps;
        difference.bit = bit;
        difference.recordPath = path;
        difference.path = where;
        difference.a = textA;
        difference.b = textB;
        if (bit >= 0) {
            const MemberKind kind = a.GetDescription().members[static_cast<std::size_t>(bit)].kind;
            difference.numeric = kind == MemberKind::Integer || kind == MemberKind::Float ||
                                 kind == MemberKind::Double;
        }
        out.push_back(std::move(difference));
    };
    for (const MemberDescription& member : a.GetDescription().members) {
        const QString name = Join(path, member.name);
        if (member.kind == MemberKind::RecordList && byName) {
            // Items paired by their Name; the others are only in one of the two.
            std::vector<bool> taken(static_cast<std::size_t>(b.ListSize(member.bit)), false);
            for (int i = 0; i < a.ListSize(member.bit); ++i) {
                const Record& item = *a.ListItem(member.bit, i);
                const QString itemName = ItemName(item);
                const QString itemPath = itemName.isNull()
                                             ? QStringLiteral("%1[%2]").arg(name).arg(i + 1)
                                             : QStringLiteral("%1[Name=%2]").arg(name, itemName);
                const int j = itemName.isNull() ? -1 : FindByName(b, member.bit, itemName, taken);
                if (j < 0) {
                    add(member.bit, itemPath, QString(), QString());
                    out.back().onlyInA = true;
                    continue;
                }
                steps.emplace_back(member.bit, i);
                Compare(item, *b.ListItem(member.bit, j), steps, itemPath, byName, out);
                steps.pop_back();
            }
            for (int j = 0; j < b.ListSize(member.bit); ++j) {
                if (taken[static_cast<std::size_t>(j)])
                    continue;
                const QString itemName = ItemName(*b.ListItem(member.bit, j));
                add(member.bit,
                    itemName.isNull() ? QStringLiteral("%1[%2]").arg(name).arg(j + 1)
                                      : QStringLiteral("%1[Name=%2]").arg(name, itemName),
                    QString(), QString());
                out.back().onlyInB = true;
            }
            continue;
        }
        if (member.kind == MemberKind::RecordList) {
            const int sizeA = a.ListSize(member.bit);
            const int sizeB = b.ListSize(member.bit);
            for (int i = 0; i < qMax(sizeA, sizeB); ++i) {
                const QString item = QStringLiteral("%1[%2]").arg(name).arg(i + 1);
                if (i < sizeA && i < sizeB) {
                    steps.emplace_back(member.bit, i);
                    Compare(*a.ListItem(member.bit, i), *b.ListItem(member.bit, i), steps, item,
                            byName, out);
                    steps.pop_back();
                    continue;
                }
                add(member.bit, item, QString(), QString());
                out.back().onlyInA = i < sizeA;
                out.back().onlyInB = i >= sizeA;
            }
            continue;
        }
        const bool setA = a.IsMemberSet(member.bit);
        const bool setB = b.IsMemberSet(member.bit);
        if (!setA && !setB)
            continue;
        if (member.kind == MemberKind::Record && setA && setB) {
            steps.emplace_back(member.bit, -1);
            Compare(*a.Child(member.bit), *b.Child(member.bit), steps, name, byName, out);
            steps.pop_back();
            continue;
        }
        const QString textA = MemberShown(a, member);
        const QString textB = MemberShown(b, member);
        if (setA != setB || textA != textB)
            add(member.bit, name, textA, textB);
    }
    if (out.size() == before && !a.Equals(b) && !HoldsNan(a))
        add(-1, path, QStringLiteral("(values beyond the decimals written)"),
            QStringLiteral("(other values)"));
}

} // namespace

std::vector<RecordDifference> CompareRecords(const Record& a, const Record& b, bool byName)
{
    std::vector<RecordDifference> out;
    std::vector<std::pair<int, int>> steps;
    Compare(a, b, steps, QString(), byName, out);
    return out;
}

} // namespace KVT317XML
