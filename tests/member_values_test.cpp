// SetMemberValue takes every QVariant whose value converts to the member's type without loss,
// whatever type carries it, and refuses, changing nothing, every one that would lose.

#include "LogCapture.h"

#include <FrequencyRange.h>
#include <KVT317SettingsDetail.h>

#include <QByteArray>
#include <QChar>
#include <QDateTime>

#include <gtest/gtest.h>

#include <limits>

using KVT317XML::FrequencyRange;
using KVT317XML::KVT317SettingsDetail;
using KVT317XML::RecordDescription;

namespace {

int Bit(const RecordDescription& description, const char* name)
{
    return description.FindName(QString::fromLatin1(name))->bit;
}

class MemberValues : public ::testing::Test
{
protected:
    MemberValues() { detail.SetLogger(log.logger); }

    // Sets Threshold (an int) and gives what it holds afterwards; -1 stands before.
    bool SetThreshold(const QVariant& value)
    {
        detail.SetThreshold(-1);
        return detail.SetMemberValue(Bit(description, "Threshold"), value);
    }
    bool SetHoldValue(const QVariant& value) // a float
    {
        detail.SetAttenuationHoldValue(-1.0f);
        return detail.SetMemberValue(Bit(description, "AttenuationHoldValue"), value);
    }
    bool SetStart(const QVariant& value) // a double
    {
        range.SetStartFrequency(-1.0);
        return range.SetMemberValue(0, value);
    }
    bool SetName(const QVariant& value) // a text
    {
        detail.SetName(QStringLiteral("before"));
        return detail.SetMemberValue(Bit(description, "Name"), value);
    }

    const RecordDescription& description = KVT317SettingsDetail::Description();
    LogCapture log;
    KVT317SettingsDetail detail;
    FrequencyRange range;
};

TEST_F(MemberValues, WholeNumberTakesEveryIntegerTypeWithinItsRange)
{
    EXPECT_TRUE(SetThreshold(QVariant::fromValue(9L)));
    EXPECT_EQ(detail.GetThreshold(), 9);
    EXPECT_TRUE(SetThreshold(QVariant::fromValue(9UL)));
    EXPECT_EQ(detail.GetThreshold(), 9);
    EXPECT_TRUE(SetThreshold(QVariant(Q_INT64_C(2147483647))));
    EXPECT_EQ(detail.GetThreshold(), 2147483647);
    EXPECT_TRUE(SetThreshold(QVariant(Q_INT64_C(-2147483648))));
    EXPECT_EQ(detail.GetThreshold(), std::numeric_limits<int>::min());
    EXPECT_TRUE(SetThreshold(QVariant(Q_UINT64_C(7))));
    EXPECT_EQ(detail.GetThreshold(), 7);
    EXPECT_TRUE(SetThreshold(QVariant(10U)));
    EXPECT_EQ(detail.GetThreshold(), 10);
    EXPECT_TRUE(SetThreshold(QVariant::fromValue(static_cast<short>(-5))));
    EXPECT_EQ(detail.GetThreshold(), -5);
    EXPECT_TRUE(SetThreshold(QVariant::fromValue(static_cast<unsigned short>(65535))));
    EXPECT_EQ(detail.GetThreshold(), 65535);
    EXPECT_TRUE(SetThreshold(QVariant::fromValue(static_cast<signed char>(-128))));
    EXPECT_EQ(detail.GetThreshold(), -128);
    EXPECT_TRUE(SetThreshold(QVariant::fromValue(static_cast<unsigned char>(255))));
    EXPECT_EQ(detail.GetThreshold(), 255);
    EXPECT_TRUE(SetThreshold(QVariant::fromValue('A')));
    EXPECT_EQ(detail.GetThreshold(), 65);
    EXPECT_TRUE(SetThreshold(QVariant(9.0)));
    EXPECT_EQ(detail.GetThreshold(), 9);
    EXPECT_TRUE(SetThreshold(QVariant(-3.0f)));
    EXPECT_EQ(detail.GetThreshold(), -3);
    EXPECT_EQ(log.lines, QStringList());
}

TEST_F(MemberValues, WholeNumberRefusesWhatWouldLose)
{
    const QVariant refused[] = {
        QVariant(9.5),
        QVariant(0.1f),
        QVariant(2147483648.0),
        QVariant(std::numeric_limits<double>::quiet_NaN()),
        QVariant(std::numeric_limits<double>::infinity()),
        QVariant(Q_INT64_C(2147483648)),
        QVariant(Q_INT64_C(-2147483649)),
        QVariant(Q_UINT64_C(18446744073709551615)),
        QVariant(4294967295U),
        QVariant::fromValue(9223372036854775808UL),
        QVariant(QStringLiteral("9")),
        QVariant(QStringLiteral("abc")),
        QVariant(QChar(u'9')),
        QVariant(true),
        QVariant(QByteArray("9")),
        QVariant(),
    };
    for (const QVariant& value : refused) {
        EXPECT_FALSE(SetThreshold(value)) << value.typeName();
        EXPECT_EQ(detail.GetThreshold(), -1) << value.typeName();
    }
    KVT317SettingsDetail fresh;
    EXPECT_FALSE(fresh.SetMemberValue(Bit(description, "Threshold"), QVariant(9.5)));
    EXPECT_FALSE(fresh.IsThresholdSet());
    EXPECT_EQ(log.lines, QStringList());
}

TEST_F(MemberValues, EnumerationTakesItsEnumeratorFromAnyWholeNumber)
{
    const int bit = Bit(description, "AntennaPol");
    EXPECT_TRUE(detail.SetMemberValue(bit, QVariant::fromValue(2L)));
    EXPECT_EQ(detail.GetAntennaPol(), KVT317SettingsDetail::AntennaPol(2));
    EXPECT_TRUE(detail.SetMemberValue(bit, QVariant::fromValue(static_cast<unsigned char>(1))));
    EXPECT_EQ(detail.GetAntennaPol(), KVT317SettingsDetail::AntennaPol(1));
    EXPECT_FALSE(detail.SetMemberValue(bit, QVariant(1.5)));
    EXPECT_FALSE(detail.SetMemberValue(bit, QVariant(QStringLiteral("HOR"))));
    EXPECT_EQ(detail.GetAntennaPol(), KVT317SettingsDetail::AntennaPol(1));
    // Outside the names: taken and reported, as SetAntennaPol does.
    EXPECT_TRUE(detail.SetMemberValue(bit, QVariant::fromValue(99L)));
    EXPECT_EQ(log.lines, QStringList{QStringLiteral("WARNING: enum is not valid "
                                                    "(classname=KVT317SettingsDetail,membername="
                                                    "m_antennaPol)")});
}

TEST_F(MemberValues, FloatTakesWhatItHoldsExactly)
{
    EXPECT_TRUE(SetHoldValue(QVariant::fromValue(16777216L)));
    EXPECT_EQ(detail.GetAttenuationHoldValue(), 16777216.0f);
    EXPECT_TRUE(SetHoldValue(QVariant(0.5)));
    EXPECT_EQ(detail.GetAttenuationHoldValue(), 0.5f);
    EXPECT_TRUE(SetHoldValue(QVariant::fromValue(static_cast<short>(-7))));
    EXPECT_EQ(detail.GetAttenuationHoldValue(), -7.0f);
    EXPECT_FALSE(SetHoldValue(QVariant::fromValue(16777217L)));
    EXPECT_FALSE(SetHoldValue(QVariant(0.1)));
    EXPECT_FALSE(SetHoldValue(QVariant(QStringLiteral("0.5"))));
    EXPECT_EQ(detail.GetAttenuationHoldValue(), -1.0f);
}

TEST_F(MemberValues, DoubleTakesWhatItHoldsExactly)
{
    EXPECT_TRUE(SetStart(QVariant(Q_INT64_C(9007199254740992))));
    EXPECT_EQ(range.GetStartFrequency(), 9007199254740992.0);
    EXPECT_TRUE(SetStart(QVariant::fromValue(9223372036854775808UL)));
    EXPECT_EQ(range.GetStartFrequency(), 9223372036854775808.0);
    EXPECT_TRUE(SetStart(QVariant(0.1f)));
    EXPECT_EQ(range.GetStartFrequency(), 0.100000001490116119384765625);
    EXPECT_TRUE(SetStart(QVariant::fromValue(118000000L)));
    EXPECT_EQ(range.GetStartFrequency(), 118000000.0);
    EXPECT_FALSE(SetStart(QVariant(Q_INT64_C(9007199254740993))));
    EXPECT_FALSE(SetStart(QVariant(Q_UINT64_C(18446744073709551615))));
    EXPECT_FALSE(SetStart(QVariant(QStringLiteral("1"))));
    EXPECT_FALSE(SetStart(QVariant(false)));
    EXPECT_EQ(range.GetStartFrequency(), -1.0);
}

TEST_F(MemberValues, TextTakesCharactersAndRefusesNumbersAndBytes)
{
    EXPECT_TRUE(SetName(QVariant(QChar(u'x'))));
    EXPECT_EQ(detail.GetName(), QStringLiteral("x"));
    EXPECT_TRUE(SetName(QVariant(QChar(0x00E9))));
    EXPECT_EQ(detail.GetName(), QString(QChar(0x00E9)));
    EXPECT_TRUE(SetName(QVariant::fromValue('A')));
    EXPECT_EQ(detail.GetName(), QStringLiteral("A"));
    EXPECT_TRUE(SetName(QVariant(QStringLiteral(""))));
    EXPECT_EQ(detail.GetName(), QStringLiteral(""));
    EXPECT_FALSE(detail.GetName().isNull());
    const QVariant refused[] = {
        QVariant::fromValue(static_cast<char>(-23)), // a byte of some encoding
        QVariant(65),
        QVariant::fromValue(static_cast<signed char>(65)),
        QVariant(1.0),
        QVariant(QByteArray("a")),
        QVariant(QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC)),
    };
    for (const QVariant& value : refused) {
        EXPECT_FALSE(SetName(value)) << value.typeName();
        EXPECT_EQ(detail.GetName(), QStringLiteral("before")) << value.typeName();
    }
    EXPECT_EQ(log.lines, QStringList());
}

TEST_F(MemberValues, DateTimeTakesOnlyADateTime)
{
    const int bit = Bit(description, "StopTime");
    const QDateTime stop(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC);
    EXPECT_FALSE(detail.SetMemberValue(bit, QVariant(QDate(2026, 1, 2))));
    EXPECT_FALSE(detail.SetMemberValue(bit, QVariant(QStringLiteral("2026-01-02T03:04:05"))));
    EXPECT_FALSE(detail.IsStopTimeSet());
    EXPECT_TRUE(detail.SetMemberValue(bit, QVariant(stop)));
    EXPECT_EQ(detail.GetStopTime(), stop);
}

} // namespace
