#pragma once

#include <KVT317SettingsDetail.h>
#include <SettingsModel.h>

#include <QUndoCommand>
#include <QVariant>

// A cell's state: whether its member is set, and its value.
struct CellState {
    bool set = false;
    QVariant value;
};

CellState StateOf(const KVT317XML::SettingsModel& model, int row, int column);

// Sets a cell to a value, to its default, or unsets it; undo puts the state before back.
class SetCellCommand : public QUndoCommand
{
public:
    enum class Change { Value, Default, Unset };
    SetCellCommand(KVT317XML::SettingsModel& model, int row, int column, Change change,
                   const QVariant& value = QVariant());
    void undo() override;
    void redo() override;
    // Whether the model took the change; a refused change is not pushed.
    bool Taken() const { return m_taken; }
    // Carries out the change now; the stack's first redo() then does nothing.
    bool Apply()
    {
        redo();
        m_applied = m_taken;
        return m_taken;
    }

private:
    KVT317XML::SettingsModel& m_model;
    int m_row;
    int m_column;
    Change m_change;
    QVariant m_value;
    CellState m_before;
    bool m_taken = false;
    bool m_applied = false;
};

// Inserts a detail (a new one, or a copy); undo removes it.
class InsertDetailCommand : public QUndoCommand
{
public:
    InsertDetailCommand(KVT317XML::SettingsModel& model, int row,
                        const KVT317XML::KVT317SettingsDetail& detail, const QString& text);
    void undo() override;
    void redo() override;
    bool Taken() const { return m_taken; }
    // Inserts now; the stack's first redo() then does nothing. False when the model refused
    // the detail (LastRefusal() says why).
    bool Apply()
    {
        redo();
        m_applied = m_taken;
        return m_taken;
    }

private:
    KVT317XML::SettingsModel& m_model;
    int m_row;
    KVT317XML::KVT317SettingsDetail m_detail;
    bool m_taken = false;
    bool m_applied = false;
};

// Removes a detail; undo puts it back where it was.
class RemoveDetailCommand : public QUndoCommand
{
public:
    RemoveDetailCommand(KVT317XML::SettingsModel& model, int row);
    void undo() override;
    void redo() override;

private:
    KVT317XML::SettingsModel& m_model;
    int m_row;
    KVT317XML::KVT317SettingsDetail m_detail;
};

// Moves a detail to another position; undo moves it back.
class MoveDetailCommand : public QUndoCommand
{
public:
    MoveDetailCommand(KVT317XML::SettingsModel& model, int from, int to);
    void undo() override;
    void redo() override;

private:
    void Move(int from, int to);
    KVT317XML::SettingsModel& m_model;
    int m_from;
    int m_to;
};
