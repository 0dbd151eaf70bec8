#include "Converters.h"

namespace REPORTGENERATOR {

namespace {

// Reads `count` decimal digits at `pos`; -1 when any of them is not a digit.
int Digits(const QString& text, int pos, int count)
{
    int value = 0;
    for (int i = pos; i < pos + count; ++i) {
        const QChar c = text.at(i);
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            return -1;
        value = value * 10 + (c.unicode() - '0');
    }
    return value;
}

} // namespace

QString Converters::ToString(const QDateTime& dateTime)
{
    if (!dateTime.isValid())
        return QString();
    // One calendar conversion for the three date fields; none for a value held in UTC.
    const QDateTime utc = dateTime.timeSpec() == Qt::UTC ? dateTime : dateTime.toUTC();
    const QDate date = utc.date();
    const QTime time = utc.time();
    int year = 0;
    int month = 0;
    int day = 0;
    date.getDate(&year, &month, &day);
    if (year < 0 || year > 9999)
        return utc.toString(QStringLiteral("yyyy-MM-ddThh:mm:ss,zzzZ"));
    // "%04d-%02d-%02dT%02d:%02d:%02d,%03dZ", without printf's cost: every field is in range.
    char16_t text[24];
    char16_t* out = text;
    const auto put = [&out](int value, int digits) {
        for (int i = digits - 1; i >= 0; --i) {
            out[i] = static_cast<char16_t>(u'0' + value % 10);
            value /= 10;
        }
        out += digits;
    };
    put(year, 4);
    *out++ = u'-';
    put(month, 2);
    *out++ = u'-';
    put(day, 2);
    *out++ = u'T';
    put(time.hour(), 2);
    *out++ = u':';
    put(time.minute(), 2);
    *out++ = u':';
    put(time.second(), 2);
    *out++ = u',';
    put(time.msec(), 3);
    *out++ = u'Z';
    return QString(reinterpret_cast<const QChar*>(text), static_cast<int>(out - text));
}

QDateTime Converters::ToDateTime(const QString& text)
{
    // yyyy-MM-ddThh:mm:ss is 19 characters.
    if (text.size() < 19)
        return QDateTime();
    const auto at = [&text](int pos, char c) { return text.at(pos) == QLatin1Char(c); };
    if (!at(4, '-') || !at(7, '-') || !at(10, 'T') || !at(13, ':') || !at(16, ':'))
        return QDateTime();
    const int year = Digits(text, 0, 4);
    const int month = Digits(text, 5, 2);
    const int day = Digits(text, 8, 2);
    const int hour = Digits(text, 11, 2);
    const int minute = Digits(text, 14, 2);
    const int second = Digits(text, 17, 2);
    if (year < 0 || month < 0 || day < 0 || hour < 0 || minute < 0 || second < 0)
        return QDateTime();

    int pos = 19;
    int msec = 0;
    if (pos < text.size() && (at(pos, ',') || at(pos, '.'))) {
        ++pos;
        int digits = 0;
        while (pos < text.size() && digits < 3 && text.at(pos).isDigit() &&
               text.at(pos).unicode() < 128) {
            msec = msec * 10 + (text.at(pos).unicode() - '0');
            ++pos;
            ++digits;
        }
        if (digits == 0)
            return QDateTime();
        for (; digits < 3; ++digits)
            msec *= 10;
    }
    if (pos < text.size() && at(pos, 'Z'))
        ++pos;
    if (pos != text.size())
        return QDateTime();

    const QDate date(year, month, day);
    const QTime time(hour, minute, second, msec);
    if (!date.isValid() || !time.isValid())
        return QDateTime();
    return QDateTime(date, time, Qt::UTC);
}

} // namespace REPORTGENERATOR
