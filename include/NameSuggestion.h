#pragma once

#include "KVT317XmlExport.h"

#include <QString>
#include <QStringList>

namespace KVT317XML {

/// The candidate closest to a misspelt name, for a "did you mean" hint: at most one edit
/// away (two for names of five characters or more), case not counted; a null text when none
/// is that close.
KVT317XML_EXPORT QString ClosestName(const QString& name, const QStringList& candidates);

} // namespace KVT317XML
