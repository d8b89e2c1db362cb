#include "editor/EditorModel.h"

EditorModel::EditorModel(QObject *parent) : QObject(parent) {}

void EditorModel::UseThisMessage(const SerialEditorData &message, bool allowEdit)
{
    m_message.SetAllDataTo(message);
    m_message.SetCurrentByte(0);
    m_allowEdit = allowEdit;
    emit redrawNeeded();
}
