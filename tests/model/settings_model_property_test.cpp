// Random, seeded sequences of operations on the item model, under Qt's model tester: every
// refused operation leaves the document byte for byte as it was, and every document saved
// loads into a new model that shows the same cells, set or not, with the same values.
//
// KVT317_MODEL_SEED and KVT317_MODEL_SEQUENCES give the seed and the number of sequences
// (20261125 and 300 unless set), so that long runs can be made by hand:
//   KVT317_MODEL_SEQUENCES=5000 kvt317_model_tests --gtest_filter='*RandomOperations*'

#include "ModelTestSupport.h"

#include <QDateTime>

#include <cmath>
#include <limits>
#include <random>

namespace {

int Setting(const char* name, int fallback)
{
    bool ok = false;
    const int value = qEnvironmentVariableIntValue(name, &ok);
    return ok ? value : fallback;
}

QByteArray Bytes(const SettingsModel& model)
{
    return model.Document()->GetXmlString().toUtf8() + '|' +
           model.Document()->GetBinaryRepresentationAsQByteArray().toHex();
}

struct Random {
    std::mt19937 engine;
    int Below(int n) { return std::uniform_int_distribution<int>(0, n - 1)(engine); }
    int Between(int low, int high) { return std::uniform_int_distribution<int>(low, high)(engine); }
    bool Chance(int inN) { return Below(inN) == 0; }
};

// A value the member's forms carry.
QVariant ValidValue(Random& random, const MemberDescription& member)
{
    switch (member.kind) {
    case MemberKind::Integer:
        return random.Between(-100000, 100000);
    case MemberKind::Float:
        return static_cast<float>(random.Between(-999999, 999999)) / 100.0f;
    case MemberKind::Double:
        return static_cast<double>(random.Between(0, 600000000)) * 10.0 +
               random.Between(0, 99) / 100.0;
    case MemberKind::Enumeration:
        return random.Below(member.enumeration->names.size());
    case MemberKind::Text: {
        static const QString letters =
            QStringLiteral("abcXYZ 019-_.,;:/\\'\"&<>\u00E4\u00DF\u20AC\U0001F600");
        QString text = random.Chance(8) ? QStringLiteral("") : QString();
        for (int i = random.Between(1, 12); i > 0; --i)
            text += letters.mid(random.Below(letters.size()), 1);
        return text.isNull() ? QString(QStringLiteral("x")) : text;
    }
    case MemberKind::DateTime: {
        const QDate date(random.Between(1, 9999), random.Between(1, 12), random.Between(1, 28));
        const QTime time(random.Below(24), random.Below(60), random.Below(60), random.Below(1000));
        return QDateTime(date, time, Qt::UTC);
    }
    case MemberKind::Record:
    case MemberKind::RecordList:
        break;
    }
    return QVariant();
}

// A value the library or one of the forms refuses, or one that does not convert.
QVariant InvalidValue(Random& random, const MemberDescription& member)
{
    switch (member.kind) {
    case MemberKind::Integer:
        return random.Chance(2) ? QVariant(QStringLiteral("ten")) : QVariant(10.5);
    case MemberKind::Float:
        return random.Chance(2) ? QVariant(474.691f)
                                : QVariant(std::numeric_limits<float>::quiet_NaN());
    case MemberKind::Double:
        return random.Chance(2) ? QVariant(88000000.125) : QVariant(QStringLiteral("fast"));
    case MemberKind::Enumeration: {
        const int names = member.enumeration->names.size();
        const int choices[] = {-1, names, 99};
        return choices[random.Below(3)];
    }
    case MemberKind::Text:
        return random.Chance(2) ? QVariant(QString()) : QVariant(QStringLiteral("a\x01z"));
    case MemberKind::DateTime:
        return random.Chance(2)
                   ? QVariant(QDateTime(QDate(10000, 1, 1), QTime(0, 59, 59, 999), Qt::UTC))
                   : QVariant(QDateTime());
    case MemberKind::Record:
    case MemberKind::RecordList:
        break;
    }
    return QVariant();
}

// One random operation; true when the model says it was done.
bool Operate(Random& random, SettingsModel& model, QString& what)
{
    const int rows = model.rowCount();
    const int row = rows > 0 ? random.Below(rows) : 0;
    const int column = random.Below(model.columnCount());
    const QModelIndex cell = model.index(row, column);
    const MemberDescription* member = model.ColumnMember(column);
    const QString name = member->name;
    switch (random.Below(12)) {
    case 0:
        what = QStringLiteral("insert at %1").arg(row);
        return model.insertRows(random.Below(rows + 1), random.Between(1, 2));
    case 1:
        what = QStringLiteral("remove %1").arg(row);
        return model.removeRows(row, 1);
    case 2: {
        const int to = random.Below(rows + 1);
        what = QStringLiteral("move %1 to %2").arg(row).arg(to);
        return model.moveRows(QModelIndex(), row, 1, QModelIndex(), to);
    }
    case 3:
        what = QStringLiteral("copy of %1").arg(row);
        return rows > 0 && model.InsertRecord(random.Below(rows + 1), *model.RowRecord(row));
    case 4:
        what = QStringLiteral("default %1 of %2").arg(name).arg(row);
        return model.SetToDefault(cell);
    case 5:
        what = QStringLiteral("unset %1 of %2").arg(name).arg(row);
        return random.Chance(2) ? model.Unset(cell)
                                : model.setData(cell, false, SettingsModel::IsSetRole);
    case 6:
        what = QStringLiteral("set %1 of %2").arg(name).arg(row);
        return model.setData(cell, true, SettingsModel::IsSetRole);
    case 7:
    case 8: {
        const QVariant value = InvalidValue(random, *member);
        what = QStringLiteral("invalid %1 of %2: %3").arg(name).arg(row).arg(value.toString());
        return model.setData(cell, value);
    }
    default: {
        const QVariant value = ValidValue(random, *member);
        what = QStringLiteral("value %1 of %2: %3").arg(name).arg(row).arg(value.toString());
        return model.setData(cell, value);
    }
    }
}

bool SameCell(const QVariant& a, const QVariant& b)
{
    if (a.userType() == QMetaType::QString && b.userType() == QMetaType::QString)
        return a.toString() == b.toString() && a.toString().isNull() == b.toString().isNull();
    if (a.userType() == QMetaType::Float && b.userType() == QMetaType::Float)
        return a.toFloat() == b.toFloat() || (std::isnan(a.toFloat()) && std::isnan(b.toFloat()));
    return a == b;
}

const int CellRoles[] = {Qt::DisplayRole,
                         Qt::EditRole,
                         Qt::ToolTipRole,
                         SettingsModel::IsSetRole,
                         SettingsModel::DefaultRole,
                         SettingsModel::FindingsRole,
                         SettingsModel::FaultRole};

// Every cell in every role an edit can change, row by row.
std::vector<QVariant> Cells(const SettingsModel& model)
{
    std::vector<QVariant> cells;
    for (int row = 0; row < model.rowCount(); ++row)
        for (int column = 0; column < model.columnCount(); ++column)
            for (int role : CellRoles)
                cells.push_back(model.data(model.index(row, column), role));
    return cells;
}

// The cells whose data differ between two snapshots of the same rows, and their roles, that
// no dataChanged() signal named; "row,column role" each.
QStringList Unsignalled(const SettingsModel& model, const std::vector<QVariant>& before,
                        const std::vector<QVariant>& after, const QSignalSpy& spy)
{
    QStringList missing;
    const size_t roles = std::size(CellRoles);
    for (size_t at = 0; at < before.size(); ++at) {
        if (SameCell(before[at], after[at]))
            continue;
        const int cell = static_cast<int>(at / roles);
        const int row = cell / model.columnCount();
        const int column = cell % model.columnCount();
        const int role = CellRoles[at % roles];
        bool named = false;
        for (const QList<QVariant>& signal : spy) {
            const QModelIndex from = signal.at(0).value<QModelIndex>();
            const QModelIndex to = signal.at(1).value<QModelIndex>();
            const QVector<int> signalled = signal.at(2).value<QVector<int>>();
            named = named ||
                    (from.row() <= row && row <= to.row() && from.column() <= column &&
                     column <= to.column() && (signalled.isEmpty() || signalled.contains(role)));
        }
        if (!named)
            missing.append(QStringLiteral("%1,%2 %3").arg(row).arg(column).arg(role));
    }
    return missing;
}

} // namespace

TEST_F(Model, RandomOperationsKeepTheDocumentAsShownAndSaved)
{
    const int seed = Setting("KVT317_MODEL_SEED", 20261125);
    const int sequences = Setting("KVT317_MODEL_SEQUENCES", 300);
    QTemporaryDir dir;
    int refused = 0;
    int done = 0;
    int saved = 0;
    for (int sequence = 0; sequence < sequences; ++sequence) {
        Random random{std::mt19937(static_cast<unsigned>(seed + sequence))};
        const bool bearing = random.Chance(8);
        auto watched = Load(nullptr, SourceDir + (bearing ? QStringLiteral("/examples/bearing-"
                                                                           "settings.xml")
                                                          : QStringLiteral("/examples/settings."
                                                                           "bin")));
        SettingsModel& model = watched->model;
        const bool validate = random.Chance(4);
        model.Document()->SetValidate(validate);
        QStringList done_;
        for (int step = random.Between(1, 25); step > 0; --step) {
            const QByteArray before = Bytes(model);
            const std::vector<QVariant> cellsBefore = Cells(model);
            QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
            QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
            QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
            QSignalSpy moved(&model, &QAbstractItemModel::rowsMoved);
            QString what;
            if (Operate(random, model, what)) {
                ++done;
                // Every cell whose data changed in any role is signalled.
                if (inserted.isEmpty() && removed.isEmpty() && moved.isEmpty()) {
                    const QStringList missing =
                        Unsignalled(model, cellsBefore, Cells(model), changed);
                    ASSERT_TRUE(missing.isEmpty())
                        << "sequence " << sequence << ": " << qPrintable(what)
                        << " changed without dataChanged: "
                        << qPrintable(missing.join(QStringLiteral("; ")));
                }
            } else {
                ++refused;
                ASSERT_EQ(Bytes(model).toStdString(), before.toStdString())
                    << "sequence " << sequence << ": refused " << qPrintable(what) << " after "
                    << qPrintable(done_.join(QStringLiteral("; ")));
            }
            done_.append(what);
        }
        ReadEveryCell(model);

        const DocumentForm form = random.Chance(2) ? DocumentForm::Xml : DocumentForm::Binary;
        const QString path = dir.filePath(QStringLiteral("sequence-%1").arg(sequence));
        SaveReport report;
        if (!SaveSettingsDocument(*model.Document(), path, form, &report, SaveFaults::Accept)) {
            // Only a document the library refuses to write with validation on, or one without
            // details, which no form gives back, is not saved.
            ASSERT_TRUE(validate || model.rowCount() == 0)
                << "sequence " << sequence << ": " << qPrintable(report.error) << " after "
                << qPrintable(done_.join(QStringLiteral("; ")));
            ASSERT_FALSE(QFile::exists(path));
            continue;
        }
        ++saved;
        auto again = Load(nullptr, path);
        const SettingsModel& loaded = again->model;
        ASSERT_EQ(loaded.rowCount(), model.rowCount()) << "sequence " << sequence;
        for (int row = 0; row < model.rowCount(); ++row) {
            for (int column = 0; column < model.columnCount(); ++column) {
                for (int role :
                     {int(Qt::DisplayRole), int(Qt::EditRole), int(SettingsModel::IsSetRole)}) {
                    const QVariant shown = model.data(model.index(row, column), role);
                    const QVariant back = loaded.data(loaded.index(row, column), role);
                    ASSERT_TRUE(SameCell(shown, back))
                        << "sequence " << sequence << ", row " << row << ", "
                        << qPrintable(model.headerData(column, Qt::Horizontal).toString())
                        << ", role " << role << ": " << qPrintable(shown.toString()) << " saved, "
                        << qPrintable(back.toString()) << " loaded, after "
                        << qPrintable(done_.join(QStringLiteral("; ")));
                }
            }
        }
    }
    std::printf("%d sequences from seed %d: %d operations done, %d refused, %d saved and "
                "loaded back\n",
                sequences, seed, done, refused, saved);
    EXPECT_GT(done, sequences);
    EXPECT_GT(refused, sequences);
    EXPECT_GT(saved, sequences / 2);
}
