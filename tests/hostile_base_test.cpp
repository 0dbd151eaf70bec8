// The base against hostile documents: nesting of any depth, same-named elements inside
// unknown content, floods of identical reports, compressed data that inflates without end,
// texts XML cannot carry. Tested on a record written straight on the base (ProbeRecord) and
// on the settings documents where the base alone decides.

#include "HostileInput.h"
#include "ProbeRecord.h"
#include "TestSupport.h"

#include <KVT317_Settings.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <functional>

using KVT317XML::KVT317_Settings;
using REPORTGENERATOR::IRGObject;

namespace {

QString Repeat(const char* text, int count)
{
    return QString::fromLatin1(text).repeated(count);
}

// Runs work on a thread with a small stack: nesting of any depth must not need more.
void WithSmallStack(const std::function<void()>& work)
{
    std::unique_ptr<QThread> thread(QThread::create(work));
    thread->setStackSize(512 * 1024);
    thread->start();
    thread->wait();
}

struct Probed {
    bool loaded = false;
    ProbeRecord record;
    LogCapture log;
};

// Loads xml into a new probe record.
std::unique_ptr<Probed> LoadProbe(const QString& xml)
{
    auto probed = std::make_unique<Probed>();
    probed->record.SetLogger(probed->log.logger);
    probed->loaded = probed->record.SetXmlString(xml, true);
    return probed;
}

// The restorer of the process-wide inflation limit.
struct LimitScope {
    explicit LimitScope(qint64 bytes) { IRGObject::SetMaxInflatedSize(bytes); }
    ~LimitScope() { IRGObject::SetMaxInflatedSize(qint64(256) * 1024 * 1024); }
};

} // namespace

// ---- The content loop ----------------------------------------------------------------

TEST(ContentLoop, SameNamedElementTwoDeepInUnknownContentDoesNotEndTheRecord)
{
    // The skip of <U> stops at the nested <U>: <Probe> and </Probe> inside are unknown
    // content, and <A> still belongs to the record.
    const auto probed =
        LoadProbe(QStringLiteral("<Probe><U><Probe><U></U></Probe></U><A>5</A></Probe>"));
    EXPECT_TRUE(probed->loaded);
    EXPECT_EQ(probed->record.members, (QMap<QString, QString>{{QStringLiteral("A"), "5"}}));
    EXPECT_EQ(probed->log.lines, QStringList());
}

TEST(ContentLoop, SameNamedElementInsideUnknownContentDoesNotEndTheRecord)
{
    const auto probed = LoadProbe(QStringLiteral(
        "<Probe><U><x><Probe><A>1</A></Probe></x></U><U><U><Probe/><A>2</A></U></U><A>3</A>"
        "</Probe>"));
    EXPECT_TRUE(probed->loaded);
    EXPECT_EQ(probed->record.members, (QMap<QString, QString>{{QStringLiteral("A"), "23"}}));
}

TEST(ContentLoop, WhatFollowsANestedElementOfTheSkippedNameIsContent)
{
    // The skip of the outer <U> stops at the inner <U>; the <A> inside it and the <A> after
    // it, still inside the outer <U>, are read as the record's.
    const auto probed = LoadProbe(
        QStringLiteral("<Probe><U><x/><U><A>1</A></U><A>2</A></U><B>b</B></Probe><!-- end -->"));
    EXPECT_TRUE(probed->loaded);
    EXPECT_EQ(probed->record.members,
              (QMap<QString, QString>{{QStringLiteral("A"), "12"}, {QStringLiteral("B"), "b"}}));
}

TEST(ContentLoop, ReaderIsLeftOnTheRecordsOwnEndElement)
{
    ProbeRecord record;
    QXmlStreamReader reader(
        QStringLiteral("<R><Probe><U><Probe><U/></Probe></U><A>1</A></Probe><After/></R>"));
    reader.readNextStartElement();
    reader.readNextStartElement();
    record.ProcessXml(reader);
    EXPECT_TRUE(reader.isEndElement());
    EXPECT_EQ(reader.name().toString(), QStringLiteral("Probe"));
    reader.readNextStartElement();
    EXPECT_EQ(reader.name().toString(), QStringLiteral("After"));
    EXPECT_EQ(record.members.value(QStringLiteral("A")), QStringLiteral("1"));
}

// ---- Nesting of any depth ------------------------------------------------------------

namespace {

using Members = QMap<QString, QString>;

// Loads xml on a small stack and expects it to go through with exactly these members.
void ExpectLoad(const QString& xml, const Members& members)
{
    WithSmallStack([&]() {
        const auto probed = LoadProbe(xml);
        EXPECT_TRUE(probed->loaded);
        EXPECT_EQ(probed->record.members, members);
        EXPECT_EQ(probed->log.lines, QStringList());
    });
}

} // namespace

TEST(DeepNestingOnASmallStackThread, InsideAMemberElement)
{
    ExpectLoad(QStringLiteral("<Probe><A>x") + Repeat("<n>", 100000) + QStringLiteral("y") +
                   Repeat("</n>", 100000) + QStringLiteral("z</A><B>b</B></Probe>"),
               Members{{QStringLiteral("A"), QStringLiteral("xz")},
                       {QStringLiteral("B"), QStringLiteral("b")}});
}

TEST(DeepNestingOnASmallStackThread, InsideAnUnknownElement)
{
    ExpectLoad(QStringLiteral("<Probe><U>") + Repeat("<n><A>a</A>", 100000) +
                   Repeat("</n>", 100000) + QStringLiteral("</U><B>b</B></Probe>"),
               Members{{QStringLiteral("B"), QStringLiteral("b")}});
}

TEST(DeepNestingOnASmallStackThread, InsideTheRoot)
{
    // Each <n> is skipped up to the next one; what is inside the innermost is content.
    ExpectLoad(QStringLiteral("<Probe>") + Repeat("<n>", 100000) + QStringLiteral("<A>a</A>") +
                   Repeat("</n>", 100000) + QStringLiteral("<B>b</B></Probe>"),
               Members{{QStringLiteral("A"), QStringLiteral("a")},
                       {QStringLiteral("B"), QStringLiteral("b")}});
}

TEST(DeepNestingOnASmallStackThread, UnclosedIsOneError)
{
    const QString xml = QStringLiteral("<Probe><A>") + Repeat("<n>", 100000);
    WithSmallStack([&]() {
        const auto probed = LoadProbe(xml);
        EXPECT_FALSE(probed->loaded);
        EXPECT_EQ(probed->log.lines,
                  QStringList(QStringLiteral(
                      "ERROR: XML error in line 1, column 300010: Premature end of document.")));
    });
}

TEST(DeepNestingOnASmallStackThread, SettingsDocuments)
{
    // The same three places in a settings document: a member element, an unknown element
    // and the root itself.
    const QStringList documents = hostile::DeepSettingsDocuments();
    ASSERT_EQ(documents.size(), 3);
    for (const QString& xml : documents)
        WithSmallStack([&]() { hostile::ExpectReadsAsExample(xml); });
}

// ---- Held reports --------------------------------------------------------------------

TEST(HeldReports, EveryReportIsReplayedInOrder)
{
    // Held compactly (a run of identical reports once, with its count), replayed in full.
    QString xml = QStringLiteral("<Probe>");
    QStringList expected;
    for (int i = 0; i < 2500; ++i) {
        if (i % 1000 == 0) {
            xml += QStringLiteral("<Warn>other</Warn>");
            expected << QStringLiteral("WARNING: other");
        }
        xml += QStringLiteral("<Warn>same</Warn>");
        expected << QStringLiteral("WARNING: same");
    }
    for (int i = 0; i < 100; ++i) {
        xml += QStringLiteral("<Warn>a</Warn><Warn>b</Warn>");
        expected << QStringLiteral("WARNING: a") << QStringLiteral("WARNING: b");
    }
    const auto probed = LoadProbe(xml + QStringLiteral("</Probe>"));
    EXPECT_TRUE(probed->loaded);
    EXPECT_EQ(probed->log.lines.size(), 2703);
    EXPECT_EQ(probed->log.lines, expected);
}

TEST(HeldReports, AFailedLoadLeavesOnlyItsFault)
{
    const auto probed =
        LoadProbe(QStringLiteral("<Probe>") + Repeat("<Warn>w</Warn>", 1000) + "<A>");
    EXPECT_FALSE(probed->loaded);
    EXPECT_EQ(probed->log.lines,
              QStringList(QStringLiteral(
                  "ERROR: XML error in line 1, column 14010: Premature end of document.")));
}

// ---- Inflation limit -----------------------------------------------------------------

TEST(InflationLimit, DefaultAndClamping)
{
    EXPECT_EQ(IRGObject::MaxInflatedSize(), qint64(268435456));
    {
        LimitScope limit(-5);
        EXPECT_EQ(IRGObject::MaxInflatedSize(), 0);
        IRGObject::SetMaxInflatedSize(qint64(1) << 40);
        EXPECT_EQ(IRGObject::MaxInflatedSize(), qint64(2147483647));
        IRGObject::SetMaxInflatedSize(12345);
        EXPECT_EQ(IRGObject::MaxInflatedSize(), 12345);
    }
    EXPECT_EQ(IRGObject::MaxInflatedSize(), qint64(268435456));
}

TEST(InflationLimit, ADocumentAtTheLimitLoadsOnePastItIsRefused)
{
    QByteArray document = ExampleFile("settings.binz");
    ASSERT_EQ(IRGObject::PlainFrame(document).size(), 1096);
    KVT317_Settings expected;
    QByteArray plain = ExampleFile("settings.bin");
    ASSERT_TRUE(expected.SetBinaryRepresentation(plain));
    {
        LimitScope limit(1096);
        KVT317_Settings settings;
        EXPECT_TRUE(settings.SetBinaryRepresentation(document));
        EXPECT_TRUE(settings == expected);
    }
    {
        LimitScope limit(1095);
        KVT317_Settings settings;
        LogCapture log;
        settings.SetLogger(log.logger);
        EXPECT_FALSE(settings.SetBinaryRepresentation(document));
        EXPECT_FALSE(settings.IsInitialized());
        EXPECT_EQ(log.lines, QStringList(QStringLiteral("ERROR: Compressed binary data inflates to "
                                                        "more than the limit of 1095 bytes")));
        QString fault;
        EXPECT_TRUE(IRGObject::PlainFrame(document, &fault).isNull());
        EXPECT_EQ(
            fault,
            QStringLiteral("Compressed binary data inflates to more than the limit of 1095 bytes"));
    }
}

TEST(InflationLimit, ADeflateBombIsRefused)
{
    LimitScope limit(4 * 1024 * 1024);
    QByteArray bomb = hostile::Compressed(hostile::Deflated(qint64(64) * 1024 * 1024));
    EXPECT_LT(bomb.size(), 100 * 1024);
    KVT317_Settings settings;
    LogCapture log;
    settings.SetLogger(log.logger);
    EXPECT_FALSE(settings.SetBinaryRepresentation(bomb));
    EXPECT_EQ(log.lines, QStringList(QStringLiteral("ERROR: Compressed binary data inflates to "
                                                    "more than the limit of 4194304 bytes")));
}

TEST(InflationLimit, LargeDocumentsInflateInTwoPasses)
{
    // Larger than the first pass keeps: inflated a second time, into a buffer of its size.
    KVT317_Settings source;
    QByteArray plain = ExampleFile("settings.bin");
    ASSERT_TRUE(source.SetBinaryRepresentation(plain));
    source.SetKVT317SettingsDetail(
        QVector<KVT317XML::KVT317SettingsDetail>(6000, source.GetKVT317SettingsDetail().at(0)));
    QByteArray document = source.GetCompressedBinaryRepresentationAsQByteArray(9);
    const QByteArray frame = source.GetBinaryRepresentationAsQByteArray();
    ASSERT_GT(frame.size(), 2 * 1024 * 1024);
    EXPECT_EQ(IRGObject::PlainFrame(document), frame);
    KVT317_Settings settings;
    EXPECT_TRUE(settings.SetBinaryRepresentation(document));
    EXPECT_TRUE(settings == source);
    {
        LimitScope limit(frame.size() - 1);
        KVT317_Settings refused;
        refused.SetLogger(nullptr);
        EXPECT_FALSE(refused.SetBinaryRepresentation(document));
    }
}

TEST(InflationLimit, DamagedCompressedDataStillNamesItsFault)
{
    QByteArray packed = hostile::Deflated(100);
    packed.chop(3);
    QString fault;
    EXPECT_TRUE(IRGObject::PlainFrame(hostile::Compressed(packed), &fault).isNull());
    EXPECT_EQ(fault,
              QStringLiteral("Compressed binary data does not inflate: the compressed data is "
                             "truncated"));
    QByteArray extra = hostile::Deflated(100) + "xy";
    EXPECT_TRUE(IRGObject::PlainFrame(hostile::Compressed(extra), &fault).isNull());
    EXPECT_EQ(fault, QStringLiteral("Compressed binary data does not inflate: 2 bytes follow the "
                                    "compressed data"));
}

// ---- Texts XML cannot carry ----------------------------------------------------------

namespace {

struct SavedProbe {
    QTemporaryDir dir;
    QString path;
    bool saved = false;
    QByteArray onDisk;
    QStringList log;
};

std::unique_ptr<SavedProbe> SaveOverExisting(const ProbeRecord& record)
{
    auto result = std::make_unique<SavedProbe>();
    result->path = result->dir.filePath(QStringLiteral("probe.xml"));
    QFile old(result->path);
    if (old.open(QIODevice::WriteOnly))
        old.write("old");
    old.close();
    LogCapture log;
    record.SetLogger(log.logger);
    result->saved = record.SaveXml(result->path);
    result->log = log.lines;
    QFile file(result->path);
    if (file.open(QIODevice::ReadOnly))
        result->onDisk = file.readAll();
    return result;
}

} // namespace

TEST(UnwritableText, SaveXmlRefusesAControlCharacterInElementText)
{
    ProbeRecord record;
    record.members[QStringLiteral("A")] = QStringLiteral("a\u0001b");
    EXPECT_EQ(record.GetXmlString(), QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                                    "<Probe>\n"
                                                    "  <A>a&#1;b</A>\n"
                                                    "</Probe>\n"));
    const auto saved = SaveOverExisting(record);
    EXPECT_FALSE(saved->saved);
    EXPECT_EQ(saved->onDisk, QByteArray("old"));
    EXPECT_EQ(saved->log, QStringList(QStringLiteral("ERROR: Cannot write '") + saved->path +
                                      QStringLiteral("': the document holds U+0001 at line 3, "
                                                     "column 7, a character XML cannot carry")));
    EXPECT_EQ(QDir(saved->dir.path()).entryList(QDir::Files), QStringList("probe.xml"));
}

struct UnwritableCase {
    const char* id;
    QString text;  // follows three characters that XML carries
    QString where; // the character named, and where it stands
};

class UnwritableKind : public ::testing::TestWithParam<UnwritableCase>
{
};

std::string UnwritableCaseName(const ::testing::TestParamInfo<UnwritableCase>& param)
{
    return param.param.id;
}

TEST_P(UnwritableKind, SaveXmlNamesIt)
{
    const UnwritableCase& entry = GetParam();
    ProbeRecord record;
    record.members[QStringLiteral("A")] = QStringLiteral("ok");
    record.members[QStringLiteral("B")] = QStringLiteral("\u00e4\u00e4\u00e4") + entry.text;
    const auto saved = SaveOverExisting(record);
    EXPECT_FALSE(saved->saved);
    EXPECT_EQ(saved->onDisk, QByteArray("old"));
    EXPECT_EQ(saved->log, QStringList(QStringLiteral("ERROR: Cannot write '") + saved->path +
                                      QStringLiteral("': the document holds ") + entry.where +
                                      QStringLiteral(", a character XML cannot carry")));
}

INSTANTIATE_TEST_SUITE_P(
    EveryKind, UnwritableKind,
    ::testing::Values(UnwritableCase{"NonCharacterFFFE", QString(QChar(0xFFFE)),
                                     QStringLiteral("U+FFFE at line 4, column 9")},
                      UnwritableCase{"NonCharacterFFFF", QString(QChar(0xFFFF)),
                                     QStringLiteral("U+FFFF at line 4, column 9")},
                      UnwritableCase{"LoneHighSurrogate", QString(QChar(0xD800)),
                                     QStringLiteral("U+D800 at line 4, column 9")},
                      UnwritableCase{"LowSurrogateFirst", QString(QChar(0xDFFF)) + QChar(0xD800),
                                     QStringLiteral("U+DFFF at line 4, column 9")},
                      UnwritableCase{"ControlCharacterOnTheNextLine",
                                     QStringLiteral("\u00e4\n\u001f"),
                                     QStringLiteral("U+001F at line 5, column 1")}),
    UnwritableCaseName);

TEST(UnwritableText, SaveXmlRefusesWhatTheWriterLeftOutOfAnAttribute)
{
    ProbeRecord record;
    record.attributes[QStringLiteral("Name")] = QStringLiteral("a\u0002b");
    record.members[QStringLiteral("A")] = QStringLiteral("x");
    EXPECT_EQ(record.GetXmlString(), QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                                    "<Probe Name=\"ab\">\n"
                                                    "  <A>x</A>\n"
                                                    "</Probe>\n"));
    const auto saved = SaveOverExisting(record);
    EXPECT_FALSE(saved->saved);
    EXPECT_EQ(saved->onDisk, QByteArray("old"));
    EXPECT_EQ(saved->log,
              QStringList(QStringLiteral("ERROR: Cannot write '") + saved->path +
                          QStringLiteral("': the document holds a character XML cannot carry, "
                                         "which the XML writer left out")));
}

TEST(UnwritableText, WritableTextsComeBackThroughAFileByteForByte)
{
    ProbeRecord record;
    record.attributes[QStringLiteral("Name")] = QStringLiteral(" \r\n\t a\rb ");
    record.members[QStringLiteral("A")] = QStringLiteral(" \r\n\t a\rb ");
    record.members[QStringLiteral("B")] = QStringLiteral("\r");
    const auto saved = SaveOverExisting(record);
    EXPECT_TRUE(saved->saved);
    EXPECT_EQ(saved->log, QStringList());
    EXPECT_EQ(saved->onDisk, QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                        "<Probe Name=\" &#13;&#10;&#9; a&#13;b \">\n"
                                        "  <A> &#13;\n\t a&#13;b </A>\n"
                                        "  <B>&#13;</B>\n"
                                        "</Probe>\n"));
    ProbeRecord back;
    EXPECT_TRUE(back.LoadXml(saved->path));
    EXPECT_EQ(back.attributes, record.attributes);
    EXPECT_EQ(back.members, record.members);
}
