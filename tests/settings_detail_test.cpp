#include "TestSupport.h"

#include <KVT317SettingsDetail.h>

#include <QXmlStreamReader>

#include <gtest/gtest.h>

using KVT317XML::FrequencyRange;
using KVT317XML::KVT317SettingsDetail;
using REPORTGENERATOR::IncompleteDefinitionException;
using REPORTGENERATOR::OutOfRangeException;
using Detail = KVT317SettingsDetail;

// ---- Tables --------------------------------------------------------------------------

TEST(DetailEnumerations, PlainNameLists)
{
    const auto list = [](std::initializer_list<const char*> names) {
        QStringList result;
        for (const char* name : names)
            result.append(QString::fromLatin1(name));
        return result;
    };
    const QStringList antPreAmps = list({"OFF", "ON"});
    const QStringList antennaPols = list({"VERT", "HOR", "LEFT", "RIGHT"});
    const QStringList attSelects = list({"AUTO", "MANUAL"});
    const QStringList averageModes = list({"OFF", "GATE", "NORM"});
    const QStringList selectivities = list({"AUTO", "NORMAL", "NARROW", "SHARP"});
    const QStringList dfAlts =
        list({"AUTO", "WATSONWATT", "CORRELATION", "SUPERRESOLUTION", "VECTORMATCHING"});
    EXPECT_EQ(Detail::GetAntPreAmps(), antPreAmps);
    EXPECT_EQ(Detail::GetAntennaPols(), antennaPols);
    EXPECT_EQ(Detail::GetAttSelects(), attSelects);
    EXPECT_EQ(Detail::GetAverageModes(), averageModes);
    EXPECT_EQ(Detail::GetDFPan_Selectivitys(), selectivities);
    EXPECT_EQ(Detail::GetDF_Alts(), dfAlts);
    // Without a translation the display lists are the names themselves.
    EXPECT_EQ(Detail::GetGUIDF_Alts(), dfAlts);
    EXPECT_EQ(Detail::GetGUIAntPreAmps(), antPreAmps);
    EXPECT_EQ(Detail::GetGUIAntennaPols(), antennaPols);
    EXPECT_EQ(Detail::GetGUIAttSelects(), attSelects);
    EXPECT_EQ(Detail::GetGUIAverageModes(), averageModes);
    EXPECT_EQ(Detail::GetGUIDFPan_Selectivitys(), selectivities);
}

TEST(DetailEnumerations, BandwidthDFTable)
{
    const std::vector<std::pair<const char*, double>> expected{
        {"12.50 Hz", 12.5},    {"20.00 Hz", 20.0},    {"25.00 Hz", 25.0},    {"31.25 Hz", 31.25},
        {"50.00 Hz", 50.0},    {"62.50 Hz", 62.5},    {"100.0 Hz", 100.0},   {"125.0 Hz", 125.0},
        {"200.0 Hz", 200.0},   {"250.0 Hz", 250.0},   {"312.5 Hz", 312.5},   {"500.0 Hz", 500.0},
        {"625.0 Hz", 625.0},   {"1.00 kHz", 1000.0},  {"1.25 kHz", 1250.0},  {"2.00 kHz", 2000.0},
        {"2.50 kHz", 2500.0},  {"3.125 kHz", 3125.0}, {"5.00 kHz", 5000.0},  {"6.25 kHz", 6250.0},
        {"8.333 kHz", 8333.0}, {"10.0 kHz", 10000.0}, {"12.5 kHz", 12500.0}, {"20.0 kHz", 20000.0},
        {"25.0 kHz", 25000.0}, {"50.0 kHz", 50000.0}, {"100 kHz", 100000.0}, {"200 kHz", 200000.0},
        {"500 kHz", 500000.0}, {"1 MHz", 1000000.0},  {"2 MHz", 2000000.0}};
    const auto table = Detail::GetBandwidthDFs();
    ASSERT_EQ(table.size(), 31);
    Detail detail;
    for (int i = 0; i < 31; ++i) {
        const QString name = QString::fromLatin1(expected[i].first);
        EXPECT_EQ(table[i].name, name) << i;
        EXPECT_EQ(table[i].value, expected[i].second) << i;
        EXPECT_EQ(detail.BandwidthDFToName(As<Detail::BandwidthDF>(i)), name);
        EXPECT_EQ(static_cast<int>(detail.NameToBandwidthDF(name)), i);
        EXPECT_EQ(detail.BandwidthDFToValue(As<Detail::BandwidthDF>(i)), expected[i].second);
        EXPECT_EQ(static_cast<int>(detail.ValueToBandwidthDF(expected[i].second)), i);
    }
}

TEST(DetailEnumerations, Real_Time_BandwidthTable)
{
    const std::vector<std::pair<const char*, double>> expected{
        {"100 kHz", 100000.0},  {"200 kHz", 200000.0},  {"500 kHz", 500000.0},
        {"1 MHz", 1000000.0},   {"2 MHz", 2000000.0},   {"5 MHz", 5000000.0},
        {"10 MHz", 10000000.0}, {"20 MHz", 20000000.0}, {"40 MHz", 40000000.0},
        {"80 MHz", 80000000.0}};
    const auto table = Detail::GetReal_Time_Bandwidths();
    ASSERT_EQ(table.size(), 10);
    Detail detail;
    for (int i = 0; i < 10; ++i) {
        const QString name = QString::fromLatin1(expected[i].first);
        EXPECT_EQ(table[i].name, name) << i;
        EXPECT_EQ(table[i].value, expected[i].second) << i;
        EXPECT_EQ(detail.Real_Time_BandwidthToName(As<Detail::Real_Time_Bandwidth>(i)), name);
        EXPECT_EQ(static_cast<int>(detail.NameToReal_Time_Bandwidth(name)), i);
        EXPECT_EQ(detail.Real_Time_BandwidthToValue(As<Detail::Real_Time_Bandwidth>(i)),
                  expected[i].second);
    }
}

TEST(DetailEnumerations, EdgeCases)
{
    Detail detail;
    EXPECT_EQ(static_cast<int>(detail.NameToAntPreAmp(QStringLiteral("on"))), -1);
    EXPECT_EQ(static_cast<int>(detail.NameToAntPreAmp(QStringLiteral("ON"))), 1);
    EXPECT_EQ(static_cast<int>(detail.NameToAntPreAmp(QString())), -1);
    EXPECT_EQ(static_cast<int>(detail.NameToBandwidthDF(QStringLiteral("8.333 kHz"))), 20);
    EXPECT_EQ(detail.BandwidthDFToValue(As<Detail::BandwidthDF>(20)), 8333.0);
    for (const double near : {8333.3333333, 8332.0, 8334.0, 25000.0 / 3.0})
        EXPECT_EQ(static_cast<int>(detail.ValueToBandwidthDF(near)), -1) << near;
    EXPECT_EQ(static_cast<int>(detail.ValueToReal_Time_Bandwidth(3000000.0)), -1);
    EXPECT_EQ(static_cast<int>(detail.ValueToReal_Time_Bandwidth(80000000.0)), 9);
    EXPECT_TRUE(detail.AverageModeToName(As<Detail::AverageMode>(3)).isEmpty());
    EXPECT_TRUE(detail.AverageModeToName(As<Detail::AverageMode>(-1)).isEmpty());
    EXPECT_TRUE(detail.BandwidthDFToName(As<Detail::BandwidthDF>(31)).isEmpty());
    EXPECT_EQ(detail.BandwidthDFToValue(As<Detail::BandwidthDF>(-1)), 0.0);
    EXPECT_EQ(detail.Real_Time_BandwidthToValue(As<Detail::Real_Time_Bandwidth>(10)), 0.0);
    detail.SetInvalidDF_Alt(As<Detail::DF_Alt>(2));
    EXPECT_EQ(static_cast<int>(detail.NameToDF_Alt(QStringLiteral("nothing"))), 2);
    EXPECT_TRUE(detail.IsValidDF_Alt(As<Detail::DF_Alt>(2)));
    EXPECT_EQ(static_cast<int>(detail.GetDF_Alt()), 2); // the default, unchanged
    EXPECT_EQ(static_cast<int>(detail.NameToBandwidthDF(QStringLiteral("1 MHz"))), 29);
    EXPECT_EQ(static_cast<int>(detail.NameToReal_Time_Bandwidth(QStringLiteral("1 MHz"))), 3);
    detail.SetInvalidBandwidthDF(As<Detail::BandwidthDF>(-7));
    EXPECT_EQ(static_cast<int>(detail.ValueToBandwidthDF(1.0)), -7);
}

// ---- Detail state --------------------------------------------------------------------

TEST(Detail, Identity)
{
    EXPECT_EQ(Detail::id, -102096553);
    EXPECT_EQ(static_cast<quint64>(Detail::GetId()), 0xFFFFFFFFF9EA2157ull);
    EXPECT_EQ(Detail().GetObjectName(), QStringLiteral("KVT317SettingsDetail"));
    EXPECT_EQ(Detail::tr("VERT"), QStringLiteral("VERT"));
}

TEST(Detail, FreshRecordValues)
{
    Detail detail;
    EXPECT_EQ(static_cast<int>(detail.GetAntennaPol()), 0);
    EXPECT_EQ(static_cast<int>(detail.GetAntPreAmp()), 0);
    EXPECT_EQ(static_cast<int>(detail.GetAverageMode()), -1);
    EXPECT_EQ(static_cast<int>(detail.GetBandwidthDF()), -1);
    EXPECT_EQ(detail.GetBlockAveragingTime(), 10);
    EXPECT_EQ(static_cast<int>(detail.GetDF_Alt()), 2);
    EXPECT_FALSE(static_cast<const Detail&>(detail).GetFrequencyRange().AnyData());
    EXPECT_EQ(static_cast<int>(detail.GetReal_Time_Bandwidth()), 9);
    EXPECT_EQ(detail.GetScanMemoryID(), 0);
    EXPECT_EQ(static_cast<int>(detail.GetDFPan_Selectivity()), 1);
    EXPECT_EQ(detail.GetThreshold(), 20);
    EXPECT_TRUE(static_cast<const Detail&>(detail).GetStopTime().isNull());
    EXPECT_EQ(static_cast<int>(detail.GetAttSelect()), 1);
    EXPECT_EQ(detail.GetAttenuationHoldValue(), 10.0f);
    EXPECT_EQ(detail.GetAttenuationHoldTime(), 100.0f);
    EXPECT_TRUE(detail.GetName().isNull());
    EXPECT_EQ(detail.Getindex(), 0);
    for (const bool set : {detail.IsAntennaPolSet(), detail.IsFrequencyRangeSet(),
                           detail.IsNameSet(), detail.IsindexSet(), detail.IsStopTimeSet()})
        EXPECT_FALSE(set);
    EXPECT_FALSE(detail.IsStopTimeSet()); // the const getter above marks nothing
    EXPECT_EQ(static_cast<int>(detail.GetInvalidAntennaPol()), -1);
    EXPECT_EQ(detail.GetAntennaPolAsString(), QStringLiteral("VERT"));
    EXPECT_TRUE(detail.GetAverageModeAsString().isNull());
}

TEST(Detail, NonConstGettersMarkTheMemberSet)
{
    Detail detail;
    detail.GetFrequencyRange();
    EXPECT_TRUE(detail.IsFrequencyRangeSet());
    detail.GetStopTime();
    EXPECT_TRUE(detail.IsStopTimeSet());
}

TEST(Detail, ResetToDefault)
{
    Detail detail;
    detail.ResetToDefault();
    EXPECT_TRUE(detail.IsAntennaPolSet());
    EXPECT_TRUE(detail.IsAntPreAmpSet());
    EXPECT_TRUE(detail.IsBlockAveragingTimeSet());
    EXPECT_TRUE(detail.IsDF_AltSet());
    EXPECT_TRUE(detail.IsReal_Time_BandwidthSet());
    EXPECT_TRUE(detail.IsDFPan_SelectivitySet());
    EXPECT_TRUE(detail.IsThresholdSet());
    EXPECT_TRUE(detail.IsAttSelectSet());
    EXPECT_TRUE(detail.IsAttenuationHoldValueSet());
    EXPECT_TRUE(detail.IsAttenuationHoldTimeSet());
    EXPECT_FALSE(detail.IsAverageModeSet());
    EXPECT_FALSE(detail.IsBandwidthDFSet());
    EXPECT_FALSE(detail.IsScanMemoryIDSet());
    EXPECT_FALSE(detail.IsStopTimeSet());
    EXPECT_FALSE(detail.IsNameSet());
    EXPECT_FALSE(detail.IsindexSet());
    EXPECT_FALSE(detail.HasData());
    EXPECT_FALSE(detail.IsFrequencyRangeSet());
    const Detail& constant = detail;
    EXPECT_TRUE(constant.GetFrequencyRange().HasData());
    EXPECT_FALSE(detail.IsFrequencyRangeSet());
    EXPECT_EQ(constant.GetFrequencyRange().GetStopFrequency(), 240000000.0);
}

TEST(Detail, EqualityIgnoresUnsetMembers)
{
    Detail a;
    Detail b;
    a.SetDefaultThreshold(20);
    b.SetDefaultThreshold(30);
    a.Reset();
    b.Reset();
    EXPECT_EQ(a.GetThreshold(), 20);
    EXPECT_EQ(b.GetThreshold(), 30);
    EXPECT_TRUE(a == b);
    a.SetThreshold(1);
    EXPECT_TRUE(a != b);
    EXPECT_TRUE(FullySetDetail() == FullySetDetail());
    Detail c = FullySetDetail();
    c.GetFrequencyRange().SetStopFrequency(3.0);
    EXPECT_FALSE(c == FullySetDetail());
}

TEST(Detail, EnumerationSettersReport)
{
    LogCapture log;
    Detail detail;
    detail.SetLogger(log.logger);
    detail.SetAntennaPol(As<Detail::AntennaPol>(4));
    detail.SetAntPreAmp(As<Detail::AntPreAmp>(2));
    detail.SetAverageMode(As<Detail::AverageMode>(-1));
    detail.SetBandwidthDF(As<Detail::BandwidthDF>(31));
    detail.SetDF_Alt(As<Detail::DF_Alt>(5));
    detail.SetReal_Time_Bandwidth(As<Detail::Real_Time_Bandwidth>(10));
    detail.SetDFPan_Selectivity(As<Detail::DFPan_Selectivity>(4));
    detail.SetAttSelect(As<Detail::AttSelect>(2));
    const QString prefix =
        QStringLiteral("WARNING: enum is not valid (classname=KVT317SettingsDetail,membername=");
    EXPECT_EQ(log.lines, (QStringList{prefix + QStringLiteral("m_antennaPol)"),
                                      prefix + QStringLiteral("m_antPreAmp)"),
                                      prefix + QStringLiteral("m_averageMode)"),
                                      prefix + QStringLiteral("m_bandwidthDF)"),
                                      prefix + QStringLiteral("m_dF_Alt)"),
                                      prefix + QStringLiteral("m_real_Time_Bandwidth)"),
                                      prefix + QStringLiteral("m_dFPan_Selectivity)"),
                                      prefix + QStringLiteral("m_attSelect)")}));
    EXPECT_EQ(static_cast<int>(detail.GetBandwidthDF()), 31);
    EXPECT_TRUE(detail.IsBandwidthDFSet());
    EXPECT_TRUE(detail.GetBandwidthDFAsString().isEmpty());
}

TEST(Detail, EnumerationSetterRaisesWithValidation)
{
    LogCapture log;
    Detail detail;
    detail.SetLogger(log.logger);
    detail.SetValidate(true);
    EXPECT_THROW(detail.SetBandwidthDF(As<Detail::BandwidthDF>(31)), OutOfRangeException);
    EXPECT_FALSE(detail.IsBandwidthDFSet());
    EXPECT_EQ(
        log.lines,
        QStringList{QStringLiteral(
            "ERROR: enum is not valid (classname=KVT317SettingsDetail,membername=m_bandwidthDF)")});
}

TEST(Detail, NullName)
{
    LogCapture log;
    Detail detail;
    detail.SetLogger(log.logger);
    detail.SetName(QString());
    EXPECT_TRUE(detail.IsNameSet());
    EXPECT_EQ(log.lines, QStringList{QStringLiteral(
                             "WARNING: KVT317SettingsDetail: Please set Name properly.")});
}

TEST(Detail, CheckOrderAndMessages)
{
    LogCapture log;
    Detail detail;
    detail.SetLogger(log.logger);
    detail.SetName(QString());
    detail.Setindex(1);
    detail.SetAverageMode(As<Detail::AverageMode>(9));
    log.lines.clear();
    detail.Check(true);
    const QString p = QStringLiteral("ERROR: KVT317SettingsDetail: Please set ");
    const QString f = QStringLiteral("ERROR: FrequencyRange: Please set ");
    EXPECT_EQ(log.lines,
              (QStringList{p + "AntennaPol properly.", p + "AntPreAmp properly.",
                           p + "AverageMode properly.", p + "BandwidthDF properly.",
                           p + "BlockAveragingTime properly.", p + "DF_Alt properly.",
                           f + "StartFrequency properly.", f + "StopFrequency properly.",
                           p + "Real_Time_Bandwidth properly.", p + "ScanMemoryID properly.",
                           p + "DFPan_Selectivity properly.", p + "Threshold properly.",
                           p + "StopTime properly.", p + "AttSelect properly.",
                           p + "AttenuationHoldValue properly.",
                           p + "AttenuationHoldTime properly.", p + "Name properly."}));
    log.lines.clear();
    FullySetDetail().Check(true);
    EXPECT_TRUE(log.lines.isEmpty());
}

TEST(Detail, CopyKeepsValidationAndPassesItToTheFrequencyRange)
{
    Detail source = FullySetDetail();
    source.SetValidate(true);
    Detail copy(source);
    EXPECT_TRUE(copy.GetValidate());
    EXPECT_TRUE(static_cast<const Detail&>(copy).GetFrequencyRange().GetValidate());
    EXPECT_TRUE(copy == source);
}

// ---- Detail XML ----------------------------------------------------------------------

TEST(DetailXml, FreshRecordWithoutValidation)
{
    LogCapture log;
    Detail detail;
    detail.SetLogger(log.logger);
    EXPECT_EQ(XmlOf(detail),
              QStringLiteral("<KVT317SettingsDetail>"
                             "<AntennaPol>VERT</AntennaPol><AntPreAmp>OFF</AntPreAmp>"
                             "<AverageMode></AverageMode><BandwidthDF></BandwidthDF>"
                             "<BlockAveragingTime>10</BlockAveragingTime>"
                             "<DF_Alt>CORRELATION</DF_Alt>"
                             "<Real_Time_Bandwidth>80 MHz</Real_Time_Bandwidth>"
                             "<ScanMemoryID>0</ScanMemoryID>"
                             "<DFPan_Selectivity>NORMAL</DFPan_Selectivity>"
                             "<Threshold>20</Threshold><StopTime></StopTime>"
                             "<AttSelect>MANUAL</AttSelect>"
                             "<AttenuationHoldValue>10.00</AttenuationHoldValue>"
                             "<AttenuationHoldTime>100.00</AttenuationHoldTime>"
                             "</KVT317SettingsDetail>"));
    EXPECT_EQ(log.lines,
              QStringList{QStringLiteral("WARNING: Parameters for FrequencyRange are not set "
                                         "properly in 'KVT317SettingsDetail'.")});
}

TEST(DetailXml, FullySetRecord)
{
    EXPECT_EQ(XmlOf(FullySetDetail()), FullySetDetailXml);
    Detail back;
    ReadXml(back, FullySetDetailXml);
    EXPECT_TRUE(back == FullySetDetail());
    EXPECT_EQ(XmlOf(back), FullySetDetailXml);
}

TEST(DetailXml, LowerCaseEnumerationName)
{
    LogCapture log;
    Detail detail;
    detail.SetLogger(log.logger);
    ReadXml(detail, QStringLiteral("<KVT317SettingsDetail><AntennaPol>vert</AntennaPol>"
                                   "</KVT317SettingsDetail>"));
    EXPECT_EQ(static_cast<int>(detail.GetAntennaPol()), -1);
    EXPECT_TRUE(detail.IsAntennaPolSet());
    ASSERT_EQ(log.lines.size(), 1);
    EXPECT_EQ(log.lines.at(0),
              QStringLiteral("WARNING: enum is not valid "
                             "(classname=KVT317SettingsDetail,membername=m_antennaPol)"));
    log.lines.clear();
    detail.Check(true);
    EXPECT_EQ(log.lines.at(0),
              QStringLiteral("ERROR: KVT317SettingsDetail: Please set AntennaPol properly."));
}

TEST(DetailXml, IndexElementAfterTheAttribute)
{
    Detail detail;
    ReadXml(detail, QStringLiteral("<KVT317SettingsDetail index=\"4\" Name=\"a\">"
                                   "<index>9</index></KVT317SettingsDetail>"));
    EXPECT_EQ(detail.Getindex(), 9);
    EXPECT_EQ(detail.GetName(), QStringLiteral("a"));
}

TEST(DetailXml, EmptyNameElementIsNotNull)
{
    LogCapture log;
    Detail detail;
    detail.SetLogger(log.logger);
    ReadXml(detail, QStringLiteral("<KVT317SettingsDetail><Name></Name></KVT317SettingsDetail>"));
    EXPECT_TRUE(detail.IsNameSet());
    EXPECT_FALSE(detail.GetName().isNull());
    EXPECT_TRUE(log.lines.isEmpty());
}

TEST(DetailXml, FrequencyRangeMergesIntoTheChild)
{
    Detail detail;
    detail.GetFrequencyRange().SetStartFrequency(5.0);
    ReadXml(detail, QStringLiteral("<KVT317SettingsDetail><FrequencyRange><StopFrequency>6"
                                   "</StopFrequency></FrequencyRange></KVT317SettingsDetail>"));
    const Detail& constant = detail;
    EXPECT_EQ(constant.GetFrequencyRange().GetStartFrequency(), 5.0);
    EXPECT_EQ(constant.GetFrequencyRange().GetStopFrequency(), 6.0);
    EXPECT_TRUE(detail.IsFrequencyRangeSet());
}

// ---- Detail binary -------------------------------------------------------------------

TEST(DetailBinary, FullySetRecord)
{
    EXPECT_EQ(BinaryOf(FullySetDetail(), 0, false).toHex(), Hex(FullySetDetailHex).toHex());
    Detail back;
    ReadFrame(back, Hex(FullySetDetailHex));
    EXPECT_TRUE(back == FullySetDetail());
    EXPECT_EQ(BinaryOf(back, 0, false).toHex(), Hex(FullySetDetailHex).toHex());
}

TEST(DetailBinary, DefaultsWithANullStopTime)
{
    EXPECT_EQ(BinaryOf(DefaultDetail(), 0, false).toHex(), Hex(DefaultDetailHex).toHex());
    Detail back;
    ReadFrame(back, Hex(DefaultDetailHex));
    EXPECT_TRUE(back.IsStopTimeSet());
    EXPECT_TRUE(static_cast<const Detail&>(back).GetStopTime().isNull());
    EXPECT_FALSE(back.IsFrequencyRangeSet());
}
