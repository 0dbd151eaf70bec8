#include "TestSupport.h"

#include <FrequencyRange.h>

#include <QXmlStreamReader>

#include <gtest/gtest.h>

using KVT317XML::FrequencyRange;
using REPORTGENERATOR::BinaryParsingException;
using REPORTGENERATOR::OutOfRangeException;

namespace {

const QString DefaultsXml = QStringLiteral("<FrequencyRange>"
                                           "<StartFrequency>88000000.00</StartFrequency>"
                                           "<StopFrequency>240000000.00</StopFrequency>"
                                           "</FrequencyRange>");

// The record holding its defaults, as the member of a detail (tag 0x08B36734).
const QByteArray DefaultsAsMember = Hex("08B36734 0000002F"
                                        "2D99DCB9 0000000F 0000000B 38383030303030302E3030"
                                        "7ADC955A 00000010 0000000C 3234303030303030302E3030");

void ReadBinary(FrequencyRange& range, QByteArray bytes, int length)
{
    QDataStream stream(&bytes, QIODevice::ReadOnly);
    range.SetBinary(stream, length);
}

} // namespace

TEST(FrequencyRange, IdentityConstants)
{
    EXPECT_EQ(FrequencyRange::id, 245222484);
    EXPECT_EQ(FrequencyRange::GetId(), 0x0E9DCC54);
    FrequencyRange range;
    EXPECT_EQ(range.GetObjectName(), QStringLiteral("FrequencyRange"));
}

TEST(FrequencyRange, NewRecordCreatesStorageOnFirstRead)
{
    FrequencyRange range;
    EXPECT_FALSE(range.IsInitialized());
    EXPECT_FALSE(range.HasData());
    EXPECT_FALSE(range.AnyData());
    EXPECT_FALSE(range.IsStartFrequencySet());
    EXPECT_FALSE(range.IsInitialized()); // asking creates nothing
    EXPECT_EQ(range.GetStartFrequency(), 88000000.0);
    EXPECT_TRUE(range.IsInitialized());
    EXPECT_FALSE(range.IsStartFrequencySet());
    EXPECT_EQ(range.GetStartFrequency(), range.GetDefaultStartFrequency());
    EXPECT_EQ(range.GetStopFrequency(), 240000000.0);
    EXPECT_FALSE(range.HasData());
    EXPECT_FALSE(range.AnyData());
}

TEST(FrequencyRange, EqualityFollowsSetMembersOnly)
{
    FrequencyRange a;
    FrequencyRange b;
    EXPECT_TRUE(a == b);
    b.GetStartFrequency(); // storage, nothing set
    EXPECT_TRUE(a == b);
    EXPECT_TRUE(b == a);
    b.SetStartFrequency(1.0);
    EXPECT_FALSE(a == b);
    EXPECT_TRUE(a != b);

    FrequencyRange fresh;
    FrequencyRange atDefault;
    atDefault.SetStartFrequency(88000000.0);
    EXPECT_FALSE(fresh == atDefault);
}

TEST(FrequencyRange, DefaultsDoNotTakePartInEquality)
{
    FrequencyRange a;
    FrequencyRange b;
    a.SetStartFrequency(5.0);
    b.SetStartFrequency(5.0);
    b.SetDefaultStartFrequency(7.0);
    b.SetDefaultStopFrequency(9.0);
    EXPECT_TRUE(a == b);
    b.SetStopFrequency(240000000.0);
    EXPECT_FALSE(a == b);
}

TEST(FrequencyRange, ResetOfRecordWithoutStorageCreatesNone)
{
    FrequencyRange range;
    range.Reset();
    range.ResetStartFrequency();
    EXPECT_FALSE(range.IsInitialized());
}

TEST(FrequencyRange, ResetUnsetsEveryMemberAndKeepsDefaults)
{
    FrequencyRange range;
    range.SetDefaultStopFrequency(300e6);
    range.SetStartFrequency(1.0);
    range.SetStopFrequency(2.0);
    range.Reset();
    EXPECT_FALSE(range.IsStartFrequencySet());
    EXPECT_FALSE(range.IsStopFrequencySet());
    EXPECT_EQ(range.GetStartFrequency(), 88000000.0);
    EXPECT_EQ(range.GetStopFrequency(), 300000000.0);
    EXPECT_EQ(range.GetDefaultStopFrequency(), 300000000.0);
    EXPECT_TRUE(range.IsInitialized());

    range.ResetToDefault();
    EXPECT_TRUE(range.IsStopFrequencySet());
    EXPECT_EQ(range.GetStopFrequency(), 300000000.0);
}

TEST(FrequencyRange, ResetOfOneMemberRestoresItsDefault)
{
    FrequencyRange range;
    range.SetStartFrequency(1.0);
    range.SetStopFrequency(2.0);
    range.ResetStartFrequency();
    EXPECT_FALSE(range.IsStartFrequencySet());
    EXPECT_EQ(range.GetStartFrequency(), 88000000.0);
    EXPECT_TRUE(range.IsStopFrequencySet());
    EXPECT_EQ(range.GetStopFrequency(), 2.0);
}

TEST(FrequencyRange, ResetToDefaultSetsBothMembers)
{
    FrequencyRange range;
    range.ResetToDefault();
    EXPECT_TRUE(range.IsStartFrequencySet());
    EXPECT_TRUE(range.IsStopFrequencySet());
    EXPECT_EQ(range.GetStartFrequency(), 88000000.0);
    EXPECT_EQ(range.GetStopFrequency(), 240000000.0);
    EXPECT_TRUE(range.HasData());
}

TEST(FrequencyRange, SettingADefaultChangesNeitherValueNorFlag)
{
    FrequencyRange range;
    range.SetStartFrequency(3.0);
    range.SetDefaultStartFrequency(4.0);
    EXPECT_EQ(range.GetStartFrequency(), 3.0);
    EXPECT_TRUE(range.IsStartFrequencySet());
    EXPECT_EQ(range.GetDefaultStartFrequency(), 4.0);
    EXPECT_TRUE(range.IsValidStartFrequency(-1e300));
    EXPECT_TRUE(range.IsValidStopFrequency(0.0));
}

TEST(FrequencyRange, StartAboveStopIsAcceptedAndChecksClean)
{
    LogCapture log;
    FrequencyRange range;
    range.SetLogger(log.logger);
    range.SetValidate(true);
    range.SetStartFrequency(200e6);
    range.SetStopFrequency(100e6);
    range.Check(true);
    range.Check();
    EXPECT_TRUE(log.lines.isEmpty());
    EXPECT_EQ(range.GetStartFrequency(), 200e6);
    EXPECT_EQ(range.GetStopFrequency(), 100e6);
}

TEST(FrequencyRange, OnlyStartSet)
{
    LogCapture log;
    FrequencyRange range;
    range.SetLogger(log.logger);
    range.SetStartFrequency(100e6);
    EXPECT_TRUE(range.AnyData());
    EXPECT_FALSE(range.HasData());
    range.Check(true);
    EXPECT_EQ(log.lines, QStringList{QStringLiteral(
                             "ERROR: FrequencyRange: Please set StopFrequency properly.")});
}

TEST(FrequencyRange, CheckWithoutThrowReportsBothMembersInOrder)
{
    LogCapture log;
    FrequencyRange range;
    range.SetLogger(log.logger);
    range.Check(true);
    EXPECT_EQ(
        log.lines,
        (QStringList{QStringLiteral("ERROR: FrequencyRange: Please set StartFrequency properly."),
                     QStringLiteral("ERROR: FrequencyRange: Please set StopFrequency properly.")}));
}

TEST(FrequencyRange, CheckRaisesAtTheFirstFault)
{
    LogCapture log;
    FrequencyRange range;
    range.SetLogger(log.logger);
    try {
        range.Check();
        FAIL() << "Check() did not raise";
    } catch (const OutOfRangeException& exception) {
        EXPECT_EQ(exception.GetMessage(),
                  QStringLiteral("FrequencyRange: Please set StartFrequency properly."));
        EXPECT_STREQ(exception.what(), "FrequencyRange: Please set StartFrequency properly.");
    }
    EXPECT_EQ(log.lines, QStringList{QStringLiteral(
                             "ERROR: FrequencyRange: Please set StartFrequency properly.")});
}

TEST(FrequencyRange, CopyKeepsValidationButNotLogger)
{
    LogCapture log;
    FrequencyRange source;
    source.SetLogger(log.logger);
    source.SetValidate(true);
    source.SetStartFrequency(10.0);
    source.SetDefaultStopFrequency(20.0);

    FrequencyRange copy(source);
    EXPECT_TRUE(copy == source);
    EXPECT_TRUE(copy.GetValidate());
    EXPECT_EQ(copy.GetLogger(), REPORTGENERATOR::Logger::Default());
    EXPECT_EQ(copy.GetDefaultStopFrequency(), 20.0);
    copy.SetStartFrequency(11.0);
    EXPECT_EQ(source.GetStartFrequency(), 10.0);
    EXPECT_FALSE(copy == source);
}

TEST(FrequencyRange, AssignmentSharesValuesAndKeepsOwnSettings)
{
    LogCapture log;
    FrequencyRange source;
    source.SetStartFrequency(10.0);
    FrequencyRange target;
    target.SetLogger(log.logger);
    target.SetValidate(true);
    target = source;
    EXPECT_TRUE(target == source);
    EXPECT_TRUE(target.GetValidate());
    EXPECT_EQ(target.GetLogger(), log.logger);
    target.SetStartFrequency(12.0);
    EXPECT_EQ(source.GetStartFrequency(), 10.0);
}

TEST(FrequencyRange, AssigningARecordWithoutStorageDropsTheStorage)
{
    LogCapture log;
    FrequencyRange target;
    target.SetLogger(log.logger);
    target.SetValidate(true);
    target.SetStartFrequency(1.0);
    target.SetStopFrequency(2.0);
    const FrequencyRange empty;
    target = empty;
    EXPECT_FALSE(target.IsInitialized());
    EXPECT_TRUE(target == FrequencyRange());
    EXPECT_EQ(target.GetObjectName(), QStringLiteral("FrequencyRange"));
    EXPECT_TRUE(target.GetValidate());
    EXPECT_EQ(target.GetLogger(), log.logger);
}

TEST(FrequencyRange, ObjectTypeIsKept)
{
    FrequencyRange range;
    range.SetObjectType(REPORTGENERATOR::ObjectTypes::Report);
    EXPECT_EQ(range.GetObjectType(), REPORTGENERATOR::ObjectTypes::Undefined);
}

// ---- XML -----------------------------------------------------------------------------

TEST(FrequencyRangeXml, FreshRecordWithoutValidationWritesDefaults)
{
    LogCapture log;
    FrequencyRange range;
    range.SetLogger(log.logger);
    EXPECT_EQ(XmlOf(range), DefaultsXml);
    EXPECT_TRUE(log.lines.isEmpty());
}

TEST(FrequencyRangeXml, FreshRecordWithValidationRaisesAndWritesNothing)
{
    LogCapture log;
    FrequencyRange range;
    range.SetLogger(log.logger);
    range.SetValidate(true);
    QString text;
    QXmlStreamWriter writer(&text);
    EXPECT_THROW(range.GetXml(writer), OutOfRangeException);
    EXPECT_EQ(text, QString());
    EXPECT_EQ(log.lines, QStringList{QStringLiteral(
                             "ERROR: FrequencyRange: Please set StartFrequency properly.")});
}

TEST(FrequencyRangeXml, ValuesAreRoundedToTwoDecimals)
{
    FrequencyRange range;
    range.SetStartFrequency(1234567.891);
    range.SetStopFrequency(1000000.0);
    EXPECT_EQ(XmlOf(range), QStringLiteral("<FrequencyRange>"
                                           "<StartFrequency>1234567.89</StartFrequency>"
                                           "<StopFrequency>1000000.00</StopFrequency>"
                                           "</FrequencyRange>"));
    FrequencyRange back;
    ReadXml(back, XmlOf(range));
    EXPECT_EQ(back.GetStartFrequency(), 1234567.89);
    EXPECT_EQ(back.GetStopFrequency(), 1000000.0);
}

TEST(FrequencyRangeXml, DocumentText)
{
    FrequencyRange range;
    range.SetStartFrequency(-5.0);
    range.SetStopFrequency(0.004);
    EXPECT_EQ(range.GetXmlString(), QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                                   "<FrequencyRange>\n"
                                                   "  <StartFrequency>-5.00</StartFrequency>\n"
                                                   "  <StopFrequency>0.00</StopFrequency>\n"
                                                   "</FrequencyRange>\n"));
}

TEST(FrequencyRangeXml, ReadingMergesAndMarksOnlyWhatOccurs)
{
    FrequencyRange range;
    range.SetStopFrequency(7.0);
    ReadXml(range, QStringLiteral("<FrequencyRange><StartFrequency>12.5</StartFrequency>"
                                  "</FrequencyRange>"));
    EXPECT_TRUE(range.IsStartFrequencySet());
    EXPECT_EQ(range.GetStartFrequency(), 12.5);
    EXPECT_TRUE(range.IsStopFrequencySet());
    EXPECT_EQ(range.GetStopFrequency(), 7.0);

    FrequencyRange other;
    ReadXml(other, QStringLiteral("<FrequencyRange><StopFrequency>3</StopFrequency>"
                                  "</FrequencyRange>"));
    EXPECT_FALSE(other.IsStartFrequencySet());
    EXPECT_TRUE(other.IsStopFrequencySet());
}

TEST(FrequencyRangeXml, TextThatIsNotANumberStoresZero)
{
    LogCapture log;
    FrequencyRange range;
    range.SetLogger(log.logger);
    ReadXml(range, QStringLiteral("<FrequencyRange><StartFrequency>abc</StartFrequency>"
                                  "</FrequencyRange>"));
    EXPECT_TRUE(range.IsStartFrequencySet());
    EXPECT_EQ(range.GetStartFrequency(), 0.0);
    EXPECT_TRUE(log.lines.isEmpty());
}

TEST(FrequencyRangeXml, UnknownElementsAreSkippedSilently)
{
    LogCapture log;
    FrequencyRange range;
    range.SetLogger(log.logger);
    ReadXml(range,
            QStringLiteral("<FrequencyRange><Comment a=\"1\"><StopFrequency>9</StopFrequency>"
                           "</Comment><StartFrequency>4</StartFrequency>"
                           "</FrequencyRange>"));
    EXPECT_EQ(range.GetStartFrequency(), 4.0);
    EXPECT_FALSE(range.IsStopFrequencySet()); // inside the skipped element
    EXPECT_TRUE(log.lines.isEmpty());
}

TEST(FrequencyRangeXml, SkipEndsAtANestedElementOfTheSameName)
{
    FrequencyRange range;
    ReadXml(range, QStringLiteral("<FrequencyRange><X><StopFrequency>1</StopFrequency>"
                                  "<X><StartFrequency>2</StartFrequency></X>"
                                  "<StopFrequency>3</StopFrequency></X>"
                                  "</FrequencyRange>"));
    // The skip stops at the nested <X>; what follows is read as the record's content.
    EXPECT_TRUE(range.IsStartFrequencySet());
    EXPECT_EQ(range.GetStartFrequency(), 2.0);
    EXPECT_TRUE(range.IsStopFrequencySet());
    EXPECT_EQ(range.GetStopFrequency(), 3.0);
}

TEST(FrequencyRangeXml, RoundTripIsIdentical)
{
    const QString xml = QStringLiteral("<FrequencyRange><StartFrequency>123.45</StartFrequency>"
                                       "<StopFrequency>-0.50</StopFrequency></FrequencyRange>");
    FrequencyRange range;
    ReadXml(range, xml);
    EXPECT_EQ(XmlOf(range), xml);
}

// ---- Binary --------------------------------------------------------------------------

TEST(FrequencyRangeBinary, DefaultsAsMemberOfADetail)
{
    FrequencyRange range;
    range.ResetToDefault();
    bool written = false;
    const QByteArray bytes = BinaryOf(range, 0x08B36734, true, &written);
    EXPECT_TRUE(written);
    EXPECT_EQ(bytes.size(), 55);
    EXPECT_EQ(bytes.toHex(), DefaultsAsMember.toHex());
}

TEST(FrequencyRangeBinary, BothMembersAreWrittenWhetherSetOrNot)
{
    FrequencyRange range; // nothing set, validation off
    EXPECT_EQ(BinaryOf(range, 0x08B36734, true).toHex(), DefaultsAsMember.toHex());
    // Without the tag the frame starts with its length.
    EXPECT_EQ(BinaryOf(range, 0x08B36734, false).toHex(), DefaultsAsMember.mid(4).toHex());
}

TEST(FrequencyRangeBinary, ValidationOnRefusesARecordWithoutData)
{
    LogCapture log;
    FrequencyRange range;
    range.SetLogger(log.logger);
    range.SetValidate(true);
    range.SetStartFrequency(1.0);
    // The check raises before a byte reaches the stream.
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QDataStream stream(&buffer);
    EXPECT_THROW(range.GetBinary(stream, 1, true), OutOfRangeException);
    EXPECT_EQ(buffer.pos(), 0);
    EXPECT_EQ(bytes, QByteArray());
    EXPECT_EQ(log.lines, QStringList(QStringLiteral(
                             "ERROR: FrequencyRange: Please set StopFrequency properly.")));

    // Without a logger the check still raises, before the result is known.
    FrequencyRange quiet;
    quiet.SetValidate(true);
    quiet.SetLogger(nullptr);
    bool written = true;
    EXPECT_THROW(BinaryOf(quiet, 1, true, &written), OutOfRangeException);
    EXPECT_TRUE(written);
}

TEST(FrequencyRangeBinary, PayloadHoldsTheRoundedText)
{
    FrequencyRange range;
    range.SetStartFrequency(1234567.891);
    range.SetStopFrequency(5.0);
    const QByteArray expected = Hex("00000026"
                                    "2D99DCB9 0000000E 0000000A 313233343536372E3839"
                                    "7ADC955A 00000008 00000004 352E3030");
    EXPECT_EQ(BinaryOf(range, 0, false).toHex(), expected.toHex());

    FrequencyRange back;
    ReadBinary(back, expected.mid(4), 0x26);
    EXPECT_EQ(back.GetStartFrequency(), 1234567.89);
    EXPECT_EQ(back.GetStopFrequency(), 5.0);
    EXPECT_TRUE(back.IsStartFrequencySet());
    EXPECT_TRUE(back.IsStopFrequencySet());
}

TEST(FrequencyRangeBinary, RoundTripIsIdentical)
{
    const QByteArray frame = DefaultsAsMember.mid(8);
    FrequencyRange range;
    ReadBinary(range, frame, frame.size());
    EXPECT_EQ(BinaryOf(range, 0x08B36734, true).toHex(), DefaultsAsMember.toHex());
}

namespace {

// Entries that hold StopFrequency = 9.5 among others of no member: those are skipped
// without a report.
void ExpectOnlyStopFrequencyRead(const QByteArray& entries)
{
    LogCapture log;
    FrequencyRange range;
    range.SetLogger(log.logger);
    ReadBinary(range, entries, entries.size());
    EXPECT_FALSE(range.IsStartFrequencySet());
    EXPECT_TRUE(range.IsStopFrequencySet());
    EXPECT_EQ(range.GetStopFrequency(), 9.5);
    EXPECT_TRUE(log.lines.isEmpty());
}

} // namespace

TEST(FrequencyRangeBinary, UnknownTagIsSkipped)
{
    ExpectOnlyStopFrequencyRead(Hex("12345678 00000003 AABBCC"
                                    "7ADC955A 00000008 00000004 392E3530"));
}

// Tags whose low bits are those of StopFrequency's tag (0x7ADC955A) are still no member.
TEST(FrequencyRangeBinary, UnknownTagsLikeAMembersTagAreSkipped)
{
    ExpectOnlyStopFrequencyRead(Hex("0000001A 00000001 01"
                                    "7ADC951A 00000002 0102"
                                    "7ADC955A 00000008 00000004 392E3530"
                                    "FADC955A 00000000"));
}

TEST(FrequencyRangeBinary, LengthZeroReadsNothing)
{
    LogCapture log;
    FrequencyRange range;
    range.SetLogger(log.logger);
    ReadBinary(range, DefaultsAsMember.mid(8), 0);
    EXPECT_FALSE(range.AnyData());
    EXPECT_TRUE(log.lines.isEmpty());
}

TEST(FrequencyRangeBinary, LengthBeyondTheDataIsALengthError)
{
    LogCapture log;
    FrequencyRange range;
    range.SetLogger(log.logger);
    const QByteArray entries = DefaultsAsMember.mid(8);
    EXPECT_THROW(ReadBinary(range, entries, entries.size() + 10), BinaryParsingException);
    EXPECT_EQ(log.lines, QStringList{QStringLiteral(
                             "ERROR: FrequencyRange::SetBinary(...): Length error occurred during "
                             "processing of binary representation")});
    // What was read before the error stays stored.
    EXPECT_TRUE(range.IsStartFrequencySet());
    EXPECT_TRUE(range.IsStopFrequencySet());
}

TEST(FrequencyRangeBinary, NegativeLengthReadsNothingAndIsALengthError)
{
    LogCapture log;
    FrequencyRange range;
    range.SetLogger(log.logger);
    EXPECT_THROW(ReadBinary(range, DefaultsAsMember.mid(8), -1), BinaryParsingException);
    EXPECT_FALSE(range.AnyData());
    EXPECT_EQ(log.lines.size(), 1);
}

TEST(FrequencyRangeBinary, UnparsableTextStoresZero)
{
    const QByteArray entries = Hex("2D99DCB9 00000007 00000003 78797A");
    FrequencyRange range;
    ReadBinary(range, entries, entries.size());
    EXPECT_TRUE(range.IsStartFrequencySet());
    EXPECT_EQ(range.GetStartFrequency(), 0.0);
}
