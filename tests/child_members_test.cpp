// The two members that hold records, against what they are: the detail's FrequencyRange
// (a child record, written only when set) and the root's list of details. Their typed
// accessors, their place in the member table, their XML and their binary entry.

#include "TestSupport.h"

#include <KVT317_Settings.h>
#include <RGException.h>
#include <RecordDescription.h>

#include <gtest/gtest.h>

#include <utility>

using namespace KVT317XML;
using REPORTGENERATOR::IncompleteDefinitionException;
using Detail = KVT317SettingsDetail;

namespace {

FrequencyRange Range(double start)
{
    FrequencyRange range;
    range.SetStartFrequency(start);
    return range;
}

} // namespace

TEST(ChildMember, FrequencyRangeAccessors)
{
    Detail detail;
    EXPECT_FALSE(detail.IsFrequencyRangeSet());
    EXPECT_TRUE(std::as_const(detail).GetFrequencyRange() == FrequencyRange());
    EXPECT_FALSE(detail.IsFrequencyRangeSet());
    EXPECT_EQ(detail.GetDefaultFrequencyRange().GetStartFrequency(), 88000000.0);
    EXPECT_FALSE(detail.GetDefaultFrequencyRange().AnyData());
    EXPECT_TRUE(detail.IsValidFrequencyRange(FrequencyRange()));
    EXPECT_TRUE(detail.IsValidFrequencyRange(Range(-1.0)));

    detail.SetFrequencyRange(Range(1.0));
    EXPECT_TRUE(detail.IsFrequencyRangeSet());
    EXPECT_TRUE(std::as_const(detail).GetFrequencyRange() == Range(1.0));
    detail.ResetFrequencyRange();
    EXPECT_FALSE(detail.IsFrequencyRangeSet());
    EXPECT_FALSE(std::as_const(detail).GetFrequencyRange().AnyData());

    // A default of its own is what a reset puts back; the member stays unset.
    detail.SetDefaultFrequencyRange(Range(2.0));
    EXPECT_TRUE(detail.GetDefaultFrequencyRange() == Range(2.0));
    EXPECT_FALSE(detail.IsFrequencyRangeSet());
    detail.ResetFrequencyRange();
    EXPECT_TRUE(std::as_const(detail).GetFrequencyRange() == Range(2.0));
    EXPECT_FALSE(detail.IsFrequencyRangeSet());

    // ResetToDefault gives the child its own defaults, set inside the child only.
    detail.ResetToDefault();
    EXPECT_FALSE(detail.IsFrequencyRangeSet());
    const FrequencyRange& held = std::as_const(detail).GetFrequencyRange();
    EXPECT_TRUE(held.HasData());
    EXPECT_EQ(held.GetStartFrequency(), 88000000.0);
    EXPECT_EQ(held.GetStopFrequency(), 240000000.0);

    // The non-const getter marks the member set, used or not.
    Detail edited;
    edited.GetFrequencyRange();
    EXPECT_TRUE(edited.IsFrequencyRangeSet());
}

TEST(ChildMember, FrequencyRangeByDescription)
{
    const MemberDescription& member = Detail::Description().members.at(6);
    EXPECT_EQ(member.name, QStringLiteral("FrequencyRange"));
    EXPECT_EQ(member.tag, 0x08B36734u);
    EXPECT_EQ(member.kind, MemberKind::Record);
    EXPECT_TRUE(member.required);
    EXPECT_FALSE(member.attribute);
    EXPECT_EQ(member.nested(), &FrequencyRange::Description());
    Detail detail;
    EXPECT_FALSE(detail.MemberValue(6).isValid());
    EXPECT_FALSE(detail.SetMemberValue(6, QVariant(1.0)));
    EXPECT_TRUE(detail.MemberText(6).isEmpty());
    Record* child = detail.MutableChild(6);
    ASSERT_NE(child, nullptr);
    EXPECT_TRUE(detail.IsFrequencyRangeSet());
    child->SetMemberValue(0, QVariant(5.0));
    EXPECT_EQ(detail.GetFrequencyRange().GetStartFrequency(), 5.0);
    EXPECT_EQ(detail.Child(6), &std::as_const(detail).GetFrequencyRange());
}

TEST(ChildMember, FrequencyRangeXmlAndBinary)
{
    Detail detail;
    LogCapture log;
    detail.SetLogger(log.logger);
    EXPECT_FALSE(XmlOf(detail).contains(QStringLiteral("FrequencyRange")));
    EXPECT_EQ(log.lines,
              QStringList(QStringLiteral("WARNING: Parameters for FrequencyRange are "
                                         "not set properly in 'KVT317SettingsDetail'.")));
    EXPECT_FALSE(BinaryOf(detail, 0, false).contains(Hex("08B36734")));

    log.lines.clear();
    FrequencyRange range;
    range.ResetToDefault();
    detail.SetFrequencyRange(range);
    EXPECT_TRUE(XmlOf(detail).contains(
        QStringLiteral("<DF_Alt>CORRELATION</DF_Alt><FrequencyRange><StartFrequency>88000000.00"
                       "</StartFrequency><StopFrequency>240000000.00</StopFrequency>"
                       "</FrequencyRange><Real_Time_Bandwidth>")));
    EXPECT_EQ(log.lines, QStringList());
    EXPECT_TRUE(BinaryOf(detail, 0, false)
                    .contains(Hex("5CC6C908 0000000F 0000000B 434F5252454C4154494F4E"
                                  "08B36734 0000002F"
                                  "2D99DCB9 0000000F 0000000B 38383030303030302E3030"
                                  "7ADC955A 00000010 0000000C 3234303030303030302E3030"
                                  "45A23BD6")));

    Detail read;
    ReadXml(read, QStringLiteral("<KVT317SettingsDetail><FrequencyRange><StopFrequency>7"
                                 "</StopFrequency></FrequencyRange></KVT317SettingsDetail>"));
    EXPECT_TRUE(read.IsFrequencyRangeSet());
    EXPECT_FALSE(std::as_const(read).GetFrequencyRange().IsStartFrequencySet());
    EXPECT_EQ(std::as_const(read).GetFrequencyRange().GetStopFrequency(), 7.0);
}

TEST(ListMember, DetailListAccessors)
{
    KVT317_Settings root;
    EXPECT_TRUE(std::as_const(root).GetKVT317SettingsDetail().isEmpty());
    EXPECT_FALSE(root.IsKVT317SettingsDetailSet());
    EXPECT_TRUE(root.IsValidKVT317SettingsDetail(QVector<Detail>{Detail()}));
    EXPECT_TRUE(root.IsValidKVT317SettingsDetail(Detail()));
    EXPECT_TRUE(root.GetDefaultKVT317SettingsDetail() == Detail());
    root.SetDefaultKVT317SettingsDetail(FullySetDetail());
    EXPECT_TRUE(root.GetDefaultKVT317SettingsDetail() == FullySetDetail());
    EXPECT_FALSE(root.IsKVT317SettingsDetailSet());

    root.SetKVT317SettingsDetail({FullySetDetail(), DefaultDetail()});
    EXPECT_TRUE(root.IsKVT317SettingsDetailSet());
    ASSERT_EQ(std::as_const(root).GetKVT317SettingsDetail().size(), 2);
    EXPECT_TRUE(std::as_const(root).GetKVT317SettingsDetail().at(1) == DefaultDetail());
    root.ResetKVT317SettingsDetail();
    EXPECT_FALSE(root.IsKVT317SettingsDetailSet());
    EXPECT_TRUE(std::as_const(root).GetKVT317SettingsDetail().isEmpty());
    EXPECT_TRUE(root.GetDefaultKVT317SettingsDetail() == FullySetDetail());

    LogCapture log;
    root.SetLogger(log.logger);
    root.AppendKVT317SettingsDetail(Detail());
    EXPECT_EQ(std::as_const(root).GetKVT317SettingsDetail().size(), 1);
    EXPECT_EQ(log.lines, QStringList(QStringLiteral(
                             "WARNING: KVT317_Settings: Tried to append not completely defined "
                             "or invalid item KVT317SettingsDetail.")));
    root.SetValidate(true);
    EXPECT_THROW(root.AppendKVT317SettingsDetail(Detail()), IncompleteDefinitionException);
    EXPECT_EQ(std::as_const(root).GetKVT317SettingsDetail().size(), 1);
    root.AppendKVT317SettingsDetail(FullySetDetail());
    EXPECT_EQ(std::as_const(root).GetKVT317SettingsDetail().size(), 2);
}

TEST(ListMember, DetailListByDescriptionXmlAndBinary)
{
    const MemberDescription& member = KVT317_Settings::Description().members.at(0);
    EXPECT_EQ(member.name, QStringLiteral("KVT317SettingsDetail"));
    EXPECT_EQ(member.tag, 0x09751B80u);
    EXPECT_EQ(member.kind, MemberKind::RecordList);
    EXPECT_TRUE(member.required);
    EXPECT_EQ(member.nested(), &Detail::Description());

    KVT317_Settings root;
    root.AppendKVT317SettingsDetail(FullySetDetail());
    EXPECT_EQ(root.ListSize(0), 1);
    EXPECT_TRUE(root.ListItem(0, 0)->Equals(FullySetDetail()));
    EXPECT_EQ(XmlOf(root), QStringLiteral("<KVT317_Settings>") + FullySetDetailXml +
                               QStringLiteral("</KVT317_Settings>"));
    EXPECT_EQ(
        BinaryOf(root, 0x5DF5F465, true).toHex(),
        (Hex("5DF5F465 0000014A 09751B80 00000142 00000001") + Hex(FullySetDetailHex)).toHex());
    // An empty list that is set still carries its count.
    KVT317_Settings empty;
    empty.SetKVT317SettingsDetail({});
    EXPECT_EQ(BinaryOf(empty, 0, false).toHex(),
              Hex("0000000C 09751B80 00000004 00000000").toHex());
}
