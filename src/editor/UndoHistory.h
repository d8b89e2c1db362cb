#pragma once

#include "SerialEditorData.h"

#include <vector>

// The editor's undo history: a whole copy of the message for every change
// (there is no depth limit; a message is a few dozen bytes) and the
// position of the copy that is shown. A change made after some undos drops
// the undone copies, as in any editor.
//
// HistoryTop keeps the name the unit's original configuration tool gave it,
// so the two can be read side by side.
class UndoHistory
{
public:
    UndoHistory() { reset(SerialEditorData()); }

    // Starts again with `message` as the only copy, as loading a message does.
    void reset(const SerialEditorData &message);
    // Adds `message` as the newest copy, unless it is the same as `before`,
    // the message when the edit began: an edit that changed nothing is no step.
    void record(const SerialEditorData &message, const SerialEditorData &before);
    // Steps back or forward; the copy to show then, or nothing at either end.
    const SerialEditorData *undo();
    const SerialEditorData *redo();

    bool canUndo() const { return m_position > 0; }
    bool canRedo() const { return m_position < HistoryTop(); }
    // The index of the newest copy.
    int HistoryTop() const { return static_cast<int>(m_copies.size()) - 1; }

private:
    std::vector<SerialEditorData> m_copies;
    int m_position = 0;
};
