// Checks: every unset required member and every invalid value, in member order.

#include "ReadContext.h"
#include "RecordStorage.h"
#include "RecordText.h"

#include <optional>

using REPORTGENERATOR::IncompleteDefinitionException;
using REPORTGENERATOR::LogLevel;
using REPORTGENERATOR::OutOfRangeException;

namespace KVT317XML {

void Record::ReportCheck(const MemberDescription& member, bool noThrow) const
{
    const ReadContext::Subject subject(ReadContext::Current(), &member);
    OutOfRangeException exception(text::PleaseSet(GetObjectName(), member.name));
    TraceOrThrow(LogLevel::Error, exception, !noThrow, true);
}

void Record::ReportIncomplete(REPORTGENERATOR::Operation& operation,
                              const MemberDescription& member) const
{
    const ReadContext::Subject subject(ReadContext::Of(operation), &member);
    IncompleteDefinitionException exception(
        QStringLiteral("Parameters for ") + member.name +
        QStringLiteral(" are not set properly in '%1'.").arg(GetObjectName(), 0, QLatin1Char(' ')));
    Report(exception);
}

// A held record's check, with this record's switch and logger, in the held record's place
// where an observer listens.
void Record::CheckHeld(REPORTGENERATOR::Operation& operation, const MemberDescription& member,
                       int item, const Record& child, bool noThrow, bool validate,
                       const std::shared_ptr<REPORTGENERATOR::Logger>& logger) const
{
    ReadContext* const context = ReadContext::Of(operation);
    if (!context && HoldsSettings(child, validate, logger.get())) {
        child.CheckIn(operation, noThrow);
        return;
    }
    std::optional<HeldScope> held;
    if (!HoldsSettings(child, validate, logger.get()))
        held.emplace(operation, child, validate, logger);
    const ReadContext::Scope scope(context, *member.nested(), member.bit, item);
    child.CheckIn(operation, noThrow);
}

void Record::Check(bool noThrow) const
{
    CheckIn(REPORTGENERATOR::Operation::OfThread(), noThrow);
}

void Record::CheckIn(REPORTGENERATOR::Operation& operation, bool noThrow) const
{
    PassDown();
    ReadContext* const context = ReadContext::Of(operation);
    if (context && context->Depth() == 0) {
        // The record checked first is the root of the paths.
        const ReadContext::Scope scope(context, m_type.description, -1, -1);
        CheckIn(operation, noThrow);
        return;
    }
    const StorageBlock& block = ConstStorage();
    // The members to report: required ones not set, set enumerations outside their table,
    // set texts that are null. A member yields at most one report.
    quint32 faults = m_type.requiredFlags & ~block.isSet;
    for (quint32 bits = block.isSet & m_type.enumerationFlags; bits; bits &= bits - 1) {
        const int bit = qCountTrailingZeroBits(bits);
        // Negative values are outside too: as unsigned they are larger than any size.
        if (static_cast<quint32>(EnumAt(&block, m_type.valueOffsets[bit])) >=
            m_type.enumerationSizes[bit])
            faults |= bits & (~bits + 1);
    }
    for (quint32 bits = block.isSet & m_type.textFlags; bits; bits &= bits - 1)
        if (At<QString>(&block, m_type.valueOffsets[qCountTrailingZeroBits(bits)]).isNull())
            faults |= bits & (~bits + 1);

    // Reports in member order; children are checked at their place, set or not. Without
    // faults only the children need a visit.
    const bool validate = m_type.children.empty() ? false : GetValidate();
    const std::shared_ptr<REPORTGENERATOR::Logger>& logger =
        m_type.children.empty() ? OwnLogger() : ReportLogger();
    const auto visit = [&](const MemberRow& row) {
        const MemberDescription& member = row.description;
        const void* value = reinterpret_cast<const char*>(&block) + row.valueOffset;
        if (row.asRecord) {
            CheckHeld(operation, member, -1, RecordAt(row, value, 0), noThrow, validate, logger);
        } else if (row.list) {
            if (!(block.isSet & (quint32(1) << member.bit)))
                ReportCheck(member, noThrow);
            for (int i = 0; i < row.list->size(value); ++i)
                CheckHeld(operation, member, i, row.list->item(value, i), noThrow, validate,
                          logger);
        } else if (faults & (quint32(1) << member.bit)) {
            ReportCheck(member, noThrow);
        }
    };
    if (faults)
        for (const MemberRow& row : m_type.rows)
            visit(row);
    else
        for (const int bit : m_type.children)
            visit(m_type.rows[bit]);
}

void Record::Check() const
{
    Check(false);
}

} // namespace KVT317XML
