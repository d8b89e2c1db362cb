#pragma once

#include "Prompter.h"

class QWidget;

// Prompts as QMessageBox, parented to the window that asks.
class MessageBoxPrompter : public Prompter
{
public:
    explicit MessageBoxPrompter(QWidget *parent = nullptr)
        : m_parent(parent)
    {}
    void setParent(QWidget *parent) { m_parent = parent; }

    Answer show(const QString &text, const QString &title, Icon icon, Buttons buttons,
                Answer defaultAnswer) override;

private:
    QWidget *m_parent;
};
