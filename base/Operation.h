#pragma once

#include "ReportBaseExport.h"

#include <QtGlobal>

#include <memory>

namespace REPORTGENERATOR {

class IRGObject;
class Logger;
class ReadTap;
class TextRefusal;

/// @brief Internal: what travels with the record operations running on one thread.
///
/// Not part of the interface applications use. A whole-document operation, a check or a
/// call into a held record installs what it brings here for its run, and puts back what
/// stood before when it ends. The engine hands it on by reference; the virtual operations,
/// whose signatures are fixed, join the one of their thread. The one thread-local object
/// of the libraries.
struct REPORTBASE_EXPORT Operation {
    /// The held record the engine works on for its holder, or null: it reports with
    /// heldValidate and *heldLogger, its holder's, instead of its own.
    const IRGObject* heldRecord = nullptr;
    /// The holder's validation switch, for heldRecord.
    bool heldValidate = false;
    /// The holder's logger, for heldRecord; null when no held record is being worked on.
    const std::shared_ptr<Logger>* heldLogger = nullptr;
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

    /// While the engine works on a record it holds (a child, a list item), the held record
    /// reports with the holder's switch and logger; the one before comes back after.
    class HeldScope
    {
    public:
        /// @p logger must outlive the scope.
        HeldScope(Operation& operation, const IRGObject& record, bool validate,
                  const std::shared_ptr<Logger>& logger) noexcept
            : m_operation(operation)
            , m_record(operation.heldRecord)
            , m_validate(operation.heldValidate)
            , m_logger(operation.heldLogger)
        {
            operation.heldRecord = &record;
            operation.heldValidate = validate;
            operation.heldLogger = &logger;
        }
        ~HeldScope()
        {
            m_operation.heldRecord = m_record;
            m_operation.heldValidate = m_validate;
            m_operation.heldLogger = m_logger;
        }
        HeldScope(const HeldScope&) = delete;
        HeldScope& operator=(const HeldScope&) = delete;

    private:
        Operation& m_operation;
        const IRGObject* m_record;
        bool m_validate;
        const std::shared_ptr<Logger>* m_logger;
    };
};

} // namespace REPORTGENERATOR
