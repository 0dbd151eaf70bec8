// Reports of held records (a detail's frequency range, a root's details) reach the logger of
// the record that holds them, with its switch, whichever operation is called: the virtual
// record operations called directly as much as the whole-document ones. Nothing goes to the
// process-wide default logger.

#include "LogCapture.h"
#include "TestSupport.h"

#include <KVT317SettingsDetail.h>
#include <KVT317_Settings.h>

#include <QXmlStreamReader>

#include <gtest/gtest.h>

using KVT317XML::FrequencyRange;
using KVT317XML::KVT317_Settings;
using KVT317XML::KVT317SettingsDetail;
using REPORTGENERATOR::BinaryParsingException;
using REPORTGENERATOR::OutOfRangeException;
using Detail = KVT317SettingsDetail;

Detail FullySetDetail(); // settings_detail_test.cpp

namespace {

// Everything written under the default logger's category while it lives.
class DefaultLogWatch
{
public:
    DefaultLogWatch()
    {
        s_lines.clear();
        m_previous = qInstallMessageHandler(&DefaultLogWatch::Handle);
    }
    ~DefaultLogWatch() { qInstallMessageHandler(m_previous); }
    DefaultLogWatch(const DefaultLogWatch&) = delete;
    DefaultLogWatch& operator=(const DefaultLogWatch&) = delete;

    const QStringList& Lines() const { return s_lines; }

private:
    static void Handle(QtMsgType, const QMessageLogContext& context, const QString& message)
    {
        if (context.category && QByteArray(context.category) == "reportbase")
            s_lines.append(message);
    }

    static QStringList s_lines;
    QtMessageHandler m_previous = nullptr;
};

QStringList DefaultLogWatch::s_lines;

// Expose the protected entry point that the content loop calls.
class OpenSettings : public KVT317_Settings
{
public:
    using KVT317_Settings::ProcessXmlStartElement;
};

class OpenDetail : public Detail
{
public:
    using Detail::ProcessXmlStartElement;
};

const char* const LengthError = "ERROR: FrequencyRange::SetBinary(...): Length error occurred "
                                "during processing of binary representation";

// A detail's member entries: a frequency range entry that announces 32 bytes of members but
// holds only its start frequency (16 bytes).
const char* const ShortRangeEntries = "08B36734 00000020"
                                      "2D99DCB9 00000008 00000004 312E3030";

// The same as a detail's frame (its length, then the entries).
QByteArray DetailWithShortRange()
{
    return Hex("00000018") + Hex(ShortRangeEntries);
}

// A root's frame holding one detail whose frequency range runs past the data.
QByteArray SettingsWithShortRange()
{
    return Hex("00000028 09751B80 00000020 00000001 00000018") + Hex(ShortRangeEntries);
}

// A root's frame holding one detail whose antenna polarisation is the unknown name "XXX".
QByteArray SettingsWithUnknownName()
{
    return Hex("0000001F 09751B80 00000017 00000001 0000000F"
               "36B1CFF8 00000007 00000003 585858");
}

const char* const UnknownNameXml = "<KVT317_Settings><KVT317SettingsDetail>"
                                   "<AntennaPol>XXX</AntennaPol>"
                                   "</KVT317SettingsDetail></KVT317_Settings>";

// A complete detail whose frequency range lacks its stop frequency.
Detail DetailWithoutStop()
{
    Detail detail = FullySetDetail();
    detail.GetFrequencyRange().ResetStopFrequency();
    return detail;
}

// A root holding one such detail, appended in silence (an incomplete item is taken only
// with validation off, and reported).
KVT317_Settings SettingsWithoutStop(const QString& name = QStringLiteral("D"))
{
    KVT317_Settings settings;
    settings.SetLogger(nullptr);
    Detail detail = DetailWithoutStop();
    detail.SetName(name);
    settings.AppendKVT317SettingsDetail(detail);
    settings.ResetLogger();
    return settings;
}

// With validation on and off.
class HolderReports : public ::testing::TestWithParam<bool>
{
protected:
    bool Validate() const { return GetParam(); }
    void Own(const REPORTGENERATOR::IRGObject& record)
    {
        record.SetValidate(Validate());
        record.SetLogger(log.logger);
    }
    void ExpectNothingElsewhere() { EXPECT_EQ(watch.Lines(), QStringList()); }

    DefaultLogWatch watch;
    LogCapture log;
};

// ---- SetBinary ---------------------------------------------------------------------------

TEST_P(HolderReports, DetailSetBinaryReportsItsRangeLengthErrorToItsLogger)
{
    Detail detail;
    Own(detail);
    EXPECT_THROW(ReadFrame(detail, DetailWithShortRange()), BinaryParsingException);
    EXPECT_EQ(log.lines, QStringList{QLatin1String(LengthError)});
    EXPECT_EQ(detail.GetFrequencyRange().GetStartFrequency(), 1.0);
    // Handed out, the range holds the detail's settings.
    EXPECT_EQ(detail.GetFrequencyRange().GetLogger(), log.logger);
    EXPECT_EQ(detail.GetFrequencyRange().GetValidate(), Validate());
    ExpectNothingElsewhere();
}

TEST_P(HolderReports, DetailSetBinaryWithStorageReportsToItsLogger)
{
    Detail detail = FullySetDetail();
    Own(detail);
    EXPECT_THROW(ReadFrame(detail, DetailWithShortRange()), BinaryParsingException);
    EXPECT_EQ(log.lines, QStringList{QLatin1String(LengthError)});
    ExpectNothingElsewhere();
}

TEST_P(HolderReports, SettingsSetBinaryReportsItsItemsRangeLengthErrorToItsLogger)
{
    KVT317_Settings settings;
    Own(settings);
    EXPECT_THROW(ReadFrame(settings, SettingsWithShortRange()), BinaryParsingException);
    EXPECT_EQ(log.lines, QStringList{QLatin1String(LengthError)});
    EXPECT_EQ(settings.GetKVT317SettingsDetail().size(), 0);
    ExpectNothingElsewhere();
}

TEST_P(HolderReports, SettingsSetBinaryReportsItsItemsNamesWithItsSwitch)
{
    KVT317_Settings settings;
    Own(settings);
    if (Validate()) {
        EXPECT_THROW(ReadFrame(settings, SettingsWithUnknownName()), OutOfRangeException);
        EXPECT_EQ(log.lines, QStringList{QStringLiteral(
                                 "ERROR: enum is not valid "
                                 "(classname=KVT317SettingsDetail,membername=m_antennaPol)")});
    } else {
        ReadFrame(settings, SettingsWithUnknownName());
        EXPECT_EQ(log.lines,
                  (QStringList{QStringLiteral("WARNING: enum is not valid "
                                              "(classname=KVT317SettingsDetail,membername=m_"
                                              "antennaPol)"),
                               QStringLiteral("WARNING: KVT317_Settings: Tried to append not "
                                              "completely defined or invalid item "
                                              "KVT317SettingsDetail.")}));
        ASSERT_EQ(settings.GetKVT317SettingsDetail().size(), 1);
        const Detail& item = settings.GetKVT317SettingsDetail().at(0);
        EXPECT_EQ(item.GetLogger(), log.logger);
        EXPECT_EQ(item.GetFrequencyRange().GetLogger(), log.logger);
    }
    ExpectNothingElsewhere();
}

TEST_P(HolderReports, SetBinaryRepresentationReportsTheLengthErrorOnceAsADocumentFault)
{
    KVT317_Settings settings;
    Own(settings);
    QByteArray document = Hex("5DF5F465") + SettingsWithShortRange();
    EXPECT_FALSE(settings.SetBinaryRepresentation(document));
    ASSERT_EQ(log.lines.size(), 1);
    EXPECT_TRUE(log.lines.at(0).startsWith(QLatin1String(LengthError)))
        << log.lines.at(0).toStdString();
    ExpectNothingElsewhere();
}

// ---- GetBinary ---------------------------------------------------------------------------

TEST_P(HolderReports, DetailGetBinaryChecksItsRangeWithItsLogger)
{
    Detail detail = DetailWithoutStop();
    Own(detail);
    if (Validate()) {
        EXPECT_THROW(BinaryOf(detail, 0, false), OutOfRangeException);
        EXPECT_EQ(log.lines, QStringList{QStringLiteral(
                                 "ERROR: FrequencyRange: Please set StopFrequency properly.")});
    } else {
        bool written = false;
        BinaryOf(detail, 0, false, &written);
        EXPECT_TRUE(written);
        EXPECT_EQ(log.lines, QStringList());
    }
    ExpectNothingElsewhere();
}

TEST_P(HolderReports, SettingsGetBinaryChecksItsItemsRangesWithItsLogger)
{
    KVT317_Settings settings = SettingsWithoutStop();
    Own(settings);
    if (Validate()) {
        EXPECT_THROW(BinaryOf(settings, 0, false), OutOfRangeException);
        EXPECT_EQ(log.lines, QStringList{QStringLiteral(
                                 "ERROR: FrequencyRange: Please set StopFrequency properly.")});
    } else {
        bool written = false;
        BinaryOf(settings, 0, false, &written);
        EXPECT_TRUE(written);
        EXPECT_EQ(log.lines, QStringList());
    }
    ExpectNothingElsewhere();
}

// ---- Check -------------------------------------------------------------------------------

TEST_P(HolderReports, DetailCheckReportsItsRangeToItsLogger)
{
    Detail detail = FullySetDetail();
    detail.GetFrequencyRange().Reset();
    Own(detail);
    detail.Check(true);
    EXPECT_EQ(log.lines,
              (QStringList{QStringLiteral("ERROR: FrequencyRange: Please set StartFrequency "
                                          "properly."),
                           QStringLiteral("ERROR: FrequencyRange: Please set StopFrequency "
                                          "properly.")}));
    log.lines.clear();
    EXPECT_THROW(detail.Check(), OutOfRangeException);
    EXPECT_EQ(log.lines, QStringList{QStringLiteral(
                             "ERROR: FrequencyRange: Please set StartFrequency properly.")});
    ExpectNothingElsewhere();
}

TEST_P(HolderReports, FreshDetailCheckReportsItsRangeToItsLogger)
{
    Detail detail;
    Own(detail);
    detail.Check(true);
    ASSERT_EQ(log.lines.size(), 16);
    EXPECT_EQ(log.lines.at(6),
              QStringLiteral("ERROR: FrequencyRange: Please set StartFrequency properly."));
    EXPECT_EQ(log.lines.at(7),
              QStringLiteral("ERROR: FrequencyRange: Please set StopFrequency properly."));
    ExpectNothingElsewhere();
}

TEST_P(HolderReports, SettingsCheckReportsItsItemsRangesToItsLogger)
{
    KVT317_Settings settings = SettingsWithoutStop();
    Own(settings);
    settings.Check(true);
    EXPECT_EQ(log.lines, QStringList{QStringLiteral(
                             "ERROR: FrequencyRange: Please set StopFrequency properly.")});
    log.lines.clear();
    EXPECT_THROW(settings.Check(), OutOfRangeException);
    EXPECT_EQ(log.lines, QStringList{QStringLiteral(
                             "ERROR: FrequencyRange: Please set StopFrequency properly.")});
    ExpectNothingElsewhere();
}

// ---- GetXml ------------------------------------------------------------------------------

TEST_P(HolderReports, DetailGetXmlReportsItsRangeToItsLogger)
{
    Detail detail = DetailWithoutStop();
    Own(detail);
    if (Validate()) {
        EXPECT_THROW(XmlOf(detail), OutOfRangeException);
        EXPECT_EQ(log.lines, QStringList{QStringLiteral(
                                 "ERROR: FrequencyRange: Please set StopFrequency properly.")});
    } else {
        XmlOf(detail);
        EXPECT_EQ(log.lines, QStringList{QStringLiteral("WARNING: Parameters for FrequencyRange "
                                                        "are not set properly in "
                                                        "'KVT317SettingsDetail'.")});
    }
    ExpectNothingElsewhere();
}

TEST_P(HolderReports, SettingsGetXmlReportsItsItemsToItsLogger)
{
    KVT317_Settings settings = SettingsWithoutStop(QStringLiteral("a\u0001b"));
    Own(settings);
    if (Validate()) {
        EXPECT_THROW(XmlOf(settings), OutOfRangeException);
        EXPECT_EQ(log.lines, QStringList{QStringLiteral(
                                 "ERROR: FrequencyRange: Please set StopFrequency properly.")});
    } else {
        XmlOf(settings);
        EXPECT_EQ(log.lines,
                  (QStringList{QStringLiteral("WARNING: Parameters for KVT317SettingsDetail are "
                                              "not set properly in 'KVT317_Settings'."),
                               QStringLiteral("ERROR: KVT317SettingsDetail: Name holds U+0001, a "
                                              "character that XML cannot carry"),
                               QStringLiteral("WARNING: Parameters for FrequencyRange are not set "
                                              "properly in 'KVT317SettingsDetail'.")}));
    }
    ExpectNothingElsewhere();
}

// ---- ProcessXml and ProcessXmlStartElement -----------------------------------------------

QStringList UnknownNameLines(bool validate)
{
    if (validate)
        return {QStringLiteral(
            "ERROR: enum is not valid (classname=KVT317SettingsDetail,membername=m_antennaPol)")};
    return {
        QStringLiteral(
            "WARNING: enum is not valid (classname=KVT317SettingsDetail,membername=m_antennaPol)"),
        QStringLiteral("WARNING: KVT317_Settings: Tried to append not completely defined or "
                       "invalid item KVT317SettingsDetail.")};
}

TEST_P(HolderReports, SettingsProcessXmlReportsItsItemsToItsLogger)
{
    KVT317_Settings settings;
    Own(settings);
    if (Validate())
        EXPECT_THROW(ReadXml(settings, QLatin1String(UnknownNameXml)), OutOfRangeException);
    else
        ReadXml(settings, QLatin1String(UnknownNameXml));
    EXPECT_EQ(log.lines, UnknownNameLines(Validate()));
    EXPECT_EQ(settings.GetKVT317SettingsDetail().size(), Validate() ? 0 : 1);
    ExpectNothingElsewhere();
}

TEST_P(HolderReports, SettingsProcessXmlStartElementReportsItsItemsToItsLogger)
{
    OpenSettings settings;
    Own(settings);
    QXmlStreamReader reader{QLatin1String(UnknownNameXml)};
    ASSERT_TRUE(reader.readNextStartElement());
    ASSERT_TRUE(reader.readNextStartElement());
    ASSERT_EQ(reader.name(), QLatin1String("KVT317SettingsDetail"));
    if (Validate())
        EXPECT_THROW(settings.ProcessXmlStartElement(reader), OutOfRangeException);
    else
        settings.ProcessXmlStartElement(reader);
    EXPECT_EQ(log.lines, UnknownNameLines(Validate()));
    ExpectNothingElsewhere();
}

TEST_P(HolderReports, DetailProcessXmlStartElementReadsItsRangeWithItsSettings)
{
    OpenDetail detail;
    Own(detail);
    QXmlStreamReader reader{
        QStringLiteral("<KVT317SettingsDetail><FrequencyRange><StopFrequency>7</StopFrequency>"
                       "</FrequencyRange></KVT317SettingsDetail>")};
    ASSERT_TRUE(reader.readNextStartElement());
    ASSERT_TRUE(reader.readNextStartElement());
    detail.ProcessXmlStartElement(reader);
    EXPECT_EQ(detail.GetFrequencyRange().GetStopFrequency(), 7.0);
    EXPECT_EQ(detail.GetFrequencyRange().GetLogger(), log.logger);
    EXPECT_EQ(detail.GetFrequencyRange().GetValidate(), Validate());
    // Checked now, the range reports to the detail's logger, in its place among the
    // detail's fourteen unset members.
    detail.Check(true);
    ASSERT_EQ(log.lines.size(), 15);
    EXPECT_EQ(log.lines.at(5),
              QStringLiteral("ERROR: KVT317SettingsDetail: Please set DF_Alt properly."));
    EXPECT_EQ(log.lines.at(6),
              QStringLiteral("ERROR: FrequencyRange: Please set StartFrequency properly."));
    ExpectNothingElsewhere();
}

TEST_P(HolderReports, DetailProcessXmlReadsItsRangeWithoutReportsElsewhere)
{
    Detail detail;
    Own(detail);
    ReadXml(detail, QStringLiteral("<KVT317SettingsDetail><FrequencyRange>"
                                   "<StartFrequency>5</StartFrequency>"
                                   "</FrequencyRange></KVT317SettingsDetail>"));
    EXPECT_EQ(detail.GetFrequencyRange().GetStartFrequency(), 5.0);
    EXPECT_EQ(log.lines, QStringList());
    EXPECT_EQ(detail.GetFrequencyRange().GetLogger(), log.logger);
    ExpectNothingElsewhere();
}

// ---- Whole documents ---------------------------------------------------------------------

TEST_P(HolderReports, SetXmlStringReportsItsItemsToItsLogger)
{
    KVT317_Settings settings;
    Own(settings);
    const QString document = QLatin1String(UnknownNameXml);
    if (Validate())
        EXPECT_THROW(settings.SetXmlString(document, false), OutOfRangeException);
    else
        EXPECT_TRUE(settings.SetXmlString(document, false));
    EXPECT_EQ(log.lines, UnknownNameLines(Validate()));
    ExpectNothingElsewhere();
}

TEST_P(HolderReports, GetXmlStringReportsItsItemsRangesToItsLogger)
{
    KVT317_Settings settings = SettingsWithoutStop();
    Own(settings);
    if (Validate()) {
        EXPECT_THROW(settings.GetXmlString(), OutOfRangeException);
        EXPECT_EQ(log.lines, QStringList{QStringLiteral(
                                 "ERROR: FrequencyRange: Please set StopFrequency properly.")});
    } else {
        settings.GetXmlString();
        EXPECT_EQ(log.lines,
                  (QStringList{QStringLiteral("WARNING: Parameters for KVT317SettingsDetail are "
                                              "not set properly in 'KVT317_Settings'."),
                               QStringLiteral("WARNING: Parameters for FrequencyRange are not set "
                                              "properly in 'KVT317SettingsDetail'.")}));
    }
    ExpectNothingElsewhere();
}

TEST_P(HolderReports, GetBinaryRepresentationChecksItsItemsRangesWithItsLogger)
{
    KVT317_Settings settings = SettingsWithoutStop();
    Own(settings);
    if (Validate()) {
        EXPECT_THROW(settings.GetBinaryRepresentationAsQByteArray(), OutOfRangeException);
        EXPECT_EQ(log.lines, QStringList{QStringLiteral(
                                 "ERROR: FrequencyRange: Please set StopFrequency properly.")});
    } else {
        EXPECT_FALSE(settings.GetBinaryRepresentationAsQByteArray().isEmpty());
        EXPECT_EQ(log.lines, QStringList());
    }
    ExpectNothingElsewhere();
}

INSTANTIATE_TEST_SUITE_P(Validation, HolderReports, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& param) {
                             return param.param ? "On" : "Off";
                         });

} // namespace
