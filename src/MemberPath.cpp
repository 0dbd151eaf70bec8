#include "MemberPath.h"
#include "NameSuggestion.h"

namespace KVT317XML {

const MemberDescription& MemberTarget::Member() const
{
    return record->GetDescription().members[static_cast<std::size_t>(bit)];
}

namespace {

struct Segment {
    QString name;
    bool selected = false;
    int position = 0; // from 1
    bool byName = false;
    bool all = false; // [*]
    QString itemName;
};

// The character at fault, and where: "'/' (column 24)".
QString AtFault(const QString& text, int at)
{
    return QStringLiteral("'%1' (column %2)").arg(text.at(at)).arg(at + 1);
}

bool IsNameCharacter(QChar c)
{
    return c.isLetterOrNumber() || c == QLatin1Char('_');
}

QString Parse(const QString& text, std::vector<Segment>& segments)
{
    int i = 0;
    while (i < text.size()) {
        Segment segment;
        while (i < text.size() && IsNameCharacter(text.at(i)))
            segment.name.append(text.at(i++));
        if (segment.name.isEmpty())
            return i < text.size() && text.at(i) != QLatin1Char('.') &&
                           text.at(i) != QLatin1Char('[')
                       ? QStringLiteral("'%1': %2 cannot start a member name")
                             .arg(text, AtFault(text, i))
                       : QStringLiteral("'%1': a member name is missing").arg(text);
        if (i < text.size() && text.at(i) == QLatin1Char('[')) {
            int close = -1;
            QString inside;
            const QString quotedName = text.mid(i + 1, 6);
            if (quotedName == QLatin1String("Name=\"") || quotedName == QLatin1String("Name='")) {
                // A quoted Name runs to its closing quote, and may hold anything else.
                const QChar quote = quotedName.at(5);
                const int end = text.indexOf(quote, i + 7);
                if (end < 0)
                    return QStringLiteral("'%1': the quote of Name= at column %2 is not closed")
                        .arg(text)
                        .arg(i + 7);
                if (end + 1 >= text.size() || text.at(end + 1) != QLatin1Char(']'))
                    return QStringLiteral("'%1': expected ']' after the quoted Name, found %2")
                        .arg(text, end + 1 < text.size() ? AtFault(text, end + 1)
                                                         : QStringLiteral("the end"));
                close = end + 1;
                inside = QStringLiteral("Name=") + text.mid(i + 7, end - i - 7);
            } else {
                // The selector ends at the ']' that ends the segment, so that a Name may hold
                // '.', '[' and ']'.
                const int first = text.indexOf(QLatin1Char(']'), i + 1);
                for (close = first; close >= 0; close = text.indexOf(QLatin1Char(']'), close + 1))
                    if (close + 1 == text.size() || text.at(close + 1) == QLatin1Char('.'))
                        break;
                if (first < 0)
                    return QStringLiteral("'%1': the '[' at column %2 is not closed")
                        .arg(text)
                        .arg(i + 1);
                if (close < 0)
                    return QStringLiteral("'%1': %2 cannot follow ']'; members are separated by "
                                          "'.'")
                        .arg(text, AtFault(text, first + 1));
                inside = text.mid(i + 1, close - i - 1);
            }
            segment.selected = true;
            if (inside == QLatin1String("*")) {
                segment.all = true;
            } else if (inside.startsWith(QLatin1String("Name="))) {
                segment.byName = true;
                segment.itemName = inside.mid(5);
            } else {
                bool ok = false;
                segment.position = inside.toInt(&ok);
                if (!ok || segment.position < 1)
                    return QStringLiteral("'%1': [%2] is neither a position (from 1), * nor "
                                          "Name=...")
                        .arg(text, inside);
            }
            i = close + 1;
        }
        if (i < text.size()) {
            if (text.at(i) != QLatin1Char('.'))
                return QStringLiteral("'%1': %2 cannot follow %3; members are separated by '.'")
                    .arg(text, AtFault(text, i), segment.name);
            if (++i == text.size())
                return QStringLiteral("'%1': a member name is missing at the end").arg(text);
        }
        segments.push_back(segment);
    }
    if (segments.empty())
        return QStringLiteral("the path is empty");
    return QString();
}

QString Join(const QString& path, const QString& name)
{
    return path.isEmpty() ? name : path + QLatin1Char('.') + name;
}

// The position of the item a segment selects, or an error.
QString SelectItem(const Record& record, int bit, const Segment& segment, const QString& where,
                   int& index)
{
    const int size = record.IsMemberSet(bit) ? record.ListSize(bit) : 0;
    if (!segment.byName) {
        if (segment.position > size)
            return QStringLiteral("%1[%2]: the list holds %3 item%4")
                .arg(where)
                .arg(segment.position)
                .arg(size)
                .arg(size == 1 ? "" : "s");
        index = segment.position - 1;
        return QString();
    }
    std::vector<int> matches;
    for (int i = 0; i < size; ++i) {
        const Record& item = *record.ListItem(bit, i);
        const MemberDescription* name = item.GetDescription().FindName(QStringLiteral("Name"));
        if (name && item.IsMemberSet(name->bit) && item.MemberText(name->bit) == segment.itemName)
            matches.push_back(i);
    }
    if (matches.empty())
        return QStringLiteral("%1[Name=%2]: no item has that Name").arg(where, segment.itemName);
    if (matches.size() > 1)
        return QStringLiteral("%1[Name=%2]: items %3 and %4 have that Name; select one by "
                              "position")
            .arg(where, segment.itemName)
            .arg(matches[0] + 1)
            .arg(matches[1] + 1);
    index = matches[0];
    return QString();
}

} // namespace

QString ResolveMemberPath(Record& root, const QString& path, bool create, MemberTarget& target,
                          bool* notSet)
{
    if (notSet)
        *notSet = false;
    std::vector<std::pair<QString, int>> created;
    std::vector<Segment> segments;
    const QString error = Parse(path, segments);
    if (!error.isEmpty())
        return error;
    Record* record = &root;
    QString recordPath;
    for (std::size_t s = 0; s < segments.size(); ++s) {
        const Segment& segment = segments[s];
        const bool last = s + 1 == segments.size();
        const RecordDescription& description = record->GetDescription();
        const MemberDescription* member = description.FindName(segment.name);
        if (!member) {
            QStringList names;
            for (const MemberDescription& candidate : description.members)
                names.append(candidate.name);
            const QString suggestion = ClosestName(segment.name, names);
            return QStringLiteral("%1 has no member '%2'%3")
                .arg(recordPath.isEmpty() ? description.name : recordPath, segment.name,
                     suggestion.isNull() ? QString()
                                         : QStringLiteral("; did you mean '%1'?").arg(suggestion));
        }
        const QString memberPath = Join(recordPath, member->name);
        if (segment.selected && member->kind != MemberKind::RecordList)
            return QStringLiteral("%1 is not a list").arg(memberPath);
        if (member->kind == MemberKind::RecordList && segment.selected) {
            int index = 0;
            const QString selectError =
                SelectItem(*record, member->bit, segment, memberPath, index);
            if (!selectError.isEmpty())
                return selectError;
            const QString itemPath = QStringLiteral("%1[%2]").arg(memberPath).arg(index + 1);
            if (last) {
                target = {record, member->bit, index, recordPath, itemPath, created};
                return QString();
            }
            record = record->MutableListItem(member->bit, index);
            recordPath = itemPath;
            continue;
        }
        if (last) {
            target = {record, member->bit, -1, recordPath, memberPath, created};
            return QString();
        }
        if (member->kind == MemberKind::RecordList)
            return QStringLiteral("%1 is a list: select an item with [N] or [Name=...]")
                .arg(memberPath);
        if (member->kind != MemberKind::Record)
            return QStringLiteral("%1 is a %2; nothing follows it in a path")
                .arg(memberPath, member->kindName);
        if (!record->IsMemberSet(member->bit)) {
            if (!create) {
                if (notSet)
                    *notSet = true;
                return QStringLiteral("%1 is not set").arg(memberPath);
            }
            created.emplace_back(recordPath, member->bit);
        }
        // Set already, or made set: editing in place marks nothing that was not.
        record = record->MutableChild(member->bit);
        recordPath = memberPath;
    }
    return QString();
}

QStringList ExpandMemberPath(Record& root, const QString& path, QString& error)
{
    const int all = path.indexOf(QLatin1String("[*]"));
    if (all < 0)
        return {path};
    MemberTarget list;
    error = ResolveMemberPath(root, path.left(all), false, list);
    if (!error.isEmpty())
        return {};
    if (list.Member().kind != MemberKind::RecordList || list.item >= 0) {
        error = QStringLiteral("'%1': [*] follows %2, which is not a list").arg(path, list.path);
        return {};
    }
    QStringList paths;
    const int size = list.record->IsMemberSet(list.bit) ? list.record->ListSize(list.bit) : 0;
    for (int i = 1; i <= size; ++i) {
        paths += ExpandMemberPath(
            root, path.left(all) + QStringLiteral("[%1]").arg(i) + path.mid(all + 3), error);
        if (!error.isEmpty())
            return {};
    }
    return paths;
}

} // namespace KVT317XML
