#pragma once

#include "KVT317XmlExport.h"
#include "Record.h"
#include "RecordDebug.h"

namespace KVT317XML {

/// @brief The start and stop frequency of one receiver setting, in hertz.
///
/// Both members are required and always written; they default to 88 MHz and 240 MHz.
/// Nothing relates the two values: any double is stored, written and read back as it is.
/// XML, with the defaults:
///
///     <FrequencyRange>
///       <StartFrequency>88000000.00</StartFrequency>
///       <StopFrequency>240000000.00</StopFrequency>
///     </FrequencyRange>
///
/// Validation is off for a new record: faults are logged as warnings and the data is kept.
/// SetValidate(true) makes the first fault found while setting or writing raise.
///
/// Each member has the accessors of the @ref accessor_pattern "accessor pattern" of Record;
/// the member groups below say what each member holds.
class KVT317XML_EXPORT FrequencyRange : public Record
{
public:
    /// A new record: no storage until the first access, validation off, the default
    /// logger.
    FrequencyRange();
    /// Shares other's members until one of the two changes, and takes over its validation
    /// switch; the logger is not taken over.
    FrequencyRange(const FrequencyRange& other);
    /// Shares other's members until one of the two changes; switch and logger stay.
    FrequencyRange& operator=(const FrequencyRange& other);
    ~FrequencyRange() override;

    /// Equal when every member set on either side is set on both with equal values;
    /// members set on neither side are not compared.
    bool operator==(const FrequencyRange& other) const;
    /// The negation of operator==().
    bool operator!=(const FrequencyRange& other) const;

    /// The class id; its low 32 bits are the tag of the record's binary frame.
    static const __int64 id;
    /// The class id, id.
    static __int64 GetId();
    /// The member table this record works from.
    static const RecordDescription& Description();

    /// @name StartFrequency
    ///@{

    /// Start frequency in hertz, written with two decimals. Required; default 88 MHz
    /// (88000000.0).
    double GetStartFrequency() const;
    void SetStartFrequency(double value);
    bool IsStartFrequencySet() const;
    void ResetStartFrequency();
    bool IsValidStartFrequency(const double& value) const;
    const double& GetDefaultStartFrequency() const;
    void SetDefaultStartFrequency(const double& value);
    ///@}

    /// @name StopFrequency
    ///@{

    /// Stop frequency in hertz, written with two decimals. Required; default 240 MHz
    /// (240000000.0).
    double GetStopFrequency() const;
    void SetStopFrequency(double value);
    bool IsStopFrequencySet() const;
    void ResetStopFrequency();
    bool IsValidStopFrequency(const double& value) const;
    const double& GetDefaultStopFrequency() const;
    void SetDefaultStopFrequency(const double& value);
    ///@}
};

} // namespace KVT317XML

// Records hold no pointer into themselves: containers may move them as bytes.
Q_DECLARE_TYPEINFO(KVT317XML::FrequencyRange, Q_MOVABLE_TYPE);
