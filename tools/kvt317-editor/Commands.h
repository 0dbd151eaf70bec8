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

// A change the model may refuse, carried out before it is pushed: a refused change is not
// pushed, and the stack's first redo() does nothing.
class AppliedCommand : public QUndoCommand
{
public:
    // Whether the model took the change.
    bool Taken() const { return m_taken; }
    // Carries out the change now.
    bool Apply()
    {
        m_taken = Do();
        m_applied = m_taken;
        return m_taken;
    }
    void redo() final
    {
        if (m_applied) {
            m_applied = false;
            return;
        }
        m_taken = Do();
    }

protected:
    // Carries out the change; whether the model took it.
    virtual bool Do() = 0;

private:
    bool m_taken = false;
    bool m_applied = false;
};

// Sets a cell to a value, to its default, or unsets it; undo puts the state before back.
class SetCellCommand : public AppliedCommand
{
public:
    enum class Change { Value, Default, Unset };
    SetCellCommand(KVT317XML::SettingsModel& model, int row, int column, Change change,
                   const QVariant& value = QVariant());
    void undo() override;

private:
    bool Do() override;

    KVT317XML::SettingsModel& m_model;
    int m_row;
    int m_column;
    Change m_change;
    QVariant m_value;
    CellState m_before;
};

// Inserts a detail (a new one, or a copy); undo removes it.
// The model refuses a detail it cannot take (LastRefusal() says why).
class InsertDetailCommand : public AppliedCommand
{
public:
    InsertDetailCommand(KVT317XML::SettingsModel& model, int row,
                        const KVT317XML::KVT317SettingsDetail& detail, const QString& text);
    void undo() override;

private:
    bool Do() override;

    KVT317XML::SettingsModel& m_model;
    int m_row;
    KVT317XML::KVT317SettingsDetail m_detail;
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
