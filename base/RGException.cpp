#include "RGException.h"

namespace REPORTGENERATOR {

RGException::RGException(const QString& message)
    : m_message(message)
    , m_utf8(message.toUtf8())
{
}

RGException::~RGException() = default;

const QString& RGException::GetMessage() const
{
    return m_message;
}

const char* RGException::what() const noexcept
{
    return m_utf8.constData();
}

void RGException::Raise() const
{
    throw *this;
}

OutOfRangeException::OutOfRangeException(const QString& message)
    : RGException(message)
{
}

void OutOfRangeException::Raise() const
{
    throw *this;
}

IncompleteDefinitionException::IncompleteDefinitionException(const QString& message)
    : RGException(message)
{
}

void IncompleteDefinitionException::Raise() const
{
    throw *this;
}

BinaryParsingException::BinaryParsingException(const QString& message)
    : RGException(message)
{
}

void BinaryParsingException::Raise() const
{
    throw *this;
}

} // namespace REPORTGENERATOR
