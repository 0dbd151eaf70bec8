#include "Converters.h"

namespace REPORTGENERATOR {

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

namespace {

// The reading of ToDateTime() over any text that gives its characters' codes by index.
template <class Text> QDateTime ReadDateTime(const Text& text, int size)
{
    // yyyy-MM-ddThh:mm:ss is 19 characters.
    if (size < 19)
        return QDateTime();
    const auto at = [&text](int pos, char c) { return text(pos) == static_cast<uint>(c); };
    if (!at(4, '-') || !at(7, '-') || !at(10, 'T') || !at(13, ':') || !at(16, ':'))
        return QDateTime();
    // Reads `count` decimal digits at `pos`; -1 when any of them is not a digit.
    const auto digits = [&text](int pos, int count) {
        int value = 0;
        for (int i = pos; i < pos + count; ++i) {
            const uint c = text(i);
            if (c < '0' || c > '9')
                return -1;
            value = value * 10 + static_cast<int>(c - '0');
        }
        return value;
    };
    const int year = digits(0, 4);
    const int month = digits(5, 2);
    const int day = digits(8, 2);
    const int hour = digits(11, 2);
    const int minute = digits(14, 2);
    const int second = digits(17, 2);
    if (year < 0 || month < 0 || day < 0 || hour < 0 || minute < 0 || second < 0)
        return QDateTime();

    int pos = 19;
    int msec = 0;
    if (pos < size && (at(pos, ',') || at(pos, '.'))) {
        ++pos;
        int count = 0;
        while (pos < size && count < 3 && text(pos) >= '0' && text(pos) <= '9') {
            msec = msec * 10 + static_cast<int>(text(pos) - '0');
            ++pos;
            ++count;
        }
        if (count == 0)
            return QDateTime();
        for (; count < 3; ++count)
            msec *= 10;
    }
    if (pos < size && at(pos, 'Z'))
        ++pos;
    if (pos != size)
        return QDateTime();

    const QDate date(year, month, day);
    const QTime time(hour, minute, second, msec);
    if (!date.isValid() || !time.isValid())
        return QDateTime();
    return QDateTime(date, time, Qt::UTC);
}

} // namespace

QDateTime Converters::ToDateTime(const QString& text)
{
    const QChar* chars = text.constData();
    return ReadDateTime([chars](int pos) { return static_cast<uint>(chars[pos].unicode()); },
                        static_cast<int>(text.size()));
}

QDateTime Converters::ToDateTime(const char* utf8, qsizetype size)
{
    if (size > 64)
        return QDateTime();
    return ReadDateTime(
        [utf8](int pos) { return static_cast<uint>(static_cast<unsigned char>(utf8[pos])); },
        static_cast<int>(size));
}

} // namespace REPORTGENERATOR
