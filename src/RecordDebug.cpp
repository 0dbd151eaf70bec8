#include "RecordDebug.h"

#include "Record.h"

#include <QDebug>

namespace KVT317XML {

namespace {

void PrintValue(QDebug& debug, const Record& record, const MemberDescription& member)
{
    switch (member.kind) {
    case MemberKind::Text:
        debug << record.MemberText(member.bit);
        break;
    case MemberKind::Record:
        debug << *record.Child(member.bit);
        break;
    case MemberKind::RecordList: {
        debug << '[';
        for (int i = 0; i < record.ListSize(member.bit); ++i)
            debug << (i ? ", " : "") << *record.ListItem(member.bit, i);
        debug << ']';
        break;
    }
    case MemberKind::Enumeration: {
        // Out-of-table values have no name; their XML text is empty.
        const QString name = record.MemberText(member.bit);
        debug << (name.isEmpty() ? "(invalid)" : qUtf8Printable(name));
        break;
    }
    default:
        debug << qUtf8Printable(record.MemberText(member.bit));
        break;
    }
}

} // namespace

QDebug operator<<(QDebug debug, const Record& record)
{
    const QDebugStateSaver saver(debug);
    debug.nospace() << qUtf8Printable(record.GetObjectName()) << '(';
    const auto& members = record.GetDescription().members;
    bool first = true;
    // Document order: the attributes, then the elements.
    for (const bool attributes : {true, false}) {
        for (const MemberDescription& member : members) {
            if (member.attribute != attributes || !record.IsMemberSet(member.bit))
                continue;
            debug << (first ? "" : ", ") << qUtf8Printable(member.name) << '=';
            PrintValue(debug, record, member);
            first = false;
        }
    }
    debug << ')';
    return debug;
}

} // namespace KVT317XML
