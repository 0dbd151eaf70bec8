#include "SettingsModel.h"

#include <KVT317_Settings.h>
#include <MemberDisplay.h>
#include <StartingDetail.h>

#include <QDateTime>

#include <algorithm>
#include <exception>

namespace KVT317XML {

using REPORTGENERATOR::LogLevel;

QString FindingLine(const ReadFinding& finding)
{
    if (finding.position.line > 0)
        return QStringLiteral("line %1, column %2: %3")
            .arg(finding.position.line)
            .arg(finding.position.column)
            .arg(finding.message);
    if (finding.position.offset >= 0)
        return QStringLiteral("offset %1: %2").arg(finding.position.offset).arg(finding.message);
    return finding.message;
}

namespace {

// The list member of a document root, or -1.
int ListMember(const RecordDescription& type)
{
    for (const MemberDescription& member : type.members)
        if (member.operations->list)
            return member.bit;
    return -1;
}

} // namespace

SettingsModel::SettingsModel(QObject* parent)
    : QAbstractTableModel(parent)
    // Every report of the document arrives as a finding through the model's observers; its
    // logger drops them, so that none goes to standard error.
    , m_logger(std::make_shared<REPORTGENERATOR::Logger>(REPORTGENERATOR::Logger::Sink()))
{
}

bool SettingsModel::IsCell(const QModelIndex& index) const
{
    return index.isValid() && index.model() == this && !index.parent().isValid() &&
           index.row() < rowCount() && index.column() < columnCount();
}

SettingsModel::~SettingsModel() = default;

void SettingsModel::SetDocument(std::unique_ptr<Record> document,
                                std::vector<ReadFinding> readFindings)
{
    beginResetModel();
    m_document = std::move(document);
    m_columns.clear();
    m_rows.clear();
    m_documentRead.clear();
    m_documentCheck.clear();
    m_listBit = -1;
    if (m_document) {
        m_document->SetLogger(m_logger);
        const RecordDescription& rootType = m_document->GetDescription();
        m_listBit = ListMember(rootType);
        const RecordDescription& rowType =
            m_listBit >= 0 ? *rootType.members.at(static_cast<size_t>(m_listBit)).nested()
                           : rootType;
        // The members that identify a row first.
        for (const MemberDescription& member : rowType.members)
            if (member.attribute)
                m_columns.push_back(Column{-1, &rowType, &member});
        for (const MemberDescription& member : rowType.members) {
            if (member.operations->record) {
                const RecordDescription& child = *member.nested();
                for (const MemberDescription& inner : child.members)
                    if (!inner.nested)
                        m_columns.push_back(Column{member.bit, &child, &inner});
            } else if (!member.operations->list && !member.attribute) {
                m_columns.push_back(Column{-1, &rowType, &member});
            }
        }
        m_rows.resize(static_cast<size_t>(rowCount()));
        for (ReadFinding& finding : readFindings) {
            if (m_listBit < 0) {
                const int column = LocateColumn(finding.path, 0, finding.member);
                m_rows.front().read.push_back(Located{column, std::move(finding)});
            } else if (!finding.path.isEmpty() && finding.path.front().bit == m_listBit &&
                       finding.path.front().item >= 0 &&
                       finding.path.front().item < static_cast<int>(m_rows.size())) {
                const int column = LocateColumn(finding.path, 1, finding.member);
                m_rows[static_cast<size_t>(finding.path.front().item)].read.push_back(
                    Located{column, std::move(finding)});
            } else {
                m_documentRead.push_back(std::move(finding));
            }
        }
        CheckRoot();
    }
    endResetModel();
}

int SettingsModel::LocateColumn(const ReadPath& path, int from,
                                const MemberDescription* member) const
{
    if (!member)
        return -1;
    const int depth = path.size() - from;
    if (depth == 0)
        return ColumnOf(-1, member->bit);
    if (depth == 1 && path.at(from).item < 0)
        return ColumnOf(path.at(from).bit, member->bit);
    return -1;
}

int SettingsModel::ColumnOf(int childBit, int memberBit) const
{
    for (size_t i = 0; i < m_columns.size(); ++i)
        if (m_columns[i].childBit == childBit && m_columns[i].member->bit == memberBit)
            return static_cast<int>(i);
    return -1;
}

const Record* SettingsModel::RowRecord(int row) const
{
    if (!m_document || row < 0 || row >= rowCount())
        return nullptr;
    return m_listBit < 0 ? m_document.get() : m_document->ListItem(m_listBit, row);
}

Record* SettingsModel::MutableRowRecord(int row)
{
    if (!m_document || row < 0 || row >= rowCount())
        return nullptr;
    return m_listBit < 0 ? m_document.get() : m_document->MutableListItem(m_listBit, row);
}

const Record* SettingsModel::CellRecord(int row, const Column& column) const
{
    const Record* record = RowRecord(row);
    return record && column.childBit >= 0 ? record->Child(column.childBit) : record;
}

const Record* SettingsModel::ShownRecord(int row, const Column& column) const
{
    const RowState& state = State(row);
    // Without a view (the row as written does not load) the record itself is shown; its
    // findings say why.
    const Record* record = state.view ? state.view.get() : RowRecord(row);
    return column.childBit >= 0 ? record->Child(column.childBit) : record;
}

bool SettingsModel::ShownSet(int row, const Column& column) const
{
    const RowState& state = State(row);
    const Record* record = state.view ? state.view.get() : RowRecord(row);
    if (column.childBit >= 0 && !record->IsMemberSet(column.childBit))
        return false; // a child the row does not write
    return ShownRecord(row, column)->IsMemberSet(column.member->bit);
}

const MemberDescription* SettingsModel::ColumnMember(int column) const
{
    return column >= 0 && column < columnCount() ? m_columns[static_cast<size_t>(column)].member
                                                 : nullptr;
}

const RecordDescription* SettingsModel::ColumnRecordType(int column) const
{
    return column >= 0 && column < columnCount() ? m_columns[static_cast<size_t>(column)].record
                                                 : nullptr;
}

int SettingsModel::rowCount(const QModelIndex& parent) const
{
    if (parent.isValid() || !m_document)
        return 0;
    return m_listBit < 0 ? 1 : m_document->ListSize(m_listBit);
}

int SettingsModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_columns.size());
}

QVariant SettingsModel::data(const QModelIndex& index, int role) const
{
    if (!IsCell(index))
        return QVariant();
    const Column& column = m_columns[static_cast<size_t>(index.column())];
    const Record* shown = ShownRecord(index.row(), column);
    const MemberDescription& member = *column.member;
    switch (role) {
    case Qt::DisplayRole:
        return ShownSet(index.row(), column) ? ShownMemberValue(*shown, member)
                                             : QStringLiteral("(unset)");
    case Qt::EditRole:
        return shown->MemberValue(member.bit);
    case Qt::ToolTipRole: {
        const QStringList lines = CellFindings(index.row(), index.column());
        return lines.isEmpty() ? QVariant() : QVariant(lines.join(QLatin1Char('\n')));
    }
    case IsSetRole:
        return ShownSet(index.row(), column);
    case DefaultRole:
        return CellRecord(index.row(), column)->MemberDefault(member.bit);
    case DisplayNamesRole:
        return member.enumeration ? QVariant(member.DisplayNames()) : QVariant();
    case NamesRole:
        return member.enumeration ? QVariant(member.enumeration->names) : QVariant();
    case FindingsRole:
        return CellFindings(index.row(), index.column());
    case FaultRole:
        return CellFault(index.row(), index.column());
    case UnitRole:
        return member.unit;
    case DecimalsRole:
        return member.precision;
    case KindRole:
        return static_cast<int>(member.kind);
    default:
        return QVariant();
    }
}

QVariant SettingsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && section >= 0 && section < columnCount()) {
        const Column& column = m_columns[static_cast<size_t>(section)];
        if (role == Qt::DisplayRole)
            return column.member->name;
        if (role == Qt::ToolTipRole)
            return column.childBit >= 0
                       ? QStringLiteral("%1.%2").arg(column.record->name, column.member->name)
                       : column.member->name;
        return QVariant();
    }
    if (orientation == Qt::Vertical && section >= 0 && section < rowCount() &&
        (role == Qt::ToolTipRole || role == FindingsRole || role == FaultRole)) {
        // The findings about a row's record as a whole.
        if (role == FaultRole)
            return CellFault(section, -1);
        const QStringList lines = CellFindings(section, -1);
        if (role == FindingsRole)
            return lines;
        return lines.isEmpty() ? QVariant() : QVariant(lines.join(QLatin1Char('\n')));
    }
    return QAbstractTableModel::headerData(section, orientation, role);
}

Qt::ItemFlags SettingsModel::flags(const QModelIndex& index) const
{
    if (!IsCell(index))
        return Qt::NoItemFlags;
    return Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsEditable | Qt::ItemNeverHasChildren;
}

bool SettingsModel::InsertRecord(int row, const Record& item)
{
    m_refusal.clear();
    if (m_listBit < 0 || row < 0 || row > rowCount()) {
        m_refusal = QStringLiteral("no row can go there");
        return false;
    }
    if (&item.GetDescription() !=
        m_document->GetDescription().members.at(static_cast<size_t>(m_listBit)).nested()) {
        m_refusal = QStringLiteral("a %1 is no item of the list").arg(item.GetDescription().name);
        return false;
    }
    // The list's append refuses an incomplete item with validation on; it is not inserted.
    if (m_document->GetValidate() && !item.HasData()) {
        m_refusal = QStringLiteral("%1: Tried to append not completely defined or invalid item "
                                   "%2.")
                        .arg(m_document->GetObjectName(), item.GetDescription().name);
        return false;
    }
    beginInsertRows(QModelIndex(), row, row);
    bool inserted = false;
    try {
        ObserveReading quiet([](const ReadFinding&) {});
        inserted = m_document->InsertListItem(m_listBit, row, item);
    } catch (const std::exception& refused) {
        m_refusal = QString::fromUtf8(refused.what());
        inserted = false;
    }
    if (inserted) {
        m_rows.insert(m_rows.begin() + row, RowState());
        Refresh(row);
    }
    endInsertRows();
    CheckRoot();
    return inserted;
}

bool SettingsModel::insertRows(int row, int count, const QModelIndex& parent)
{
    if (parent.isValid() || m_listBit < 0 || count < 1 || row < 0 || row > rowCount())
        return false;
    const auto* settings = dynamic_cast<const KVT317_Settings*>(m_document.get());
    for (int i = 0; i < count; ++i) {
        bool inserted = false;
        if (settings) {
            inserted = InsertRecord(row + i, NextSettingsDetail(*settings));
        } else {
            std::unique_ptr<Record> item = m_document->NewMemberRecord(m_listBit);
            item->ResetToDefault();
            inserted = InsertRecord(row + i, *item);
        }
        if (!inserted)
            return false;
    }
    return true;
}

bool SettingsModel::removeRows(int row, int count, const QModelIndex& parent)
{
    m_refusal.clear();
    if (parent.isValid() || m_listBit < 0 || count < 1 || row < 0 || row + count > rowCount())
        return false;
    beginRemoveRows(QModelIndex(), row, row + count - 1);
    for (int i = 0; i < count; ++i)
        m_document->RemoveListItem(m_listBit, row);
    m_rows.erase(m_rows.begin() + row, m_rows.begin() + row + count);
    endRemoveRows();
    CheckRoot();
    return true;
}

bool SettingsModel::moveRows(const QModelIndex& sourceParent, int sourceRow, int count,
                             const QModelIndex& destinationParent, int destinationChild)
{
    m_refusal.clear();
    if (sourceParent.isValid() || destinationParent.isValid() || m_listBit < 0 || count < 1 ||
        sourceRow < 0 || sourceRow + count > rowCount() || destinationChild < 0 ||
        destinationChild > rowCount() ||
        (destinationChild >= sourceRow && destinationChild <= sourceRow + count))
        return false;
    if (!beginMoveRows(QModelIndex(), sourceRow, sourceRow + count - 1, QModelIndex(),
                       destinationChild))
        return false;
    if (destinationChild > sourceRow) {
        for (int i = 0; i < count; ++i)
            m_document->MoveListItem(m_listBit, sourceRow, destinationChild - 1);
        std::rotate(m_rows.begin() + sourceRow, m_rows.begin() + sourceRow + count,
                    m_rows.begin() + destinationChild);
    } else {
        for (int i = 0; i < count; ++i)
            m_document->MoveListItem(m_listBit, sourceRow + i, destinationChild + i);
        std::rotate(m_rows.begin() + destinationChild, m_rows.begin() + sourceRow,
                    m_rows.begin() + sourceRow + count);
    }
    endMoveRows();
    return true;
}

std::vector<SettingsModel::CellFinding> SettingsModel::Findings() const
{
    std::vector<CellFinding> all;
    for (const ReadFinding& finding : m_documentRead)
        all.push_back(CellFinding{-1, -1, true, finding});
    for (const ReadFinding& finding : m_documentCheck)
        all.push_back(CellFinding{-1, -1, false, finding});
    for (size_t row = 0; row < m_rows.size(); ++row) {
        for (const Located& entry : m_rows[row].read)
            all.push_back(CellFinding{static_cast<int>(row), entry.column, true, entry.finding});
        for (const Located& entry : State(static_cast<int>(row)).check)
            all.push_back(CellFinding{static_cast<int>(row), entry.column, false, entry.finding});
    }
    return all;
}

std::vector<ReadFinding> SettingsModel::StandingReadFindings() const
{
    std::vector<ReadFinding> standing = m_documentRead;
    for (const RowState& row : m_rows)
        for (const Located& entry : row.read)
            standing.push_back(entry.finding);
    return standing;
}

QHash<int, QByteArray> SettingsModel::roleNames() const
{
    QHash<int, QByteArray> names = QAbstractTableModel::roleNames();
    names.insert(Qt::EditRole, "edit");
    names.insert(IsSetRole, "isSet");
    names.insert(DefaultRole, "defaultValue");
    names.insert(DisplayNamesRole, "displayNames");
    names.insert(NamesRole, "names");
    names.insert(FindingsRole, "findings");
    names.insert(FaultRole, "fault");
    names.insert(UnitRole, "unit");
    names.insert(DecimalsRole, "decimals");
    names.insert(KindRole, "kind");
    return names;
}

} // namespace KVT317XML
