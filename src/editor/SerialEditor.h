#pragma once

#include "editor/EditorModel.h"
#include "message/SerialEditorData.h"

#include <QWidget>

// Shows and edits one serial message of at most 14 bytes.
class SerialEditor : public QWidget
{
    Q_OBJECT

public:
    explicit SerialEditor(QWidget *parent = nullptr);

    void SetToolTipText(const QString &text);
    void UseThisMessage(const SerialEditorData &message, bool allowEdit);
    // The editor's own message, not a copy: keep it with SetAllDataTo().
    SerialEditorData &ReturnCurrentMessage();
    void DisplayAsThisMode(int mode); // -1 (each byte in its own type) .. 4
    void Display();                   // redraw
    EditorModel &model();

signals:
    void Changed();
    void Cancelled();

private:
    EditorModel *m_model;
};
