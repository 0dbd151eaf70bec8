#pragma once

#include "ReportBaseExport.h"

#include <QByteArray>
#include <QString>

#include <exception>

namespace REPORTGENERATOR {

// A report of the record library: a message that is logged and, where asked, raised.
class REPORTBASE_EXPORT RGException : public std::exception
{
public:
    explicit RGException(const QString& message);
    ~RGException() override;

    const QString& GetMessage() const;
    // The message as UTF-8.
    const char* what() const noexcept override;

    // Throws this object as its own most derived class, so that callers can catch the
    // specific report type.
    [[noreturn]] virtual void Raise() const;

private:
    QString m_message;
    QByteArray m_utf8;
};

// An unset required member or a value outside its valid range.
class REPORTBASE_EXPORT OutOfRangeException : public RGException
{
public:
    explicit OutOfRangeException(const QString& message);
    [[noreturn]] void Raise() const override;
};

// A child record or list item without the data it needs.
class REPORTBASE_EXPORT IncompleteDefinitionException : public RGException
{
public:
    explicit IncompleteDefinitionException(const QString& message);
    [[noreturn]] void Raise() const override;
};

// Binary input whose lengths do not add up.
class REPORTBASE_EXPORT BinaryParsingException : public RGException
{
public:
    explicit BinaryParsingException(const QString& message);
    [[noreturn]] void Raise() const override;
};

} // namespace REPORTGENERATOR
