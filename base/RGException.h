#pragma once

#include "ReportBaseExport.h"

#include <QByteArray>
#include <QString>

#include <exception>

namespace REPORTGENERATOR {

/// @brief A report of the record library: a message that is logged and, where asked,
/// raised.
///
/// Records build one per fault and hand it to IRGObject::TraceOrThrow(); with validation
/// on it is thrown as its most derived class, so callers can catch the specific kind.
class REPORTBASE_EXPORT RGException : public std::exception
{
public:
    /// A report with the exact message text.
    explicit RGException(const QString& message);
    ~RGException() override;

    /// The message text, as it was logged.
    const QString& GetMessage() const;
    /// The message as UTF-8.
    const char* what() const noexcept override;

    /// Throws this object as its own most derived class, so that callers can catch the
    /// specific report type.
    [[noreturn]] virtual void Raise() const;

private:
    QString m_message;
    QByteArray m_utf8;
};

/// An unset required member or a value outside its valid range, for example
/// "FrequencyRange: Please set StopFrequency properly.".
class REPORTBASE_EXPORT OutOfRangeException : public RGException
{
public:
    /// A report with the exact message text.
    explicit OutOfRangeException(const QString& message);
    /// Throws this object as an OutOfRangeException.
    [[noreturn]] void Raise() const override;
};

/// A child record or list item without the data it needs, for example an incomplete
/// detail appended to a settings document.
class REPORTBASE_EXPORT IncompleteDefinitionException : public RGException
{
public:
    /// A report with the exact message text.
    explicit IncompleteDefinitionException(const QString& message);
    /// Throws this object as an IncompleteDefinitionException.
    [[noreturn]] void Raise() const override;
};

/// Binary input whose lengths do not add up.
class REPORTBASE_EXPORT BinaryParsingException : public RGException
{
public:
    /// A report with the exact message text.
    explicit BinaryParsingException(const QString& message);
    /// Throws this object as a BinaryParsingException.
    [[noreturn]] void Raise() const override;
};

} // namespace REPORTGENERATOR
