// Checks: every unset required member and every invalid value, in member order.

#include "RecordStorage.h"
#include "RecordText.h"

using REPORTGENERATOR::IncompleteDefinitionException;
using REPORTGENERATOR::LogLevel;
using REPORTGENERATOR::OutOfRangeException;

namespace KVT317XML {

void Record::ReportCheck(const MemberDescription& member, bool noThrow) const
{
    OutOfRangeException exception(text::PleaseSet(GetObjectName(), member.name));
    TraceOrThrow(LogLevel::Error, exception, !noThrow, true);
}

void Record::ReportIncomplete(const MemberDescription& member) const
{
    IncompleteDefinitionException exception(
        QStringLiteral("Parameters for ") + member.name +
        QStringLiteral(" are not set properly in '%1'.").arg(GetObjectName(), 0, QLatin1Char(' ')));
    Report(exception);
}

void Record::Check(bool noThrow) const
{
    PassDown();
    const StorageBlock& block = ConstStorage();
    for (const MemberRow& row : m_type.rows) {
        const MemberDescription& member = row.description;
        const bool set = block.isSet & (quint32(1) << member.bit);
        const void* value = reinterpret_cast<const char*>(&block) + row.valueOffset;
        switch (member.kind) {
        case MemberKind::Record:
            // A child is checked by its own rules, set or not.
            RecordAt(row, value, 0).Check(noThrow);
            break;
        case MemberKind::RecordList:
            if (!set)
                ReportCheck(member, noThrow);
            for (int i = 0; i < row.list->size(value); ++i)
                row.list->item(value, i).Check(noThrow);
            break;
        case MemberKind::Enumeration: {
            const int v = EnumAt(value, 0);
            if (set ? v >= 0 && v < member.enumeration->names.size() : !member.required)
                break;
            ReportCheck(member, noThrow);
            break;
        }
        case MemberKind::Text:
            if (set ? !At<QString>(value, 0).isNull() : !member.required)
                break;
            ReportCheck(member, noThrow);
            break;
        default:
            // A set number or date-time is always valid.
            if (!set && member.required)
                ReportCheck(member, noThrow);
        }
    }
}

void Record::Check() const
{
    Check(false);
}

} // namespace KVT317XML
