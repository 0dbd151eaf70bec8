#include "LogCapture.h"

#include <FrequencyRange.h>

#include <gtest/gtest.h>

using KVT317XML::FrequencyRange;

TEST(Smoke, DefaultsRoundTrip)
{
    FrequencyRange range;
    EXPECT_FALSE(range.IsInitialized());
    EXPECT_EQ(range.GetStartFrequency(), 88000000.0);
    range.ResetToDefault();
    const QByteArray frame = range.GetBinaryRepresentationAsQByteArray();
    EXPECT_EQ(frame.toHex(), QByteArray("0e9dcc540000002f2d99dcb90000000f0000000b38383030303030302e"
                                        "30307adc955a000000100000000c3234303030303030302e3030"));
    FrequencyRange back;
    QByteArray copy = frame;
    ASSERT_TRUE(back.SetBinaryRepresentation(copy));
    EXPECT_TRUE(back == range);
    EXPECT_EQ(range.GetXmlString(),
              QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<FrequencyRange>\n  "
                             "<StartFrequency>88000000.00</StartFrequency>\n  "
                             "<StopFrequency>240000000.00</StopFrequency>\n</FrequencyRange>\n"));
}
