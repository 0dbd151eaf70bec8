#pragma once

#include <IRGObject.h>

#include <QString>
#include <QStringList>

#include <memory>

// A logger that keeps every report as "LEVEL: message", for exact comparison.
struct LogCapture {
    QStringList lines;
    std::shared_ptr<REPORTGENERATOR::Logger> logger = std::make_shared<REPORTGENERATOR::Logger>(
        [this](REPORTGENERATOR::LogLevel level, const QString& message) {
            lines.append(REPORTGENERATOR::LogLevelName(level) + QStringLiteral(": ") + message);
        });
};
