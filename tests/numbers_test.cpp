// The base library's number texts against QString's own conversions: literal cases, then
// random values and texts through both (KVT317_NUMBERS_COUNT of each, a million unless set;
// KVT317_NUMBERS_SEED picks another sequence).

#include <Numbers.h>

#include <gtest/gtest.h>

#include <QByteArray>
#include <QString>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>

namespace Numbers = REPORTGENERATOR::Numbers;

namespace {

long long FromEnvironment(const char* name, long long fallback)
{
    const char* text = std::getenv(name);
    return text && *text ? std::atoll(text) : fallback;
}

std::string Show(double value)
{
    char buffer[64];
    const std::to_chars_result shortest = std::to_chars(buffer, buffer + sizeof buffer, value);
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    char hex[24];
    const std::to_chars_result hexBits = std::to_chars(hex, hex + sizeof hex, bits, 16);
    return std::string(buffer, shortest.ptr) + " (0x" + std::string(hex, hexBits.ptr) + ")";
}

template <typename Number> bool Same(Number a, Number b)
{
    return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof a) == 0;
}

// The module's reading of the text against QString::toDouble and QString::toFloat; with
// @p everyWay, also from UTF-8 bytes and without a success flag.
::testing::AssertionResult ReadsAsQt(const QString& text, bool everyWay = true)
{
    const QByteArray utf8 = everyWay ? text.toUtf8() : QByteArray();
    bool qtOk = false;
    const double qt = text.toDouble(&qtOk);
    bool ok = !qtOk;
    const double own = Numbers::ToDouble(text, &ok);
    bool bytesOk = qtOk;
    const double bytes = everyWay ? Numbers::ToDouble(utf8.constData(), utf8.size(), &bytesOk) : qt;
    const double unasked = everyWay ? Numbers::ToDouble(text) : qt;
    if (!Same(qt, own) || !Same(qt, bytes) || !Same(qt, unasked) || ok != qtOk || bytesOk != qtOk)
        return ::testing::AssertionFailure()
               << "toDouble of '" << text.toStdString() << "': Qt " << Show(qt) << " " << qtOk
               << ", own " << Show(own) << " " << ok << ", from bytes " << Show(bytes) << " "
               << bytesOk << ", unasked " << Show(unasked);
    bool qtFloatOk = false;
    const float qtFloat = text.toFloat(&qtFloatOk);
    bool floatOk = !qtFloatOk;
    const float ownFloat = Numbers::ToFloat(text, &floatOk);
    bool bytesFloatOk = qtFloatOk;
    const float bytesFloat =
        everyWay ? Numbers::ToFloat(utf8.constData(), utf8.size(), &bytesFloatOk) : qtFloat;
    const float unaskedFloat = everyWay ? Numbers::ToFloat(text) : qtFloat;
    if (!Same(qtFloat, ownFloat) || !Same(qtFloat, bytesFloat) || !Same(qtFloat, unaskedFloat) ||
        floatOk != qtFloatOk || bytesFloatOk != qtFloatOk)
        return ::testing::AssertionFailure()
               << "toFloat of '" << text.toStdString() << "': Qt " << Show(qtFloat) << " "
               << qtFloatOk << ", own " << Show(ownFloat) << " " << floatOk << ", from bytes "
               << Show(bytesFloat) << " " << bytesFloatOk << ", unasked " << Show(unaskedFloat);
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult WritesAsQt(double value, int width, int decimals)
{
    const QString qt = QStringLiteral("%1").arg(value, width, 'f', decimals, QLatin1Char(' '));
    const QString own = Numbers::Fixed(value, width, decimals);
    QByteArray appended("<");
    Numbers::AppendFixed(appended, value, width, decimals);
    if (own != qt || appended != "<" + qt.toUtf8())
        return ::testing::AssertionFailure()
               << Show(value) << " width " << width << " decimals " << decimals << ": Qt '"
               << qt.toStdString() << "', own '" << own.toStdString() << "', appended '"
               << appended.toStdString() << "'";
    return ::testing::AssertionSuccess();
}

// ---- Random values and texts --------------------------------------------------------------

class Source
{
public:
    explicit Source(std::uint64_t seed)
        : m_random(seed)
    {
    }

    std::uint64_t Bits() { return m_random(); }
    int Below(int bound) { return static_cast<int>(m_random() % static_cast<unsigned>(bound)); }

    // Bit patterns (NaNs, infinities, subnormals included), decimal amounts, exact ties of
    // few decimals and their neighbours, and doubles of every size around the fast path's.
    double Value()
    {
        double value = 0;
        switch (Below(6)) {
        case 0: {
            // Mostly of a size that the fast path writes; Qt writes huge ones slowly.
            std::uint64_t bits = Bits();
            if (Below(32) != 0) {
                const auto exponent = static_cast<std::uint64_t>(1023 - 80 + Below(140));
                bits = (bits & ~(0x7FFULL << 52)) | (exponent << 52);
            }
            std::memcpy(&value, &bits, sizeof value);
            return value;
        }
        case 1:
            value = static_cast<double>(Bits() % 10000000000ULL) / std::pow(10.0, Below(12));
            break;
        case 2:
        case 3: {
            const auto odd = static_cast<double>(2 * (Bits() % (1ULL << (1 + Below(44)))) + 1);
            value = std::ldexp(odd, -(1 + Below(12)));
            if (Below(2) == 0)
                value = std::nextafter(value, Below(2) == 0 ? 0.0 : 1e300);
            break;
        }
        case 4:
            value = std::ldexp(0.5 + static_cast<double>(Bits() >> 11) * 0x1p-54, Below(140) - 70);
            break;
        default:
            value = static_cast<double>(Bits() % 100000) / std::pow(10.0, Below(6));
            break;
        }
        return Below(2) == 0 ? -value : value;
    }

    int Decimals() { return Below(10) == 0 ? Below(21) : Below(10); }
    int Width() { return Below(4) == 0 ? Below(25) - 12 : Below(2); }

    QString Text()
    {
        switch (Below(5)) {
        case 0: {
            // Short texts of the characters that number texts are made of, and of "inf" and
            // "nan", in any order.
            static const char alphabet[] = "0123456789+-.eE infaINFAN\t,x";
            QString text;
            const int size = Below(13);
            for (int i = 0; i < size; ++i)
                text.append(QLatin1Char(alphabet[Below(sizeof alphabet - 1)]));
            return text;
        }
        case 1:
            return Blanks() + QStringLiteral("%1").arg(Value(), 0, 'f', Decimals()) + Blanks();
        case 2: {
            char buffer[64];
            const double value = Value();
            const auto format =
                Below(2) == 0 ? std::chars_format::general : std::chars_format::scientific;
            const std::to_chars_result written =
                std::to_chars(buffer, buffer + sizeof buffer, value, format);
            return QString::fromLatin1(buffer, static_cast<int>(written.ptr - buffer));
        }
        default: {
            // Digits with a point and an exponent anywhere: overflows, underflows,
            // subnormals, leading zeros, signs.
            QString text = Blanks();
            if (Below(3) == 0)
                text.append(QLatin1Char(Below(2) == 0 ? '-' : '+'));
            const int digits = Below(26);
            const int point = Below(digits + 2);
            for (int i = 0; i < digits; ++i) {
                if (i == point)
                    text.append(QLatin1Char('.'));
                text.append(QLatin1Char(static_cast<char>('0' + Below(10))));
            }
            if (Below(2) == 0) {
                text.append(QLatin1Char(Below(2) == 0 ? 'e' : 'E'));
                if (Below(2) == 0)
                    text.append(QLatin1Char(Below(2) == 0 ? '-' : '+'));
                text.append(QString::number(Below(700)));
            }
            return text + Blanks();
        }
        }
    }

private:
    QString Blanks()
    {
        static const char blanks[] = " \t\n\r\v\f";
        QString text;
        if (Below(4) == 0)
            text.append(QLatin1Char(blanks[Below(sizeof blanks - 1)]));
        return text;
    }

    std::mt19937_64 m_random;
};

} // namespace

TEST(Numbers, WritesFixedDecimalsAsQt)
{
    EXPECT_EQ(Numbers::Fixed(0.125, 0, 2), QStringLiteral("0.13"));
    EXPECT_EQ(Numbers::Fixed(-0.125, 0, 2), QStringLiteral("-0.13"));
    EXPECT_EQ(Numbers::Fixed(0.375, 0, 2), QStringLiteral("0.38"));
    EXPECT_EQ(Numbers::Fixed(2.675, 0, 2), QStringLiteral("2.67")); // 2.67499999... in binary
    EXPECT_EQ(Numbers::Fixed(2.5, 0, 0), QStringLiteral("3"));
    EXPECT_EQ(Numbers::Fixed(0.5, 0, 0), QStringLiteral("1"));
    EXPECT_EQ(Numbers::Fixed(9.875, 0, 2), QStringLiteral("9.88"));
    EXPECT_EQ(Numbers::Fixed(99.995, 0, 2), QStringLiteral("100.00")); // 99.99500000000000454...
    EXPECT_EQ(Numbers::Fixed(999.5, 0, 0), QStringLiteral("1000"));
    EXPECT_EQ(Numbers::Fixed(100.5, 1, 9), QStringLiteral("100.500000000"));
    EXPECT_EQ(Numbers::Fixed(1000000.0, 0, 2), QStringLiteral("1000000.00"));
    EXPECT_EQ(Numbers::Fixed(-3.0, 0, 2), QStringLiteral("-3.00"));
    EXPECT_EQ(Numbers::Fixed(0.0, 0, 2), QStringLiteral("0.00"));
    EXPECT_EQ(Numbers::Fixed(1.5, 6, 1), QStringLiteral("   1.5"));
    EXPECT_EQ(Numbers::Fixed(1.5, -6, 1), QStringLiteral("1.5   "));
    EXPECT_EQ(Numbers::Fixed(1e17, 0, 1), QStringLiteral("100000000000000000.0"));
    EXPECT_EQ(Numbers::Fixed(std::numeric_limits<double>::infinity(), 0, 2), QStringLiteral("inf"));
    QByteArray bytes("x=");
    Numbers::AppendFixed(bytes, 12.345, 8, 1);
    EXPECT_EQ(bytes, QByteArray("x=    12.3"));
}

TEST(Numbers, ReadsNumberTextsAsQt)
{
    bool ok = false;
    EXPECT_EQ(Numbers::ToDouble(QStringLiteral(" 1.5\t"), &ok), 1.5);
    EXPECT_TRUE(ok);
    EXPECT_EQ(Numbers::ToDouble(QStringLiteral("+2.5e3"), &ok), 2500.0);
    EXPECT_TRUE(ok);
    EXPECT_EQ(Numbers::ToDouble(QStringLiteral("-.5"), &ok), -0.5);
    EXPECT_TRUE(ok);
    EXPECT_EQ(Numbers::ToDouble(QStringLiteral("7."), &ok), 7.0);
    EXPECT_TRUE(ok);
    EXPECT_EQ(Numbers::ToDouble(QStringLiteral("1000000.00"), &ok), 1000000.0);
    EXPECT_TRUE(ok);
    EXPECT_EQ(Numbers::ToDouble(QStringLiteral("inf"), &ok),
              std::numeric_limits<double>::infinity());
    EXPECT_TRUE(ok);
    EXPECT_TRUE(std::isnan(Numbers::ToDouble(QStringLiteral("nan"), &ok)));
    EXPECT_TRUE(ok);
    EXPECT_EQ(Numbers::ToDouble(QStringLiteral("1e400"), &ok),
              std::numeric_limits<double>::infinity());
    EXPECT_FALSE(ok);
    EXPECT_EQ(Numbers::ToDouble(QStringLiteral("-1e400"), &ok),
              -std::numeric_limits<double>::infinity());
    EXPECT_FALSE(ok);
    for (const char* refused :
         {"", "   ", "abc", "1e-400", "0x10", "1,000", "1.5.2", "1e", "--1", "+nan", "1 2"}) {
        ok = true;
        EXPECT_EQ(Numbers::ToDouble(QString::fromLatin1(refused), &ok), 0.0) << refused;
        EXPECT_FALSE(ok) << refused;
    }
    const double minusZero = Numbers::ToDouble(QStringLiteral("-0"), &ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(minusZero, 0.0);
    EXPECT_TRUE(std::signbit(minusZero));
    EXPECT_EQ(Numbers::ToDouble("  42.25 ", 8, &ok), 42.25);
    EXPECT_TRUE(ok);
}

// Texts beyond ASCII go to Qt whole: blanks and minus signs of Unicode, other digits.
TEST(Numbers, ReadsTextsBeyondAsciiAsQt)
{
    for (const char16_t* text : {u"\u00A01.5", u"1.5\u2003", u"\u22121.5", u"\u0661\u0662",
                                 u"\uFF11", u"1\u00B7", u"\u0085"})
        EXPECT_TRUE(ReadsAsQt(QString::fromUtf16(text)));
    bool ok = false;
    EXPECT_EQ(Numbers::ToDouble(QString::fromUtf16(u"\u00A0 2.5 \u3000"), &ok), 2.5);
    EXPECT_TRUE(ok);
}

TEST(Numbers, ReadsFloatTextsAsQt)
{
    bool ok = false;
    EXPECT_EQ(Numbers::ToFloat(QStringLiteral("12.25"), &ok), 12.25f);
    EXPECT_TRUE(ok);
    // Rounded to double first, then to float, as Qt does.
    EXPECT_EQ(Numbers::ToFloat(QStringLiteral("0.1"), &ok), 0.1f);
    EXPECT_TRUE(ok);
    EXPECT_EQ(Numbers::ToFloat(QStringLiteral("3.4028234e38"), &ok),
              std::numeric_limits<float>::max());
    EXPECT_TRUE(ok);
    ok = true;
    // Beyond float's range: refused, read as infinity (Qt 6, and Qt 5.15 as Debian ships it).
    EXPECT_EQ(Numbers::ToFloat(QStringLiteral("1e39"), &ok),
              std::numeric_limits<float>::infinity());
    EXPECT_FALSE(ok);
    EXPECT_EQ(Numbers::ToFloat(QStringLiteral("-1e39"), &ok),
              -std::numeric_limits<float>::infinity());
    EXPECT_FALSE(ok);
    ok = true;
    EXPECT_EQ(Numbers::ToFloat(QStringLiteral("1e-50"), &ok), 0.0f);
    EXPECT_FALSE(ok);
    EXPECT_EQ(Numbers::ToFloat("-7.5", 4, &ok), -7.5f);
    EXPECT_TRUE(ok);
}

TEST(Numbers, RandomValuesWriteAsQt)
{
    const long long count = FromEnvironment("KVT317_NUMBERS_COUNT", 1000000);
    const auto seed = static_cast<std::uint64_t>(FromEnvironment("KVT317_NUMBERS_SEED", 317));
    Source source(seed);
    long long failures = 0;
    for (long long i = 0; i < count && failures < 20; ++i) {
        const double value = source.Value();
        const int width = source.Width();
        const int decimals = source.Decimals();
        const ::testing::AssertionResult same = WritesAsQt(value, width, decimals);
        EXPECT_TRUE(same) << "seed " << seed << ", value " << i;
        failures += same ? 0 : 1;
    }
}

TEST(Numbers, RandomTextsReadAsQt)
{
    const long long count = FromEnvironment("KVT317_NUMBERS_COUNT", 1000000);
    const auto seed = static_cast<std::uint64_t>(FromEnvironment("KVT317_NUMBERS_SEED", 317));
    Source source(seed + 1);
    long long failures = 0;
    for (long long i = 0; i < count && failures < 20; ++i) {
        const QString text = source.Text();
        // The other ways share the fast path's reading; every fourth text checks them.
        const ::testing::AssertionResult same = ReadsAsQt(text, i % 4 == 0);
        EXPECT_TRUE(same) << "seed " << seed << ", text " << i;
        failures += same ? 0 : 1;
    }
}
