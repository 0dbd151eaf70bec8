#pragma once

#include <QStringList>

// Exit statuses of the tool.
enum ExitStatus { Success = 0, Faults = 1, UsageOrIo = 2 };

int Check(const QStringList& files);
int Convert(const QString& input, const QString& output, QString form, int level);
int Show(const QString& file);
int Dump(const QString& file);
int Diff(const QString& first, const QString& second);
int New(bool bearing, const QString& output);
