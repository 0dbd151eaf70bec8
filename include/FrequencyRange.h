#pragma once

#include "KVT317XmlExport.h"
#include "Record.h"
#include "RecordDebug.h"

namespace KVT317XML {

// The start and stop frequency of one receiver setting, in hertz.
//
// Both members are required and always written; they default to 88 MHz and 240 MHz.
// Nothing relates the two values: any double is stored, written and read back as it is.
// XML: <FrequencyRange><StartFrequency>88000000.00</StartFrequency>
//      <StopFrequency>240000000.00</StopFrequency></FrequencyRange>
//
// Validation is off for a new record: faults are logged as warnings and the data is kept.
// SetValidate(true) makes the first fault found while setting or writing raise.
class KVT317XML_EXPORT FrequencyRange : public Record
{
public:
    FrequencyRange();
    FrequencyRange(const FrequencyRange& other);
    FrequencyRange& operator=(const FrequencyRange& other);
    ~FrequencyRange() override;

    bool operator==(const FrequencyRange& other) const;
    bool operator!=(const FrequencyRange& other) const;

    static const __int64 id;
    static __int64 GetId();
    // The member table this record works from.
    static const RecordDescription& Description();

    double GetStartFrequency() const;
    void SetStartFrequency(double value);
    bool IsStartFrequencySet() const;
    void ResetStartFrequency();
    bool IsValidStartFrequency(const double& value) const;
    const double& GetDefaultStartFrequency() const;
    void SetDefaultStartFrequency(const double& value);

    double GetStopFrequency() const;
    void SetStopFrequency(double value);
    bool IsStopFrequencySet() const;
    void ResetStopFrequency();
    bool IsValidStopFrequency(const double& value) const;
    const double& GetDefaultStopFrequency() const;
    void SetDefaultStopFrequency(const double& value);
};

} // namespace KVT317XML

// Records hold no pointer into themselves: containers may move them as bytes.
Q_DECLARE_TYPEINFO(KVT317XML::FrequencyRange, Q_MOVABLE_TYPE);
