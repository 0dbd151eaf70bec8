#pragma once

#include "DocumentFindings.h"
#include "KVT317XmlExport.h"
#include "ReadObserver.h"

#include <QString>

#include <memory>

namespace KVT317XML {

/// @brief Where the records and members of a loaded document stand in its source.
///
/// A load fills it when asked (ObserveReading with a SourcePlaces), so that findings made
/// after the load, by Check() or a lint, are placed at the member or record they name
/// without reading the input a second time. It holds a few bytes per record and member:
/// for each record where its element or frame starts, and for each member given, where it
/// was given first. The first look-up sorts an index of the records: look-ups from two
/// threads at once need a lock of the caller's.
///
/// @code
/// KVT317XML::SourcePlaces places;
/// KVT317XML::ReadFindings findings;
/// {
///     KVT317XML::ObserveReading observe(findings, places);
///     settings.SetXmlString(text, true);
/// }
/// const KVT317XML::FindingPlace at = places.Member(path, bit, &text);
/// @endcode
class KVT317XML_EXPORT SourcePlaces
{
public:
    /// No places.
    SourcePlaces();
    ~SourcePlaces();
    /// Takes @p other's places; @p other is left without any.
    SourcePlaces(SourcePlaces&& other) noexcept;
    /// Takes @p other's places; @p other is left without any.
    SourcePlaces& operator=(SourcePlaces&& other) noexcept;
    SourcePlaces(const SourcePlaces&) = delete;
    SourcePlaces& operator=(const SourcePlaces&) = delete;

    /// Forgets every place.
    void Clear();
    /// Whether no place is held.
    bool IsEmpty() const;

    /// Where the record at @p path starts; not known when the load did not read it.
    FindingPlace Record(const ReadPath& path) const;
    /// Where member @p bit of the record at @p path was given first. For XML, @p text (the
    /// document's text as it was read) turns the member's offset into its line and column;
    /// without it the member stands at its record. Not known when the load did not read it.
    FindingPlace Member(const ReadPath& path, int bit, const QString* text = nullptr) const;
    /// The member's place where known, else its record's.
    FindingPlace Nearest(const ReadPath& path, int bit, const QString* text = nullptr) const;

    /// @name Filling
    /// The XML and binary loads fill these through ObserveReading; a reader of another form
    /// (the JSON form) passes each entry it meets.
    ///@{
    /// A record's start (member null) or a member, as ReadObserver::Read() receives them.
    void Add(const ReadPath& path, const ReadEntry& entry);
    /// A record's element or frame starts at @p at; returns its handle for Given().
    int StartRecord(int parent, const ReadStep& step, const ReadPosition& at);
    /// The members of record @p handle given, @p given a mask of their bits, with the place
    /// each was first given at (@p first, indexed by bit).
    void Given(int handle, quint32 given, const ReadPosition* first);
    ///@}

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace KVT317XML
