// The settings records against hostile documents: what the record engine decides.

#include "HostileInput.h"
#include "TestSupport.h"

#include <BearingSettings.h>
#include <FrequencyRange.h>
#include <KVT317_Settings.h>

#include <gtest/gtest.h>

using KVT317XML::FrequencyRange;

TEST(HostileRecords, SameNamedElementTwoDeepDoesNotEndTheRecord)
{
    FrequencyRange range;
    LogCapture log;
    range.SetLogger(log.logger);
    EXPECT_TRUE(range.SetXmlString(
        QStringLiteral("<FrequencyRange><U><FrequencyRange><U></U></FrequencyRange></U>"
                       "<StartFrequency>5</StartFrequency><StopFrequency>6</StopFrequency>"
                       "</FrequencyRange>"),
        true));
    EXPECT_TRUE(range.IsStartFrequencySet());
    EXPECT_EQ(range.GetStartFrequency(), 5.0);
    EXPECT_TRUE(range.IsStopFrequencySet());
    EXPECT_EQ(range.GetStopFrequency(), 6.0);
    EXPECT_EQ(log.lines, QStringList());
}

TEST(HostileRecords, SameNamedElementTwoDeepInADetail)
{
    QString xml = QString::fromUtf8(ExampleFile("settings.xml"));
    xml.insert(xml.indexOf(QStringLiteral("<AntennaPol>")),
               QStringLiteral("<U><KVT317SettingsDetail><U/></KVT317SettingsDetail></U>"));
    hostile::ExpectReadsAsExample(xml);
}

// An unknown element holding an element of its own name: the skip stops at the nested
// start element and the rest of the unknown element is read as content of the record. That
// rest holds no member, so the document reads as if the element were absent.
TEST(HostileRecords, SameNamedElementInAFrequencyRange)
{
    QString xml = QString::fromUtf8(ExampleFile("settings.xml"));
    xml.insert(xml.indexOf(QStringLiteral("<StopFrequency>")),
               QStringLiteral("<FrequencyRange><FrequencyRange/></FrequencyRange>"));
    hostile::ExpectReadsAsExample(xml);
}

TEST(HostileRecords, SameNamedElementInTheRoot)
{
    QString xml = QString::fromUtf8(ExampleFile("settings.xml"));
    xml.insert(xml.indexOf(QStringLiteral("<KVT317SettingsDetail")),
               QStringLiteral("<KVT317_Settings><KVT317_Settings/></KVT317_Settings>"));
    hostile::ExpectReadsAsExample(xml);
}

TEST(HostileRecords, SameNamedElementInABearingSettings)
{
    const QString example = QString::fromUtf8(ExampleFile("bearing-settings.xml"));
    KVT317XML::BearingSettings expected;
    ASSERT_TRUE(expected.SetXmlString(example, true));
    QString xml = example;
    xml.insert(xml.indexOf(QStringLiteral("<AveragingTime>")),
               QStringLiteral("<BearingSettings><BearingSettings/></BearingSettings>"));
    KVT317XML::BearingSettings bearing;
    LogCapture log;
    bearing.SetLogger(log.logger);
    EXPECT_TRUE(bearing.SetXmlString(xml, true));
    EXPECT_TRUE(bearing == expected);
    EXPECT_TRUE(bearing.IsSignalEstimationQualityVtPathSet());
    EXPECT_EQ(log.lines, QStringList());
}

TEST(HostileRecords, IntMinPayloadLengthIsALengthError)
{
    hostile::ExpectLengthError(hostile::IntMinPayloadFrame());
}

TEST(HostileRecords, HugeItemCountIsALengthError)
{
    hostile::ExpectLengthError(hostile::HugeCountFrame());
}
