#include "UndoHistory.h"

void UndoHistory::reset(const SerialEditorData &message)
{
    m_copies.clear();
    m_copies.emplace_back().SetAllDataTo(message);
    m_position = 0;
}

void UndoHistory::record(const SerialEditorData &message, const SerialEditorData &before)
{
    if (message.IsTheSameAs(before))
        return;
    m_copies.resize(static_cast<std::size_t>(m_position) + 1);
    m_copies.emplace_back().SetAllDataTo(message);
    m_position = HistoryTop();
}

const SerialEditorData *UndoHistory::undo()
{
    if (!canUndo())
        return nullptr;
    --m_position;
    return &m_copies[static_cast<std::size_t>(m_position)];
}

const SerialEditorData *UndoHistory::redo()
{
    if (!canRedo())
        return nullptr;
    ++m_position;
    return &m_copies[static_cast<std::size_t>(m_position)];
}
