#include "IRGObject.h"

#include <cmath>
#include <limits>

namespace REPORTGENERATOR {

bool IRGObject::IsValid(float value) const
{
    return !std::isnan(value);
}
bool IRGObject::IsValid(bool) const
{
    return true;
}
bool IRGObject::IsValid(unsigned int value) const
{
    return value != std::numeric_limits<unsigned int>::max();
}
bool IRGObject::IsValid(qint64 value) const
{
    return value != std::numeric_limits<qint64>::min();
}
bool IRGObject::IsValid(const QDateTime& value) const
{
    return value.isValid();
}
bool IRGObject::IsValid(const QString& value) const
{
    return !value.isNull();
}
bool IRGObject::IsValid(double value) const
{
    return !std::isnan(value);
}
bool IRGObject::IsValid(int value) const
{
    return value != std::numeric_limits<int>::min();
}

void IRGObject::SetInvalid(float& value) const
{
    value = std::numeric_limits<float>::quiet_NaN();
}
void IRGObject::SetInvalid(unsigned int& value) const
{
    value = std::numeric_limits<unsigned int>::max();
}
void IRGObject::SetInvalid(qint64& value) const
{
    value = std::numeric_limits<qint64>::min();
}
void IRGObject::SetInvalid(QString& value) const
{
    value = QString();
}
void IRGObject::SetInvalid(double& value) const
{
    value = std::numeric_limits<double>::quiet_NaN();
}
void IRGObject::SetInvalid(int& value) const
{
    value = std::numeric_limits<int>::min();
}

} // namespace REPORTGENERATOR
