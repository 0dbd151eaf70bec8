#include "Values.h"

#include <IRGObject.h>

#include <QRegularExpression>

#include <algorithm>
#include <cmath>

using namespace KVT317XML;

namespace {

// What the library does with a number text it cannot read: QString's conversion gives
// infinity for an overflow and 0 for anything else.
QString ReadAs(double value)
{
    if (std::isinf(value))
        return value < 0 ? QStringLiteral("-inf") : QStringLiteral("inf");
    return QStringLiteral("0");
}

bool LooksNumeric(const QString& text)
{
    static const QRegularExpression number(
        QStringLiteral("^\\s*[+-]?([0-9]+\\.?[0-9]*|\\.[0-9]+)([eE][+-]?[0-9]+)?\\s*$"));
    return number.match(text).hasMatch();
}

double ReadNumber(const MemberDescription& member, const QString& text, bool* ok)
{
    if (member.kind == MemberKind::Float)
        return static_cast<double>(text.toFloat(ok));
    return text.toDouble(ok);
}

// Whether a plain decimal text has digits other than 0 beyond the decimals a member keeps:
// those are lost on writing even where the double read cannot tell them.
bool ExtraDecimals(const QString& text, int precision)
{
    static const QRegularExpression decimal(QStringLiteral("^\\s*[+-]?[0-9]*\\.([0-9]+)\\s*$"));
    const QRegularExpressionMatch match = decimal.match(text);
    if (!match.hasMatch())
        return false;
    const QString decimals = match.captured(1);
    for (int i = precision; i < decimals.size(); ++i)
        if (decimals.at(i) != QLatin1Char('0'))
            return true;
    return false;
}

ValueFinding Lost(const MemberDescription& member, const QString& message)
{
    return {ValueFinding::Kind::Lost, member.name + QStringLiteral(": ") + message};
}

} // namespace

ValueFinding CheckMemberText(const MemberDescription& member, const QString& text)
{
    switch (member.kind) {
    case MemberKind::Integer: {
        bool ok = false;
        text.toInt(&ok, 10);
        if (ok)
            return {};
        bool wide = false;
        text.toLongLong(&wide, 10);
        return Lost(member, (wide ? QStringLiteral("'%1' does not fit in 32 bits (read as 0)")
                                  : QStringLiteral("'%1' is not a whole number (read as 0)"))
                                .arg(text));
    }
    case MemberKind::Float:
    case MemberKind::Double: {
        bool ok = false;
        const double value = ReadNumber(member, text, &ok);
        if (!ok) {
            if (std::isinf(value) || LooksNumeric(text))
                return Lost(
                    member,
                    QStringLiteral("'%1' is out of range (read as %2)").arg(text, ReadAs(value)));
            return Lost(member, QStringLiteral("'%1' is not a number (read as 0)").arg(text));
        }
        const QString written = WrittenText(member, text);
        const double back = ReadNumber(member, written, nullptr);
        if ((back == value || (std::isnan(back) && std::isnan(value))) &&
            !ExtraDecimals(text, member.precision))
            return {};
        return {ValueFinding::Kind::Rounded,
                QStringLiteral("%1: '%2' keeps %3 decimals (written as %4)")
                    .arg(member.name, text)
                    .arg(member.precision)
                    .arg(written)};
    }
    case MemberKind::Enumeration:
        // An empty name is how an invalid value is written: it reads back as invalid, and
        // the library itself reports it.
        if (text.isEmpty() || member.enumeration->names.contains(text))
            return {};
        return Lost(member, QStringLiteral("unknown name '%1' (read as invalid); allowed: %2")
                                .arg(text, AllowedNames(member)));
    case MemberKind::DateTime: {
        if (text.isEmpty() || !REPORTGENERATOR::Converters::ToDateTime(text).isNull())
            return {};
        static const QRegularExpression shape(
            QStringLiteral("^[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}"));
        if (shape.match(text).hasMatch())
            return Lost(member,
                        QStringLiteral("'%1' is not a valid date-time (read as empty)").arg(text));
        return Lost(member, QStringLiteral("'%1' is not a date-time of the form "
                                           "yyyy-MM-ddThh:mm:ss,zzzZ (read as empty)")
                                .arg(text));
    }
    case MemberKind::Text:
    case MemberKind::Record:
    case MemberKind::RecordList:
        break;
    }
    return {};
}

QString WrittenText(const MemberDescription& member, const QString& text)
{
    if (member.kind != MemberKind::Float && member.kind != MemberKind::Double)
        return text;
    const double value = ReadNumber(member, text, nullptr);
    return QStringLiteral("%1").arg(value, member.fieldWidth, 'f', member.precision,
                                    QLatin1Char(' '));
}

QString KindName(const MemberDescription& member)
{
    switch (member.kind) {
    case MemberKind::Integer:
        return QStringLiteral("whole number");
    case MemberKind::Float:
    case MemberKind::Double:
        return QStringLiteral("number, %1 decimals").arg(member.precision);
    case MemberKind::Text:
        return QStringLiteral("text");
    case MemberKind::DateTime:
        return QStringLiteral("date-time");
    case MemberKind::Enumeration:
        return QStringLiteral("enumeration");
    case MemberKind::Record:
        return QStringLiteral("record ") + member.nested()->name;
    case MemberKind::RecordList:
        return QStringLiteral("list of ") + member.nested()->name;
    }
    return QString();
}

int XmlForbiddenCharacter(const QString& text)
{
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        const ushort code = c.unicode();
        if (code < 0x20 && code != '\t' && code != '\n' && code != '\r')
            return code;
        if (code == 0xFFFE || code == 0xFFFF)
            return code;
        if (c.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
            ++i;
            continue;
        }
        if (c.isSurrogate())
            return code;
    }
    return -1;
}

QString Printable(const QString& text)
{
    QString shown;
    shown.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        const ushort code = c.unicode();
        const bool pair =
            c.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        if (pair) {
            shown.append(c);
            shown.append(text.at(++i));
        } else if (code < 0x20 || code == 0x7F || c.isSurrogate() || code == 0xFFFE ||
                   code == 0xFFFF) {
            shown.append(QStringLiteral("\\u%1").arg(code, 4, 16, QLatin1Char('0')));
        } else {
            shown.append(c);
        }
    }
    return shown;
}

QString CharacterCode(int code)
{
    return QStringLiteral("U+%1").arg(code, 4, 16, QLatin1Char('0')).toUpper();
}

QString HexByte(char byte)
{
    return QStringLiteral("0x") + QString::number(static_cast<unsigned char>(byte), 16)
                                      .rightJustified(2, QLatin1Char('0'))
                                      .toUpper();
}

QString Hex32(quint32 value)
{
    return QStringLiteral("0x") +
           QString::number(value, 16).rightJustified(8, QLatin1Char('0')).toUpper();
}

int InvalidUtf8(const QByteArray& bytes)
{
    const auto byte = [&bytes](int i) { return static_cast<unsigned char>(bytes.at(i)); };
    int i = 0;
    while (i < bytes.size()) {
        const unsigned char lead = byte(i);
        if (lead < 0x80) {
            ++i;
            continue;
        }
        int length = 0;
        unsigned char low = 0x80;
        unsigned char high = 0xBF;
        if (lead >= 0xC2 && lead <= 0xDF) {
            length = 2;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            length = 3;
            if (lead == 0xE0)
                low = 0xA0; // no overlong forms
            if (lead == 0xED)
                high = 0x9F; // no surrogates
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            length = 4;
            if (lead == 0xF0)
                low = 0x90;
            if (lead == 0xF4)
                high = 0x8F; // nothing above U+10FFFF
        } else {
            return i;
        }
        if (i + length > bytes.size())
            return i;
        if (byte(i + 1) < low || byte(i + 1) > high)
            return i;
        for (int k = 2; k < length; ++k)
            if (byte(i + k) < 0x80 || byte(i + k) > 0xBF)
                return i;
        i += length;
    }
    return -1;
}

namespace {

int Distance(const QString& a, const QString& b)
{
    std::vector<int> row(static_cast<std::size_t>(b.size()) + 1);
    for (int j = 0; j <= b.size(); ++j)
        row[static_cast<std::size_t>(j)] = j;
    for (int i = 1; i <= a.size(); ++i) {
        int diagonal = row[0];
        row[0] = i;
        for (int j = 1; j <= b.size(); ++j) {
            const int above = row[static_cast<std::size_t>(j)];
            const int cost = a.at(i - 1) == b.at(j - 1) ? 0 : 1;
            row[static_cast<std::size_t>(j)] =
                std::min({above + 1, row[static_cast<std::size_t>(j - 1)] + 1, diagonal + cost});
            diagonal = above;
        }
    }
    return row[static_cast<std::size_t>(b.size())];
}

} // namespace

QString Suggestion(const QString& name, const QStringList& candidates)
{
    // Case is compared too loosely to be a typo's only cause, so it counts for nothing.
    const QString lower = name.toLower();
    QString best;
    int bestDistance = 0;
    for (const QString& candidate : candidates) {
        const int distance = Distance(lower, candidate.toLower());
        if (best.isNull() || distance < bestDistance) {
            best = candidate;
            bestDistance = distance;
        }
    }
    const int allowed = name.size() >= 5 ? 2 : 1;
    return !best.isNull() && bestDistance <= allowed && bestDistance < name.size() ? best
                                                                                   : QString();
}

QString AllowedNames(const MemberDescription& member)
{
    return member.enumeration->names.join(QStringLiteral(", "));
}

QString Hertz(const QString& text, int precision)
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

QString Unit(const QString& record, const QString& member)
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
        if (record == QLatin1String(entry.record) && member == QLatin1String(entry.member))
            return QString::fromUtf8(entry.unit);
    return QString();
}
