#include "Numbers.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

namespace REPORTGENERATOR::Numbers {

namespace {

// Texts longer than this are rare enough to leave to Qt.
constexpr qsizetype LongestFast = 96;
// Room for a fixed text of a value below 1e17 with at most 17 decimals, a sign and a digit
// that a round-up adds.
constexpr int FixedRoom = 48;
constexpr int MostDecimals = 17;
constexpr double FixedBound = 1e17;

enum class Reading { Read, Refused, Undecided };

// The blanks QString trims that ASCII has: QChar::isSpace() of tab, line feed, vertical tab,
// form feed, carriage return and space.
bool IsBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Reads the ASCII text [begin, end) as QString::toDouble would where that is certain: a plain
// decimal text with blanks around it, or nothing but blanks (refused). Whatever else there is
// (letters, separators, a second sign, an overflow, an underflow) is left undecided.
Reading ReadPlain(const char* begin, const char* end, double& value)
{
    while (begin != end && IsBlank(*begin))
        ++begin;
    while (end != begin && IsBlank(end[-1]))
        --end;
    if (begin == end)
        return Reading::Refused;
    const char* p = begin;
    if (*p == '+' || *p == '-')
        ++p;
    const char* const number = *begin == '+' ? p : begin;
    bool digits = false;
    bool nonZero = false;
    for (; p != end && IsDigit(*p); ++p) {
        digits = true;
        nonZero |= *p != '0';
    }
    if (p != end && *p == '.') {
        for (++p; p != end && IsDigit(*p); ++p) {
            digits = true;
            nonZero |= *p != '0';
        }
    }
    if (!digits)
        return Reading::Undecided;
    if (p != end && (*p == 'e' || *p == 'E')) {
        ++p;
        if (p != end && (*p == '+' || *p == '-'))
            ++p;
        if (p == end || !IsDigit(*p))
            return Reading::Undecided;
        while (p != end && IsDigit(*p))
            ++p;
    }
    if (p != end)
        return Reading::Undecided;
    double read = 0;
    const std::from_chars_result result = std::from_chars(number, end, read);
    if (result.ec != std::errc() || result.ptr != end || !std::isfinite(read))
        return Reading::Undecided;
    // A zero from digits that are not all 0 is an underflow, which Qt refuses.
    if (read == 0 && nonZero)
        return Reading::Undecided;
    value = read;
    return Reading::Read;
}

// The UTF-16 text as ASCII in @p buffer, or false where it holds another character or is too
// long for the fast path.
bool Narrow(QStringView text, char* buffer)
{
    const qsizetype size = text.size();
    if (size > LongestFast)
        return false;
    const QChar* const units = text.data();
    for (qsizetype i = 0; i < size; ++i) {
        const char16_t unit = units[i].unicode();
        if (unit >= 0x80)
            return false;
        buffer[i] = static_cast<char>(unit);
    }
    return true;
}

bool IsAscii(const char* text, qsizetype size)
{
    if (size > LongestFast)
        return false;
    for (qsizetype i = 0; i < size; ++i)
        if (static_cast<unsigned char>(text[i]) >= 0x80)
            return false;
    return true;
}

// Whether the double @p value (positive, finite) lies exactly halfway between two numbers of
// @p decimals decimals: its binary form is an odd integer times 2^-(decimals + 1), which is
// (n + 1/2) * 10^-decimals since 5^decimals is odd.
bool IsTie(double value, int decimals)
{
    int exponent = 0;
    const double fraction = std::frexp(value, &exponent);
    auto mantissa = static_cast<std::uint64_t>(std::ldexp(fraction, 53));
    exponent -= 53;
    if (mantissa == 0)
        return false;
    while ((mantissa & 1) == 0) {
        mantissa >>= 1;
        ++exponent;
    }
    return exponent == -(decimals + 1);
}

// Adds one unit of the last digit to the decimal text [begin, end) (digits and at most one
// point), growing it by a leading 1 where the carry runs out: "0.12" to "0.13", "9.99" to
// "10.00". Returns the new end.
char* RoundUp(char* begin, char* end)
{
    for (char* p = end; p != begin;) {
        --p;
        if (*p == '.')
            continue;
        if (*p != '9') {
            ++*p;
            return end;
        }
        *p = '0';
    }
    std::memmove(begin + 1, begin, static_cast<std::size_t>(end - begin));
    *begin = '1';
    return end + 1;
}

constexpr double Powers[] = {1e0, 1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,
                             1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17};

// The fixed text of @p magnitude with @p decimals decimals by whole numbers, where that is
// certain: below 2^40 the product with 10^decimals is off the exact one by at most 2^-13, so
// a product more than that short of halfway between two whole numbers rounds as the exact
// one does. Returns the end of the text from @p digits, or nullptr.
char* RoundedScaled(double magnitude, int decimals, char* digits)
{
    const double scaled = magnitude * Powers[decimals];
    if (!(scaled < 0x1p40))
        return nullptr;
    const double whole = std::round(scaled);
    if (std::fabs(scaled - whole) >= 0.5 - 0x1p-11)
        return nullptr;
    auto number = static_cast<std::uint64_t>(whole);
    char reversed[24];
    int count = 0;
    do {
        reversed[count++] = static_cast<char>('0' + number % 10);
        number /= 10;
    } while (number != 0 || count <= decimals);
    char* out = digits;
    while (count > 0) {
        if (count == decimals)
            *out++ = '.';
        *out++ = reversed[--count];
    }
    return out;
}

// Below these (10^(15 - decimals)) a unit in the last place of a double is less than one of
// its last decimal.
constexpr double ShortestBound[] = {1e15, 1e14, 1e13, 1e12, 1e11, 1e10, 1e9, 1e8,
                                    1e7,  1e6,  1e5,  1e4,  1e3,  1e2,  1e1, 1e0};

// The fixed text of @p magnitude with @p decimals decimals from its shortest text (the
// shortest that reads back as it), where that is the rounding of the exact value: the
// exact value lies within half a unit in the last place of the shortest text, and no text
// of fewer digits does, so only a shortest text that ends in a 5 just beyond the decimals
// kept can round otherwise. Returns the end of the text in [digits, last), or nullptr.
char* RoundedShortest(double magnitude, int decimals, char* digits, char* last)
{
    if (decimals > 15 || magnitude >= ShortestBound[decimals])
        return nullptr;
    const std::to_chars_result result =
        std::to_chars(digits, last, magnitude, std::chars_format::fixed);
    if (result.ec != std::errc())
        return nullptr;
    char* end = result.ptr;
    auto* point =
        static_cast<char*>(std::memchr(digits, '.', static_cast<std::size_t>(end - digits)));
    if (!point)
        point = end;
    const auto kept = point == end ? 0 : end - point - 1;
    if (kept <= decimals) {
        if (decimals > 0 && point == end)
            *end++ = '.';
        for (auto i = kept; i < decimals; ++i)
            *end++ = '0';
        return end;
    }
    char* const cut = point + 1 + decimals;
    if (*cut == '5' && cut + 1 == end)
        return nullptr;
    const bool up = *cut >= '5';
    end = decimals == 0 ? point : cut;
    return up ? RoundUp(digits, end) : end;
}

// The fixed text of @p value with @p decimals decimals, unpadded, into @p buffer (FixedRoom
// bytes); its length, or -1 where QString::arg must decide.
int WriteFixed(double value, int decimals, char* buffer)
{
    if (!std::isfinite(value) || decimals < 0 || decimals > MostDecimals ||
        std::fabs(value) >= FixedBound)
        return -1;
    const bool negative = std::signbit(value);
    const double magnitude = std::fabs(value);
    char* const digits = buffer + 1;
    char* const last = buffer + FixedRoom - 1;
    std::to_chars_result result{};
    if (char* const scaled = RoundedScaled(magnitude, decimals, digits)) {
        result.ptr = scaled;
    } else if (char* const rounded = RoundedShortest(magnitude, decimals, digits, last)) {
        result.ptr = rounded;
    } else if (IsTie(magnitude, decimals)) {
        // to_chars rounds a tie to even; Qt rounds it away from zero. One more decimal gives
        // the exact text ending in 5, which is then rounded up.
        result = std::to_chars(digits, last, magnitude, std::chars_format::fixed, decimals + 1);
        if (result.ec != std::errc())
            return -1;
        char* end = result.ptr - 1;
        if (decimals == 0)
            --end; // the point
        result.ptr = RoundUp(digits, end);
    } else {
        result = std::to_chars(digits, last, magnitude, std::chars_format::fixed, decimals);
        if (result.ec != std::errc())
            return -1;
    }
    if (!negative) {
        std::memmove(buffer, digits, static_cast<std::size_t>(result.ptr - digits));
        return static_cast<int>(result.ptr - digits);
    }
    // Whether a negative value that rounds to zero keeps its sign is Qt's to say.
    bool zero = true;
    for (const char* p = digits; p != result.ptr && zero; ++p)
        zero = *p == '0' || *p == '.';
    if (zero)
        return -1;
    buffer[0] = '-';
    return static_cast<int>(result.ptr - buffer);
}

QString ArgFixed(double value, int fieldWidth, int decimals)
{
    return QStringLiteral("%1").arg(value, fieldWidth, 'f', decimals, QLatin1Char(' '));
}

// QString::arg pads with its fill character up to the field width's size: in front for a
// positive width, behind for a negative one.
template <typename Put> void Padded(const char* text, int size, int fieldWidth, Put put)
{
    const int width = fieldWidth < 0 ? -fieldWidth : fieldWidth;
    const int pad = width > size ? width - size : 0;
    put(text, size, fieldWidth > 0 ? pad : 0, fieldWidth < 0 ? pad : 0);
}

// QString::toFloat narrows its double where it fits float; the rest (infinities, out of
// range, a non-zero double that narrows to zero) differs between Qt versions and is left to
// Qt.
Reading Narrowed(Reading reading, double value, float& narrowed)
{
    if (reading != Reading::Read)
        return reading;
    constexpr double largest = std::numeric_limits<float>::max();
    if (std::fabs(value) > largest)
        return Reading::Undecided;
    narrowed = static_cast<float>(value);
    if (value != 0 && narrowed == 0)
        return Reading::Undecided;
    return Reading::Read;
}

// A number read from its ASCII text (null @p begin: the text is not short ASCII), or by Qt's
// own conversion @p viaQt where the plain reading cannot decide as Qt would.
template <class T, class ViaQt>
T ReadNumber(const char* begin, const char* end, bool* ok, ViaQt viaQt)
{
    if (begin) {
        double value = 0;
        Reading reading = ReadPlain(begin, end, value);
        T kept = 0;
        if constexpr (std::is_same_v<T, float>)
            reading = Narrowed(reading, value, kept);
        else
            kept = value;
        if (reading != Reading::Undecided) {
            if (ok)
                *ok = reading == Reading::Read;
            return reading == Reading::Read ? kept : T(0);
        }
    }
    return viaQt();
}

template <class T, class ViaQt> T ReadNumber(QStringView text, bool* ok, ViaQt viaQt)
{
    char buffer[LongestFast];
    const bool ascii = Narrow(text, buffer);
    return ReadNumber<T>(ascii ? buffer : nullptr, ascii ? buffer + text.size() : nullptr, ok,
                         viaQt);
}

template <class T, class ViaQt>
T ReadNumber(const char* utf8, qsizetype size, bool* ok, ViaQt viaQt)
{
    const bool ascii = IsAscii(utf8, size);
    return ReadNumber<T>(ascii ? utf8 : nullptr, ascii ? utf8 + size : nullptr, ok, viaQt);
}

// A sign and at most nine digits, which QString::toInt reads without fail and no int
// overflows; anything else (blanks, more digits, other characters) is left to it.
template <class Unit> bool PlainInt(const Unit* p, const Unit* const end, int& value)
{
    const bool negative = p != end && *p == Unit('-');
    if (p != end && (*p == Unit('-') || *p == Unit('+')))
        ++p;
    if (p == end || end - p > 9)
        return false;
    int v = 0;
    for (; p != end; ++p) {
        const unsigned digit = unsigned(std::make_unsigned_t<Unit>(*p)) - unsigned('0');
        if (digit > 9)
            return false;
        v = v * 10 + static_cast<int>(digit);
    }
    value = negative ? -v : v;
    return true;
}

template <class Unit, class ViaQt>
int ReadInt(const Unit* begin, const Unit* end, bool* ok, ViaQt viaQt)
{
    int value = 0;
    if (!PlainInt(begin, end, value))
        return viaQt();
    if (ok)
        *ok = true;
    return value;
}

} // namespace

int ToInt(QStringView text, bool* ok)
{
    const auto* begin = reinterpret_cast<const char16_t*>(text.data());
    return ReadInt(begin, begin + text.size(), ok, [&] { return text.toString().toInt(ok, 10); });
}

int ToInt(const char* utf8, qsizetype size, bool* ok)
{
    return ReadInt(utf8, utf8 + size, ok,
                   [&] { return QString::fromUtf8(utf8, size).toInt(ok, 10); });
}

double ToDouble(QStringView text, bool* ok)
{
    return ReadNumber<double>(text, ok, [&] { return text.toString().toDouble(ok); });
}

double ToDouble(const char* utf8, qsizetype size, bool* ok)
{
    return ReadNumber<double>(utf8, size, ok,
                              [&] { return QString::fromUtf8(utf8, size).toDouble(ok); });
}

float ToFloat(QStringView text, bool* ok)
{
    return ReadNumber<float>(text, ok, [&] { return text.toString().toFloat(ok); });
}

float ToFloat(const char* utf8, qsizetype size, bool* ok)
{
    return ReadNumber<float>(utf8, size, ok,
                             [&] { return QString::fromUtf8(utf8, size).toFloat(ok); });
}

QString Fixed(double value, int fieldWidth, int decimals)
{
    char buffer[FixedRoom];
    const int size = WriteFixed(value, decimals, buffer);
    if (size < 0)
        return ArgFixed(value, fieldWidth, decimals);
    QString text;
    Padded(buffer, size, fieldWidth, [&text](const char* digits, int count, int front, int back) {
        text.reserve(front + count + back);
        if (front > 0)
            text.append(QString(front, QLatin1Char(' ')));
        text.append(QLatin1String(digits, count));
        if (back > 0)
            text.append(QString(back, QLatin1Char(' ')));
    });
    return text;
}

void AppendFixed(QByteArray& out, double value, int fieldWidth, int decimals)
{
    char buffer[FixedRoom];
    const int size = WriteFixed(value, decimals, buffer);
    if (size < 0) {
        out.append(ArgFixed(value, fieldWidth, decimals).toUtf8());
        return;
    }
    Padded(buffer, size, fieldWidth, [&out](const char* digits, int count, int front, int back) {
        if (front > 0)
            out.append(front, ' ');
        out.append(digits, count);
        if (back > 0)
            out.append(back, ' ');
    });
}

int FixedAscii(double value, int fieldWidth, int decimals, char* out, int room)
{
    char buffer[FixedRoom];
    const int size = WriteFixed(value, decimals, buffer);
    if (size < 0)
        return -1;
    int written = -1;
    Padded(buffer, size, fieldWidth, [&](const char* digits, int count, int front, int back) {
        if (front + count + back > room)
            return;
        std::memset(out, ' ', static_cast<std::size_t>(front));
        std::memcpy(out + front, digits, static_cast<std::size_t>(count));
        std::memset(out + front + count, ' ', static_cast<std::size_t>(back));
        written = front + count + back;
    });
    return written;
}

} // namespace REPORTGENERATOR::Numbers
