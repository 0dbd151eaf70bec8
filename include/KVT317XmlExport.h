#pragma once

#include <QtCore/qglobal.h>

#if defined(KVT317XML_LIBRARY)
#define KVT317XML_EXPORT Q_DECL_EXPORT
#else
#define KVT317XML_EXPORT Q_DECL_IMPORT
#endif
