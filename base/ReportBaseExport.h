#pragma once

#include <QtCore/qglobal.h>

#if defined(REPORTBASE_LIBRARY)
#define REPORTBASE_EXPORT Q_DECL_EXPORT
#else
#define REPORTBASE_EXPORT Q_DECL_IMPORT
#endif
