#include "Commands.h"

#include <QCoreApplication>

using KVT317XML::KVT317SettingsDetail;
using KVT317XML::SettingsModel;

CellState StateOf(const SettingsModel& model, int row, int column)
{
    const QModelIndex index = model.index(row, column);
    return CellState{model.data(index, SettingsModel::IsSetRole).toBool(),
                     model.data(index, Qt::EditRole)};
}

SetCellCommand::SetCellCommand(SettingsModel& model, int row, int column, Change change,
                               const QVariant& value)
    : m_model(model)
    , m_row(row)
    , m_column(column)
    , m_change(change)
    , m_value(value)
    , m_before(StateOf(model, row, column))
{
    const QString member = model.headerData(column, Qt::Horizontal).toString();
    switch (change) {
    case Change::Value:
        setText(QCoreApplication::translate("EditorWindow", "Change %1").arg(member));
        break;
    case Change::Default:
        setText(QCoreApplication::translate("EditorWindow", "Reset %1 to its default").arg(member));
        break;
    case Change::Unset:
        setText(QCoreApplication::translate("EditorWindow", "Unset %1").arg(member));
        break;
    }
}

bool SetCellCommand::Do()
{
    const QModelIndex index = m_model.index(m_row, m_column);
    switch (m_change) {
    case Change::Value:
        return m_model.setData(index, m_value);
    case Change::Default:
        return m_model.SetToDefault(index);
    case Change::Unset:
        return m_model.Unset(index);
    }
    return false;
}

void SetCellCommand::undo()
{
    const QModelIndex index = m_model.index(m_row, m_column);
    if (m_before.set)
        m_model.setData(index, m_before.value);
    else
        m_model.Unset(index);
}

InsertDetailCommand::InsertDetailCommand(SettingsModel& model, int row,
                                         const KVT317SettingsDetail& detail, const QString& text)
    : m_model(model)
    , m_row(row)
    , m_detail(detail)
{
    // A copy reports to the default logger; it reports, like the document, to the model's.
    m_detail.SetLogger(model.Document()->GetLogger());
    setText(text);
}

bool InsertDetailCommand::Do()
{
    return m_model.InsertRecord(m_row, m_detail);
}

void InsertDetailCommand::undo()
{
    m_model.removeRows(m_row, 1);
}

RemoveDetailCommand::RemoveDetailCommand(SettingsModel& model, int row)
    : m_model(model)
    , m_row(row)
    , m_detail(*static_cast<const KVT317SettingsDetail*>(model.RowRecord(row)))
{
    m_detail.SetLogger(model.Document()->GetLogger());
    setText(QCoreApplication::translate("EditorWindow", "Remove detail %1").arg(row + 1));
}

void RemoveDetailCommand::redo()
{
    m_model.removeRows(m_row, 1);
}

void RemoveDetailCommand::undo()
{
    // The detail goes back as it was, even an incomplete one.
    const bool validate = m_model.Document()->GetValidate();
    m_model.Document()->SetValidate(false);
    m_model.InsertRecord(m_row, m_detail);
    m_model.Document()->SetValidate(validate);
}

MoveDetailCommand::MoveDetailCommand(SettingsModel& model, int from, int to)
    : m_model(model)
    , m_from(from)
    , m_to(to)
{
    setText(QCoreApplication::translate("EditorWindow", "Move detail %1").arg(from + 1));
}

void MoveDetailCommand::Move(int from, int to)
{
    // moveRows() takes the position before which the row goes, counted before the move.
    m_model.moveRows(QModelIndex(), from, 1, QModelIndex(), to > from ? to + 1 : to);
}

void MoveDetailCommand::redo()
{
    Move(m_from, m_to);
}

void MoveDetailCommand::undo()
{
    Move(m_to, m_from);
}
