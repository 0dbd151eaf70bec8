#pragma once

#include "ReportBaseExport.h"

#include <QtGlobal>

namespace REPORTGENERATOR {

class ReadTap;
class TextRefusal;

/// @brief Internal: what travels with the record operations running on one thread.
///
/// Not part of the interface applications use. A whole-document operation, a check or a
/// call into a held record installs what it brings here for its run, and puts back what
/// stood before when it ends, so that the record code below it finds the state without it
/// being handed through every virtual operation, whose signatures are fixed. The one
/// thread-local object of the libraries.
struct REPORTBASE_EXPORT Operation {
    /// The innermost call into a held record that reports with its holder's switch and
    /// logger (IRGObject::ReportingAs), or null.
    const void* reportingAs = nullptr;
    /// The reports held until the document being loaded is known to be good, or null.
    void* heldReports = nullptr;
    /// The listener to the reading, or null.
    ReadTap* tap = nullptr;
    /// The records' located reading (KVT317XML::ReadContext), or null.
    void* readContext = nullptr;
    /// The refusal of the save that is running, or null.
    TextRefusal* refusal = nullptr;
    /// Elements the last skip of an unknown element left open, for the content loop that
    /// called it; -1 when none ran.
    qint64 openAfterSkip = -1;
    /// The byte writer a whole-document save offers the record it writes, or null.
    void* xmlWriterOffer = nullptr;
    /// The size of the last XML document written, to size the next one's buffer.
    qsizetype lastXmlSize = 0;
    /// Whole XML documents are written through QXmlStreamWriter alone (tests compare the two
    /// writers).
    bool streamWriterOnly = false;
    /// Whole XML documents go through QXmlStreamReader alone (tests compare the two readers).
    bool streamReaderOnly = false;

    /// The calling thread's.
    static Operation& OfThread() noexcept;
};

} // namespace REPORTGENERATOR
