// Storage creation, copy-on-write and the independence of copies, written through every
// kind of accessor, and switch and logger following the parent.

#include "TestSupport.h"

#include <BearingSettings.h>
#include <KVT317_Settings.h>

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <utility>
#include <vector>

using KVT317XML::BearingSettings;
using KVT317XML::FrequencyRange;
using KVT317XML::KVT317_Settings;
using KVT317XML::KVT317SettingsDetail;
using REPORTGENERATOR::IncompleteDefinitionException;
using REPORTGENERATOR::OutOfRangeException;
using Detail = KVT317SettingsDetail;

namespace {

const QDateTime Noon(QDate(2026, 11, 30), QTime(12, 0), Qt::UTC);
const QDateTime Evening(QDate(2026, 11, 30), QTime(18, 0), Qt::UTC);

KVT317_Settings TwoDetails()
{
    KVT317_Settings root;
    Detail first = FullySetDetail();
    first.SetThreshold(11);
    Detail second = FullySetDetail();
    second.SetThreshold(22);
    root.AppendKVT317SettingsDetail(first);
    root.AppendKVT317SettingsDetail(second);
    return root;
}

// ---- Where storage is created --------------------------------------------------------

TEST(StorageCreation, EnumerationSetterThatRaisesCreatesStorageFirst)
{
    Detail detail;
    detail.SetValidate(true);
    EXPECT_THROW(detail.SetAntennaPol(static_cast<Detail::AntennaPol>(7)), OutOfRangeException);
    EXPECT_TRUE(detail.IsInitialized());
    EXPECT_FALSE(detail.IsAntennaPolSet());
    EXPECT_EQ(detail.GetAntennaPol(), Detail::AntennaPol_VERT);
}

TEST(StorageCreation, TextSetterThatRaisesCreatesStorageFirst)
{
    Detail detail;
    detail.SetValidate(true);
    EXPECT_THROW(detail.SetName(QString()), OutOfRangeException);
    EXPECT_TRUE(detail.IsInitialized());
    EXPECT_FALSE(detail.IsNameSet());

    BearingSettings bearing;
    bearing.SetValidate(true);
    EXPECT_THROW(bearing.SetBearingVtPath(QString()), OutOfRangeException);
    EXPECT_TRUE(bearing.IsInitialized());
}

TEST(StorageCreation, AppendThatRaisesCreatesStorageFirst)
{
    KVT317_Settings root;
    root.SetValidate(true);
    EXPECT_THROW(root.AppendKVT317SettingsDetail(Detail()), IncompleteDefinitionException);
    EXPECT_TRUE(root.IsInitialized());
    EXPECT_EQ(static_cast<const KVT317_Settings&>(root).GetKVT317SettingsDetail().size(), 0);
    EXPECT_FALSE(root.IsKVT317SettingsDetailSet());
}

TEST(StorageCreation, EnumerationValidityTestsCreateStorage)
{
    Detail detail;
    EXPECT_TRUE(detail.IsValidAntennaPol(Detail::AntennaPol_HOR));
    EXPECT_TRUE(detail.IsInitialized());
    Detail other;
    EXPECT_FALSE(other.IsValidBandwidthDF(static_cast<Detail::BandwidthDF>(31)));
    EXPECT_TRUE(other.IsInitialized());
    BearingSettings bearing;
    EXPECT_FALSE(bearing.IsValidDFMode(static_cast<BearingSettings::DFMode>(-1)));
    EXPECT_TRUE(bearing.IsInitialized());
}

TEST(StorageCreation, ValueConversionsCreateStorageWhetherOrNotAValueMatches)
{
    Detail matching;
    EXPECT_EQ(matching.ValueToBandwidthDF(8333.0), Detail::BandwidthDF_8_333_kHz);
    EXPECT_TRUE(matching.IsInitialized());
    Detail missing;
    EXPECT_EQ(missing.ValueToBandwidthDF(8333.3), -1);
    EXPECT_TRUE(missing.IsInitialized());
    Detail realTime;
    EXPECT_EQ(realTime.ValueToReal_Time_Bandwidth(80000000.0), 9);
    EXPECT_TRUE(realTime.IsInitialized());
    Detail realTimeMissing;
    EXPECT_EQ(realTimeMissing.ValueToReal_Time_Bandwidth(3000000.0), -1);
    EXPECT_TRUE(realTimeMissing.IsInitialized());
}

TEST(StorageCreation, RootEqualityCreatesTheRightHandStorage)
{
    KVT317_Settings left;
    KVT317_Settings right;
    EXPECT_TRUE(left == right);
    EXPECT_FALSE(left.IsInitialized());
    EXPECT_FALSE(right.IsInitialized());

    left.SetKVT317SettingsDetail({});
    EXPECT_TRUE(left == right);
    EXPECT_TRUE(right.IsInitialized());

    KVT317_Settings withDetails = TwoDetails();
    KVT317_Settings empty;
    EXPECT_TRUE(withDetails != empty);
    EXPECT_TRUE(empty.IsInitialized());
}

// ---- Sharing ---------------------------------------------------------------------------

TEST(Sharing, CopiesShareStorageUntilOneWrites)
{
    const Detail source = FullySetDetail();
    const Detail copy(source);
    // Const access reads the same block: nothing was copied.
    EXPECT_EQ(&copy.GetStopTime(), &source.GetStopTime());
    EXPECT_EQ(&copy.GetFrequencyRange(), &source.GetFrequencyRange());
    Detail assigned;
    assigned = source;
    const Detail& reader = assigned;
    EXPECT_EQ(&reader.GetStopTime(), &source.GetStopTime());
    assigned.SetThreshold(99);
    EXPECT_NE(&reader.GetStopTime(), &source.GetStopTime());
    EXPECT_EQ(source.GetThreshold(), -1);
}

TEST(Sharing, ConstOperationsNeverCopy)
{
    KVT317_Settings root = TwoDetails();
    const KVT317_Settings copy(root);
    const Detail* items = copy.GetKVT317SettingsDetail().constData();
    const QDateTime* time = &copy.GetKVT317SettingsDetail()[0].GetStopTime();
    copy.Check(true);
    copy.GetXmlString();
    copy.GetBinaryRepresentationAsQByteArray();
    EXPECT_TRUE(copy == root);
    EXPECT_TRUE(copy.HasData());
    EXPECT_TRUE(copy.AnyData());
    EXPECT_EQ(copy.GetKVT317SettingsDetail().constData(), items);
    EXPECT_EQ(&copy.GetKVT317SettingsDetail()[0].GetStopTime(), time);
    EXPECT_EQ(static_cast<const KVT317_Settings&>(root).GetKVT317SettingsDetail().constData(),
              items);
}

// A copy must be unaffected by writes to its source, and the source by writes to the copy,
// whatever accessor writes.
template <class Record, class Write> void ExpectIndependent(const Record& original, Write write)
{
    {
        Record source(original);
        const Record copy(source);
        write(source);
        EXPECT_TRUE(copy == original) << "a write to the source showed in the copy";
        EXPECT_FALSE(source == original) << "the write changed nothing";
    }
    {
        const Record source(original);
        Record copy(source);
        write(copy);
        EXPECT_TRUE(source == original) << "a write to the copy showed in the source";
    }
    {
        Record source(original);
        Record assigned;
        assigned = source;
        write(source);
        EXPECT_TRUE(assigned == original) << "a write to the source showed in an assigned copy";
    }
}

TEST(Sharing, CopiesAreIndependentThroughEveryAccessor)
{
    const Detail detail = FullySetDetail();
    ExpectIndependent(detail, [](Detail& d) { d.SetThreshold(-7); });
    ExpectIndependent(detail, [](Detail& d) { d.SetAttenuationHoldValue(1.25f); });
    ExpectIndependent(detail, [](Detail& d) { d.SetName(QStringLiteral("other")); });
    ExpectIndependent(detail, [](Detail& d) { d.SetAntennaPol(Detail::AntennaPol_RIGHT); });
    ExpectIndependent(detail, [](Detail& d) { d.SetStopTime(Evening); });
    ExpectIndependent(detail, [](Detail& d) { d.GetStopTime() = Noon.addDays(3); });
    ExpectIndependent(detail, [](Detail& d) { d.GetFrequencyRange().SetStartFrequency(7.0); });
    ExpectIndependent(detail, [](Detail& d) {
        FrequencyRange range;
        range.SetStartFrequency(5.0);
        range.SetStopFrequency(6.0);
        d.SetFrequencyRange(range);
    });
    ExpectIndependent(detail, [](Detail& d) { d.ResetThreshold(); });
    ExpectIndependent(detail, [](Detail& d) { d.ResetFrequencyRange(); });
    ExpectIndependent(detail, [](Detail& d) { d.Reset(); });
    ExpectIndependent(detail, [](Detail& d) { d.ResetToDefault(); });
    ExpectIndependent(detail, [](Detail& d) {
        d.SetXmlString(QStringLiteral("<KVT317SettingsDetail index=\"42\"/>"), false);
    });

    const KVT317_Settings root = TwoDetails();
    ExpectIndependent(root,
                      [](KVT317_Settings& r) { r.GetKVT317SettingsDetail()[1].SetThreshold(5); });
    ExpectIndependent(root, [](KVT317_Settings& r) {
        r.GetKVT317SettingsDetail()[0].GetFrequencyRange().SetStopFrequency(3.0);
    });
    ExpectIndependent(root, [](KVT317_Settings& r) { r.GetKVT317SettingsDetail().removeLast(); });
    ExpectIndependent(root,
                      [](KVT317_Settings& r) { r.AppendKVT317SettingsDetail(FullySetDetail()); });
    ExpectIndependent(root, [](KVT317_Settings& r) { r.SetKVT317SettingsDetail({}); });
    ExpectIndependent(root, [](KVT317_Settings& r) { r.ResetKVT317SettingsDetail(); });
    ExpectIndependent(root, [](KVT317_Settings& r) {
        QByteArray frame = TwoDetails().GetBinaryRepresentationAsQByteArray();
        r.SetBinaryRepresentation(frame);
    });
}

TEST(Sharing, DefaultsAndInvalidMarkersAreIndependent)
{
    Detail source;
    source.SetDefaultThreshold(55);
    source.SetInvalidDF_Alt(Detail::DF_Alt_AUTO);
    const Detail copy(source);
    source.SetDefaultThreshold(66);
    source.SetInvalidDF_Alt(Detail::DF_Alt_WATSONWATT);
    EXPECT_EQ(copy.GetDefaultThreshold(), 55);
    EXPECT_EQ(copy.GetInvalidDF_Alt(), Detail::DF_Alt_AUTO);
    EXPECT_EQ(source.GetDefaultThreshold(), 66);
    Detail fresh;
    EXPECT_EQ(fresh.GetDefaultThreshold(), 20);
    EXPECT_EQ(fresh.GetInvalidDF_Alt(), -1);
}

TEST(Sharing, EveryValueFlagDefaultAndMarkerIsCopied)
{
    Detail source = FullySetDetail();
    source.ResetScanMemoryID();
    source.SetDefaultBlockAveragingTime(77);
    source.SetInvalidAntPreAmp(Detail::AntPreAmp_ON);
    source.GetFrequencyRange().SetDefaultStopFrequency(300e6);
    Detail copy(source);
    EXPECT_EQ(copy.GetXmlString(), source.GetXmlString());
    EXPECT_FALSE(copy.IsScanMemoryIDSet());
    EXPECT_TRUE(copy.IsThresholdSet());
    EXPECT_EQ(copy.GetDefaultBlockAveragingTime(), 77);
    EXPECT_EQ(copy.GetInvalidAntPreAmp(), Detail::AntPreAmp_ON);
    EXPECT_EQ(copy.GetFrequencyRange().GetDefaultStopFrequency(), 300e6);
    EXPECT_EQ(copy.GetName(), source.GetName());
}

// References handed out before a copy keep writing to their own record only.
TEST(Sharing, ReferencesObtainedBeforeACopyReachOnlyTheirRecord)
{
    Detail detail = FullySetDetail();
    QDateTime& time = detail.GetStopTime();
    FrequencyRange& range = detail.GetFrequencyRange();
    const Detail copy(detail);
    time = Evening;
    range.SetStartFrequency(7.0);
    EXPECT_EQ(detail.GetStopTime(), Evening);
    EXPECT_EQ(detail.GetFrequencyRange().GetStartFrequency(), 7.0);
    EXPECT_TRUE(copy == FullySetDetail());

    KVT317_Settings root = TwoDetails();
    QVector<Detail>& items = root.GetKVT317SettingsDetail();
    Detail& first = items[0];
    KVT317_Settings assigned;
    assigned = root;
    first.SetThreshold(1);
    items.removeLast();
    EXPECT_TRUE(assigned == TwoDetails());
    EXPECT_EQ(root.GetKVT317SettingsDetail().size(), 1);
    EXPECT_EQ(root.GetKVT317SettingsDetail()[0].GetThreshold(), 1);
}

// After the items were handed out, a copy reads the source's items until a write would
// reach it: then the copy takes items of its own and the source keeps its items in place.
TEST(Sharing, CopiesAfterItemsWereHandedOutReadTheSourcesItemsUntilAWrite)
{
    KVT317_Settings root = TwoDetails();
    QVector<Detail>& items = root.GetKVT317SettingsDetail();
    Detail& first = items[0];
    const KVT317_Settings copy(root);
    const KVT317_Settings second(copy);
    EXPECT_EQ(&copy.GetKVT317SettingsDetail()[0], &first);
    EXPECT_EQ(&second.GetKVT317SettingsDetail()[1], &std::as_const(items)[1]);
    first.SetThreshold(3);
    EXPECT_EQ(&std::as_const(items)[0], &first);
    EXPECT_EQ(&root.GetKVT317SettingsDetail()[0], &first);
    EXPECT_NE(&copy.GetKVT317SettingsDetail()[0], &first);
    EXPECT_EQ(&second.GetKVT317SettingsDetail()[0], &copy.GetKVT317SettingsDetail()[0]);
    EXPECT_EQ(copy.GetKVT317SettingsDetail()[0].GetThreshold(), 11);
    EXPECT_EQ(second.GetKVT317SettingsDetail()[0].GetThreshold(), 11);
    EXPECT_EQ(root.GetKVT317SettingsDetail()[0].GetThreshold(), 3);
    EXPECT_TRUE(copy == TwoDetails());
    EXPECT_TRUE(second == TwoDetails());
}

TEST(Sharing, TheSourcesListGetterKeepsItsItemsInPlaceAfterACopy)
{
    KVT317_Settings root = TwoDetails();
    Detail* first = &root.GetKVT317SettingsDetail()[0];
    KVT317_Settings copy(root);
    root.GetKVT317SettingsDetail()[1].SetThreshold(4);
    EXPECT_EQ(&root.GetKVT317SettingsDetail()[0], first);
    EXPECT_EQ(root.GetKVT317SettingsDetail()[1].GetThreshold(), 4);
    EXPECT_TRUE(copy == TwoDetails());
    // A copy written first takes items of its own; the source's stay where they are.
    KVT317_Settings other(root);
    other.GetKVT317SettingsDetail()[0].SetThreshold(5);
    EXPECT_EQ(&root.GetKVT317SettingsDetail()[0], first);
    EXPECT_EQ(root.GetKVT317SettingsDetail()[0].GetThreshold(), 11);
    EXPECT_EQ(other.GetKVT317SettingsDetail()[0].GetThreshold(), 5);
    EXPECT_EQ(other.GetKVT317SettingsDetail()[1].GetThreshold(), 4);
}

// A non-const operation on a list reference held across a copy detaches the list, as Qt's
// containers do; item references taken before it then reach neither the source nor the copy.
TEST(Sharing, AListReferenceUsedAfterACopyDetachesAndLeavesTheCopyAlone)
{
    KVT317_Settings root = TwoDetails();
    QVector<Detail>& items = root.GetKVT317SettingsDetail();
    Detail& first = items[0];
    const KVT317_Settings copy(root);
    items[1].SetThreshold(5);
    first.SetThreshold(1);
    first.GetFrequencyRange().SetStartFrequency(2.0);
    EXPECT_TRUE(copy == TwoDetails());
    EXPECT_EQ(root.GetKVT317SettingsDetail()[1].GetThreshold(), 5);
    EXPECT_EQ(copy.GetKVT317SettingsDetail()[0].GetThreshold(), 11);
    EXPECT_EQ(copy.GetKVT317SettingsDetail()[1].GetThreshold(), 22);
}

TEST(Sharing, ReferencesIntoAnItemObtainedBeforeACopyReachOnlyTheirRecord)
{
    KVT317_Settings root = TwoDetails();
    Detail& first = root.GetKVT317SettingsDetail()[0];
    FrequencyRange& range = first.GetFrequencyRange();
    QDateTime& time = first.GetStopTime();
    const KVT317_Settings copy(root);
    range.SetStartFrequency(7.0);
    time = Evening;
    EXPECT_TRUE(copy == TwoDetails());
    EXPECT_EQ(root.GetKVT317SettingsDetail()[0].GetFrequencyRange().GetStartFrequency(), 7.0);
    EXPECT_EQ(root.GetKVT317SettingsDetail()[0].GetStopTime(), Evening);
}

TEST(Sharing, AnItemHandedOutThroughTheMemberTableIsWrittenAfterACopyWithoutReachingIt)
{
    int threshold = -1;
    for (const KVT317XML::MemberDescription& member : Detail::Description().members)
        if (member.name == QLatin1String("Threshold"))
            threshold = member.bit;
    ASSERT_GE(threshold, 0);
    KVT317_Settings root = TwoDetails();
    KVT317XML::Record* item = root.MutableListItem(0, 1);
    ASSERT_NE(item, nullptr);
    const KVT317_Settings copy(root);
    EXPECT_EQ(&copy.GetKVT317SettingsDetail()[1], item);
    item->SetMemberText(threshold, QStringLiteral("5"));
    EXPECT_EQ(root.MutableListItem(0, 1), item);
    EXPECT_EQ(root.GetKVT317SettingsDetail()[1].GetThreshold(), 5);
    EXPECT_EQ(copy.GetKVT317SettingsDetail()[1].GetThreshold(), 22);
    EXPECT_TRUE(copy == TwoDetails());
}

TEST(Sharing, ACopyOutlivesTheSourceWhoseItemsItReads)
{
    auto root = std::make_unique<KVT317_Settings>(TwoDetails());
    root->GetKVT317SettingsDetail()[0].SetName(QStringLiteral("kept"));
    KVT317_Settings copy(*root);
    root.reset();
    EXPECT_EQ(copy.GetKVT317SettingsDetail()[0].GetName(), QStringLiteral("kept"));
    EXPECT_EQ(copy.GetKVT317SettingsDetail()[1].GetThreshold(), 22);
    copy.GetKVT317SettingsDetail()[1].SetThreshold(23);
    EXPECT_EQ(copy.GetKVT317SettingsDetail()[1].GetThreshold(), 23);
}

TEST(Sharing, AppendsAndRemovalsThroughTheSourcesListAfterACopy)
{
    KVT317_Settings root = TwoDetails();
    QVector<Detail>& items = root.GetKVT317SettingsDetail();
    const KVT317_Settings copy(root);
    items.append(FullySetDetail());
    items.remove(0);
    EXPECT_EQ(root.GetKVT317SettingsDetail().size(), 2);
    EXPECT_EQ(root.GetKVT317SettingsDetail()[0].GetThreshold(), 22);
    EXPECT_TRUE(copy == TwoDetails());
    root.AppendKVT317SettingsDetail(FullySetDetail());
    root.ResetKVT317SettingsDetail();
    EXPECT_TRUE(copy == TwoDetails());
    EXPECT_EQ(copy.GetKVT317SettingsDetail().size(), 2);
}

// A child without storage is read as a fresh record and never written by a const
// operation: the block it lives in may be shared with other records.
TEST(Sharing, ConstOperationsLeaveChildrenWithoutStorageAsTheyAre)
{
    const Detail first;
    first.GetAntennaPol();
    EXPECT_TRUE(first.IsInitialized());
    EXPECT_FALSE(first.GetFrequencyRange().IsInitialized());
    EXPECT_EQ(first.GetFrequencyRange().GetStartFrequency(), 88000000.0);
    first.Check(true);
    first.GetXmlString();
    first.GetBinaryRepresentationAsQByteArray();
    EXPECT_FALSE(first.GetFrequencyRange().IsInitialized());
    EXPECT_FALSE(first.GetFrequencyRange().HasData());
    EXPECT_FALSE(KVT317_Settings().GetDefaultKVT317SettingsDetail().IsInitialized());

    Detail second;
    second.GetFrequencyRange().SetStopFrequency(5.0);
    EXPECT_TRUE(second.GetFrequencyRange().IsInitialized());
    EXPECT_FALSE(first.GetFrequencyRange().IsInitialized());
    EXPECT_FALSE(Detail().GetFrequencyRange().IsInitialized());
    EXPECT_EQ(Detail().GetFrequencyRange().GetStopFrequency(), 240000000.0);
}

TEST(Sharing, ReferencesSurviveALoadThatFails)
{
    Detail detail = FullySetDetail();
    QDateTime& time = detail.GetStopTime();
    FrequencyRange& range = detail.GetFrequencyRange();
    EXPECT_FALSE(
        detail.SetXmlString(QStringLiteral("<KVT317SettingsDetail><Threshold>5</Thr"), false));
    EXPECT_TRUE(detail == FullySetDetail());
    time = Evening;
    range.SetStopFrequency(9.0);
    EXPECT_EQ(detail.GetStopTime(), Evening);
    EXPECT_EQ(detail.GetFrequencyRange().GetStopFrequency(), 9.0);
    EXPECT_EQ(detail.GetThreshold(), -1);
}

TEST(Sharing, DistinctCopiesOnDistinctThreads)
{
    const KVT317_Settings source = TwoDetails();
    std::vector<std::thread> threads;
    std::vector<QString> documents(4);
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&source, &documents, t]() {
            for (int i = 0; i < 50; ++i) {
                KVT317_Settings copy(source);
                copy.GetKVT317SettingsDetail()[t % 2].SetThreshold(t);
                copy.Check(true);
                documents[t] = copy.GetXmlString();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(source == TwoDetails());
    for (int t = 0; t < 4; ++t)
        EXPECT_TRUE(documents[t].contains(QStringLiteral("<Threshold>%1</Threshold>").arg(t)));
}

// ---- Switch and logger ----------------------------------------------------------------

TEST(Sharing, CopiesTakeTheSwitchButNotTheLoggerDownToTheirChildren)
{
    LogCapture capture;
    KVT317_Settings source = TwoDetails();
    source.SetLogger(capture.logger);
    source.SetValidate(true);
    const KVT317_Settings copy(source);
    EXPECT_TRUE(copy.GetValidate());
    EXPECT_EQ(copy.GetLogger(), REPORTGENERATOR::Logger::Default());
    for (const Detail& item : copy.GetKVT317SettingsDetail()) {
        EXPECT_TRUE(item.GetValidate());
        EXPECT_EQ(item.GetLogger(), REPORTGENERATOR::Logger::Default());
        EXPECT_EQ(item.GetFrequencyRange().GetLogger(), REPORTGENERATOR::Logger::Default());
    }
    for (const Detail& item : source.GetKVT317SettingsDetail()) {
        EXPECT_EQ(item.GetLogger(), capture.logger);
        EXPECT_EQ(item.GetFrequencyRange().GetLogger(), capture.logger);
    }
}

TEST(Sharing, ItemsAddedThroughTheListFollowOnTheNextEntryPoint)
{
    LogCapture capture;
    KVT317_Settings root = TwoDetails();
    root.SetLogger(capture.logger);
    root.SetValidate(true);
    Detail incomplete;
    root.GetKVT317SettingsDetail().append(incomplete);
    EXPECT_FALSE(root.GetKVT317SettingsDetail().last().GetValidate());
    root.Check(true);
    const Detail& added = root.GetKVT317SettingsDetail().last();
    EXPECT_TRUE(added.GetValidate());
    EXPECT_EQ(added.GetLogger(), capture.logger);
    EXPECT_EQ(added.GetFrequencyRange().GetLogger(), capture.logger);
    ASSERT_FALSE(capture.lines.isEmpty());
    EXPECT_EQ(capture.lines.first(),
              QStringLiteral("ERROR: KVT317SettingsDetail: Please set AntennaPol properly."));
}

TEST(Sharing, LoadsWithManyDetailsHandEachItemItsSettingsOnce)
{
    LogCapture capture;
    KVT317_Settings source;
    QVector<Detail> details(2000, FullySetDetail());
    source.SetKVT317SettingsDetail(details);
    const QString xml = source.GetXmlString();
    KVT317_Settings loaded;
    loaded.SetLogger(capture.logger);
    ASSERT_TRUE(loaded.SetXmlString(xml, false));
    EXPECT_TRUE(loaded == source);
    for (const Detail& item : loaded.GetKVT317SettingsDetail())
        ASSERT_EQ(item.GetLogger(), capture.logger);
    EXPECT_TRUE(capture.lines.isEmpty());
}

} // namespace

namespace {

// ---- Copies of documents with an application logger ------------------------------------

TEST(Sharing, CopyOfADocumentWithALoggerSharesItsStorage)
{
    LogCapture capture;
    KVT317_Settings source;
    source.SetLogger(capture.logger);
    ASSERT_TRUE(source.SetXmlString(TwoDetails().GetXmlString(), false));
    const KVT317_Settings copy(source);
    // Operations on the copy report to the copy's logger and copy nothing.
    copy.Check(true);
    copy.GetXmlString();
    EXPECT_EQ(&copy.GetKVT317SettingsDetail().at(0).GetStopTime(),
              &copy.GetKVT317SettingsDetail().at(0).GetStopTime());
    EXPECT_TRUE(capture.lines.isEmpty());
    // An edit of the copy leaves the source as it was.
    KVT317_Settings edited(source);
    edited.GetKVT317SettingsDetail()[1].ResetThreshold();
    edited.SetLogger(capture.logger);
    edited.Check(true);
    EXPECT_EQ(capture.lines, QStringList{QStringLiteral(
                                 "ERROR: KVT317SettingsDetail: Please set Threshold properly.")});
    EXPECT_EQ(source.GetKVT317SettingsDetail().at(1).GetThreshold(), 22);
    EXPECT_TRUE(source.GetKVT317SettingsDetail().at(1).IsThresholdSet());
    for (const Detail& item : source.GetKVT317SettingsDetail()) {
        EXPECT_EQ(item.GetLogger(), capture.logger);
        EXPECT_EQ(item.GetFrequencyRange().GetLogger(), capture.logger);
    }
}

TEST(Sharing, HeldRecordsOfACopyReportToTheCopysLogger)
{
    LogCapture sourceLog;
    LogCapture copyLog;
    KVT317_Settings source = TwoDetails();
    source.GetKVT317SettingsDetail()[0].ResetThreshold();
    source.SetLogger(sourceLog.logger);
    const KVT317_Settings copy(source);
    copy.SetLogger(copyLog.logger);
    copy.Check(true);
    EXPECT_TRUE(sourceLog.lines.isEmpty());
    EXPECT_EQ(copyLog.lines, QStringList{QStringLiteral(
                                 "ERROR: KVT317SettingsDetail: Please set Threshold properly.")});
    source.Check(true);
    EXPECT_EQ(sourceLog.lines, copyLog.lines);
    // The copy's details were told its logger; the source's keep the source's.
    EXPECT_EQ(copy.GetKVT317SettingsDetail().at(0).GetLogger(), copyLog.logger);
    EXPECT_EQ(source.GetKVT317SettingsDetail().at(0).GetLogger(), sourceLog.logger);
}

} // namespace
