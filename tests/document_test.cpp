#include "TestSupport.h"

#include <FrequencyRange.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <sys/resource.h>

using KVT317XML::FrequencyRange;
using REPORTGENERATOR::OutOfRangeException;

namespace {

const QByteArray PlainFrame = Hex("0E9DCC54 00000026"
                                  "2D99DCB9 0000000E 0000000A 313233343536372E3839"
                                  "7ADC955A 00000008 00000004 352E3030");

// A record with one member set and a changed default: a rollback must restore all of it.
struct Fixture : public ::testing::Test {
    LogCapture log;
    FrequencyRange range;
    void SetUp() override
    {
        range.SetLogger(log.logger);
        range.SetStartFrequency(42.0);
        range.SetDefaultStopFrequency(7.0);
    }
    void ExpectUnchanged()
    {
        EXPECT_TRUE(range.IsStartFrequencySet());
        EXPECT_FALSE(range.IsStopFrequencySet());
        EXPECT_EQ(range.GetStartFrequency(), 42.0);
        EXPECT_EQ(range.GetStopFrequency(), 240000000.0);
        EXPECT_EQ(range.GetDefaultStopFrequency(), 7.0);
        FrequencyRange before;
        before.SetStartFrequency(42.0);
        EXPECT_TRUE(range == before);
    }
    void ExpectOneError(const QString& message)
    {
        EXPECT_EQ(log.lines, QStringList{QStringLiteral("ERROR: ") + message});
    }
};

} // namespace

using XmlDocument = Fixture;
using BinaryDocument = Fixture;
using SavedDocument = Fixture;

// ---- XML -----------------------------------------------------------------------------

TEST_F(XmlDocument, MergeKeepsWhatTheDocumentDoesNotMention)
{
    ASSERT_TRUE(range.SetXmlString(
        QStringLiteral("<FrequencyRange><StopFrequency>5</StopFrequency></FrequencyRange>"),
        false));
    EXPECT_EQ(range.GetStartFrequency(), 42.0);
    EXPECT_EQ(range.GetStopFrequency(), 5.0);
    EXPECT_TRUE(range.IsStartFrequencySet());
    EXPECT_TRUE(log.lines.isEmpty());
}

TEST_F(XmlDocument, ResetFirstLeavesExactlyTheDocument)
{
    ASSERT_TRUE(range.SetXmlString(
        QStringLiteral("<?xml version=\"1.0\"?>\n<!-- settings -->\n"
                       "<FrequencyRange><StopFrequency>5</StopFrequency></FrequencyRange>\n"),
        true));
    EXPECT_FALSE(range.IsStartFrequencySet());
    EXPECT_EQ(range.GetStartFrequency(), 88000000.0);
    EXPECT_EQ(range.GetStopFrequency(), 5.0);
}

TEST_F(XmlDocument, NotWellFormed)
{
    EXPECT_FALSE(range.SetXmlString(QStringLiteral("<FrequencyRange>\n"
                                                   "<StartFrequency>5</StartFrequency>\n"
                                                   "<StopFrequency>6</StartFrequency>\n"
                                                   "</FrequencyRange>\n"),
                                    true));
    ExpectUnchanged();
    ExpectOneError(
        QStringLiteral("XML error in line 3, column 33: Opening and ending tag mismatch."));
}

TEST_F(XmlDocument, TruncatedDocument)
{
    EXPECT_FALSE(range.SetXmlString(
        QStringLiteral("<FrequencyRange><StopFrequency>6</StopFrequency>"), false));
    ExpectUnchanged();
    ExpectOneError(QStringLiteral("XML error in line 1, column 48: Premature end of document."));
}

TEST_F(XmlDocument, EmptyInput)
{
    EXPECT_FALSE(range.SetXmlString(QString(), true));
    ExpectUnchanged();
    ASSERT_EQ(log.lines.size(), 1);
    EXPECT_TRUE(log.lines.at(0).startsWith(QStringLiteral("ERROR: XML error in line ")));
}

TEST_F(XmlDocument, GarbageAfterTheRootElement)
{
    EXPECT_FALSE(range.SetXmlString(
        QStringLiteral("<FrequencyRange><StopFrequency>6</StopFrequency></FrequencyRange><x/>"),
        false));
    ExpectUnchanged();
    ExpectOneError(
        QStringLiteral("XML error in line 1, column 69: Extra content at end of document."));
}

TEST_F(XmlDocument, WrongRootElement)
{
    EXPECT_FALSE(range.SetXmlString(
        QStringLiteral("<BearingSettings><StopFrequency>6</StopFrequency></BearingSettings>"),
        true));
    ExpectUnchanged();
    ExpectOneError(QStringLiteral("Root element is 'BearingSettings', expected 'FrequencyRange'"));
}

TEST_F(XmlDocument, DocumentTypeDeclarationIsRefused)
{
    EXPECT_FALSE(range.SetXmlString(QStringLiteral("<?xml version=\"1.0\"?>\n"
                                                   "<!DOCTYPE FrequencyRange [\n"
                                                   "<!ENTITY a \"123\">\n"
                                                   "]>\n"
                                                   "<FrequencyRange><StopFrequency>&a;"
                                                   "</StopFrequency></FrequencyRange>"),
                                    true));
    ExpectUnchanged();
    ASSERT_EQ(log.lines.size(), 1);
    EXPECT_TRUE(log.lines.at(0).startsWith(
        QStringLiteral("ERROR: Document type declarations are not accepted (line ")));
}

TEST_F(XmlDocument, RecordReportsPassOutWithValidationOn)
{
    range.SetValidate(true);
    // A good document: record-level reports behave as usual and are not rolled back.
    EXPECT_TRUE(range.SetXmlString(QStringLiteral("<FrequencyRange><StopFrequency>6"
                                                  "</StopFrequency></FrequencyRange>"),
                                   false));
    EXPECT_EQ(range.GetStopFrequency(), 6.0);
}

TEST_F(XmlDocument, LoadOfAMissingFile)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("missing.xml"));
    EXPECT_FALSE(range.LoadXml(path));
    ExpectUnchanged();
    ExpectOneError(QStringLiteral("Cannot open '%1': No such file or directory").arg(path));
}

TEST_F(XmlDocument, LoadReplaces)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("range.xml"));
    WriteFile(path, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<FrequencyRange>\n"
                    "  <StopFrequency>5.00</StopFrequency>\n</FrequencyRange>\n");
    ASSERT_TRUE(range.LoadXml(path));
    EXPECT_FALSE(range.IsStartFrequencySet());
    EXPECT_EQ(range.GetStopFrequency(), 5.0);

    QFile file(path);
    FrequencyRange other;
    other.SetStartFrequency(1.0);
    ASSERT_TRUE(other.LoadXml(&file));
    EXPECT_TRUE(other == range);
}

// ---- Binary --------------------------------------------------------------------------

TEST_F(BinaryDocument, FrameIsTaggedWithTheClassId)
{
    FrequencyRange source;
    source.SetStartFrequency(1234567.891);
    source.SetStopFrequency(5.0);
    EXPECT_EQ(source.GetBinaryRepresentationAsQByteArray().toHex(), PlainFrame.toHex());

    QByteArray onStream;
    QDataStream stream(&onStream, QIODevice::WriteOnly);
    stream.setByteOrder(QDataStream::LittleEndian); // the frame keeps its own byte order
    source.GetBinaryRepresentation(stream);
    EXPECT_EQ(onStream.toHex(), PlainFrame.toHex());
    EXPECT_EQ(stream.byteOrder(), QDataStream::LittleEndian);
}

TEST_F(BinaryDocument, MergeFromBytes)
{
    QByteArray frame = PlainFrame;
    ASSERT_TRUE(range.SetBinaryRepresentation(frame));
    EXPECT_EQ(range.GetStartFrequency(), 1234567.89);
    EXPECT_EQ(range.GetStopFrequency(), 5.0);
    EXPECT_TRUE(log.lines.isEmpty());
}

TEST_F(BinaryDocument, TruncatedHead)
{
    QByteArray frame = PlainFrame.left(3);
    EXPECT_FALSE(range.SetBinaryRepresentation(frame));
    ExpectUnchanged();
    ExpectOneError(QStringLiteral("Binary data ends before the frame head"));

    log.lines.clear();
    frame = PlainFrame.left(6);
    EXPECT_FALSE(range.SetBinaryRepresentation(frame));
    ExpectUnchanged();
    ExpectOneError(QStringLiteral("Binary data ends inside the frame head"));
}

TEST_F(BinaryDocument, TruncatedBody)
{
    for (int size = 9; size < PlainFrame.size(); ++size) {
        log.lines.clear();
        QByteArray frame = PlainFrame.left(size);
        EXPECT_FALSE(range.SetBinaryRepresentation(frame)) << size;
        ExpectUnchanged();
        EXPECT_EQ(log.lines.size(), 1) << size;
    }
    log.lines.clear();
    QByteArray frame = PlainFrame.left(PlainFrame.size() - 10);
    EXPECT_FALSE(range.SetBinaryRepresentation(frame));
    ExpectOneError(QStringLiteral("FrequencyRange::SetBinary(...): Length error occurred during "
                                  "processing of binary representation"));
}

TEST_F(BinaryDocument, ForeignRecordType)
{
    QByteArray frame = Hex("5DF5F465 00000000");
    EXPECT_FALSE(range.SetBinaryRepresentation(frame));
    ExpectUnchanged();
    ExpectOneError(QStringLiteral(
        "Binary frame of record type 0x5DF5F465, expected FrequencyRange (0x0E9DCC54)"));
}

TEST_F(BinaryDocument, BytesAfterTheFrame)
{
    QByteArray frame = PlainFrame + Hex("00");
    EXPECT_FALSE(range.SetBinaryRepresentation(frame));
    ExpectUnchanged();
    ExpectOneError(QStringLiteral("Binary data continues after the record frame"));
}

TEST_F(BinaryDocument, LengthsThatDoNotMatchThePayloads)
{
    // The start entry claims 20 payload bytes but its text takes 14.
    QByteArray frame = Hex("0E9DCC54 0000002C"
                           "2D99DCB9 00000014 0000000A 313233343536372E3839"
                           "7ADC955A 00000008 00000004 352E3030 000000000000");
    EXPECT_FALSE(range.SetBinaryRepresentation(frame));
    ExpectUnchanged();
    ExpectOneError(
        QStringLiteral("Binary frame of FrequencyRange announces 44 bytes, its members take 38"));
}

TEST_F(BinaryDocument, StreamReadsOneFrameAndLeavesTheRest)
{
    QByteArray data = PlainFrame + Hex("CAFE");
    QDataStream stream(&data, QIODevice::ReadOnly);
    ASSERT_TRUE(range.SetBinaryRepresentation(stream));
    EXPECT_EQ(range.GetStopFrequency(), 5.0);
    quint16 rest = 0;
    stream >> rest;
    EXPECT_EQ(rest, 0xCAFE);
}

TEST_F(BinaryDocument, CompressedRoundTripAtEveryLevel)
{
    FrequencyRange source;
    source.SetStartFrequency(1234567.89);
    source.SetStopFrequency(5.0);
    for (const int level : {-1, 0, 1, 6, 9}) {
        const QByteArray compressed = source.GetCompressedBinaryRepresentationAsQByteArray(level);
        EXPECT_EQ(compressed.left(4).toHex(), QByteArray("4b56545a")) << level;
        FrequencyRange back;
        QByteArray copy = compressed;
        ASSERT_TRUE(back.SetBinaryRepresentation(copy)) << level;
        EXPECT_TRUE(back == source);
        EXPECT_EQ(back.GetBinaryRepresentationAsQByteArray().toHex(), PlainFrame.toHex());
    }
    // Level 0 stores: the frame stands uncompressed inside the zlib stream.
    EXPECT_TRUE(source.GetCompressedBinaryRepresentationAsQByteArray(0).contains(PlainFrame));

    QByteArray onStream;
    QDataStream stream(&onStream, QIODevice::WriteOnly);
    source.GetCompressedBinaryRepresentation(stream, 9);
    EXPECT_EQ(onStream, source.GetCompressedBinaryRepresentationAsQByteArray(9));
}

TEST_F(BinaryDocument, CompressedDataThatDoesNotInflate)
{
    FrequencyRange source;
    source.SetStopFrequency(5.0);
    QByteArray data = source.GetCompressedBinaryRepresentationAsQByteArray(9);
    data[12] = static_cast<char>(data[12] ^ 0x55);
    data[13] = static_cast<char>(data[13] ^ 0x55);
    EXPECT_FALSE(range.SetBinaryRepresentation(data));
    ExpectUnchanged();
    ASSERT_EQ(log.lines.size(), 1);
    EXPECT_TRUE(log.lines.at(0).startsWith(
        QStringLiteral("ERROR: Compressed binary data does not inflate: ")))
        << log.lines.at(0).toStdString();
}

TEST_F(BinaryDocument, CompressedDataThatIsTruncated)
{
    FrequencyRange source;
    source.SetStopFrequency(5.0);
    QByteArray data = source.GetCompressedBinaryRepresentationAsQByteArray(9);
    data.chop(3);
    EXPECT_FALSE(range.SetBinaryRepresentation(data));
    ExpectUnchanged();
    ExpectOneError(QStringLiteral("Compressed binary data is truncated"));

    // A byte count that fits but a zlib stream cut short.
    log.lines.clear();
    QByteArray packed = source.GetCompressedBinaryRepresentationAsQByteArray(9).mid(8);
    packed.chop(5);
    QByteArray cut = Hex("4B56545A") + Counted(packed);
    EXPECT_FALSE(range.SetBinaryRepresentation(cut));
    ExpectUnchanged();
    ExpectOneError(QStringLiteral(
        "Compressed binary data does not inflate: the compressed data is truncated"));
}

TEST_F(BinaryDocument, LoadReplacesAndAcceptsBothForms)
{
    QTemporaryDir dir;
    const QString plainPath = dir.filePath(QStringLiteral("range.bin"));
    const QString packedPath = dir.filePath(QStringLiteral("range.binz"));
    FrequencyRange source;
    source.SetStartFrequency(1.0);
    source.SetStopFrequency(5.0);
    WriteFile(plainPath, source.GetBinaryRepresentationAsQByteArray());
    WriteFile(packedPath, source.GetCompressedBinaryRepresentationAsQByteArray(6));

    QFile plain(plainPath);
    ASSERT_TRUE(range.LoadBinary(&plain));
    EXPECT_TRUE(range == source);
    EXPECT_EQ(range.GetStartFrequency(), 1.0);
    EXPECT_EQ(range.GetDefaultStopFrequency(), 7.0); // defaults are not content

    FrequencyRange other;
    other.SetStartFrequency(3.0);
    QFile packed(packedPath);
    ASSERT_TRUE(other.LoadBinary(&packed));
    EXPECT_TRUE(other == source);
}

TEST_F(BinaryDocument, LoadOfAMissingFile)
{
    QFile file(QStringLiteral("/nonexistent/range.bin"));
    EXPECT_FALSE(range.LoadBinary(&file));
    ExpectUnchanged();
    ExpectOneError(
        QStringLiteral("Cannot open '/nonexistent/range.bin': No such file or directory"));
}

// ---- Saving --------------------------------------------------------------------------

TEST_F(SavedDocument, SaveWritesTheDocument)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("range.xml"));
    WriteFile(path, "old content");
    range.SetStopFrequency(1.5);
    ASSERT_TRUE(range.SaveXml(path));
    EXPECT_EQ(ReadFile(path), QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                         "<FrequencyRange>\n"
                                         "  <StartFrequency>42.00</StartFrequency>\n"
                                         "  <StopFrequency>1.50</StopFrequency>\n"
                                         "</FrequencyRange>\n"));
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{QStringLiteral("range.xml")});
}

TEST_F(SavedDocument, AFailingWriterLeavesTheFileAlone)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("range.xml"));
    WriteFile(path, "old content");
    range.SetValidate(true); // StopFrequency is unset: GetXml raises
    EXPECT_THROW(range.SaveXml(path), OutOfRangeException);
    EXPECT_EQ(ReadFile(path), QByteArray("old content"));
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{QStringLiteral("range.xml")});
}

TEST_F(SavedDocument, AFullDiskLeavesTheFileAlone)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("range.xml"));
    WriteFile(path, "old content");
    range.SetStopFrequency(1.5);

    // Files may not grow beyond 16 bytes: writes fail as on a full disk.
    rlimit saved{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
    const auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit small = saved;
    small.rlim_cur = 16;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const bool saved_ok = range.SaveXml(path);
    setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, previousHandler);

    EXPECT_FALSE(saved_ok);
    EXPECT_EQ(ReadFile(path), QByteArray("old content"));
    ASSERT_EQ(log.lines.size(), 1);
    EXPECT_TRUE(log.lines.at(0).startsWith(QStringLiteral("ERROR: Cannot write '%1': ").arg(path)))
        << log.lines.at(0).toStdString();
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{QStringLiteral("range.xml")});
}

TEST_F(SavedDocument, UnwritableDirectory)
{
    EXPECT_FALSE(range.SaveXml(QStringLiteral("/nonexistent/dir/range.xml")));
    ASSERT_EQ(log.lines.size(), 1);
    EXPECT_TRUE(log.lines.at(0).startsWith(
        QStringLiteral("ERROR: Cannot write '/nonexistent/dir/range.xml': ")));
}

// Devices are written in place: replacing one with a file would destroy it (as root).
TEST_F(SavedDocument, DevicesAreWrittenInPlaceNeverReplaced)
{
    const QFileInfo full(QStringLiteral("/dev/full"));
    if (!full.exists() || full.isFile())
        GTEST_SKIP() << "no /dev/full device here";
    EXPECT_FALSE(range.SaveXml(QStringLiteral("/dev/full")));
    ASSERT_EQ(log.lines.size(), 1);
    EXPECT_TRUE(log.lines.at(0).startsWith(QStringLiteral("ERROR: Cannot write '/dev/full': ")))
        << log.lines.at(0).toStdString();
    EXPECT_FALSE(QFileInfo(QStringLiteral("/dev/full")).isFile());
    log.lines.clear();
    EXPECT_TRUE(range.SaveXml(QStringLiteral("/dev/null")));
    EXPECT_TRUE(log.lines.isEmpty());
    EXPECT_FALSE(QFileInfo(QStringLiteral("/dev/null")).isFile());
}
