#include "TestSupport.h"

#include <FrequencyRange.h>
#include <IRGObject.h>

#include <QTimeZone>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <thread>
#include <type_traits>
#include <vector>

using REPORTGENERATOR::BinaryParsingException;
using REPORTGENERATOR::Converters;
using REPORTGENERATOR::IncompleteDefinitionException;
using REPORTGENERATOR::Logger;
using REPORTGENERATOR::LogLevel;
using REPORTGENERATOR::OutOfRangeException;
using REPORTGENERATOR::RGException;

namespace {

QDateTime Utc(int y, int mo, int d, int h, int mi, int s, int ms)
{
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s, ms), Qt::UTC);
}

// Gives the tests access to the base's protected reporting operations.
class Probe : public KVT317XML::FrequencyRange
{
public:
    using FrequencyRange::GetTextValue;
    using FrequencyRange::TraceOrThrow;
};

} // namespace

TEST(Converters, WritesUtcWithMilliseconds)
{
    EXPECT_EQ(Converters::ToString(Utc(2024, 3, 1, 12, 30, 5, 250)),
              QStringLiteral("2024-03-01T12:30:05,250Z"));
    EXPECT_EQ(Converters::ToString(Utc(7, 1, 2, 3, 4, 5, 6)),
              QStringLiteral("0007-01-02T03:04:05,006Z"));
    const QDateTime plusTwo(QDate(2024, 3, 1), QTime(1, 0), QTimeZone(7200));
    EXPECT_EQ(Converters::ToString(plusTwo), QStringLiteral("2024-02-29T23:00:00,000Z"));
    EXPECT_EQ(Converters::ToString(QDateTime()), QString());
    EXPECT_TRUE(Converters::ToString(QDateTime()).isNull());
}

TEST(Converters, ReadsTheFixedFormAndItsVariants)
{
    const QDateTime expected = Utc(2024, 3, 1, 12, 30, 5, 250);
    EXPECT_EQ(Converters::ToDateTime(QStringLiteral("2024-03-01T12:30:05,250Z")), expected);
    EXPECT_EQ(Converters::ToDateTime(QStringLiteral("2024-03-01T12:30:05.250Z")), expected);
    EXPECT_EQ(Converters::ToDateTime(QStringLiteral("2024-03-01T12:30:05,25")), expected);
    EXPECT_EQ(Converters::ToDateTime(QStringLiteral("2024-03-01T12:30:05,2Z")),
              Utc(2024, 3, 1, 12, 30, 5, 200));
    EXPECT_EQ(Converters::ToDateTime(QStringLiteral("2024-03-01T12:30:05Z")),
              Utc(2024, 3, 1, 12, 30, 5, 0));
    EXPECT_EQ(Converters::ToDateTime(QStringLiteral("2024-03-01T12:30:05")),
              Utc(2024, 3, 1, 12, 30, 5, 0));
    EXPECT_EQ(Converters::ToDateTime(QStringLiteral("2024-03-01T12:30:05Z")).timeSpec(), Qt::UTC);
}

TEST(Converters, UnreadableTextGivesANullDateTime)
{
    for (const char* text :
         {"", "garbage", "2024-02-30T00:00:00,000Z", "2024-03-01 12:30:05", "2024-03-01T24:00:00Z",
          "2024-03-01T12:30:05,Z", "2024-03-01T12:30:05,1234Z", "2024-03-01T12:30:05ZZ",
          "2024-3-01T12:30:05Z", "+024-03-01T12:30:05Z"}) {
        EXPECT_TRUE(Converters::ToDateTime(QString::fromLatin1(text)).isNull()) << text;
    }
}

TEST(Converters, RoundTrip)
{
    const QDateTime value = Utc(1999, 12, 31, 23, 59, 59, 999);
    EXPECT_EQ(Converters::ToDateTime(Converters::ToString(value)), value);
}

TEST(Logger, SinkGetsLevelAndExactText)
{
    LogCapture log;
    log.logger->Log(LogLevel::Info, QStringLiteral("hello"));
    log.logger->Log(LogLevel::Error, QStringLiteral("a\nb"));
    EXPECT_EQ(log.lines,
              (QStringList{QStringLiteral("INFO: hello"), QStringLiteral("ERROR: a\nb")}));
}

TEST(Logger, LevelNames)
{
    EXPECT_EQ(
        REPORTGENERATOR::LogLevelNames(),
        (QStringList{QStringLiteral("ERROR"), QStringLiteral("WARNING"), QStringLiteral("INFO")}));
    EXPECT_EQ(REPORTGENERATOR::LogLevelName(LogLevel::Warning), QStringLiteral("WARNING"));
    EXPECT_TRUE(REPORTGENERATOR::LogLevelName(static_cast<LogLevel>(3)).isNull());
    EXPECT_EQ(static_cast<int>(LogLevel::Error), 0);
    EXPECT_EQ(static_cast<int>(LogLevel::Info), 2);
}

TEST(Logger, SafeFromSeveralThreads)
{
    int count = 0; // the logger serialises its sink: no lock needed here
    const auto logger = std::make_shared<Logger>([&count](LogLevel, const QString&) { ++count; });
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&logger]() {
            for (int i = 0; i < 1000; ++i)
                logger->Log(LogLevel::Warning, QStringLiteral("x"));
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(count, 4000);
}

TEST(Logger, DefaultWritesToQtLogging)
{
    QtMessageCapture capture;
    Logger logger;
    logger.Log(LogLevel::Error, QStringLiteral("e"));
    logger.Log(LogLevel::Warning, QStringLiteral("w"));
    EXPECT_EQ(capture.Lines(), (QStringList{QStringLiteral("reportbase.critical: e"),
                                            QStringLiteral("reportbase.warning: w")}));
}

TEST(Logger, RecordsShareTheDefaultLogger)
{
    KVT317XML::FrequencyRange a;
    KVT317XML::FrequencyRange b;
    EXPECT_EQ(a.GetLogger(), b.GetLogger());
    EXPECT_EQ(a.GetLogger(), Logger::Default());
    LogCapture log;
    a.SetLogger(log.logger);
    a.ResetLogger();
    EXPECT_EQ(a.GetLogger(), Logger::Default());
}

TEST(Exceptions, CarryTheirMessage)
{
    const OutOfRangeException exception(QStringLiteral("Gr\u00fc\u00dfe"));
    EXPECT_EQ(exception.GetMessage(), QStringLiteral("Gr\u00fc\u00dfe"));
    EXPECT_STREQ(exception.what(), "Gr\xc3\xbc\xc3\x9f"
                                   "e");
    const std::exception& base = exception;
    EXPECT_STREQ(base.what(), "Gr\xc3\xbc\xc3\x9f"
                              "e");
}

TEST(Exceptions, TraceOrThrowRaisesTheOwnClass)
{
    LogCapture log;
    Probe probe;
    probe.SetLogger(log.logger);
    IncompleteDefinitionException incomplete(QStringLiteral("i"));
    EXPECT_THROW(probe.TraceOrThrow(LogLevel::Error, incomplete, true, true),
                 IncompleteDefinitionException);
    BinaryParsingException binary(QStringLiteral("b"));
    EXPECT_THROW(probe.TraceOrThrow(LogLevel::Warning, binary, true, false),
                 BinaryParsingException);
    OutOfRangeException range(QStringLiteral("r"));
    EXPECT_NO_THROW(probe.TraceOrThrow(LogLevel::Info, range, false, true));
    RGException& asBase = range;
    EXPECT_THROW(probe.TraceOrThrow(LogLevel::Error, asBase, true, false), OutOfRangeException);
    EXPECT_EQ(log.lines, (QStringList{QStringLiteral("ERROR: i"), QStringLiteral("INFO: r")}));
}

TEST(Base, NullLoggerSilencesTheRecord)
{
    KVT317XML::FrequencyRange range;
    range.SetLogger(nullptr);
    EXPECT_NO_THROW(range.Check(true));
}

TEST(Base, GenericValidityMarkers)
{
    KVT317XML::FrequencyRange range;
    float f = 1.0f;
    double d = 1.0;
    int i = 1;
    unsigned int u = 1;
    qint64 l = 1;
    QString s = QStringLiteral("");
    EXPECT_TRUE(range.IsValid(f) && range.IsValid(d) && range.IsValid(i) && range.IsValid(u) &&
                range.IsValid(l) && range.IsValid(s) && range.IsValid(true));
    range.SetInvalid(f);
    range.SetInvalid(d);
    range.SetInvalid(i);
    range.SetInvalid(u);
    range.SetInvalid(l);
    range.SetInvalid(s);
    EXPECT_TRUE(std::isnan(f));
    EXPECT_TRUE(std::isnan(d));
    EXPECT_EQ(i, std::numeric_limits<int>::min());
    EXPECT_EQ(u, std::numeric_limits<unsigned int>::max());
    EXPECT_EQ(l, std::numeric_limits<qint64>::min());
    EXPECT_TRUE(s.isNull());
    EXPECT_FALSE(range.IsValid(f) || range.IsValid(d) || range.IsValid(i) || range.IsValid(u) ||
                 range.IsValid(l) || range.IsValid(s));
    EXPECT_FALSE(range.IsValid(QDateTime()));
    EXPECT_TRUE(range.IsValid(Utc(2000, 1, 1, 0, 0, 0, 0)));
    // The interface's class ids are Qt's 64-bit integers, whatever it calls their type.
    static_assert(std::is_same_v<decltype(KVT317XML::FrequencyRange::id), const qint64>);
    EXPECT_EQ(sizeof(KVT317XML::FrequencyRange::id), 8u);
}

TEST(Base, SkipCurrentElement)
{
    KVT317XML::FrequencyRange range;
    QByteArray bytes = Hex("0102030405");
    QDataStream stream(&bytes, QIODevice::ReadOnly);
    EXPECT_EQ(range.skipCurrentElement(stream, 3, 7), 3);
    quint8 next = 0;
    stream >> next;
    EXPECT_EQ(next, 4);
    EXPECT_EQ(range.skipCurrentElement(stream, 5, 7), -1);
    EXPECT_NE(stream.status(), QDataStream::Ok);

    QDataStream other(&bytes, QIODevice::ReadOnly);
    EXPECT_EQ(range.skipCurrentElement(other, -1, 7), -1);
    EXPECT_NE(other.status(), QDataStream::Ok);
}

TEST(Base, MergeRecordOfTheSameClass)
{
    KVT317XML::FrequencyRange target;
    KVT317XML::FrequencyRange source;
    source.SetStartFrequency(3.0);
    source.SetStopFrequency(4.0);
    EXPECT_TRUE(target.MergeRGObject(source));
    EXPECT_TRUE(target == source);
}

TEST(Base, VersionAndTextValue)
{
    Probe probe;
    EXPECT_EQ(probe.GetVersion(), QStringLiteral("1.0"));
    // Only the element's own text: nested elements are skipped with what they hold.
    QXmlStreamReader reader(QStringLiteral("<a>x<b>y<c>w</c></b>z</a><c/>"));
    reader.readNextStartElement();
    EXPECT_EQ(probe.GetTextValue(reader), QStringLiteral("xz"));
    EXPECT_TRUE(reader.isEndElement());
    EXPECT_EQ(reader.name().toString(), QStringLiteral("a"));
}
