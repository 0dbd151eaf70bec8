#include "MemberDisplay.h"

#include "Record.h"

#include <algorithm>
#include <cmath>

namespace KVT317XML {

QString MemberUnit(const RecordDescription&, const MemberDescription& member)
{
    return member.unit;
}

QString HertzText(const QString& text, int precision)
{
    bool ok = false;
    const double value = text.toDouble(&ok);
    if (!ok || !std::isfinite(value))
        return text + QStringLiteral(" Hz");
    static const struct {
        double scale;
        int exponent;
        const char* unit;
    } units[] = {{1e9, 9, "GHz"}, {1e6, 6, "MHz"}, {1e3, 3, "kHz"}, {1, 0, "Hz"}};
    for (const auto& unit : units) {
        if (std::fabs(value) < unit.scale && unit.scale > 1)
            continue;
        const double scaled = value / unit.scale;
        // Every decimal the member keeps, but no more digits than a double holds.
        const int whole = std::max(
            1, static_cast<int>(std::floor(std::log10(std::max(1.0, std::fabs(scaled))))) + 1);
        const int decimals = std::max(0, std::min(precision + unit.exponent, 15 - whole));
        QString shown = QString::number(scaled, 'f', decimals);
        if (shown.contains(QLatin1Char('.'))) {
            while (shown.endsWith(QLatin1Char('0')))
                shown.chop(1);
            if (shown.endsWith(QLatin1Char('.')))
                shown.chop(1);
        }
        if (shown == QLatin1String("-0"))
            shown = QStringLiteral("0");
        return shown + QLatin1Char(' ') + QLatin1String(unit.unit);
    }
    return text;
}

QString ShownMemberValue(const Record& record, const MemberDescription& member)
{
    const MemberKindOperations& kind = *member.operations;
    if (kind.record || kind.list)
        return QString();
    if (!record.IsMemberSet(member.bit))
        return QStringLiteral("(unset)");
    const QString text = kind.shown(record.MemberText(member.bit));
    if (!kind.number || member.unit.isEmpty())
        return text;
    if (member.unit == QLatin1String("Hz"))
        return HertzText(text, member.precision);
    return text + QLatin1Char(' ') + member.unit;
}

QStringList MemberDisplayNames(const RecordDescription&, const MemberDescription& member)
{
    return member.DisplayNames();
}

} // namespace KVT317XML
