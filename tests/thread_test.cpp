// Threads: const operations on one loaded document are safe from several threads at once,
// as they are for Qt's implicitly shared value classes, and copies taken from it are
// independent. Run under ThreadSanitizer in CI (-DKVT317_SANITIZE=thread). Every thread
// reports to one shared Logger.

#include "ProbeRecord.h"
#include "TestSupport.h"

#include <BearingSettings.h>
#include <KVT317_Settings.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <utility>
#include <vector>

using KVT317XML::BearingSettings;
using KVT317XML::KVT317_Settings;
using KVT317XML::KVT317SettingsDetail;
using REPORTGENERATOR::Logger;
using REPORTGENERATOR::LogLevel;

namespace {

constexpr int Threads = 8;
constexpr int Rounds = 40;

// Counts the reports of each text; the sink runs under the logger's own lock.
struct SharedLog {
    QMap<QString, int> counts;
    std::shared_ptr<Logger> logger =
        std::make_shared<Logger>([this](LogLevel level, const QString& message) {
            ++counts[REPORTGENERATOR::LogLevelName(level) + QStringLiteral(": ") + message];
        });
};

// Starts the threads together and waits for all of them.
void RunThreads(const std::function<void(int)>& work)
{
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < Threads; ++t)
        threads.emplace_back([&, t]() {
            ++ready;
            while (ready.load() < Threads)
                std::this_thread::yield();
            work(t);
        });
    for (std::thread& thread : threads)
        thread.join();
}

QString Text(const QByteArray& bytes)
{
    return QString::fromUtf8(bytes);
}

} // namespace

TEST(Threads, HandingDownTheSwitchAndLoggerInPlaceWritesNothing)
{
    // What every const operation of a record does first, from several threads at once.
    ProbeRecord record;
    record.members[QStringLiteral("A")] = QStringLiteral("a");
    SharedLog log;
    record.SetLogger(log.logger);
    record.SetValidate(true);
    const ProbeRecord& shared = record;
    RunThreads([&](int) {
        for (int round = 0; round < Rounds; ++round) {
            shared.SetValidate(shared.GetValidate());
            shared.SetLogger(shared.GetLogger());
            EXPECT_EQ(shared.GetXmlString(), QStringLiteral("<?xml version=\"1.0\" "
                                                            "encoding=\"UTF-8\"?>\n<Probe>\n"
                                                            "  <A>a</A>\n</Probe>\n"));
        }
    });
    EXPECT_TRUE(record.GetValidate());
    EXPECT_EQ(record.GetLogger(), log.logger);
}

TEST(Threads, CopiesOfOneDocumentAreEditedCheckedAndWrittenOnEachThread)
{
    KVT317_Settings shared;
    QByteArray binary = ExampleFile("settings.bin");
    ASSERT_TRUE(shared.SetBinaryRepresentation(binary));
    const QString exampleXml = Text(ExampleFile("settings.xml"));
    ASSERT_EQ(shared.GetXmlString(), exampleXml);
    SharedLog log;
    const KVT317_Settings& document = shared;

    RunThreads([&](int t) {
        for (int round = 0; round < Rounds; ++round) {
            KVT317_Settings copy(document);
            copy.SetLogger(log.logger);
            const int threshold = 100 + t;
            copy.GetKVT317SettingsDetail()[0].SetThreshold(threshold);
            KVT317SettingsDetail detail = document.GetKVT317SettingsDetail().at(1);
            detail.SetLogger(log.logger);
            detail.ResetThreshold();
            copy.Check(true);
            detail.Check(true);
            QString expected = exampleXml;
            expected.replace(expected.indexOf(QStringLiteral("<Threshold>10<")), 14,
                             QStringLiteral("<Threshold>%1<").arg(threshold));
            EXPECT_EQ(copy.GetXmlString(), expected);
            QByteArray frame = copy.GetBinaryRepresentationAsQByteArray();
            KVT317_Settings back;
            EXPECT_TRUE(back.SetBinaryRepresentation(frame));
            EXPECT_TRUE(back == copy);
            EXPECT_FALSE(back == document);
            KVT317_Settings assigned;
            assigned = document;
            EXPECT_EQ(assigned.GetBinaryRepresentationAsQByteArray(), binary);
        }
    });

    EXPECT_EQ(shared.GetXmlString(), exampleXml);
    EXPECT_EQ(shared.GetBinaryRepresentationAsQByteArray(), binary);
    EXPECT_EQ(log.counts,
              (QMap<QString, int>{
                  {QStringLiteral("ERROR: KVT317SettingsDetail: Please set Threshold properly."),
                   Threads * Rounds}}));
}

TEST(Threads, OneDocumentIsUsedThroughConstOperationsOnly)
{
    KVT317_Settings settings;
    QByteArray binary = ExampleFile("settings.bin");
    ASSERT_TRUE(settings.SetBinaryRepresentation(binary));
    const QString settingsXml = Text(ExampleFile("settings.xml"));
    // A bearing record without its frequency: every check and write reports.
    BearingSettings bearing;
    bearing.SetName(QStringLiteral("north"));
    bearing.SetAveragingTime(500);
    SharedLog log;
    settings.SetLogger(log.logger);
    bearing.SetLogger(log.logger);
    const KVT317_Settings& document = settings;
    const BearingSettings& incomplete = bearing;
    const QString bearingXml = QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                              "<BearingSettings Name=\"north\">\n"
                                              "  <Frequency>0.000000000</Frequency>\n"
                                              "  <AveragingTime>500</AveragingTime>\n"
                                              "</BearingSettings>\n");

    RunThreads([&](int) {
        for (int round = 0; round < Rounds; ++round) {
            const QVector<KVT317SettingsDetail>& details = document.GetKVT317SettingsDetail();
            EXPECT_EQ(details.size(), 3);
            EXPECT_EQ(details.at(0).GetThreshold(), 10);
            EXPECT_EQ(details.at(1).GetFrequencyRange().GetStartFrequency(), 156000000.0);
            EXPECT_TRUE(document.IsKVT317SettingsDetailSet());
            EXPECT_TRUE(document.HasData());
            document.Check(true);
            incomplete.Check(true);
            EXPECT_EQ(document.GetXmlString(), settingsXml);
            EXPECT_EQ(incomplete.GetXmlString(), bearingXml);
            EXPECT_EQ(document.GetBinaryRepresentationAsQByteArray(), binary);
            EXPECT_EQ(incomplete.GetBinaryRepresentationAsQByteArray(),
                      Hex("856C9896 00000038"
                          "58D44D66 00000009 00000005 6E6F727468"
                          "A97DB5BE 0000000F 0000000B 302E303030303030303030"
                          "EBEB1BDE 00000008 00000000000001F4"));
            KVT317_Settings copy(document);
            EXPECT_TRUE(copy == document);
            EXPECT_FALSE(copy != document);
            KVT317_Settings assigned;
            assigned = document;
            EXPECT_TRUE(assigned == document);
            BearingSettings bearingCopy(incomplete);
            EXPECT_TRUE(bearingCopy == incomplete);
            BearingSettings bearingAssigned;
            bearingAssigned = incomplete;
            EXPECT_TRUE(bearingAssigned == incomplete);
        }
    });

    EXPECT_EQ(log.counts,
              (QMap<QString, int>{
                  {QStringLiteral("ERROR: BearingSettings: Please set Frequency properly."),
                   Threads * Rounds}}));
}

TEST(Threads, CopiesOfOneDocumentWithAnApplicationLogger)
{
    KVT317_Settings shared;
    SharedLog log;
    shared.SetLogger(log.logger);
    QByteArray binary = ExampleFile("settings.bin");
    ASSERT_TRUE(shared.SetBinaryRepresentation(binary));
    const KVT317_Settings& document = shared;

    RunThreads([&](int t) {
        for (int round = 0; round < Rounds; ++round) {
            const KVT317_Settings copy(document);
            // The copy's held records read its settings, the document's read the document's.
            EXPECT_EQ(copy.GetLogger(), REPORTGENERATOR::Logger::Default());
            for (const KVT317SettingsDetail& item : copy.GetKVT317SettingsDetail()) {
                EXPECT_EQ(item.GetLogger(), REPORTGENERATOR::Logger::Default());
                EXPECT_EQ(item.GetFrequencyRange().GetLogger(), REPORTGENERATOR::Logger::Default());
            }
            KVT317_Settings edited(document);
            edited.SetLogger(log.logger);
            edited.GetKVT317SettingsDetail()[t % 3].ResetThreshold();
            edited.Check(true);
            EXPECT_TRUE(copy == document);
            EXPECT_FALSE(edited == document);
            EXPECT_EQ(copy.GetBinaryRepresentationAsQByteArray(), binary);
        }
    });

    for (const KVT317SettingsDetail& item : document.GetKVT317SettingsDetail()) {
        EXPECT_EQ(item.GetLogger(), log.logger);
        EXPECT_EQ(item.GetFrequencyRange().GetLogger(), log.logger);
    }
    EXPECT_EQ(shared.GetBinaryRepresentationAsQByteArray(), binary);
    EXPECT_EQ(log.counts,
              (QMap<QString, int>{
                  {QStringLiteral("ERROR: KVT317SettingsDetail: Please set Threshold properly."),
                   Threads * Rounds}}));
}

TEST(Threads, CopiesOfADocumentUsedThroughItsNonConstGetterAreEditedAndCheckedOnEachThread)
{
    KVT317_Settings shared;
    SharedLog log;
    shared.SetLogger(log.logger);
    QByteArray binary = ExampleFile("settings.bin");
    ASSERT_TRUE(shared.SetBinaryRepresentation(binary));
    // What applications do before they hand copies on: the non-const list getter, and an
    // edit through the reference it gives.
    shared.GetKVT317SettingsDetail()[2].SetThreshold(77);
    QString sourceXml = Text(ExampleFile("settings.xml"));
    sourceXml.replace(QStringLiteral("<Threshold>20<"), QStringLiteral("<Threshold>77<"));
    ASSERT_EQ(shared.GetXmlString(), sourceXml);
    const KVT317_Settings& document = shared;

    RunThreads([&](int t) {
        // Threads with an even number reset the first detail's threshold, the others the
        // second's; a reset threshold is written as its default, 20.
        const int edited = t % 2;
        QString copyXml = sourceXml;
        copyXml.replace(edited == 0 ? QStringLiteral("<Threshold>10<")
                                    : QStringLiteral("<Threshold>15<"),
                        QStringLiteral("<Threshold>20<"));
        copyXml.replace(edited == 0 ? QStringLiteral("<ScanMemoryID>10<")
                                    : QStringLiteral("<ScanMemoryID>20<"),
                        QStringLiteral("<ScanMemoryID>%1<").arg(500 + t));
        for (int round = 0; round < Rounds; ++round) {
            KVT317_Settings copy(document);
            copy.SetLogger(log.logger);
            KVT317SettingsDetail& item = copy.GetKVT317SettingsDetail()[edited];
            item.ResetThreshold();
            item.SetScanMemoryID(500 + t);
            copy.Check(true);
            EXPECT_FALSE(copy == document);
            EXPECT_TRUE(copy != document);
            const QVector<KVT317SettingsDetail>& items =
                std::as_const(copy).GetKVT317SettingsDetail();
            ASSERT_EQ(items.size(), 3);
            EXPECT_FALSE(items.at(edited).IsThresholdSet());
            EXPECT_EQ(items.at(edited).GetScanMemoryID(), 500 + t);
            EXPECT_EQ(items.at(1 - edited).GetThreshold(), edited == 0 ? 15 : 10);
            EXPECT_EQ(items.at(2).GetThreshold(), 77);
            EXPECT_EQ(items.at(2).GetLogger(), log.logger);
            EXPECT_EQ(copy.GetXmlString(), copyXml);
            const KVT317_Settings again(document);
            EXPECT_TRUE(again == document);

            // The source, through const operations only.
            const QVector<KVT317SettingsDetail>& details = document.GetKVT317SettingsDetail();
            ASSERT_EQ(details.size(), 3);
            EXPECT_EQ(details.at(0).GetThreshold(), 10);
            EXPECT_EQ(details.at(1).GetThreshold(), 15);
            EXPECT_EQ(details.at(2).GetThreshold(), 77);
            EXPECT_EQ(details.at(edited).GetScanMemoryID(), edited == 0 ? 10 : 20);
            EXPECT_EQ(details.at(1).GetFrequencyRange().GetStartFrequency(), 156000000.0);
            EXPECT_EQ(details.at(0).GetLogger(), log.logger);
            document.Check(true);
            EXPECT_EQ(document.GetXmlString(), sourceXml);
        }
    });

    EXPECT_EQ(shared.GetXmlString(), sourceXml);
    for (const KVT317SettingsDetail& item : document.GetKVT317SettingsDetail()) {
        EXPECT_EQ(item.GetLogger(), log.logger);
        EXPECT_EQ(item.GetFrequencyRange().GetLogger(), log.logger);
    }
    // Each copy's check reports its reset threshold, and each write of a copy the incomplete
    // detail; the source, complete, reports nothing.
    EXPECT_EQ(log.counts,
              (QMap<QString, int>{
                  {QStringLiteral("ERROR: KVT317SettingsDetail: Please set Threshold properly."),
                   Threads * Rounds},
                  {QStringLiteral("WARNING: Parameters for KVT317SettingsDetail are not set "
                                  "properly in 'KVT317_Settings'."),
                   Threads * Rounds}}));
}

TEST(Threads, CopiesReadTheItemsOfADocumentThatHandedThemOutOnEachThread)
{
    KVT317_Settings shared;
    SharedLog log;
    shared.SetLogger(log.logger);
    QByteArray binary = ExampleFile("settings.bin");
    ASSERT_TRUE(shared.SetBinaryRepresentation(binary));
    KVT317SettingsDetail& first = shared.GetKVT317SettingsDetail()[0];
    const KVT317_Settings& document = shared;
    std::vector<KVT317_Settings> kept(Threads);

    RunThreads([&](int t) {
        for (int round = 0; round < Rounds; ++round) {
            const KVT317_Settings copy(document);
            const KVT317_Settings again(copy);
            EXPECT_TRUE(again == document);
            EXPECT_EQ(copy.GetBinaryRepresentationAsQByteArray(), binary);
            again.Check(true);
            if (round == Rounds - 1)
                kept[t] = copy;
        }
    });

    // A write through the reference handed out before the copies reaches the document only.
    first.SetThreshold(99);
    for (const KVT317_Settings& copy : kept) {
        EXPECT_EQ(copy.GetBinaryRepresentationAsQByteArray(), binary);
        EXPECT_EQ(copy.GetKVT317SettingsDetail()[0].GetThreshold(), 10);
    }
    EXPECT_EQ(document.GetKVT317SettingsDetail()[0].GetThreshold(), 99);
    EXPECT_TRUE(log.counts.isEmpty());
}
