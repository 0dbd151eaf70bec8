#pragma once

#include "FrequencyRange.h"
#include "KVT317XmlExport.h"
#include "Record.h"
#include "RecordDebug.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

namespace KVT317XML {

/// @brief One complete receiver setting: antenna, averaging, direction-finding bandwidth and
/// method, its frequency range, real-time bandwidth, scan memory, selectivity, threshold,
/// stop time and attenuation, identified by a Name and an index.
///
/// Every element member is required and written whether set or not, except the frequency
/// range, which is written only when set; Name and index are optional attributes ("index" in
/// lower case). Enumerations travel by name; their numeric values are their positions in the
/// name tables and are part of the stored format.
///
/// Validation is off for a new record: faults are logged as warnings and the value is
/// stored. SetValidate(true) makes the first fault found while setting or writing raise.
///
/// Each member has the accessors of the @ref accessor_pattern "accessor pattern" of Record;
/// the member groups below say what each member holds.
class KVT317XML_EXPORT KVT317SettingsDetail : public Record
{
public:
    /// @name Enumerations
    /// The enumerations have int as their underlying type, so that the invalid marker -1 and
    /// any out-of-table value read from a document can be held and reported. The value of a
    /// name is its position in the list; documents carry the name.
    ///@{

    /// Antenna preamplifier.
    enum AntPreAmp : int {
        AntPreAmp_OFF = 0, ///< "OFF"
        AntPreAmp_ON = 1,  ///< "ON"
    };
    /// Antenna polarisation.
    enum AntennaPol : int {
        AntennaPol_VERT = 0,  ///< "VERT"
        AntennaPol_HOR = 1,   ///< "HOR"
        AntennaPol_LEFT = 2,  ///< "LEFT"
        AntennaPol_RIGHT = 3, ///< "RIGHT"
    };
    /// Attenuation selection.
    enum AttSelect : int {
        AttSelect_AUTO = 0,   ///< "AUTO"
        AttSelect_MANUAL = 1, ///< "MANUAL"
    };
    /// Averaging mode.
    enum AverageMode : int {
        AverageMode_OFF = 0,  ///< "OFF"
        AverageMode_GATE = 1, ///< "GATE"
        AverageMode_NORM = 2, ///< "NORM"
    };
    /// Panorama selectivity.
    enum DFPan_Selectivity : int {
        DFPan_Selectivity_AUTO = 0,   ///< "AUTO"
        DFPan_Selectivity_NORMAL = 1, ///< "NORMAL"
        DFPan_Selectivity_NARROW = 2, ///< "NARROW"
        DFPan_Selectivity_SHARP = 3,  ///< "SHARP"
    };
    /// Direction-finding method.
    enum DF_Alt : int {
        DF_Alt_AUTO = 0,            ///< "AUTO"
        DF_Alt_WATSONWATT = 1,      ///< "WATSONWATT"
        DF_Alt_CORRELATION = 2,     ///< "CORRELATION"
        DF_Alt_SUPERRESOLUTION = 3, ///< "SUPERRESOLUTION"
        DF_Alt_VECTORMATCHING = 4,  ///< "VECTORMATCHING"
    };
    /// Direction-finding bandwidth, ascending in hertz.
    enum BandwidthDF : int {
        BandwidthDF_12_50_Hz = 0,   ///< "12.50 Hz"
        BandwidthDF_20_00_Hz = 1,   ///< "20.00 Hz"
        BandwidthDF_25_00_Hz = 2,   ///< "25.00 Hz"
        BandwidthDF_31_25_Hz = 3,   ///< "31.25 Hz"
        BandwidthDF_50_00_Hz = 4,   ///< "50.00 Hz"
        BandwidthDF_62_50_Hz = 5,   ///< "62.50 Hz"
        BandwidthDF_100_0_Hz = 6,   ///< "100.0 Hz"
        BandwidthDF_125_0_Hz = 7,   ///< "125.0 Hz"
        BandwidthDF_200_0_Hz = 8,   ///< "200.0 Hz"
        BandwidthDF_250_0_Hz = 9,   ///< "250.0 Hz"
        BandwidthDF_312_5_Hz = 10,  ///< "312.5 Hz"
        BandwidthDF_500_0_Hz = 11,  ///< "500.0 Hz"
        BandwidthDF_625_0_Hz = 12,  ///< "625.0 Hz"
        BandwidthDF_1_00_kHz = 13,  ///< "1.00 kHz"
        BandwidthDF_1_25_kHz = 14,  ///< "1.25 kHz"
        BandwidthDF_2_00_kHz = 15,  ///< "2.00 kHz"
        BandwidthDF_2_50_kHz = 16,  ///< "2.50 kHz"
        BandwidthDF_3_125_kHz = 17, ///< "3.125 kHz"
        BandwidthDF_5_00_kHz = 18,  ///< "5.00 kHz"
        BandwidthDF_6_25_kHz = 19,  ///< "6.25 kHz"
        BandwidthDF_8_333_kHz = 20, ///< "8.333 kHz"
        BandwidthDF_10_0_kHz = 21,  ///< "10.0 kHz"
        BandwidthDF_12_5_kHz = 22,  ///< "12.5 kHz"
        BandwidthDF_20_0_kHz = 23,  ///< "20.0 kHz"
        BandwidthDF_25_0_kHz = 24,  ///< "25.0 kHz"
        BandwidthDF_50_0_kHz = 25,  ///< "50.0 kHz"
        BandwidthDF_100_kHz = 26,   ///< "100 kHz"
        BandwidthDF_200_kHz = 27,   ///< "200 kHz"
        BandwidthDF_500_kHz = 28,   ///< "500 kHz"
        BandwidthDF_1_MHz = 29,     ///< "1 MHz"
        BandwidthDF_2_MHz = 30,     ///< "2 MHz"
    };
    /// Real-time bandwidth, ascending in hertz.
    enum Real_Time_Bandwidth : int {
        Real_Time_Bandwidth_100_kHz = 0, ///< "100 kHz"
        Real_Time_Bandwidth_200_kHz = 1, ///< "200 kHz"
        Real_Time_Bandwidth_500_kHz = 2, ///< "500 kHz"
        Real_Time_Bandwidth_1_MHz = 3,   ///< "1 MHz"
        Real_Time_Bandwidth_2_MHz = 4,   ///< "2 MHz"
        Real_Time_Bandwidth_5_MHz = 5,   ///< "5 MHz"
        Real_Time_Bandwidth_10_MHz = 6,  ///< "10 MHz"
        Real_Time_Bandwidth_20_MHz = 7,  ///< "20 MHz"
        Real_Time_Bandwidth_40_MHz = 8,  ///< "40 MHz"
        Real_Time_Bandwidth_80_MHz = 9,  ///< "80 MHz"
    };
    ///@}

    /// A direction-finding bandwidth: hertz and name.
    struct structKVTBandwidthDF {
        double value; ///< the bandwidth in hertz
        QString name; ///< the name, as in documents
    };
    /// A real-time bandwidth: hertz and name.
    struct structKVTReal_Time_Bandwidth {
        double value; ///< the bandwidth in hertz
        QString name; ///< the name, as in documents
    };

    /// A new record: no storage until the first access, validation off, the default
    /// logger.
    KVT317SettingsDetail();
    /// Shares other's members until one of the two changes, and takes over its validation
    /// switch; the logger is not taken over.
    KVT317SettingsDetail(const KVT317SettingsDetail& other);
    /// Shares other's members until one of the two changes; switch and logger stay.
    KVT317SettingsDetail& operator=(const KVT317SettingsDetail& other);
    ~KVT317SettingsDetail() override;

    /// Equal when every member set on either side is set on both with equal values;
    /// members set on neither side are not compared.
    bool operator==(const KVT317SettingsDetail& other) const;
    /// The negation of operator==().
    bool operator!=(const KVT317SettingsDetail& other) const;

    /// The class id; its low 32 bits are the tag of the record's binary frame.
    static const __int64 id;
    /// The class id, id.
    static __int64 GetId();
    /// The member table this record works from.
    static const RecordDescription& Description();

    /// @name Translation
    ///@{

    /// Translation with the context "KVT317XML::KVT317SettingsDetail".
    static QString tr(const char* sourceText, const char* disambiguation = nullptr);
    static QString tr(const char* sourceText, const char* disambiguation, int n);
    static QString trUtf8(const char* sourceText, const char* disambiguation = nullptr);
    static QString trUtf8(const char* sourceText, const char* disambiguation, int n);
    ///@}

    /// @name AntennaPol
    ///@{

    /// Antenna polarisation: VERT, HOR, LEFT or RIGHT. Required; default VERT.
    const AntennaPol& GetAntennaPol() const;
    void SetAntennaPol(const AntennaPol& value);
    bool IsAntennaPolSet() const;
    void ResetAntennaPol();
    bool IsValidAntennaPol(const AntennaPol& value) const;
    const AntennaPol& GetDefaultAntennaPol() const;
    void SetDefaultAntennaPol(const AntennaPol& value);
    const AntennaPol& GetInvalidAntennaPol() const;
    void SetInvalidAntennaPol(const AntennaPol& value);
    QString AntennaPolToName(const AntennaPol& value) const;
    AntennaPol NameToAntennaPol(const QString& name) const;
    QString GetAntennaPolAsString() const;
    static QStringList GetAntennaPols();
    /// The names through QObject::tr, in the same order.
    static QStringList GetGUIAntennaPols();
    ///@}

    /// @name AntPreAmp
    ///@{

    /// Antenna preamplifier: OFF or ON. Required; default OFF.
    const AntPreAmp& GetAntPreAmp() const;
    void SetAntPreAmp(const AntPreAmp& value);
    bool IsAntPreAmpSet() const;
    void ResetAntPreAmp();
    bool IsValidAntPreAmp(const AntPreAmp& value) const;
    const AntPreAmp& GetDefaultAntPreAmp() const;
    void SetDefaultAntPreAmp(const AntPreAmp& value);
    const AntPreAmp& GetInvalidAntPreAmp() const;
    void SetInvalidAntPreAmp(const AntPreAmp& value);
    QString AntPreAmpToName(const AntPreAmp& value) const;
    AntPreAmp NameToAntPreAmp(const QString& name) const;
    QString GetAntPreAmpAsString() const;
    static QStringList GetAntPreAmps();
    /// The names through QObject::tr, in the same order.
    static QStringList GetGUIAntPreAmps();
    ///@}

    /// @name AverageMode
    ///@{

    /// Averaging mode: OFF, GATE or NORM. Required; no default, so a new detail holds the
    /// invalid marker -1 and writes an empty element.
    const AverageMode& GetAverageMode() const;
    void SetAverageMode(const AverageMode& value);
    bool IsAverageModeSet() const;
    void ResetAverageMode();
    bool IsValidAverageMode(const AverageMode& value) const;
    const AverageMode& GetDefaultAverageMode() const;
    void SetDefaultAverageMode(const AverageMode& value);
    const AverageMode& GetInvalidAverageMode() const;
    void SetInvalidAverageMode(const AverageMode& value);
    QString AverageModeToName(const AverageMode& value) const;
    AverageMode NameToAverageMode(const QString& name) const;
    QString GetAverageModeAsString() const;
    static QStringList GetAverageModes();
    /// The names through QObject::tr, in the same order.
    static QStringList GetGUIAverageModes();
    ///@}

    /// @name BandwidthDF
    ///@{

    /// Direction-finding bandwidth: 31 values from "12.50 Hz" to "2 MHz" (GetBandwidthDFs()).
    /// Required; no default, so a new detail holds the invalid marker -1 and writes an empty
    /// element.
    const BandwidthDF& GetBandwidthDF() const;
    void SetBandwidthDF(const BandwidthDF& value);
    bool IsBandwidthDFSet() const;
    void ResetBandwidthDF();
    bool IsValidBandwidthDF(const BandwidthDF& value) const;
    const BandwidthDF& GetDefaultBandwidthDF() const;
    void SetDefaultBandwidthDF(const BandwidthDF& value);
    const BandwidthDF& GetInvalidBandwidthDF() const;
    void SetInvalidBandwidthDF(const BandwidthDF& value);
    QString BandwidthDFToName(const BandwidthDF& value) const;
    BandwidthDF NameToBandwidthDF(const QString& name) const;
    QString GetBandwidthDFAsString() const;
    /// Hertz of a value, or 0.0 outside the table.
    double BandwidthDFToValue(const BandwidthDF& value) const;
    /// The value of exactly these hertz, or the invalid marker.
    BandwidthDF ValueToBandwidthDF(const double& value) const;
    static QList<structKVTBandwidthDF> GetBandwidthDFs();
    ///@}

    /// @name BlockAveragingTime
    ///@{

    /// Block averaging time. Required; default 10.
    int GetBlockAveragingTime() const;
    void SetBlockAveragingTime(int value);
    bool IsBlockAveragingTimeSet() const;
    void ResetBlockAveragingTime();
    bool IsValidBlockAveragingTime(const int& value) const;
    const int& GetDefaultBlockAveragingTime() const;
    void SetDefaultBlockAveragingTime(const int& value);
    ///@}

    /// @name DF_Alt
    ///@{

    /// Direction-finding method: AUTO, WATSONWATT, CORRELATION, SUPERRESOLUTION or
    /// VECTORMATCHING. Required; default CORRELATION.
    const DF_Alt& GetDF_Alt() const;
    void SetDF_Alt(const DF_Alt& value);
    bool IsDF_AltSet() const;
    void ResetDF_Alt();
    bool IsValidDF_Alt(const DF_Alt& value) const;
    const DF_Alt& GetDefaultDF_Alt() const;
    void SetDefaultDF_Alt(const DF_Alt& value);
    const DF_Alt& GetInvalidDF_Alt() const;
    void SetInvalidDF_Alt(const DF_Alt& value);
    QString DF_AltToName(const DF_Alt& value) const;
    DF_Alt NameToDF_Alt(const QString& name) const;
    QString GetDF_AltAsString() const;
    static QStringList GetDF_Alts();
    /// The names through QObject::tr, in the same order.
    static QStringList GetGUIDF_Alts();
    ///@}

    /// @name FrequencyRange
    ///@{

    /// The frequency range, a child record. Required (counted by the child's own HasData());
    /// written only when set. ResetToDefault() gives the child its defaults without marking it
    /// set.
    ///
    /// Marks the member set: the caller is taken to change it.
    FrequencyRange& GetFrequencyRange();
    const FrequencyRange& GetFrequencyRange() const;
    void SetFrequencyRange(const FrequencyRange& value);
    bool IsFrequencyRangeSet() const;
    void ResetFrequencyRange();
    bool IsValidFrequencyRange(const FrequencyRange& value) const;
    const FrequencyRange& GetDefaultFrequencyRange() const;
    void SetDefaultFrequencyRange(const FrequencyRange& value);
    ///@}

    /// @name Real_Time_Bandwidth
    ///@{

    /// Real-time bandwidth: 10 values from "100 kHz" to "80 MHz" (GetReal_Time_Bandwidths()).
    /// Required; default "80 MHz".
    const Real_Time_Bandwidth& GetReal_Time_Bandwidth() const;
    void SetReal_Time_Bandwidth(const Real_Time_Bandwidth& value);
    bool IsReal_Time_BandwidthSet() const;
    void ResetReal_Time_Bandwidth();
    bool IsValidReal_Time_Bandwidth(const Real_Time_Bandwidth& value) const;
    const Real_Time_Bandwidth& GetDefaultReal_Time_Bandwidth() const;
    void SetDefaultReal_Time_Bandwidth(const Real_Time_Bandwidth& value);
    const Real_Time_Bandwidth& GetInvalidReal_Time_Bandwidth() const;
    void SetInvalidReal_Time_Bandwidth(const Real_Time_Bandwidth& value);
    QString Real_Time_BandwidthToName(const Real_Time_Bandwidth& value) const;
    Real_Time_Bandwidth NameToReal_Time_Bandwidth(const QString& name) const;
    QString GetReal_Time_BandwidthAsString() const;
    /// Hertz of a value, or 0.0 outside the table.
    double Real_Time_BandwidthToValue(const Real_Time_Bandwidth& value) const;
    /// The value of exactly these hertz, or the invalid marker.
    Real_Time_Bandwidth ValueToReal_Time_Bandwidth(const double& value) const;
    static QList<structKVTReal_Time_Bandwidth> GetReal_Time_Bandwidths();
    ///@}

    /// @name ScanMemoryID
    ///@{

    /// Scan memory. Required; default 0, which ResetToDefault() leaves unset.
    int GetScanMemoryID() const;
    void SetScanMemoryID(int value);
    bool IsScanMemoryIDSet() const;
    void ResetScanMemoryID();
    bool IsValidScanMemoryID(const int& value) const;
    const int& GetDefaultScanMemoryID() const;
    void SetDefaultScanMemoryID(const int& value);
    ///@}

    /// @name DFPan_Selectivity
    ///@{

    /// Panorama selectivity: AUTO, NORMAL, NARROW or SHARP. Required; default NORMAL.
    const DFPan_Selectivity& GetDFPan_Selectivity() const;
    void SetDFPan_Selectivity(const DFPan_Selectivity& value);
    bool IsDFPan_SelectivitySet() const;
    void ResetDFPan_Selectivity();
    bool IsValidDFPan_Selectivity(const DFPan_Selectivity& value) const;
    const DFPan_Selectivity& GetDefaultDFPan_Selectivity() const;
    void SetDefaultDFPan_Selectivity(const DFPan_Selectivity& value);
    const DFPan_Selectivity& GetInvalidDFPan_Selectivity() const;
    void SetInvalidDFPan_Selectivity(const DFPan_Selectivity& value);
    QString DFPan_SelectivityToName(const DFPan_Selectivity& value) const;
    DFPan_Selectivity NameToDFPan_Selectivity(const QString& name) const;
    QString GetDFPan_SelectivityAsString() const;
    static QStringList GetDFPan_Selectivitys();
    /// The names through QObject::tr, in the same order.
    static QStringList GetGUIDFPan_Selectivitys();
    ///@}

    /// @name Threshold
    ///@{

    /// Threshold. Required; default 20.
    int GetThreshold() const;
    void SetThreshold(int value);
    bool IsThresholdSet() const;
    void ResetThreshold();
    bool IsValidThreshold(const int& value) const;
    const int& GetDefaultThreshold() const;
    void SetDefaultThreshold(const int& value);
    ///@}

    /// @name StopTime
    ///@{

    /// Stop time; documents carry it in UTC. Required; default a null date-time, which
    /// ResetToDefault() leaves unset.
    ///
    /// Marks the member set: the caller is taken to change it.
    QDateTime& GetStopTime();
    const QDateTime& GetStopTime() const;
    void SetStopTime(const QDateTime& value);
    bool IsStopTimeSet() const;
    void ResetStopTime();
    bool IsValidStopTime(const QDateTime& value) const;
    const QDateTime& GetDefaultStopTime() const;
    void SetDefaultStopTime(const QDateTime& value);
    ///@}

    /// @name AttSelect
    ///@{

    /// Attenuation selection: AUTO or MANUAL. Required; default MANUAL.
    const AttSelect& GetAttSelect() const;
    void SetAttSelect(const AttSelect& value);
    bool IsAttSelectSet() const;
    void ResetAttSelect();
    bool IsValidAttSelect(const AttSelect& value) const;
    const AttSelect& GetDefaultAttSelect() const;
    void SetDefaultAttSelect(const AttSelect& value);
    const AttSelect& GetInvalidAttSelect() const;
    void SetInvalidAttSelect(const AttSelect& value);
    QString AttSelectToName(const AttSelect& value) const;
    AttSelect NameToAttSelect(const QString& name) const;
    QString GetAttSelectAsString() const;
    static QStringList GetAttSelects();
    /// The names through QObject::tr, in the same order.
    static QStringList GetGUIAttSelects();
    ///@}

    /// @name AttenuationHoldValue
    ///@{

    /// Attenuation hold value, written with two decimals. Required; default 10.0.
    float GetAttenuationHoldValue() const;
    void SetAttenuationHoldValue(float value);
    bool IsAttenuationHoldValueSet() const;
    void ResetAttenuationHoldValue();
    bool IsValidAttenuationHoldValue(const float& value) const;
    const float& GetDefaultAttenuationHoldValue() const;
    void SetDefaultAttenuationHoldValue(const float& value);
    ///@}

    /// @name AttenuationHoldTime
    ///@{

    /// Attenuation hold time, written with two decimals. Required; default 100.0.
    float GetAttenuationHoldTime() const;
    void SetAttenuationHoldTime(float value);
    bool IsAttenuationHoldTimeSet() const;
    void ResetAttenuationHoldTime();
    bool IsValidAttenuationHoldTime(const float& value) const;
    const float& GetDefaultAttenuationHoldTime() const;
    void SetDefaultAttenuationHoldTime(const float& value);
    ///@}

    /// @name Name
    ///@{

    /// Name of the setting: the XML attribute "Name". Optional; a null text is reported, an
    /// empty one is valid.
    QString GetName();
    /// The same, for a const record.
    QString GetName() const;
    void SetName(QString value);
    bool IsNameSet() const;
    void ResetName();
    bool IsValidName(const QString& value) const;
    const QString& GetDefaultName() const;
    void SetDefaultName(const QString& value);
    ///@}

    /// @name index
    ///@{

    /// Index of the setting: the XML attribute "index" (lower case). Optional.
    int Getindex() const;
    void Setindex(int value);
    bool IsindexSet() const;
    void Resetindex();
    bool IsValidindex(const int& value) const;
    const int& GetDefaultindex() const;
    void SetDefaultindex(const int& value);
    ///@}
};

} // namespace KVT317XML

// Records hold no pointer into themselves: containers may move them as bytes.
Q_DECLARE_TYPEINFO(KVT317XML::KVT317SettingsDetail, Q_MOVABLE_TYPE);
