#pragma once

namespace REPORTGENERATOR {

/// @brief What kind of object a record is.
///
/// Records keep the type they were constructed with; a default-constructed record is
/// Undefined.
enum class ObjectTypes : int {
    Undefined = 0, ///< No particular kind; what default construction gives
    Settings = 1,  ///< A settings record
    Report = 2     ///< A report record
};

} // namespace REPORTGENERATOR
