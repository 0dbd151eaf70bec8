#pragma once

namespace REPORTGENERATOR {

// What kind of object a record is. Records keep the type they were constructed with;
// a default-constructed record is Undefined.
enum class ObjectTypes : int { Undefined = 0, Settings = 1, Report = 2 };

} // namespace REPORTGENERATOR
