#pragma once

#include "KVT317XmlExport.h"
#include "Record.h"
#include "RecordDebug.h"

#include <QString>
#include <QStringList>

namespace KVT317XML {

/// @brief The bearing evaluation settings of one receiver set-up: a document root of its own.
///
/// Frequency is required and written to XML and binary whether set or not; every other
/// member is optional and written only when set. Name and Index are attributes of the
/// "BearingSettings" element ("Index" with a capital I) and ordinary entries in the binary
/// form. No member has a default until SetDefaultX gives it one.
///
/// Validation is off for a new record: faults (a null text, a DFMode outside its names) are
/// logged as warnings and the value is stored. SetValidate(true) makes the first fault found
/// while setting or writing raise OutOfRangeException.
///
/// Each member has the accessors of the @ref accessor_pattern "accessor pattern" of Record;
/// the member groups below say what each member holds.
class KVT317XML_EXPORT BearingSettings : public Record
{
public:
    /// Direction-finding mode; the names "Cont", "Norm" and "Gate" travel in XML and binary.
    /// Any int can be held, so that the invalid marker -1 and bad input can be reported.
    enum DFMode : int {
        DFMode_Cont = 0, ///< "Cont"
        DFMode_Norm = 1, ///< "Norm"
        DFMode_Gate = 2, ///< "Gate"
    };

    /// A new record: no storage until the first access, validation off, the default
    /// logger.
    BearingSettings();
    /// Shares other's members until one of the two changes, and takes over its validation
    /// switch; the logger is not taken over.
    BearingSettings(const BearingSettings& other);
    /// Shares other's members until one of the two changes; switch and logger stay.
    BearingSettings& operator=(const BearingSettings& other);
    ~BearingSettings() override;

    /// Equal when every member set on either side is set on both with equal values;
    /// members set on neither side are not compared.
    bool operator==(const BearingSettings& other) const;
    /// The negation of operator==().
    bool operator!=(const BearingSettings& other) const;

    /// The class id; its low 32 bits are the tag of the record's binary frame.
    static const __int64 id;
    /// The class id, id.
    static __int64 GetId();
    /// The member table this record works from.
    static const RecordDescription& Description();

    /// @name Translation
    ///@{

    /// Translation with the context "KVT317XML::BearingSettings".
    static QString tr(const char* sourceText, const char* disambiguation = nullptr);
    static QString tr(const char* sourceText, const char* disambiguation, int n);
    static QString trUtf8(const char* sourceText, const char* disambiguation = nullptr);
    static QString trUtf8(const char* sourceText, const char* disambiguation, int n);
    ///@}

    /// @name Frequency
    ///@{

    /// Frequency to take bearings on, in hertz, written with nine decimals. Required, and
    /// written whether set or not.
    double GetFrequency() const;
    void SetFrequency(double value);
    bool IsFrequencySet() const;
    void ResetFrequency();
    bool IsValidFrequency(const double& value) const;
    const double& GetDefaultFrequency() const;
    void SetDefaultFrequency(const double& value);
    ///@}

    /// @name AveragingTime
    ///@{

    /// Averaging time. Optional.
    int GetAveragingTime() const;
    void SetAveragingTime(int value);
    bool IsAveragingTimeSet() const;
    void ResetAveragingTime();
    bool IsValidAveragingTime(const int& value) const;
    const int& GetDefaultAveragingTime() const;
    void SetDefaultAveragingTime(const int& value);
    ///@}

    /// @name DFBandwidth
    ///@{

    /// Direction-finding bandwidth in hertz, written with two decimals. Optional.
    double GetDFBandwidth() const;
    void SetDFBandwidth(double value);
    bool IsDFBandwidthSet() const;
    void ResetDFBandwidth();
    bool IsValidDFBandwidth(const double& value) const;
    const double& GetDefaultDFBandwidth() const;
    void SetDefaultDFBandwidth(const double& value);
    ///@}

    /// @name DFMode
    ///@{

    /// Direction-finding mode: Cont, Norm or Gate. Optional; a value outside the names is
    /// reported, and the invalid marker is -1.
    const DFMode& GetDFMode() const;
    void SetDFMode(const DFMode& value);
    bool IsDFModeSet() const;
    void ResetDFMode();
    bool IsValidDFMode(const DFMode& value) const;
    const DFMode& GetDefaultDFMode() const;
    void SetDefaultDFMode(const DFMode& value);
    const DFMode& GetInvalidDFMode() const;
    void SetInvalidDFMode(const DFMode& value);
    /// The name of a mode, or a null text outside 0 to 2.
    QString DFModeToName(const DFMode& value) const;
    /// The mode of an exact (case-sensitive) name, or the invalid marker.
    DFMode NameToDFMode(const QString& name) const;
    QString GetDFModeAsString() const;
    static QStringList GetDFModes();
    static QStringList GetGUIDFModes();
    ///@}

    /// @name AngleSamples
    ///@{

    /// Number of angle samples. Optional.
    int GetAngleSamples() const;
    void SetAngleSamples(int value);
    bool IsAngleSamplesSet() const;
    void ResetAngleSamples();
    bool IsValidAngleSamples(const int& value) const;
    const int& GetDefaultAngleSamples() const;
    void SetDefaultAngleSamples(const int& value);
    ///@}

    /// @name LevelThreshold
    ///@{

    /// Level threshold. Optional.
    int GetLevelThreshold() const;
    void SetLevelThreshold(int value);
    bool IsLevelThresholdSet() const;
    void ResetLevelThreshold();
    bool IsValidLevelThreshold(const int& value) const;
    const int& GetDefaultLevelThreshold() const;
    void SetDefaultLevelThreshold(const int& value);
    ///@}

    /// @name QualityThreshold
    ///@{

    /// Quality threshold. Optional.
    int GetQualityThreshold() const;
    void SetQualityThreshold(int value);
    bool IsQualityThresholdSet() const;
    void ResetQualityThreshold();
    bool IsValidQualityThreshold(const int& value) const;
    const int& GetDefaultQualityThreshold() const;
    void SetDefaultQualityThreshold(const int& value);
    ///@}

    /// @name ElevationThreshold
    ///@{

    /// Elevation threshold. Optional.
    int GetElevationThreshold() const;
    void SetElevationThreshold(int value);
    bool IsElevationThresholdSet() const;
    void ResetElevationThreshold();
    bool IsValidElevationThreshold(const int& value) const;
    const int& GetDefaultElevationThreshold() const;
    void SetDefaultElevationThreshold(const int& value);
    ///@}

    /// @name SlidingWindowTime
    ///@{

    /// Sliding window time. Optional.
    int GetSlidingWindowTime() const;
    void SetSlidingWindowTime(int value);
    bool IsSlidingWindowTimeSet() const;
    void ResetSlidingWindowTime();
    bool IsValidSlidingWindowTime(const int& value) const;
    const int& GetDefaultSlidingWindowTime() const;
    void SetDefaultSlidingWindowTime(const int& value);
    ///@}

    /// @name BearingVtPath
    ///@{

    /// Path of the bearing results. Optional; a null text is reported, an empty one is valid.
    QString GetBearingVtPath();
    /// The same, for a const record.
    QString GetBearingVtPath() const;
    void SetBearingVtPath(QString value);
    bool IsBearingVtPathSet() const;
    void ResetBearingVtPath();
    bool IsValidBearingVtPath(const QString& value) const;
    const QString& GetDefaultBearingVtPath() const;
    void SetDefaultBearingVtPath(const QString& value);
    ///@}

    /// @name BearingVtPathSR
    ///@{

    /// Path of the super-resolution bearing results. Optional; a null text is reported, an
    /// empty one is valid.
    QString GetBearingVtPathSR();
    /// The same, for a const record.
    QString GetBearingVtPathSR() const;
    void SetBearingVtPathSR(QString value);
    bool IsBearingVtPathSRSet() const;
    void ResetBearingVtPathSR();
    bool IsValidBearingVtPathSR(const QString& value) const;
    const QString& GetDefaultBearingVtPathSR() const;
    void SetDefaultBearingVtPathSR(const QString& value);
    ///@}

    /// @name EigenValueVtPath
    ///@{

    /// Path of the eigenvalue results. Optional; a null text is reported, an empty one is
    /// valid.
    QString GetEigenValueVtPath();
    /// The same, for a const record.
    QString GetEigenValueVtPath() const;
    void SetEigenValueVtPath(QString value);
    bool IsEigenValueVtPathSet() const;
    void ResetEigenValueVtPath();
    bool IsValidEigenValueVtPath(const QString& value) const;
    const QString& GetDefaultEigenValueVtPath() const;
    void SetDefaultEigenValueVtPath(const QString& value);
    ///@}

    /// @name SignalEstimationQualityVtPath
    ///@{

    /// Path of the signal estimation quality results. Optional; a null text is reported, an
    /// empty one is valid.
    QString GetSignalEstimationQualityVtPath();
    /// The same, for a const record.
    QString GetSignalEstimationQualityVtPath() const;
    void SetSignalEstimationQualityVtPath(QString value);
    bool IsSignalEstimationQualityVtPathSet() const;
    void ResetSignalEstimationQualityVtPath();
    bool IsValidSignalEstimationQualityVtPath(const QString& value) const;
    const QString& GetDefaultSignalEstimationQualityVtPath() const;
    void SetDefaultSignalEstimationQualityVtPath(const QString& value);
    ///@}

    /// @name Name
    ///@{

    /// Name of the set-up: the XML attribute "Name". Optional; a null text is reported, an
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

    /// @name Index
    ///@{

    /// Index of the set-up: the XML attribute "Index" (capital I). Optional.
    int GetIndex() const;
    void SetIndex(int value);
    bool IsIndexSet() const;
    void ResetIndex();
    bool IsValidIndex(const int& value) const;
    const int& GetDefaultIndex() const;
    void SetDefaultIndex(const int& value);
    ///@}
};

} // namespace KVT317XML

// Records hold no pointer into themselves: containers may move them as bytes.
Q_DECLARE_TYPEINFO(KVT317XML::BearingSettings, Q_MOVABLE_TYPE);
