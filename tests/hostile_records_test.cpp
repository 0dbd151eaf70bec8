// The settings records against hostile documents: what the record engine decides.
//
// The same-named element tests are disabled until the engine's unknown-element skip is the
// base's SkipUnknownElement, which tells the content loop how many elements it left open.

#include "HostileInput.h"
#include "LogCapture.h"

#include <FrequencyRange.h>
#include <KVT317_Settings.h>

#include <gtest/gtest.h>

using KVT317XML::FrequencyRange;

TEST(HostileRecords, DISABLED_SameNamedElementTwoDeepDoesNotEndTheRecord)
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

TEST(HostileRecords, DISABLED_SameNamedElementTwoDeepInADetail)
{
    QString xml = QString::fromUtf8(ExampleFile("settings.xml"));
    xml.insert(xml.indexOf(QStringLiteral("<AntennaPol>")),
               QStringLiteral("<U><KVT317SettingsDetail><U/></KVT317SettingsDetail></U>"));
    hostile::ExpectReadsAsExample(xml);
}

TEST(HostileRecords, IntMinPayloadLengthIsALengthError)
{
    hostile::ExpectLengthError(hostile::IntMinPayloadFrame());
}

TEST(HostileRecords, HugeItemCountIsALengthError)
{
    hostile::ExpectLengthError(hostile::HugeCountFrame());
}
