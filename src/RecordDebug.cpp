#include "RecordDebug.h"

#include "Record.h"

#include <QDebug>

namespace KVT317XML {

namespace {

void PrintValue(QDebug& debug, const Record& record, const MemberDescription& member)
{
    const MemberKindOperations& kind = *member.operations;
    if (kind.record) {
        debug << *record.Child(member.bit);
    } else if (kind.list) {
        debug << '[';
        for (int i = 0; i < record.ListSize(member.bit); ++i)
            debug << (i ? ", " : "") << *record.ListItem(member.bit, i);
        debug << ']';
    } else if (kind.text) {
        debug << record.MemberText(member.bit);
    } else {
        // Out-of-table enumerators have no name; their XML text is empty.
        const QString text = record.MemberText(member.bit);
        debug << (text.isEmpty() && member.enumeration ? "(invalid)" : qUtf8Printable(text));
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
