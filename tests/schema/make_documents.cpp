// Writes XML documents through the library into a directory, for the schema test: the forms
// the library produces (fresh records, fully set ones, defaults, every enumeration name,
// empty texts, numbers at their limits, validation off with members unset). Each file is
// named SCHEMA.VERDICT.CASE.xml: the schema it is checked against and whether that schema
// must accept ("valid") or reject ("invalid") it.

#include <BearingSettings.h>
#include <KVT317_Settings.h>

#include <QDate>
#include <QDateTime>
#include <QDir>
#include <QLoggingCategory>
#include <QTime>

#include <cstdio>
#include <limits>

using namespace KVT317XML;
using Detail = KVT317SettingsDetail;

namespace {

QString directory;
bool failed = false;

void Save(const REPORTGENERATOR::IRGObject& record, const char* schema, const char* verdict,
          const char* name)
{
    const QString path =
        QStringLiteral("%1/%2.%3.%4.xml")
            .arg(directory, QLatin1String(schema), QLatin1String(verdict), QLatin1String(name));
    if (!record.SaveXml(path)) {
        std::fprintf(stderr, "cannot write %s\n", qUtf8Printable(path));
        failed = true;
    }
}

template <class E> E As(int value)
{
    return static_cast<E>(value);
}

FrequencyRange Range(double start, double stop)
{
    FrequencyRange range;
    range.SetStartFrequency(start);
    range.SetStopFrequency(stop);
    return range;
}

// A detail with every member set; n picks the enumeration names, so that a list of details
// goes through all of them.
Detail CompleteDetail(int n)
{
    Detail detail;
    detail.SetName(QStringLiteral("Setting %1").arg(n));
    detail.Setindex(n);
    detail.SetAntennaPol(As<Detail::AntennaPol>(n % 4));
    detail.SetAntPreAmp(As<Detail::AntPreAmp>(n % 2));
    detail.SetAverageMode(As<Detail::AverageMode>(n % 3));
    detail.SetBandwidthDF(As<Detail::BandwidthDF>(n % 31));
    detail.SetBlockAveragingTime(10 * n);
    detail.SetDF_Alt(As<Detail::DF_Alt>(n % 5));
    detail.SetFrequencyRange(Range(1e6 * n + 0.25, 2e6 * n + 0.5));
    detail.SetReal_Time_Bandwidth(As<Detail::Real_Time_Bandwidth>(n % 10));
    detail.SetScanMemoryID(n - 5);
    detail.SetDFPan_Selectivity(As<Detail::DFPan_Selectivity>(n % 4));
    detail.SetThreshold(-n);
    detail.SetStopTime(QDateTime(QDate(2020 + n, 1 + n % 12, 1 + n % 28),
                                 QTime(n % 24, n % 60, n % 60, n), Qt::UTC));
    detail.SetAttSelect(As<Detail::AttSelect>(n % 2));
    detail.SetAttenuationHoldValue(0.5f * static_cast<float>(n));
    detail.SetAttenuationHoldTime(100.0f + static_cast<float>(n));
    return detail;
}

void SettingsDocuments()
{
    const char* const schema = "KVT317_Settings";

    KVT317_Settings one;
    one.SetValidate(true);
    one.AppendKVT317SettingsDetail(CompleteDetail(1));
    Save(one, schema, "valid", "one-detail-validation-on");

    KVT317_Settings all;
    for (int n = 0; n < 31; ++n)
        all.AppendKVT317SettingsDetail(CompleteDetail(n));
    Save(all, schema, "valid", "every-enumeration-name");

    // Defaults, the two enumerations without one, a null stop time (an empty element).
    Detail defaults;
    defaults.ResetToDefault();
    defaults.SetAverageMode(Detail::AverageMode_OFF);
    defaults.SetBandwidthDF(Detail::BandwidthDF_12_50_Hz);
    defaults.SetScanMemoryID(0);
    defaults.SetStopTime(QDateTime());
    defaults.GetFrequencyRange();
    KVT317_Settings withDefaults;
    withDefaults.SetValidate(true);
    withDefaults.AppendKVT317SettingsDetail(defaults);
    Save(withDefaults, schema, "valid", "defaults-null-stop-time");

    // Texts and numbers at their edges.
    Detail edges = CompleteDetail(2);
    edges.SetName(QStringLiteral(""));
    edges.Setindex(std::numeric_limits<int>::min());
    edges.SetBlockAveragingTime(std::numeric_limits<int>::max());
    edges.SetScanMemoryID(0);
    edges.SetThreshold(-1);
    edges.SetFrequencyRange(Range(-0.004, 1e18));
    edges.SetAttenuationHoldValue(-0.5f);
    edges.SetAttenuationHoldTime(0.0f);
    edges.SetStopTime(QDateTime(QDate(1, 1, 1), QTime(0, 0), Qt::UTC));
    Detail markup = CompleteDetail(3);
    markup.SetName(QStringLiteral("<&>\"' \u00e4\u6e2c \t"));
    markup.SetFrequencyRange(
        Range(std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()));
    markup.SetAttenuationHoldValue(std::numeric_limits<float>::quiet_NaN());
    markup.SetStopTime(QDateTime(QDate(9999, 12, 31), QTime(23, 59, 59, 999), Qt::UTC));
    KVT317_Settings edgeRoot;
    edgeRoot.SetKVT317SettingsDetail({edges, markup});
    Save(edgeRoot, schema, "valid", "edge-values");

    // Records that are documents of their own.
    Save(CompleteDetail(4), schema, "valid", "detail-alone");
    FrequencyRange range;
    Save(range, schema, "valid", "frequency-range-fresh");
    Save(Range(118e6, 137e6), schema, "valid", "frequency-range-set");

    // What the library writes for records that Check() reports, with validation off.
    Save(KVT317_Settings(), schema, "invalid", "fresh-root");
    KVT317_Settings emptyList;
    emptyList.SetKVT317SettingsDetail({});
    Save(emptyList, schema, "invalid", "empty-list");
    Detail fresh;
    Save(fresh, schema, "invalid", "fresh-detail");
    KVT317_Settings withFresh;
    withFresh.AppendKVT317SettingsDetail(CompleteDetail(5));
    withFresh.AppendKVT317SettingsDetail(fresh);
    Save(withFresh, schema, "invalid", "root-with-fresh-detail");
    Detail outside = CompleteDetail(6);
    outside.SetAverageMode(As<Detail::AverageMode>(3));
    Save(outside, schema, "invalid", "average-mode-outside-its-names");
    Detail invalidMarker = CompleteDetail(7);
    invalidMarker.SetBandwidthDF(invalidMarker.NameToBandwidthDF(QStringLiteral("8.333 Hz")));
    Save(invalidMarker, schema, "invalid", "bandwidth-invalid-marker");
    // The frequency range has data but was never marked set: it is not written.
    Detail unmarked = defaults;
    unmarked.ResetFrequencyRange();
    unmarked.ResetToDefault();
    unmarked.SetAverageMode(Detail::AverageMode_NORM);
    unmarked.SetBandwidthDF(Detail::BandwidthDF_2_MHz);
    unmarked.SetScanMemoryID(1);
    unmarked.SetStopTime(QDateTime());
    Save(unmarked, schema, "invalid", "frequency-range-not-marked-set");
}

BearingSettings CompleteBearing(int mode)
{
    BearingSettings bearing;
    bearing.SetName(QStringLiteral("Sector %1").arg(mode));
    bearing.SetIndex(mode);
    bearing.SetFrequency(121.5e6 + mode);
    bearing.SetAveragingTime(500);
    bearing.SetDFBandwidth(12500.0);
    bearing.SetDFMode(As<BearingSettings::DFMode>(mode));
    bearing.SetAngleSamples(360);
    bearing.SetLevelThreshold(-95);
    bearing.SetQualityThreshold(60);
    bearing.SetElevationThreshold(45);
    bearing.SetSlidingWindowTime(2000);
    bearing.SetBearingVtPath(QStringLiteral("/results/bearing.vt"));
    bearing.SetBearingVtPathSR(QStringLiteral("/results/bearing-sr.vt"));
    bearing.SetEigenValueVtPath(QStringLiteral("/results/eigen.vt"));
    bearing.SetSignalEstimationQualityVtPath(QStringLiteral("/results/quality.vt"));
    return bearing;
}

void BearingDocuments()
{
    const char* const schema = "BearingSettings";

    // A fresh record writes its one always-present member, Frequency, at 0.
    Save(BearingSettings(), schema, "valid", "fresh");
    BearingSettings validated = CompleteBearing(0);
    validated.SetValidate(true);
    Save(validated, schema, "valid", "cont-validation-on");
    Save(CompleteBearing(1), schema, "valid", "norm");
    Save(CompleteBearing(2), schema, "valid", "gate");

    BearingSettings texts;
    texts.SetName(QString(QLatin1String("")));
    texts.SetIndex(std::numeric_limits<int>::max());
    texts.SetFrequency(-0.5);
    texts.SetDFBandwidth(std::numeric_limits<double>::quiet_NaN());
    texts.SetLevelThreshold(std::numeric_limits<int>::min());
    texts.SetBearingVtPath(QStringLiteral(""));
    texts.SetEigenValueVtPath(QStringLiteral("C:\\results\\<eigen & values>.vt"));
    Save(texts, schema, "valid", "empty-texts-and-edge-numbers");

    BearingSettings infinite;
    infinite.SetFrequency(std::numeric_limits<double>::infinity());
    Save(infinite, schema, "valid", "infinite-frequency");

    BearingSettings outside = CompleteBearing(1);
    outside.SetDFMode(As<BearingSettings::DFMode>(3));
    Save(outside, schema, "invalid", "dfmode-outside-its-names");
    BearingSettings marker;
    marker.SetDFMode(marker.NameToDFMode(QStringLiteral("cont")));
    Save(marker, schema, "invalid", "dfmode-invalid-marker");
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s DIRECTORY\n", argv[0]);
        return 2;
    }
    directory = QString::fromLocal8Bit(argv[1]);
    // Most records here are faulty on purpose; their reports are not wanted.
    QLoggingCategory::setFilterRules(QStringLiteral("reportbase=false"));
    if (!QDir().mkpath(directory)) {
        std::fprintf(stderr, "cannot make %s\n", argv[1]);
        return 2;
    }
    SettingsDocuments();
    BearingDocuments();
    return failed ? 1 : 0;
}
