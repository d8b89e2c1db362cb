#include "editor/SerialEditor.h"

SerialEditor::SerialEditor(QWidget *parent) : QWidget(parent), m_model(new EditorModel(this))
{
    connect(m_model, &EditorModel::Changed, this, &SerialEditor::Changed);
    connect(m_model, &EditorModel::Cancelled, this, &SerialEditor::Cancelled);
}

void SerialEditor::SetToolTipText(const QString &text) { setToolTip(text); }

void SerialEditor::UseThisMessage(const SerialEditorData &message, bool allowEdit)
{
    m_model->UseThisMessage(message, allowEdit);
}

SerialEditorData &SerialEditor::ReturnCurrentMessage() { return m_model->Message(); }

void SerialEditor::DisplayAsThisMode(int mode) { Q_UNUSED(mode); }

void SerialEditor::Display() { update(); }

EditorModel &SerialEditor::model() { return *m_model; }
