#pragma once

#include "ConfigData.h"

#include <QDialog>

class QListWidget;

// "Tavo serial settings": the baud rate and parity the unit listens at.
// Done stores a changed choice into the configuration and marks it
// modified; Cancel stores nothing.
class SettingsForm : public QDialog
{
    Q_OBJECT

public:
    // Throws std::out_of_range when the configuration holds an index outside
    // the lists (a hand-edited file), before anything is shown.
    explicit SettingsForm(ConfigData &config, QWidget *parent = nullptr);

private:
    void Done_Click();

    ConfigData &m_config;
    QListWidget *m_baudrateList;
    QListWidget *m_parityList;
};
