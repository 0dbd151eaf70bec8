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
