#pragma once

#include "message/SerialEditorData.h"

#include <QObject>

class EditorModel : public QObject
{
    Q_OBJECT

public:
    explicit EditorModel(QObject *parent = nullptr);

    void UseThisMessage(const SerialEditorData &message, bool allowEdit);
    SerialEditorData &Message() { return m_message; }

signals:
    void Changed();
    void Cancelled();
    void redrawNeeded();

private:
    SerialEditorData m_message;
    bool m_allowEdit = false;
};
