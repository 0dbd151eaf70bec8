#include "MemberDisplay.h"

#include "BearingSettings.h"
#include "KVT317SettingsDetail.h"
#include "Record.h"

#include <algorithm>
#include <cmath>

namespace KVT317XML {

QString MemberUnit(const RecordDescription& record, const MemberDescription& member)
{
    static const struct {
        const char* record;
        const char* member;
        const char* unit;
    } units[] = {
        {"FrequencyRange", "StartFrequency", "Hz"},
        {"FrequencyRange", "StopFrequency", "Hz"},
        {"BearingSettings", "Frequency", "Hz"},
        {"BearingSettings", "DFBandwidth", "Hz"},
        {"BearingSettings", "AveragingTime", "ms"},
        {"BearingSettings", "SlidingWindowTime", "ms"},
        {"BearingSettings", "LevelThreshold", "dB\u00B5V"},
        {"BearingSettings", "QualityThreshold", "%"},
        {"BearingSettings", "ElevationThreshold", "\u00B0"},
        {"KVT317SettingsDetail", "BlockAveragingTime", "ms"},
        {"KVT317SettingsDetail", "AttenuationHoldTime", "ms"},
        {"KVT317SettingsDetail", "AttenuationHoldValue", "dB"},
        {"KVT317SettingsDetail", "Threshold", "dB\u00B5V"},
    };
    for (const auto& entry : units)
        if (record.name == QLatin1String(entry.record) &&
            member.name == QLatin1String(entry.member))
            return QString::fromUtf8(entry.unit);
    return QString();
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
    if (member.kind == MemberKind::Record || member.kind == MemberKind::RecordList)
        return QString();
    if (!record.IsMemberSet(member.bit))
        return QStringLiteral("(unset)");
    const QString text = record.MemberText(member.bit);
    switch (member.kind) {
    case MemberKind::Text:
        return text.isNull()    ? QStringLiteral("(null)")
               : text.isEmpty() ? QStringLiteral("\"\"")
                                : text;
    case MemberKind::Enumeration:
        return text.isNull() ? QStringLiteral("(invalid)") : text;
    case MemberKind::DateTime:
        return text.isEmpty() ? QStringLiteral("(none)") : text;
    default:
        break;
    }
    const QString unit = MemberUnit(record.GetDescription(), member);
    if (unit == QLatin1String("Hz"))
        return HertzText(text, member.precision);
    return unit.isEmpty() ? text : text + QLatin1Char(' ') + unit;
}

QStringList MemberDisplayNames(const RecordDescription& record, const MemberDescription& member)
{
    if (member.kind != MemberKind::Enumeration || !member.enumeration)
        return QStringList();
    static const struct {
        const char* record;
        const char* member;
        QStringList (*names)();
    } lists[] = {
        {"KVT317SettingsDetail", "AntennaPol", &KVT317SettingsDetail::GetGUIAntennaPols},
        {"KVT317SettingsDetail", "AntPreAmp", &KVT317SettingsDetail::GetGUIAntPreAmps},
        {"KVT317SettingsDetail", "AverageMode", &KVT317SettingsDetail::GetGUIAverageModes},
        {"KVT317SettingsDetail", "DF_Alt", &KVT317SettingsDetail::GetGUIDF_Alts},
        {"KVT317SettingsDetail", "DFPan_Selectivity",
         &KVT317SettingsDetail::GetGUIDFPan_Selectivitys},
        {"KVT317SettingsDetail", "AttSelect", &KVT317SettingsDetail::GetGUIAttSelects},
        {"BearingSettings", "DFMode", &BearingSettings::GetGUIDFModes},
    };
    for (const auto& entry : lists)
        if (record.name == QLatin1String(entry.record) &&
            member.name == QLatin1String(entry.member))
            return entry.names();
    return member.enumeration->names;
}

} // namespace KVT317XML
