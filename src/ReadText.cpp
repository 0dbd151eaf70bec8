#include "ReadText.h"
#include "NameSuggestion.h"

#include <Converters.h>
#include <Numbers.h>

#include <QRegularExpression>

#include <algorithm>
#include <cmath>
#include <vector>

using REPORTGENERATOR::LogLevel;

namespace KVT317XML::read {

namespace {

// What the conversions give for a number text they cannot read: QString's conversion gives
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
        return static_cast<double>(REPORTGENERATOR::Numbers::ToFloat(text, ok));
    return REPORTGENERATOR::Numbers::ToDouble(text, ok);
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

template <class Char>
bool PlainDecimalKeptIn(const Char* text, qsizetype size, const MemberDescription& member)
{
    const int exact = member.kind == MemberKind::Float ? 6 : 15;
    int digits = 0;
    int decimals = -1;
    for (qsizetype i = 0; i < size; ++i) {
        const auto c = static_cast<unsigned>(text[i]);
        if (c >= '0' && c <= '9') {
            ++digits;
            if (decimals >= 0 && ++decimals > member.precision && c != '0')
                return false;
        } else if (c == '.' && decimals < 0) {
            decimals = 0;
        } else if (!((c == '-' || c == '+') && i == 0)) {
            return false;
        }
    }
    return digits > 0 && digits <= exact;
}

// Whether a plain decimal text ("-12.50") has no more decimals than the member keeps and
// few enough digits that its written form reads back to the same value: what almost every
// number text is, decided without writing it.
bool PlainDecimalKept(const QString& text, const MemberDescription& member)
{
    return PlainDecimalKeptIn(reinterpret_cast<const char16_t*>(text.constData()), text.size(),
                              member);
}

TextFinding Lost(const MemberDescription& member, FindingKind kind, const QString& message)
{
    return {LogLevel::Error, kind, member.name + QStringLiteral(": ") + message};
}

} // namespace

TextFinding WholeNumberNotRead(const MemberDescription& member, const QString& text)
{
    bool wide = false;
    text.toLongLong(&wide, 10);
    if (wide)
        return Lost(member, FindingKind::NumberOverflow,
                    QStringLiteral("'%1' does not fit in 32 bits (read as 0)").arg(text));
    return Lost(member, FindingKind::NumberNotRead,
                QStringLiteral("'%1' is not a whole number (read as 0)").arg(text));
}

bool PlainDecimalKept(std::string_view text, const MemberDescription& member)
{
    return PlainDecimalKeptIn(reinterpret_cast<const unsigned char*>(text.data()),
                              static_cast<qsizetype>(text.size()), member);
}

TextFinding NumberFinding(const MemberDescription& member, const QString& text, bool read,
                          double value)
{
    if (!read) {
        if (std::isinf(value) || LooksNumeric(text))
            return Lost(
                member, FindingKind::NumberOverflow,
                QStringLiteral("'%1' is out of range (read as %2)").arg(text, ReadAs(value)));
        return Lost(member, FindingKind::NumberNotRead,
                    QStringLiteral("'%1' is not a number (read as 0)").arg(text));
    }
    if (PlainDecimalKept(text, member))
        return {};
    const QString written =
        REPORTGENERATOR::Numbers::Fixed(value, member.fieldWidth, member.precision);
    const double back = ReadNumber(member, written, nullptr);
    if ((back == value || (std::isnan(back) && std::isnan(value))) &&
        !ExtraDecimals(text, member.precision))
        return {};
    return {LogLevel::Warning, FindingKind::ExtraDecimals,
            QStringLiteral("%1: '%2' keeps %3 decimals (written as %4)")
                .arg(member.name, text)
                .arg(member.precision)
                .arg(written)};
}

TextFinding UnknownName(const MemberDescription& member, const QString& text)
{
    // An empty name is how an invalid value is written: it reads back as invalid, and the
    // setter itself reports it.
    if (text.isEmpty())
        return {};
    return Lost(member, FindingKind::UnknownName,
                QStringLiteral("unknown name '%1' (read as invalid); allowed: %2")
                    .arg(text, member.enumeration->names.join(QStringLiteral(", "))));
}

TextFinding DateTimeNotRead(const MemberDescription& member, const QString& text)
{
    if (text.isEmpty())
        return {};
    static const QRegularExpression shape(
        QStringLiteral("^[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}"));
    if (shape.match(text).hasMatch())
        return Lost(member, FindingKind::DateTimeNotRead,
                    QStringLiteral("'%1' is not a valid date-time (read as empty)").arg(text));
    return Lost(member, FindingKind::DateTimeNotRead,
                QStringLiteral("'%1' is not a date-time of the form yyyy-MM-ddThh:mm:ss,zzzZ "
                               "(read as empty)")
                    .arg(text));
}

QString DidYouMean(const QString& name, const QStringList& candidates)
{
    const QString closest = ClosestName(name, candidates);
    return closest.isNull() ? QString() : QStringLiteral("; did you mean '%1'?").arg(closest);
}

// Most start tags hold none, and then no attribute's value needs to be found.
bool AnyBreakInStartTag(QStringView source, qint64 offset)
{
    if (offset < 0 || offset >= source.size())
        return false;
    const char16_t* const text = source.utf16();
    const qsizetype size = source.size();
    qsizetype i = offset + 1;
    while (i < size && text[i] != u'>') {
        const char16_t quote = text[i];
        if (quote != u'"' && quote != u'\'') {
            ++i;
            continue;
        }
        for (++i; i < size && text[i] != quote; ++i)
            if (text[i] == u'\t' || text[i] == u'\n' || text[i] == u'\r')
                return true;
        ++i;
    }
    return false;
}

bool NormalisedInSource(QStringView source, qint64 offset, const QString& attribute)
{
    if (offset < 0 || offset >= source.size())
        return false;
    if (!AnyBreakInStartTag(source, offset))
        return false;
    // A start tag holds no '>' outside attribute values, and values are quoted.
    qsizetype i = offset + 1;
    const qsizetype size = source.size();
    while (i < size && source.at(i) != u'>') {
        const QChar c = source.at(i);
        if (c == u'"' || c == u'\'') {
            qsizetype end = i + 1;
            while (end < size && source.at(end) != c)
                ++end;
            // The name before the '=' that leads to this value.
            qsizetype nameEnd = i - 1;
            while (nameEnd > offset && (source.at(nameEnd).isSpace() || source.at(nameEnd) == u'='))
                --nameEnd;
            qsizetype nameStart = nameEnd;
            while (nameStart > offset && !source.at(nameStart - 1).isSpace())
                --nameStart;
            if (source.mid(nameStart, nameEnd - nameStart + 1) == attribute) {
                const QStringView value = source.mid(i + 1, end - i - 1);
                return value.contains(u'\t') || value.contains(u'\n') || value.contains(u'\r');
            }
            i = end + 1;
            continue;
        }
        ++i;
    }
    return false;
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

QString Hex32(quint32 value)
{
    return QStringLiteral("0x") +
           QString::number(value, 16).rightJustified(8, QLatin1Char('0')).toUpper();
}

QString HexByte(char byte)
{
    return QStringLiteral("0x") + QString::number(static_cast<unsigned char>(byte), 16)
                                      .rightJustified(2, QLatin1Char('0'))
                                      .toUpper();
}

} // namespace KVT317XML::read
