// Helpers shared by the tests of the item model.
#pragma once

#include <SettingsDocument.h>
#include <SettingsModel.h>

#include <QAbstractItemModelTester>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

using namespace KVT317XML;

// Readable failures.
QT_BEGIN_NAMESPACE
inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}
inline void PrintTo(const QStringList& texts, std::ostream* out)
{
    *out << '[' << texts.join(QStringLiteral("\", \"")).toStdString() << ']';
}
inline void PrintTo(const QVariant& value, std::ostream* out)
{
    *out << value.typeName() << ' ' << value.toString().toStdString();
}
QT_END_NAMESPACE

inline const QString SourceDir = QStringLiteral(KVT317_SOURCE_DIR);

// A model with its tester; the tester checks every signal the model sends from then on.
struct Watched {
    SettingsModel model;
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::Fatal};
};

inline std::unique_ptr<Watched> Load(Watched* into, const QString& path)
{
    std::unique_ptr<Watched> made;
    if (!into) {
        made = std::make_unique<Watched>();
        into = made.get();
    }
    LoadedDocument document = LoadSettingsDocument(path);
    EXPECT_TRUE(document.error.isEmpty()) << qPrintable(document.error);
    into->model.SetDocument(std::move(document.record), std::move(document.findings));
    return made;
}

inline QString WriteFile(const QTemporaryDir& dir, const QString& name, const QByteArray& bytes)
{
    const QString path = dir.filePath(name);
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    return path;
}

// Every cell in every role, so that the tester and the model's own checks see them all.
inline void ReadEveryCell(const SettingsModel& model)
{
    const QList<int> roles = model.roleNames().keys();
    for (int row = 0; row < model.rowCount(); ++row)
        for (int column = 0; column < model.columnCount(); ++column)
            for (int role : roles)
                (void)model.data(model.index(row, column), role);
}

// The cells a dataChanged spy saw, as "row,column" for each cell of each signal.
inline QStringList ChangedCells(const QSignalSpy& spy)
{
    QStringList cells;
    for (const QList<QVariant>& signal : spy) {
        const QModelIndex from = signal.at(0).value<QModelIndex>();
        const QModelIndex to = signal.at(1).value<QModelIndex>();
        for (int row = from.row(); row <= to.row(); ++row)
            for (int column = from.column(); column <= to.column(); ++column)
                cells.append(QStringLiteral("%1,%2").arg(row).arg(column));
    }
    return cells;
}

inline QStringList Column(const SettingsModel& model, int column, int role = Qt::DisplayRole)
{
    QStringList values;
    for (int row = 0; row < model.rowCount(); ++row)
        values.append(model.data(model.index(row, column), role).toString());
    return values;
}

inline int ColumnNamed(const SettingsModel& model, const QString& name)
{
    for (int column = 0; column < model.columnCount(); ++column)
        if (model.headerData(column, Qt::Horizontal).toString() == name)
            return column;
    return -1;
}

// Every test of the model: nothing on standard error, the library's reports included.
class Model : public ::testing::Test
{
protected:
    void SetUp() override { ::testing::internal::CaptureStderr(); }
    void TearDown() override { EXPECT_EQ(::testing::internal::GetCapturedStderr(), ""); }
};
