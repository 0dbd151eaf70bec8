#include "IRGObject.h"
#include "DocumentInternals.h"
#include "Operation.h"
#include "ReadTap.h"

#include <utility>

namespace REPORTGENERATOR {

namespace {
// What a record holds for the process-wide default logger: the same object, without a share
// of its ownership, so that making, copying and destroying records takes no reference count
// on it (Logger::Default() keeps it alive). Made when the library loads, before any record.
const std::shared_ptr<Logger> defaultLogger(std::shared_ptr<Logger>(), Logger::Default().get());

const std::shared_ptr<Logger>& DefaultLogger() noexcept
{
    return defaultLogger;
}
} // namespace

IRGObject::IRGObject()
    : m_logger(DefaultLogger())
{
}

IRGObject::IRGObject(ObjectTypes type)
    : m_objectType(type)
    , m_logger(DefaultLogger())
{
}

IRGObject::IRGObject(ObjectTypes type, const QString& objectName)
    : m_objectName(objectName)
    , m_objectType(type)
    , m_logger(DefaultLogger())
{
}

IRGObject::IRGObject(const IRGObject& other, const QString& objectName)
    : m_objectName(objectName)
    , m_objectType(other.m_objectType)
    , m_validate(other.m_validate)
    , m_logger(DefaultLogger())
{
}

IRGObject::~IRGObject() = default;

ObjectTypes IRGObject::GetObjectType() const
{
    return m_objectType;
}

const QString& IRGObject::GetObjectName() const
{
    return m_objectName;
}

void IRGObject::SetObjectName(const QString& name)
{
    m_objectName = name;
}

// Records hand their switch and logger down at the start of const operations. Storing only a
// change keeps those calls free of writes, so that one record can be read from several
// threads at once.
void IRGObject::SetValidate(bool validate) const
{
    if (m_validate != validate)
        m_validate = validate;
}

bool IRGObject::GetValidate() const
{
    const Operation& operation = Operation::OfThread();
    return operation.heldRecord == this ? operation.heldValidate : m_validate;
}

void IRGObject::SetLogger(std::shared_ptr<Logger> logger) const
{
    if (m_logger != logger)
        m_logger = std::move(logger);
}

void IRGObject::ResetLogger() const
{
    IRGObject::SetLogger(DefaultLogger());
}

std::shared_ptr<Logger> IRGObject::GetLogger() const
{
    return ReportLogger();
}

const std::shared_ptr<Logger>& IRGObject::ReportLogger() const noexcept
{
    const Operation& operation = Operation::OfThread();
    return operation.heldRecord == this ? *operation.heldLogger : m_logger;
}

const QString& IRGObject::GetVersion() const
{
    static const QString version = QString::fromLatin1(Version);
    return version;
}

std::shared_ptr<const void> IRGObject::SaveState() const
{
    return nullptr;
}

void IRGObject::RestoreState(const std::shared_ptr<const void>&) {}

void IRGObject::Trace(LogLevel level, const RGException& exception) const
{
    Operation& operation = Operation::OfThread();
    if (ReadTap* tap = operation.tap)
        tap->Reported(*this, level, exception);
    LogWithin(operation, level, exception.GetMessage());
}

void IRGObject::Log(LogLevel level, const QString& message) const
{
    LogWithin(Operation::OfThread(), level, message);
}

void IRGObject::LogWithin(Operation& operation, LogLevel level, const QString& message) const
{
    const std::shared_ptr<Logger>& logger =
        operation.heldRecord == this ? *operation.heldLogger : m_logger;
    if (!logger)
        return;
    if (!HoldReport(operation, logger, level, message))
        logger->Log(level, message);
}

void IRGObject::TraceOrThrow(LogLevel level, RGException& exception, bool throwException,
                             bool trace) const
{
    if (trace)
        Trace(level, exception);
    if (throwException)
        exception.Raise();
}

void IRGObject::ReportDocumentFault(const QString& message, const ReadTap::Position& where) const
{
    Operation& operation = Operation::OfThread();
    if (ReadTap* tap = operation.tap)
        tap->DocumentFault(message, where);
    LogWithin(operation, LogLevel::Error, message);
}

} // namespace REPORTGENERATOR
