// Lists and child records edited by description: items inserted, removed and moved under
// the append rule, and children and items edited in place without reaching copies.

#include "TestSupport.h"

#include <FrequencyRange.h>
#include <KVT317_Settings.h>
#include <RGException.h>

#include <gtest/gtest.h>

using namespace KVT317XML;

namespace {

QStringList Names(const KVT317_Settings& settings)
{
    QStringList names;
    for (const KVT317SettingsDetail& detail : settings.GetKVT317SettingsDetail())
        names.append(KVT317SettingsDetail(detail).GetName());
    return names;
}

} // namespace

TEST(MembersByDescription, ChildrenAndItemsAreEditedInPlaceWithoutReachingCopies)
{
    const int rangeBit = Bit(KVT317SettingsDetail::Description(), "FrequencyRange");
    KVT317SettingsDetail detail;
    Record* range = detail.MutableChild(rangeBit);
    ASSERT_NE(range, nullptr);
    EXPECT_TRUE(detail.IsFrequencyRangeSet());
    const KVT317SettingsDetail copy(detail);
    range->SetMemberValue(0, QVariant(1.0));
    EXPECT_EQ(detail.GetFrequencyRange().GetStartFrequency(), 1.0);
    EXPECT_EQ(copy.GetFrequencyRange().GetStartFrequency(), 88000000.0);
    EXPECT_EQ(detail.MutableChild(Bit(KVT317SettingsDetail::Description(), "Threshold")), nullptr);

    KVT317_Settings settings;
    settings.AppendKVT317SettingsDetail(CompleteDetail(QStringLiteral("a")));
    Record* item = settings.MutableListItem(0, 0);
    ASSERT_NE(item, nullptr);
    const KVT317_Settings settingsCopy(settings);
    item->SetMemberText(Bit(KVT317SettingsDetail::Description(), "Name"), QStringLiteral("b"));
    EXPECT_EQ(Names(settings), QStringList({"b"}));
    EXPECT_EQ(Names(settingsCopy), QStringList({"a"}));
    EXPECT_EQ(settings.MutableListItem(0, 1), nullptr);
    EXPECT_EQ(settings.MutableListItem(0, -1), nullptr);
}

TEST(MembersByDescription, ListItemsAreInsertedRemovedAndMoved)
{
    KVT317_Settings settings;
    const std::unique_ptr<Record> item = settings.NewMemberRecord(0);
    ASSERT_NE(dynamic_cast<KVT317SettingsDetail*>(item.get()), nullptr);
    EXPECT_TRUE(settings.AppendListItem(0, CompleteDetail(QStringLiteral("b"))));
    EXPECT_TRUE(settings.InsertListItem(0, 0, CompleteDetail(QStringLiteral("a"))));
    EXPECT_TRUE(settings.InsertListItem(0, 2, CompleteDetail(QStringLiteral("d"))));
    EXPECT_TRUE(settings.InsertListItem(0, 2, CompleteDetail(QStringLiteral("c"))));
    EXPECT_EQ(Names(settings), QStringList({"a", "b", "c", "d"}));
    EXPECT_FALSE(settings.InsertListItem(0, 5, CompleteDetail(QStringLiteral("x"))));
    EXPECT_FALSE(settings.InsertListItem(0, -1, CompleteDetail(QStringLiteral("x"))));
    EXPECT_FALSE(settings.InsertListItem(0, 0, FrequencyRange()));
    EXPECT_TRUE(settings.MoveListItem(0, 0, 3));
    EXPECT_EQ(Names(settings), QStringList({"b", "c", "d", "a"}));
    EXPECT_TRUE(settings.MoveListItem(0, 2, 0));
    EXPECT_EQ(Names(settings), QStringList({"d", "b", "c", "a"}));
    EXPECT_FALSE(settings.MoveListItem(0, 0, 4));
    EXPECT_TRUE(settings.RemoveListItem(0, 1));
    EXPECT_EQ(Names(settings), QStringList({"d", "c", "a"}));
    EXPECT_FALSE(settings.RemoveListItem(0, 3));
    EXPECT_EQ(Names(settings), QStringList({"d", "c", "a"}));
    EXPECT_EQ(FrequencyRange().NewMemberRecord(0), nullptr);
}

TEST(MembersByDescription, InsertingFollowsTheAppendRule)
{
    const QString message = QStringLiteral("KVT317_Settings: Tried to append not completely "
                                           "defined or invalid item KVT317SettingsDetail.");
    KVT317_Settings settings;
    LogCapture log;
    settings.SetLogger(log.logger);
    EXPECT_TRUE(settings.InsertListItem(0, 0, KVT317SettingsDetail()));
    EXPECT_EQ(settings.ListSize(0), 1);
    EXPECT_EQ(log.lines, QStringList({"WARNING: " + message}));

    settings.SetValidate(true);
    try {
        settings.InsertListItem(0, 0, KVT317SettingsDetail());
        FAIL() << "no exception";
    } catch (const REPORTGENERATOR::IncompleteDefinitionException& exception) {
        EXPECT_EQ(exception.GetMessage(), message);
    }
    EXPECT_EQ(settings.ListSize(0), 1);
    EXPECT_EQ(log.lines, QStringList({"WARNING: " + message, "ERROR: " + message}));
}

TEST(MembersByDescription, MutableChildMarksSetAndNeverReachesACopy)
{
    const int rangeBit = Bit(KVT317SettingsDetail::Description(), "FrequencyRange");
    KVT317SettingsDetail detail;
    Record* range = detail.MutableChild(rangeBit);
    ASSERT_NE(range, nullptr);
    EXPECT_TRUE(dynamic_cast<FrequencyRange*>(range) != nullptr);
    KVT317SettingsDetail copy;
    copy = detail;
    range->SetMemberValue(1, QVariant(2.0));
    EXPECT_EQ(detail.GetFrequencyRange().GetStopFrequency(), 2.0);
    EXPECT_EQ(copy.GetFrequencyRange().GetStopFrequency(), 240000000.0);
    EXPECT_FALSE(copy.GetFrequencyRange().IsStopFrequencySet());

    const KVT317SettingsDetail before(detail);
    range = detail.MutableChild(rangeBit);
    const KVT317SettingsDetail after(detail);
    range->ResetMember(1);
    EXPECT_EQ(before.GetFrequencyRange().GetStopFrequency(), 2.0);
    EXPECT_EQ(after.GetFrequencyRange().GetStopFrequency(), 2.0);
    EXPECT_EQ(detail.GetFrequencyRange().GetStopFrequency(), 240000000.0);

    const std::unique_ptr<Record> made = detail.NewMemberRecord(rangeBit);
    EXPECT_TRUE(dynamic_cast<FrequencyRange*>(made.get()) != nullptr);
    EXPECT_EQ(KVT317_Settings().MutableChild(0), nullptr);
    EXPECT_EQ(detail.MutableListItem(rangeBit, 0), nullptr);
}

TEST(MembersByDescription, MutableListItemMarksSetAndNeverReachesACopy)
{
    const int nameBit = Bit(KVT317SettingsDetail::Description(), "Name");
    KVT317_Settings settings;
    settings.AppendKVT317SettingsDetail(CompleteDetail(QStringLiteral("a")));
    settings.AppendKVT317SettingsDetail(CompleteDetail(QStringLiteral("b")));
    settings.ResetMember(0);
    EXPECT_EQ(settings.MutableListItem(0, 0), nullptr);
    EXPECT_FALSE(settings.IsMemberSet(0));

    settings.AppendKVT317SettingsDetail(CompleteDetail(QStringLiteral("a")));
    settings.AppendKVT317SettingsDetail(CompleteDetail(QStringLiteral("b")));
    const KVT317_Settings shared(settings);
    Record* second = settings.MutableListItem(0, 1);
    ASSERT_NE(second, nullptr);
    KVT317_Settings copy;
    copy = settings;
    second->SetMemberText(nameBit, QStringLiteral("c"));
    EXPECT_EQ(Names(settings), QStringList({"a", "c"}));
    EXPECT_EQ(Names(copy), QStringList({"a", "b"}));
    EXPECT_EQ(Names(shared), QStringList({"a", "b"}));
    EXPECT_TRUE(settings.IsMemberSet(0));
    EXPECT_EQ(settings.MutableListItem(0, 2), nullptr);
}

TEST(MembersByDescription, RemovingAndMovingAtTheEndsAndOutside)
{
    KVT317_Settings settings;
    for (const char* name : {"a", "b", "c"})
        EXPECT_TRUE(settings.AppendListItem(0, CompleteDetail(QString::fromLatin1(name))));
    const KVT317_Settings copy(settings);
    EXPECT_FALSE(settings.MoveListItem(0, -1, 0));
    EXPECT_FALSE(settings.MoveListItem(0, 3, 0));
    EXPECT_FALSE(settings.RemoveListItem(0, -1));
    EXPECT_FALSE(FrequencyRange().RemoveListItem(0, 0));
    EXPECT_FALSE(FrequencyRange().MoveListItem(0, 0, 0));
    EXPECT_FALSE(FrequencyRange().AppendListItem(0, FrequencyRange()));
    EXPECT_EQ(Names(settings), QStringList({"a", "b", "c"}));
    EXPECT_TRUE(settings.MoveListItem(0, 1, 1));
    EXPECT_EQ(Names(settings), QStringList({"a", "b", "c"}));
    EXPECT_TRUE(settings.MoveListItem(0, 2, 1));
    EXPECT_EQ(Names(settings), QStringList({"a", "c", "b"}));
    EXPECT_TRUE(settings.MoveListItem(0, 0, 1));
    EXPECT_EQ(Names(settings), QStringList({"c", "a", "b"}));
    EXPECT_TRUE(settings.RemoveListItem(0, 2));
    EXPECT_TRUE(settings.RemoveListItem(0, 0));
    EXPECT_EQ(Names(settings), QStringList({"a"}));
    EXPECT_TRUE(settings.RemoveListItem(0, 0));
    EXPECT_EQ(settings.ListSize(0), 0);
    EXPECT_TRUE(settings.IsMemberSet(0));
    EXPECT_EQ(Names(copy), QStringList({"a", "b", "c"}));
}

TEST(MembersByDescription, InsertingAnIncompleteItemInTheMiddle)
{
    const QString message = QStringLiteral("KVT317_Settings: Tried to append not completely "
                                           "defined or invalid item KVT317SettingsDetail.");
    KVT317_Settings settings;
    settings.AppendListItem(0, CompleteDetail(QStringLiteral("a")));
    settings.AppendListItem(0, CompleteDetail(QStringLiteral("c")));
    KVT317SettingsDetail incomplete;
    incomplete.SetName(QStringLiteral("b"));
    EXPECT_EQ(Logged(settings,
                     [&](KVT317_Settings& s) { EXPECT_TRUE(s.InsertListItem(0, 1, incomplete)); }),
              QStringList({"WARNING: " + message}));
    EXPECT_EQ(Names(settings), QStringList({"a", "b", "c"}));

    KVT317_Settings typed;
    EXPECT_EQ(Raised(typed, [&](KVT317_Settings& s) { s.AppendKVT317SettingsDetail(incomplete); }),
              "IncompleteDefinition: " + message);
    EXPECT_EQ(Raised(settings,
                     [&](KVT317_Settings& s) { EXPECT_FALSE(s.InsertListItem(0, 1, incomplete)); }),
              "IncompleteDefinition: " + message);
    EXPECT_EQ(Raised(settings,
                     [&](KVT317_Settings& s) { EXPECT_FALSE(s.AppendListItem(0, incomplete)); }),
              "IncompleteDefinition: " + message);
    EXPECT_EQ(typed.ListSize(0), 0);
    EXPECT_EQ(Names(settings), QStringList({"a", "b", "c"}));
    EXPECT_EQ(Raised(settings,
                     [&](KVT317_Settings& s) {
                         EXPECT_TRUE(s.InsertListItem(0, 3, CompleteDetail(QStringLiteral("d"))));
                     }),
              QString());
    EXPECT_EQ(Names(settings), QStringList({"a", "b", "c", "d"}));
}
